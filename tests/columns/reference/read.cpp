// Every source kind: bytes to a value.
#include <algorithm>
#include <cstring>

#include "encodings.h"
#include "value.h"

namespace zvrt_reference {
namespace {

using Status = std::uint32_t;

unsigned byte_at(const std::string& bytes, std::size_t i) { return static_cast<unsigned char>(bytes[i]); }

// As an integer, most significant byte first.
mpz_class big_endian(const std::string& bytes) {
  mpz_class value = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) value = value * 256 + byte_at(bytes, i);
  return value;
}
std::string in_order(const ZVRTType& type, std::string bytes) {
  if (!is_big_endian(type)) std::reverse(bytes.begin(), bytes.end());
  return bytes;
}
mpz_class signed_integer(const std::string& most_significant_first) {
  mpz_class value = big_endian(most_significant_first);
  if ((byte_at(most_significant_first, 0) & 0x80) != 0) {
    value -= power(256, static_cast<int>(most_significant_first.size()));
  }
  return value;
}

Read number(const mpz_class& digits, int scale) {
  Read result;
  result.value.form = Form::number;
  result.value.number = {digits, scale};
  return result;
}
Read floating(const Number& number) {
  Read result;
  result.value.form = Form::number;
  result.value.number = number;
  result.value.floats = true;
  return result;
}

Read packed(const ZVRTType& type, const std::string& slot) {
  const bool has_sign = (type.flags & ZVRT_TYPE_NO_SIGN) == 0;
  mpz_class digits = 0;
  for (std::size_t i = 0; i < slot.size() * 2 - (has_sign ? 1 : 0); ++i) {
    const unsigned digit = i % 2 == 0 ? byte_at(slot, i / 2) >> 4 : byte_at(slot, i / 2) & 15;
    if (digit > 9) return {ZVRT_RC_INVALID_DIGIT};
    digits = digits * 10 + digit;
  }
  if (!has_sign) return number(digits, type.scale);
  const unsigned sign = byte_at(slot, slot.size() - 1) & 15;
  if (sign < 10) return {ZVRT_RC_INVALID_SIGN};
  const bool negative = sign == 0xB || sign == 0xD;
  if (negative && digits != 0 && (type.flags & ZVRT_TYPE_UNSIGNED) != 0) return {ZVRT_RC_INVALID_SIGN};
  return number(negative ? mpz_class(-digits) : digits, type.scale);
}

// The sign of a digit's zone: 1, -1, or 0 where there is none. The digit stays.
int take_zone(bool ascii, unsigned& code) {
  const unsigned zone = code >> 4;
  code &= 15;
  if (ascii) return zone == 3 ? 1 : zone == 7 ? -1 : 0;
  return zone == 0xB || zone == 0xD ? -1 : zone >= 0xA ? 1 : 0;
}

Read zoned(const ZVRTType& type, std::string slot) {
  const bool ascii = (type.flags & ZVRT_TYPE_ASCII) != 0, leading = (type.flags & ZVRT_TYPE_SIGN_LEADING) != 0;
  const bool separate = (type.flags & ZVRT_TYPE_SIGN_SEPARATE) != 0;
  int sign = 1;
  bool known = true;
  if (separate) {
    const std::size_t at = leading ? 0 : slot.size() - 1;
    const unsigned code = byte_at(slot, at);
    slot.erase(at, 1);
    sign = code == (ascii ? 0x2DU : 0x60U) ? -1 : 1;
    known = sign < 0 || code == (ascii ? 0x2BU : 0x4EU);
    if (!known && leading) return {ZVRT_RC_INVALID_SIGN};
  }
  mpz_class digits = 0;
  for (std::size_t i = 0; i < slot.size(); ++i) {
    unsigned code = byte_at(slot, i);
    const bool signs = !separate && i == (leading ? 0 : slot.size() - 1);
    const unsigned plain_zone = ascii ? 3 : 0xF;
    if (signs) {
      const int zone = take_zone(ascii, code);
      if (code > 9) return {ZVRT_RC_INVALID_DIGIT};
      if (zone == 0) return {ZVRT_RC_INVALID_SIGN};
      sign = zone;
    } else if (code >> 4 != plain_zone || (code & 15) > 9) {
      return {ZVRT_RC_INVALID_DIGIT};
    }
    digits = digits * 10 + (code & 15);
  }
  if (!known) return {ZVRT_RC_INVALID_SIGN};
  if (sign < 0 && digits != 0 && (type.flags & ZVRT_TYPE_UNSIGNED) != 0) return {ZVRT_RC_INVALID_SIGN};
  return number(sign < 0 ? mpz_class(-digits) : digits, type.scale);
}

// Length, exponent, base-100 digits: 193 and digit + 1 for positive numbers, 62 and 101 - digit for negative ones, which
// end in 102 if there are fewer than 20.
Read varnum(const std::string& slot) {
  const std::size_t length = byte_at(slot, 0);
  if (length == 0 || length > 21 || length + 1 > slot.size()) return {ZVRT_RC_INVALID_VALUE};
  const unsigned exponent = byte_at(slot, 1);
  const bool negative = exponent < 0x80;
  std::string bytes = slot.substr(2, length - 1);
  if (bytes.empty()) return exponent == 0x80 ? floating({}) : Read{ZVRT_RC_INVALID_VALUE};
  if (negative && bytes.back() == 0x66) bytes.pop_back();
  if (bytes.empty()) return {ZVRT_RC_INVALID_VALUE};
  mpz_class digits = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const int digit = negative ? 101 - static_cast<int>(byte_at(bytes, i)) : static_cast<int>(byte_at(bytes, i)) - 1;
    if (digit < 0 || digit > 99) return {ZVRT_RC_INVALID_VALUE};
    digits = digits * 100 + digit;
  }
  const int power = negative ? 62 - static_cast<int>(exponent) : static_cast<int>(exponent) - 193;
  const int scale = 2 * (static_cast<int>(bytes.size()) - 1 - power);
  return floating({negative ? mpz_class(-digits) : digits, scale});
}

