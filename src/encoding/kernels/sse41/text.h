// What the text kernels by SSE4.1 share: their declarations, and where a text ends.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "encoding/text_kernels.h"
#include "simd/sse41.h"
#include "support/inlined.h"
#include "support/read_ahead.h"
#include "support/units.h"

namespace zvrt::sse41 {

Progress decode(const char* src, std::size_t count, void* dst, std::size_t capacity);
Progress decode_terminated(const char* src, void* dst, std::size_t capacity);
// Terminated text of which `ascii` characters are converted; what follows is not expected to be ASCII.
Progress decode_after_ascii(const char* src, std::size_t ascii, void* dst, std::size_t capacity);
Progress count_decoded(const char* src, std::size_t count);

Progress encode(const void* src, std::size_t count, char* dst, std::size_t capacity);
Progress encode_terminated(const void* src, char* dst, std::size_t capacity);
Progress encode_any(const void* src, char* dst, std::size_t capacity);  // the same
Progress count_encoded(const void* src, std::size_t count);

// ---- Where a text ends ----

// Text of a known count, read without a unit more.
struct Counted {
  std::size_t count;

  ZVRT_INLINED bool goes_on(const char* /*src*/, std::size_t read) const { return read < count; }
  ZVRT_INLINED bool has_block(const char* /*src*/, std::size_t read) const { return count - read >= block_bytes; }
  ZVRT_INLINED Block bytes(const char* src, std::size_t read) const { return load_bytes(src + read, count - read); }

  ZVRT_INLINED bool has_units(std::size_t read) const { return read < count; }
  ZVRT_INLINED Units units(const char* src, std::size_t read) const { return load_units(src + read * 4, count - read); }
};

// Text up to a terminator, which ends the fast path and continues no character.
struct Terminated {
  ZVRT_INLINED static bool goes_on(const char* src, std::size_t read) { return src[read] != 0; }
  ZVRT_INLINED static bool has_block(const char* src, std::size_t read) {
    return may_read_ahead(src + read, block_bytes);
  }
  ZVRT_INLINED static Block bytes(const char* src, std::size_t read) {
    if (has_block(src, read)) [[likely]]
      return load_block(src + read);
    return load_bytes(src + read, strnlen(src + read, block_bytes));
  }

  ZVRT_INLINED static bool has_units(std::size_t /*read*/) { return true; }  // its terminator at the least
  ZVRT_INLINED static Units units(const char* src, std::size_t read) {
    const char* at = src + read * 4;
    if (may_read_ahead(at, step_units * 4)) [[likely]]
      return load_step(at);
    std::size_t count = 0;
    while (count < step_units && load<Wide>(at, count) != 0) ++count;
    return load_units(at, count);
  }
};

}  // namespace zvrt::sse41
