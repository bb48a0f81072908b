#include "dates.h"

#include <algorithm>
#include <map>
#include <vector>

namespace zvrt_reference {
namespace {

// An element's name with its percent sign, or one literal character.
using Item = std::wstring;

std::vector<Item> split(const std::wstring& model) {
  static const std::wstring elements[] = {L"YYYY",   L"YY",    L"MONTH", L"MMM",       L"MM",       L"MI",
                                          L"M",      L"DDD",   L"DD",    L"D",         L"HH24",     L"HH",
                                          L"SS",     L"PM",    L"C",     L"FFFFFFFFF", L"FFFFFFFF", L"FFFFFFF",
                                          L"FFFFFF", L"FFFFF", L"FFFF",  L"FFF",       L"FF",       L"F"};
  std::vector<Item> items;
  for (std::size_t at = 0; at < model.size();) {
    std::wstring best;
    for (const std::wstring& element : elements) {
      const bool is_here = model[at] == L'%' && model.compare(at + 1, element.size(), element) == 0;
      if (is_here && element.size() > best.size()) best = element;
    }
    items.push_back(best.empty() ? model.substr(at, 1) : L"%" + best);
    at += items.back().size();
  }
  return items;
}

std::size_t width_of(const Item& item) {
  if (item == L"%C") return 1;
  if (item == L"%DDD") return 3;
  if (item == L"%YYYY") return 4;
  return item.starts_with(L"%F") ? item.size() - 1 : 2;
}

const char32_t* const months[] = {U"January", U"February", U"March",     U"April",   U"May",      U"June",
                                  U"July",    U"August",   U"September", U"October", U"November", U"December"};

std::u32string lower(std::u32string text) {
  for (char32_t& c : text) c = c >= U'A' && c <= U'Z' ? c + 32 : c;
  return text;
}

// What a text says, by element.
using Parts = std::map<Item, std::int64_t>;

// Characters of the best of some words that stand there; false when none stands there in full.
bool read_word(const std::u32string& rest, const std::vector<std::u32string>& words, std::size_t& at,
               std::size_t& chosen) {
  std::size_t most = 0;
  for (chosen = 0; chosen < words.size(); ++chosen) {
    const std::u32string& word = words[chosen];
    std::size_t same = 0;
    while (same < word.size() && lower(rest.substr(0, same + 1)) == lower(word.substr(0, same + 1))) ++same;
    most = std::max(most, same);
    if (same == word.size()) break;
  }
  at += most;
  return chosen < words.size();
}

// Reads one item where the text goes on; false when it does not stand there.
bool read_item(const Item& item, const std::u32string& text, std::size_t& at, Parts& parts) {
  const std::u32string rest = text.substr(at);
  if (item.size() == 1) {
    const bool found = !rest.empty() && rest[0] == static_cast<char32_t>(item[0]);
    at += found ? 1 : 0;
    return found;
  }
  std::size_t chosen = 0;
  if (item == L"%MONTH" || item == L"%MMM") {
    std::vector<std::u32string> names(std::begin(months), std::end(months));
    for (std::u32string& name : names) name = name.substr(0, item == L"%MMM" ? 3 : std::u32string::npos);
    const bool found = read_word(rest, names, at, chosen);
    parts[L"%MM"] = static_cast<std::int64_t>(chosen) + 1;
    return found;
  }
  if (item == L"%PM") {
    const bool found = read_word(rest, {U"AM", U"PM"}, at, chosen);
    parts[item] = static_cast<std::int64_t>(chosen);
    return found;
  }
  const bool bare = item == L"%M" || item == L"%D";
  std::size_t count = 0;
  std::int64_t number = 0;
  while (count < width_of(item) && count < rest.size() && rest[count] >= U'0' && rest[count] <= U'9') {
    number = number * 10 + static_cast<std::int64_t>(rest[count++] - U'0');
  }
  at += count;
  if (count < (bare ? 1 : width_of(item))) return false;
  parts[item == L"%M" ? L"%MM" : item == L"%D" ? L"%DD" : item] = number;
  if (item.starts_with(L"%F")) parts[L"%F"] = number * power(10, static_cast<int>(9 - width_of(item))).get_si();
  return true;
}

std::uint32_t complete(const ZVRTType& type, Parts parts, Value& value) {
  const auto has = [&parts](const wchar_t* item) { return parts.contains(item); };
  value.has_date = has(L"%YYYY") || has(L"%YY");
  value.has_time = has(L"%HH24") || has(L"%HH");
  std::int64_t year = has(L"%YYYY") ? parts[L"%YYYY"] : 1970;
  if (has(L"%YY")) {
    year = has(L"%C") ? 1900 + 100 * parts[L"%C"] + parts[L"%YY"] : type.firstYear;
    while (!has(L"%C") && year % 100 != parts[L"%YY"]) ++year;
  }
  if (has(L"%HH")) parts[L"%HH24"] = parts[L"%HH"] % 12 + (parts[L"%PM"] == 1 ? 12 : 0);
  const std::int64_t month = has(L"%MM") ? parts[L"%MM"] : 1, day = has(L"%DD") ? parts[L"%DD"] : 1;
  if (year < 1 || year > 9999) return ZVRT_RC_INVALID_YEAR;
  if (month < 1 || month > 12) return ZVRT_RC_INVALID_MONTH;
  if (day < 1 || day > days_of(year, static_cast<unsigned>(month))) return ZVRT_RC_INVALID_DAY;
  if (parts[L"%HH24"] > 23) return ZVRT_RC_INVALID_HOUR;
  if (parts[L"%MI"] > 59) return ZVRT_RC_INVALID_MINUTE;
  if (parts[L"%SS"] > 59) return ZVRT_RC_INVALID_SECOND;
  value.days = value.has_date ? days_of_date({year, static_cast<unsigned>(month), static_cast<unsigned>(day)}) : 0;
  if (has(L"%DDD")) {
    if (parts[L"%DDD"] < 1 || parts[L"%DDD"] > (is_leap(year) ? 366 : 365)) return ZVRT_RC_INVALID_DAY;
    value.days += parts[L"%DDD"] - 1;
  }
  value.nanoseconds =
      ((parts[L"%HH24"] * 60 + parts[L"%MI"]) * 60 + parts[L"%SS"]) * nanoseconds_per_second + parts[L"%F"];
  return 0;
}

std::u32string digits(std::int64_t number, std::size_t width) {
  std::string text = std::to_string(number);
  text.insert(0, width > text.size() ? width - text.size() : 0, '0');
  return {text.begin(), text.end()};
}

}  // namespace

std::size_t digits_of(const std::wstring& model) {
  std::size_t count = 0;
  for (const Item& item : split(model)) count += width_of(item);
  return count;
}

std::uint32_t read_date(const ZVRTType& type, const std::wstring& model, const std::u32string& text, Value& value,
                        std::size_t* stopped) {
  Parts parts;
  std::map<Item, std::size_t> starts;
  std::size_t at = 0, ignored = 0;
  std::size_t& stop = stopped != nullptr ? *stopped : ignored;
  for (const Item& item : split(model)) {
    const std::size_t start = at;
    starts.try_emplace(item, start);
    if (!read_item(item, text, at, parts)) {
      stop = at;
      return ZVRT_RC_INVALID_DATETIME;
    }
    stop = start;
    if (item == L"%HH" && (parts[item] < 1 || parts[item] > 12)) return ZVRT_RC_INVALID_HOUR;
  }
  value = {};
  value.form = Form::moment;
  stop = at;
  if (at != text.size()) return ZVRT_RC_INVALID_DATETIME;
  const std::uint32_t status = complete(type, parts, value);
  static const std::multimap<std::uint32_t, Item> about = {
      {ZVRT_RC_INVALID_YEAR, L"%YYYY"}, {ZVRT_RC_INVALID_YEAR, L"%YY"},   {ZVRT_RC_INVALID_MONTH, L"%MM"},
      {ZVRT_RC_INVALID_MONTH, L"%M"},   {ZVRT_RC_INVALID_DAY, L"%DD"},    {ZVRT_RC_INVALID_DAY, L"%D"},
      {ZVRT_RC_INVALID_DAY, L"%DDD"},   {ZVRT_RC_INVALID_HOUR, L"%HH24"}, {ZVRT_RC_INVALID_MINUTE, L"%MI"},
      {ZVRT_RC_INVALID_SECOND, L"%SS"}};
  const auto [first, last] = about.equal_range(status);
  for (auto each = first; each != last; ++each) {
    if (starts.contains(each->second)) stop = starts[each->second];
  }
  return status;
}

std::uint32_t round_moment(Value& value, std::int64_t unit, Rule rule, bool has_date, bool has_time) {
  if (!has_time) {
    if (value.nanoseconds != 0 && rule != Rule::cut) return ZVRT_RC_FRACTION_LOST;
    value.nanoseconds = 0;
    return 0;
  }
  const std::optional<mpz_class> units =
      to_integer(mpq_class(static_cast<long>(value.nanoseconds)) / static_cast<long>(unit), rule);
  if (!units) return ZVRT_RC_FRACTION_LOST;
  value.nanoseconds = units->get_si() * unit;
  if (value.nanoseconds < nanoseconds_per_day) return 0;
  value.nanoseconds = 0;
  ++value.days;
  return has_date && value.days <= days_of_date({9999, 12, 31}) ? 0 : ZVRT_RC_OUT_OF_RANGE;
}

std::uint32_t write_date(const ZVRTType& type, const std::wstring& model, Rule rule, Value value,
                         std::u32string& text) {
  const std::vector<Item> items = split(model);
  const auto has = [&items](const wchar_t* item) { return std::find(items.begin(), items.end(), item) != items.end(); };
  std::int64_t unit = has(L"%SS") ? 1 : has(L"%MI") ? 60 : 3600;
  unit *= nanoseconds_per_second;
  for (const Item& item : items) {
    if (item.starts_with(L"%F")) unit = power(10, static_cast<int>(9 - width_of(item))).get_si();
  }
  const bool has_date = has(L"%YYYY") || has(L"%YY"), has_time = has(L"%HH24") || has(L"%HH");
  if (const std::uint32_t status = round_moment(value, unit, rule, has_date, has_time); status != 0) return status;
  const Calendar date = date_of_days(value.days);
  const std::int64_t first = has(L"%C") ? 1900 : type.firstYear, years = has(L"%C") ? 1000 : 100;
  if (has(L"%YY") && (date.year < first || date.year >= first + years)) return ZVRT_RC_INVALID_YEAR;
  const std::int64_t seconds = value.nanoseconds / nanoseconds_per_second, hour = seconds / 3600;
  const std::map<Item, std::int64_t> numbers = {
      {L"%YYYY", date.year},
      {L"%YY", date.year % 100},
      {L"%C", (date.year - 1900) / 100},
      {L"%MM", date.month},
      {L"%DD", date.day},
      {L"%DDD", value.days - days_of_date({date.year, 1, 1}) + 1},
      {L"%HH24", hour},
      {L"%HH", hour % 12 == 0 ? 12 : hour % 12},
      {L"%MI", seconds / 60 % 60},
      {L"%SS", seconds % 60},
  };
  text.clear();
  for (const Item& item : items) {
    const std::u32string name = months[date.month - 1];
    if (item.size() == 1) {
      text += static_cast<char32_t>(item[0]);
    } else if (item == L"%MONTH" || item == L"%MMM") {
      text += item == L"%MMM" ? name.substr(0, 3) : name;
    } else if (item == L"%PM") {
      text += hour < 12 ? U"AM" : U"PM";
    } else if (item == L"%M" || item == L"%D") {
      text += digits(item == L"%M" ? date.month : date.day, 1);
    } else if (item.starts_with(L"%F")) {
      text += digits(value.nanoseconds % nanoseconds_per_second / unit, width_of(item));
    } else {
      text += digits(numbers.at(item), width_of(item));
    }
  }
  return 0;
}

std::wstring iso_model(const ZVRTType& other) {
  bool has_date = other.kind != ZVRT_KIND_TIME && other.kind != ZVRT_KIND_CLI_TIME;
  bool has_time = other.kind != ZVRT_KIND_DATE && other.kind != ZVRT_KIND_CLI_DATE && other.kind != ZVRT_KIND_DAYS;
  std::size_t fraction = 0;
  if (other.kind == ZVRT_KIND_TIMESTAMP)
    fraction = static_cast<std::size_t>(other.scale == 0 ? 6 : std::max<int>(other.scale, 0));
  if (other.kind == ZVRT_KIND_CLI_TIMESTAMP) fraction = 9;
  if (other.kind == ZVRT_KIND_MICROS) fraction = 6;
  if (other.model != nullptr) {
    const std::wstring model = other.model;
    has_date = model.find(L"%YY") != std::wstring::npos;
    has_time = model.find(L"%HH") != std::wstring::npos;
    fraction = static_cast<std::size_t>(std::count(model.begin(), model.end(), L'F'));
  }
  std::wstring result = has_date ? L"%YYYY-%MM-%DD" : L"";
  if (has_time) result += has_date ? L" %HH24:%MI:%SS" : L"%HH24:%MI:%SS";
  return fraction == 0 ? result : result + L".%" + std::wstring(fraction, L'F');
}

}  // namespace zvrt_reference
