// The date and time records, and the range check that every conversion applies to them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ZVRTDataCnvLib.h"
#include "core/call.h"
#include "support/units.h"

namespace zvrt {

// A view of the caller's timestamp, at any alignment.
class TimestampView {
 public:
  explicit TimestampView(const void* record) : at_(static_cast<const std::byte*>(record)) {}
  explicit TimestampView(const ZVRTTS& record) : TimestampView(static_cast<const void*>(&record)) {}

  std::int32_t year() const { return load<std::int16_t>(at_ + offsetof(ZVRTTS, year)); }
  std::int32_t month() const { return field(offsetof(ZVRTTS, month)); }
  std::int32_t day() const { return field(offsetof(ZVRTTS, day)); }
  std::int32_t hour() const { return field(offsetof(ZVRTTS, hour)); }
  std::int32_t minute() const { return field(offsetof(ZVRTTS, minute)); }
  std::int32_t second() const { return field(offsetof(ZVRTTS, second)); }
  std::uint32_t fraction() const { return load<std::uint32_t>(at_ + offsetof(ZVRTTS, fraction)); }

  // Any of the unsigned 16-bit fields, by its offset.
  std::int32_t field(std::size_t offset) const { return load<std::uint16_t>(at_ + offset); }

 private:
  const std::byte* at_;
};

// The year 0 of a two-digit year is a leap year.
constexpr bool is_leap(std::int32_t year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

constexpr std::int32_t days_in(std::int32_t month, std::int32_t year) {
  constexpr std::uint8_t days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return days[month - 1] + (month == 2 && is_leap(year) ? 1 : 0);
}

inline Status validate_date(TimestampView ts, std::int32_t first_year) {
  if (ts.year() < first_year || ts.year() > 9999) return ZVRT_RC_INVALID_YEAR;
  if (ts.month() == 0 || ts.month() > 12) return ZVRT_RC_INVALID_MONTH;
  // Days up to 28 need no calendar.
  if (ts.day() == 0 || (ts.day() > 28 && ts.day() > days_in(ts.month(), ts.year()))) return ZVRT_RC_INVALID_DAY;
  return ZVRT_RC_OK;
}

inline Status validate_time(TimestampView ts) {
  if (ts.hour() > 23) return ZVRT_RC_INVALID_HOUR;
  if (ts.minute() > 59) return ZVRT_RC_INVALID_MINUTE;
  if (ts.second() > 59) return ZVRT_RC_INVALID_SECOND;
  return ZVRT_RC_OK;
}

// The status of the first field out of range among those that the kind covers.
inline Status validate(TimestampView ts, DtKind kind) {
  if (kind == ZVRT_DT_TIME) return validate_time(ts);
  if (kind < ZVRT_DT_DATE || kind > ZVRT_DT_TIMESTAMP_YY) return ZVRT_RC_OK;
  const Status status = validate_date(ts, kind == ZVRT_DT_TIMESTAMP_YY ? 0 : 1);
  return status != ZVRT_RC_OK || kind == ZVRT_DT_DATE ? status : validate_time(ts);
}

// For each record type: its kind, the bytes it takes as a destination, and the conversion to and from the timestamp
// that the parser and the formatter work on.
template <class Record>
struct RecordTraits;

template <>
struct RecordTraits<ZVRTDate> {
  static constexpr DtKind kind = ZVRT_DT_DATE;
  static constexpr std::int32_t destination_size = 16;
  static ZVRTTS to_timestamp(const void* src) {
    const auto date = load<ZVRTDate>(src);
    ZVRTTS ts{};
    ts.year = date.year;
    ts.month = date.month;
    ts.day = date.day;
    return ts;
  }
  static ZVRTDate from_timestamp(const ZVRTTS& ts) { return {ts.year, ts.month, ts.day}; }
};

template <>
struct RecordTraits<ZVRTTime> {
  static constexpr DtKind kind = ZVRT_DT_TIME;
  static constexpr std::int32_t destination_size = 16;
  static ZVRTTS to_timestamp(const void* src) {
    const auto time = load<ZVRTTime>(src);
    ZVRTTS ts{};
    ts.hour = time.hour;
    ts.minute = time.minute;
    ts.second = time.second;
    return ts;
  }
  static ZVRTTime from_timestamp(const ZVRTTS& ts) { return {ts.hour, ts.minute, ts.second}; }
};

template <>
struct RecordTraits<ZVRTTS> {
  static constexpr DtKind kind = ZVRT_DT_TIMESTAMP;
  static constexpr std::int32_t destination_size = 24;
  static TimestampView to_timestamp(const void* src) { return TimestampView(src); }
  static const ZVRTTS& from_timestamp(const ZVRTTS& ts) { return ts; }
};

}  // namespace zvrt
