// The 12-hour clock, both ways.
#pragma once

#include <cstdint>

namespace zvrt {

enum class Meridiem : std::uint8_t { none, am, pm };

struct TwelveHour {
  std::int32_t hour;
  Meridiem half;
};

// Hours beyond the day, which only an unchecked record has, count on from 12.
constexpr TwelveHour twelve_hour(std::int32_t hour) {
  const Meridiem half = hour < 12 ? Meridiem::am : Meridiem::pm;
  if (hour == 0) return {12, half};
  return {hour > 12 ? hour - 12 : hour, half};
}

// Twelve is the start of its half of the day. Without a half the hour is taken as it stands.
constexpr std::int32_t hour_of_day(TwelveHour clock) {
  if (clock.half == Meridiem::none) return clock.hour;
  return (clock.hour == 12 ? 0 : clock.hour) + (clock.half == Meridiem::pm ? 12 : 0);
}

}  // namespace zvrt
