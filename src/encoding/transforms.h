// The text transforms as the string conversions use them: what the whole source needs and what of it was written.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/call.h"

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

// The same for terminated text into a destination that is not null.
Measured terminated_utf8_to_wide(const char* src, void* dst, std::int32_t room);
Measured terminated_wide_to_utf8(const void* src, char* dst, std::int32_t room);

}  // namespace zvrt
