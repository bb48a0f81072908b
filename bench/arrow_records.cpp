// The sample's records of 214 bytes as Arrow arrays, beside the functions for single values: zvrt_bench_arrow STRIKES.DAT
//
//   zvrt-records export -l examples/data/strikes.cpy examples/data/wildlife-strikes.csv strikes.dat
//
// The records, 1,000 at a time, have 14 fields: ten texts of page 37, a date, packed numbers, a VARNUM. What is told is the
// least processor time of each thousand over many turns, added up; a turn is so short that other programs seldom share it.
//   plan     ZVRTRecordsToArrow(), and the release of what it made
//   back     ZVRTArrowToRecords() of one such array
//   calls    each cell by the functions for it: text to UTF-8 by way of wide text, packed numbers to int64 likewise, the date
//            to a timestamp, the VARNUM to text
//   copy     the records by memcpy, which is what the machine can do
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "columns/arrow/abi.h"
#include "columns_values.h"

namespace zvrt_bench {
namespace {

constexpr std::int32_t record_bytes = 214;
constexpr int turns = 200;
constexpr std::int64_t turn_rows = 1000;

struct SampleField {
  const char* name;
  ZVRTType type;
};

std::vector<SampleField> sample_fields() {
  const auto text = [](std::int32_t length) { return page37(ZVRT_KIND_CHAR, length, ZVRT_TYPE_TRIM); };
  const auto packed = [](std::int32_t length, std::uint32_t flags) { return type(ZVRT_KIND_PACKED, length, flags); };
  return {{"Airport", text(40)},
          {"Aircraft", text(20)},
          {"Damage", text(12)},
          {"Date", with_model(page37(ZVRT_KIND_CHAR, 11), L"%DD-%MMM-%YYYY")},
          {"Operator", text(30)},
          {"State", text(16)},
          {"Phase", text(12)},
          {"Size", text(6)},
          {"Species", text(24)},
          {"Time of day", text(5)},
          {"Cost other", packed(5, 0)},
          {"Cost repair", packed(5, 0)},
          {"Cost total", type(ZVRT_KIND_VARNUM, 22)},
          {"Speed", page37(ZVRT_KIND_PACKED, 3, ZVRT_TYPE_NULL_BLANKS)}};
}

FldDef field_of_page() {
  FldDef field{};
  field.codePage = 37;
  return field;
}

const FldDef* date_field() {
  static std::array<FmtCode, 32> codes{};
  static DtFormatDesc format{};
  static const FldDef field = [] {
    constexpr const wchar_t* model = L"%DD-%MMM-%YYYY";
    DtKind kind = 0;
    ZVRTGetFormatCodes(model, codes.data(), &kind);
    format.model = codes.data();
    format.modelLen = static_cast<std::int32_t>(std::wcslen(model));
    FldDef by_model{};
    by_model.dtFormat = &format;
    return by_model;
  }();
  return &field;
}

// One cell by the functions for it, into a slot of 64 bytes.
void call(const ZVRTType& type, const std::byte* value, std::byte* slot) {
  static const FldDef page = field_of_page();
  std::array<wchar_t, 64> wide;
  constexpr std::int32_t slot_bytes = 64;
  if (type.kind == ZVRT_KIND_CHAR) {
    convert_one<ZVRTCnvCharToWVarcharSz, 1>(value, wide.data(), sizeof wide, &page, type.length);
    if (type.model == nullptr)
      convert_one<ZVRTCnvWVarcharSzToVarcharSz, 1>(wide.data(), slot, slot_bytes);
    else
      convert_one<ZVRTCnvDateTimeWSzToZVRTTS, 1>(wide.data(), slot, slot_bytes, date_field());
  } else if (type.kind == ZVRT_KIND_PACKED) {
    convert_one<ZVRTCnvDecPackedToWVarcharSz, 1>(value, wide.data(), sizeof wide, nullptr, type.length);
    convert_one<ZVRTCnvWVarcharSzToLongLong, 1>(wide.data(), slot, slot_bytes);
  } else {
    convert_one<ZVRTCnvOraVarnumToVarcharSz_Unsigned, 1>(value, slot, slot_bytes);
  }
}

double now() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

template <class Work>
void keep_least(double& best, Work work) {
  const double begin = now();
  work();
  best = std::min(best, now() - begin);
}

struct Sample {
  std::vector<SampleField> fields = sample_fields();
  std::vector<ZVRTField> of_plan;
  ZVRTRecordPlan* plan = nullptr;
  ArrowSchema schema{};

