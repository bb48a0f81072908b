// A format model of dates, compiled: what stands where in a text or a number of digits.
//
// Elements begin with a percent sign and are told apart by their letters in any case, the longest first; every other
// character of a model stands for itself. A model names a whole date (the year with month and day, or with the day of the
// year), a time of day from the hour on without gaps, or both; nothing twice.
#pragma once

#include <array>
#include <cstdint>

#include "columns/type.h"

namespace zvrt::columns {

enum class DateElement : std::uint8_t {
  literal,
  year,
  year_of_century,  // two digits, of the century beside it or of the type's window of 100 years
  century,          // 0 is 19xx
  month,
  bare_month,  // without a leading zero
  month_name,
  month_abbreviation,
  day,
  bare_day,
  day_of_year,
  hour_24,
  hour_12,
  designator,  // AM or PM
  minute,
  second,
  fraction,
};

struct DateItem {
  DateElement element;
  std::uint8_t width;     // digits or letters
  std::uint32_t literal;  // its character
};

struct DateModel {
  static constexpr std::int32_t max_items = 128;

  std::array<DateItem, max_items> items;
  std::int32_t count = 0;
  std::uint32_t elements = 0;  // a bit for each that occurs
  std::int32_t digits = 0;     // of all items, where every one is a number of a fixed width
  Parts parts = Parts::none;
  std::int32_t fraction_digits = 0;
  std::int64_t unit = 1;  // nanoseconds of the finest time of day that it shows
  std::int32_t first_year = 0;
  bool is_ascii = true;  // its literals

  bool has(DateElement element) const { return (elements >> static_cast<unsigned>(element) & 1) != 0; }
};

// Compiles a model's text for a type. A sentence in `reason` says what is wrong with one that is refused.
Status compile_model(const wchar_t* text, const Type& type, DateModel& model, const char*& reason);

// Whether a status that refuses a part of a date is about the element.
bool is_about(DateElement element, Status status);

// The model of the ISO form, for text opposite a type with these parts: 2024-02-29 12:34:56.789.
void make_iso_model(Parts parts, std::int32_t fraction_digits, DateModel& model);

}  // namespace zvrt::columns
