// What the kernels by SSE4.1 that read numbers share. Inlined, so that nothing compiled for this level is left to link.
#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "support/inlined.h"

namespace zvrt::sse41 {

// The number that sixteen digits make, the most significant first: by twos, fours and eights.
ZVRT_INLINED std::uint64_t join_digits(__m128i digits) {
  constexpr std::uint64_t hundred_million = 100'000'000;
  const __m128i pairs = _mm_maddubs_epi16(digits, _mm_set1_epi16(10 | 1 << 8));
  const __m128i quads = _mm_madd_epi16(pairs, _mm_set1_epi32(100 | 1 << 16));
  const __m128i octets = _mm_madd_epi16(_mm_packus_epi32(quads, quads), _mm_set1_epi32(10000 | 1 << 16));
  const auto halves = static_cast<std::uint64_t>(_mm_cvtsi128_si64(octets));
  return (halves & 0xFFFFFFFF) * hundred_million + (halves >> 32);
}

}  // namespace zvrt::sse41
