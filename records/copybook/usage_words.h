// The words of the USAGE clause.
#ifndef ZVRT_RECORDS_COPYBOOK_USAGE_WORDS_H
#define ZVRT_RECORDS_COPYBOOK_USAGE_WORDS_H

#include <optional>
#include <string_view>

#include "records/copybook/entry.h"

namespace zvrt::records {

// Nothing if `word` is none of them. BINARY-LONG and its like are signed; UNSIGNED after them is the reader's.
std::optional<UsageClause> usage_of(std::string_view word);

}  // namespace zvrt::records

#endif
