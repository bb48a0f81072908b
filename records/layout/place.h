// Where the items of a record stand.
#ifndef ZVRT_RECORDS_LAYOUT_PLACE_H
#define ZVRT_RECORDS_LAYOUT_PLACE_H

#include <string>

#include "records/layout/tree.h"

namespace zvrt::records {

// Looks up the names of REDEFINES, RENAMES and DEPENDING ON and gives every item its offset and length.
void settle_places(Tree& tree, const std::string& file, unsigned sync_boundary);

}  // namespace zvrt::records

#endif