  bool make() {
    std::int32_t offset = 0;
    for (const SampleField& field : fields) {
      of_plan.push_back({sizeof(ZVRTField), offset, -1, ZVRT_COLUMN_DEFAULT, field.name, &field.type});
      offset += field.type.length;
    }
    const auto count = static_cast<std::int32_t>(of_plan.size());
    return ZVRTRecordPlanCreate(of_plan.data(), count, record_bytes, 0, &plan, nullptr) == ZVRT_RC_OK &&
           ZVRTRecordSchema(plan, &schema) == ZVRT_RC_OK;
  }
};

using Times = std::array<double, 4>;  // plan, back, calls, copy

// Of some records. Nothing where a value is refused or the way back gives other bytes.
std::optional<Times> measure(const Sample& sample, const char* records, std::int64_t rows) {
  std::vector<ZVRTOutcome> outcomes(sample.fields.size(), ZVRTOutcome{sizeof(ZVRTOutcome), 0, 0, 0, 0, 0, 0});
  ArrowArray array{};
  const auto bytes = static_cast<std::size_t>(rows * record_bytes);
  std::string back(records, bytes);
  ZVRTRecordsToArrow(sample.plan, records, nullptr, rows, &array, outcomes.data());
  for (const ZVRTOutcome& outcome : outcomes)
    if (outcome.refused != 0) return std::nullopt;
  ZVRTArrowToRecords(sample.plan, &sample.schema, &array, back.data(), nullptr);
  if (std::memcmp(back.data(), records, bytes) != 0) return std::nullopt;
  std::array<std::byte, 64> slot{};
  Times best{1e9, 1e9, 1e9, 1e9};
  for (int turn = 0; turn < turns; ++turn) {
    keep_least(best[0], [&] {
      ArrowArray made{};
      ZVRTRecordsToArrow(sample.plan, records, nullptr, rows, &made, nullptr);
      made.release(&made);
    });
    keep_least(best[1], [&] { ZVRTArrowToRecords(sample.plan, &sample.schema, &array, back.data(), nullptr); });
    keep_least(best[2], [&] {
      const auto* const first = reinterpret_cast<const std::byte*>(records);
      for (std::int64_t row = 0; row < rows; ++row)
        for (const ZVRTField& field : sample.of_plan)
          call(*field.type, first + row * record_bytes + field.offset, slot.data());
    });
    keep_least(best[3], [&] { std::memcpy(back.data(), records, bytes); });
  }
  array.release(&array);
  return best;
}

int run(const char* file) {
  std::ifstream input(file, std::ios::binary);
  const std::string records{std::istreambuf_iterator<char>(input), {}};
  Sample sample;
  if (!sample.make()) return std::fprintf(stderr, "no plan\n"), 2;
  Times sum{};
  std::int64_t all = 0;
  for (std::size_t at = 0; at + turn_rows * record_bytes <= records.size(); at += turn_rows * record_bytes) {
    const auto best = measure(sample, records.data() + at, turn_rows);
    if (!best) return std::fprintf(stderr, "byte %zu: other records than the sample's\n", at), 2;
    for (std::size_t i = 0; i < sum.size(); ++i) sum[i] += (*best)[i];
    all += turn_rows;
  }
  constexpr std::array names{"plan", "back", "calls", "copy"};
  for (std::size_t i = 0; i < names.size() && all != 0; ++i)
    std::printf("%-6s %6.2f GB/s  %7.2f million records/s  %6.2f times the calls\n", names[i],
                static_cast<double>(all * record_bytes) / sum[i] / 1e9, static_cast<double>(all) / sum[i] / 1e6,
                sum[2] / sum[i]);
  sample.schema.release(&sample.schema);
  ZVRTRecordPlanDestroy(sample.plan);
  return 0;
}

}  // namespace
}  // namespace zvrt_bench

int main(int count, char** arguments) {
  if (count != 2) return std::fprintf(stderr, "usage: zvrt_bench_arrow STRIKES.DAT\n"), 2;
  if (ZVRTInitDataConversion() != ZVRT_RC_OK) return 2;
  return zvrt_bench::run(arguments[1]);
}
