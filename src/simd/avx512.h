// Vectors of 64 bytes by AVX-512, for the kernels of that level. Everything is inlined, so that nothing compiled for this
// level is left to link.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "support/inlined.h"
#include "support/read_ahead.h"
#include "support/wraps.h"

namespace zvrt::avx512 {

using Vector = __m512i;
using Mask = std::uint64_t;

template <class Number>
ZVRT_INLINED Number min(Number a, std::type_identity_t<Number> b) {
  return a < b ? a : b;
}

// The lowest `count` bits, all of them from 64, 16 or 32 on. A count in 32 bits is below 256, as BZHI looks at its lowest
// byte; so is one for 64 bits.
ZVRT_INLINED Mask first(std::size_t count) { return _bzhi_u64(~Mask{0}, static_cast<unsigned>(count)); }
ZVRT_INLINED __mmask16 first16(std::size_t count) { return static_cast<__mmask16>(first(min(count, 16))); }
ZVRT_INLINED __mmask32 first32(std::size_t count) { return static_cast<__mmask32>(first(min(count, 32))); }
ZVRT_INLINED __mmask16 first16(std::uint32_t count) { return static_cast<__mmask16>(_bzhi_u32(0xFFFF, count)); }
ZVRT_INLINED __mmask32 first32(std::uint32_t count) { return _bzhi_u32(~0U, count); }

ZVRT_INLINED std::size_t lowest_bit(Mask bits) { return _tzcnt_u64(bits); }  // 64 if there is none
ZVRT_INLINED std::size_t highest_bit(Mask bits) { return 63 - _lzcnt_u64(bits); }
ZVRT_INLINED std::size_t count_of(Mask bits) { return static_cast<std::size_t>(_mm_popcnt_u64(bits)); }
// The bits below the lowest one, all bits if there is none.
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

// The units of four vectors in bytes; FF for those above.
ZVRT_INLINED Vector in_bytes(Vector a, Vector b, Vector c, Vector d) {
  const auto pair = [](Vector low, Vector high) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm512_cvtusepi32_epi8(low)), _mm512_cvtusepi32_epi8(high),
                                   1);
  };
  return _mm512_inserti64x4(_mm512_castsi256_si512(pair(a, b)), pair(c, d), 1);
}

// The units of two vectors in lanes of 16 bits; FFFF for those above.
ZVRT_INLINED Vector in_words(Vector low, Vector high) {
  return _mm512_inserti64x4(_mm512_castsi256_si512(_mm512_cvtusepi32_epi16(low)), _mm512_cvtusepi32_epi16(high), 1);
}

ZVRT_INLINED std::size_t to_page_end(const char* at) {
  return page_bytes - reinterpret_cast<std::uintptr_t>(at) % page_bytes;
}

}  // namespace zvrt::avx512
