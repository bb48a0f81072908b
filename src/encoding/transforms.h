// The text transforms as the string conversions use them: what the whole source needs and what of it was written.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/call.h"
#include "encoding/text_kernels.h"
#include "support/units.h"

namespace zvrt {

// What a copy or a transcoding did.
struct Moved {
  std::int64_t needed;   // units that the whole source needs
  std::int32_t written;  // units that are in the destination
  Status status;
};

// What was done with a text whose end was found on the way, and its length in units.
struct Measured {
  Moved moved;
  std::int32_t length;
};

// What is left of a text after the part that a kernel has taken.
Moved decode_rest(const char* src, std::int32_t bytes, void* dst, std::int32_t capacity, Run taken);
Moved encode_rest(const void* src, std::int32_t units, char* dst, std::int32_t capacity, Run taken);

// The same of a terminated text.
Measured decode_rest(const char* src, void* dst, std::int32_t capacity, Run taken);
Measured encode_rest(const void* src, char* dst, std::int32_t capacity, Run taken);

inline Measured whole(Run run) {
  return {{static_cast<std::int64_t>(run.written), static_cast<std::int32_t>(run.written), ZVRT_RC_OK},
          static_cast<std::int32_t>(run.read)};
}

// UTF-8 to wide text at any alignment; no byte after a zero is looked at. A null destination has no bounds and is not
// written. Inline down to the kernel's call: well-formed text needs nothing else, and what else there is costs more than
// a short value.
inline Moved utf8_to_wide(const char* src, std::int32_t bytes, void* dst, std::int32_t capacity) {
  if (dst == nullptr || bytes <= 0 || capacity <= 0) [[unlikely]]
    return decode_rest(src, bytes, dst, capacity, {});
  const Run run = text_kernels.decode(src, static_cast<std::size_t>(bytes), dst, static_cast<std::size_t>(capacity));
  if (run.read == static_cast<std::size_t>(bytes)) [[likely]]
    return whole(run).moved;
  return decode_rest(src, bytes, dst, capacity, run);
}

// Wide text at any alignment to UTF-8; no character after a zero is looked at. A null destination counts nothing.
inline Moved wide_to_utf8(const void* src, std::int32_t units, char* dst, std::int32_t capacity) {
  if (dst == nullptr || units <= 0 || capacity <= 0) [[unlikely]]
    return encode_rest(src, units, dst, capacity, {});
  const Run run = text_kernels.encode(src, static_cast<std::size_t>(units), dst, static_cast<std::size_t>(capacity));
  if (run.read == static_cast<std::size_t>(units) || load<Wide>(src, run.read) == 0) [[likely]]
    return whole(run).moved;
  return encode_rest(src, units, dst, capacity, run);
}

// The same for terminated text, into a destination that is not null. Inline, as it is little beside the kernel's call.
inline Measured terminated_utf8_to_wide(const char* src, void* dst, std::int32_t capacity) {
  const Run run = text_kernels.decode_terminated(src, dst, static_cast<std::size_t>(capacity));
  if (src[run.read] == 0) [[likely]]
    return whole(run);
  return decode_rest(src, dst, capacity, run);
}

inline Measured terminated_wide_to_utf8(const void* src, char* dst, std::int32_t capacity) {
  const Run run = text_kernels.encode_terminated(src, dst, static_cast<std::size_t>(capacity));
  if (load<Wide>(src, run.read) == 0) [[likely]]
    return whole(run);
  return encode_rest(src, dst, capacity, run);
}

}  // namespace zvrt
