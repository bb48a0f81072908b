// Narrow text in whatever encoding a field names: UTF-8 by the library's own transforms, anything else by the service.
#pragma once

#include <cstddef>

#include "core/kinds.h"
#include "encoding/code_page.h"
#include "encoding/transforms.h"

namespace zvrt {

TranscodeResult decode_by_service(const FldDef* fldDef, Text<char> text, Destination<Wide> destination);

inline TranscodeResult decode(const FldDef* fldDef, Text<char> text, Destination<Wide> destination) {
  if (!is_utf8(fldDef)) [[unlikely]]
    return decode_by_service(fldDef, text, destination);
  return utf8_to_wide(reinterpret_cast<const char*>(text.at), text.count, destination.at, destination.capacity);
}

// Of a truncated text the service does not report what it wrote; if that length is needed, finding it costs some more
// conversions.
enum class Written : bool { unimportant, exact };

// A zero character ends the text.
TranscodeResult encode_by_service(const FldDef* fldDef, Text<Wide> text, Destination<char> destination,
                                  Written written);

inline TranscodeResult encode(const FldDef* fldDef, Text<Wide> text, Destination<char> destination, Written written) {
  if (!is_utf8(fldDef)) [[unlikely]]
    return encode_by_service(fldDef, text, destination, written);
  return wide_to_utf8(text.at, text.count, reinterpret_cast<char*>(destination.at), destination.capacity);
}

// The same for terminated text, measured on the way where that is possible.
TerminatedResult decode_by_service(const FldDef* fldDef, const char* text, Destination<Wide> destination);
TerminatedResult encode_by_service(const FldDef* fldDef, const std::byte* text, Destination<char> destination,
                                   Written written);

inline TerminatedResult decode_terminated(const FldDef* fldDef, const std::byte* text, Destination<Wide> destination) {
  const char* src = reinterpret_cast<const char*>(text);
  if (!is_utf8(fldDef)) [[unlikely]]
    return decode_by_service(fldDef, src, destination);
  return terminated_utf8_to_wide(src, destination.at, destination.capacity);
}

inline TerminatedResult encode_terminated(const FldDef* fldDef, const std::byte* text, Destination<char> destination,
                                          Written written) {
  if (!is_utf8(fldDef)) [[unlikely]]
    return encode_by_service(fldDef, text, destination, written);
  return terminated_wide_to_utf8(text, reinterpret_cast<char*>(destination.at), destination.capacity);
}

}  // namespace zvrt
