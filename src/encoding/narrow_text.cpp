#include "encoding/narrow_text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "encoding/converter_service.h"

namespace zvrt {

namespace {

// The service takes no more characters than 32 bits can count in bytes.
std::int32_t within_service(std::int32_t units) {
  constexpr std::int32_t max_units = INT32_MAX / 4;
  return std::min(units, max_units);
}

std::int32_t written_of(std::uint32_t count, std::int32_t capacity) {
  return static_cast<std::int32_t>(std::min(count, static_cast<std::uint32_t>(capacity)));
}

// Of a truncated text the service reports what it needs, not what it wrote. That is the longest prefix that fits, found
// by bisection; a last conversion leaves exactly that prefix in the destination.
[[gnu::noinline]] std::int32_t encode_what_fits(const FldDef& field, Text<Wide> text, Destination<char> destination) {
  std::int32_t fits = 0;
  for (std::int32_t too_many = text.count; fits + 1 < too_many;) {
    const std::int32_t tried = fits + (too_many - fits) / 2;
    std::uint32_t bytes = 0;
    const Status status =
        service_encode(field, text.at, within_service(tried), destination.at, destination.capacity, &bytes);
    (status == ZVRT_RC_OK ? fits : too_many) = tried;
  }
  std::uint32_t written = 0;
  if (fits > 0) service_encode(field, text.at, within_service(fits), destination.at, destination.capacity, &written);
  return written_of(written, destination.capacity);
}

// Inline in both callers: on short text one more call would be measurable.
inline TranscodeResult decode_counted(const FldDef& field, Text<char> text, Destination<Wide> destination) {
  std::uint32_t count = 0;
  const Status status = service_decode(field, text.at, text.count, destination.at, destination.capacity, &count);
  return {count, written_of(count, destination.capacity), status};
}

inline TranscodeResult encode_counted(const FldDef& field, Text<Wide> text, Destination<char> destination,
                                      Written written) {
  std::uint32_t count = 0;
  const Status status =
      service_encode(field, text.at, within_service(text.count), destination.at, destination.capacity, &count);
  if (status == ZVRT_RC_TRUNCATED && written == Written::exact &&
      count > static_cast<std::uint32_t>(destination.capacity)) {
    return {count, encode_what_fits(field, text, destination), status};
  }
  return {count, written_of(count, destination.capacity), status};
}

}  // namespace

TranscodeResult decode_by_service(const FldDef* fldDef, Text<char> text, Destination<Wide> destination) {
  return decode_counted(*fldDef, text, destination);
}

TranscodeResult encode_by_service(const FldDef* fldDef, Text<Wide> text, Destination<char> destination,
                                  Written written) {
  const std::int32_t length = length_within(static_cast<const void*>(text.at), text.count);
  return encode_counted(*fldDef, {text.at, length}, destination, written);
}

TerminatedResult decode_by_service(const FldDef* fldDef, const char* text, Destination<Wide> destination) {
  const std::int32_t length = length_of(text);
  return {decode_counted(*fldDef, {reinterpret_cast<const std::byte*>(text), length}, destination), length};
}

TerminatedResult encode_by_service(const FldDef* fldDef, const std::byte* text, Destination<char> destination,
                                   Written written) {
  const std::int32_t length = length_of(static_cast<const void*>(text));
  return {encode_counted(*fldDef, {text, length}, destination, written), length};
}

}  // namespace zvrt
