#include "layout.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "copybook.h"

namespace record_exchange {
namespace {

constexpr std::size_t most_text = 32767;
constexpr std::size_t most_digits = 38;
constexpr std::size_t most_binary_digits = 18;
constexpr std::size_t most_record = 1 << 20;
constexpr std::size_t varnum_bytes = 22;
constexpr std::string_view default_table_date = "%YYYY-%MM-%DD";

// What a picture says: X(n), or digits with a sign and an implied point.
struct Picture {
  bool is_text = false;
  bool has_sign = false;
  std::size_t length = 0;
  std::size_t digits = 0;
  std::size_t scale = 0;
};

class Placer {
 public:
  Placer(std::vector<Entry> entries, const std::string& file) : entries_(std::move(entries)), file_(file) {}

  Layout run() {
    const Entry& record = entries_.front();
    layout_.name = record.name;
    read_record_options(record);
    for (const Entry& entry : entries_) {
      if (entry.level == record.level && &entry != &record) fail_at(file_, entry.place, "a second record begins here");
      note_indicator(entry);
    }
    place(0, entries_.size(), "", "");
    settle_indicators();
    if (layout_.fields.empty()) fail_at(file_, record.place, "the record has no field");
    check_columns();
    return std::move(layout_);
  }

 private:
  // Places the entries [first, past), which are what one group repeats.
  void place(std::size_t first, std::size_t past, const std::string& subscripts, const std::string& suffix) {
    while (first < past) {
      const Entry& entry = entries_[first];
      std::size_t end = first + 1;
      while (end < past && entries_[end].level > entry.level) ++end;
      const bool is_group = end > first + 1;
      if (is_group && !entry.picture.empty()) fail_at(file_, entry.picture_place, "a group has no picture");
      if (!is_group && entry.picture.empty())
        fail_at(file_, entry.place, fmt::format("{} has neither a picture nor fields", entry.name));
      for (std::size_t k = 1; k <= entry.occurs; ++k) {
        const bool repeated = entry.occurs > 1;
        const std::string inner =
            repeated ? fmt::format("{}{}{}", subscripts, subscripts.empty() ? "" : ",", k) : subscripts;
        const std::string inner_suffix = repeated ? fmt::format("{}_{}", suffix, k) : suffix;
        if (is_group)
          place(first + 1, end, inner, inner_suffix);
        else
          place_item(entry, inner, inner_suffix);
        if (layout_.record_length > most_record) fail_at(file_, entry.place, "the record is longer than 1 MiB");
      }
      first = end;
    }
  }

  void place_item(const Entry& entry, const std::string& subscripts, const std::string& suffix) {
    Field field;
    field.name = subscripts.empty() ? entry.name : fmt::format("{}({})", entry.name, subscripts);
    field.offset = layout_.record_length;
    describe(entry, field);
    layout_.record_length += field.length;
    if (indicator_names_.count(entry.name) != 0) {
      if (field.usage != Usage::text || field.length != 1) fail_at(file_, entry.picture_place, "an indicator is PIC X");
      indicator_offsets_[field.name] = field.offset;
      return;
    }
    check_option_names(entry);
    if (entry.name == "FILLER") return;
    field.column = column_of(entry) + suffix;
    read_null_policy(entry, field, subscripts);
    read_dates(entry, field);
    layout_.fields.push_back(std::move(field));
  }

