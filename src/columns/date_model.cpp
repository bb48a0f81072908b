#include "columns/date_model.h"

#include <bit>
#include <string_view>

namespace zvrt::columns {

namespace {

using enum DateElement;

struct Spelling {
  std::string_view letters;
  DateElement element;
  std::uint8_t width;
};

// By falling length where one begins another.
constexpr Spelling spellings[] = {
    {"YYYY", year, 4}, {"YY", year_of_century, 2}, {"MONTH", month_name, 0}, {"MMM", month_abbreviation, 3},
    {"MM", month, 2},  {"MI", minute, 2},          {"M", bare_month, 2},     {"DDD", day_of_year, 3},
    {"DD", day, 2},    {"D", bare_day, 2},         {"HH24", hour_24, 2},     {"HH", hour_12, 2},
    {"SS", second, 2}, {"PM", designator, 2},      {"C", century, 1},
};

constexpr std::int32_t max_fraction_digits = 9;
constexpr std::int64_t second_unit = 1'000'000'000;

bool begins_with(const wchar_t* text, std::string_view letters) {
  for (std::size_t i = 0; i < letters.size(); ++i) {
    const auto character = std::bit_cast<std::uint32_t>(text[i]);
    const std::uint32_t letter = static_cast<unsigned char>(letters[i]);
    const bool is_same =
        letter >= 'A' ? (character | 0x20) == (letter | 0x20) && character < 0x80 : character == letter;
    if (!is_same) return false;
  }
  return true;
}

// The element after a percent sign and how many characters name it; 0 where there is none.
std::int32_t find_element(const wchar_t* text, DateItem& item) {
  std::int32_t width = 0;
  while (width < max_fraction_digits && (text[width] == L'F' || text[width] == L'f')) ++width;
  if (width > 0) {
    item = {fraction, static_cast<std::uint8_t>(width), 0};
    return width;
  }
  for (const Spelling& spelling : spellings) {
    if (!begins_with(text, spelling.letters)) continue;
    item = {spelling.element, spelling.width, 0};
    return static_cast<std::int32_t>(spelling.letters.size());
  }
  return 0;
}

constexpr std::uint32_t bit(DateElement element) { return UINT32_C(1) << static_cast<unsigned>(element); }

template <class... Elements>
constexpr std::uint32_t bits(Elements... elements) {
  return (bit(elements) | ...);
}

// Elements of which a model has at most one.
constexpr std::uint32_t exclusive[] = {
    bits(year, year_of_century),
    bits(month, bare_month, month_name, month_abbreviation, day_of_year),
    bits(day, bare_day, day_of_year),
    bits(hour_24, hour_12),
    bits(minute),
    bits(second),
    bits(fraction),
    bits(designator),
    bits(century),
};

const char* add(DateModel& model, const DateItem& item) {
  if (model.count == DateModel::max_items) return "The model is too long.";
  model.items[static_cast<std::size_t>(model.count++)] = item;
  if (item.literal >= 0x80) model.is_ascii = false;
  if (item.element == literal) return nullptr;
  for (const std::uint32_t group : exclusive) {
    if ((group & bit(item.element)) != 0 && (group & model.elements) != 0) return "The model names something twice.";
  }
  model.elements |= bit(item.element);
  return nullptr;
}

const char* parse(const wchar_t* text, DateModel& model) {
  while (*text != 0) {
    DateItem item{literal, 1, static_cast<std::uint32_t>(*text)};
    std::int32_t length = 1;
    if (*text == L'%') {
      const std::int32_t letters = find_element(text + 1, item);
      if (letters == 0) return "The model has no such element after a percent sign.";
      length += letters;
    }
    if (const char* const reason = add(model, item); reason != nullptr) return reason;
    text += length;
  }
  return nullptr;
}

bool has_any(const DateModel& model, std::uint32_t elements) { return (model.elements & elements) != 0; }

const char* find_parts(DateModel& model) {
  const bool has_year = has_any(model, bits(year, year_of_century));
  const bool has_month = has_any(model, bits(month, bare_month, month_name, month_abbreviation, day_of_year));
  const bool has_day = has_any(model, bits(day, bare_day, day_of_year));
  const bool has_hour = has_any(model, bits(hour_24, hour_12));
  const bool has_date = has_year || has_month || has_day || model.has(century);
  if (has_date && !(has_year && has_month && has_day)) return "The model does not name a whole date.";
  if (model.has(century) && !model.has(year_of_century)) return "%C goes with %YY.";
  if (model.has(hour_12) != model.has(designator)) return "%HH and %PM go together.";
  if (model.has(minute) && !has_hour) return "The model has minutes without hours.";
  if (model.has(second) && !model.has(minute)) return "The model has seconds without minutes.";
  if (model.has(fraction) && !model.has(second)) return "The model has a fraction without seconds.";
  if (!has_date && !has_hour) return "The model names no date and no time.";
  model.parts = !has_hour ? Parts::date : has_date ? Parts::both : Parts::time;
  return nullptr;
}

void find_unit(DateModel& model) {
  model.unit = model.has(second) ? second_unit : model.has(minute) ? 60 * second_unit : 3600 * second_unit;
  for (std::int32_t i = 0; i < model.count; ++i) {
    const DateItem& item = model.items[static_cast<std::size_t>(i)];
    model.digits += item.width;
    if (item.element == fraction) model.fraction_digits = item.width;
  }
  for (std::int32_t i = 0; i < model.fraction_digits; ++i) model.unit /= 10;
}

const char* check_digits(const DateModel& model, const Type& type) {
  const std::uint32_t letters = bits(bare_month, month_name, month_abbreviation, bare_day, hour_12, designator);
  for (std::int32_t i = 0; i < model.count; ++i) {
    if (model.items[static_cast<std::size_t>(i)].element == literal) return "A model of digits has no literals.";
  }
  if (has_any(model, letters)) return "A model of digits has elements of a fixed number of digits only.";
  return model.digits <= type.precision && model.digits <= 18 ? nullptr : "The model has more digits than the slot.";
}

const char* compile(const wchar_t* text, const Type& type, DateModel& model) {
  if (const char* const reason = parse(text, model); reason != nullptr) return reason;
  if (const char* const reason = find_parts(model); reason != nullptr) return reason;
  model.first_year = type.first_year;
  if (model.has(year_of_century) && !model.has(century) && type.first_year == 0) {
    return "Two-digit years need the first year of their hundred.";
  }
  find_unit(model);
  return type.form == Form::decimal ? check_digits(model, type) : nullptr;
}

}  // namespace

Status compile_model(const wchar_t* text, const Type& type, DateModel& model, const char*& reason) {
  model = DateModel{};
  reason = compile(text, type, model);
  return reason == nullptr ? ZVRT_RC_OK : ZVRT_RC_INVALID_FORMAT;
}

bool is_about(DateElement element, Status status) {
  switch (status) {
    case ZVRT_RC_INVALID_YEAR: return element == year || element == year_of_century;
    case ZVRT_RC_INVALID_MONTH: return element == month || element == bare_month;
    case ZVRT_RC_INVALID_DAY: return element == day || element == bare_day || element == day_of_year;
    case ZVRT_RC_INVALID_HOUR: return element == hour_24 || element == hour_12;
    case ZVRT_RC_INVALID_MINUTE: return element == minute;
    case ZVRT_RC_INVALID_SECOND: return element == second;
    default: return false;
  }
}

void make_iso_model(Parts parts, std::int32_t fraction_digits, DateModel& model) {
  model = DateModel{};
  if (parts != Parts::time) parse(L"%YYYY-%MM-%DD", model);
  if (parts == Parts::both) parse(L" ", model);
  if (parts != Parts::date) parse(L"%HH24:%MI:%SS", model);
  if (fraction_digits > 0) {
    add(model, {literal, 1, '.'});
    add(model, {fraction, static_cast<std::uint8_t>(fraction_digits), 0});
  }
  find_parts(model);
  find_unit(model);
}

}  // namespace zvrt::columns
