// Text to doubles and singles, correctly rounded. Four ways, from the most frequent to the rarest:
//
// 1. A short decimal (at most 15 digits, no exponent) by a kernel, where the processor has one: significand /
//    10^places, both exact doubles, so that the one division is correctly rounded (Clinger).
// 2. scan() reads sign, digits, point and exponent of any text into significand * 10^exponent. If both are exact
//    doubles, one multiplication or division as in 1.
// 3. Up to 19 digits: one product with a power of ten (nearest_double.h), which decides unless it is close to a tie.
//    With more digits the first 19 and their successor bound the number: if both give the same double, it is that one.
// 4. Otherwise std::from_chars over the first 770 digits and a sticky digit for the rest, which is exact.
//
// screen() decides whether a text with other characters after or inside its number is rejected, and distinguishes a
// written zero from a number that rounds to zero.
#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "ZVRTDataCnvLib.h"
#include "core/call.h"
#include "numeric/floating/nearest_double.h"
#include "numeric/floating/short_decimals.h"
#include "simd/vectors.h"
#include "support/read_ahead.h"
#include "support/units.h"
#include "support/wraps.h"

using namespace zvrt;

namespace {

bool is_sign(Wide character) { return character == '+' || character == '-'; }
bool is_exponent_mark(Wide character) { return character == 'E' || character == 'e'; }
ZVRT_WRAPS bool is_digit(Wide character) { return character - '0' <= 9; }

const std::byte* next(const std::byte* at) { return at + sizeof(Wide); }
std::int64_t characters_between(const std::byte* from, const std::byte* to) {
  return static_cast<std::int64_t>(static_cast<std::size_t>(to - from) / sizeof(Wide));
}

ZVRT_WRAPS [[gnu::always_inline]] inline const std::byte* scan_digits(const std::byte* at, std::uint64_t& value) {
  for (Wide digit; (digit = load<Wide>(at) - '0') <= 9; at = next(at)) value = value * 10 + digit;
  return at;
}

// The same where many digits are to be expected. Eight digits at a time cost one multiplication of the value so far; in
// a long run these dependent multiplications take the time.
ZVRT_WRAPS [[gnu::always_inline]] inline const std::byte* scan_many_digits(const std::byte* at, std::uint64_t& value) {
  constexpr std::size_t block = 8 * sizeof(Wide);
  // Testing the last of the eight rejects most short runs at once.
  while (may_read_ahead(at, block) && is_digit(load<Wide>(at, 7))) {
    std::uint32_t number = 0;
    if (!vectors::read_eight_digits(at, number)) break;
    value = value * 100000000 + number;
    at += block;
  }
  return scan_digits(at, value);
}

// The written exponent, and where it ends. Without a digit after the mark there is none.
ZVRT_WRAPS [[gnu::always_inline]] inline const std::byte* scan_exponent(const std::byte* mark, std::int64_t& exponent) {
  // Far above what any number of digits can balance, far below the limits of the type.
  constexpr std::int64_t bound = INT64_C(1) << 56;
  const std::byte* at = next(mark);
  const Wide sign = load<Wide>(at);
  if (is_sign(sign)) at = next(at);
  if (!is_digit(load<Wide>(at))) return mark;
  std::int64_t magnitude = 0;
  for (Wide digit; (digit = load<Wide>(at) - '0') <= 9; at = next(at)) {
    if (magnitude < bound) magnitude = magnitude * 10 + digit;
  }
  const std::int64_t all_ones_if_negative = -static_cast<std::int64_t>(sign == '-');
  exponent = (magnitude ^ all_ones_if_negative) - all_ones_if_negative;  // no branch: either sign is as likely
  return at;
}

// The number that a text begins with.
struct Parts {
  bool negative;
  const std::byte* digits;  // with at most one point among them
  const std::byte* digits_end;
  std::int64_t digit_count;
  std::uint64_t significand;  // of all digits; meaningless when they are more than a word holds
  std::int64_t exponent;      // of the last digit
  const std::byte* end;
};

[[gnu::always_inline]] inline Parts scan(const std::byte* text) {
  const Wide first = load<Wide>(text);
  const std::byte* const digits = text + (is_sign(first) ? sizeof(Wide) : 0);
  std::uint64_t significand = 0;
  const std::byte* at = scan_digits(digits, significand);
  std::int64_t digit_count = characters_between(digits, at);
  std::int64_t places = 0;
  if (load<Wide>(at) == '.') {
    const std::byte* const point = at;
    at = scan_many_digits(next(point), significand);
    places = characters_between(point, at) - 1;
    digit_count += places;
  }
  const std::byte* const digits_end = at;
  std::int64_t exponent = 0;
  if (is_exponent_mark(load<Wide>(at)) && digit_count > 0) at = scan_exponent(at, exponent);
  return {first == '-', digits, digits_end, digit_count, significand, exponent - places, at};
}

enum class Screening : std::uint8_t { rejected, only_zeros, has_value };

// Whether all characters from here on, up to the terminator, may stand in the text of a number.
[[gnu::noinline]] Screening screen(const std::byte* at) {
  bool has_value = false;
  for (Wide character; (character = load<Wide>(at)) != 0; at = next(at)) {
    if (is_exponent_mark(character)) {
      if (is_sign(load<Wide>(next(at)))) at = next(at);
    } else if (is_digit(character)) {
      has_value |= character != '0';
    } else if (character != '.') {
      return Screening::rejected;
    }
  }
  return has_value ? Screening::has_value : Screening::only_zeros;
}

// The fast path of Clinger: if significand and power of ten are exact doubles, one multiplication or division is
// correctly rounded.
constexpr std::int64_t max_exact_power = 22;
constexpr std::uint64_t max_exact_significand = UINT64_C(1) << 53;
constexpr auto exact_powers = [] {
  std::array<double, max_exact_power + 1> powers{1};
  for (std::size_t k = 1; k < powers.size(); ++k) powers[k] = powers[k - 1] * 10;
  return powers;
}();

bool has_exact_operands(std::uint64_t significand, std::int64_t exponent) {
  return significand <= max_exact_significand && exponent >= -max_exact_power && exponent <= max_exact_power;
}

double short_decimal_value(const ShortDecimal& number) {
  return static_cast<double>(number.significand) / exact_powers[static_cast<std::size_t>(number.places)];
}

double exact_quotient_or_product(std::uint64_t significand, std::int64_t exponent) {
  const auto integer = static_cast<double>(static_cast<std::int64_t>(significand));
  return exponent < 0 ? integer / exact_powers[static_cast<std::size_t>(-exponent)]
                      : integer * exact_powers[static_cast<std::size_t>(exponent)];
}

// Any number of digits: the first 770 go through std::from_chars. If a later digit is not zero, one more digit 1 is
// appended (a sticky digit), so that a tie is decided correctly.
[[gnu::noinline, gnu::cold]] std::uint64_t exact_double_bits(const std::byte* text_begin) {
  const Parts parts = scan(text_begin);
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

// More digits than a word holds: if the 19 leading digits and their successor have the same nearest double, so has
// everything between.
ZVRT_WRAPS [[gnu::noinline]] std::uint64_t long_double_bits(const std::byte* text) {
  const Parts parts = scan(text);
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
  const Rounded lower = nearest_double(significand, exponent);
  const Rounded upper = nearest_double(significand + 1, exponent);
  if (lower.certain && upper.certain && lower.value == upper.value) return lower.value;
  return exact_double_bits(text);
}

std::int64_t leading_zeros(const Parts& parts) {
  std::int64_t zeros = 0;
  for (const std::byte* at = parts.digits; at != parts.digits_end; at = next(at)) {
    const Wide character = load<Wide>(at);
    if (character == '0') ++zeros;
    if (character != '0' && character != '.') break;
  }
  return zeros;
}

// 0 also if there is no number.
std::uint64_t double_bits(const std::byte* text, const Parts& parts) {
  constexpr std::int64_t certain_to_fit = 19;
  if (parts.digit_count > certain_to_fit && parts.digit_count - leading_zeros(parts) > certain_to_fit) {
    return long_double_bits(text);
  }
  if (has_exact_operands(parts.significand, parts.exponent)) {
    return std::bit_cast<std::uint64_t>(exact_quotient_or_product(parts.significand, parts.exponent));
  }
  if (parts.significand == 0) return 0;
  const Rounded nearest = nearest_double(parts.significand, parts.exponent);
  if (!nearest.certain) [[unlikely]]
    return exact_double_bits(text);
  return nearest.value;
}

// Of text made of an optional sign, then digits, points, and E or e with an optional sign after it, in any order, the
// longest prefix that is a number counts. NaN for text with other characters in it, for text that does not begin with a
// number, and for a number that is not 0 and rounds to 0. Text without a digit other than 0 is +0.0, whatever its form.
// Beyond the largest double the value is infinite.
[[gnu::always_inline]] inline double read_double(const void* wide_text) {
  constexpr double rejected = std::numeric_limits<double>::quiet_NaN();
  const auto* text = static_cast<const std::byte*>(wide_text);
  const Parts parts = scan(text);
  const std::uint64_t bits = double_bits(text, parts);
  if (bits == 0) [[unlikely]] {
    // A written zero, a number that rounds to zero, or no number: the digits of the complete text decide.
    return screen(parts.digits) == Screening::only_zeros ? 0.0 : rejected;
  }
  if (load<Wide>(parts.end) != 0 && screen(parts.end) == Screening::rejected) [[unlikely]]
    return rejected;
  return std::bit_cast<double>(bits | static_cast<std::uint64_t>(parts.negative) << 63);
}

// A single is the nearest one to the nearest double: two roundings, by definition.
template <class Float, Status rejected>
Status read(const Call& call) {
  constexpr std::int32_t size = sizeof(Float);
  if (call.dstSize < size) {
    *call.outLen = size;
    return ZVRT_RC_TRUNCATED;
  }
  const auto accept = [&call](Float value) {
    store<Float>(call.dst, 0, value);
    *call.outLen = size;
    return ZVRT_RC_OK;
  };
  // No short decimal is outside either type's range.
  const ShortDecimal short_decimal = short_decimals.read(call.src);
  if (short_decimal.significand != 0) return accept(static_cast<Float>(short_decimal_value(short_decimal)));
  const double value = read_double(call.src);
  const auto result = static_cast<Float>(value);
  const bool underflows = result == 0 && value != 0;
  if (!(result <= std::numeric_limits<Float>::max()) || underflows) return rejected;  // not a number, or too large
  return accept(result);
}

}  // namespace

// clang-format off
uint32_t ZVRTCnvWVarcharSzToDbl(CNV_PARAMS) { return read<double, ZVRT_RC_INVALID_DOUBLE>(CNV_CALL); }
uint32_t ZVRTCnvWVarcharSzToFlt(CNV_PARAMS) { return read<float,  ZVRT_RC_INVALID_FLOAT>(CNV_CALL); }
// clang-format on
