// Narrow text in whatever encoding a field names: UTF-8 by the library's own transforms, anything else by the service.
#pragma once

#include "encoding/transforms.h"
#include "frame/kinds.h"

namespace zvrt {

Moved decode(const FldDef* fldDef, Text<char> text, Place<Wide> place);

// A truncating service does not tell what it wrote; where the length written has to be known, finding it costs some
// more conversions.
enum class Written : bool { unimportant, exact };

// A zero character ends the text.
Moved encode(const FldDef* fldDef, Text<Wide> text, Place<char> place, Written written);

// The same for terminated text, measured on the way where that is possible.
Measured decode_terminated(const FldDef* fldDef, const std::byte* text, Place<Wide> place);
Measured encode_terminated(const FldDef* fldDef, const std::byte* text, Place<char> place, Written written);

}  // namespace zvrt
