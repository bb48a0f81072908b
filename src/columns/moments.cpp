// Dates and times of the call interfaces, and counts since 1970.
#include "columns/moments.h"

#include <algorithm>
#include <cstring>

#include "columns/numbers.h"

namespace zvrt::columns {

namespace {

constexpr std::int64_t days_to_year(std::int64_t year) {  // from 0001-01-01
  const std::int64_t years = year - 1;
  return years * 365 + years / 4 - years / 100 + years / 400;
}
constexpr std::int64_t days_to_1970 = days_to_year(1970);
constexpr std::int64_t first_day = -days_to_1970;                          // 0001-01-01
constexpr std::int64_t last_day = days_to_year(10000) - 1 - days_to_1970;  // 9999-12-31

// Days before each month of a year that begins with March, whose length then does not matter for what comes before.
constexpr std::int32_t days_before_month(std::int32_t months_since_march) { return (153 * months_since_march + 2) / 5; }

std::int32_t days_in_month(std::int32_t year, std::uint32_t month) {
  constexpr std::uint8_t days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return days[month - 1] + (month == 2 && is_leap_year(year) ? 1 : 0);
}

std::int64_t power_of_ten_unit(std::int32_t digits) {
  std::int64_t unit = nanoseconds_per_second;
  for (; digits > 0; --digits) unit /= 10;
  return unit;
}

// What a structure's parts and the unit of its fraction are; 0 where it has none.
struct Layout {
  bool has_date;
  bool has_time;
  std::int64_t fraction_unit;

