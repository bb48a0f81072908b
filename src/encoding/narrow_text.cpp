#include "encoding/narrow_text.h"

#include <algorithm>

#include "ZVRTDataCnvLib.h"

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

Moved decode_counted(const FldDef* fldDef, Text<char> text, Place<Wide> place) {
  std::uint32_t count = 0;
  const Status status = ZVRT_MultiByteToWideChar(fldDef, text.at, text.count, place.at, place.room * 4, &count);
  return {count, static_cast<std::int32_t>(std::min(count, static_cast<std::uint32_t>(place.room))), status};
}

Moved encode_counted(const FldDef* fldDef, Text<Wide> text, Place<char> place, Written written) {
  std::uint32_t count = 0;
  const Status status =
      ZVRT_WideCharToMultiByte(fldDef, text.at, service_bytes(text.count), place.at, place.room, &count);
  if (status == ZVRT_RC_TRUNCATED && written == Written::exact) {
    return {count, encode_what_fits(fldDef, text, place), status};
  }
  return {count, static_cast<std::int32_t>(std::min(count, static_cast<std::uint32_t>(place.room))), status};
}

}  // namespace

Moved decode(const FldDef* fldDef, Text<char> text, Place<Wide> place) {
  if (!is_utf8(fldDef)) return decode_counted(fldDef, text, place);
  return utf8_to_wide(reinterpret_cast<const char*>(text.at), text.count, place.at, place.room);
}

Moved encode(const FldDef* fldDef, Text<Wide> text, Place<char> place, Written written) {
  if (!is_utf8(fldDef)) {
    const std::int32_t length = length_within(static_cast<const void*>(text.at), text.count);
    return encode_counted(fldDef, {text.at, length}, place, written);
  }
  return wide_to_utf8(text.at, text.count, reinterpret_cast<char*>(place.at), place.room);
}

Measured decode_by_service(const FldDef* fldDef, const char* text, Place<Wide> place) {
  const std::int32_t length = length_of(text);
  return {decode_counted(fldDef, {reinterpret_cast<const std::byte*>(text), length}, place), length};
}

Measured encode_by_service(const FldDef* fldDef, const std::byte* text, Place<char> place, Written written) {
  const std::int32_t length = length_of(static_cast<const void*>(text));
  return {encode_counted(fldDef, {text, length}, place, written), length};
}

}  // namespace zvrt
