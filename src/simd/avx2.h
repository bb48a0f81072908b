// Vectors of 32 bytes by AVX2, for the kernels of that level. Everything is inlined, so that nothing compiled for this
// level is left to link.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "support/inlined.h"

namespace zvrt::avx2 {

using Vector = __m256i;
using Block = __m128i;
using Mask = std::uint32_t;  // a bit for each byte of a vector

constexpr std::size_t vector_bytes = 32;
constexpr Mask all_of_vector = ~Mask{0};

template <class Number>
ZVRT_INLINED Number min(Number a, std::type_identity_t<Number> b) {
  return a < b ? a : b;
}

ZVRT_INLINED Vector load_vector(const void* at) { return _mm256_loadu_si256(static_cast<const Vector*>(at)); }
ZVRT_INLINED void store_vector(void* at, Vector vector) { _mm256_storeu_si256(static_cast<Vector*>(at), vector); }
ZVRT_INLINED Block load_block(const void* at) { return _mm_loadu_si128(static_cast<const Block*>(at)); }
ZVRT_INLINED void store_block(void* at, Block block) { _mm_storeu_si128(static_cast<Block*>(at), block); }
ZVRT_INLINED Block load_half(const void* at) { return _mm_loadl_epi64(static_cast<const Block*>(at)); }
ZVRT_INLINED void store_half(void* at, Block block) { _mm_storel_epi64(static_cast<Block*>(at), block); }

ZVRT_INLINED Block lower(Vector vector) { return _mm256_castsi256_si128(vector); }
ZVRT_INLINED Block upper(Vector vector) { return _mm256_extracti128_si256(vector, 1); }

ZVRT_INLINED Vector repeat8(unsigned byte) { return _mm256_set1_epi8(static_cast<char>(byte)); }
ZVRT_INLINED Vector repeat16(unsigned value) { return _mm256_set1_epi16(static_cast<short>(value)); }
ZVRT_INLINED Vector repeat32(std::uint32_t value) { return _mm256_set1_epi32(static_cast<int>(value)); }

ZVRT_INLINED Mask sign_bits(Vector bytes) { return static_cast<Mask>(_mm256_movemask_epi8(bytes)); }
ZVRT_INLINED bool is_zero(Vector vector) { return _mm256_testz_si256(vector, vector) != 0; }
ZVRT_INLINED std::size_t count_of(Mask bits) { return static_cast<std::size_t>(_mm_popcnt_u32(bits)); }

// Lanes that are at least as great as a limit, without sign.
ZVRT_INLINED Vector from8(Vector bytes, unsigned limit) {
  return _mm256_cmpeq_epi8(_mm256_max_epu8(bytes, repeat8(limit)), bytes);
}
ZVRT_INLINED Vector from16(Vector values, unsigned limit) {
  return _mm256_cmpeq_epi16(_mm256_max_epu16(values, repeat16(limit)), values);
}

// Which lanes are zero.
template <class Unit>
ZVRT_INLINED Vector is_zero_in(Vector units) {
  const Vector zero = _mm256_setzero_si256();
  if constexpr (sizeof(Unit) == 1) return _mm256_cmpeq_epi8(units, zero);
  if constexpr (sizeof(Unit) == 2) return _mm256_cmpeq_epi16(units, zero);
  return _mm256_cmpeq_epi32(units, zero);
}

// Two vectors of eight numbers of 32 bits as sixteen of 16 bits: FFFF for those above, 0 for negative ones. Packing works
// in halves, [a0..3 b0..3 | a4..7 b4..7], which are put in order.
ZVRT_INLINED Vector pack_units(Vector a, Vector b) {
  return _mm256_permute4x64_epi64(_mm256_packus_epi32(a, b), 0b11'01'10'00);
}

}  // namespace zvrt::avx2
