#include "datetime/records.h"

#include <cstdint>

namespace zvrt {

namespace {

// The year 0 of a two-digit year is a leap year.
constexpr bool is_leap(std::int32_t year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

constexpr std::int32_t days_in(std::int32_t month, std::int32_t year) {
  constexpr std::uint8_t days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return days[month - 1] + (month == 2 && is_leap(year) ? 1 : 0);
}

Status validate_date(const ZVRTTS& ts, std::int32_t first_year) {
  if (ts.year < first_year || ts.year > 9999) return ZVRT_RC_INVALID_YEAR;
  if (ts.month == 0 || ts.month > 12) return ZVRT_RC_INVALID_MONTH;
  // Nearly every day is within the shortest month.
  if (ts.day == 0 || (ts.day > 28 && ts.day > days_in(ts.month, ts.year))) return ZVRT_RC_INVALID_DAY;
  return ZVRT_RC_OK;
}

Status validate_time(const ZVRTTS& ts) {
  if (ts.hour > 23) return ZVRT_RC_INVALID_HOUR;
  if (ts.minute > 59) return ZVRT_RC_INVALID_MINUTE;
  if (ts.second > 59) return ZVRT_RC_INVALID_SECOND;
  return ZVRT_RC_OK;
}

}  // namespace

Status validate(const ZVRTTS& ts, DtKind kind) {
  if (kind == ZVRT_DT_TIME) return validate_time(ts);
  if (kind < ZVRT_DT_DATE || kind > ZVRT_DT_TIMESTAMP_YY) return ZVRT_RC_OK;
  const Status status = validate_date(ts, kind == ZVRT_DT_TIMESTAMP_YY ? 0 : 1);
  return status != ZVRT_RC_OK || kind == ZVRT_DT_DATE ? status : validate_time(ts);
}

}  // namespace zvrt

uint32_t ZVRTValidateDateTime(const ZVRTTS* ts, DtKind kind) { return zvrt::validate(*ts, kind); }
