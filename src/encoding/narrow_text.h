// Narrow text in whatever encoding a field names: UTF-8 by the library's own transforms, anything else by the service.
#pragma once

#include "core/kinds.h"
#include "encoding/code_page.h"
#include "encoding/transforms.h"

namespace zvrt {

Moved decode_by_service(const FldDef* fldDef, Text<char> text, Place<Wide> place);

inline Moved decode(const FldDef* fldDef, Text<char> text, Place<Wide> place) {
  if (!is_utf8(fldDef)) [[unlikely]]
    return decode_by_service(fldDef, text, place);
  return utf8_to_wide(reinterpret_cast<const char*>(text.at), text.count, place.at, place.room);
}

// A truncating service does not tell what it wrote; where the length written has to be known, finding it costs some
// more conversions.
enum class Written : bool { unimportant, exact };

// A zero character ends the text.
Moved encode_by_service(const FldDef* fldDef, Text<Wide> text, Place<char> place, Written written);

inline Moved encode(const FldDef* fldDef, Text<Wide> text, Place<char> place, Written written) {
  if (!is_utf8(fldDef)) [[unlikely]]
    return encode_by_service(fldDef, text, place, written);
  return wide_to_utf8(text.at, text.count, reinterpret_cast<char*>(place.at), place.room);
}

// The same for terminated text, measured on the way where that is possible.
Measured decode_by_service(const FldDef* fldDef, const char* text, Place<Wide> place);
Measured encode_by_service(const FldDef* fldDef, const std::byte* text, Place<char> place, Written written);

inline Measured decode_terminated(const FldDef* fldDef, const std::byte* text, Place<Wide> place) {
  const char* src = reinterpret_cast<const char*>(text);
  if (!is_utf8(fldDef)) [[unlikely]]
    return decode_by_service(fldDef, src, place);
  return terminated_utf8_to_wide(src, place.at, place.room);
}

inline Measured encode_terminated(const FldDef* fldDef, const std::byte* text, Place<char> place, Written written) {
  if (!is_utf8(fldDef)) [[unlikely]]
    return encode_by_service(fldDef, text, place, written);
  return terminated_wide_to_utf8(text, reinterpret_cast<char*>(place.at), place.room);
}

}  // namespace zvrt
