// Names for the columns of a record, each the only one of its kind.
#ifndef ZVRT_RECORDS_LAYOUT_COLUMN_NAMES_H
#define ZVRT_RECORDS_LAYOUT_COLUMN_NAMES_H

#include <string>
#include <vector>

#include "records/layout/columns.h"

namespace zvrt::records {

// Fills in the names of `columns`, by their items and subscripts.
void name_columns(std::vector<Column>& columns, const std::string& file);

}  // namespace zvrt::records

#endif
