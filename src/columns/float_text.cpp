// Floats as text: the shortest digits that read back, laid out as JSON writers do.
//
// With n the position of the decimal point counted from the first of k digits:
//
//   k <= n <= 21   digits and zeros          123000
//   0 < n < k      digits around a point     123.45
//   -6 < n <= 0    zeros after the point     0.00000123
//   otherwise      one digit, an exponent    1.23e-7, 1e+22
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "ZVRTDataCnvLib.h"
#include "columns/arena.h"
#include "columns/floats.h"

namespace zvrt::columns {

namespace {

constexpr std::int32_t max_float_text = 64;

std::int32_t write_exponent_form(const Decimal& number, const char* digits, std::int32_t count, char* out) {
  char* at = out;
  if (number.negative) *at++ = '-';
  *at++ = digits[0];
  if (count > 1) {
    *at++ = '.';
    at = std::copy(digits + 1, digits + count, at);
  }
  const std::int32_t exponent = count - number.scale - 1;
  *at++ = 'e';
  *at++ = exponent < 0 ? '-' : '+';
  at = std::to_chars(at, out + max_float_text, exponent < 0 ? -exponent : exponent).ptr;
  return static_cast<std::int32_t>(at - out);
}

std::int32_t format_shortest(Decimal number, char* out) {
  strip_zeros(number);
  char digits[max_digits];
  const std::int32_t count = write_digits(number.magnitude, digits);
  const std::int32_t point = count - number.scale;
  const bool is_plain = count == 0 || (point > -6 && point <= 21);
  return is_plain ? format_number(number, out) : write_exponent_form(number, digits, count, out);
}

// The form of 17 digits, by the function that has it.
Status format_single_form(const Binary& value, char* out, std::int32_t& length) {
  const double number = std::ldexp(static_cast<double>(value.significand), value.exponent) * (value.negative ? -1 : 1);
  wchar_t text[max_float_text];
  std::uint32_t count = 0;
  const Status status = ZVRTCnvDblToWVarcharSz(&number, nullptr, text, sizeof text, &count, nullptr);
  if (status != ZVRT_RC_OK) return status;
  std::transform(text, text + count, out, [](wchar_t c) { return static_cast<char>(c); });
  length = static_cast<std::int32_t>(count);
  return ZVRT_RC_OK;
}

}  // namespace

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
    std::int32_t length = 0;
    if (is_single_form) {
      const Status status = format_single_form(value, text, length);
      if (status != ZVRT_RC_OK) {
        block.refuse(i, status);
        continue;
      }
    } else {
      length = format_shortest(shortest_decimal(from, value), text);
    }
    std::byte* const out = room_for(block, i, static_cast<std::size_t>(length));
    if (out == nullptr) return;
    std::memcpy(out, text, static_cast<std::size_t>(length));
    block.text[i] = {out, length, true, true};
  }
}

}  // namespace zvrt::columns
