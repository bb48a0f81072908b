// Powers of ten in 128 bits, and the one rounding step that scaling by them needs in both directions, between binary
// floating point and decimal digits.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "support/wraps.h"

namespace zvrt {

__extension__ typedef unsigned __int128 Uint128;

// The leading 128 bits of a power of ten, truncated: 10^k = (high * 2^64 + low + cut) * 2^(log2_of_power(k) - 127),
// high >= 2^63, 0 <= cut < 1.
struct PowerOfTen {
  std::uint64_t high;
  std::uint64_t low;
};

// Formatting multiplies by at most 10^340 (17 digits of the smallest subnormal), parsing by at least 10^-342 (19 digits
// that round to the smallest subnormal).
constexpr std::int32_t min_power = -342;
constexpr std::int32_t max_power = 340;
[[gnu::visibility("hidden")]] extern const std::array<PowerOfTen, max_power - min_power + 1> powers_of_ten;

inline const PowerOfTen& power_of_ten(std::int32_t k) { return powers_of_ten[static_cast<std::size_t>(k - min_power)]; }

// The smallest double that reaches 10^k, as its bits, which order magnitudes as the values do.
constexpr std::int32_t min_decade = -323;
constexpr std::int32_t max_decade = 308;
[[gnu::visibility("hidden")]] extern const std::array<std::uint64_t, max_decade - min_decade + 1> decade_starts;

inline std::uint64_t decade_start(std::int32_t k) { return decade_starts[static_cast<std::size_t>(k - min_decade)]; }

// 5^55 is the last power of five below 2^128.
constexpr bool power_is_exact(std::int32_t k) { return 0 <= k && k <= 55; }

// floor(log2(10^k)) for all powers of the table, floor(log10(2^e)) for all exponents of doubles: both are checked at
// compile time where the table is made.
constexpr std::int32_t log2_of_power(std::int32_t k) { return (k * 1741647) >> 19; }
constexpr std::int32_t log10_of_power_of_two(std::int32_t e) { return (e * 315653) >> 20; }

// A significand times a power: 192 bits, of which the true product is less than 2^64 more when the power is cut off.
struct Product {
  std::uint64_t high;
  std::uint64_t middle;
  std::uint64_t low;
};

inline Product multiply(std::uint64_t significand, const PowerOfTen& power) {
  const Uint128 lower = static_cast<Uint128>(significand) * power.low;
  const Uint128 upper = static_cast<Uint128>(significand) * power.high + static_cast<std::uint64_t>(lower >> 64);
  return {static_cast<std::uint64_t>(upper >> 64), static_cast<std::uint64_t>(upper),
          static_cast<std::uint64_t>(lower)};
}

// A rounded value, and whether the known bits decide it.
struct Rounded {
  std::uint64_t value;
  bool certain;
};

// The true product without the last `dropped` bits of its high word (1 to 63), rounded to the nearest integer, halves
// to even.
//
// Above the low word the product is too small by less than 2: by less than 1 for the low word itself and less than 1
// for the bits cut off the power. So only a remainder of exactly one half, or up to 2 below it, is in doubt. With an
// exact power the low word settles it.
ZVRT_WRAPS inline Rounded round_product(const Product& product, std::int32_t dropped, bool exact) {
  const std::uint64_t kept = product.high >> dropped;
  const std::uint64_t half = UINT64_C(1) << (dropped - 1);
  const std::uint64_t rest = product.high & (2 * half - 1);
  // Two words: how far the remainder is above two units less than one half.
  const std::uint64_t distance_low = product.middle + 2;
  const std::uint64_t distance_high = rest - half + (distance_low < 2 ? 1 : 0);
  if (distance_high != 0 || distance_low > 2) [[likely]]
    return {kept + (rest >> (dropped - 1)), true};
  if (!exact) return {kept, false};
  const bool reaches_half = distance_low == 2;
  const bool goes_up = reaches_half && (product.low != 0 || kept % 2 != 0);
  return {kept + (goes_up ? 1 : 0), true};
}

}  // namespace zvrt
