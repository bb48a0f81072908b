// Arrays of any producer, mostly broken: whatever they are, nothing outside their buffers is read, and where they are
// refused no record is written.
#include "columns/foreign_array.h"
#include "columns/record_plans.h"
#include "input.h"

namespace {

using namespace zvrt_test;

const char* const formats[] = {"n",   "b",   "c",   "C",    "s",    "i",       "l",   "L",     "f",          "g",
                               "u",   "U",   "vu",  "z",    "Z",    "vz",      "w:3", "d:9,2", "d:40,2,256", "tdD",
                               "tdm", "tts", "ttn", "tsu:", "tsn:", "tss:UTC", "d:",  "+s",    "d:5,2,32"};

// Buffers of every kind that are as long as `rows` rows need, or as little as the input has.
std::string buffer(zvrt_fuzz::Input& input, std::size_t bytes) {
  std::string result;
  for (std::size_t i = 0; i < bytes; ++i) result += input.take<char>();
  return result;
}

constexpr std::int64_t longest = 20;

std::unique_ptr<ForeignArray> column(zvrt_fuzz::Input& input) {
  const char* const format = input.of(formats);
  const auto length = static_cast<std::int64_t>(input.below(longest)),
             offset = static_cast<std::int64_t>(input.below(4));
  // Sizes of buffers are what no consumer can check: they are right for the widest elements of the rows there are.
  const auto bytes = static_cast<std::size_t>(length + offset + 1) * 32;
  ForeignArray::Buffers buffers;
  for (std::uint32_t count = input.below(5); count > 0; --count) {
    buffers.emplace_back();
    if (input.below(8) != 0) buffers.back() = buffer(input, bytes);
  }
  // Offsets lead into a text, views into a buffer whose size stands in the last one: both are kept within them.
  const bool has_offsets = format[0] == 'u' || format[0] == 'U' || format[0] == 'z' || format[0] == 'Z';
  if (has_offsets && buffers.size() > 1 && buffers[1]) {
    for (char& byte : *buffers[1]) byte = static_cast<char>(byte & (input.below(16) == 0 ? 0xFF : 0x03));
    std::string& offsets = *buffers[1];
    const std::size_t width = format[0] == 'U' || format[0] == 'Z' ? 8 : 4;
    for (std::size_t i = 0; i + width <= offsets.size(); i += width) {
      for (std::size_t k = 1; k + 1 < width; ++k) offsets[i + k] = 0;
      if ((offsets[i + width - 1] & 0x80) == 0) offsets[i + width - 1] = 0;
    }
  }
  if (format[0] == 'v' && buffers.size() > 3 && buffers.back()) {
    std::vector<std::int64_t> sizes(buffers.back()->size() / 8, 0);
    for (std::size_t i = 2; i + 1 < buffers.size(); ++i)
      sizes[i - 2] = buffers[i] ? static_cast<std::int64_t>(buffers[i]->size()) : 99;
    buffers.back() = bytes_of(sizes);
  }
  const auto null_count = static_cast<std::int64_t>(input.below(4)) - 1;
  return std::make_unique<ForeignArray>(format, "C", length, buffers, offset, null_count);
}

ZVRTType field(zvrt_fuzz::Input& input) {
  static const ZVRTType types[] = {type_of(ZVRT_KIND_CHAR, 12),  type_of(ZVRT_KIND_PACKED, 6),
                                   type_of(ZVRT_KIND_INT, 4),    type_of(ZVRT_KIND_BYTES, 8),
                                   type_of(ZVRT_KIND_TIMESTAMP), type_of(ZVRT_KIND_FLOAT, 8),
                                   type_of(ZVRT_KIND_TIME),      type_of(ZVRT_KIND_DAYS)};
  return input.of(types);
}

}  // namespace

void zvrt_fuzz::check(Input input) {
  const ZVRTType type = field(input);
  const RecordPlan plan({{"C", type, 2, 0}}, 40,
                        input.flag() ? ZVRT_PLAN_ZONED_TIME_AS_UTC | ZVRT_PLAN_CUT_FRACTION : 0U);
  ASSERT_EQ(plan.status, ZVRT_RC_OK);
  std::unique_ptr<ForeignArray> child = column(input);
  if (input.below(4) == 0) child->set_dictionary(column(input));
  const auto rows = static_cast<std::int64_t>(input.below(longest)), offset = static_cast<std::int64_t>(input.below(3));
  std::optional<std::string> validity;
  if (input.flag()) validity = buffer(input, static_cast<std::size_t>(rows + offset + 8) / 8);
  const std::unique_ptr<ForeignArray> table = table_of(std::move(child), rows, offset, validity);
  if (input.below(8) == 0) --table->child(0).array.n_buffers;
  GuardedBuffer records(static_cast<std::size_t>(rows) * 40);
  const std::uint32_t status = ZVRTArrowToRecords(plan.plan, &table->schema, &table->array, records.as<>(), nullptr);
  const bool documented = status == ZVRT_RC_OK || status == ZVRT_RC_INVALID_ARROW || status == ZVRT_RC_INVALID_PAIR;
  ASSERT_TRUE(documented) << status;
  ASSERT_TRUE(status == ZVRT_RC_OK || records.untouched_from(0));
}
