#include "numeric/float_reader.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstddef>
#include <cstdint>

#include "frame/units.h"
#include "numeric/powers_of_ten.h"

namespace zvrt {

namespace {

constexpr std::uint64_t infinity_bits = UINT64_C(0x7FF) << 52;

bool is_sign(Wide character) { return character == '+' || character == '-'; }
bool is_exponent_mark(Wide character) { return character == 'E' || character == 'e'; }
bool is_digit(Wide character) { return character - '0' <= 9; }

const std::byte* next(const std::byte* at) { return at + sizeof(Wide); }
std::int64_t characters_between(const std::byte* from, const std::byte* to) {
  return (to - from) / static_cast<std::ptrdiff_t>(sizeof(Wide));
}

// The parts of the number that a text begins with.
struct Parts {
  bool negative = false;
  const std::byte* digits = nullptr;  // digits and at most one point
  const std::byte* digits_end = nullptr;
  std::int64_t digit_count = 0;
  std::uint64_t significand = 0;  // of all digits; meaningless when they are more than a word holds
  std::int64_t exponent = 0;      // of the last digit
  const std::byte* end = nullptr;
};

const std::byte* scan_digits(const std::byte* at, std::uint64_t& value) {
  for (Wide digit; (digit = load<Wide>(at) - '0') <= 9; at = next(at)) value = value * 10 + digit;
  return at;
}

// The written exponent, and where it ends. Without a digit behind the mark there is none.
const std::byte* scan_exponent(const std::byte* mark, std::int64_t& exponent) {
  // Far beyond what any length of digits can make up for, far from the limits of the type.
  constexpr std::int64_t bound = INT64_C(1) << 56;
  const std::byte* at = next(mark);
  const Wide sign = load<Wide>(at);
  if (is_sign(sign)) at = next(at);
  if (!is_digit(load<Wide>(at))) return mark;
  std::int64_t magnitude = 0;
  for (Wide digit; (digit = load<Wide>(at) - '0') <= 9; at = next(at)) {
    if (magnitude < bound) magnitude = magnitude * 10 + digit;
  }
  exponent = sign == '-' ? -magnitude : magnitude;
  return at;
}

Parts scan(const std::byte* text) {
  Parts parts;
  const Wide first = load<Wide>(text);
  parts.negative = first == '-';
  parts.digits = is_sign(first) ? next(text) : text;
  const std::byte* at = scan_digits(parts.digits, parts.significand);
  parts.digit_count = characters_between(parts.digits, at);
  std::int64_t places = 0;
  if (load<Wide>(at) == '.') {
    const std::byte* const point = at;
    at = scan_digits(next(point), parts.significand);
    places = characters_between(point, at) - 1;
    parts.digit_count += places;
  }
  parts.digits_end = at;
  if (is_exponent_mark(load<Wide>(at)) && parts.digit_count > 0) at = scan_exponent(at, parts.exponent);
  parts.exponent -= places;
  parts.end = at;
  return parts;
}

enum class Screening : std::uint8_t { refused, only_zeros, has_value };

// Whether all characters from here on, up to the terminator, may stand in the text of a number.
Screening screen(const std::byte* at) {
  bool has_value = false;
  for (Wide character; (character = load<Wide>(at)) != 0; at = next(at)) {
    if (is_exponent_mark(character)) {
      if (is_sign(load<Wide>(next(at)))) at = next(at);
    } else if (is_digit(character)) {
      has_value |= character != '0';
    } else if (character != '.') {
      return Screening::refused;
    }
  }
  return has_value ? Screening::has_value : Screening::only_zeros;
}

// The bits of the double nearest to significand * 10^exponent, or nothing where 128 bits of the power cannot tell.
// The significand is not 0.
std::optional<std::uint64_t> nearest_double(std::uint64_t significand, std::int64_t exponent) {
  if (exponent < least_power) return 0;  // below 10^-323 even with twenty digits, and so below half the least double
  if (exponent > 308) return infinity_bits;
  const auto power = static_cast<std::int32_t>(exponent);
  const std::int32_t leading_zeros = std::countl_zero(significand);
  const Product product = multiply(significand << leading_zeros, power_of_ten(power));
  const auto leading_bit = static_cast<std::int32_t>(product.high >> 63);
  const std::int32_t binary_exponent = log2_of_power(power) + 63 + leading_bit - leading_zeros;
  if (binary_exponent > 1023) return infinity_bits;
  const std::int32_t below_normal = std::max(-1022 - binary_exponent, 0);
  const std::int32_t dropped = 10 + leading_bit + below_normal;
  if (dropped > 63) return std::nullopt;
  const auto rounded = round_product(product, dropped, power_is_exact(power));
  if (!rounded) return std::nullopt;
  // The leading bit of a normal significand counts one up in the exponent field, and so does one rounded up to a power
  // of two, to infinity in the end.
  return (static_cast<std::uint64_t>(binary_exponent + below_normal + 1022) << 52) + *rounded;
}

// Any number of digits: those that can matter go through the language's own reader, an odd one behind them stands for
// the rest.
[[gnu::noinline, gnu::cold]] std::uint64_t exact_double_bits(const Parts& parts) {
  // A point halfway between two doubles has at most 768 significant digits.
  constexpr std::size_t kept_digits = 770;
  char text[kept_digits + 1 + 24];
  std::size_t length = 0;
  std::int64_t exponent = parts.exponent;
  bool rest = false;
  for (const std::byte* at = parts.digits; at != parts.digits_end; at = next(at)) {
    const Wide character = load<Wide>(at);
    if (character == '.') continue;
    if (length < kept_digits) {
      if (length > 0 || character != '0') text[length++] = static_cast<char>(character);
    } else {
      rest |= character != '0';
      ++exponent;
    }
  }
  if (rest) {
    text[length++] = '1';
    --exponent;
  }
  const std::int64_t leading_exponent = exponent + static_cast<std::int64_t>(length);
  text[length++] = 'e';
  const char* const end = std::to_chars(text + length, text + sizeof text, exponent).ptr;
  double value = 0;
  const auto result = std::from_chars(text, end, value);
  if (result.ec == std::errc::result_out_of_range) return leading_exponent > 0 ? infinity_bits : 0;
  return std::bit_cast<std::uint64_t>(value);
}

// More digits than a word holds: where the leading ones and their successor have the same nearest double, so has all
// that lies between.
[[gnu::noinline, gnu::cold]] std::uint64_t long_double_bits(const Parts& parts) {
  constexpr std::uint64_t nineteen_digits = UINT64_C(1000000000000000000);
  std::uint64_t significand = 0;
  std::int64_t exponent = parts.exponent;
  for (const std::byte* at = parts.digits; at != parts.digits_end; at = next(at)) {
    const Wide digit = load<Wide>(at) - '0';
    if (digit > 9) continue;
    if (significand < nineteen_digits) {
      significand = significand * 10 + digit;
    } else {
      ++exponent;
    }
  }
  if (significand == 0) return 0;
  const auto least = nearest_double(significand, exponent);
  const bool is_whole = exponent == parts.exponent;
  if (least && (is_whole || least == nearest_double(significand + 1, exponent))) return *least;
  return exact_double_bits(parts);
}

// 0 also where there is no number.
std::uint64_t double_bits(const Parts& parts) {
  constexpr std::int64_t certain_to_fit = 19;
  if (parts.digit_count > certain_to_fit) [[unlikely]]
    return long_double_bits(parts);
  if (parts.significand == 0) return 0;
  const auto nearest = nearest_double(parts.significand, parts.exponent);
  return nearest ? *nearest : exact_double_bits(parts);
}

}  // namespace

std::optional<double> read_double(const void* wide_text) {
  const auto* text = static_cast<const std::byte*>(wide_text);
  const Parts parts = scan(text);
  const std::uint64_t bits = double_bits(parts);
  if (bits == 0) [[unlikely]] {
    // Zero as it was written, or a number that rounds to it, or none: the digits of the whole text tell.
    return screen(parts.digits) == Screening::only_zeros ? std::optional(0.0) : std::nullopt;
  }
  if (load<Wide>(parts.end) != 0 && screen(parts.end) == Screening::refused) [[unlikely]]
    return std::nullopt;
  return std::bit_cast<double>(bits | static_cast<std::uint64_t>(parts.negative) << 63);
}

}  // namespace zvrt