  explicit Layout(const Type& type)
      : has_date(type.parts != Parts::time),
        has_time(type.parts != Parts::date),
        fraction_unit(type.parts == Parts::both ? power_of_ten_unit(type.date_digits) : 0) {}
};

// Members one after the other: three of the date, three of the time, the fraction.
Fields load_fields(const Layout& layout, const std::byte* at, std::uint32_t& fraction) {
  Fields fields;
  const auto next = [&at] {
    const auto value = load<std::uint16_t>(at);
    at += sizeof value;
    return value;
  };
  if (layout.has_date) {
    fields.year = static_cast<std::int16_t>(next());
    fields.month = next();
    fields.day = next();
  }
  if (layout.has_time) {
    fields.hour = next();
    fields.minute = next();
    fields.second = next();
  }
  if (layout.fraction_unit != 0) fraction = load<std::uint32_t>(at);
  return fields;
}

void store_fields(const Type& type, const Layout& layout, const Fields& fields, std::byte* at) {
  std::memset(at, 0, static_cast<std::size_t>(type.length));
  const auto put = [&at](std::uint32_t value) {
    store(at, 0, static_cast<std::uint16_t>(value));
    at += sizeof(std::uint16_t);
  };
  if (layout.has_date) {
    put(static_cast<std::uint32_t>(fields.year));
    put(fields.month);
    put(fields.day);
  }
  if (layout.has_time) {
    put(fields.hour);
    put(fields.minute);
    put(fields.second);
  }
  if (layout.fraction_unit != 0) store(at, 0, static_cast<std::uint32_t>(fields.nanosecond / layout.fraction_unit));
}

// Where the member stands that a status refuses.
std::int64_t offset_of(const Layout& layout, Status status) {
  const std::int64_t time = layout.has_date ? 6 : 0;
  switch (status) {
    case ZVRT_RC_INVALID_MONTH: return 2;
    case ZVRT_RC_INVALID_DAY: return 4;
    case ZVRT_RC_INVALID_HOUR: return time;
    case ZVRT_RC_INVALID_MINUTE: return time + 2;
    case ZVRT_RC_INVALID_SECOND: return time + 4;
    case ZVRT_RC_INVALID_VALUE: return time + 6;
    default: return 0;
  }
}

Status read_structure(const Layout& layout, const std::byte* at, Moment& moment) {
  std::uint32_t fraction = 0;
  Fields fields = load_fields(layout, at, fraction);
  if (const Status status = check_fields(fields); status != ZVRT_RC_OK) return status;
  if (layout.fraction_unit != 0) {
    if (fraction >= nanoseconds_per_second / layout.fraction_unit) return ZVRT_RC_INVALID_VALUE;
    fields.nanosecond = fraction * layout.fraction_unit;
  }
  moment = to_moment(fields);
  return ZVRT_RC_OK;
}

template <class Integer>
Integer load_count(const std::byte* at, bool swapped) {
  const auto value = load<Integer>(at);
  if (!swapped) return value;
  return sizeof(Integer) == 4 ? static_cast<Integer>(__builtin_bswap32(static_cast<std::uint32_t>(value)))
                              : static_cast<Integer>(__builtin_bswap64(static_cast<std::uint64_t>(value)));
}

Moment since_1970(const Type& type, const std::byte* at) {
  constexpr std::int64_t per_day = 86'400'000'000;
  if (type.kind == ZVRT_KIND_DAYS) return {load_count<std::int32_t>(at, type.is_swapped()), 0};
  const auto count = load_count<std::int64_t>(at, type.is_swapped());
  const std::int64_t days = count / per_day - (count % per_day < 0 ? 1 : 0);
  return {days, (count - days * per_day) * 1000};
}

std::int64_t unit_of(const Type& type) {
  return type.parts == Parts::date ? nanoseconds_per_day : power_of_ten_unit(type.date_digits);
}

// Rounds each value to what the type shows and stores it.
template <class Store>
void write_moments(const Type& type, Block& block, Store store_moment) {
  const std::int64_t unit = unit_of(type);
  for_each(block, [&](std::int32_t i) {
    Moment moment = block.moment[i];
    const Status status = round_moment(moment, unit, type.rounding, type.parts);
    if (status != ZVRT_RC_OK) return block.refuse(i, status);
    store_moment(moment, block.slot[i]);
    block.length[i] = type.length;
  });
}

}  // namespace

bool is_leap_year(std::int32_t year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

std::int64_t days_of_date(std::int32_t year, std::uint32_t month, std::uint32_t day) {
  // Years that begin with March: the leap day is their last.
  const std::uint32_t shifted_year = static_cast<std::uint32_t>(year) - (month < 3 ? 1U : 0U);
  const std::int32_t months_since_march = static_cast<std::int32_t>(month) + (month < 3 ? 9 : -3);
  const std::uint32_t century = shifted_year / 100;
  const std::uint32_t days = shifted_year * 365 + shifted_year / 4 - century + century / 4 + day;
  constexpr std::int32_t days_to_march = 306;  // from 0000-03-01 to 0001-01-01
  return std::int64_t{days} + days_before_month(months_since_march) - 1 - days_to_march - days_to_1970;
}

Fields to_fields(const Moment& moment) {
  constexpr std::int64_t days_of_era = 146'097;                // 400 years
  const std::int64_t days = moment.days + days_to_1970 + 306;  // since 0000-03-01
  const std::int64_t era = days / days_of_era;
  const auto day_of_era = static_cast<std::int32_t>(days % days_of_era);
  const std::int32_t year_of_era = (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  const std::int32_t day_of_year = day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const std::int32_t months_since_march = (5 * day_of_year + 2) / 153;
  Fields fields;
  fields.month = static_cast<std::uint32_t>(months_since_march < 10 ? months_since_march + 3 : months_since_march - 9);
  fields.day = static_cast<std::uint32_t>(day_of_year - days_before_month(months_since_march) + 1);
  fields.year = static_cast<std::int32_t>(era) * 400 + year_of_era + (fields.month < 3 ? 1 : 0);
  const auto seconds = static_cast<std::uint32_t>(moment.nanoseconds / nanoseconds_per_second);
  fields.hour = seconds / 3600;
  fields.minute = seconds / 60 % 60;
  fields.second = seconds % 60;
  fields.nanosecond = moment.nanoseconds % nanoseconds_per_second;
  return fields;
}

Moment to_moment(const Fields& fields) {
  const std::int64_t seconds = (fields.hour * 60 + fields.minute) * 60 + fields.second;
  return {days_of_date(fields.year, fields.month, fields.day), seconds * nanoseconds_per_second + fields.nanosecond};
}

Status check_fields(const Fields& fields) {
  if (fields.year < 1 || fields.year > 9999) return ZVRT_RC_INVALID_YEAR;
  if (fields.month < 1 || fields.month > 12) return ZVRT_RC_INVALID_MONTH;
  const bool has_day =
      fields.day >= 1 && static_cast<std::int32_t>(fields.day) <= days_in_month(fields.year, fields.month);
  if (!has_day) return ZVRT_RC_INVALID_DAY;
  if (fields.hour > 23) return ZVRT_RC_INVALID_HOUR;
  if (fields.minute > 59) return ZVRT_RC_INVALID_MINUTE;
  return fields.second > 59 ? ZVRT_RC_INVALID_SECOND : ZVRT_RC_OK;
}

Status round_moment(Moment& moment, std::int64_t unit, Rounding rule, Parts parts) {
  const std::int64_t rest = moment.nanoseconds % unit;
  if (rest == 0) return ZVRT_RC_OK;
  if (rule == Rounding::exact || (unit == nanoseconds_per_day && rule != Rounding::cut)) return ZVRT_RC_FRACTION_LOST;
  moment.nanoseconds -= rest;
  const bool is_odd = moment.nanoseconds / unit % 2 != 0;
  const bool is_up = rule == Rounding::half_away ? 2 * rest >= unit : 2 * rest > unit || (2 * rest == unit && is_odd);
  if (rule == Rounding::cut || !is_up) return ZVRT_RC_OK;
  moment.nanoseconds += unit;
  if (moment.nanoseconds < nanoseconds_per_day) return ZVRT_RC_OK;
  moment.nanoseconds = 0;
  ++moment.days;
  return parts == Parts::time || moment.days > last_day ? ZVRT_RC_OUT_OF_RANGE : ZVRT_RC_OK;
}

void read_record(const Type& type, Block& block) {
  const Layout layout(type);
  for_each(block, [&](std::int32_t i) {
    const std::byte* const at = block.source[i].at;
    Moment moment{};
    const Status status = read_structure(layout, at, moment);
    if (status == ZVRT_RC_OK) {
      block.moment[i] = moment;
      return;
    }
    const std::int64_t offset = offset_of(layout, status);
    const std::uint32_t unit =
        status == ZVRT_RC_INVALID_VALUE ? load<std::uint32_t>(at + offset) : load<std::uint16_t>(at + offset);
    block.refuse(i, status, {.offset = offset, .unit = unit});
  });
}

void write_record(const Type& type, Block& block) {
  const Layout layout(type);
  write_moments(type, block,
                [&](const Moment& moment, std::byte* slot) { store_fields(type, layout, to_fields(moment), slot); });
}

void read_since_1970(const Type& type, Block& block) {
  for_each(block, [&](std::int32_t i) {
    const Moment moment = since_1970(type, block.source[i].at);
    if (moment.days < first_day || moment.days > last_day) {
      const auto first = static_cast<std::uint32_t>(*block.source[i].at);
      return block.refuse(i, ZVRT_RC_INVALID_YEAR, {.offset = 0, .unit = first});
    }
    block.moment[i] = moment;
  });
}

void write_since_1970(const Type& type, Block& block) {
  const bool swapped = type.is_swapped();
  write_moments(type, block, [&](const Moment& moment, std::byte* slot) {
    if (type.kind == ZVRT_KIND_DAYS) {
      const auto days = static_cast<std::uint32_t>(moment.days);
      return store(slot, 0, swapped ? __builtin_bswap32(days) : days);
    }
    const auto count = static_cast<std::uint64_t>(moment.days * 86'400'000'000 + moment.nanoseconds / 1000);
    store(slot, 0, swapped ? __builtin_bswap64(count) : count);
  });
}

}  // namespace zvrt::columns
