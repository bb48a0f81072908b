#include "reference.h"

#include <algorithm>
#include <regex>

#include "dates.h"
#include "encodings.h"
#include "fault.h"
#include "value.h"
#include "write.h"

namespace zvrt_reference {
namespace {

using Status = std::uint32_t;

std::u32string wide(const std::string& ascii) { return {ascii.begin(), ascii.end()}; }
std::string narrow(const std::u32string& text) {
  std::string result;
  for (const char32_t c : text) result += c < 0x80 ? static_cast<char>(c) : '\x7F';
  return result;
}

// Digits as JSON writes them: plain from 10^-6 to 10^21, else one digit before the point and an exponent.
std::string float_text(Number number) {
  if (number.digits == 0) return "0";
  while (number.digits % 10 == 0) number = {number.digits / 10, number.scale - 1};
  const int count = count_digits(number.digits), point = count - number.scale;
  if (point > -6 && point <= 21) return plain_text(number);
  std::string digits = mpz_class(abs(number.digits)).get_str();
  if (digits.size() > 1) digits.insert(1, ".");
  return (number.digits < 0 ? "-" : "") + digits + "e" + (point > 0 ? "+" : "-") + std::to_string(std::abs(point - 1));
}

Status number_of_text(const Value& from, Value& to) {
  static const std::regex number(R"([+-]?([0-9]+\.?[0-9]*|\.[0-9]+)([eE][+-]?[0-9]+)?)");
  std::string digits = narrow(from.text);
  if (!std::regex_match(digits, number)) return ZVRT_RC_INVALID_NUMBER;
  std::replace(digits.begin(), digits.end(), 'E', 'e');
  to.form = Form::number;
  to.number = parse_decimal(digits);
  to.floats = true;
  return 0;
}

std::string hexadecimal(const std::string& bytes) {
  std::string text;
  for (const char byte : bytes) {
    for (const int shift : {4, 0}) text += "0123456789ABCDEF"[static_cast<unsigned char>(byte) >> shift & 15];
  }
  return text;
}

Status bytes_of_text(const Value& from, Value& to) {
  const std::string text = narrow(from.text);
  to.form = Form::bytes;
  if (text.size() % 2 != 0) return ZVRT_RC_INVALID_VALUE;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    if (std::isxdigit(text[i]) == 0 || std::isxdigit(text[i + 1]) == 0) return ZVRT_RC_INVALID_VALUE;
    to.bytes += static_cast<char>(std::stoi(text.substr(i, 2), nullptr, 16));
  }
  return 0;
}

Status text_of(const Value& from, Value& to) {
  to.form = Form::text;
  switch (from.form) {
    case Form::number: {
      Number number = from.number;
      if (number.scale < 0) number = *rescaled(number, 0, Rule::exact);
      to.text = wide(from.floats ? float_text(from.number) : plain_text(number));
      return 0;
    }
    case Form::boolean: to.text = from.truth ? U"true" : U"false"; return 0;
    case Form::bytes: to.text = wide(hexadecimal(from.bytes)); return 0;
    case Form::text: to.text = from.text; return 0;
    default: return ZVRT_RC_NOT_FINITE;
  }
}

// A date on either side: read by the source's model, or the ISO form of the target; written likewise.
Status turn_date(const ZVRTType& from_type, const ZVRTType& type, std::uint32_t options, const Value& from, Value& to) {
  Value moment = from;
  if (from.form == Form::text) {
    const std::wstring model = from_type.model != nullptr ? from_type.model : iso_model(type);
    if (const Status status = read_date(from_type, model, from.text, moment); status != 0) return status;
  } else if (from.form == Form::number) {
    std::string digits = from.number.digits.get_str();
    const std::size_t width = digits_of(from_type.model);
    if (digits.size() > width || from.number.digits < 0) return ZVRT_RC_INVALID_DATETIME;
    digits.insert(0, width - digits.size(), '0');
    if (const Status status = read_date(from_type, from_type.model, wide(digits), moment); status != 0) return status;
  }
  to = moment;
  if (is_moment(type.kind)) return 0;
  std::u32string text;
  const std::wstring model = type.model != nullptr ? type.model : iso_model(from_type);
  if (const Status status = write_date(type, model, rule_of(options), moment, text); status != 0) return status;
  to = {};
  to.form = is_text(type.kind) ? Form::text : Form::number;
  to.text = text;
  if (!is_text(type.kind)) to.number = {mpz_class(narrow(text), 10), 0};
  return 0;
}

// The form that the target is written from.
Status turn(const ZVRTType& from_type, const ZVRTType& type, std::uint32_t options, const Value& from, Value& to) {
  to = from;
  const bool from_date = from.form == Form::moment || from_type.model != nullptr;
  if (from_date || type.model != nullptr || is_moment(type.kind)) return turn_date(from_type, type, options, from, to);
  if (is_text(type.kind)) {
    if (from.form == Form::number && from_type.kind == ZVRT_KIND_VARNUM) {
      Number number = from.number;
      while (number.digits != 0 && number.scale > 0 && number.digits % 10 == 0) {
        number = {number.digits / 10, number.scale - 1};
      }
      if (number.digits == 0 || number.scale < 0) number = *rescaled(number, 0, Rule::exact);
      to.form = Form::text;
      to.text = wide(plain_text(number));
      return 0;
    }
    return text_of(from, to);
  }
  if (is_number(type.kind) && from.form == Form::text) return number_of_text(from, to);
  if (is_number(type.kind) && from.form == Form::boolean) {
    to.form = Form::number;
    to.number = {from.truth ? 1 : 0, 0};
  }
  if (type.kind == ZVRT_KIND_BYTES && from.form == Form::text) return bytes_of_text(from, to);
  if (type.kind != ZVRT_KIND_BOOL || from.form == Form::boolean) return 0;
  to.form = Form::boolean;
  if (from.form == Form::text) {
    to.truth = from.text == U"true" || from.text == U"1";
    return to.truth || from.text == U"false" || from.text == U"0" ? 0 : ZVRT_RC_INVALID_VALUE;
  }
  if (from.form != Form::number) return ZVRT_RC_NOT_FINITE;
  const std::optional<Number> number = rescaled(from.number, 0, rule_of(options));
  if (!number) return ZVRT_RC_FRACTION_LOST;
  to.truth = number->digits == 1;
  return to.truth || number->digits == 0 ? 0 : ZVRT_RC_OUT_OF_RANGE;
}

bool is_repeated(const std::string& slot, const std::string& unit) {
  if (slot.empty() || slot.size() % unit.size() != 0) return false;
  for (std::size_t i = 0; i < slot.size(); i += unit.size()) {
    if (slot.compare(i, unit.size(), unit) != 0) return false;
  }
  return true;
}

// What a blank is in the slot of a number: of the mainframe's kinds the EBCDIC one.
std::string blank_of_slot(const ZVRTType& type) {
  if (is_text(type.kind) || type.codePage != 0) return blank_of(type);
  const bool ebcdic = type.kind == ZVRT_KIND_PACKED || type.kind == ZVRT_KIND_HEX_FLOAT ||
                      (type.kind == ZVRT_KIND_ZONED && (type.flags & ZVRT_TYPE_ASCII) == 0);
  return ebcdic ? "\x40" : " ";
}

bool is_zeros(const ZVRTType& type, const std::string& slot) {
  if (is_text(type.kind)) {
    ZVRTType plain = type;
    plain.flags &= ZVRT_TYPE_BIG_ENDIAN | ZVRT_TYPE_LITTLE_ENDIAN;
    const Read text = read_text(plain, slot, static_cast<std::int64_t>(slot.size()));
    return text.status == 0 && text.value.text.find_first_not_of(U'0') == std::u32string::npos;
  }
  if (type.kind != ZVRT_KIND_PACKED && type.kind != ZVRT_KIND_ZONED) return is_repeated(slot, std::string(1, '\0'));
  ZVRTType any_sign = type;
  any_sign.flags &= ~ZVRT_TYPE_UNSIGNED;
  const Read number = read(any_sign, slot, std::nullopt);
  return number.status == 0 && number.value.number == Number{};
}

// A slot that says null by itself.
bool is_null(const ZVRTType& type, const Given& given) {
  const auto has = [&](std::uint32_t flag) { return (type.flags & flag) != 0; };
  std::string slot = given.slot;
  if (given.length && *given.length < 0 && *given.length != ZVRT_TERMINATED) return false;
  const bool is_counted = is_text(type.kind) || type.kind == ZVRT_KIND_BYTES;
  if (is_counted && find_text(type, given.slot, given.length, slot) != 0) return false;
  if (slot.empty()) return false;
  return (has(ZVRT_TYPE_NULL_LOW) && is_repeated(slot, std::string(1, '\0'))) ||
         (has(ZVRT_TYPE_NULL_HIGH) && is_repeated(slot, "\xFF")) ||
         (has(ZVRT_TYPE_NULL_BLANKS) && is_repeated(slot, blank_of_slot(type))) ||
         (has(ZVRT_TYPE_NULL_ZEROS) && is_zeros(type, slot));
}

// A null: the indicator's, else the slot's own form.
void write_null(const ZVRTType& type, bool shows_null, Result& result) {
  const auto fill = [&result](const std::string& unit) {
    for (std::size_t i = 0; i < result.slot.size(); ++i) result.slot[i] = unit[i % unit.size()];
  };
  result.null = true;
  if (shows_null) {
    result.indicator = ZVRT_NULL_DATA;
  } else if ((type.flags & ZVRT_TYPE_NULL_BLANKS) != 0) {
    fill(blank_of_slot(type));
  } else if ((type.flags & ZVRT_TYPE_NULL_ZEROS) != 0) {
    Value zero{.form = is_text(type.kind) ? Form::text : Form::number};
    zero.text.assign(result.slot.size() / unit_of(type.kind), U'0');
    if (is_text(type.kind) || type.kind == ZVRT_KIND_PACKED || type.kind == ZVRT_KIND_ZONED) {
      Result written{.slot = result.slot};
      write(type, 0, zero, written);
      result.slot = written.slot;
    } else {
      fill(std::string(1, '\0'));
    }
  } else if ((type.flags & ZVRT_TYPE_NULL_LOW) != 0) {
    fill(std::string(1, '\0'));
  } else if ((type.flags & ZVRT_TYPE_NULL_HIGH) != 0) {
    fill("\xFF");
  } else {
    result.status = ZVRT_RC_NULL_REFUSED;
    result.null = false;
  }
}

// A decimal field has no more digits than its type declares; a binary one may.
bool has_declared_digits(const ZVRTType& type, const Value& value) {
  if ((type.kind != ZVRT_KIND_PACKED && type.kind != ZVRT_KIND_ZONED) || type.precision == 0 ||
      value.form != Form::number)
    return true;
  const std::optional<Number> number = rescaled(value.number, type.scale, Rule::exact);
  return !number || count_digits(number->digits) <= type.precision;
}

// A date's number or text, by the type's own model.
Status read_model(const ZVRTType& type, const Value& value) {
  ZVRTType target{};
  target.kind = ZVRT_KIND_CLI_TIMESTAMP;
  Value date;
  return turn_date(type, target, 0, value, date);
}

}  // namespace

