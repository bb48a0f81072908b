// The canonical decimal: what every exact number is between its reader and its writer.
//
// A number is magnitude * 10^-scale with a sign. The magnitude has at most 40 decimal digits: those of the longest
// base-100 number and one more than the longest packed field. 40 digits are 133 bits, so it is a 128-bit integer and
// what does not fit there; nearly always that is 0 and the upper half of the 128 bits too, and arithmetic asks first.
//
// Only text has more digits than 40. Its first 40 significant ones are kept and `tail` says how what was left out
// compares with half a unit of the last one: enough to round it rightly wherever a target cuts. `finest` says how far
// after the point what was left out goes on: a target that has too few digits before it may have too few after it too.
#pragma once

#include <cstdint>

#include "core/call.h"

namespace zvrt::columns {

__extension__ typedef unsigned __int128 Uint128;
__extension__ typedef __int128 Int128;

constexpr std::int32_t max_digits = 40;

// Digits left out, beside half a unit of the last digit kept.
enum class Tail : std::uint8_t { zero, below_half, half, above_half };

// What happens to digits after a target's last one.
enum class Rounding : std::uint8_t { exact, half_even, half_away, cut };

struct Magnitude {
  Uint128 low = 0;
  std::uint32_t high = 0;  // bits 128 and up

  bool is_zero() const { return low == 0 && high == 0; }
  bool is_word() const { return high == 0 && low >> 64 == 0; }
  std::uint64_t word() const { return static_cast<std::uint64_t>(low); }
  friend bool operator==(const Magnitude&, const Magnitude&) = default;
};

constexpr bool is_less(const Magnitude& a, const Magnitude& b) {
  return a.high != b.high ? a.high < b.high : a.low < b.low;
}

struct Decimal {
  Magnitude magnitude;
  std::int32_t scale = 0;
  bool negative = false;  // of zero too: the sign that was written
  Tail tail = Tail::zero;
  std::int32_t finest = 0;  // with a tail: the scale of the last digit left out that is not 0
};

// 10^n for n up to 40.
Magnitude power_of_ten(std::int32_t n);

// Makes the number one of `scale` digits after the point, by the rule. ZVRT_RC_FRACTION_LOST under the exact rule;
// ZVRT_RC_DIGITS_LOST when the result has more than 40 digits.
Status rescale(Decimal& number, std::int32_t scale, Rounding rule);

// Removes zeros at the end; zero gets the scale 0.
void strip_zeros(Decimal& number);

// Whether the magnitude has at most so many digits.
inline bool fits_digits(const Magnitude& magnitude, std::int32_t digits) {
  return digits > max_digits || is_less(magnitude, power_of_ten(digits));
}

// The decimal digits, most significant first, without leading zeros: none for zero. Returns their count.
std::int32_t write_digits(const Magnitude& magnitude, char* digits);

// magnitude * 10^digits + value; the caller knows that the result fits.
Magnitude append_digits(const Magnitude& magnitude, std::int32_t digits, std::uint64_t value);

}  // namespace zvrt::columns
