// The tree of a record's items, with the form and length of each that has no parts; places come later.
#ifndef ZVRT_RECORDS_LAYOUT_TREE_H
#define ZVRT_RECORDS_LAYOUT_TREE_H

#include <string>
#include <vector>

#include "records/layout/layout.h"

namespace zvrt::records {

// An item knows its clauses until all names are looked up.
struct TreeNode {
  const Entry* entry = nullptr;
  Item* item = nullptr;
  std::size_t record = 0;
};

struct Tree {
  std::vector<Record> records;
  std::vector<TreeNode> nodes;  // in the copybook's order, without level 88 and made-up roots
};

Tree tree_of(const Entries& entries, const std::string& file);

}  // namespace zvrt::records

#endif
