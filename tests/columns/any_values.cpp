// Types and values at random, with a liking for what is hard: limits, ties, signs, bad digits, broken sequences, blanks.
#include <algorithm>
#include <cstring>
#include <limits>

#include "columns/differential.h"
#include "columns/reference/dates.h"
#include "columns/reference/encodings.h"
#include "columns/reference/value.h"
#include "columns/reference/write.h"

namespace zvrt_test {
namespace {

using zvrt_reference::is_moment;
using zvrt_reference::is_number;
using zvrt_reference::is_text;

template <class Choice>
Choice any_of(std::initializer_list<Choice> choices, Random& random) {
  return *(choices.begin() + random() % choices.size());
}
int below(int limit, Random& random) { return static_cast<int>(random() % static_cast<std::uint64_t>(limit)); }
bool one_in(std::uint64_t n, Random& random) { return random() % n == 0; }

std::string random_bytes(std::size_t size, Random& random) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(random());
  return bytes;
}

// Texts of numbers, dates and words, now and then with a character that does not belong.
std::u32string any_text(Random& random) {
  std::u32string text;
  const auto digits = [&](int most) {
    for (int i = below(most, random); i >= 0; --i) text += U'0' + static_cast<char32_t>(below(10, random));
  };
  switch (below(6, random)) {
    case 0:
      if (one_in(3, random)) text += any_of({U'-', U'+'}, random);
      digits(one_in(4, random) ? 60 : 8);
      if (one_in(2, random)) text += U'.';
      if (one_in(2, random)) digits(one_in(8, random) ? 45 : 5);
      if (one_in(6, random)) {
        text += any_of({U"e", U"E-", U"e+", U"E"}, random);
        digits(3);
      }
      break;
    case 1:
      text = any_of({U"true", U"false", U"0", U"1", U"-0", U"1e", U".", U"-", U"", U"inf", U"NaN"}, random);
      break;
    case 2:
      for (int i = below(24, random); i > 0; --i) text += static_cast<char32_t>(below(0x7F, random) + 1);
      break;
    case 3:
      for (int i = below(12, random); i > 0; --i)
        text += any_of({U'a', U'\xE9', U'\x20AC', U'\x3042', U'\x1F600', U'\x3000'}, random);
      break;
    case 4:
      for (int i = below(16, random); i > 0; --i) text += U"0123456789abcdefABCDEF"[below(22, random)];
      break;
    default:
      for (int i = below(40, random); i > 0; --i)
        text += one_in(3, random) ? U' ' : U'A' + static_cast<char32_t>(below(26, random));
  }
  if (one_in(12, random)) text.insert(random() % (text.size() + 1), 1, U'\0');
  if (one_in(4, random)) text.append(random() % 6, U' ');
  return one_in(6, random) ? U"  " + text : text;
}

zvrt_reference::Value any_moment_value(Random& random) {
  zvrt_reference::Value value{.form = zvrt_reference::Form::moment};
  const bool near = one_in(2, random);
  value.days = near ? below(40000, random) - 20000 : below(3652059, random) - 719162;
  if (one_in(2, random)) value.nanoseconds = static_cast<std::int64_t>(random() % 86'400) * 1'000'000'000;
  if (one_in(2, random)) {
    value.nanoseconds += any_of<std::int64_t>({1, 999'999'999, 500'000'000, 1'000, 123'456'000}, random);
  }
  value.has_date = value.has_time = true;
  return value;
}

// Now and then with another character in it, or one too many.
std::u32string any_date(const ZVRTType& type, Random& random) {
  std::u32string text;
  const std::wstring model = type.model != nullptr ? type.model : L"%YYYY-%MM-%DD %HH24:%MI:%SS";
  zvrt_reference::write_date(type, model, zvrt_reference::Rule::cut, any_moment_value(random), text);
  if (one_in(5, random) && !text.empty())
    text[random() % text.size()] = any_of({U'0', U'9', U' ', U'-', U'x', U'3'}, random);
  if (one_in(12, random)) text += U'0';
  if (one_in(12, random) && !text.empty()) text.pop_back();
  return text;
}

// Mostly the value's own length, now and then one that is wrong or leaves it to a terminator.
void add_length(const ZVRTType& type, Given& given, std::size_t bytes, Random& random) {
  const std::size_t unit = zvrt_reference::unit_of(type.kind);
  const auto size = static_cast<std::int64_t>(given.slot.size());
  given.length = one_in(4, random) ? size : static_cast<std::int64_t>(std::min(bytes, given.slot.size()));
  if (one_in(12, random)) *given.length = static_cast<std::int64_t>(random() % (given.slot.size() + 1));
  if (one_in(16, random)) given.length = any_of<std::int64_t>({-2, -4, -100, INT16_MIN}, random);
  if (type.length > 0 && one_in(16, random)) *given.length = size + 1 + static_cast<std::int64_t>(random() % 5);
  if (!one_in(6, random)) return;
  given.length = ZVRT_TERMINATED;
  // Nothing but the terminator bounds a source without a length.
  const bool has_end = zvrt_reference::terminator_at(given.slot, unit) < given.slot.size();
  if (type.length == 0 && !has_end && (is_text(type.kind) || type.kind == ZVRT_KIND_BYTES))
    given.slot += std::string(unit, '\0');
}

Given any_text_value(const ZVRTType& type, Random& random) {
  const std::size_t unit = zvrt_reference::unit_of(type.kind);
  const bool terminated =
      type.kind == ZVRT_KIND_VARCHAR_SZ || type.kind == ZVRT_KIND_WVARCHAR_SZ || type.kind == ZVRT_KIND_UTF16_SZ;
  const bool prefixed = type.kind == ZVRT_KIND_VARCHAR || type.kind == ZVRT_KIND_WVARCHAR;
  const std::size_t size = static_cast<std::size_t>(type.length), before = prefixed ? 2 : 0;
  const bool is_date = type.model != nullptr ? !one_in(6, random) : one_in(8, random);
  std::string bytes = zvrt_reference::encode(type, is_date ? any_date(type, random) : any_text(random), true).bytes;
  if (one_in(8, random)) bytes = random_bytes(random() % 24 * unit, random);
  if (one_in(8, random) && !bytes.empty()) bytes[random() % bytes.size()] = static_cast<char>(random());
  std::size_t most = size - before - (terminated && size >= unit ? unit : 0);
  if (type.length == 0) most = bytes.size();
  if (bytes.size() > most) bytes.resize(most / unit * unit);
  Given given;
  if (terminated) {
    if (one_in(10, random) && size > 0) bytes.resize(size, 'x');
    given.slot = bytes + std::string(one_in(10, random) && size > 0 ? 0 : unit, '\0');
    if (size > 0) given.slot.resize(size, '\x5A');
    if (type.length == 0) given.slot = given.slot.substr(0, zvrt_reference::terminator_at(given.slot, unit) + unit);
    return given;
  }
  given.slot = bytes;
  if (prefixed) {
    auto count = static_cast<std::uint16_t>(one_in(10, random) ? random() : bytes.size());
    if (count > size - 2 && count <= bytes.size()) count = 0;
    given.slot.insert(0, std::string(reinterpret_cast<const char*>(&count), 2));
  }
  const std::string blank = zvrt_reference::blank_of(type);
  while (given.slot.size() + blank.size() <= size && !prefixed) given.slot += blank;
  given.slot.resize(size, '\0');
  if (one_in(12, random)) given.slot.assign(size, any_of({'\0', '\xFF', ' ', '\x40'}, random));
  if (one_in(12, random)) given.slot = random_bytes(size, random);
  return given;
}

std::string any_packed(const ZVRTType& type, std::size_t size, Random& random) {
  std::string slot;
  const std::size_t zeros = one_in(2, random) ? random() % size : 0;
  for (std::size_t i = 0; i < size; ++i)
    slot += static_cast<char>(i < zeros ? 0 : below(10, random) << 4 | below(10, random));
  if (one_in(6, random)) std::fill(slot.begin(), slot.end(), '\x99');
  const int sign = any_of({0xC, 0xD, 0xF, 0xC, 0xD, 0xA, 0xB, 0xE}, random);
  if ((type.flags & ZVRT_TYPE_NO_SIGN) == 0) slot.back() = static_cast<char>((slot.back() & 0xF0) | sign);
  return slot;
}

std::string any_zoned(const ZVRTType& type, std::size_t size, Random& random) {
  const bool ascii = (type.flags & ZVRT_TYPE_ASCII) != 0, leading = (type.flags & ZVRT_TYPE_SIGN_LEADING) != 0;
  std::string slot;
  for (std::size_t i = 0; i < size; ++i) slot += static_cast<char>((ascii ? 0x30 : 0xF0) | below(10, random));
  char& sign = leading ? slot.front() : slot.back();
  if ((type.flags & ZVRT_TYPE_SIGN_SEPARATE) != 0) {
    sign = ascii ? any_of({'+', '-'}, random) : any_of({'\x4E', '\x60'}, random);
  } else if (ascii) {
    if (one_in(2, random)) sign = static_cast<char>(sign ^ 0x40);
  } else {
    sign = static_cast<char>((sign & 0xF) | any_of({0xC0, 0xD0, 0xF0, 0xA0, 0xB0}, random));
  }
  return slot;
}

std::string any_varnum(Random& random) {
  zvrt_reference::Value value{.form = zvrt_reference::Form::number};
  const std::string digits = std::to_string(random()) + std::to_string(random());
  value.number.digits = mpz_class(digits.substr(0, 1 + random() % digits.size()));
  if (one_in(2, random)) value.number.digits = -value.number.digits;
  value.number.scale = one_in(4, random) ? below(300, random) - 150 : below(20, random);
  zvrt_reference::Result result{.slot = std::string(22, '\0')};
  ZVRTType type{};
  type.kind = ZVRT_KIND_VARNUM;
  zvrt_reference::write(type, ZVRT_PLAN_CUT_FRACTION, value, result);
  if (result.status != 0) result.slot = std::string("\x01\x80") + std::string(20, '\0');
  return result.slot;
}

template <class Float>
std::string any_float(const ZVRTType& type, Random& random) {
  using Limits = std::numeric_limits<Float>;
  Float value =
      any_of({Float{0}, -Float{0}, Float{1}, Float(0.5), Float(0.1), Limits::max(), Limits::min(), Limits::denorm_min(),
              Limits::infinity(), Limits::quiet_NaN(), Float(1e15), Float(9007199254740993.0)},
             random);
  if (one_in(2, random))
    value = static_cast<Float>(static_cast<std::int64_t>(random()) >> below(60, random)) / Float(1000);
  if (one_in(2, random)) value = -value;
  std::string slot(reinterpret_cast<const char*>(&value), sizeof value);
  if (zvrt_reference::is_big_endian(type) != zvrt_reference::native_big) std::reverse(slot.begin(), slot.end());
  return slot;
}

std::string any_moment(const ZVRTType& type, std::size_t size, Random& random) {
  zvrt_reference::Result result{.slot = std::string(size, '\0')};
  zvrt_reference::write(type, ZVRT_PLAN_CUT_FRACTION, any_moment_value(random), result);
  return result.slot;
}

// A date's digits as a number of the type.
std::string any_date_number(const ZVRTType& type, std::size_t size, Random& random) {
  std::string digits;
  for (const char32_t c : any_date(type, random)) digits += c >= U'0' && c <= U'9' ? static_cast<char>(c) : '9';
  zvrt_reference::Value value{.form = zvrt_reference::Form::number};
  value.number.digits = mpz_class(digits.empty() ? "0" : digits, 10);
  zvrt_reference::Result result{.slot = std::string(size, '\0')};
  zvrt_reference::write(type, 0, value, result);
  return result.slot;
}

// Models, and the characters of those that have a fixed number of them.
void set_text_model(ZVRTType& type, Random& random) {
  struct Model {
    const wchar_t* text;
    int width;
  };
  const Model model = any_of<Model>({{L"%YYYY-%MM-%DD", 10},
                                     {L"%YYYY-%MM-%DD %HH24:%MI:%SS.%FFFFFF", 26},
                                     {L"%HH24:%MI:%SS", 8},
                                     {L"%D. %MONTH %YYYY", 0},
                                     {L"%MMM %DD, %YYYY %HH:%MI %PM", 0},
                                     {L"%YY.%DDD", 6},
                                     {L"%DD/%MM/%YY", 8},
                                     {L"%YYYY%MM%DD%HH24%MI%SS%FFF", 17},
                                     {L"%C%YY%MM%DD", 7},
                                     {L"%HH24h", 3},
                                     {L"%YYYY-%M-%D %HH24:%MI:%SS.%FFFFFFFFF", 0},
                                     {L"%DD-%MMM-%YYYY", 11},
                                     {L"%YYYY%MM%DD ", 9}},
                                    random);
  type.model = model.text;
  type.firstYear = any_of<std::int16_t>({1950, 1970, 2000, 1, 9900}, random);
  const auto unit = static_cast<std::int32_t>(zvrt_reference::unit_of(type.kind));
  if (!one_in(4, random)) type.length = 32 * unit + 2 * type.length % unit;
  if (model.width > 0 && one_in(2, random)) type.length = model.width * unit;
  if (!one_in(4, random) && (type.kind == ZVRT_KIND_CHAR || type.kind == ZVRT_KIND_WCHAR)) type.flags |= ZVRT_TYPE_TRIM;
}

void set_digit_model(ZVRTType& type, Random& random) {
  type.model = any_of({L"%YYYY%MM%DD", L"%C%YY%MM%DD", L"%YYYY%DDD", L"%YY%DDD", L"%HH24%MI%SS", L"%HH24%MI%SS",
                       L"%HH24%MI", L"%YYYY%MM%DD%HH24%MI%SS"},
                      random);
  type.firstYear = any_of<std::int16_t>({1950, 1970, 2000}, random);
}

}  // namespace

std::uint32_t any_options(Random& random) {
  return any_of<std::uint32_t>(
      {0, 0, 0, 0, ZVRT_PLAN_ROUND_HALF_EVEN, ZVRT_PLAN_ROUND_HALF_AWAY, ZVRT_PLAN_CUT_FRACTION, ZVRT_PLAN_CUT_TEXT,
       ZVRT_PLAN_SUBSTITUTE, ZVRT_PLAN_CUT_TEXT | ZVRT_PLAN_SUBSTITUTE, ZVRT_PLAN_EXACT_FLOAT,
       ZVRT_PLAN_EXACT_FLOAT | ZVRT_PLAN_ROUND_HALF_EVEN},
      random);
}

ZVRTType any_type_of(std::uint32_t kind, Random& random) {
  ZVRTType type{};
  type.size = sizeof type;
  type.kind = kind;
  const auto maybe = [&](std::uint64_t n, std::uint32_t flags) {
    if (one_in(n, random)) type.flags |= flags;
  };
  if (one_in(8, random)) {
    type.flags |=
        any_of({ZVRT_TYPE_NULL_BLANKS, ZVRT_TYPE_NULL_ZEROS, ZVRT_TYPE_NULL_LOW, ZVRT_TYPE_NULL_HIGH}, random);
  }
  maybe(4, any_of({ZVRT_TYPE_BIG_ENDIAN, ZVRT_TYPE_LITTLE_ENDIAN, ZVRT_TYPE_LOW_AS_BLANK}, random));
  if (is_text(kind)) {
    const auto unit = static_cast<int>(zvrt_reference::unit_of(kind));
    const bool prefixed = kind == ZVRT_KIND_VARCHAR || kind == ZVRT_KIND_WVARCHAR;
    type.length = unit * (1 + below(one_in(8, random) ? 150 : 40, random)) + (prefixed ? 2 : 0);
    if (!prefixed && one_in(16, random)) type.length = 0;
    if (unit == 1) type.codePage = any_of<std::uint32_t>({0, 0, 0, 37, 37, 37, 1252, 1208, 874, 932, 930}, random);
    maybe(3, ZVRT_TYPE_TRIM);
    maybe(6, ZVRT_TYPE_TRIM | ZVRT_TYPE_TRIM_LEFT);
    maybe(12, ZVRT_TYPE_TRIM | ZVRT_TYPE_TRIM_WIDE);
    maybe(3, ZVRT_TYPE_PAD);
    maybe(8, ZVRT_TYPE_PAD | ZVRT_TYPE_PAD_LEFT);
    if (one_in(6, random)) set_text_model(type, random);
    return type;
  }
  switch (kind) {
    case ZVRT_KIND_BYTES:
      type.length = one_in(16, random) ? 0 : 1 + below(40, random);
      maybe(3, ZVRT_TYPE_PAD);
      return type;
    case ZVRT_KIND_INT:
    case ZVRT_KIND_UINT: type.length = 1 << below(4, random); break;
    case ZVRT_KIND_FLOAT:
    case ZVRT_KIND_HEX_FLOAT: type.length = any_of({4, 8}, random); return type;
    case ZVRT_KIND_PACKED:
      type.length = one_in(3, random) ? any_of({5, 8}, random) : 1 + below(20, random);
      maybe(5, any_of({ZVRT_TYPE_UNSIGNED, ZVRT_TYPE_NO_SIGN}, random));
      break;
    case ZVRT_KIND_ZONED:
      type.length = 2 + below(30, random);
      maybe(5, ZVRT_TYPE_UNSIGNED);
      maybe(3, ZVRT_TYPE_SIGN_LEADING);
      maybe(3, ZVRT_TYPE_SIGN_SEPARATE);
      maybe(3, ZVRT_TYPE_ASCII);
      break;
    case ZVRT_KIND_VARNUM: type.length = one_in(4, random) ? 2 + below(20, random) : 22; return type;
    case ZVRT_KIND_TIMESTAMP: type.scale = any_of<std::int16_t>({0, 0, 6, 9, 3, -1}, random); return type;
    case ZVRT_KIND_NUMERIC: type.flags = 0; break;
    default: break;
  }
  if (!is_number(kind)) return type;
  if (kind != ZVRT_KIND_NUMERIC && one_in(4, random)) {
    set_digit_model(type, random);
    return type;
  }
  if (one_in(2, random))
    type.scale = static_cast<std::int16_t>(one_in(6, random) ? below(60, random) - 25 : below(6, random));
  if (one_in(6, random)) type.precision = static_cast<std::int16_t>(1 + below(20, random));
  return type;
}

ZVRTType any_type(Random& random) {
  return any_type_of(1 + static_cast<std::uint32_t>(below(ZVRT_KIND_MICROS, random)), random);
}

Given any_value(const ZVRTType& type, Random& random) {
  if (is_text(type.kind)) return any_text_value(type, random);
  const std::size_t size =
      type.kind == ZVRT_KIND_BYTES && type.length == 0 ? 1 + random() % 40 : zvrt_reference::slot_bytes(type);
  Given given;
  given.slot = random_bytes(size, random);
  if (one_in(8, random)) return given;
  if (type.model != nullptr && !one_in(6, random)) {
    given.slot = any_date_number(type, size, random);
    return given;
  }
  switch (type.kind) {
    case ZVRT_KIND_BOOL: given.slot[0] = static_cast<char>(below(3, random)); break;
    case ZVRT_KIND_INT:
    case ZVRT_KIND_UINT:
    case ZVRT_KIND_DECIMAL:
      if (one_in(2, random)) {
        const std::int64_t value = static_cast<std::int64_t>(random()) >> below(64, random);
        given.slot.assign(size, value < 0 ? '\xFF' : '\0');
        for (std::size_t i = 0; i < std::min(size, sizeof value); ++i)
          given.slot[i] = static_cast<char>(value >> 8 * i);
        if (zvrt_reference::is_big_endian(type)) std::reverse(given.slot.begin(), given.slot.end());
      }
      if (one_in(6, random)) given.slot.assign(size, any_of({'\0', '\xFF'}, random));
      if (one_in(12, random)) given.slot = '\x80' + std::string(size - 1, '\0');
      break;
    case ZVRT_KIND_FLOAT:
      given.slot = size == 4 ? any_float<float>(type, random) : any_float<double>(type, random);
      break;
    case ZVRT_KIND_HEX_FLOAT:
      if (one_in(2, random)) given.slot[0] = static_cast<char>(0x40 + below(10, random));
      if (one_in(3, random)) std::fill(given.slot.begin() + 3, given.slot.end(), '\0');
      break;
    case ZVRT_KIND_PACKED: given.slot = any_packed(type, size, random); break;
    case ZVRT_KIND_ZONED: given.slot = any_zoned(type, size, random); break;
    case ZVRT_KIND_VARNUM:
      given.slot = any_varnum(random);
      given.slot.resize(size);
      break;
    case ZVRT_KIND_NUMERIC:
      given.slot[0] = static_cast<char>(1 + below(38, random));
      given.slot[1] = static_cast<char>(below(20, random) - 5);
      given.slot[2] = static_cast<char>(below(2, random));
      std::fill(given.slot.begin() + 3 + below(15, random), given.slot.end(), '\0');
      break;
    default:
      if (is_moment(type.kind)) given.slot = any_moment(type, size, random);
      break;
  }
  if (one_in(6, random)) given.slot[random() % size] = static_cast<char>(random());
  if (one_in(24, random)) given.slot.assign(size, any_of({'\0', '\xFF', ' ', '\x40'}, random));
  return given;
}

std::vector<Given> any_values(const ZVRTType& type, Random& random) {
  std::vector<Given> values;
  const bool has_nulls = one_in(4, random);
  // A counted source without a length is bound by the lengths alone.
  const bool is_counted = type.kind == ZVRT_KIND_CHAR || type.kind == ZVRT_KIND_WCHAR || type.kind == ZVRT_KIND_UTF16 ||
                          type.kind == ZVRT_KIND_BYTES;
  const bool has_lengths = (is_counted && type.length == 0) || one_in(3, random);
  for (int count = 1 + below(one_in(4, random) ? 100 : 8, random); count > 0; --count) {
    values.push_back(any_value(type, random));
    Given& value = values.back();
    value.null = has_nulls && one_in(4, random);
    if (!has_lengths) continue;
    std::size_t bytes = value.slot.size();
    if (one_in(2, random)) bytes = bytes / 2 / zvrt_reference::unit_of(type.kind) * zvrt_reference::unit_of(type.kind);
    add_length(type, value, bytes, random);
  }
  return values;
}

}  // namespace zvrt_test
