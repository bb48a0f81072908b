// The table of the elements of a format model, and the names of the months. The tokenizer, the formatter and the parser
// are loops over this table; none of them knows a single element.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "ZVRTDataCnvLib.h"
#include "core/call.h"
#include "datetime/letters.h"
#include "support/wraps.h"

namespace zvrt {

// The groups of elements, one bit each. A kind of record requires some of them: an element applies to the kinds that
// require its group, and the text is complete once every required group has been written.
struct Group {
  static constexpr std::uint8_t none = 0x00;
  static constexpr std::uint8_t fraction = 0x01;
  static constexpr std::uint8_t second = 0x02;
  static constexpr std::uint8_t minute = 0x04;
  static constexpr std::uint8_t hour = 0x08;
  static constexpr std::uint8_t day = 0x10;
  static constexpr std::uint8_t month = 0x20;
  static constexpr std::uint8_t year = 0x40;
  static constexpr std::uint8_t designator = 0x80;
};

constexpr std::uint8_t groups_expected(DtKind kind) {
  constexpr std::uint8_t date = Group::year | Group::month | Group::day;
  constexpr std::uint8_t time = Group::hour | Group::minute | Group::second | Group::designator;
  switch (kind) {
    case ZVRT_DT_DATE: return date;
    case ZVRT_DT_TIME: return time;
    case ZVRT_DT_TIMESTAMP: return date | time | Group::fraction;
    default: return Group::none;
  }
}

// How an element becomes text.
enum class Writes : std::uint8_t {
  literal,          // its own character
  field,            // an unsigned 16-bit field
  bare_field,       // the same without leading zeros
  year,             // signed
  year_of_century,  // the last two digits
  fraction,         // 32 bits, taken as signed
  month_name,
  month_abbreviation,
  hour_24,     // blanks the AM/PM designator
  hour_12,     // determines the AM/PM designator
  designator,  // reserves a place
  end,
};

// How an element is read.
enum class Reads : std::uint8_t {
  rejected,
  nothing,
  field,  // one or two digits
  year,   // digits up to its width, no fewer unless the text ends
  month_name,
  month_abbreviation,
  hour_24,
  hour_12,
  fraction,  // digits up to its width, fewer are scaled up
  designator,
};

// Where in a timestamp.
struct Field {
  static constexpr std::uint8_t none = 0;
  static constexpr std::uint8_t year = offsetof(ZVRTTS, year);
  static constexpr std::uint8_t month = offsetof(ZVRTTS, month);
  static constexpr std::uint8_t day = offsetof(ZVRTTS, day);
  static constexpr std::uint8_t hour = offsetof(ZVRTTS, hour);
  static constexpr std::uint8_t minute = offsetof(ZVRTTS, minute);
  static constexpr std::uint8_t second = offsetof(ZVRTTS, second);
  static constexpr std::uint8_t fraction = offsetof(ZVRTTS, fraction);
};

struct alignas(16) Element {
  char letters[7];         // upper case, as after the percent sign
  std::uint8_t length;     // how many of them
  std::uint8_t describes;  // the kind of record it implies: a date, a time, both (a timestamp), or 0 for none
  std::uint8_t group;
  Writes writes;
  std::int8_t width;  // capacity required before anything is written, in characters
  Reads reads;
  std::uint8_t field;
};

namespace detail {

constexpr std::uint8_t nothing = 0;
constexpr std::uint8_t date = ZVRT_DT_DATE;
constexpr std::uint8_t time = ZVRT_DT_TIME;
constexpr std::uint8_t both = ZVRT_DT_TIMESTAMP;

}  // namespace detail

// By code. Months and days without a leading zero are for writing only, and so they describe no kind.
// clang-format off
inline constexpr std::array<Element, FMT_END + 1> elements = {{
    {"",       0, detail::nothing, Group::none,       Writes::literal,            1, Reads::rejected,           Field::none},
    {"YYYY",   4, detail::date,    Group::year,       Writes::year,               4, Reads::year,               Field::year},
    {"YY",     2, detail::date,    Group::year,       Writes::year_of_century,    2, Reads::year,               Field::year},
    {"MONTH",  5, detail::date,    Group::month,      Writes::month_name,         0, Reads::month_name,         Field::month},
    {"MMM",    3, detail::date,    Group::month,      Writes::month_abbreviation, 3, Reads::month_abbreviation, Field::month},
    {"MM",     2, detail::date,    Group::month,      Writes::field,              2, Reads::field,              Field::month},
    {"M",      1, detail::nothing, Group::month,      Writes::bare_field,         2, Reads::rejected,           Field::month},
    {"DD",     2, detail::date,    Group::day,        Writes::field,              2, Reads::field,              Field::day},
    {"D",      1, detail::nothing, Group::day,        Writes::bare_field,         2, Reads::rejected,           Field::day},
    {"HH24",   4, detail::time,    Group::hour,       Writes::hour_24,            2, Reads::hour_24,            Field::hour},
    {"HH",     2, detail::time,    Group::hour,       Writes::hour_12,            2, Reads::hour_12,            Field::hour},
    {"MI",     2, detail::time,    Group::minute,     Writes::field,              2, Reads::field,              Field::minute},
    {"SS",     2, detail::time,    Group::second,     Writes::field,              2, Reads::field,              Field::second},
    {"FFFFFF", 6, detail::both,    Group::fraction,   Writes::fraction,           6, Reads::fraction,           Field::fraction},
    {"FFFFF",  5, detail::both,    Group::fraction,   Writes::fraction,           5, Reads::fraction,           Field::fraction},
    {"FFFF",   4, detail::both,    Group::fraction,   Writes::fraction,           4, Reads::fraction,           Field::fraction},
    {"FFF",    3, detail::both,    Group::fraction,   Writes::fraction,           3, Reads::fraction,           Field::fraction},
    {"FF",     2, detail::both,    Group::fraction,   Writes::fraction,           2, Reads::fraction,           Field::fraction},
    {"F",      1, detail::both,    Group::fraction,   Writes::fraction,           1, Reads::fraction,           Field::fraction},
    {"PM",     2, detail::nothing, Group::designator, Writes::designator,         2, Reads::designator,         Field::none},
    {"",       0, detail::nothing, Group::none,       Writes::literal,            1, Reads::nothing,            Field::none},
    {"",       0, detail::nothing, Group::none,       Writes::end,                0, Reads::rejected,           Field::none},
}};
// clang-format on

// A code as a constant, so that what the table says of its element is constant too.
template <std::uint32_t code>
using ElementCode = std::integral_constant<std::uint32_t, code>;

// Visits one code. An unknown code is treated as a literal.
template <class Visitor>
[[gnu::always_inline]] inline Status visit_code(std::uint32_t code, Visitor&& visit) {
  switch (code) {
    case FMT_YYYY: return visit(ElementCode<FMT_YYYY>{});
    case FMT_YY: return visit(ElementCode<FMT_YY>{});
    case FMT_MONTH: return visit(ElementCode<FMT_MONTH>{});
    case FMT_MMM: return visit(ElementCode<FMT_MMM>{});
    case FMT_MM: return visit(ElementCode<FMT_MM>{});
    case FMT_M: return visit(ElementCode<FMT_M>{});
    case FMT_DD: return visit(ElementCode<FMT_DD>{});
    case FMT_D: return visit(ElementCode<FMT_D>{});
    case FMT_HH24: return visit(ElementCode<FMT_HH24>{});
    case FMT_HH: return visit(ElementCode<FMT_HH>{});
    case FMT_MI: return visit(ElementCode<FMT_MI>{});
    case FMT_SS: return visit(ElementCode<FMT_SS>{});
    case FMT_FFFFFF: return visit(ElementCode<FMT_FFFFFF>{});
    case FMT_FFFFF: return visit(ElementCode<FMT_FFFFF>{});
    case FMT_FFFF: return visit(ElementCode<FMT_FFFF>{});
    case FMT_FFF: return visit(ElementCode<FMT_FFF>{});
    case FMT_FF: return visit(ElementCode<FMT_FF>{});
    case FMT_F: return visit(ElementCode<FMT_F>{});
    case FMT_PM: return visit(ElementCode<FMT_PM>{});
    case FMT_SKIP: return visit(ElementCode<FMT_SKIP>{});
    case FMT_END: return visit(ElementCode<FMT_END>{});
    default: return visit(ElementCode<FMT_LITERAL>{});
  }
}

// January first. No name begins another, nor do their first three letters.
inline constexpr std::array<std::string_view, 12> month_names = {"January",   "February", "March",    "April",
                                                                 "May",       "June",     "July",     "August",
                                                                 "September", "October",  "November", "December"};

inline constexpr std::size_t abbreviation_length = 3;

namespace detail {

// The first three.
constexpr std::uint32_t letters_of_month(std::size_t month) {
  return static_cast<std::uint32_t>(letters_of(month_names[month].substr(0, abbreviation_length)));
}

struct MonthSlot {
  std::uint32_t letters;
  std::uint32_t month;
};

// A perfect hash: the factor maps the letters of each month to a different slot. It was found by search.
constexpr std::uint32_t month_slot_bits = 4;

ZVRT_WRAPS constexpr std::uint32_t month_slot(std::uint32_t letters) {
  constexpr std::uint32_t factor = 0x67E5;
  return letters * factor >> (32 - month_slot_bits);
}

inline constexpr auto month_slots = [] {
  std::array<MonthSlot, 1U << month_slot_bits> slots{};
  for (std::uint32_t month = 0; month < month_names.size(); ++month) {
    slots[month_slot(letters_of_month(month))] = {letters_of_month(month), month + 1};
  }
  return slots;
}();

}  // namespace detail

// The month, 1 to 12, whose name begins with these three letters, or 0.
constexpr std::uint32_t month_of(std::uint32_t letters) {
  const detail::MonthSlot& slot = detail::month_slots[detail::month_slot(letters)];
  return slot.letters == letters ? slot.month : 0;
}

static_assert(
    [] {
      for (std::uint32_t month = 0; month < month_names.size(); ++month) {
        if (month_of(detail::letters_of_month(month)) != month + 1) return false;
      }
      return true;
    }(),
    "two months share a slot");

}  // namespace zvrt