template <class Float, class Bits>
Read binary_float(const mpz_class& integer) {
  const Bits bits = static_cast<Bits>(integer.get_ui());
  Float value;
  std::memcpy(&value, &bits, sizeof value);
  Read result;
  if (std::isfinite(value)) {
    result = floating(value == Float{0} ? Number{} : shortest(value));
    result.value.exact = exactly(value);
    result.value.has_exact = true;
  } else {
    result.value.form = std::isinf(value) ? Form::infinite : Form::not_a_number;
  }
  result.value.negative = std::signbit(value);
  return result;
}

Read hex_float(const std::string& slot) {
  const int digits = static_cast<int>(slot.size()) * 2 - 2;
  HexFloat value{(byte_at(slot, 0) & 0x80) != 0, static_cast<int>(byte_at(slot, 0) & 0x7F) - 64,
                 big_endian(slot.substr(1))};
  Read result = floating(shortest_hex(value, digits));
  result.value.exact = exactly(value.value(digits));
  result.value.has_exact = true;
  result.value.negative = value.negative && value.fraction != 0;  // a zero has no sign here
  return result;
}

Read numeric(const std::string& slot) {
  ZVRTNumeric record;
  std::memcpy(&record, slot.data(), sizeof record);
  if (record.sign > 1 || record.precision < 1 || record.precision > 38) return {ZVRT_RC_INVALID_VALUE};
  std::string value(slot.substr(3));
  std::reverse(value.begin(), value.end());
  const mpz_class digits = big_endian(value);
  if (count_digits(digits) > 38) return {ZVRT_RC_INVALID_VALUE};
  return number(record.sign == 0 ? mpz_class(-digits) : digits, record.scale);
}

Read moment(std::int64_t days, std::int64_t nanoseconds, bool has_date, bool has_time) {
  Read result;
  result.value.form = Form::moment;
  result.value.days = days;
  result.value.nanoseconds = nanoseconds;
  result.value.has_date = has_date;
  result.value.has_time = has_time;
  return result;
}

