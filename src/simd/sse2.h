// Vectors of sixteen bytes by SSE2. Everything is inlined, so that no copy compiled for one level is left to link for
// another.
#pragma once

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "support/inlined.h"

namespace zvrt::sse2 {

using Block = __m128i;

ZVRT_INLINED Block load_block(const void* at) { return _mm_loadu_si128(static_cast<const Block*>(at)); }
ZVRT_INLINED void store_block(void* at, Block block) { _mm_storeu_si128(static_cast<Block*>(at), block); }

// Bit i is the top bit of byte i.
ZVRT_INLINED std::uint32_t sign_bits(Block bytes) { return static_cast<std::uint32_t>(_mm_movemask_epi8(bytes)); }

// ---- Bytes and wide characters ----

// Lane order throughout: the first character is the lowest byte, [b0 b1 ... b15].

// Eight units of 16 bits as wide characters.
ZVRT_INLINED void store_eight_units_wide(void* at, Block units) {
  const Block zero = _mm_setzero_si128();
  store_block(at, _mm_unpacklo_epi16(units, zero));
  store_block(static_cast<std::byte*>(at) + 16, _mm_unpackhi_epi16(units, zero));
}

// The lower eight bytes as wide characters: [b0 ... b7] -> [b0 000 b1 000 b2 000 b3 000] [b4 000 ...].
ZVRT_INLINED void store_eight_wide(void* at, Block bytes) {
  store_eight_units_wide(at, _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
}

ZVRT_INLINED void store_sixteen_wide(void* at, Block bytes) {
  store_eight_wide(at, bytes);
  store_eight_units_wide(static_cast<std::byte*>(at) + 32, _mm_unpackhi_epi8(bytes, _mm_setzero_si128()));
}

// Four bytes, the first one lowest, as wide characters.
ZVRT_INLINED void store_four_wide(void* at, std::uint32_t bytes) {
  const Block zero = _mm_setzero_si128();
  const Block units = _mm_unpacklo_epi8(_mm_cvtsi32_si128(static_cast<int>(bytes)), zero);
  store_block(at, _mm_unpacklo_epi16(units, zero));
}

ZVRT_INLINED void store_two_wide(void* at, char first, char second) {
  const std::uint64_t pair = static_cast<std::uint64_t>(first) | static_cast<std::uint64_t>(second) << 32;
  std::memcpy(at, &pair, sizeof pair);
}

// Eight wide characters as bytes, the first one lowest. A character above FF becomes FF, or 0 from 80000000 on.
ZVRT_INLINED std::uint64_t narrow_eight(const void* text) {
  const auto* at = static_cast<const Block*>(text);
  const Block units = _mm_packs_epi32(_mm_loadu_si128(at), _mm_loadu_si128(at + 1));
  return static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_packus_epi16(units, units)));
}

// Sixteen wide characters as bytes, FF for those above; false when one of them is 80000000 or more.
ZVRT_INLINED bool narrow_sixteen(const void* text, Block& bytes) {
  const auto* at = static_cast<const Block*>(text);
  const Block a = _mm_loadu_si128(at);
  const Block b = _mm_loadu_si128(at + 1);
  const Block c = _mm_loadu_si128(at + 2);
  const Block d = _mm_loadu_si128(at + 3);
  const Block any = _mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d));
  bytes = _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
  return _mm_movemask_ps(_mm_castsi128_ps(any)) == 0;
}

ZVRT_INLINED Block repeat(std::int8_t byte) { return _mm_set1_epi8(byte); }

// Whether all bytes, as signed numbers, are above one bound and not above another; each bound is a repeated byte.
ZVRT_INLINED bool all_within(Block bytes, Block above, Block last) {
  return sign_bits(_mm_andnot_si128(_mm_cmpgt_epi8(bytes, last), _mm_cmpgt_epi8(bytes, above))) == 0xFFFF;
}

ZVRT_INLINED Block upper_half(Block bytes) { return _mm_unpackhi_epi64(bytes, bytes); }
ZVRT_INLINED std::uint8_t first_byte(Block bytes) { return static_cast<std::uint8_t>(_mm_cvtsi128_si32(bytes)); }

// ---- Digits ----

// Numbers below 10^4 in lanes of 32 bits to their digits, one per byte, the most significant first:
// [abcd] -> [ab|cd] -> [a|b|c|d]. All lanes are split by 100, then by 10. The quotients are products with reciprocals
// that are exact over the range: 5243 / 2^19 for 1/100 below 10^4, 6554 / 2^16 for 1/10 below 100.
ZVRT_INLINED Block split_quads(Block quads) {
  const Block by_100 = _mm_srli_epi16(_mm_mulhi_epu16(quads, _mm_set1_epi32(5243)), 3);
  const Block below_100 = _mm_sub_epi16(quads, _mm_mullo_epi16(by_100, _mm_set1_epi32(100)));
  const Block pairs = _mm_or_si128(by_100, _mm_slli_epi32(below_100, 16));
  const Block by_10 = _mm_mulhi_epu16(pairs, _mm_set1_epi16(6554));
  const Block below_10 = _mm_sub_epi16(pairs, _mm_mullo_epi16(by_10, _mm_set1_epi16(10)));
  return _mm_or_si128(by_10, _mm_slli_epi16(below_10, 8));
}

// The sixteen digits of two numbers below 10^8, leading zeros included: [abcdefgh] -> [abcd|efgh] in lanes of 32 bits. The
// quotient by 10^4 is a product with D1B71759 / 2^45, exact below 10^8.
ZVRT_INLINED Block sixteen_digits(std::uint64_t upper, std::uint64_t lower) {
  const Block octets = _mm_set_epi64x(static_cast<long long>(lower), static_cast<long long>(upper));
  const Block by_10000 = _mm_srli_epi64(_mm_mul_epu32(octets, _mm_set1_epi32(static_cast<int>(0xD1B71759))), 45);
  const Block below_10000 = _mm_sub_epi32(octets, _mm_mul_epu32(by_10000, _mm_set1_epi32(10000)));
  return split_quads(_mm_or_si128(by_10000, _mm_slli_epi64(below_10000, 32)));
}

ZVRT_INLINED Block digit_characters(Block digits) { return _mm_or_si128(digits, _mm_set1_epi8('0')); }

// The number that eight wide characters make, the most significant digit first; false when one is not a digit. Packing
// saturates, so that a character beyond 16 bits does not become a digit. Digits are joined to pairs, quads and octets:
// a * 10 + b, ab * 100 + cd, abcd * 10000 + efgh.
ZVRT_INLINED bool read_eight_digits(const void* text, std::uint32_t& number) {
  const auto* at = static_cast<const Block*>(text);
  const Block units = _mm_packs_epi32(_mm_loadu_si128(at), _mm_loadu_si128(at + 1));
  const Block digits = _mm_sub_epi16(units, _mm_set1_epi16('0'));
  const Block above_nine = _mm_subs_epu16(digits, _mm_set1_epi16(9));
  if (sign_bits(_mm_cmpeq_epi16(above_nine, _mm_setzero_si128())) != 0xFFFF) return false;
  const Block pairs = _mm_madd_epi16(digits, _mm_set1_epi32(10 | 1 << 16));
  const Block quads = _mm_madd_epi16(_mm_packs_epi32(pairs, pairs), _mm_set1_epi32(100 | 1 << 16));
  const Block octets = _mm_madd_epi16(_mm_packs_epi32(quads, quads), _mm_set1_epi32(10000 | 1 << 16));
  number = static_cast<std::uint32_t>(_mm_cvtsi128_si32(octets));
  return true;
}

}  // namespace zvrt::sse2
