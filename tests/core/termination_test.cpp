#include "core/termination.h"

#include <gtest/gtest.h>

#include "core/kinds.h"

namespace zvrt {
namespace {

// What each rule makes of text that fills the room exactly; all else is common to them.
struct ExactlyFull {
  const char* name;
  TerminatorRule rule;
  bool last_gives_way;
  Status status;
  bool terminates;
};

constexpr ExactlyFull rules[] = {
    {"wide", TerminatorRule::wide, true, 1609, true},
    {"narrow", TerminatorRule::narrow, false, 0, true},
    {"narrow_strict", TerminatorRule::narrow_strict, false, 1609, true},
    {"fixed", TerminatorRule::fixed, false, 0, false},
};

TEST(Termination, EveryRuleOverAllSmallLengthsAndRooms) {
  for (const ExactlyFull& row : rules) {
    for (std::int32_t length = 0; length <= 8; ++length) {
      for (std::int32_t capacity = 0; capacity <= 8; ++capacity) {
        SCOPED_TRACE(testing::Message() << row.name << " length " << length << " room " << capacity);
        const Termination ending = termination(row.rule, length, capacity);
        if (length < capacity) {
          EXPECT_EQ(ending.status, 0U);
          EXPECT_EQ(ending.terminator, row.terminates ? length : -1);
        } else if (length > capacity) {
          EXPECT_EQ(ending.status, 1609U);
          EXPECT_EQ(ending.terminator, -1);
        } else {
          EXPECT_EQ(ending.status, row.status);
          EXPECT_EQ(ending.terminator, row.last_gives_way && capacity > 0 ? capacity - 1 : -1);
        }
      }
    }
  }
}

TEST(Kinds, RoomAndReportedLengths) {
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

  // Behind a prefix there is never more than a signed one can tell.
  struct {
    std::int32_t size, narrow, wide;
  } const behind_prefix[] = {{2, 0, 0}, {9, 7, 1}, {32769, 32767, 8191}, {INT32_MAX, 32767, 8191}};
  for (const auto& row : behind_prefix) {
    call.dstSize = row.size;
    EXPECT_EQ(Varchar::destination(call).capacity, row.narrow) << row.size;
    EXPECT_EQ(WVarchar::destination(call).capacity, row.wide) << row.size;
  }
  EXPECT_EQ(bytes_of<WChar>(std::int64_t{1} << 31), 0xFFFFFFFFU) << "a length beyond 32 bits is told as the most";
}

}  // namespace
}  // namespace zvrt
