// Items by their names.
#ifndef ZVRT_RECORDS_LAYOUT_NAMES_H
#define ZVRT_RECORDS_LAYOUT_NAMES_H

#include <vector>

#include "records/layout/layout.h"

namespace zvrt::records {

using Matches = std::vector<const Item*>;

// All items of a record that `wanted` may mean: its name, and its qualifiers among the groups around it. Level 66 is not
// looked at.
Matches items_named(const Item& root, const Reference& wanted);

// Those of `matches` that share the innermost group with `item`.
Matches nearest(const Matches& matches, const Item& item);

}  // namespace zvrt::records

#endif
