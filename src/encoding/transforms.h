// The text transforms as the string conversions use them: what the whole source needs and what of it was written.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/call.h"
#include "encoding/text_kernels.h"
#include "support/units.h"

namespace zvrt {

// What a copy or a transcoding did.
struct TranscodeResult {
  std::int64_t needed;   // units that the whole source needs
  std::int32_t written;  // units that are in the destination
  Status status;
};

// What was done with a text whose end was found on the way, and its length in units.
struct TerminatedResult {
  TranscodeResult result;
  std::int32_t length;
};

// What is left of a text after the part that a kernel has taken.
TranscodeResult decode_rest(const char* src, std::int32_t bytes, void* dst, std::int32_t capacity, Progress taken);
TranscodeResult encode_rest(const void* src, std::int32_t units, char* dst, std::int32_t capacity, Progress taken);

// The same of a terminated text.
TerminatedResult decode_rest(const char* src, void* dst, std::int32_t capacity, Progress taken);
TerminatedResult encode_rest(const void* src, char* dst, std::int32_t capacity, Progress taken);

inline TerminatedResult complete(Progress progress) {
  return {{static_cast<std::int64_t>(progress.written), static_cast<std::int32_t>(progress.written), ZVRT_RC_OK},
          static_cast<std::int32_t>(progress.read)};
}

// UTF-8 to wide text at any alignment; no byte after a zero is looked at. A null destination has no bounds and is not
// written. Inline down to the kernel's call: well-formed text needs nothing else, and what else there is costs more than
// a short value.
inline TranscodeResult utf8_to_wide(const char* src, std::int32_t bytes, void* dst, std::int32_t capacity) {
  if (dst == nullptr || bytes <= 0 || capacity <= 0) [[unlikely]]
    return decode_rest(src, bytes, dst, capacity, {});
  const Progress progress =
      text_kernels.decode(src, static_cast<std::size_t>(bytes), dst, static_cast<std::size_t>(capacity));
  if (progress.read == static_cast<std::size_t>(bytes)) [[likely]]
    return complete(progress).result;
  return decode_rest(src, bytes, dst, capacity, progress);
}

// Wide text at any alignment to UTF-8; no character after a zero is looked at. A null destination counts nothing.
inline TranscodeResult wide_to_utf8(const void* src, std::int32_t units, char* dst, std::int32_t capacity) {
  if (dst == nullptr || units <= 0 || capacity <= 0) [[unlikely]]
    return encode_rest(src, units, dst, capacity, {});
  const Progress progress =
      text_kernels.encode(src, static_cast<std::size_t>(units), dst, static_cast<std::size_t>(capacity));
  if (progress.read == static_cast<std::size_t>(units) || load<Wide>(src, progress.read) == 0) [[likely]]
    return complete(progress).result;
  return encode_rest(src, units, dst, capacity, progress);
}

// The same for terminated text, into a destination that is not null. Inline, as it is little beside the kernel's call.
inline TerminatedResult terminated_utf8_to_wide(const char* src, void* dst, std::int32_t capacity) {
  const Progress progress = text_kernels.decode_terminated(src, dst, static_cast<std::size_t>(capacity));
  if (src[progress.read] == 0) [[likely]]
    return complete(progress);
  return decode_rest(src, dst, capacity, progress);
}

inline TerminatedResult terminated_wide_to_utf8(const void* src, char* dst, std::int32_t capacity) {
  const Progress progress = text_kernels.encode_terminated(src, dst, static_cast<std::size_t>(capacity));
  if (load<Wide>(src, progress.read) == 0) [[likely]]
    return complete(progress);
  return encode_rest(src, dst, capacity, progress);
}

}  // namespace zvrt
