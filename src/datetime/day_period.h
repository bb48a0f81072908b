// The 12-hour clock, both ways.
#pragma once

#include <cstdint>

namespace zvrt {

enum class DayPeriod : std::uint8_t { none, am, pm };

struct TwelveHour {
  std::int32_t hour;
  DayPeriod period;
};

// Both ways without a branch: whether a column's next value is before or after noon is not predictable.

// An hour above 23, which only an unvalidated record has, gives the hour less 12.
constexpr TwelveHour twelve_hour(std::int32_t hour) {
  const std::int32_t twelve_at_midnight = 12 * static_cast<std::int32_t>(hour == 0);
  const std::int32_t past_noon = 12 * static_cast<std::int32_t>(hour > 12);
  return {hour + twelve_at_midnight - past_noon, hour < 12 ? DayPeriod::am : DayPeriod::pm};
}

// 12 AM is 0 and 12 PM is 12. Without a day period the hour is taken as AM.
constexpr std::int32_t hour_of_day(TwelveHour clock) {
  const std::int32_t start = 12 * static_cast<std::int32_t>(clock.period == DayPeriod::pm);
  return clock.hour - 12 * static_cast<std::int32_t>(clock.hour == 12) + start;
}

}  // namespace zvrt
