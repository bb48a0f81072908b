// What the text kernels by AVX-512 share: their declarations, and where a text ends.
#pragma once

#include <cstddef>
#include <cstdint>

#include "encoding/text_kernels.h"
#include "simd/avx512.h"
#include "support/inlined.h"
#include "support/read_ahead.h"

namespace zvrt::avx512 {

Progress decode(const char* src, std::size_t count, void* dst, std::size_t capacity);
Progress decode_terminated(const char* src, void* dst, std::size_t capacity);
Progress count_decoded(const char* src, std::size_t count);

Progress decode_within(const char* src, std::size_t count, void* dst, std::size_t capacity);

Progress utf8_to_utf16(const char* src, std::size_t count, void* dst, std::size_t capacity);
Progress utf16_to_utf8(const void* src, std::size_t count, char* dst, std::size_t capacity);
Progress utf16_to_utf32(const void* src, std::size_t count, void* dst, std::size_t capacity);
Progress utf32_to_utf16(const void* src, std::size_t count, void* dst, std::size_t capacity);

Progress encode(const void* src, std::size_t count, char* dst, std::size_t capacity);
Progress encode_terminated(const void* src, char* dst, std::size_t capacity);
Progress count_encoded(const void* src, std::size_t count);
Progress encode_within(const void* src, std::size_t count, char* dst, std::size_t capacity);

Progress copy_narrow(const void* src, void* dst, std::size_t capacity);
Progress copy_wide(const void* src, void* dst, std::size_t capacity);

Progress drop_blanks(void* text, std::size_t count);
void copy_counted(const void* src, void* dst, std::size_t count);
std::size_t leading_blanks(const void* text, std::size_t count);
std::size_t trailing_blanks(const void* text, std::size_t count);

// Where a source ends: how many units may be read after those read already, at most `limit`; none at the end.
struct Counted {
  static constexpr bool is_terminated = false;
  std::size_t count;

  ZVRT_INLINED bool goes_on(std::size_t read) const { return read < count; }

  ZVRT_INLINED std::size_t readable(const char* /*src*/, std::size_t read, std::size_t limit) const {
    return min(count - read, limit);
  }
};

// How many units of a terminated text may be read after those read already, at most `limit`: to the end of each page
// that the text reaches, and one unit beyond what is known to be no terminator.
template <std::size_t unit>
struct TerminatedUnits {
  static constexpr bool is_terminated = true;
  ZVRT_INLINED static bool goes_on(std::size_t /*read*/) { return true; }
  ZVRT_INLINED static std::size_t readable(const char* src, std::size_t read, std::size_t limit) {
    const std::size_t units = min(to_page_end(src + read * unit) / unit, limit);
    return units == 0 ? 1 : units;
  }
};

// Both: text that ends at a count or at its terminator, whichever comes first.
template <std::size_t unit>
struct CountedUnits {
  static constexpr bool is_terminated = true;
  std::size_t count;

  ZVRT_INLINED bool goes_on(std::size_t read) const { return read < count; }
  ZVRT_INLINED std::size_t readable(const char* src, std::size_t read, std::size_t limit) const {
    return min(count - read, TerminatedUnits<unit>::readable(src, read, limit));
  }
};

}  // namespace zvrt::avx512
