// The correctly rounded significant digits of doubles.
//
// round_to_digits() computes 8 or 17 digits with integers of 128 bits:
//
// 1. value = fraction * 2^e. The decimal exponent follows from e by one multiplication (floor(e * log10(2))) and one
//    comparison with the smallest double of the next decade, from a table.
// 2. The fraction is multiplied by the power of ten that moves all wanted digits before the point. The table holds the
//    leading 128 bits of each power, truncated, so the product of 192 bits is at most two units too small.
// 3. The product is an integer of up to 57 bits, the digits, and a fraction of at least 70 bits, which decides the
//    rounding unless it is within those two units of one half (ties go to even when the power is exact).
// 4. In that rare case exact_decimal() takes over, by std::to_chars with a precision, which is exact.
//
// Any other count of digits goes through ExactDecimal at once.
#pragma once

#include <bit>
#include <cstdint>

#include "numeric/floating/powers_of_ten.h"
#include "support/ten_to_the.h"
#include "support/wraps.h"

namespace zvrt {

struct DoubleBits {
  std::uint64_t bits;

  explicit DoubleBits(double value) : bits(std::bit_cast<std::uint64_t>(value)) {}
  bool negative() const { return bits >> 63 != 0; }
  ZVRT_WRAPS std::uint64_t magnitude() const { return bits << 1 >> 1; }
  bool is_finite() const { return magnitude() < UINT64_C(0x7FF) << 52; }
};

// significand * 10^(exponent - digits + 1), where the significand has `digits` digits; zero has significand and
// exponent 0.
struct Decimal {
  std::uint64_t significand;
  std::int32_t exponent;
};

// No double has more significant digits; the largest subnormals have this many.
constexpr std::int32_t max_significant_digits = 767;

// A finite value's magnitude rounded to a given count of significant digits, ties to even, as narrow text.
class ExactDecimal {
 public:
  ExactDecimal(DoubleBits value, std::int32_t digits);

  // The digits without a point. Zeros beyond those that a double can have are left out.
  const char* digits() const { return digits_; }
  std::int32_t digit_count() const { return digit_count_; }
  std::int32_t exponent() const { return exponent_; }  // of the first digit

 private:
  char digits_[max_significant_digits + 8];
  std::int32_t digit_count_;
  std::int32_t exponent_ = 0;
};

// The same digits, at most 17, as a number.
Decimal exact_decimal(DoubleBits value, std::int32_t digits);

// As exact_decimal(), fast.
//
// Scaled by the power of ten that brings all digits wanted before the point, the value is an integer of up to 57 bits
// and a fraction of at least 70, which decides the rounding unless it is one of the few next to one half.
template <std::int32_t digits>
inline Decimal round_to_digits(DoubleBits value) {
  static_assert(1 <= digits && digits <= 17);
  const std::uint64_t magnitude = value.magnitude();
  if (magnitude == 0) return {0, 0};
  const auto exponent_field = static_cast<std::int32_t>(magnitude >> 52);
  const std::uint64_t implicit_bit = exponent_field == 0 ? 0 : UINT64_C(1) << 52;
  const std::uint64_t fraction = (magnitude & ((UINT64_C(1) << 52) - 1)) | implicit_bit;
  const std::int32_t leading_zeros = std::countl_zero(fraction);
  // 2^binary_exponent <= value < 2^(binary_exponent + 1); subnormals share the exponent of field 1.
  const std::int32_t binary_exponent = (exponent_field == 0 ? 1 : exponent_field) - 1023 + 11 - leading_zeros;

  // A factor of two crosses at most one power of ten.
  std::int32_t exponent = log10_of_power_of_two(binary_exponent);
  exponent += magnitude >= decade_start(exponent + 1) ? 1 : 0;

  const std::int32_t power = digits - 1 - exponent;
  const Product scaled = multiply(fraction << leading_zeros, power_of_ten(power));
  const std::int32_t fraction_bits = 62 - binary_exponent - log2_of_power(power);  // of the high word
  const Rounded significand = round_product(scaled, fraction_bits, power_is_exact(power));
  if (!significand.certain) [[unlikely]]
    return exact_decimal(value, digits);
  if (significand.value == ten_to_the(digits)) [[unlikely]]
    return {ten_to_the(digits - 1), exponent + 1};
  return {significand.value, exponent};
}

}  // namespace zvrt