  // Usage, digits and length of an item.
  void describe(const Entry& entry, Field& field) const {
    const Picture picture = parse_picture(entry);
    field.picture = entry.usage.empty() ? entry.picture : entry.picture + " " + entry.usage;
    field.has_sign = picture.has_sign;
    field.digits = picture.digits;
    field.scale = picture.scale;
    if (picture.is_text) {
      if (!entry.usage.empty()) fail_at(file_, entry.picture_place, "text is DISPLAY");
      const bool number = entry.options.count("number") != 0;
      if (number && picture.length != varnum_bytes) fail_at(file_, entry.picture_place, "a number is PIC X(22)");
      field.usage = number ? Usage::number : entry.options.count("date") != 0 ? Usage::date : Usage::text;
      if (number) field.picture = "NUMBER";
      field.length = picture.length;
    } else if (entry.usage == "COMP-3") {
      field.usage = Usage::packed;
      field.length = picture.digits / 2 + 1;
    } else if (entry.usage == "COMP") {
      if (picture.digits > most_binary_digits) fail_at(file_, entry.picture_place, "COMP has at most 18 digits");
      field.usage = Usage::binary;
      field.length = picture.digits <= 4 ? 2 : picture.digits <= 9 ? 4 : 8;
    } else {
      field.usage = Usage::zoned;
      field.length = picture.digits;
    }
  }

  Picture parse_picture(const Entry& entry) const {
    Picture picture;
    bool point = false;
    const std::string& text = entry.picture;
    for (std::size_t at = 0; at < text.size();) {
      const std::size_t symbol_at = at;
      const char symbol = text[at++];
      std::size_t count = 1;
      if (at < text.size() && text[at] == '(') {
        const char* const end = text.data() + text.size();
        const auto [stop, error] = std::from_chars(text.data() + at + 1, end, count);
        if (error != std::errc{} || stop == end || *stop != ')' || count == 0 || count > most_text)
          fail_in_picture(entry, at, "a count from 1 to 32767 and ')' are missing");
        at = static_cast<std::size_t>(stop - text.data()) + 1;
      }
      if (symbol == 'X' && picture.digits == 0 && !point && !picture.has_sign) {
        picture.is_text = true;
        picture.length += count;
      } else if (symbol == '9' && !picture.is_text) {
        picture.digits += count;
        if (point) picture.scale += count;
      } else if (symbol == 'S' && symbol_at == 0 && count == 1) {
        picture.has_sign = true;
      } else if (symbol == 'V' && !point && !picture.is_text && count == 1) {
        point = true;
      } else {
        fail_in_picture(entry, symbol_at, fmt::format("'{}' is not understood here", symbol));
      }
    }
    if (!picture.is_text && picture.digits == 0) fail_at(file_, entry.picture_place, "the picture has no digit");
    if (picture.digits > most_digits) fail_at(file_, entry.picture_place, "a number has at most 38 digits");
    if (picture.length > most_text) fail_at(file_, entry.picture_place, "a text has at most 32767 bytes");
    return picture;
  }

  [[noreturn]] void fail_in_picture(const Entry& entry, std::size_t at, const std::string& message) const {
    fail_at(file_, {entry.picture_place.line, entry.picture_place.column + at}, message);
  }

  void read_record_options(const Entry& record) {
    for (const auto& [key, option] : record.options) {
      if (key == "page") {
        const auto number = code_page_number(option.value);
        if (!number) fail_at(file_, option.place, fmt::format("'{}' is no code page", option.value));
        layout_.page.number = *number;
      } else if (key == "newline") {
        if (option.value != "nel" && option.value != "lf") fail_at(file_, option.place, "newline is nel or lf");
        layout_.page.kind = option.value == "lf" ? 'N' : '\0';
      } else if (!record.picture.empty()) {
        continue;  // a record of one field: its options are read with it
      } else {
        fail_at(file_, option.place, fmt::format("'{}' is no option of a record", key));
      }
    }
  }

  void check_option_names(const Entry& entry) const {
    static const std::set<std::string> known{"column",     "null",   "indicator", "date",
                                             "table-date", "number", "page",      "newline"};
    for (const auto& [key, option] : entry.options) {
      const bool of_record = key == "page" || key == "newline";
      if (known.count(key) == 0 || (of_record && &entry != &entries_.front()))
        fail_at(file_, option.place, fmt::format("'{}' is no option of a field", key));
      if (key == "table-date" && entry.options.count("date") == 0)
        fail_at(file_, option.place, "a field without a date has no table-date");
    }
  }

