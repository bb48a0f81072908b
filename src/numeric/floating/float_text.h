// A rounded floating-point value as wide text: sign, digit, point, digits, exponent.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "numeric/floating/float_digits.h"
#include "simd/vectors.h"
#include "support/units.h"

namespace zvrt {

// The end of the text with its terminator, by the exponent: "+dd\0" or "ddd\0".
constexpr std::int32_t min_decimal_exponent = -324;
constexpr std::int32_t max_decimal_exponent = 308;
[[gnu::visibility("hidden")]] extern const std::array<std::uint32_t, max_decimal_exponent - min_decimal_exponent + 1>
    exponent_tails;

inline bool has_long_exponent(std::int32_t exponent) { return exponent <= -100 || exponent >= 100; }

// "E+dd" or "E+ddd" and the terminator.
inline void write_exponent(std::byte* at, std::int32_t exponent) {
  vectors::store_two_wide(at, 'E', exponent < 0 ? '-' : '+');
  at += (has_long_exponent(exponent) ? 2 : 1) * sizeof(Wide);
  const std::uint32_t tail = exponent_tails[static_cast<std::size_t>(exponent - min_decimal_exponent)];
  vectors::store_four_wide(at, tail);
}

// A finite value's text with the count of digits that columns are written with.
template <std::int32_t digits>
struct ScientificText {
  static_assert(digits == 8 || digits == 17);
  static constexpr std::int32_t max_length = digits + 7;  // sign, point, E, sign of the exponent, three digits

  bool negative;
  Decimal value;

  explicit ScientificText(DoubleBits finite) : negative(finite.negative()), value(round_to_digits<digits>(finite)) {}

  std::int32_t length() const { return digits + 5 + (negative ? 1 : 0) + (has_long_exponent(value.exponent) ? 1 : 0); }

  // Writes length() characters and a terminator, and nothing beyond it. What is written first may be overwritten, so
  // that no step depends on the form of the text.
  void write(std::byte* at) const {
    store<Wide>(at, 0, '-');
    if (negative) at += sizeof(Wide);
    write_digits(at);
    write_exponent(at + (digits + 1) * sizeof(Wide), value.exponent);
  }

 private:
  void write_digits(std::byte* at) const {
    if constexpr (digits == 17) {
      const auto upper_nine = static_cast<std::uint32_t>(value.significand / ten_to_the(8));
      const auto lower_eight = static_cast<std::uint32_t>(value.significand % ten_to_the(8));
      const std::uint32_t first = upper_nine / ten_to_the(8);
      const auto bytes = vectors::digit_characters(vectors::sixteen_digits(upper_nine % ten_to_the(8), lower_eight));
      vectors::store_two_wide(at, static_cast<char>('0' + first), '.');
      vectors::store_eight_wide(at + 2 * sizeof(Wide), bytes);
      vectors::store_eight_wide(at + 10 * sizeof(Wide), vectors::upper_half(bytes));
    } else {
      const auto bytes = vectors::digit_characters(vectors::sixteen_digits(value.significand, 0));
      vectors::store_eight_wide(at + sizeof(Wide), bytes);
      // The point replaces the first digit.
      vectors::store_two_wide(at, static_cast<char>(vectors::first_byte(bytes)), '.');
    }
  }
};

// The same with any count of digits.
class ExactScientificText {
 public:
  ExactScientificText(DoubleBits finite, std::int32_t places)
      : negative_(finite.negative()), places_(places), value_(finite, places + 1) {}

  std::int32_t length() const {
    return places_ + 6 + (negative_ ? 1 : 0) + (has_long_exponent(value_.exponent()) ? 1 : 0);
  }
  void write(std::byte* at) const;

 private:
  bool negative_;
  std::int32_t places_;
  ExactDecimal value_;
};

}  // namespace zvrt
