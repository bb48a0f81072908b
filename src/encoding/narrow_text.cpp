#include "encoding/narrow_text.h"

#include <algorithm>

#include "ZVRTDataCnvLib.h"
#include "encoding/code_page.h"

namespace zvrt {

namespace {

// A service may be handed no more than it can count in bytes.
std::int32_t service_bytes(std::int32_t units) {
  constexpr std::int32_t most = INT32_MAX / 4;
  return std::min(units, most) * 4;
}

// The service tells what a truncated text needs, not what it wrote. That is the longest run of characters that fits,
// which lies where the shorter text just still converts whole; the last conversion leaves exactly it in the
// destination.
std::int32_t encode_what_fits(const FldDef* fldDef, Text<Wide> text, Place<char> place) {
  std::int32_t fits = 0;
  for (std::int32_t too_many = text.count; fits + 1 < too_many;) {
    const std::int32_t tried = fits + (too_many - fits) / 2;
    std::uint32_t bytes = 0;
    const Status status = ZVRT_WideCharToMultiByte(fldDef, text.at, service_bytes(tried), place.at, place.room, &bytes);
    (status == ZVRT_RC_OK ? fits : too_many) = tried;
  }
  std::uint32_t written = 0;
  if (fits > 0) ZVRT_WideCharToMultiByte(fldDef, text.at, service_bytes(fits), place.at, place.room, &written);
  return static_cast<std::int32_t>(std::min(written, static_cast<std::uint32_t>(place.room)));
}

}  // namespace

Moved decode(const FldDef* fldDef, Text<char> text, Place<Wide> place) {
  const char* src = reinterpret_cast<const char*>(text.at);
  if (is_utf8(fldDef)) return utf8_to_wide(src, text.count, place.at, place.room);
  std::uint32_t count = 0;
  const Status status = ZVRT_MultiByteToWideChar(fldDef, src, text.count, place.at, place.room * 4, &count);
  return {count, static_cast<std::int32_t>(std::min(count, static_cast<std::uint32_t>(place.room))), status};
}

Moved encode(const FldDef* fldDef, Text<Wide> text, Place<char> place, Written written) {
  char* dst = reinterpret_cast<char*>(place.at);
  if (is_utf8(fldDef)) return wide_to_utf8(text.at, text.count, dst, place.room);
  std::uint32_t count = 0;
  const Status status = ZVRT_WideCharToMultiByte(fldDef, text.at, service_bytes(text.count), dst, place.room, &count);
  if (status == ZVRT_RC_TRUNCATED && written == Written::exact) {
    return {count, encode_what_fits(fldDef, text, place), status};
  }
  return {count, static_cast<std::int32_t>(std::min(count, static_cast<std::uint32_t>(place.room))), status};
}

}  // namespace zvrt
