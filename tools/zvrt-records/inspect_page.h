// A page that shows a record file: its layout, the bytes of its first and its refused records, and how each field fares.
// It stands alone: no script, and nothing that is loaded from elsewhere.
#ifndef ZVRT_TOOLS_ZVRT_RECORDS_INSPECT_PAGE_H
#define ZVRT_TOOLS_ZVRT_RECORDS_INSPECT_PAGE_H

#include "look.h"

namespace zvrt::records {

std::string inspection_page(const Job& job, const std::string& findings, const Look& look);

}  // namespace zvrt::records

#endif
