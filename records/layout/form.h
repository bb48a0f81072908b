// What an item holds, and in how many bytes: its usage and sign, its own or its group's, with its picture.
#ifndef ZVRT_RECORDS_LAYOUT_FORM_H
#define ZVRT_RECORDS_LAYOUT_FORM_H

#include <string>

#include "records/layout/tree.h"

namespace zvrt::records {

// Gives every item that has no parts its usage, digits, sign and length.
void settle_forms(Tree& tree, const std::string& file, BinarySizes sizes);

}  // namespace zvrt::records

#endif
