// Floats as text: the shortest digits that read back, laid out as JSON writers do.
//
// With n the position of the decimal point counted from the first of k digits:
//
//   k <= n <= 21   digits and zeros          123000
//   0 < n < k      digits around a point     123.45
//   -6 < n <= 0    zeros after the point     0.00000123
//   otherwise      one digit, an exponent    1.23e-7, 1e+22
#include "columns/float_text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>

#include "columns/arena.h"
#include "columns/floats.h"
#include "columns/short_numbers.h"
#include "numeric/floating/float_text.h"
#include "simd/vectors.h"

namespace zvrt::columns {

namespace {

// Digits that are copied at once, whatever their count: no decimal here has more.
constexpr std::size_t copied = 24;

// The digits of a decimal, most significant first, and zeros after them.
struct DigitText {
  char at[2 * copied];
  std::int32_t count;
};

// At most 17 digits, which fill up to 17: one, and sixteen at once.
DigitText digits_of(const Shortest& number) {
  constexpr std::int32_t shown = 17;
  DigitText text;
  std::memset(text.at, '0', sizeof text.at);
  const std::int32_t estimate = (64 - std::countl_zero(number.digits)) * 1233 >> 12;
  text.count = estimate + (number.digits >= short_powers[static_cast<std::size_t>(estimate)] ? 1 : 0);
  const std::uint64_t digits = number.digits * short_powers[static_cast<std::size_t>(shown - text.count)];
  const std::uint64_t upper = digits / short_powers[8];
  const std::uint64_t first = upper / short_powers[8];
  text.at[0] = static_cast<char>('0' + first);
  const auto rest = vectors::sixteen_digits(upper - first * short_powers[8], digits - upper * short_powers[8]);
  vectors::store_block(text.at + 1, vectors::digit_characters(rest));
  return text;
}

DigitText digits_of(const Magnitude& magnitude) {
  DigitText text;
  std::memset(text.at, '0', sizeof text.at);
  text.count = write_digits(magnitude, text.at);
  return text;
}

std::int32_t write_exponent_form(const DigitText& digits, std::int32_t exponent, char* const out) {
  char* at = out;
  *at++ = digits.at[0];
  if (digits.count > 1) {
    *at++ = '.';
    std::memcpy(at, digits.at + 1, copied);
    at += digits.count - 1;
  }
  *at++ = 'e';
  *at++ = exponent < 0 ? '-' : '+';
  std::int32_t rest = exponent < 0 ? -exponent : exponent;
  if (rest >= 100) *at++ = static_cast<char>('0' + rest / 100);
  if (rest >= 10) *at++ = static_cast<char>('0' + rest / 10 % 10);
  *at++ = static_cast<char>('0' + rest % 10);
  return static_cast<std::int32_t>(at - out);
}

// Of digits that are not 0.
std::int32_t lay_out(const DigitText& digits, std::int32_t scale, bool negative, char* out) {
  *out = '-';
  const std::int32_t sign = negative ? 1 : 0;
  char* const at = out + sign;
  const std::int32_t point = digits.count - scale;
  if (point <= -6 || point > 21) return sign + write_exponent_form(digits, point - 1, at);
  if (point <= 0) {
    std::copy_n("0.000000", 8, at);
    std::memcpy(at + 2 - point, digits.at, copied);
    return sign + 2 - point + digits.count;
  }
  std::memcpy(at, digits.at, copied);
  if (point >= digits.count) return sign + point;
  at[point] = '.';
  std::memcpy(at + point + 1, digits.at + point, copied);
  return sign + digits.count + 1;
}

std::int32_t put_zero(char* out) {
  *out = '0';
  return 1;
}

std::int32_t format_hex(const Decimal& shortest, char* out) {
  Decimal number = shortest;
  strip_zeros(number);
  if (number.magnitude.is_zero()) return put_zero(out);
  return lay_out(digits_of(number.magnitude), number.scale, number.negative, out);
}

template <class Float>
Float float_of(const Binary& value) {
  const auto number = static_cast<Float>(std::ldexp(static_cast<double>(value.significand), value.exponent));
  return value.negative ? -number : number;
}

std::int32_t format(const Type& from, bool is_single_form, const Binary& value, char* out) {
  if (is_single_form) return format_single_form(float_of<double>(value), out);
  if (from.kind == ZVRT_KIND_HEX_FLOAT) return format_hex(shortest_decimal(from, value), out);
  const Shortest shortest =
      from.length == 4 ? find_shortest(float_of<float>(value)) : find_shortest(float_of<double>(value));
  return format_shortest(shortest, value.negative, out);
}

}  // namespace

std::int32_t format_shortest(const Shortest& number, bool negative, char* out) {
  return number.digits == 0 ? put_zero(out) : lay_out(digits_of(number), number.scale, negative, out);
}

std::int32_t format_single_form(double value, char* out) {
  const ScientificText<17> text{DoubleBits(value)};
  std::array<Wide, 32> wide{};
  text.write(reinterpret_cast<std::byte*>(wide.data()));
  std::transform(wide.begin(), wide.end(), out, [](Wide c) { return static_cast<char>(c); });
  return text.length();
}

void step_binary_to_text(const Type& from, const Type& to, Block& block) {
  const bool is_single_form = (to.options & ZVRT_PLAN_SINGLE_FORM) != 0;
  for (std::int32_t i = 0; i < block.count; ++i) {
    if (block.is_refused(i)) continue;
    const Binary value = block.binary[i];
    if (value.what != Binary::Class::finite) {
      block.refuse(i, ZVRT_RC_NOT_FINITE);
      continue;
    }
    char text[max_float_text];
    const std::int32_t length = format(from, is_single_form, value, text);
    std::byte* const out = room_for(block, i, static_cast<std::size_t>(length));
    if (out == nullptr) return;
    std::memcpy(out, text, static_cast<std::size_t>(length));
    block.text[i] = {out, length, true, true};
  }
}

}  // namespace zvrt::columns
