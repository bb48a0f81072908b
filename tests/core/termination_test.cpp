#include "core/termination.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/kinds.h"

namespace zvrt {
namespace {

// What each rule leaves of "abc" in 4, 3 and 2 units, and of "" in none: 0 is the terminator, ! a truncation.
// clang-format off
const struct {
  TerminatorRule rule;
  std::string shorter, exact, longer, empty;
} rules[] = {
    {TerminatorRule::wide,          "abc0", "ab0!", "ab!", "!"},
    {TerminatorRule::narrow,        "abc0", "abc",  "ab!", ""},
    {TerminatorRule::narrow_strict, "abc0", "abc!", "ab!", "!"},
    {TerminatorRule::fixed,         "abc",  "abc",  "ab!", ""},
};
// clang-format on

std::string terminated(TerminatorRule rule, const std::string& text, std::size_t capacity) {
  std::string destination = text.substr(0, capacity);
  destination.resize(capacity, '?');
  const Status status = terminate<char>(rule, destination.data(), static_cast<std::int64_t>(text.size()),
                                        static_cast<std::int32_t>(capacity));
  std::string shown = destination.substr(0, destination.find('?'));
  for (char& unit : shown) unit = unit == 0 ? '0' : unit;
  EXPECT_TRUE(status == ZVRT_RC_OK || status == ZVRT_RC_TRUNCATED);
  return shown + (status == ZVRT_RC_TRUNCATED ? "!" : "");
}

TEST(Termination, EndsADestinationByItsRule) {
  for (const auto& row : rules) {
    EXPECT_EQ(terminated(row.rule, "abc", 4), row.shorter);
    EXPECT_EQ(terminated(row.rule, "abc", 3), row.exact);
    EXPECT_EQ(terminated(row.rule, "abc", 2), row.longer);
    EXPECT_EQ(terminated(row.rule, "", 0), row.empty);
  }
}

// Nothing but whether a text is shorter than the destination, as long or longer makes a difference.
TEST(Termination, IsTheSameForEveryLength) {
  for (const auto& row : rules) {
    for (std::int32_t length = 0; length <= 8; ++length) {
      for (std::int32_t capacity = 0; capacity <= 8; ++capacity) {
        const auto [terminator, status] = termination(row.rule, length, capacity);
        const Termination alike = termination(row.rule, 3, 3 + (capacity > length) - (capacity < length));
        EXPECT_EQ(status, alike.status) << length << " into " << capacity;
        EXPECT_EQ(terminator, alike.terminator == no_terminator ? no_terminator : alike.terminator - 3 + length);
      }
    }
  }
}

TEST(Kinds, CapacitiesAndReportedLengths) {
  char bytes[64] = {};
  Call call{};
  call.dst = bytes;
  const auto capacities = [&call](std::int32_t size) {
    call.dstSize = size;
    return std::vector<std::int32_t>{Char::destination(call).capacity, WChar::destination(call).capacity,
                                     VarcharSz::destination(call).capacity, WVarcharSz::destination(call).capacity};
  };
  EXPECT_EQ(capacities(7), (std::vector<std::int32_t>{7, 1, 7, 1}));
  EXPECT_EQ(capacities(-1), (std::vector<std::int32_t>{0, 0, 0, 0}));
  EXPECT_EQ(capacities(INT32_MIN), (std::vector<std::int32_t>{0, 0, 0, 0}));

  // After a prefix there is never more than a signed prefix can count.
  struct {
    std::int32_t size, narrow, wide;
  } const after_prefix[] = {{2, 0, 0}, {9, 7, 1}, {32769, 32767, 8191}, {INT32_MAX, 32767, 8191}};
  for (const auto& row : after_prefix) {
    call.dstSize = row.size;
    EXPECT_EQ(Varchar::destination(call).capacity, row.narrow) << row.size;
    EXPECT_EQ(WVarchar::destination(call).capacity, row.wide) << row.size;
  }
  EXPECT_EQ(bytes_of<WChar>(std::int64_t{1} << 31), 0xFFFFFFFFU) << "saturated";
}

}  // namespace
}  // namespace zvrt
