// Dates, times and timestamps.
#pragma once

#include "columns/block.h"
#include "columns/date_model.h"
#include "columns/type.h"

namespace zvrt::columns {

constexpr std::int64_t nanoseconds_per_second = 1'000'000'000;
constexpr std::int64_t nanoseconds_per_day = 86'400 * nanoseconds_per_second;

// The fields of a moment.
struct Fields {
  std::int32_t year = 1970;
  std::uint32_t month = 1;
  std::uint32_t day = 1;
  std::uint32_t hour = 0;
  std::uint32_t minute = 0;
  std::uint32_t second = 0;
  std::int64_t nanosecond = 0;
};

Fields to_fields(const Moment& moment);
// Of fields that check_fields() takes.
Moment to_moment(const Fields& fields);
// The status of the first field out of range, in the order of the structure.
Status check_fields(const Fields& fields);
std::int64_t days_of_date(std::int32_t year, std::uint32_t month, std::uint32_t day);
bool is_leap_year(std::int32_t year);

// Makes the time of day a multiple of `unit` nanoseconds by the rule; a `unit` of a day is a target without one, where
// nothing but cutting takes a time away. ZVRT_RC_FRACTION_LOST; ZVRT_RC_OUT_OF_RANGE for a round beyond the last day.
Status round_moment(Moment& moment, std::int64_t unit, Rounding rule, Parts parts);

Read read_record, read_since_1970;
Write write_record, write_since_1970;

void step_text_to_moment(const Type& from, const Type& to, Block& block);
void step_moment_to_text(const Type& from, const Type& to, Block& block);
void step_decimal_to_moment(const Type& from, const Type& to, Block& block);
void step_moment_to_decimal(const Type& from, const Type& to, Block& block);

}  // namespace zvrt::columns
