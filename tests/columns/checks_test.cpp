// ZVRTCheck() by its direct kernels against the blocks, on statuses and outcome. A column over an array of starts goes by
// blocks.
#include <gtest/gtest.h>

#include <random>

#include "columns/one_value.h"
#include "support/guarded_buffer.h"

using namespace columns_test;

namespace {

struct Checked {
  std::vector<std::uint32_t> statuses;
  ZVRTOutcome outcome;
};

// Values end to end, or by their starts.
Checked check(const ZVRTType& type, void* column, std::int64_t count, const std::int64_t* starts) {
  Checked checked{std::vector<std::uint32_t>(static_cast<std::size_t>(count) + 1, 9), {}};
  checked.outcome.size = sizeof checked.outcome;
  ZVRTArray values{};
  values.size = sizeof values;
  values.data = column;
  values.stride = type.length;
  values.starts = starts;
  values.status = checked.statuses.data();
  EXPECT_EQ(ZVRTCheck(&type, &values, count, &checked.outcome), ZVRT_RC_OK);
  return checked;
}

// The column ends at a page that cannot be read. How often a value is refused is returned.
std::int64_t compare(const ZVRTType& type, const std::string& column) {
  zvrt_test::GuardedBuffer guarded(column.data(), column.size());
  const auto count = static_cast<std::int64_t>(column.size()) / type.length;
  std::vector<std::int64_t> starts;
  for (std::int64_t i = 0; i < count; ++i) starts.push_back(i * type.length);
  const Checked direct = check(type, guarded.as(), count, nullptr);
  const Checked by_blocks = check(type, guarded.as(), count, starts.data());
  EXPECT_EQ(direct.statuses, by_blocks.statuses);
  EXPECT_EQ(direct.outcome.refused, by_blocks.outcome.refused);
  EXPECT_EQ(direct.outcome.firstRefused, by_blocks.outcome.firstRefused);
  EXPECT_EQ(direct.outcome.firstStatus, by_blocks.outcome.firstStatus);
  EXPECT_EQ(direct.outcome.nulls, by_blocks.outcome.nulls);
  EXPECT_EQ(direct.outcome.empty, by_blocks.outcome.empty);
  EXPECT_EQ(direct.outcome.done, count);
  return by_blocks.outcome.refused;
}

std::mt19937 numbers(417);
std::uint32_t below(std::uint32_t end) { return static_cast<std::uint32_t>(numbers() % end); }
char byte_of(std::uint32_t high, std::uint32_t low) { return static_cast<char>(high << 4 | low); }

constexpr std::uint32_t packed_flags[] = {0, ZVRT_TYPE_UNSIGNED, ZVRT_TYPE_NO_SIGN, ZVRT_TYPE_NULL_ZEROS};

TEST(PackedChecks, EveryFieldOfOneAndOfTwoBytes) {
  std::string one, two;
  for (std::uint32_t value = 0; value < 0x100; ++value) one += static_cast<char>(value);
  for (std::uint32_t value = 0; value < 0x10000; ++value) {
    two += static_cast<char>(value >> 8);
    two += static_cast<char>(value);
  }
  for (const std::uint32_t flags : packed_flags) {
    for (std::int16_t precision = 0; precision <= 1; ++precision) {
      EXPECT_GT(compare(type(ZVRT_KIND_PACKED, 1, flags, precision), one), 0);
    }
    for (std::int16_t precision = 0; precision <= 3; ++precision) {
      EXPECT_GT(compare(type(ZVRT_KIND_PACKED, 2, flags, precision), two), 0);
    }
  }
}

// Of any length, with leading zeros; in some, one half-byte is anything.
TEST(PackedChecks, FieldsOfEveryLengthAndPrecision) {
  for (std::int32_t length = 3; length <= 19; ++length) {
    for (const std::uint32_t flags : packed_flags) {
      const auto most = static_cast<std::int16_t>(2 * length - ((flags & ZVRT_TYPE_NO_SIGN) != 0 ? 0 : 1));
      for (std::int16_t precision = 0; precision <= most; ++precision) {
        std::string column;
        for (int i = 0; i < 300; ++i) {
          std::string field;
          const std::uint32_t zeros = below(static_cast<std::uint32_t>(length));
          while (field.size() < zeros) field += '\0';
          while (field.size() < static_cast<std::size_t>(length)) field += byte_of(below(10), below(10));
          if (most % 2 != 0) field.back() = byte_of(below(10), 0xA + below(6));
          if (below(8) == 0) field[below(static_cast<std::uint32_t>(length))] = byte_of(below(16), below(16));
          column += field;
        }
        EXPECT_GT(compare(type(ZVRT_KIND_PACKED, length, flags, precision), column), 0) << length << ", " << precision;
      }
    }
  }
}

// Of any count of digits, one too many among them, and either sign, with its end; in some, one byte is anything or at the edge of what is a digit.
TEST(VarnumChecks, ValuesOfEveryLength) {
  constexpr std::uint8_t edges[] = {0, 1, 2, 3, 100, 101, 102, 103, 127, 128, 129, 228, 229, 230, 255};
  for (int round = 0; round < 80; ++round) {
    std::string column;
    for (int i = 0; i < 1000; ++i) {
      const bool negative = below(2) != 0;
      const std::uint32_t count = below(22);
      std::string value(1, static_cast<char>(count == 0 && !negative ? 128 : (negative ? 0 : 129) + below(127)));
      for (std::uint32_t k = 0; k < count; ++k) value += static_cast<char>((negative ? 2 : 1) + below(100));
      if (negative && count < 20) value += static_cast<char>(102);
      value.insert(value.begin(), static_cast<char>(value.size()));
      while (value.size() < 22) value += static_cast<char>(below(256));
      value.resize(22);
      if (below(6) == 0) value[below(22)] = static_cast<char>(edges[below(std::size(edges))]);
      if (below(6) == 0) value[below(22)] = static_cast<char>(below(256));
      column += value;
    }
    EXPECT_GT(compare(type(ZVRT_KIND_VARNUM, 22), column), 0);
  }
}

}  // namespace
