// Every item begins with its own name. As long as two items meet in a name, both take the name of one more group before
// theirs; the items of one group that are named alike (COBOL allows it where nothing refers to them) are numbered last.
#include "records/layout/column_names.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <unordered_map>

namespace zvrt::records {
namespace {

std::string table_name(const std::string& name) {
  std::string made = name;
  std::replace(made.begin(), made.end(), '-', '_');
  return made;
}

class Namer {
 public:
  Namer(std::vector<Column>& columns, const std::string& file) : columns_(columns), file_(file) {}

  void run() {
    for (const Column& column : columns_) names_.try_emplace(column.item, Name{own_name(*column.item), column.item, 0});
    while (lengthen(colliding_items())) continue;
    for (const Item* item : colliding_items()) number(*item);
    for (Column& column : columns_) column.name = name_of(column);
  }

 private:
  struct Name {
    std::string text;
    const Item* outermost = nullptr;  // the group whose name it begins with
    std::size_t number = 0;
  };

  static std::string own_name(const Item& item) {
    return item.notes.column ? item.notes.column->value : table_name(item.name);
  }

  std::string name_of(const Column& column) const {
    const Name& name = names_.at(column.item);
    std::string text = name.text;
    if (name.number != 0) text += fmt::format("__{}", name.number);
    for (const std::size_t subscript : column.subscripts) text += fmt::format("_{}", subscript);
    return text;
  }

  // Items that have a name, but for the case of its letters, that another item has; in their order.
  std::vector<const Item*> colliding_items() const {
    std::unordered_map<std::string, const Item*> owners;
    std::set<const Item*> found;
    std::vector<const Item*> ordered;
    const auto add = [&](const Item* item) {
      if (found.insert(item).second) ordered.push_back(item);
    };
    for (const Column& column : columns_) {
      const auto [owner, first] = owners.try_emplace(upper(name_of(column)), column.item);
      if (first || owner->second == column.item) continue;
      if (owner->second->notes.column && column.item->notes.column)
        throw CopybookError(file_, column.item->notes.column->place,
                            "two fields belong to the column '" + name_of(column) + "'", "name one of them otherwise");
      add(owner->second);
      add(column.item);
    }
    return ordered;
  }

  // Whether any of them took the name of another group.
  bool lengthen(const std::vector<const Item*>& items) {
    bool any = false;
    for (const Item* item : items) {
      if (item->notes.column) continue;
      Name& name = names_.at(item);
      const Item* group = name.outermost->parent;
      while (group != nullptr && group->is_filler()) group = group->parent;
      if (group == nullptr) continue;
      name.text = fmt::format("{}_{}", table_name(group->name), name.text);
      name.outermost = group;
      any = true;
    }
    return any;
  }

  void number(const Item& item) {
    if (item.notes.column) return;
    Name& name = names_.at(&item);
    name.number = ++numbers_[upper(name.text)];
  }

  std::vector<Column>& columns_;
  const std::string& file_;
  std::unordered_map<const Item*, Name> names_;
  std::unordered_map<std::string, std::size_t> numbers_;
};

}  // namespace

void name_columns(std::vector<Column>& columns, const std::string& file) { Namer(columns, file).run(); }

}  // namespace zvrt::records
