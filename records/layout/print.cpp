#include "records/layout/print.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <vector>

namespace zvrt::records {
namespace {

using Json = nlohmann::ordered_json;

template <class Visit>
void visit_items(const Record& record, const Item& item, Visit&& visit) {
  if (&item != record.root.get() || record.has_entry) visit(item);
  for (const auto& child : item.children) visit_items(record, *child, visit);
}

std::string literal_text(const Literal& literal) {
  return fmt::format("{}{}", literal.all ? "ALL " : "", literal.text);
}

Json json_of_conditions(const Item& item) {
  Json conditions = Json::array();
  for (const Condition& condition : item.conditions) {
    Json values = Json::array();
    for (const auto& [low, high] : condition.values) values.push_back({literal_text(low), literal_text(high)});
    conditions.push_back({{"name", condition.name}, {"values", std::move(values)}});
  }
  return conditions;
}

Json text_or_null(const std::string& text) { return text.empty() ? Json(nullptr) : Json(text); }

Json json_of_item(const Record& record, const Item& item) {
  Json object{{"record", record.name},
              {"level", item.level},
              {"name", item.name},
              {"path", item.path},
              {"picture", text_or_null(item.picture.text)},
              {"usage", text_or_null(item.usage_word)},
              {"offset", item.offset},
              {"length", item.length},
              {"occurs", item.occurs},
              {"occurs_min", item.occurs_min},
              {"depends_on", text_or_null(item.depends_on_name)},
              {"redefines", text_or_null(item.redefines_name)},
              {"digits", item.digits},
              {"scale", item.scale},
              {"signed", item.is_signed}};
  if (!item.conditions.empty()) object["conditions"] = json_of_conditions(item);
  if (item.is_renames()) object["renames"] = Json{item.renames_from->name, item.renames_through->name};
  return object;
}

std::string occurs_text(const Item& item) {
  if (!item.is_table) return {};
  if (!item.varies()) return std::to_string(item.occurs);
  return fmt::format("{}-{} by {}", item.occurs_min, item.occurs, item.depends_on_name);
}

std::string remark_of(const Item& item) {
  std::string remark;
  const auto add = [&](const std::string& text) { remark += fmt::format("{}{}", remark.empty() ? "" : ", ", text); };
  if (!item.redefines_name.empty()) add("redefines " + item.redefines_name);
  if (item.is_renames()) add("renames " + item.renames_from->name);
  if (item.is_renames() && item.renames_from != item.renames_through) add("to " + item.renames_through->name);
  if (item.sign_leading || item.sign_separate)
    add(fmt::format("sign {}{}", item.sign_leading ? "leading" : "trailing", item.sign_separate ? " separate" : ""));
  if (item.slack_before != 0) add(fmt::format("{} slack before", item.slack_before));
  if (item.slack_after != 0) add(fmt::format("{} slack at the end", item.slack_after));
  return remark;
}

std::string value_text(const Literal& literal) {
  const std::string text = literal_text(literal);
  return literal.kind == Literal::Kind::text ? fmt::format("'{}'", text) : text;
}

std::string condition_text(const Condition& condition) {
  std::string text = condition.name + ":";
  for (const auto& [low, high] : condition.values) {
    const std::string from = value_text(low);
    const std::string to = value_text(high);
    text += from == to ? fmt::format(" {}", from) : fmt::format(" {} to {}", from, to);
  }
  return text;
}

std::size_t depth_of(const Record& record, const Item& item) {
  std::size_t depth = 0;
  for (const Item* at = item.parent; at != nullptr; at = at->parent) ++depth;
  return record.has_entry ? depth : depth - 1;
}

// Cells in columns of equal width; numbers to the right.
class Table {
 public:
  static constexpr std::size_t columns = 8;
  using Row = std::array<std::string, columns>;

  void add(Row row) {
    for (std::size_t k = 0; k < columns; ++k) width_[k] = std::max(width_[k], row[k].size());
    rows_.push_back(std::move(row));
  }

  std::string text() const {
    std::string text;
    for (const Row& row : rows_) {
      std::string line;
      for (std::size_t k = 0; k < columns; ++k) {
        const std::string blanks(width_[k] - row[k].size(), ' ');
        line += fmt::format("{}{}{}  ", is_number(k) ? blanks : "", row[k], is_number(k) ? "" : blanks);
      }
      while (!line.empty() && line.back() == ' ') line.pop_back();
      text += line + "\n";
    }
    return text;
  }

 private:
  static bool is_number(std::size_t column) { return column == 0 || column == 4 || column == 5; }

  std::array<std::size_t, columns> width_{};
  std::vector<Row> rows_;
};

}  // namespace

std::string layout_as_text(const Layout& layout) {
  std::string text;
  for (const Record& record : layout.records) {
    if (!text.empty()) text += "\n";
    text += fmt::format("{}: {} bytes", record.name, record.length);
    if (record.min_length != record.length) text += fmt::format(", at least {}", record.min_length);
    text += "\n";
    Table table;
    table.add({"level", "name", "picture", "usage", "offset", "length", "occurs", ""});
    visit_items(record, *record.root, [&](const Item& item) {
      const std::string indent(2 * depth_of(record, item), ' ');
      table.add({fmt::format("{:02}", item.level), indent + item.name, item.picture.text, item.usage_word,
                 std::to_string(item.offset), std::to_string(item.length), occurs_text(item), remark_of(item)});
      for (const Condition& condition : item.conditions)
        table.add({"88", fmt::format("{}  {}", indent, condition_text(condition)), "", "", "", "", "", ""});
    });
    text += table.text();
  }
  return text;
}

std::string layout_as_json(const Layout& layout) {
  std::string text;
  for (const Record& record : layout.records)
    visit_items(record, *record.root, [&](const Item& item) {
      // Names and literals may be in another code than UTF-8.
      text += json_of_item(record, item).dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
    });
  return text;
}

}  // namespace zvrt::records
