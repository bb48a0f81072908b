#include "write.h"

#include <algorithm>
#include <cstring>

#include "dates.h"
#include "encodings.h"

namespace zvrt_reference {
namespace {

using Status = std::uint32_t;

}  // namespace

Rule rule_of(std::uint32_t options) {
  if ((options & ZVRT_PLAN_ROUND_HALF_EVEN) != 0) return Rule::half_even;
  if ((options & ZVRT_PLAN_ROUND_HALF_AWAY) != 0) return Rule::half_away;
  return (options & ZVRT_PLAN_CUT_FRACTION) != 0 ? Rule::cut : Rule::exact;
}

namespace {

// An integer, which may be negative, in two's complement of so many bytes.
std::string integer_bytes(const ZVRTType& type, mpz_class value, std::size_t size) {
  if (value < 0) value += power(256, static_cast<int>(size));
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) {
    bytes += static_cast<char>(mpz_class(value % 256).get_ui());
    value /= 256;
  }
  if (is_big_endian(type)) std::reverse(bytes.begin(), bytes.end());
  return bytes;
}

bool fits_integer(const mpz_class& value, std::size_t size, bool is_signed) {
  const mpz_class all = power(256, static_cast<int>(size));
  return is_signed ? value >= -all / 2 && value < all / 2 : value >= 0 && value < all;
}

Status write_integer(const ZVRTType& type, const mpz_class& value, std::string& slot) {
  const bool is_signed = type.kind != ZVRT_KIND_UINT;
  if (type.precision > 0 && count_digits(value) > type.precision) return ZVRT_RC_DIGITS_LOST;
  if (!fits_integer(value, slot.size(), is_signed)) return ZVRT_RC_OUT_OF_RANGE;
  slot = integer_bytes(type, value, slot.size());
  return 0;
}

// Digits with leading zeros, or nothing when there are too many.
std::optional<std::string> fixed_digits(const mpz_class& value, std::size_t size, int precision) {
  std::string digits = mpz_class(abs(value)).get_str();
  if (count_digits(value) > precision) return std::nullopt;
  if (digits.size() > size) digits.erase(0, digits.size() - size);
  return std::string(size - digits.size(), '0') + digits;
}

Status write_packed(const ZVRTType& type, const mpz_class& value, std::string& slot) {
  const bool has_sign = (type.flags & ZVRT_TYPE_NO_SIGN) == 0, is_unsigned = (type.flags & ZVRT_TYPE_UNSIGNED) != 0;
  const std::size_t size = slot.size() * 2 - (has_sign ? 1 : 0);
  const std::optional<std::string> digits =
      fixed_digits(value, size, type.precision > 0 ? type.precision : static_cast<int>(size));
  if (value < 0 && (is_unsigned || !has_sign)) return ZVRT_RC_INVALID_SIGN;
  if (!digits) return ZVRT_RC_DIGITS_LOST;
  const std::string nibbles = *digits + (!has_sign ? "" : is_unsigned ? "?" : value < 0 ? "=" : "<");
  for (std::size_t i = 0; i < slot.size(); ++i) {
    slot[i] = static_cast<char>((nibbles[2 * i] - '0') << 4 | (nibbles[2 * i + 1] - '0'));
  }
  return 0;
}

Status write_zoned(const ZVRTType& type, const mpz_class& value, std::string& slot) {
  const bool ascii = (type.flags & ZVRT_TYPE_ASCII) != 0, leading = (type.flags & ZVRT_TYPE_SIGN_LEADING) != 0;
  const bool separate = (type.flags & ZVRT_TYPE_SIGN_SEPARATE) != 0,
             is_unsigned = (type.flags & ZVRT_TYPE_UNSIGNED) != 0;
  const std::size_t size = slot.size() - (separate ? 1 : 0);
  const std::optional<std::string> digits =
      fixed_digits(value, size, type.precision > 0 ? type.precision : static_cast<int>(size));
  if (value < 0 && is_unsigned) return ZVRT_RC_INVALID_SIGN;
  if (!digits) return ZVRT_RC_DIGITS_LOST;
  std::string bytes;
  for (const char digit : *digits) bytes += static_cast<char>((ascii ? 0x30 : 0xF0) | (digit - '0'));
  const std::size_t at = leading ? 0 : bytes.size() - 1;
  const int digit = bytes[at] & 15;
  if (separate) {
    const int sign = value < 0 ? (ascii ? 0x2D : 0x60) : (ascii ? 0x2B : 0x4E);
    bytes.insert(leading ? 0 : bytes.size(), 1, static_cast<char>(sign));
  } else if (!is_unsigned) {
    bytes[at] = static_cast<char>((value < 0 ? (ascii ? 0x70 : 0xD0) : (ascii ? 0x30 : 0xC0)) | digit);
  }
  slot = bytes;
  return 0;
}

// Base-100 digits around the point, without zeros at either end; at most 20 of them.
Status write_varnum(Number number, Rule rule, std::string& slot, std::optional<std::int64_t>& length) {
  std::string bytes;
  for (int keep = 400;; --keep) {  // digits before and after the point, in pairs
    while (number.digits != 0 && number.digits % 10 == 0) number = {number.digits / 10, number.scale - 1};
    if (number.digits == 0) {
      bytes = "\x01\x80";
      break;
    }
    std::string digits = mpz_class(abs(number.digits)).get_str();
    if (number.scale % 2 != 0) digits += '0';
    const int after = (number.scale + (number.scale % 2 != 0 ? 1 : 0)) / 2;  // base-100 digits after the point
    if (digits.size() % 2 != 0) digits.insert(0, "0");
    const int count = static_cast<int>(digits.size()) / 2;
    if (count > 20) {
      const std::optional<Number> fewer = rescaled(number, (after - (count - 20)) * 2, rule);
      if (!fewer) return ZVRT_RC_FRACTION_LOST;
      number = *fewer;
      continue;
    }
    const int power = count - after - 1;
    if (power > 62) return ZVRT_RC_OUT_OF_RANGE;
    if (power < -65 && rule == Rule::exact) return ZVRT_RC_FRACTION_LOST;
    if (power < -65) {
      number = *rescaled(number, 130, rule);
      continue;
    }
    const bool negative = number.digits < 0;
    bytes = std::string(1, static_cast<char>(negative ? 62 - power : 193 + power));
    for (std::size_t i = 0; i < digits.size(); i += 2) {
      const int digit = std::stoi(digits.substr(i, 2));
      bytes += static_cast<char>(negative ? 101 - digit : digit + 1);
    }
    if (negative && count < 20) bytes += '\x66';
    bytes.insert(0, 1, static_cast<char>(bytes.size()));
    break;
  }
  if (bytes.size() > slot.size()) {
    length = static_cast<std::int64_t>(bytes.size());
    return ZVRT_RC_TRUNCATED;
  }
  length = static_cast<std::int64_t>(bytes.size());
  std::copy(bytes.begin(), bytes.end(), slot.begin());
  return 0;
}

// The number that a float is made from: another float's own value, or what is written.
const Number& origin(const Value& value) { return value.has_exact ? value.exact : value.number; }

template <class Float>
Status write_float(const ZVRTType& type, std::uint32_t options, const Value& value, Float nearest, std::string& slot) {
  if (value.form == Form::number) {
    if (std::isinf(nearest)) return ZVRT_RC_OUT_OF_RANGE;
    if (nearest == Float{0})
      nearest = std::copysign(Float{0}, value.has_exact && value.negative ? Float{-1} : Float{1});
    const Number back = value.has_exact ? exactly(nearest) : nearest == Float{0} ? Number{} : shortest(nearest);
    if ((options & ZVRT_PLAN_EXACT_FLOAT) != 0 && !(back == origin(value))) return ZVRT_RC_INEXACT_FLOAT;
  }
  std::memcpy(slot.data(), &nearest, sizeof nearest);
  if (is_big_endian(type) != native_big) std::reverse(slot.begin(), slot.end());
  return 0;
}

Status write_hex_float(std::uint32_t options, const Value& value, std::string& slot) {
  const int digits = static_cast<int>(slot.size()) * 2 - 2;
  const HexFloat nearest = nearest_hex(origin(value).fraction(), digits);
  if (nearest.exponent > 63) return ZVRT_RC_OUT_OF_RANGE;
  const Number back = value.has_exact ? exactly(nearest.value(digits)) : shortest_hex(nearest, digits);
  if ((options & ZVRT_PLAN_EXACT_FLOAT) != 0 && !(back == origin(value))) return ZVRT_RC_INEXACT_FLOAT;
  ZVRTType big_endian{};
  big_endian.flags = ZVRT_TYPE_BIG_ENDIAN;
  const bool zero = nearest.fraction == 0;
  slot = static_cast<char>((nearest.negative && !zero ? 0x80 : 0) | (zero ? 0 : nearest.exponent + 64)) +
         integer_bytes(big_endian, nearest.fraction, slot.size() - 1);
  return 0;
}

Status write_number(const ZVRTType& type, std::uint32_t options, const Value& value, Result& result) {
  std::string& slot = result.slot;
  if (type.kind == ZVRT_KIND_FLOAT) {
    const bool is_nan = value.form == Form::not_a_number, is_infinite = value.form == Form::infinite;
    const double special = is_nan ? std::nan("") : value.negative ? -HUGE_VAL : HUGE_VAL;
    if (slot.size() == 4) {
      const float nearest = is_nan || is_infinite ? static_cast<float>(special) : nearest_float(origin(value));
      return write_float(type, options, value, nearest, slot);
    }
    return write_float(type, options, value, is_nan || is_infinite ? special : nearest_double(origin(value)), slot);
  }
  if (value.form != Form::number) return ZVRT_RC_NOT_FINITE;
  const Rule rule = rule_of(options);
  if (type.kind == ZVRT_KIND_HEX_FLOAT) return write_hex_float(options, value, slot);
  if (type.kind == ZVRT_KIND_VARNUM && type.precision == 0)
    return write_varnum(value.number, rule, slot, result.length);
  const std::optional<Number> number = rescaled(value.number, type.scale, rule);
  if (!number) return ZVRT_RC_FRACTION_LOST;
  const int precision = type.precision > 0 ? type.precision : 38;
  switch (type.kind) {
    case ZVRT_KIND_PACKED: return write_packed(type, number->digits, slot);
    case ZVRT_KIND_ZONED: return write_zoned(type, number->digits, slot);
    case ZVRT_KIND_VARNUM:
      if (count_digits(number->digits) > type.precision) return ZVRT_RC_DIGITS_LOST;
      return write_varnum(*number, rule, slot, result.length);
    case ZVRT_KIND_DECIMAL:
      if (count_digits(number->digits) > precision) return ZVRT_RC_DIGITS_LOST;
      slot = integer_bytes(type, number->digits, 16);
      return 0;
    case ZVRT_KIND_NUMERIC: {
      if (count_digits(number->digits) > precision) return ZVRT_RC_DIGITS_LOST;
      ZVRTNumeric record{};
      record.precision = static_cast<std::uint8_t>(precision);
      record.scale = static_cast<std::int8_t>(type.scale);
      record.sign = number->digits < 0 ? 0 : 1;
      ZVRTType little{};
      little.flags = ZVRT_TYPE_LITTLE_ENDIAN;
      const std::string bytes = integer_bytes(little, mpz_class(abs(number->digits)), 16);
      std::memcpy(record.value, bytes.data(), 16);
      std::memcpy(slot.data(), &record, sizeof record);
      return 0;
    }
    default: return write_integer(type, number->digits, slot);
  }
}

void put(std::string& slot, std::size_t& at, std::int64_t field) {
  const auto value = static_cast<std::uint16_t>(field);
  std::memcpy(slot.data() + at, &value, 2);
  at += 2;
}

Status write_moment(const ZVRTType& type, std::uint32_t options, Value value, std::string& slot) {
  const bool has_date = type.kind != ZVRT_KIND_TIME && type.kind != ZVRT_KIND_CLI_TIME;
  const bool has_time = type.kind != ZVRT_KIND_DATE && type.kind != ZVRT_KIND_CLI_DATE && type.kind != ZVRT_KIND_DAYS;
  std::int64_t unit = nanoseconds_per_second;
  if (type.kind == ZVRT_KIND_TIMESTAMP)
    unit = power(10, 9 - (type.scale == 0 ? 6 : std::max<int>(type.scale, 0))).get_si();
  if (type.kind == ZVRT_KIND_CLI_TIMESTAMP) unit = 1;
  if (type.kind == ZVRT_KIND_MICROS) unit = 1000;
  const Status status = round_moment(value, unit, rule_of(options), has_date, has_time);
  if (status != 0) return status;
  if (type.kind == ZVRT_KIND_DAYS || type.kind == ZVRT_KIND_MICROS) {
    mpz_class count(static_cast<long>(value.days));
    if (type.kind == ZVRT_KIND_MICROS) count = count * 86'400'000'000 + static_cast<long>(value.nanoseconds / 1000);
    slot = integer_bytes(type, count, slot.size());
    return 0;
  }
  std::size_t at = 0;
  if (has_date) {
    const Calendar date = date_of_days(value.days);
    put(slot, at, date.year);
    put(slot, at, date.month);
    put(slot, at, date.day);
  }
  if (!has_time) return 0;
  const std::int64_t seconds = value.nanoseconds / nanoseconds_per_second;
  put(slot, at, seconds / 3600);
  put(slot, at, seconds / 60 % 60);
  put(slot, at, seconds % 60);
  if (at + 4 > slot.size()) return 0;
  const auto fraction = static_cast<std::uint32_t>(value.nanoseconds % nanoseconds_per_second / unit);
  std::memcpy(slot.data() + at, &fraction, 4);
  std::fill(slot.begin() + static_cast<std::ptrdiff_t>(at) + 4, slot.end(), '\0');
  return 0;
}

// Stores the bytes of a text as the kind has it: how many fit, and what stands around them.
struct Layout {
  std::size_t before, after, most;
};
Layout layout_of(const ZVRTType& type, std::size_t size) {
  const std::size_t unit = unit_of(type.kind);
  switch (type.kind) {
    case ZVRT_KIND_VARCHAR:
    case ZVRT_KIND_WVARCHAR: return {2, 0, std::min<std::size_t>(size - 2, 32767) / unit * unit};
    case ZVRT_KIND_VARCHAR_SZ:
    case ZVRT_KIND_WVARCHAR_SZ:
    case ZVRT_KIND_UTF16_SZ: return {0, unit, size < unit ? 0 : size - unit};
    default: return {0, 0, size};
  }
}

void store_text(const ZVRTType& type, const std::string& bytes, const std::string& blank, std::string& slot) {
  const Layout layout = layout_of(type, slot.size());
  const auto count = static_cast<std::uint16_t>(bytes.size());
  if (layout.before > 0) std::memcpy(slot.data(), &count, 2);
  std::string stored = bytes + std::string(layout.after, '\0');
  if ((type.flags & ZVRT_TYPE_PAD) != 0) {
    std::string padding;
    while (stored.size() + padding.size() + blank.size() <= slot.size()) padding += blank;
    stored = (type.flags & ZVRT_TYPE_PAD_LEFT) != 0 ? padding + stored : stored + padding;
  }
  std::copy(stored.begin(), stored.end(), slot.begin() + static_cast<std::ptrdiff_t>(layout.before));
}

void write_text(const ZVRTType& type, std::uint32_t options, const Value& value, Result& result) {
  const bool substitutes = (options & ZVRT_PLAN_SUBSTITUTE) != 0, cuts = (options & ZVRT_PLAN_CUT_TEXT) != 0;
  const std::size_t most = layout_of(type, result.slot.size()).most;
  const bool terminated = layout_of(type, result.slot.size()).after > 0;
  if (terminated && value.text.find(U'\0') != std::u32string::npos) {
    result.status = ZVRT_RC_INVALID_VALUE;
    return;
  }
  const Encoded encoded =
      value.form == Form::bytes ? Encoded{0, value.bytes, std::string(1, '\0')} : encode(type, value.text, substitutes);
  result.status = encoded.status;
  if (result.status != 0) return;
  result.length = static_cast<std::int64_t>(encoded.bytes.size());
  result.empty = encoded.bytes.empty();
  if (encoded.bytes.size() <= most) return store_text(type, encoded.bytes, encoded.blank, result.slot);
  result.status = ZVRT_RC_TRUNCATED;
  result.empty = false;
  if (!cuts) return;
  if (value.form == Form::bytes) return store_text(type, encoded.bytes.substr(0, most), encoded.blank, result.slot);
  store_text(type, encode(type, value.text, substitutes, most).bytes, encoded.blank, result.slot);
}

}  // namespace