Result check(const ZVRTType& type, const Given& given) {
  Result result;
  const Read source =
      is_text(type.kind) ? read_text(type, given.slot, given.length) : read(type, given.slot, given.length);
  result.status = source.status;
  if (given.null || is_null(type, given)) {
    result.status = 0;
    result.null = true;
    return result;
  }
  if (result.status == 0 && !has_declared_digits(type, source.value)) result.status = ZVRT_RC_DIGITS_LOST;
  if (result.status == 0 && type.model != nullptr) result.status = read_model(type, source.value);
  const bool has_text = is_text(type.kind) && type.model == nullptr;
  result.empty = result.status == 0 && ((has_text && source.value.text.empty()) ||
                                        (type.kind == ZVRT_KIND_BYTES && source.value.bytes.empty()));
  return result;
}

Result convert(const ZVRTType& from, const ZVRTType& to, std::uint32_t options, const Given& given, std::string before,
               bool shows_null) {
  Result result;
  result.slot = std::move(before);
  if (given.null || is_null(from, given)) {
    write_null(to, shows_null, result);
    return result;
  }
  Read source = is_text(from.kind) ? read_text(from, given.slot, given.length, (options & ZVRT_PLAN_SUBSTITUTE) != 0)
                                   : read(from, given.slot, given.length);
  Value value;
  result.status = source.status;
  if (result.status == 0 && !has_declared_digits(from, source.value)) result.status = ZVRT_RC_DIGITS_LOST;
  if (result.status == 0) result.status = turn(from, to, options, source.value, value);
  if (result.status == 0) write(to, options, value, result);
  if (result.status == 0 && !result.length) result.length = static_cast<std::int64_t>(slot_bytes(to));
  if (result.status != 0 && result.status != ZVRT_RC_TRUNCATED) result.length.reset();
  if (shows_null && result.status == 0) result.indicator = 0;
  if (shows_null && result.status == ZVRT_RC_TRUNCATED) result.indicator = result.length;
  return result;
}

}  // namespace zvrt_reference
