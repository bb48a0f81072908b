// The direct kernels against the blocks, on all that a run leaves: slots, lengths, statuses, outcome. A run over an array
// of starts goes by blocks.
#include "columns/direct.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <random>

#include "columns/date_layout.h"
#include "columns/one_value.h"
#include "columns/plan.h"
#include "columns/short_numbers.h"
#include "support/cpu.h"
#include "support/guarded_buffer.h"

using namespace columns_test;

namespace {

using zvrt::columns::Direct;
using zvrt::columns::DirectKernels;
using zvrt::columns::NumberKernels;
using zvrt_test::GuardedBuffer;

std::mt19937 numbers(20261);
std::uint32_t below(std::size_t end) { return static_cast<std::uint32_t>(numbers() % end); }

struct Pair {
  const char* name;
  ZVRTType from;
  ZVRTType to;
  Direct* DirectKernels::*kernel;                  // null: the plan's own, which uses the machine's level
  std::function<std::string(std::int32_t)> value;  // of a slot's length
  bool has_kernel = true;
};

// Digits and any sign, and in one value of `rarity` something else.
std::function<std::string(std::int32_t)> packed_value(std::uint32_t rarity) {
  return [rarity](std::int32_t length) {
    std::string field;
    for (std::int32_t i = 0; i < length; ++i) field += static_cast<char>(below(10) << 4 | below(10));
    field.back() = static_cast<char>((static_cast<std::uint8_t>(field.back()) & 0xF0U) | (0xA + below(6)));
    if (below(rarity) == 0) field[below(field.size())] = static_cast<char>(below(256));
    return field;
  };
}

// Mostly characters of one alphabet, blanks at the end.
std::function<std::string(std::int32_t)> text_value(std::uint32_t rarity, std::uint8_t first, std::uint8_t blank) {
  return [=](std::int32_t length) {
    std::string text(static_cast<std::size_t>(length), static_cast<char>(blank));
    const std::uint32_t used = below(static_cast<std::size_t>(length) + 1);
    for (std::uint32_t i = 0; i < used; ++i) text[i] = static_cast<char>(first + below(9));
    if (below(rarity) == 0 && length > 0) text[below(text.size())] = static_cast<char>(below(256));
    if (below(rarity) == 0 && length > 0) text[below(text.size())] = '\0';
    return text;
  };
}

ZVRTType packed(std::int32_t length, std::uint32_t flags = 0) { return type(ZVRT_KIND_PACKED, length, flags, 0, 2); }
ZVRTType page37(std::uint32_t kind, std::int32_t length, std::uint32_t flags) {
  return with_page(type(kind, length, flags), 37);
}

std::vector<Pair> pairs() {
  using K = DirectKernels;
  std::vector<Pair> all;
  for (std::int32_t length = 1; length <= 8; ++length) {
    for (const std::uint32_t flags : {0U, ZVRT_TYPE_UNSIGNED}) {
      const auto value = packed_value(length % 2 == 0 ? 5 : 300);
      all.push_back(
          {"packed to int64", packed(length, flags), type(ZVRT_KIND_INT, 8, 0, 0, 2), &K::packed_to_int64, value});
      all.push_back({"packed to decimal", packed(length, flags), type(ZVRT_KIND_DECIMAL, 16, 0, 0, 2),
                     &K::packed_to_decimal, value});
    }
  }
  const auto ebcdic = text_value(40, 0xC1, 0x40);
  const auto ascii = text_value(40, 'A', ' ');
  constexpr std::uint32_t trim = ZVRT_TYPE_TRIM;
  constexpr std::uint32_t low = ZVRT_TYPE_LOW_AS_BLANK;
  for (const std::int32_t length : {1, 3, 15, 16, 17, 31, 33, 63, 64, 65}) {
    for (const std::uint32_t flags : {0U, trim, trim | low, low}) {
      const ZVRTType field = page37(ZVRT_KIND_CHAR, length, flags);
      const auto into = [&](const char* name, const ZVRTType& to, Direct* K::*kernel) {
        all.push_back({name, field, to, kernel, ebcdic});
      };
      into("page to counted", type(ZVRT_KIND_CHAR, length), &K::page_to_narrow);
      into("page to short", type(ZVRT_KIND_CHAR, (length + 1) / 2), &K::page_to_narrow);
      into("page to padded", type(ZVRT_KIND_CHAR, length + 5, ZVRT_TYPE_PAD), &K::page_to_narrow);
      into("page to terminated", type(ZVRT_KIND_VARCHAR_SZ, length), &K::page_to_narrow);
      into("page to prefixed", type(ZVRT_KIND_VARCHAR, length + 2), &K::page_to_narrow);
      into("page to wide", type(ZVRT_KIND_WCHAR, length * 4), &K::page_to_wide);
      into("page to wide terminated", type(ZVRT_KIND_WVARCHAR_SZ, length * 4), &K::page_to_wide);
      into("page to wide prefixed", type(ZVRT_KIND_WVARCHAR, length * 4 + 2), &K::page_to_wide);
      all.push_back({"text to page", type(ZVRT_KIND_CHAR, length, flags), page37(ZVRT_KIND_CHAR, length, ZVRT_TYPE_PAD),
                     &K::utf8_to_page, ascii});
      if ((flags & low) != 0) continue;
      all.push_back({"terminated to page", type(ZVRT_KIND_VARCHAR_SZ, length + 1, flags),
                     page37(ZVRT_KIND_CHAR, length, 0), &K::utf8_to_page,
                     [ascii](std::int32_t slot) { return ascii(slot - 1) + '\0'; }});
    }
  }
  return all;
}

// The bytes of one value, cut or filled with zeros to its slot.
template <class Unit>
std::string slot_of(const std::vector<Unit>& units, std::int32_t length) {
  std::string slot(reinterpret_cast<const char*>(units.data()), units.size() * sizeof(Unit));
  slot.resize(static_cast<std::size_t>(length));
  return slot;
}

// Characters of one alphabet, or where `rarity` says so of all of Unicode and beyond, with zeros among them.
template <class Unit>
std::function<std::string(std::int32_t)> unicode_value(std::uint32_t rarity) {
  return [rarity](std::int32_t length) {
    std::vector<Unit> units;
    const std::uint32_t count = below(static_cast<std::size_t>(length) / sizeof(Unit) + 2);
    const bool is_odd = below(rarity) == 0;
    while (units.size() < count) {
      static constexpr std::uint32_t borders[] = {0,      0x7F,   0x80,   0x7FF,   0x800,    0xD7FF,   0xD800,
                                                  0xDFFF, 0xE000, 0xFFFF, 0x10000, 0x10FFFF, 0x110000, 0xFFFFFFFF};
      if constexpr (sizeof(Unit) == 4) {
        units.push_back(is_odd && below(9) == 0 ? borders[below(std::size(borders))] : 'a' + below(26));
      } else {
        static constexpr const char* characters[] = {"\xC3\xA9",         "\xE0\xA4\x85",     "\xE2\x82\xAC",
                                                     "\xF0\x9F\x98\x80", "\xED\xA0\x80",     "\xC0\x80",
                                                     "\xE0\x80\x80",     "\xF4\x90\x80\x80", "\xFF"};
        const std::size_t known = below(rarity) == 0 ? std::size(characters) : 1;
        const std::string next =
            is_odd && below(4) == 0 ? characters[below(known)] : std::string(1, static_cast<char>('a' + below(26)));
        for (const char c : next) units.push_back(static_cast<Unit>(c));
      }
    }
    return slot_of(units, length);
  };
}

// Numbers as people write them, and now and then something that is none.
template <class Unit>
std::function<std::string(std::int32_t)> number_text(std::uint32_t rarity) {
  return [rarity](std::int32_t length) {
    std::string text(below(3) == 0 ? "-" : below(9) == 0 ? "+" : "");
    for (std::uint32_t left = below(below(4) == 0 ? 25 : 12); left > 0; --left)
      text += static_cast<char>('0' + below(10));
    if (below(4) == 0) text.insert(below(text.size() + 1), ".");
    if (below(rarity) == 0) text.insert(below(text.size() + 1), 1, "e -+x\0"[below(6)]);
    return slot_of(std::vector<Unit>(text.begin(), text.end()), length);
  };
}

// Integers of any size; doubles of few digits and of many.
std::function<std::string(std::int32_t)> integer_value() {
  return [](std::int32_t length) {
    const std::uint64_t bits = (std::uint64_t{numbers()} << 32 | numbers()) >> below(64);
    const std::uint64_t value = below(2) == 0 ? bits : ~bits;
    return std::string(reinterpret_cast<const char*>(&value), static_cast<std::size_t>(length));
  };
}
std::string double_value(std::int32_t /*length*/) {
  static constexpr double units[] = {1, 10, 100, 1e3, 1e6, 1e7, 1e-9, 3};
  const std::uint64_t bits = std::uint64_t{numbers()} << 32 | numbers();
  double value = static_cast<double>(static_cast<std::int64_t>(bits) >> below(64)) / units[below(std::size(units))];
  if (below(8) == 0) std::memcpy(&value, &bits, sizeof value);
  return {reinterpret_cast<const char*>(&value), sizeof value};
}

// A value sign-extended to 16 bytes, now and then any 16 bytes.
std::string decimal_value(std::int32_t /*length*/) {
  const std::string low = integer_value()(8);
  std::string value = low + std::string(8, (static_cast<std::uint8_t>(low[7]) & 0x80U) != 0 ? '\xFF' : '\0');
  if (below(30) == 0) value[8 + below(8)] = static_cast<char>(below(256));
  return value;
}
std::function<std::string(std::int32_t)> zoned_value(std::uint8_t zone) {
  return [zone](std::int32_t length) {
    std::string field;
    for (std::int32_t i = 0; i < length; ++i) field += static_cast<char>(zone | below(10));
    field.back() = static_cast<char>((below(2) == 0 ? 0xA0U + 0x10 * below(6) : 0x30U + 0x40 * below(2)) | below(10));
    if (below(40) == 0) field[below(field.size())] = static_cast<char>(below(256));
    return field;
  };
}
// Base-100 numbers of any weight, some malformed.
std::string varnum_value(std::int32_t length) {
  const bool negative = below(2) == 0;
  std::string number(1, static_cast<char>((negative ? 62 : 193) + static_cast<int>(below(20)) - 10));
  for (std::uint32_t pairs = 1 + below(below(9) == 0 ? 20 : 9); pairs > 0; --pairs) {
    number += static_cast<char>((negative ? 2 : 1) + below(100));
  }
  if (negative && below(9) != 0) number += static_cast<char>(102);
  if (below(20) == 0) number = std::string(1, static_cast<char>(128));
  if (below(40) == 0) number[below(number.size())] = static_cast<char>(below(256));
  number.insert(0, 1, static_cast<char>(number.size()));
  number.resize(static_cast<std::size_t>(length));
  return number;
}
std::string prefixed_number(std::int32_t length) {
  std::string text = number_text<char>(20)(length - 2);
  const auto count =
      static_cast<std::uint16_t>(below(30) == 0 ? below(65536) : std::min(std::strlen(text.c_str()), text.size()));
  return std::string(reinterpret_cast<const char*>(&count), 2) + text;
}
// Left-aligned in blanks.
std::string blank_filled_number(std::int32_t length) {
  std::string text = number_text<char>(20)(length);
  for (char& c : text) c = c == '\0' ? ' ' : c;
  return text;
}
// Digits of a page that has them elsewhere.
std::string page_number(std::int32_t length) {
  std::string text = number_text<char>(20)(length);
  for (char& c : text)
    c = static_cast<char>(c >= '0' && c <= '9' ? c + 0xC0 : c == '-' ? 0x60 : c == '.' ? 0x4B : c == '+' ? 0x4E : c);
  return text;
}

struct Numbers {
  ZVRTType type;
  std::function<std::string(std::int32_t)> value;
  bool is_source = true;
};

ZVRTType scaled(ZVRTType type, std::int16_t scale, std::int16_t precision = 0) {
  type.scale = scale;
  type.precision = precision;
  return type;
}

// Every kind that short numbers know, and some that they leave to blocks.
std::vector<Numbers> number_types() {
  std::vector<Numbers> all;
  for (const std::int32_t bytes : {1, 2, 4, 8}) {
    for (const std::uint32_t order : {0U, ZVRT_TYPE_BIG_ENDIAN}) {
      all.push_back({type(ZVRT_KIND_INT, bytes, order), integer_value()});
      all.push_back({scaled(type(ZVRT_KIND_UINT, bytes, order), 1), integer_value()});
    }
  }
  all.push_back({scaled(type(ZVRT_KIND_INT, 8), 2, 7), integer_value()});
  for (const std::int32_t bytes : {3, 7, 8, 10, 15, 20}) {
    all.push_back({scaled(type(ZVRT_KIND_PACKED, bytes), 2), packed_value(60)});
    all.push_back({scaled(type(ZVRT_KIND_PACKED, bytes, bytes % 2 == 0 ? ZVRT_TYPE_UNSIGNED : ZVRT_TYPE_NO_SIGN), 0,
                          static_cast<std::int16_t>(bytes)),
                   packed_value(60)});
  }
  for (const std::int32_t bytes : {1, 5, 9, 18, 19, 30}) {
    all.push_back({scaled(type(ZVRT_KIND_ZONED, bytes), 1), zoned_value(0xF0)});
    all.push_back({type(ZVRT_KIND_ZONED, bytes, ZVRT_TYPE_ASCII), zoned_value(0x30)});
    all.push_back({type(ZVRT_KIND_ZONED, bytes, ZVRT_TYPE_UNSIGNED), zoned_value(0xF0)});
  }
  all.push_back({scaled(type(ZVRT_KIND_DECIMAL, 16), 3), decimal_value});
  all.push_back({scaled(type(ZVRT_KIND_DECIMAL, 16, ZVRT_TYPE_BIG_ENDIAN), 0, 5), integer_value()});
  all.back().value = [](std::int32_t length) {
    const std::string value = decimal_value(length);
    return std::string(value.rbegin(), value.rend());
  };
  all.push_back({type(ZVRT_KIND_VARNUM, 22), varnum_value});
  all.push_back({type(ZVRT_KIND_VARNUM, 6), varnum_value, false});
  all.push_back({type(ZVRT_KIND_FLOAT, 8), double_value});
  all.push_back({type(ZVRT_KIND_FLOAT, 4), {}, false});
  for (const std::int32_t length : {3, 12, 22, 31, 40}) {
    all.push_back({type(ZVRT_KIND_WVARCHAR_SZ, length * 4), number_text<char32_t>(20)});
    all.push_back({type(ZVRT_KIND_WCHAR, length * 4, ZVRT_TYPE_PAD), {}, false});
    all.push_back({type(ZVRT_KIND_WVARCHAR, length * 4 + 2), {}, false});
    all.push_back({type(ZVRT_KIND_VARCHAR_SZ, length), number_text<char>(20)});
    all.push_back({type(ZVRT_KIND_CHAR, length, ZVRT_TYPE_TRIM | ZVRT_TYPE_PAD), blank_filled_number});
    all.push_back({type(ZVRT_KIND_VARCHAR, length + 2), prefixed_number});
    all.push_back({page37(ZVRT_KIND_VARCHAR_SZ, length, 0), page_number});
    all.push_back({page37(ZVRT_KIND_CHAR, length, ZVRT_TYPE_PAD), {}, false});
  }
  return all;
}

void add_numbers(std::vector<Pair>& all) {
  const std::vector<Numbers> types = number_types();
  const auto is_text = [](const ZVRTType& type) { return type.kind <= ZVRT_KIND_WVARCHAR_SZ; };
  for (const Numbers& from : types) {
    for (const Numbers& to : types) {
      const bool both_float = from.type.kind == ZVRT_KIND_FLOAT && to.type.kind == ZVRT_KIND_FLOAT;
      if (!from.is_source || both_float || (is_text(from.type) && is_text(to.type)) || below(9) != 0) continue;
      all.push_back({"numbers", from.type, to.type, nullptr, from.value, false});
    }
  }
}

void add_unicode(std::vector<Pair>& all) {
  for (const std::int32_t length : {1, 4, 16, 17, 33, 64, 100, 150}) {
    for (const std::uint32_t rarity : {1U, 2U, 60U}) {
      for (const std::uint32_t narrow : {ZVRT_KIND_CHAR, ZVRT_KIND_VARCHAR_SZ, ZVRT_KIND_VARCHAR}) {
        for (const std::uint32_t wide : {ZVRT_KIND_WCHAR, ZVRT_KIND_WVARCHAR_SZ, ZVRT_KIND_WVARCHAR}) {
          const ZVRTType bytes = type(narrow, length + 2);
          const ZVRTType units = type(wide, length * 4 + (wide == ZVRT_KIND_WVARCHAR ? 2 : 0));
          if (narrow != ZVRT_KIND_VARCHAR) {
            all.push_back({"UTF-8 to wide", bytes, units, nullptr, unicode_value<char>(rarity)});
          }
          const ZVRTType page = with_page(bytes, 37);
          if (narrow != ZVRT_KIND_VARCHAR) {
            all.push_back({"any page to wide", page, units, nullptr, unicode_value<char>(rarity)});
          }
          if (wide != ZVRT_KIND_WVARCHAR) {
            all.push_back({"wide to page", units, page, nullptr, unicode_value<char32_t>(rarity)});
            all.push_back({"wide to UTF-8", units, bytes, nullptr, unicode_value<char32_t>(rarity)});
          }
        }
      }
    }
  }
}

// Mostly timestamps; some members, or characters, are of no date.
std::string record_value(std::int32_t length) {
  std::uint16_t members[6] = {static_cast<std::uint16_t>(1 + below(9999)), static_cast<std::uint16_t>(1 + below(12)),
                              static_cast<std::uint16_t>(1 + below(30)),   static_cast<std::uint16_t>(below(24)),
                              static_cast<std::uint16_t>(below(60)),       static_cast<std::uint16_t>(below(60))};
  if (below(20) == 0) members[below(6)] = static_cast<std::uint16_t>(below(4) == 0 ? below(65536) : below(70));
  const std::uint32_t fraction = below(1000) + (below(30) == 0 ? 0 : below(2) * 999'000);
  std::string record(reinterpret_cast<const char*>(members), sizeof members);
  record.append(reinterpret_cast<const char*>(&fraction), sizeof fraction);
  record.resize(static_cast<std::size_t>(length), '\x55');
  return record;
}
template <class Unit>
std::string date_text(std::int32_t length) {
  char text[40];
  const int count =
      std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u.%03u%s", below(10000), below(13), 1 + below(30),
                    below(24), below(60), below(60), below(1000), below(3) != 0 ? "250" : "");
  std::vector<Unit> units(text, text + count);
  if (below(20) == 0) units[below(units.size())] = static_cast<Unit>(below(2) == 0 ? below(128) : below(1U << 31));
  return slot_of(units, length);
}

// A day of page 37, its month in letters of any case or in none of a month.
std::string page_day(std::int32_t length) {
  static constexpr const char* months[] = {"JAN", "feb", "Mar", "APR", "mAy", "JUN", "JUL", "aug",
                                           "SEP", "oct", "NOV", "DEC", "MAI", "JAM", "[AN", "   "};
  char text[40];
  std::snprintf(text, sizeof text, "%02u-%s-%04u", 1 + below(29), months[below(below(9) == 0 ? 16 : 12)],
                below(9) == 0 ? below(10000) : 1900 + below(200));
  std::string page;
  for (const char c : std::string(text)) {
    const auto code = static_cast<std::uint8_t>(c);
    const std::uint8_t letter = code & 0x1FU;
    const std::uint8_t high = (code & 0x20U) != 0 ? 0x80 : 0xC0;
    if (c >= '0' && c <= '9') {
      page += static_cast<char>(0xF0 | (code & 0xFU));
    } else if (letter >= 1 && letter <= 26 && code > 0x40) {
      const std::uint32_t place = letter <= 9 ? letter : letter <= 18 ? 0x10U + letter - 9 : 0x20U + letter - 17;
      page += static_cast<char>(high + place);
    } else {
      page += c == '-' ? '\x60' : c == '[' ? '\xBA' : '\x40';
    }
  }
  if (below(30) == 0) page[below(page.size())] = static_cast<char>(below(256));
  page.resize(static_cast<std::size_t>(length), '\x40');
  return page;
}

void add_dates(std::vector<Pair>& all) {
  const std::int32_t day_bytes = 11;
  for (const std::uint32_t flags : {0U, ZVRT_TYPE_TRIM, ZVRT_TYPE_TRIM | ZVRT_TYPE_NULL_BLANKS}) {
    for (const std::int32_t length : {day_bytes, day_bytes + 1}) {
      const ZVRTType day = with_model(page37(ZVRT_KIND_CHAR, length, flags), L"%DD-%MMM-%YYYY");
      all.push_back({"day to days", day, type(ZVRT_KIND_DAYS, 4), nullptr, page_day});
      all.push_back({"day to timestamp", day, type(ZVRT_KIND_TIMESTAMP, sizeof(ZVRTTS)), nullptr, page_day});
    }
  }
  const ZVRTType micros = type(ZVRT_KIND_MICROS, 8);
  const ZVRTType both = with_model(type(ZVRT_KIND_CHAR, 26), L"%YYYY-%MM-%DD %HH24:%MI:%SS.%FFFFFF");
  all.push_back({"text to micro-seconds", both, micros, nullptr, date_text<char>});
  const std::int32_t record_bytes = static_cast<std::int32_t>(sizeof(ZVRTTS));
  for (const std::int16_t digits : {std::int16_t{3}, std::int16_t{6}}) {
    const ZVRTType record = type(ZVRT_KIND_TIMESTAMP, record_bytes, 0, 0, digits);
    for (const std::int32_t length : {19, 22, 23, 26, 27, 40}) {
      for (const std::uint32_t kind : {ZVRT_KIND_CHAR, ZVRT_KIND_VARCHAR_SZ, ZVRT_KIND_VARCHAR}) {
        all.push_back({"timestamp to text", record, type(kind, length), nullptr, record_value});
        if (kind == ZVRT_KIND_VARCHAR) continue;
        all.push_back({"text to timestamp", type(kind, length), record, nullptr, date_text<char>});
      }
      for (const std::uint32_t kind : {ZVRT_KIND_WCHAR, ZVRT_KIND_WVARCHAR_SZ}) {
        all.push_back({"timestamp to wide", record, type(kind, length * 4), nullptr, record_value});
        all.push_back({"wide to timestamp", type(kind, length * 4), record, nullptr, date_text<char32_t>});
      }
    }
  }
}

// What a run leaves.
struct Result {
  std::string slots, lengths, indicators, statuses;
  ZVRTOutcome outcome;
};

struct Column {
  std::int64_t rows;
  std::int64_t from_stride;
  std::int64_t to_stride;
  bool gives_lengths;
  std::string source;
  std::vector<std::int64_t> lengths;
  std::vector<std::int16_t> indicators;  // -1 null; empty: there are none
  std::vector<std::uint8_t> select;      // likewise
};

Column column_of(const Pair& pair) {
  const std::int64_t gap = below(3) == 0 ? 0 : std::int64_t{below(20)};
  Column column{below(3) == 0 ? 300 : std::int64_t{below(40)},
                pair.from.length + gap,
                pair.to.length + below(2) * std::int64_t{below(9)},
                below(2) == 0 && pair.from.kind == ZVRT_KIND_CHAR,
                {},
                {},
                {},
                {}};
  const bool has_indicators = below(3) == 0, has_selection = below(4) == 0;
  const std::size_t rarity = below(2) == 0 ? 2 : 20;
  if (column.rows == 0) column.rows = 1;
  for (std::int64_t row = 0; row < column.rows; ++row) {
    if (row > 0) column.source += std::string(static_cast<std::size_t>(gap), '\x99');
    column.source += pair.value(pair.from.length);
    if (has_indicators) column.indicators.push_back(static_cast<std::int16_t>(below(rarity) == 0 ? -1 : 0));
    if (has_selection) column.select.push_back(static_cast<std::uint8_t>(below(rarity) == 0 ? 0 : 1));
    column.lengths.push_back(below(30) == 0 ? -5 : std::int64_t{below(static_cast<std::size_t>(pair.from.length) + 1)});
  }
  return column;
}

// Source and target end at guard pages. A negative stride runs the rows from the last to the first.
Result run(const ZVRTPlan* plan, const Pair& pair, const Column& column, bool by_blocks, bool backwards) {
  const auto rows = static_cast<std::size_t>(column.rows);
  GuardedBuffer source(column.source.data(), column.source.size());
  GuardedBuffer target((rows - 1) * static_cast<std::size_t>(column.to_stride) +
                       static_cast<std::size_t>(pair.to.length));
  std::vector<std::int64_t> given = column.lengths;
  std::vector<std::int32_t> lengths(rows, -77), indicators(rows, -77);
  std::vector<std::uint32_t> statuses(rows, 77);
  std::vector<std::int16_t> given_indicators = column.indicators;
  std::vector<std::int64_t> starts;
  ZVRTArray from{}, to{};
  from.size = to.size = sizeof from;
  from.data = source.as<char>() + (backwards ? (column.rows - 1) * column.from_stride : 0);
  from.stride = backwards ? -column.from_stride : column.from_stride;
  for (std::int64_t row = 0; row < column.rows; ++row) starts.push_back(row * from.stride);
  if (by_blocks) from.starts = starts.data();
  if (!column.select.empty()) from.select = column.select.data();
  if (!given_indicators.empty()) {
    from.indicators = given_indicators.data();
    from.indicatorBytes = 2;
  }
  if (column.gives_lengths) {
    from.lengths = given.data();
    from.lengthBytes = 8;
  }
  to.data = target.as<char>() + (backwards ? (column.rows - 1) * column.to_stride : 0);
  to.stride = backwards ? -column.to_stride : column.to_stride;
  to.lengths = lengths.data();
  to.indicators = indicators.data();
  to.lengthBytes = to.indicatorBytes = 4;
  to.status = statuses.data();
  Result result{};
  result.outcome.size = sizeof result.outcome;
  EXPECT_EQ(ZVRTPlanRun(plan, &from, &to, column.rows, &result.outcome), ZVRT_RC_OK);
  result.slots = target.bytes();
  result.lengths.assign(reinterpret_cast<const char*>(lengths.data()), rows * 4);
  result.indicators.assign(reinterpret_cast<const char*>(indicators.data()), rows * 4);
  result.statuses.assign(reinterpret_cast<const char*>(statuses.data()), rows * 4);
  return result;
}

// Takes the kernels of another level for the machine's.
void choose(const Pair& pair, ZVRTPlan* plan, const DirectKernels& kernels, const NumberKernels& of_numbers) {
  if (pair.kernel != nullptr) plan->direct = kernels.*pair.kernel;
  [[maybe_unused]] const bool is_portable = &of_numbers == &zvrt::columns::number_kernels_portable;
  for ([[maybe_unused]] const auto of_dates :
       {&zvrt::columns::DateKernels::record_to_text, &zvrt::columns::DateKernels::text_to_record,
        &zvrt::columns::DateKernels::text_to_count}) {
    ZVRT_X86(if (is_portable && plan->direct == zvrt::columns::date_kernels_avx512.*of_dates) plan->direct =
                 zvrt::columns::date_kernels_portable.*of_dates;
             else if (!is_portable && plan->direct == zvrt::columns::date_kernels_portable.*of_dates) plan->direct =
                 zvrt::columns::date_kernels_avx512.*of_dates;)
  }
  for (const NumberKernels* const level : {&zvrt::columns::number_kernels(), &zvrt::columns::number_kernels_portable}) {
    if (plan->direct == level->packed_to_text) plan->direct = of_numbers.packed_to_text;
    const bool is_text_to_packed = plan->from.type.form == zvrt::columns::Form::text &&
                                   pair.to.kind == ZVRT_KIND_PACKED && plan->direct == level->text_to_packed;
    if (is_text_to_packed) plan->direct = of_numbers.text_to_packed;
    if (plan->read_short == level->read_text) plan->read_short = of_numbers.read_text;
    if (plan->write_short == level->write_text) plan->write_short = of_numbers.write_text;
    if (plan->write_short == level->write_packed) plan->write_short = of_numbers.write_packed;
  }
}

void compare(const Pair& pair, ZVRTPlan* plan, const DirectKernels& kernels, const NumberKernels& of_numbers) {
  choose(pair, plan, kernels, of_numbers);
  for (int round = 0; round < 4; ++round) {
    const Column column = column_of(pair);
    const bool backwards = below(2) == 0;
    const Result blocks = run(plan, pair, column, true, backwards);
    const Result direct = run(plan, pair, column, false, backwards);
    ASSERT_EQ(direct.slots, blocks.slots) << pair.name << ", kinds " << pair.from.kind << " and " << pair.to.kind
                                          << ", " << pair.from.length << " to " << pair.to.length << " bytes";
    ASSERT_EQ(direct.statuses, blocks.statuses) << pair.name;
    ASSERT_EQ(direct.lengths, blocks.lengths) << pair.name;
    ASSERT_EQ(direct.indicators, blocks.indicators) << pair.name;
    ASSERT_EQ(std::memcmp(&direct.outcome, &blocks.outcome, sizeof direct.outcome), 0) << pair.name;
  }
}

TEST(Direct, EqualsBlocks) {
  ASSERT_EQ(ZVRTInitDataConversion(), ZVRT_RC_OK);
  std::vector<Pair> all = pairs();
  add_numbers(all);
  add_unicode(all);
  add_dates(all);
  std::size_t by_blocks = 0;
  for (const Pair& pair : all) {
    Plan plan;
    ASSERT_EQ(make(pair.from, pair.to, 0, plan), ZVRT_RC_OK) << pair.name;
    if (pair.has_kernel) {
      ASSERT_NE(plan->direct, nullptr) << pair.name << " has no kernel";
    }
    by_blocks += plan->direct == nullptr ? std::size_t{1} : 0;
    ASSERT_NO_FATAL_FAILURE(
        compare(pair, plan.get(), zvrt::columns::direct_kernels_baseline, zvrt::columns::number_kernels_portable));
    ZVRT_X86(if (zvrt::cpu_level() < zvrt::CpuLevel::avx512) continue; ASSERT_NO_FATAL_FAILURE(compare(
        pair, plan.get(), zvrt::columns::direct_kernels_avx512, zvrt::columns::number_kernels_avx512));)
  }
  EXPECT_LT(by_blocks, all.size() / 4);
  ZVRTTermDataConversion();
}

}  // namespace
