// Walks each record once, entry after entry of its tables, with what holds around the item at hand.
#include "records/layout/columns.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <unordered_map>

#include "records/layout/column_names.h"
#include "records/layout/names.h"

namespace zvrt::records {
namespace {

constexpr std::size_t most_columns = 100'000;

bool repeats(const Item& item) { return item.occurs > 1; }

// The tables around an item, and the item itself if it is one; outermost first.
std::vector<const Item*> tables_around(const Item& item) {
  std::vector<const Item*> tables;
  for (const Item* at = &item; at != nullptr; at = at->parent)
    if (repeats(*at)) tables.push_back(at);
  std::reverse(tables.begin(), tables.end());
  return tables;
}

// An item by its subscripts.
using Occurrence = std::pair<const Item*, std::vector<std::size_t>>;

// The order of a vector's own `<` is not asked: on big-endian machines libstdc++ 12 compares the leading bytes of unsigned
// integers only.
struct Before {
  bool operator()(const Occurrence& one, const Occurrence& other) const {
    if (one.first != other.first) return std::less<>{}(one.first, other.first);
    return std::lexicographical_compare(one.second.begin(), one.second.end(), other.second.begin(), other.second.end());
  }
};

class ColumnMaker {
 public:
  ColumnMaker(const Layout& layout, const ColumnOptions& options) : layout_(layout), options_(options) {}

  Columns run() {
    choose_records();
    for (const Record* record : made_.records) {
      find_indicators(*record->root, *record->root);
      made_.length = std::max(made_.length, record->length);
    }
    std::vector<const Item*> roots;
    for (const Record* record : made_.records) roots.push_back(record->root.get());
    visit_meanings(roots, {});
    settle_indicators();
    name_columns(made_.list, layout_.file);
    return std::move(made_);
  }

 private:
  // What holds for an item's occurrence.
  struct Around {
    std::size_t moved = 0;  // of this occurrence from the first one
    std::vector<std::size_t> subscripts;
    std::vector<MeaningOfArea> meanings;
    std::vector<EntryOfTable> entries;
    const Item* scope = nullptr;
  };

  // Level 77 items are no record unless there is nothing else.
  void choose_records() {
    for (const Record& record : layout_.records)
      if (options_.record.empty() ? record.root->level == 1 : record.name == upper(options_.record))
        made_.records.push_back(&record);
    if (options_.record.empty() && made_.records.empty())
      for (const Record& record : layout_.records) made_.records.push_back(&record);
    if (!made_.records.empty()) return;
    for (const Record& record : layout_.records) choose_meaning(record, *record.root);
    if (made_.records.empty()) fail({1, 1}, "there is no record " + options_.record, "records are " + record_names());
  }

  void choose_meaning(const Record& record, const Item& item) {
    if (item.name == upper(options_.record) && (item.redefines != nullptr || is_redefined(item))) {
      if (!made_.records.empty()) fail(item.place, "there are two meanings " + item.name, "rename one of them");
      made_.records.push_back(&record);
      for (const Item* at = &item; at != nullptr; at = at->parent) chosen_.insert(at);
    }
    for (const auto& child : item.children) choose_meaning(record, *child);
  }

  static bool is_redefined(const Item& item) {
    if (item.parent == nullptr) return false;
    const auto& siblings = item.parent->children;
    return std::any_of(siblings.begin(), siblings.end(), [&](const auto& other) { return other->redefines == &item; });
  }

  std::string record_names() const {
    std::string names;
    for (const Record& record : layout_.records) names += fmt::format("{}{}", names.empty() ? "" : ", ", record.name);
    return names;
  }

  // `meanings` of one area; the only one is no choice.
  void visit_meanings(std::vector<const Item*> meanings, const Around& around) {
    if (meanings.size() > 1) meanings = taken(meanings);
    const bool is_area = meanings.size() > 1;
    const std::size_t area = made_.areas.size();
    if (is_area) made_.areas.push_back({meanings, around.subscripts, around.meanings});
    for (std::size_t k = 0; k < meanings.size(); ++k) {
      Around inside = around;
      if (is_area) inside.meanings.push_back({area, k});
      if (inside.scope == nullptr || meanings[k]->redefines != nullptr || is_redefined(*meanings[k]))
        inside.scope = meanings[k];
      visit_occurrences(*meanings[k], inside);
    }
  }

