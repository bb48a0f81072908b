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

// UTF-8 to wide text at any alignment; a null destination has no bounds and is not written.
Moved utf8_to_wide(const char* src, std::int32_t bytes, void* dst, std::int32_t room);

// Wide text at any alignment to UTF-8; a null destination counts nothing.
Moved wide_to_utf8(const void* src, std::int32_t units, char* dst, std::int32_t room);

// What is left of a terminated text behind the run that a kernel has taken.
Measured decode_rest(const char* src, void* dst, std::int32_t room, Run taken);
Measured encode_rest(const void* src, char* dst, std::int32_t room, Run taken);

inline Measured whole(Run run) {
  return {{static_cast<std::int64_t>(run.written), static_cast<std::int32_t>(run.written), ZVRT_RC_OK},
          static_cast<std::int32_t>(run.read)};
}

// The same for terminated text, into a destination that is not null. Inline, as it is little beside the kernel's call.
inline Measured terminated_utf8_to_wide(const char* src, void* dst, std::int32_t room) {
  const Run run = text_kernels.decode_terminated(src, dst, static_cast<std::size_t>(room));
  if (src[run.read] == 0) [[likely]]
    return whole(run);
  return decode_rest(src, dst, room, run);
}

inline Measured terminated_wide_to_utf8(const void* src, char* dst, std::int32_t room) {
  const Run run = text_kernels.encode_terminated(src, dst, static_cast<std::size_t>(room));
  if (load<Wide>(src, run.read) == 0) [[likely]]
    return whole(run);
  return encode_rest(src, dst, room, run);
}

}  // namespace zvrt
