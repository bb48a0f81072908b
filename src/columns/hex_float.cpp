// Hexadecimal floats: sign, 7 bits of exponent to the base 16 above -64, a fraction of 6 or 14 hexadecimal digits.
//
//   value = 0.dddddd * 16^e = significand * 16^(e - digits)
//
// Decimals are compared with them as fractions of large integers, so that rounding is right at any distance. The way back
// generates decimal digits of the value until what is generated lies nearer to it than to the floats beside it.
#include <algorithm>
#include <bit>

#include "columns/bignum.h"
#include "columns/floats.h"

namespace zvrt::columns {

namespace {

constexpr std::int32_t min_exponent = -64;
constexpr std::int32_t max_exponent = 63;

constexpr Nearest overflow{{}, ZVRT_RC_OUT_OF_RANGE, false};

// The significand has become 16^digits: one hexadecimal digit more, a zero.
Nearest make_hex(Shifted rounded, std::int32_t exponent, std::int32_t digits, bool negative) {
  if (rounded.value >> (4 * digits) != 0) {
    rounded.value >>= 4;
    ++exponent;
  }
  if (exponent > max_exponent) return overflow;
  return {{rounded.value, 4 * (exponent - digits), negative, Binary::Class::finite}, ZVRT_RC_OK, rounded.is_exact};
}

// The least exponent whose power of 16 is above numerator / denominator.
std::int32_t find_exponent(const Bignum& numerator, const Bignum& denominator) {
  const std::int32_t bits = numerator.bits() - denominator.bits();  // the quotient is above 2^(bits - 1)
  std::int32_t exponent = std::max((bits - 1) >> 2, min_exponent);
  for (;; ++exponent) {
    Bignum left = numerator;
    Bignum right = denominator;
    exponent < 0 ? left.shift_left(-4 * exponent) : right.shift_left(4 * exponent);
    if (left.compare(right) < 0) return exponent;
  }
}

// numerator / denominator, which is below 2^bits, to the nearest integer, ties to even.
Shifted divide(Bignum numerator, const Bignum& denominator, std::int32_t bits) {
  Bignum part = denominator;
  part.shift_left(bits);
  std::uint64_t quotient = 0;
  for (std::int32_t i = 0; i < bits; ++i) {
    part.shift_right_one();
    quotient <<= 1;
    if (numerator.compare(part) >= 0) {
      numerator.subtract(part);
      quotient |= 1;
    }
  }
  const bool is_exact = numerator.is_zero();
  numerator.shift_left(1);
  const std::int32_t beside_half = numerator.compare(denominator);
  if (beside_half > 0 || (beside_half == 0 && quotient % 2 != 0)) ++quotient;
  return {quotient, is_exact};
}

// A value as remainder / scale in [0, 1) times a power of ten, and half the distances to the floats beside it in the
// same units.
struct Generator {
  Bignum remainder;
  Bignum scale;
  Bignum below;
  Bignum above;
  bool includes_ends;  // a tie would be rounded to the value
  std::int32_t exponent = 0;