// Fields of 2 bytes: year, month, day, then hour, minute, second, then a fraction of 4 bytes in units of `unit` ns.
Read record(const std::string& slot, bool has_date, bool has_time, std::int64_t unit) {
  std::size_t at = 0;
  const auto next = [&] {
    std::int16_t field;
    std::memcpy(&field, slot.data() + at, 2);
    at += 2;
    return field;
  };
  std::int64_t days = 0, nanoseconds = 0;
  if (has_date) {
    const std::int16_t year = next();
    const auto month = static_cast<std::uint16_t>(next()), day = static_cast<std::uint16_t>(next());
    if (year < 1 || year > 9999) return {ZVRT_RC_INVALID_YEAR};
    if (month < 1 || month > 12) return {ZVRT_RC_INVALID_MONTH};
    if (day < 1 || day > days_of(year, month)) return {ZVRT_RC_INVALID_DAY};
    days = days_of_date({year, month, day});
  }
  if (has_time) {
    const auto hour = static_cast<std::uint16_t>(next()), minute = static_cast<std::uint16_t>(next());
    const auto second = static_cast<std::uint16_t>(next());
    if (hour > 23) return {ZVRT_RC_INVALID_HOUR};
    if (minute > 59) return {ZVRT_RC_INVALID_MINUTE};
    if (second > 59) return {ZVRT_RC_INVALID_SECOND};
    nanoseconds = (hour * 3600 + minute * 60 + second) * nanoseconds_per_second;
  }
  if (unit > 0) {
    std::uint32_t fraction;
    std::memcpy(&fraction, slot.data() + at, 4);
    if (fraction >= nanoseconds_per_second / unit) return {ZVRT_RC_INVALID_VALUE};
    nanoseconds += fraction * unit;
  }
  return moment(days, nanoseconds, has_date, has_time);
}

// `count` units of `unit` seconds / 10^9 since 1970.
Read since_1970(const mpz_class& count, std::int64_t unit, bool has_time) {
  mpz_class nanoseconds = count * mpz_class(std::to_string(unit)), days, rest;
  mpz_fdiv_qr_ui(days.get_mpz_t(), rest.get_mpz_t(), nanoseconds.get_mpz_t(), nanoseconds_per_day);
  const std::int64_t first = days_of_date({1, 1, 1}), last = days_of_date({9999, 12, 31});
  if (days < first || days > last) return {ZVRT_RC_INVALID_YEAR};
  return moment(days.get_si(), rest.get_si(), true, has_time);
}

std::int64_t power_of_ten(int exponent) { return power(10, exponent).get_si(); }

}  // namespace

Read read(const ZVRTType& type, const std::string& slot, std::optional<std::int64_t> length) {
  if (length && *length < 0 && *length != ZVRT_TERMINATED) return {ZVRT_RC_INVALID_LENGTH};
  switch (type.kind) {
    case ZVRT_KIND_BYTES: {
      Read result;
      result.value.form = Form::bytes;
      result.status = find_text(type, slot, length, result.value.bytes);
      return result;
    }
    case ZVRT_KIND_BOOL: {
      Read result;
      result.value.form = Form::boolean;
      result.value.truth = slot[0] == 1;
      result.status = byte_at(slot, 0) > 1 ? ZVRT_RC_INVALID_VALUE : 0;
      return result;
    }
    case ZVRT_KIND_INT: return number(signed_integer(in_order(type, slot)), type.scale);
    case ZVRT_KIND_UINT: return number(big_endian(in_order(type, slot)), type.scale);
    case ZVRT_KIND_FLOAT:
      return slot.size() == 4 ? binary_float<float, std::uint32_t>(big_endian(in_order(type, slot)))
                              : binary_float<double, std::uint64_t>(big_endian(in_order(type, slot)));
    case ZVRT_KIND_HEX_FLOAT: return hex_float(slot);
    case ZVRT_KIND_PACKED: return packed(type, slot);
    case ZVRT_KIND_ZONED: return zoned(type, slot);
    case ZVRT_KIND_VARNUM: return varnum(slot);
    case ZVRT_KIND_DECIMAL: return number(signed_integer(in_order(type, slot)), type.scale);
    case ZVRT_KIND_NUMERIC: return numeric(slot);
    case ZVRT_KIND_TIMESTAMP:
      return record(slot, true, true, power_of_ten(9 - (type.scale == 0 ? 6 : std::max<int>(type.scale, 0))));
    case ZVRT_KIND_CLI_TIMESTAMP: return record(slot, true, true, 1);
    case ZVRT_KIND_DATE:
    case ZVRT_KIND_CLI_DATE: return record(slot, true, false, 0);
    case ZVRT_KIND_TIME:
    case ZVRT_KIND_CLI_TIME: return record(slot, false, true, 0);
    case ZVRT_KIND_DAYS: return since_1970(signed_integer(in_order(type, slot)), nanoseconds_per_day, false);
    case ZVRT_KIND_MICROS: return since_1970(signed_integer(in_order(type, slot)), 1000, true);
    default: return read_text(type, slot, length);
  }
}

}  // namespace zvrt_reference
