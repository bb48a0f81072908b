#include "records/layout/slide.h"

#include <algorithm>

namespace zvrt::records {
namespace {

bool is_within(const Item* item, const Item* group) {
  while (item != nullptr && item != group) item = item->parent;
  return item != nullptr;
}

}  // namespace

const VariableTable* Slide::take(const ReadCount& read) {
  counts_.assign(columns_.tables.size(), 0);
  cuts_.clear();
  const VariableTable* wrong = nullptr;
  for (std::size_t k = 0; k < columns_.tables.size(); ++k) {
    const VariableTable& table = columns_.tables[k];
    const Item& item = *table.item;
    if (!has(table.entries)) continue;
    counts_[k] = item.occurs;
    if (item.depends_on == nullptr) continue;
    const std::optional<std::size_t> count =
        read(table, table.count_offset - moved(table.count_offset, *item.depends_on));
    if (!count || *count < item.occurs_min || *count > item.occurs) {
      if (wrong == nullptr) wrong = &table;
      continue;
    }
    counts_[k] = *count;
    if (shift_ && *count < item.occurs)
      cuts_.push_back({table.offset + *count * item.length, table.offset + item.total_length(), table.scope});
  }
  return wrong;
}

bool Slide::has(const std::vector<EntryOfTable>& entries) const {
  return std::all_of(entries.begin(), entries.end(),
                     [&](const EntryOfTable& entry) { return entry.entry <= counts_[entry.table]; });
}

std::size_t Slide::moved(std::size_t offset, const Item& item) const {
  std::size_t bytes = 0;
  for (const Cut& cut : cuts_)
    if (cut.end <= offset && is_within(&item, cut.scope)) bytes += cut.end - cut.begin;
  return bytes;
}

std::optional<std::size_t> Slide::offset_of(const Column& column) const {
  if (!has(column.entries)) return std::nullopt;
  return column.offset - moved(column.offset, *column.item);
}

// A meaning that ends the record and has tables of variable length decides where it ends.
std::size_t Slide::length_of(const Record& record) const {
  const Item* const root = record.root.get();
  std::size_t end = record.length;
  for (const VariableTable& table : columns_.tables)
    if (shift_ && table.scope != root && is_within(table.scope, root))
      end = table.scope->offset + table.scope->total_length();
  for (const Cut& cut : cuts_)
    if (is_within(cut.scope, root)) end -= cut.end - cut.begin;
  return end;
}

}  // namespace zvrt::records
