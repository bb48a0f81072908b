// An entry belongs to the last one before it whose level is lower. Levels 01 and 77 begin a record; other top items
// stand together in a record named after the file.
#include "records/layout/tree.h"

#include <algorithm>

namespace zvrt::records {
namespace {

// orders/customer-master.cpy is CUSTOMER-MASTER.
std::string record_name(const std::string& file) {
  std::string name = file.substr(file.find_last_of("/\\") + 1);
  if (const std::size_t dot = name.rfind('.'); dot != 0 && dot != std::string::npos) name.resize(dot);
  for (char& c : name) {
    c = upper(c);
    if (!is_digit(c) && (c < 'A' || c > 'Z')) c = '-';
  }
  return name.empty() ? "RECORD" : name;
}

class TreeMaker {
 public:
  TreeMaker(const Entries& entries, const std::string& file) : entries_(entries), file_(file) {}

  Tree run() {
    for (const Entry& entry : entries_.list) {
      if (entry.level == 88)
        add_condition(entry);
      else if (entry.level == 66)
        add_item(entry, root_for_renames(entry));
      else if (entry.level == 1 || entry.level == 77)
        begin_record(entry);
      else
        add_item(entry, parent_of(entry));
    }
    if (tree_.records.empty()) fail(entries_.list.front().place, "the copybook has no item", "");
    return std::move(tree_);
  }

 private:
  void begin_record(const Entry& entry) {
    for (const Record& record : tree_.records)
      if (!record.has_entry)
        fail(entry.place, "items stand before the first 01",
             "put an 01 entry before them, or take the 01 entries away");
    tree_.records.push_back({entry.name, true, std::make_unique<Item>(), 0, 0});
    Item& root = *tree_.records.back().root;
    fill(entry, root);
    root.path = root.name;
  }

  // Without an 01 entry. Items after a 77 have no record to belong to.
  Item& made_up_root(const Entry& entry) {
    if (!tree_.records.empty())
      fail(entry.place, "level " + std::to_string(entry.level) + " stands after a level 77 or an 01 that has a picture",
           "put an 01 entry before it");
    const std::string name = record_name(file_);
    tree_.records.push_back({name, false, std::make_unique<Item>(), 0, 0});
    Item& root = *tree_.records.back().root;
    root.level = 1;
    root.name = root.path = name;
    root.place = entry.place;
    return root;
  }

  Item& parent_of(const Entry& entry) {
    Item* at = last_;
    while (at != nullptr && at->level >= entry.level) at = at->parent;
    if (at == nullptr && !tree_.records.empty() && !tree_.records.back().has_entry) return *tree_.records.back().root;
    if (at == nullptr || at->level == 77) return made_up_root(entry);
    return *at;
  }

  Item& root_for_renames(const Entry& entry) {
    if (tree_.records.empty()) fail(entry.place, "level 66 stands before the items that it renames", "");
    return *tree_.records.back().root;
  }

  void add_item(const Entry& entry, Item& parent) {
    auto item = std::make_unique<Item>();
    item->parent = &parent;
    item->path = parent.path + "." + entry.name;
    if (!parent.picture.text.empty() && entry.level != 66)
      fail(entry.place, entry.name + " is part of " + parent.name + ", which has a picture", "check the level numbers");
    fill(entry, *item);
    parent.children.push_back(std::move(item));
  }

  void fill(const Entry& entry, Item& item) {
    item.level = entry.level;
    item.name = entry.name;
    item.place = entry.place;
    item.justified = entry.justified;
    item.blank_when_zero = entry.blank_when_zero;
    item.synchronized = entry.synchronized;
    item.notes = entry.notes;
    if (entry.occurs) fill_occurs(entry, item);
    if (entry.picture) item.picture = picture_of(*entry.picture);
    if (entry.level != 66) last_ = &item;
    last_with_conditions_ = &item;
    tree_.nodes.push_back({&entry, &item, tree_.records.size() - 1});
  }

  void fill_occurs(const Entry& entry, Item& item) {
    if (entry.level == 77) fail(entry.occurs->place, "level 77 is no table", "");
    item.is_table = true;
    item.occurs = entry.occurs->most;
    item.occurs_min = entry.occurs->least;
    if (entry.occurs->depends_on) {
      item.depends_on_name = entry.occurs->depends_on->name;
    } else if (item.occurs_min != item.occurs) {
      fail(entry.occurs->place, "a table of variable length needs DEPENDING ON", "or write its greatest size alone");
    }
  }

  Picture picture_of(const PictureClause& clause) const {
    try {
      return parse_picture(clause.text);
    } catch (const PictureFault& fault) {
      fail({clause.place.line, clause.place.column + fault.at, clause.place.source},
           "picture " + clause.text + ": " + fault.message, fault.hint);
    }
  }

  void add_condition(const Entry& entry) {
    if (last_with_conditions_ == nullptr) fail(entry.place, "level 88 stands before any item", "");
    if (entry.values.empty()) fail(entry.place, "the condition " + entry.name + " has no VALUE", "");
    last_with_conditions_->conditions.push_back({entry.name, entry.values, entry.place});
  }

  [[noreturn]] void fail(Place place, const std::string& message, const std::string& hint) const {
    throw CopybookError(file_, place, message, hint);
  }

  const Entries& entries_;
  const std::string& file_;
  Tree tree_;
  Item* last_ = nullptr;
  Item* last_with_conditions_ = nullptr;
};

}  // namespace

Tree tree_of(const Entries& entries, const std::string& file) { return TreeMaker(entries, file).run(); }

}  // namespace zvrt::records