  // The chosen one, else those that have a column, or the first of these.
  std::vector<const Item*> taken(const std::vector<const Item*>& meanings) const {
    std::vector<const Item*> kept;
    for (const Item* meaning : meanings) {
      if (chosen_.contains(meaning)) {
        kept.assign(1, meaning);
        break;
      }
      if (has_column(*meaning) && (kept.empty() || !options_.first_meaning_only)) kept.push_back(meaning);
    }
    return kept;
  }

  bool has_column(const Item& item) const {
    if (!item.is_group()) return is_column(item);
    return std::any_of(item.children.begin(), item.children.end(),
                       [&](const auto& child) { return has_column(*child); });
  }

  bool is_column(const Item& item) const {
    return !item.is_renames() && (!item.is_filler() || item.notes.column) && !indicator_items_.contains(&item);
  }

  // A table of nothing but FILLER may have more entries than can be counted.
  bool is_worth_visiting(const Item& item) {
    const auto [known, is_new] = worth_visiting_.try_emplace(&item, false);
    if (!is_new) return known->second;
    bool worth = item.varies() || (!item.is_group() && (is_column(item) || indicator_items_.contains(&item)));
    for (const auto& child : item.children) worth = is_worth_visiting(*child) || worth;
    return worth_visiting_[&item] = worth;
  }

  void visit_occurrences(const Item& item, Around around) {
    const std::size_t start = around.moved;
    if (!is_worth_visiting(item)) return;
    if (item.varies()) around.entries.push_back({add_table(item, around), 1});
    if (repeats(item)) around.subscripts.push_back(1);
    for (std::size_t k = 1; k <= item.occurs; ++k) {
      if (item.varies()) around.entries.back().entry = k;
      if (repeats(item)) around.subscripts.back() = k;
      around.moved = start + (k - 1) * item.length;
      if (item.is_group())
        visit_parts(item, around);
      else
        add_column(item, around);
    }
  }

  void visit_parts(const Item& group, const Around& around) {
    for (const auto& child : group.children) {
      if (child->is_renames() || child->redefines != nullptr) continue;
      std::vector<const Item*> meanings(1, child.get());
      for (const auto& other : group.children)
        if (other->redefines == child.get()) meanings.push_back(other.get());
      visit_meanings(std::move(meanings), around);
    }
  }

  void add_column(const Item& item, const Around& around) {
    const bool indicator = indicator_items_.contains(&item);
    if (!indicator && !is_column(item)) return;
    if (made_.list.size() == most_columns) fail(item.place, "the record has more than 100000 columns", "");
    Column column;
    column.field = item.name;
    for (std::size_t k = 0; k < around.subscripts.size(); ++k)
      column.field += fmt::format("{}{}", k == 0 ? "(" : ",", around.subscripts[k]);
    if (!around.subscripts.empty()) column.field += ")";
    column.item = &item;
    column.subscripts = around.subscripts;
    column.offset = item.offset + around.moved;
    column.meanings = around.meanings;
    column.entries = around.entries;
    if (indicator) {
      column.name = column.field;
      places_of_indicators_[{&item, around.subscripts}] = made_.indicators.size();
      made_.indicators.push_back(std::move(column));
    } else {
      made_.list.push_back(std::move(column));
    }
  }

  std::size_t add_table(const Item& item, const Around& around) {
    VariableTable table;
    table.item = &item;
    table.subscripts = around.subscripts;
    table.offset = item.offset + around.moved;
    table.entries = around.entries;
    table.scope = around.scope;
    if (item.depends_on != nullptr) table.count_offset = count_offset(item, around);
    check_shift(item, table, around);
    if (made_.tables.size() == most_columns) fail(item.place, "the record has more than 100000 tables", "");
    made_.tables.push_back(std::move(table));
    return made_.tables.size() - 1;
  }

  // The count stands beside the table or around it: in the same entries of the tables around both.
  std::size_t count_offset(const Item& item, const Around& around) const {
    const Item& count = *item.depends_on;
    const std::vector<const Item*> of_count = tables_around(count);
    const std::vector<const Item*> of_table =
        item.parent == nullptr ? std::vector<const Item*>{} : tables_around(*item.parent);
    const bool beside =
        of_count.size() <= of_table.size() && std::equal(of_count.begin(), of_count.end(), of_table.begin());
    if (!beside || count.is_group())
      fail(item.place, count.name + ", on which " + item.name + " depends, is not one number", "");
    std::size_t offset = count.offset;
    for (std::size_t k = 0; k < of_count.size(); ++k) offset += (around.subscripts[k] - 1) * of_count[k]->length;
    return offset;
  }

