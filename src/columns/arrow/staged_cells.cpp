#include "columns/arrow/staged_cells.h"

#include <bit>
#include <cstring>

#include "ZVRTColumns.h"
#include "support/units.h"

namespace zvrt::arrow {
namespace {

static_assert(sizeof(ZVRTCliTimestamp) <= max_staged_bytes);

constexpr std::int64_t seconds_per_day = 86'400;

// Rounded down, for times before 1970 too.
struct Division {
  std::int64_t quotient;
  std::int64_t remainder;
};
Division divide(std::int64_t value, std::int64_t divisor) {
  const std::int64_t remainder = value % divisor;
  if (remainder < 0) return {value / divisor - 1, remainder + divisor};
  return {value / divisor, remainder};
}

// The Gregorian calendar repeats after 400 years. Years are counted from March, so that the leap day ends one: a year's
// months then have 30.6 days on average, five months 153.
struct Date {
  std::int64_t year;
  std::int64_t month;
  std::int64_t day;
};
Date date_of(std::int64_t days_since_1970) {
  constexpr std::int64_t days_per_cycle = 146'097;
  constexpr std::int64_t from_0000_03_01 = 719'468;
  const auto [cycle, day_of_cycle] = divide(days_since_1970 + from_0000_03_01, days_per_cycle);
  const std::int64_t year_of_cycle =
      (day_of_cycle - day_of_cycle / 1'460 + day_of_cycle / 36'524 - day_of_cycle / 146'096) / 365;
  const std::int64_t day_of_year = day_of_cycle - (365 * year_of_cycle + year_of_cycle / 4 - year_of_cycle / 100);
  const std::int64_t month_from_march = (5 * day_of_year + 2) / 153;
  const std::int64_t day = day_of_year - (153 * month_from_march + 2) / 5 + 1;
  const std::int64_t month = month_from_march < 10 ? month_from_march + 3 : month_from_march - 9;
  return {cycle * 400 + year_of_cycle + (month <= 2 ? 1 : 0), month, day};
}

template <class Record>
Status put(std::byte* cell, const Record& record) {
  std::memcpy(cell, &record, sizeof record);
  return ZVRT_RC_OK;
}

Status stage_bit(const std::byte* values, std::int64_t element, std::byte* cell) {
  *cell = Validity{values}[element] ? std::byte{1} : std::byte{0};
  return ZVRT_RC_OK;
}

// A 256-bit integer, whose words stand in native order, fits into 128 when its upper half repeats the sign of the lower.
Status stage_decimal256(const std::byte* element, std::byte* cell) {
  constexpr bool is_little = std::endian::native == std::endian::little;
  constexpr std::size_t lower = is_little ? 0 : 2, upper = 2 - lower;
  const auto sign = load<std::int64_t>(element, is_little ? 1 : 2) < 0 ? std::int64_t{-1} : 0;
  if (load<std::int64_t>(element, upper) != sign || load<std::int64_t>(element, upper + 1) != sign) {
    return ZVRT_RC_DIGITS_LOST;
  }
  std::memcpy(cell, element + lower * 8, 16);
  return ZVRT_RC_OK;
}

Status stage_date_millis(std::int64_t value, bool cut, std::byte* cell) {
  const auto [days, rest] = divide(value, seconds_per_day * 1'000);
  if (rest != 0 && !cut) return ZVRT_RC_FRACTION_LOST;
  if (days < INT32_MIN || days > INT32_MAX) return ZVRT_RC_OUT_OF_RANGE;
  return put(cell, static_cast<std::int32_t>(days));
}

struct Clock {
  std::uint16_t hour;
  std::uint16_t minute;
  std::uint16_t second;
};
Clock clock_of(std::int64_t second_of_day) {
  return {static_cast<std::uint16_t>(second_of_day / 3'600), static_cast<std::uint16_t>(second_of_day / 60 % 60),
          static_cast<std::uint16_t>(second_of_day % 60)};
}

Status stage_time(std::int64_t value, std::int64_t units, bool cut, std::byte* cell) {
  if (value < 0 || value >= seconds_per_day * units) return ZVRT_RC_OUT_OF_RANGE;
  if (value % units != 0 && !cut) return ZVRT_RC_FRACTION_LOST;
  const Clock clock = clock_of(value / units);
  return put(cell, ZVRTTime{clock.hour, clock.minute, clock.second});
}

Status stage_timestamp(std::int64_t value, std::int64_t units, std::byte* cell) {
  const auto [seconds, fraction] = divide(value, units);
  const auto [days, second_of_day] = divide(seconds, seconds_per_day);
  const Date date = date_of(days);
  if (date.year < 1 || date.year > 9999) return ZVRT_RC_OUT_OF_RANGE;
  const Clock clock = clock_of(second_of_day);
  return put(cell, ZVRTCliTimestamp{static_cast<std::int16_t>(date.year), static_cast<std::uint16_t>(date.month),
                                    static_cast<std::uint16_t>(date.day), clock.hour, clock.minute, clock.second,
                                    static_cast<std::uint32_t>(fraction * (1'000'000'000 / units))});
}

}  // namespace

std::uint32_t staged_kind(Storage storage) {
  switch (storage) {
    case Storage::bits: return ZVRT_KIND_BOOL;
    case Storage::decimal256: return ZVRT_KIND_DECIMAL;
    case Storage::date_millis: return ZVRT_KIND_DAYS;
    case Storage::time_of_day: return ZVRT_KIND_TIME;
    case Storage::timestamp: return ZVRT_KIND_CLI_TIMESTAMP;
    default: return 0;
  }
}

Status stage(const ImportedColumn& column, std::int64_t element, bool cut, std::byte* cell) {
  const ArrowType& type = column.type();
  if (type.storage == Storage::bits) return stage_bit(column.values(), element, cell);
  const std::byte* const at = column.values() + element * type.width;
  if (type.storage == Storage::decimal256) return stage_decimal256(at, cell);
  const std::int64_t value = type.width == 4 ? load<std::int32_t>(at) : load<std::int64_t>(at);
  if (type.storage == Storage::date_millis) return stage_date_millis(value, cut, cell);
  if (type.storage == Storage::time_of_day) return stage_time(value, type.units, cut, cell);
  return stage_timestamp(value, type.units, cell);
}

}  // namespace zvrt::arrow
