#include "records/layout/names.h"

namespace zvrt::records {
namespace {

bool is_within(const Item& item, const std::vector<std::string>& qualifiers) {
  const Item* at = &item;
  for (const std::string& qualifier : qualifiers) {
    do at = at->parent;
    while (at != nullptr && at->name != qualifier);
    if (at == nullptr) return false;
  }
  return true;
}

void collect(const Item& item, const Reference& wanted, Matches& matches) {
  if (item.is_renames()) return;
  if (item.name == wanted.name && is_within(item, wanted.qualifiers)) matches.push_back(&item);
  for (const auto& child : item.children) collect(*child, wanted, matches);
}

}  // namespace

Matches items_named(const Item& root, const Reference& wanted) {
  Matches matches;
  collect(root, wanted, matches);
  return matches;
}

Matches nearest(const Matches& matches, const Item& item) {
  for (const Item* group = item.parent; group != nullptr; group = group->parent) {
    Matches within;
    for (const Item* match : matches)
      for (const Item* at = match->parent; at != nullptr; at = at->parent)
        if (at == group) within.push_back(match);
    if (!within.empty()) return within;
  }
  return {};
}

}  // namespace zvrt::records