bool is_text(std::uint32_t kind) { return kind >= ZVRT_KIND_CHAR && kind <= ZVRT_KIND_UTF16_SZ; }
bool is_number(std::uint32_t kind) { return kind >= ZVRT_KIND_INT && kind <= ZVRT_KIND_NUMERIC; }
bool is_moment(std::uint32_t kind) { return kind >= ZVRT_KIND_TIMESTAMP && kind <= ZVRT_KIND_MICROS; }

std::size_t slot_bytes(const ZVRTType& type) {
  if (type.length > 0) return static_cast<std::size_t>(type.length);
  switch (type.kind) {
    case ZVRT_KIND_BOOL: return 1;
    case ZVRT_KIND_VARNUM: return 22;
    case ZVRT_KIND_DECIMAL: return 16;
    case ZVRT_KIND_NUMERIC: return sizeof(ZVRTNumeric);
    case ZVRT_KIND_TIMESTAMP: return sizeof(ZVRTTS);
    case ZVRT_KIND_CLI_TIMESTAMP: return sizeof(ZVRTCliTimestamp);
    case ZVRT_KIND_DAYS: return 4;
    case ZVRT_KIND_MICROS: return 8;
    default: return is_moment(type.kind) ? sizeof(ZVRTDate) : 0;
  }
}

void write(const ZVRTType& type, std::uint32_t options, const Value& value, Result& result) {
  if (is_text(type.kind) || type.kind == ZVRT_KIND_BYTES) {
    write_text(type, options, value, result);
  } else if (is_number(type.kind)) {
    result.status = write_number(type, options, value, result);
  } else if (is_moment(type.kind)) {
    result.status = write_moment(type, options, value, result.slot);
  } else {
    result.slot[0] = value.truth ? '\1' : '\0';
  }
}

}  // namespace zvrt_reference
