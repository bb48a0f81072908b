// What a value is, apart from how it is stored.
#pragma once

#include <bit>
#include <cstdint>
#include <string>

#include "ZVRTColumns.h"
#include "number.h"

namespace zvrt_reference {

enum class Form { null, text, bytes, boolean, number, infinite, not_a_number, moment };

struct Value {
  Form form = Form::null;
  std::u32string text{};
  std::string bytes{};
  bool truth = false;
  Number number{};
  Number exact{};  // of a float, of which `number` is the shortest that reads back
  bool has_exact = false;
  bool negative = false;         // of a float: zero and infinity have a sign
  bool floats = false;           // a number of no certain scale
  std::int64_t days = 0;         // since 1970-01-01
  std::int64_t nanoseconds = 0;  // of the day
  bool has_date = false, has_time = false;
};

// How the bytes of numbers and of UTF-16 stand, where a type does not say it: as the machine's.
inline constexpr bool native_big = std::endian::native == std::endian::big;
inline bool is_big_endian(const ZVRTType& type) {
  return native_big ? (type.flags & ZVRT_TYPE_LITTLE_ENDIAN) == 0 : (type.flags & ZVRT_TYPE_BIG_ENDIAN) != 0;
}

struct Read {
  std::uint32_t status = 0;
  Value value{};
};

struct Calendar {
  std::int64_t year;
  unsigned month, day;
};

// The Gregorian calendar, forwards a year and a month at a time.
inline bool is_leap(std::int64_t year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }
inline unsigned days_of(std::int64_t year, unsigned month) {
  constexpr unsigned days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return days[month - 1] + (month == 2 && is_leap(year) ? 1 : 0);
}
inline std::int64_t days_to_year(std::int64_t year) {  // from 0001-01-01
  const std::int64_t years = year - 1;
  return years * 365 + years / 4 - years / 100 + years / 400;
}
inline std::int64_t days_of_date(const Calendar& date) {
  std::int64_t days = days_to_year(date.year) - days_to_year(1970);
  for (unsigned month = 1; month < date.month; ++month) days += days_of(date.year, month);
  return days + date.day - 1;
}
// Of the years 1 to 9999.
inline Calendar date_of_days(std::int64_t days) {
  Calendar date{1, 1, 1};
  while (date.year < 9999 && days_to_year(date.year + 1) - days_to_year(1970) <= days) {
    const std::int64_t jump = (days - (days_to_year(date.year) - days_to_year(1970))) / 366;
    date.year += jump > 0 ? jump : 1;
  }
  days -= days_to_year(date.year) - days_to_year(1970);
  while (days >= days_of(date.year, date.month)) days -= days_of(date.year, date.month++);
  date.day = static_cast<unsigned>(days) + 1;
  return date;
}
constexpr std::int64_t nanoseconds_per_second = 1'000'000'000;
constexpr std::int64_t nanoseconds_per_day = 86'400 * nanoseconds_per_second;

Read read(const ZVRTType& type, const std::string& slot, std::optional<std::int64_t> length);

}  // namespace zvrt_reference
