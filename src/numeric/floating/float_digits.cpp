#include "numeric/floating/float_digits.h"

#include <algorithm>
#include <charconv>

namespace zvrt {

ExactDecimal::ExactDecimal(DoubleBits value, std::int32_t digits)
    : digit_count_(std::min(digits, max_significant_digits)) {
  const auto magnitude = std::bit_cast<double>(value.magnitude());
  char* const end = digits_ + sizeof digits_;
  // "d.ddde+xx", the point only where digits follow it
  const auto text = std::to_chars(digits_, end, magnitude, std::chars_format::scientific, digit_count_ - 1);
  char* const exponent_mark = digits_ + digit_count_ + (digit_count_ > 1 ? 1 : 0);
  const char* const exponent_sign = exponent_mark + 1;
  std::from_chars(exponent_sign + (*exponent_sign == '+' ? 1 : 0), text.ptr, exponent_);
  if (digit_count_ > 1) std::copy(digits_ + 2, exponent_mark, digits_ + 1);
}

Decimal exact_decimal(DoubleBits value, std::int32_t digits) {
  const ExactDecimal exact(value, digits);
  Decimal decimal{0, exact.exponent()};
  std::from_chars(exact.digits(), exact.digits() + exact.digit_count(), decimal.significand);
  return decimal;
}

}  // namespace zvrt
