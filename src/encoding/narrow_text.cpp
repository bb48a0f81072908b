#include "encoding/narrow_text.h"

#include <algorithm>

#include "encoding/converter_service.h"

namespace zvrt {

namespace {

// A service may be handed no more than it can count in bytes.
std::int32_t within_service(std::int32_t units) {
  constexpr std::int32_t most = INT32_MAX / 4;
  return std::min(units, most);
}

std::int32_t written_of(std::uint32_t count, std::int32_t room) {
  return static_cast<std::int32_t>(std::min(count, static_cast<std::uint32_t>(room)));
}

// The service tells what a truncated text needs, not what it wrote. That is the longest run of characters that fits,
// which lies where the shorter text just still converts whole; the last conversion leaves exactly it in the
// destination.
[[gnu::noinline]] std::int32_t encode_what_fits(const FldDef& field, Text<Wide> text, Place<char> place) {
  std::int32_t fits = 0;
  for (std::int32_t too_many = text.count; fits + 1 < too_many;) {
    const std::int32_t tried = fits + (too_many - fits) / 2;
    std::uint32_t bytes = 0;
    const Status status = service_encode(field, text.at, within_service(tried), place.at, place.room, &bytes);
    (status == ZVRT_RC_OK ? fits : too_many) = tried;
  }
  std::uint32_t written = 0;
  if (fits > 0) service_encode(field, text.at, within_service(fits), place.at, place.room, &written);
  return written_of(written, place.room);
}

// Inline in each of their two callers: on short text a frame more is felt.
inline Moved decode_counted(const FldDef& field, Text<char> text, Place<Wide> place) {
  std::uint32_t count = 0;
  const Status status = service_decode(field, text.at, text.count, place.at, place.room, &count);
  return {count, written_of(count, place.room), status};
}

inline Moved encode_counted(const FldDef& field, Text<Wide> text, Place<char> place, Written written) {
  std::uint32_t count = 0;
  const Status status = service_encode(field, text.at, within_service(text.count), place.at, place.room, &count);
  if (status == ZVRT_RC_TRUNCATED && written == Written::exact && count > static_cast<std::uint32_t>(place.room)) {
    return {count, encode_what_fits(field, text, place), status};
  }
  return {count, written_of(count, place.room), status};
}

}  // namespace

Moved decode_by_service(const FldDef* fldDef, Text<char> text, Place<Wide> place) {
  return decode_counted(*fldDef, text, place);
}

Moved encode_by_service(const FldDef* fldDef, Text<Wide> text, Place<char> place, Written written) {
  const std::int32_t length = length_within(static_cast<const void*>(text.at), text.count);
  return encode_counted(*fldDef, {text.at, length}, place, written);
}

Measured decode_by_service(const FldDef* fldDef, const char* text, Place<Wide> place) {
  const std::int32_t length = length_of(text);
  return {decode_counted(*fldDef, {reinterpret_cast<const std::byte*>(text), length}, place), length};
}

Measured encode_by_service(const FldDef* fldDef, const std::byte* text, Place<char> place, Written written) {
  const std::int32_t length = length_of(static_cast<const void*>(text));
  return {encode_counted(*fldDef, {text, length}, place, written), length};
}

}  // namespace zvrt