  void check_shift(const Item& item, const VariableTable& table, const Around& around) {
    const auto cannot = [&](const std::string& why) {
      if (!made_.cannot_shift)
        made_.cannot_shift = CopybookError(layout_.files[item.place.source], item.place, why,
                                           "--odo max takes every table at its greatest size");
    };
    if (item.depends_on == nullptr)
      return cannot(item.depends_on_name + ", on which " + item.name + " depends, is not in the record");
    if (table.count_offset >= table.offset)
      return cannot(item.depends_on_name + " stands after " + item.name + ", which depends on it");
    const Item& scope = *around.scope;
    if (scope.parent == nullptr) return;
    const Item* root = &scope;
    while (root->parent != nullptr) root = root->parent;
    const bool last =
        !repeats(scope) && scope.offset + area_length(scope) == root->length && tables_around(*scope.parent).empty();
    if (!last || !around.meanings.empty()) cannot(item.name + " is part of " + scope.name + ", one meaning of several");
  }

  // Of the longest of the meanings that `meaning` is one of.
  static std::size_t area_length(const Item& meaning) {
    const Item* base = meaning.redefines != nullptr ? meaning.redefines : &meaning;
    std::size_t length = base->total_length();
    for (const auto& other : meaning.parent->children)
      if (other->redefines == base) length = std::max(length, other->total_length());
    return length;
  }

  void find_indicators(const Item& root, const Item& item) {
    for (const auto& child : item.children) find_indicators(root, *child);
    if (!item.notes.indicator) return;
    const Note& note = *item.notes.indicator;
    const Matches matches = items_named(root, {upper(note.value), {}, note.place});
    if (matches.size() != 1)
      fail(note.place, fmt::format("there {} {}", matches.empty() ? "is no item" : "are several items", note.value),
           "");
    const Item& indicator = *matches.front();
    const bool one_byte = indicator.usage == Usage::display && indicator.length == 1 &&
                          indicator.picture.category == Category::alphanumeric;
    if (!one_byte) fail(indicator.place, "an indicator is PIC X", "");
    if (!indicator_items_.insert(&indicator).second) fail(note.place, note.value + " is another field's indicator", "");
    const std::vector<const Item*> of_indicator = tables_around(indicator);
    const std::vector<const Item*> of_item = tables_around(item);
    if (of_indicator.size() > of_item.size() ||
        !std::equal(of_indicator.begin(), of_indicator.end(), of_item.begin())) {
      if (of_indicator.size() != of_item.size() || !alike(of_indicator, of_item))
        fail(note.place, note.value + " repeats otherwise than " + item.name, "give both the same OCCURS");
    }
  }

  // Two tables side by side of the same size: the k-th entry of one tells of the k-th of the other.
  static bool alike(const std::vector<const Item*>& a, const std::vector<const Item*>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const Item* x, const Item* y) { return x->occurs == y->occurs; });
  }

  void settle_indicators() {
    for (Column& column : made_.list) {
      if (!column.item->notes.indicator) continue;
      const Item* root = column.item;
      while (root->parent != nullptr) root = root->parent;
      const Item* indicator = items_named(*root, {upper(column.item->notes.indicator->value), {}, {}}).front();
      std::vector<std::size_t> subscripts = column.subscripts;
      subscripts.resize(tables_around(*indicator).size());
      const auto found = places_of_indicators_.find({indicator, subscripts});
      if (found == places_of_indicators_.end())
        fail(column.item->notes.indicator->place, indicator->name + " is part of another meaning", "");
      column.indicator = found->second;
    }
  }

  [[noreturn]] void fail(Place place, const std::string& message, const std::string& hint) const {
    throw CopybookError(layout_.files[place.source], place, message, hint);
  }

  const Layout& layout_;
  const ColumnOptions& options_;
  Columns made_;
  std::set<const Item*> chosen_;
  std::unordered_map<const Item*, bool> worth_visiting_;
  std::set<const Item*> indicator_items_;
  std::map<Occurrence, std::size_t, Before> places_of_indicators_;
};

}  // namespace

Columns columns_of(const Layout& layout, const ColumnOptions& options) { return ColumnMaker(layout, options).run(); }

}  // namespace zvrt::records
