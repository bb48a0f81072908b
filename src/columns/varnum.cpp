// Base-100 numbers, with either sign.
//
//   | count of the bytes after it | exponent | digits, most significant first |
//
//   above 0   exponent byte 193 + e, digits stored as d + 1
//   below 0   exponent byte  62 - e, digits stored as 101 - d, and 102 after them where they are fewer than 20
//   zero      exponent byte 128 alone
//
// The first digit weighs 100^e; e is -65 to 62. There are at most 20 digits.
#include <algorithm>

#include "columns/numbers.h"
#include "numeric/decimal/base100.h"

namespace zvrt::columns {

namespace {

constexpr std::int32_t most_pairs = Base100::max_digits;
constexpr std::uint8_t negative_end = 102;

struct Parsed {
  std::int32_t count = 0;  // digits
  bool negative = false;
};

std::uint32_t byte_at(const Value& value, std::int64_t i) { return static_cast<std::uint32_t>(value.at[i]); }

// Finds the digits; false where exponent, digits or end are none of a number.
bool parse(const Value& value, Parsed& parsed, Fault& fault) {
  const auto bytes = static_cast<std::int32_t>(value.bytes);
  fault = {.offset = 0, .unit = byte_at(value, 0)};
  if (bytes < 2 || bytes > max_varnum_size) return false;
  fault = {.offset = 1, .unit = byte_at(value, 1)};
  if (bytes == 2) return byte_at(value, 1) == zero_exponent;
  parsed.negative = byte_at(value, 1) < zero_exponent;
  const bool has_end = parsed.negative && byte_at(value, bytes - 1) == negative_end;
  parsed.count = bytes - varnum_header - (has_end ? 1 : 0);
  if (parsed.count == 0) {
    fault = {.offset = varnum_header, .unit = byte_at(value, varnum_header)};
    return false;
  }
  for (std::int32_t i = varnum_header; i < varnum_header + parsed.count; ++i) {
    const std::uint32_t byte = byte_at(value, i);
    if (parsed.negative ? byte >= 2 && byte <= 101 : byte >= 1 && byte <= 100) continue;
    fault = {.offset = i, .unit = byte};
    return false;
  }
  return true;
}

Decimal read_digits(const Value& value, const Parsed& parsed) {
  Decimal number;
  number.negative = parsed.negative;
  for (std::int32_t i = 0; i < parsed.count; ++i) {
    const std::uint32_t byte = byte_at(value, varnum_header + i);
    number.magnitude = append_digits(number.magnitude, 2, parsed.negative ? 101 - byte : byte - 1);
  }
  const auto exponent_byte = static_cast<std::int32_t>(byte_at(value, 1));
  const std::int32_t exponent = parsed.negative ? negative_exponent - exponent_byte : exponent_byte - positive_exponent;
  number.scale = 2 * (parsed.count - 1 - exponent);
  strip_zeros(number);
  return number;
}

// Pairs of digits around the point, without zeros at either end. False where they are more than a number has.
bool pair_up(const Decimal& number, Base100& pairs) {
  Decimal even = number;
  strip_zeros(even);
  pairs = Base100{};
  if (even.magnitude.is_zero()) return true;
  char digits[2 + max_digits];
  digits[0] = '0';
  std::int32_t end = 1 + write_digits(even.magnitude, digits + 1);
  if (even.scale % 2 != 0) {
    digits[end++] = '0';
    ++even.scale;
  }
  const std::int32_t begin = end % 2 != 0 ? 1 : 0;
  const std::int32_t count = (end - begin) / 2;
  pairs.count = count;
  pairs.exponent = count - 1 - even.scale / 2;
  for (std::int32_t i = 0; i < std::min(count, most_pairs); ++i) {
    pairs.digits[i] = static_cast<std::uint8_t>((digits[begin + 2 * i] - '0') * 10 + digits[begin + 2 * i + 1] - '0');
  }
  return count <= most_pairs;
}

// The digits after the last one that a number can have are rounded: after the twentieth pair, and after the least.
Status round_to_pairs(Decimal& number, Base100& pairs, Rounding rule) {
  const bool has_tail = number.tail != Tail::zero;
  if (has_tail || !pair_up(number, pairs)) {
    pair_up(number, pairs);
    const std::int32_t last_scale = 2 * (most_pairs - 1 - pairs.exponent);
    // One digit more than 40 after rounding up is a one and zeros, which are stripped.
    const Status status = rescale(number, std::min(number.scale, last_scale), rule);
    if (status == ZVRT_RC_FRACTION_LOST) return status;
    pair_up(number, pairs);
  }
  if (pairs.count > 0 && pairs.exponent < min_varnum_exponent) {
    if (const Status status = rescale(number, -2 * min_varnum_exponent, rule); status != ZVRT_RC_OK) return status;
    pair_up(number, pairs);
  }
  return ZVRT_RC_OK;
}

Status write_value(const Type& type, Block& block, std::int32_t i, Decimal number) {
  if (type.declares_precision) {
    if (const Status status = fit(type, number); status != ZVRT_RC_OK) return status;
    if (!fits_digits(number.magnitude, type.precision)) return ZVRT_RC_DIGITS_LOST;
  }
  Base100 pairs;
  if (const Status status = round_to_pairs(number, pairs, type.rounding); status != ZVRT_RC_OK) return status;
  if (pairs.count > 0 && pairs.exponent > max_varnum_exponent) return ZVRT_RC_OUT_OF_RANGE;
  std::uint8_t value[max_varnum_size];
  const std::int32_t size = zvrt::write_varnum(pairs, number.negative, value);
  block.length[i] = size;
  if (size > type.length) return ZVRT_RC_TRUNCATED;
  std::copy_n(reinterpret_cast<const std::byte*>(value), size, block.slot[i]);
  return ZVRT_RC_OK;
}

}  // namespace

void read_varnum(const Type& /*type*/, Block& block) {
  for_each(block, [&](std::int32_t i) {
    Parsed parsed;
    Fault fault;
    if (!parse(block.source[i], parsed, fault)) return block.refuse(i, ZVRT_RC_INVALID_VALUE, fault);
    block.decimal[i] = read_digits(block.source[i], parsed);
  });
}

void write_varnum(const Type& type, Block& block) {
  for_each(block, [&](std::int32_t i) {
    const Status status = write_value(type, block, i, block.decimal[i]);
    if (status != ZVRT_RC_OK) block.refuse(i, status);
  });
}

}  // namespace zvrt::columns
