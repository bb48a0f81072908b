// Records of one field to an array, each cell compared with what the slow reference makes of it.
#include <algorithm>
#include <cstring>
#include <numeric>
#include <sstream>

#include "columns/differential.h"
#include "columns/record_plans.h"
#include "columns/reference/write.h"
#include "support/byte_order.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {
namespace {

using zvrt_reference::Result;

// What one element of a column of this format is, as a plan sees it.
ZVRTType cell_of(const std::string& format, const ZVRTType& from) {
  const auto is = [&format](const char* other) { return format == other; };
  if (is("u")) return type_of(ZVRT_KIND_CHAR, from.kind <= ZVRT_KIND_UTF16_SZ ? 4 * from.length : 256);
  if (is("z")) return type_of(ZVRT_KIND_BYTES, from.length);
  if (is("b")) return type_of(ZVRT_KIND_BOOL);
  if (is("tdD")) return type_of(ZVRT_KIND_DAYS);
  if (is("ttu")) return type_of(ZVRT_KIND_TIME);
  if (is("tsu:")) return type_of(ZVRT_KIND_MICROS);
  if (format[0] == 'd') {
    const std::size_t comma = format.find(',');
    return decimal_of(ZVRT_KIND_DECIMAL, 0, std::stoi(format.substr(2, comma - 2)),
                      std::stoi(format.substr(comma + 1)));
  }
  if (is("f") || is("g")) return type_of(ZVRT_KIND_FLOAT, is("f") ? 4 : 8);
  static const std::string integers = "csilCSIL";
  const std::size_t found = integers.find(format);
  return type_of(found < 4 ? ZVRT_KIND_INT : ZVRT_KIND_UINT, 1 << found % 4);
}

// Those of the options that a plan of the pair takes: a record plan leaves the others aside.
std::uint32_t fitting(const ZVRTType& from, const ZVRTType& to, std::uint32_t options) {
  std::uint32_t taken = 0;
  for (std::uint32_t bit = 1; bit != 0; bit <<= 1) {
    ZVRTPlan* plan = nullptr;
    if ((options & bit) != 0 && ZVRTPlanCreate(&from, &to, bit, &plan, nullptr) == 0) taken |= bit;
    ZVRTPlanDestroy(plan);
  }
  return taken;
}

// Records of a field, and perhaps its indicator, between bytes of no meaning: one after the other, or anywhere.
struct Records {
  TestField field;
  std::int32_t bytes = 0;
  std::unique_ptr<GuardedBuffer> memory;
  std::vector<std::int64_t> starts;
  bool by_starts = false;

