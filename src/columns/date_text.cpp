// Dates as text and as numbers of digits, by a compiled model.
//
// Reading is strict: every element has its full width, every literal stands where the model has it, and nothing is left
// over. Names and AM or PM may be in any case.
#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "columns/arena.h"
#include "columns/moments.h"
#include "datetime/elements.h"

namespace zvrt::columns {

namespace {

using enum DateElement;

constexpr std::int32_t hundred_years = 100;
constexpr std::int32_t first_century = 1900;

std::uint32_t fold(std::uint32_t character) {
  return character >= 'A' && character <= 'Z' ? character | 0x20 : character;
}

// Leading letters that stand there, in any case.
std::int64_t count_letters(const Text& text, std::int64_t at, std::string_view letters) {
  const auto size = std::min(text.count - at, static_cast<std::int64_t>(letters.size()));
  std::int64_t i = 0;
  while (i < size && fold(text[at + i]) == fold(static_cast<unsigned char>(letters[static_cast<std::size_t>(i)]))) ++i;
  return i;
}

// What the elements of a value say, before it is a date: the year of a century and the day of a year need others.
struct DateParts {
  Fields fields;
  std::int32_t century = -1;
  std::int32_t day_of_year = 0;
  bool is_afternoon = false;
};

// Takes over an element's number. ZVRT_RC_OK, or why it is none of the element.
Status take_number(const DateItem& item, std::uint32_t value, DateParts& parts) {
  Fields& fields = parts.fields;
  switch (item.element) {
    case year:
    case year_of_century: fields.year = static_cast<std::int32_t>(value); break;
    case century: parts.century = static_cast<std::int32_t>(value); break;
    case month:
    case bare_month: fields.month = value; break;
    case day:
    case bare_day: fields.day = value; break;
    case day_of_year: parts.day_of_year = static_cast<std::int32_t>(value); break;
    case hour_12:
      if (value < 1 || value > 12) return ZVRT_RC_INVALID_HOUR;
      fields.hour = value % 12;
      break;
    case hour_24: fields.hour = value; break;
    case minute: fields.minute = value; break;
    case second: fields.second = value; break;
    case fraction:
      fields.nanosecond = value;
      for (std::int32_t i = item.width; i < 9; ++i) fields.nanosecond *= 10;
      break;
    default: break;
  }
  return ZVRT_RC_OK;
}

// Two-digit years become whole ones, a day of the year a month and a day; then everything is in range or refused.
Status complete(const DateModel& model, DateParts& parts, Moment& moment) {
  Fields& fields = parts.fields;
  if (model.has(year_of_century)) {
    if (model.has(century)) {
      fields.year += first_century + hundred_years * parts.century;
    } else {
      const std::int32_t beyond = (fields.year - model.first_year % hundred_years + hundred_years) % hundred_years;
      fields.year = model.first_year + beyond;
    }
  }
  if (parts.is_afternoon) fields.hour += 12;
  if (model.has(day_of_year)) {
    fields.month = 1;
    fields.day = 1;
    if (const Status status = check_fields(fields); status != ZVRT_RC_OK) return status;
    if (parts.day_of_year < 1 || parts.day_of_year > (is_leap_year(fields.year) ? 366 : 365))
      return ZVRT_RC_INVALID_DAY;
    moment = to_moment(fields);
    moment.days += parts.day_of_year - 1;
    return ZVRT_RC_OK;
  }
  if (const Status status = check_fields(fields); status != ZVRT_RC_OK) return status;
  moment = to_moment(fields);
  return ZVRT_RC_OK;
}

class DateReader {
 public:
  DateReader(const DateModel& model, const Text& text) : model_(model), text_(text) {}