  std::string column_of(const Entry& entry) const {
    if (const auto found = entry.options.find("column"); found != entry.options.end()) return found->second.value;
    std::string column = entry.name;
    std::replace(column.begin(), column.end(), '-', '_');
    return column;
  }

  void note_indicator(const Entry& entry) {
    if (const auto found = entry.options.find("indicator"); found != entry.options.end())
      indicator_names_.insert(found->second.value);
  }

  void read_null_policy(const Entry& entry, Field& field, const std::string& subscripts) {
    static const std::map<std::string, NullPolicy> policies{
        {"blanks", NullPolicy::blanks}, {"zeros", NullPolicy::zeros}, {"low-values", NullPolicy::low_values}};
    const auto null = entry.options.find("null");
    const auto indicator = entry.options.find("indicator");
    if (null != entry.options.end()) {
      const auto policy = policies.find(null->second.value);
      if (policy == policies.end()) fail_at(file_, null->second.place, "null is blanks, zeros or low-values");
      if (indicator != entry.options.end())
        fail_at(file_, indicator->second.place, "a field with null has no indicator");
      field.null_policy = policy->second;
    } else if (indicator != entry.options.end()) {
      field.null_policy = NullPolicy::indicator;
      const std::string& name = indicator->second.value;
      wanted_indicators_.push_back({layout_.fields.size(),
                                    subscripts.empty() ? name : fmt::format("{}({})", name, subscripts),
                                    indicator->second.place});
    }
  }

  // Indicators may stand in front of their fields or behind them, so they are looked up when all are placed.
  void settle_indicators() {
    for (const auto& [index, name, at] : wanted_indicators_) {
      const auto found = indicator_offsets_.find(name);
      if (found == indicator_offsets_.end()) fail_at(file_, at, fmt::format("there is no item {}", name));
      if (found->second == taken) fail_at(file_, at, fmt::format("{} is another field's indicator", name));
      layout_.fields[index].indicator_offset = found->second;
      found->second = taken;
    }
  }

  void read_dates(const Entry& entry, Field& field) const {
    if (field.usage != Usage::date) return;
    field.date = model(entry.options.at("date"));
    const auto table = entry.options.find("table-date");
    field.table_date =
        table != entry.options.end() ? model(table->second) : std::make_shared<const DateModel>(default_table_date);
    // A fraction is a count in its element's unit: with another number of digits the same count is another time.
    const std::size_t digits = field.date->fraction_digits();
    const std::size_t table_digits = field.table_date->fraction_digits();
    if (digits != 0 && table_digits != 0 && digits != table_digits)
      fail_at(file_, entry.options.at("date").place, "both models need the same number of fraction digits");
  }

  std::shared_ptr<const DateModel> model(const Option& option) const {
    std::shared_ptr<const DateModel> made;
    try {
      made = std::make_shared<const DateModel>(option.value);
    } catch (const Failure& failure) {
      fail_at(file_, option.place, failure.what());
    }
    if (!made->readable()) fail_at(file_, option.place, "%M and %D can be written but not read: use %MM and %DD");
    return made;
  }

  void check_columns() const {
    std::set<std::string> seen;
    for (const Field& field : layout_.fields)
      if (!seen.insert(field.column).second)
        fail_at(file_, entries_.front().place, fmt::format("two fields belong to the column '{}'", field.column));
  }

  struct Wanted {
    std::size_t field;
    std::string name;
    Place place;
  };
  static constexpr std::size_t taken = ~std::size_t{0};

  const std::vector<Entry> entries_;
  const std::string& file_;
  Layout layout_;
  std::set<std::string> indicator_names_;
  std::map<std::string, std::size_t> indicator_offsets_;
  std::vector<Wanted> wanted_indicators_;
};

}  // namespace

Layout parse_layout(std::string_view text, const std::string& file) {
  return Placer(entries_of(tokens_of(text, file), file), file).run();
}

Layout read_layout(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  if (!file || !(text << file.rdbuf())) throw Failure(path + ": cannot be read");
  return parse_layout(text.str(), path);
}

}  // namespace record_exchange
