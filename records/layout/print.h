// A layout for people and for programs.
#ifndef ZVRT_RECORDS_LAYOUT_PRINT_H
#define ZVRT_RECORDS_LAYOUT_PRINT_H

#include <string>

#include "records/layout/layout.h"

namespace zvrt::records {

// A table a record: every item in the copybook's order, indented as it stands in its groups, with its conditions.
std::string layout_as_text(const Layout& layout);

// An object a line, an item a line, in the copybook's order:
// {"record":"CUSTOMER","level":5,"name":"BALANCE","path":"CUSTOMER.ACCOUNT.BALANCE","picture":"S9(7)V99",
//  "usage":"COMP-3","offset":12,"length":5,"occurs":1,"occurs_min":1,"depends_on":null,"redefines":null,
//  "digits":9,"scale":2,"signed":true}
// A group has neither picture nor usage (null) and no digits (0). Conditions follow as
// "conditions":[{"name":"ACTIVE","values":[["A","A"]]}], the range of level 66 as "renames":["FROM","THROUGH"].
std::string layout_as_json(const Layout& layout);

}  // namespace zvrt::records

#endif
