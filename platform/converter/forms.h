// The functions that convert the texts of each form. Statuses and counts are those of ZVRTICULib.h.
#ifndef ZVRT_CONVERTER_FORMS_H
#define ZVRT_CONVERTER_FORMS_H

#include "page_tables.h"
#include "text.h"

namespace zvrt {

using Decode = Outcome (*)(const Page& page, Bytes source, WideDestination destination);
using Encode = Outcome (*)(const Page& page, WideText source, ByteDestination destination);

struct Conversions {
  Decode decode;
  Encode encode;
};

extern const Conversions single_byte_conversions;
extern const Conversions double_byte_conversions;
extern const Conversions multi_byte_conversions;
extern const Conversions gb18030_conversions;
extern const Conversions stateful_conversions;
extern const Conversions utf8_conversions;
extern const Conversions cesu8_conversions;
extern const Conversions utf16_conversions;
extern const Conversions utf32_conversions;

}  // namespace zvrt

#endif
