#include "numeric/floating/powers_of_ten.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <vector>

using namespace zvrt;

namespace {

// A plain big number, the least significant word first.
class BigNumber {
 public:
  explicit BigNumber(const PowerOfTen& power) {
    for (const uint64_t word : {power.low, power.high}) {
      words_.push_back(static_cast<uint32_t>(word));
      words_.push_back(static_cast<uint32_t>(word >> 32));
    }
  }
  explicit BigNumber(uint32_t value) : words_{value} {}

  BigNumber& multiply(uint32_t factor, int times) {
    for (int i = 0; i < times; ++i) {
      uint64_t carry = 0;
      for (uint32_t& word : words_) {
        carry += static_cast<uint64_t>(word) * factor;
        word = static_cast<uint32_t>(carry);
        carry >>= 32;
      }
      if (carry != 0) words_.push_back(static_cast<uint32_t>(carry));
    }
    return *this;
  }
  BigNumber& increment() {
    for (uint32_t& word : words_) {
      if (++word != 0) return *this;
    }
    words_.push_back(1);
    return *this;
  }
  bool operator<=(const BigNumber& other) const {
    if (words_.size() != other.words_.size()) return words_.size() < other.words_.size();
    return !std::lexicographical_compare(other.words_.rbegin(), other.words_.rend(), words_.rbegin(), words_.rend());
  }

 private:
  std::vector<uint32_t> words_;
};

// power * 2^shift <= 10^k < (power + 1) * 2^shift, all factors brought to the side where they are whole.
TEST(PowersOfTen, AreCutOffAt128Bits) {
  for (int32_t k = min_power; k <= max_power; ++k) {
    const PowerOfTen& power = power_of_ten(k);
    ASSERT_NE(power.high >> 63, 0u) << k;
    const int32_t shift = log2_of_power(k) - 127;
    const auto scale = [&](BigNumber number) {
      return number.multiply(2, std::max(shift, 0)).multiply(10, std::max(-k, 0));
    };
    const BigNumber whole = BigNumber(1).multiply(2, std::max(-shift, 0)).multiply(10, std::max(k, 0));
    const bool reached = scale(BigNumber(power)) <= whole;
    const bool passed = scale(BigNumber(power).increment()) <= whole;
    EXPECT_TRUE(reached && !passed) << k;
    EXPECT_EQ(power_is_exact(k), whole <= scale(BigNumber(power))) << k;
  }
}

TEST(PowersOfTen, DecadesStartAtTheFirstDoubleThatReachesThem) {
  for (int32_t k = min_decade; k <= max_decade; ++k) {
    const auto start = std::bit_cast<double>(decade_start(k));
    const auto before = std::bit_cast<double>(decade_start(k) - 1);
    char text[40];
    // Enough digits that none of these doubles rounds up to the power it stays below.
    std::snprintf(text, sizeof text, "%.24e", start);
    EXPECT_EQ(std::atoi(std::strchr(text, 'e') + 1), k);
    std::snprintf(text, sizeof text, "%.24e", before);
    EXPECT_EQ(std::atoi(std::strchr(text, 'e') + 1), k - 1);
  }
}

// The fractions around one half, however many bits of the high word they have.
TEST(RoundProduct, DecidesOnlyWhatIsCertain) {
  constexpr uint64_t most = UINT64_MAX;
  struct {
    const char* name;
    uint64_t kept;
    bool half_bit;  // the first bit of the fraction; if not set, the other bits of the high word are
    uint64_t middle;
    uint64_t low;
    std::optional<uint64_t> cut_off;  // nothing: in doubt
    uint64_t exact;
  } const cases[] = {
      {"below the doubt", 2, false, most - 2, most, 2, 2},
      {"may reach one half", 2, false, most - 1, 0, std::nullopt, 2},
      {"just below one half", 3, false, most, most, std::nullopt, 3},
      {"one half, even", 2, true, 0, 0, std::nullopt, 2},
      {"one half, up to even", 3, true, 0, 0, std::nullopt, 4},
      {"a little above", 2, true, 0, 1, std::nullopt, 3},
      {"above", 2, true, 1, 0, 3, 3},
      {"far above", 2, true, most, most, 3, 3},
  };
  for (const auto& row : cases) {
    for (const int32_t dropped : {1, 6, 10, 40, 61}) {
      const uint64_t half = UINT64_C(1) << (dropped - 1);
      const Product product{(row.kept << dropped) + (row.half_bit ? half : half - 1), row.middle, row.low};
      const Rounded cut_off = round_product(product, dropped, false);
      EXPECT_EQ(cut_off.certain ? std::optional(cut_off.value) : std::nullopt, row.cut_off) << row.name << dropped;
      const Rounded exact = round_product(product, dropped, true);
      EXPECT_TRUE(exact.certain) << row.name << dropped;
      EXPECT_EQ(exact.value, row.exact) << row.name << dropped;
    }
  }
  EXPECT_TRUE(round_product({UINT64_C(5) << 10, 0, 0}, 10, false).certain);  // a whole number
}

}  // namespace