  Status run(Moment& moment, Fault& fault) {
    for (std::int32_t i = 0; i < model_.count; ++i) {
      starts_[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(std::min<std::int64_t>(position_, UINT8_MAX));
      const Status status = read(model_.items[static_cast<std::size_t>(i)]);
      if (status != ZVRT_RC_OK) return refuse(status, position_, fault);
    }
    if (position_ != text_.count) return refuse(ZVRT_RC_INVALID_DATETIME, position_, fault);
    const Status status = complete(model_, parts_, moment);
    return status == ZVRT_RC_OK ? status : refuse(status, find_start(status), fault);
  }

 private:
  std::uint32_t peek() const { return position_ < text_.count ? text_[position_] : 0; }

  Status refuse(Status status, std::int64_t position, Fault& fault) const {
    fault = {.character = position, .unit = position < text_.count ? text_[position] : 0};
    return status;
  }

  std::int64_t find_start(Status status) const {
    for (std::int32_t i = 0; i < model_.count; ++i) {
      const auto k = static_cast<std::size_t>(i);
      if (is_about(model_.items[k].element, status)) return starts_[k];
    }
    return 0;
  }

  Status read(const DateItem& item) {
    switch (item.element) {
      case literal: return read_literal(item.literal);
      case month_name: return read_month(SIZE_MAX);
      case month_abbreviation: return read_month(item.width);
      case designator: return read_designator();
      case bare_month:
      case bare_day: return read_number(item, 1);
      default: return read_number(item, item.width);
    }
  }

  Status read_literal(std::uint32_t character) {
    if (position_ == text_.count || peek() != character) return ZVRT_RC_INVALID_DATETIME;
    ++position_;
    return ZVRT_RC_OK;
  }

  Status read_number(const DateItem& item, std::int32_t least) {
    const std::int64_t start = position_;
    std::uint32_t value = 0;
    std::int32_t count = 0;
    for (; count < item.width && peek() >= '0' && peek() <= '9'; ++count, ++position_)
      value = value * 10 + (peek() - '0');
    if (count < least) return ZVRT_RC_INVALID_DATETIME;
    const Status status = take_number(item, value, parts_);
    if (status != ZVRT_RC_OK) position_ = start;
    return status;
  }

  // Goes after the name that stands there, or to the first letter that is in none.
  template <class Names>
  std::size_t read_name(const Names& names, std::size_t letters) {
    std::int64_t longest = 0;
    std::size_t found = names.size();
    for (std::size_t i = 0; i < names.size() && found == names.size(); ++i) {
      const std::string_view name = names[i].substr(0, letters);
      const std::int64_t count = count_letters(text_, position_, name);
      longest = std::max(longest, count);
      if (count == static_cast<std::int64_t>(name.size())) found = i;
    }
    position_ += longest;
    return found;
  }

  Status read_month(std::size_t letters) {
    const std::size_t month = read_name(month_names, letters);
    parts_.fields.month = static_cast<std::uint32_t>(month) + 1;
    return month < month_names.size() ? ZVRT_RC_OK : ZVRT_RC_INVALID_DATETIME;
  }

  Status read_designator() {
    constexpr std::array<std::string_view, 2> designators = {"AM", "PM"};
    const std::size_t found = read_name(designators, 2);
    parts_.is_afternoon = found == 1;
    return found < designators.size() ? ZVRT_RC_OK : ZVRT_RC_INVALID_DATETIME;
  }

  const DateModel& model_;
  const Text& text_;
  std::int64_t position_ = 0;
  DateParts parts_;
  std::array<std::uint8_t, DateModel::max_items> starts_;
};

// The number that an element of digits shows.
std::uint32_t number_of(const DateItem& item, const Fields& fields, std::int64_t days) {
  switch (item.element) {
    case year: return static_cast<std::uint32_t>(fields.year);
    case year_of_century: return static_cast<std::uint32_t>(fields.year % hundred_years);
    case century: return static_cast<std::uint32_t>((fields.year - first_century) / hundred_years);
    case month:
    case bare_month: return fields.month;
    case day:
    case bare_day: return fields.day;
    case day_of_year: return static_cast<std::uint32_t>(days - days_of_date(fields.year, 1, 1)) + 1;
    case hour_24: return fields.hour;
    case hour_12: return (fields.hour + 11) % 12 + 1;
    case minute: return fields.minute;
    case second: return fields.second;
    case fraction: {
      std::int64_t value = fields.nanosecond;
      for (std::int32_t i = item.width; i < 9; ++i) value /= 10;
      return static_cast<std::uint32_t>(value);
    }
    default: return 0;
  }
}

// Makes a moment what the model can show: its unit, its hundred years.
Status fit_moment(const Type& type, Moment& moment, Fields& fields) {
  const DateModel& model = *type.model;
  const std::int64_t unit = model.parts == Parts::date ? nanoseconds_per_day : model.unit;
  if (const Status status = round_moment(moment, unit, type.rounding, model.parts); status != ZVRT_RC_OK) return status;
  fields = to_fields(moment);
  if (!model.has(year_of_century)) return ZVRT_RC_OK;
  const std::int32_t first = model.has(century) ? first_century : model.first_year;
  const std::int32_t years = model.has(century) ? 10 * hundred_years : hundred_years;
  return fields.year < first || fields.year >= first + years ? ZVRT_RC_INVALID_YEAR : ZVRT_RC_OK;
}

template <class Unit>
Unit* put_letters(Unit* at, std::string_view letters) {
  return std::transform(letters.begin(), letters.end(), at,
                        [](char c) { return static_cast<Unit>(static_cast<unsigned char>(c)); });
}

template <class Unit>
Unit* put_digits(Unit* at, std::uint32_t value, std::int32_t width) {
  for (std::int32_t i = width - 1; i >= 0; --i, value /= 10)
    at[i] = static_cast<Unit>('0' | static_cast<unsigned char>(value % 10));
  return at + width;
}

template <class Unit>
Unit* put_item(Unit* at, const DateItem& item, const Fields& fields, std::int64_t days) {
  const std::string_view name = month_names[fields.month - 1];
  const std::uint32_t number = number_of(item, fields, days);
  switch (item.element) {
    case literal: *at = static_cast<Unit>(item.literal); return at + 1;
    case month_name: return put_letters(at, name);
    case month_abbreviation: return put_letters(at, name.substr(0, item.width));
    case designator: return put_letters(at, fields.hour < 12 ? "AM" : "PM");
    case bare_month:
    case bare_day: return put_digits(at, number, number < 10 ? 1 : 2);
    default: return put_digits(at, number, item.width);
  }
}

// False: the block ends before the value.
template <class Unit>
bool put_moment(const DateModel& model, Block& block, std::int32_t i, const Fields& fields, std::int64_t days) {
  constexpr std::size_t longest_item = 9;
  std::byte* const out = room_for(block, i, static_cast<std::size_t>(model.count) * longest_item * sizeof(Unit));
  if (out == nullptr) return false;
  Unit* const begin = reinterpret_cast<Unit*>(out);
  Unit* at = begin;
  for (std::int32_t k = 0; k < model.count; ++k) {
    at = put_item(at, model.items[static_cast<std::size_t>(k)], fields, days);
  }
  block.arena->keep(out, static_cast<std::size_t>(at - begin) * sizeof(Unit));
  block.text[i] = {out, at - begin, sizeof(Unit) == 1, true};
  return true;
}

}  // namespace

void step_text_to_moment(const Type& from, const Type& /*to*/, Block& block) {
  for_each(block, [&](std::int32_t i) {
    const Text text = block.text[i];
    Moment moment{};
    Fault fault;
    const Status status = DateReader(*from.model, text).run(moment, fault);
    if (status != ZVRT_RC_OK) return block.refuse(i, status, fault);
    block.moment[i] = moment;
  });
}

void step_moment_to_text(const Type& /*from*/, const Type& to, Block& block) {
  const DateModel& model = *to.model;
  // Whatever the arena holds are texts that have become moments.
  block.arena->reset();
  for (std::int32_t i = 0; i < block.count; ++i) {
    if (block.is_refused(i)) continue;
    Moment moment = block.moment[i];
    Fields fields;
    if (const Status status = fit_moment(to, moment, fields); status != ZVRT_RC_OK) {
      block.refuse(i, status);
      continue;
    }
    const bool goes_on = model.is_ascii ? put_moment<char>(model, block, i, fields, moment.days)
                                        : put_moment<Wide>(model, block, i, fields, moment.days);
    if (!goes_on) return;
  }
}

void step_decimal_to_moment(const Type& from, const Type& /*to*/, Block& block) {
  constexpr Fault in_digits{.character = 0};  // which one, the status says
  const DateModel& model = *from.model;
  for_each(block, [&](std::int32_t i) {
    const Decimal number = block.decimal[i];
    const bool negative = number.negative && !number.magnitude.is_zero();
    if (negative || !fits_digits(number.magnitude, model.digits))
      return block.refuse(i, ZVRT_RC_INVALID_DATETIME, in_digits);
    DateParts parts;
    std::uint64_t rest = number.magnitude.word();
    Status status = ZVRT_RC_OK;
    for (std::int32_t k = model.count - 1; k >= 0; --k) {
      const DateItem& item = model.items[static_cast<std::size_t>(k)];
      const std::uint64_t power = power_of_ten(item.width).word();
      status = take_number(item, static_cast<std::uint32_t>(rest % power), parts);
      rest /= power;
    }
    Moment moment{};
    status = complete(model, parts, moment);
    if (status != ZVRT_RC_OK) return block.refuse(i, status, in_digits);
    block.moment[i] = moment;
  });
}

void step_moment_to_decimal(const Type& /*from*/, const Type& to, Block& block) {
  const DateModel& model = *to.model;
  for_each(block, [&](std::int32_t i) {
    Moment moment = block.moment[i];
    Fields fields;
    if (const Status status = fit_moment(to, moment, fields); status != ZVRT_RC_OK) return block.refuse(i, status);
    std::uint64_t value = 0;
    for (std::int32_t k = 0; k < model.count; ++k) {
      const DateItem& item = model.items[static_cast<std::size_t>(k)];
      value = value * power_of_ten(item.width).word() + number_of(item, fields, moment.days);
    }
    block.decimal[i] = {{value, 0}, 0, false, Tail::zero};
  });
}

}  // namespace zvrt::columns