  Records(const ZVRTType& type, const std::vector<Given>& values, Random& random) {
    const bool has_nulls = std::any_of(values.begin(), values.end(), [](const Given& v) { return v.null; });
    const auto slot = static_cast<std::int32_t>(zvrt_reference::slot_bytes(type));
    const auto gap = [&random] { return static_cast<std::int32_t>(random() % 2 == 0 ? 0 : random() % 9); };
    field = {"FIELD", type, gap()};
    bytes = field.offset + slot;
    if (has_nulls) {
      field.indicator = bytes + gap();
      bytes = field.indicator + 2;
    }
    bytes += gap();
    by_starts = random() % 2 == 0;
    std::vector<std::size_t> order(values.size());
    std::iota(order.begin(), order.end(), 0U);
    if (by_starts && random() % 2 == 0) std::shuffle(order.begin(), order.end(), random);
    const std::int64_t stride = bytes + (by_starts ? gap() : 0);
    std::string all(static_cast<std::size_t>(stride * static_cast<std::int64_t>(values.size() - 1) + bytes), '\x9A');
    starts.resize(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
      const std::size_t at = static_cast<std::size_t>(stride) * i, row = order[i];
      starts[row] = static_cast<std::int64_t>(at);
      std::string image = values[row].slot;
      image.resize(static_cast<std::size_t>(slot));
      all.replace(at + static_cast<std::size_t>(field.offset), image.size(), image);
      const auto shown = static_cast<std::uint64_t>(values[row].null ? -1 : 0);
      if (has_nulls) all.replace(at + static_cast<std::size_t>(field.indicator), 2, integer_bytes(shown, 2));
    }
    memory = std::make_unique<GuardedBuffer>(all.data(), all.size());
  }
};

// An element's bytes as its cell has them.
std::string bytes_of(const ArrowArray& array, const std::string& format, std::size_t size, std::int64_t row) {
  if (format == "u" || format == "z") return text_at(array, row);
  if (format == "b") return {static_cast<char>(element<std::uint8_t>(array, row / 8) >> (row % 8) & 1)};
  return {static_cast<const char*>(array.buffers[1]) + static_cast<std::size_t>(row) * size, size};
}

std::string expected_bytes(const Result& result, bool is_valid, const std::string& format, std::size_t size) {
  if (format == "u" || format == "z") {
    return is_valid ? result.slot.substr(0, static_cast<std::size_t>(*result.length)) : std::string();
  }
  if (format != "ttu") return is_valid ? result.slot : std::string(size, '\0');
  std::uint16_t time[3] = {};
  if (is_valid) std::memcpy(time, result.slot.data(), sizeof time);
  const std::int64_t micros = ((std::int64_t{time[0]} * 60 + time[1]) * 60 + time[2]) * 1'000'000;
  return {reinterpret_cast<const char*>(&micros), sizeof micros};
}

void count(std::int64_t row, const Result& result, ZVRTOutcome& outcome) {
  ++outcome.done;
  outcome.nulls += result.null ? 1 : 0;
  outcome.empty += result.status == 0 && result.empty ? 1 : 0;
  if (result.status == 0 || outcome.refused++ > 0) return;
  outcome.firstRefused = row;
  outcome.firstStatus = result.status;
}

std::string tell(const ZVRTOutcome& o) {
  std::ostringstream text;
  text << "done " << o.done << " refused " << o.refused << " first " << o.firstRefused << " with " << o.firstStatus
       << " nulls " << o.nulls << " empty " << o.empty;
  return text.str();
}

std::string compare(const ArrowArray& array, const std::string& format, const ZVRTType& cell,
                    const std::vector<Result>& results, const ZVRTOutcome& outcome) {
  const std::size_t size = format == "ttu" ? 8 : zvrt_reference::slot_bytes(cell);
  ZVRTOutcome expected{};
  expected.size = sizeof expected;
  expected.firstRefused = -1;
  for (std::size_t i = 0; i < results.size(); ++i) {
    const auto row = static_cast<std::int64_t>(i);
    const bool valid = results[i].status == 0 && !results[i].null;
    count(row, results[i], expected);
    if (is_valid(array, row) != valid) return "row " + std::to_string(row) + (valid ? ": null" : ": not null");
    if (bytes_of(array, format, size, row) != expected_bytes(results[i], valid, format, size)) {
      return "row " + std::to_string(row) + ": another value";
    }
  }
  if (array.null_count != expected.nulls + expected.refused) return "null_count " + std::to_string(array.null_count);
  if (std::memcmp(&outcome, &expected, sizeof outcome) == 0) return {};
  return "outcome " + tell(outcome) + " for " + tell(expected);
}

}  // namespace

std::string find_array_difference(const ZVRTType& from, std::uint32_t options, std::vector<Given> values,
                                  Random& random, int* made) {
  if (from.length == 0 && (from.kind <= ZVRT_KIND_UTF16_SZ || from.kind == ZVRT_KIND_BYTES)) return {};
  for (Given& value : values) value.length.reset();
  const std::size_t different = values.size();
  // More rows than a kernel takes at a time.
  if (random() % 8 == 0) {
    for (std::size_t i = different; i < 600; ++i) values.push_back(values[i % different]);
  }
  const Records records(from, values, random);
  RecordPlan plan({records.field}, records.bytes, options);
  if (plan.status != 0) return {};
  if (made != nullptr) ++*made;
  Released<ArrowSchema> schema;
  Released<ArrowArray> array;
  if (ZVRTRecordSchema(plan.plan, &schema.it) != 0) return "no schema";
  const std::string format = schema.it.children[0]->format;
  const ZVRTType cell = cell_of(format, from);
  const std::uint32_t fit = fitting(from, cell, options);
  std::vector<Result> results;
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (i >= different) {
      results.push_back(results[i % different]);
      continue;
    }
    Given whole = values[i];
    whole.slot.resize(zvrt_reference::slot_bytes(from));
    const std::string before(zvrt_reference::slot_bytes(cell), '\0');
    results.push_back(zvrt_reference::convert(from, cell, fit, whole, before, true));
  }
  const std::uint32_t status =
      ZVRTRecordsToArrow(plan.plan, records.memory->as<>(), records.by_starts ? records.starts.data() : nullptr,
                         static_cast<std::int64_t>(values.size()), &array.it, plan.outcomes.data());
  const std::string difference = status != 0 ? "the run returned " + std::to_string(status)
                                             : compare(*array.it.children[0], format, cell, results, plan.outcomes[0]);
  return difference.empty() ? difference
                            : describe(from) + " to " + format + ", options " + std::to_string(fit) + ": " + difference;
}

}  // namespace zvrt_test
