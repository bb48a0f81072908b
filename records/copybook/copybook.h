// From a copybook's text to its entries.
#ifndef ZVRT_RECORDS_COPYBOOK_COPYBOOK_H
#define ZVRT_RECORDS_COPYBOOK_COPYBOOK_H

#include <string>
#include <string_view>
#include <vector>

#include "records/copybook/copying.h"
#include "records/copybook/entry.h"
#include "records/copybook/replacing.h"

namespace zvrt::records {

enum class SourceFormat {
  automatic,  // the first form that reads without a fault: fixed, fixed with looser columns, free
  fixed,
  free,
};

struct CopybookOptions {
  SourceFormat format = SourceFormat::automatic;
  std::vector<Replacement> replacing;
  FindCopy find_copy;  // empty: no other copybook is ever found
};

// Throws a CopybookError: of the form that its lines look like, where no form fits.
Entries read_entries(std::string_view text, const std::string& file, const CopybookOptions& options);

}  // namespace zvrt::records

#endif
