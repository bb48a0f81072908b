// VALUE clauses: literals, figurative constants and ranges.
#ifndef ZVRT_RECORDS_COPYBOOK_VALUES_H
#define ZVRT_RECORDS_COPYBOOK_VALUES_H

#include <vector>

#include "records/copybook/token_reader.h"

namespace zvrt::records {

// What follows VALUE IS. A condition has any number of values and ranges, an item one value.
std::vector<ValueRange> read_values(TokenReader& in, bool of_condition);

}  // namespace zvrt::records

#endif
