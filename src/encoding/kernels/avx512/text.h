// What the text kernels by AVX-512 share. Everything is inlined, so that nothing compiled for this level is left to link.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "encoding/text_kernels.h"
#include "support/inlined.h"
#include "support/read_ahead.h"
#include "support/wraps.h"

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

using Vector = __m512i;
using Mask = std::uint64_t;

ZVRT_INLINED std::size_t min(std::size_t a, std::size_t b) { return a < b ? a : b; }

// The lowest `count` bits, for a count of 64 at most.
ZVRT_INLINED Mask first(std::size_t count) { return _bzhi_u64(~Mask{0}, static_cast<unsigned>(count)); }
ZVRT_INLINED __mmask16 first16(std::size_t count) { return static_cast<__mmask16>(first(min(count, 16))); }
ZVRT_INLINED __mmask32 first32(std::size_t count) { return static_cast<__mmask32>(first(min(count, 32))); }

ZVRT_INLINED std::size_t lowest_bit(Mask bits) { return _tzcnt_u64(bits); }  // 64 where there is none
ZVRT_INLINED std::size_t highest_bit(Mask bits) { return 63 - _lzcnt_u64(bits); }
ZVRT_INLINED std::size_t count_of(Mask bits) { return static_cast<std::size_t>(_mm_popcnt_u64(bits)); }
// The bits below the lowest one, all where there is none.
ZVRT_WRAPS ZVRT_INLINED Mask below(Mask bits) { return ~bits & (bits - 1); }
// The bits below the lowest zero.
ZVRT_WRAPS ZVRT_INLINED Mask trailing_ones(Mask bits) { return bits & ~(bits + 1); }

ZVRT_INLINED Vector repeat64(std::uint64_t bytes) { return _mm512_set1_epi64(static_cast<long long>(bytes)); }
ZVRT_INLINED Vector repeat32(std::uint32_t bytes) { return _mm512_set1_epi32(static_cast<int>(bytes)); }
ZVRT_INLINED Vector repeat16(std::uint16_t bytes) { return _mm512_set1_epi16(static_cast<short>(bytes)); }
ZVRT_INLINED Vector repeat8(std::uint8_t byte) { return _mm512_set1_epi8(static_cast<char>(byte)); }

// 0, 1, 2 ... 63, each `times` times.
template <unsigned times>
struct Ramp {
  alignas(64) std::uint8_t bytes[64];
  constexpr Ramp() : bytes() {
    for (unsigned i = 0; i < 64; ++i) bytes[i] = static_cast<std::uint8_t>(i / times);
  }
};
template <unsigned times>
inline constexpr Ramp<times> ramp;

template <unsigned times>
ZVRT_INLINED Vector load_ramp() {
  return _mm512_load_si512(ramp<times>.bytes);
}

// The lanes of 32 bits in one of four vectors, by a mask of all of them.
ZVRT_INLINED __mmask16 lanes_of(Mask units, unsigned vector) { return static_cast<__mmask16>(units >> vector * 16); }

// The units of four vectors in bytes; FF for what is more.
ZVRT_INLINED Vector in_bytes(Vector a, Vector b, Vector c, Vector d) {
  const auto pair = [](Vector low, Vector high) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm512_cvtusepi32_epi8(low)), _mm512_cvtusepi32_epi8(high),
                                   1);
  };
  return _mm512_inserti64x4(_mm512_castsi256_si512(pair(a, b)), pair(c, d), 1);
}

// The units of two vectors in lanes of 16 bits; FFFF for what is more.
ZVRT_INLINED Vector in_words(Vector low, Vector high) {
  return _mm512_inserti64x4(_mm512_castsi256_si512(_mm512_cvtusepi32_epi16(low)), _mm512_cvtusepi32_epi16(high), 1);
}

ZVRT_INLINED std::size_t to_page_end(const char* at) {
  return page_bytes - reinterpret_cast<std::uintptr_t>(at) % page_bytes;
}

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