  bool reaches_above() const {
    Bignum sum = remainder;
    sum.add(above);
    const std::int32_t order = sum.compare(scale);
    return includes_ends ? order >= 0 : order > 0;
  }
  bool reaches_below() const {
    const std::int32_t order = remainder.compare(below);
    return includes_ends ? order <= 0 : order < 0;
  }
  void multiply_ten() {
    for (Bignum* const number : {&remainder, &below, &above}) number->multiply_add(10, 0);
  }
  std::uint32_t next_digit() {
    multiply_ten();
    std::uint32_t digit = 0;
    for (; remainder.compare(scale) >= 0; ++digit) remainder.subtract(scale);
    return digit;
  }
};

Generator make_generator(const Binary& value, std::int32_t digits) {
  // In quarters of a hexadecimal digit's 16th, so that half the smaller distance below a power of 16 is an integer.
  constexpr std::int32_t spare_bits = 5;
  const bool is_power =
      value.significand == UINT64_C(1) << (4 * (digits - 1)) && value.exponent > 4 * (min_exponent - digits);
  Generator state{Bignum(value.significand), Bignum(1), Bignum(is_power ? 1 : 16), Bignum(16),
                  value.significand % 2 == 0};
  state.remainder.shift_left(spare_bits);
  state.scale.shift_left(spare_bits);
  if (value.exponent >= 0) {
    for (Bignum* const number : {&state.remainder, &state.below, &state.above}) number->shift_left(value.exponent);
  } else {
    state.scale.shift_left(-value.exponent);
  }
  // The decimal exponent, at most one too small: log10(2) is a little above 1233 / 4096.
  const std::int32_t top_bit = top_bit_of(value);
  state.exponent = (top_bit * 1233) >> 12;
  if (state.exponent >= 0) {
    state.scale.multiply_power_of_ten(state.exponent);
  } else {
    for (Bignum* const number : {&state.remainder, &state.below, &state.above}) {
      number->multiply_power_of_ten(-state.exponent);
    }
  }
  while (state.remainder.compare(state.scale) >= 0) {
    state.scale.multiply_add(10, 0);
    ++state.exponent;
  }
  return state;
}

}  // namespace

Shifted round_shift(std::uint64_t significand, std::int32_t shift) {
  if (shift <= 0) return {significand << -shift, true};
  if (shift > 64) return {0, significand == 0};
  const std::uint64_t kept = shift == 64 ? 0 : significand >> shift;
  const std::uint64_t half = UINT64_C(1) << (shift - 1);
  const std::uint64_t rest = shift == 64 ? significand : significand & (2 * half - 1);
  const bool up = rest > half || (rest == half && kept % 2 != 0);
  return {kept + (up ? 1 : 0), rest == 0};
}

Nearest nearest_hex(const Binary& value, std::int32_t digits) {
  if (value.significand == 0) return {{}, ZVRT_RC_OK, true};
  const std::int32_t top_bit = top_bit_of(value);
  const std::int32_t exponent = std::max((top_bit >> 2) + 1, min_exponent);
  if (exponent > max_exponent) return overflow;
  return make_hex(round_shift(value.significand, 4 * (exponent - digits) - value.exponent), exponent, digits,
                  value.negative);
}

Nearest nearest_hex(const LongNumber& number, std::int32_t digits) {
  constexpr std::int32_t far_above = 80;    // decimal digits before the point of no hexadecimal float
  constexpr std::int32_t far_below = -100;  // less than half the least one
  const std::int32_t leading = number.count() - number.scale();
  if (number.count() == 0 || leading < far_below) return {{0, 0, false, {}}, ZVRT_RC_OK, number.count() == 0};
  if (leading > far_above) return overflow;
  Bignum numerator;
  for (std::int32_t i = 0; i < number.count(); ++i) {
    numerator.multiply_add(10, static_cast<std::uint32_t>(number.digits()[i] - '0'));
  }
  Bignum denominator(1);
  number.scale() < 0 ? numerator.multiply_power_of_ten(-number.scale())
                     : denominator.multiply_power_of_ten(number.scale());
  const std::int32_t exponent = find_exponent(numerator, denominator);
  if (exponent > max_exponent) return overflow;
  const std::int32_t shift = 4 * (digits - exponent);
  shift >= 0 ? numerator.shift_left(shift) : denominator.shift_left(-shift);
  return make_hex(divide(numerator, denominator, 4 * digits), exponent, digits, number.is_negative());
}

Decimal shortest_hex(const Binary& value, std::int32_t digits) {
  Decimal number;
  if (value.significand == 0) return number;
  // Leading hexadecimal zeros say nothing: the float beside it is found from the normal form.
  const Binary normal = nearest_hex(value, digits).value;
  number.negative = value.negative;
  Generator state = make_generator(normal, digits);
  std::uint64_t decimal = 0;
  std::int32_t count = 0;
  for (;;) {
    std::uint32_t digit = state.next_digit();
    ++count;
    const bool low = state.reaches_below();
    const bool high = state.reaches_above();
    if (low || high) {
      Bignum twice = state.remainder;
      twice.shift_left(1);
      const std::int32_t beside_half = twice.compare(state.scale);
      const bool is_up = high && (!low || beside_half > 0 || (beside_half == 0 && digit % 2 != 0));
      decimal = decimal * 10 + digit + (is_up ? 1 : 0);
      break;
    }
    decimal = decimal * 10 + digit;
  }
  number.magnitude = {decimal, 0};
  number.scale = count - state.exponent;
  strip_zeros(number);
  return number;
}

}  // namespace zvrt::columns
