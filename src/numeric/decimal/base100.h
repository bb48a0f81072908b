// Decimal numbers as base-100 digits, and VARNUM, the byte form that holds them.
#pragma once

#include <cstdint>

namespace zvrt {

// A magnitude: digits[0] has the weight 100 to the power of the exponent. Without digits it is zero.
struct Base100 {
  static constexpr std::int32_t max_digits = 20;
  static constexpr bool digits_are_free = true;  // digit() only loads it

  std::uint8_t digit(std::int32_t index) const { return digits[index]; }

  std::uint8_t digits[max_digits];
  std::int32_t count;
  std::int32_t exponent;
};

// The number that `count` pairs of decimal digits make with `scale` digits after the point: without zeros at either
// end, truncated to 20 digits without rounding. Pairs above 99 give an unspecified number.
Base100 normalise(const std::uint8_t* pairs, std::int32_t count, std::int32_t scale);

// VARNUM: a byte with the number of bytes that follow, the exponent byte, the mantissa.
constexpr std::int32_t varnum_header = 2;
constexpr std::int32_t max_varnum_size = varnum_header + Base100::max_digits;
constexpr std::uint8_t zero_exponent = 0x80;       // the exponent byte of zero, alone
constexpr std::int32_t positive_exponent = 193;    // of 100^0
constexpr std::int32_t negative_exponent = 62;     // of 100^0 in negative numbers, whose exponents count downwards
constexpr std::int32_t max_varnum_exponent = 62;   // the largest with an exponent byte
constexpr std::int32_t min_varnum_exponent = -65;  // below it numbers are zero

// Writes the number and returns its size in bytes, at most longest_varnum.
std::int32_t write_varnum(const Base100& number, bool negative, std::uint8_t* dst);

}  // namespace zvrt
