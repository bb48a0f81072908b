// What the AVX-512 kernels of numbers share: vectors of 32 bytes, tables of pages, and the digits of a number.
//
// The digits of eight decimal places are fractions: n * 2^52 / 10^(k + 1) has digit k in front of its point once its
// upper bits are dropped and it is multiplied by ten (VPMADD52LUQ, VPMADD52HUQ).
#pragma once

#include <immintrin.h>

#include <array>
#include <cstdint>

#include "columns/short_numbers.h"
#include "support/inlined.h"

namespace zvrt::columns {

Direct packed_to_text_avx512, text_to_packed_avx512;
ReadShort read_text_avx512;
WriteShort write_text_avx512, write_packed_avx512;

namespace avx512 {

using Bytes = __m256i;
using Mask = std::uint32_t;

constexpr std::int32_t lanes = 32;

ZVRT_INLINED Mask first(std::int32_t count) { return _bzhi_u32(~Mask{0}, static_cast<unsigned>(count)); }
ZVRT_INLINED Bytes repeat(std::int32_t byte) { return _mm256_set1_epi8(static_cast<char>(byte)); }

// A page's code of a byte below 80: two vectors of 64.
struct AsciiTable {
  __m512i low;
  __m512i high;

  ZVRT_INLINED explicit AsciiTable(const std::uint8_t* codes)
      : low(_mm512_loadu_si512(codes)), high(_mm512_loadu_si512(codes + 64)) {}
  ZVRT_INLINED Bytes codes_of(Bytes ascii) const {
    return _mm512_castsi512_si256(_mm512_permutex2var_epi8(low, _mm512_castsi256_si512(ascii), high));
  }
};
// ... and what a page's bytes are: four vectors of 64.
struct PageTable {
  AsciiTable low;
  AsciiTable high;

  ZVRT_INLINED explicit PageTable(const std::uint8_t* characters) : low(characters), high(characters + 128) {}
  ZVRT_INLINED Bytes characters_of(Bytes codes) const {
    return _mm256_mask_mov_epi8(low.codes_of(codes), _mm256_movepi8_mask(codes), high.codes_of(codes));
  }
};

// --- digits ---

constexpr std::uint64_t two_52 = UINT64_C(1) << 52;
constexpr std::uint64_t ten_8 = 100'000'000;

// 2^52 / 10^(k + 1), cut, for the places 7 to 0, and what the cutting takes off a number below 10^8 at most. With that
// added a product is never too small, and less than one last place too large.
constexpr auto place_factors = [] {
  std::array<std::uint64_t, 8> all{};
  std::uint64_t power = ten_8;
  for (std::uint64_t& factor : all) {
    factor = two_52 / power;
    power /= 10;
  }
  return all;
}();
constexpr auto place_losses = [] {
  std::array<std::uint64_t, 8> all{};
  std::uint64_t power = ten_8;
  for (std::uint64_t& loss : all) {
    loss = two_52 % power * (ten_8 / power) + 1;
    power /= 10;
  }
  return all;
}();

// Eight digits, a 64-bit lane each, most significant first.
ZVRT_INLINED __m512i eight_digits(std::uint64_t number) {
  const __m512i broadcast = _mm512_set1_epi64(static_cast<long long>(number));
  const __m512i fractions = _mm512_madd52lo_epu64(_mm512_loadu_si512(place_losses.data()), broadcast,
                                                  _mm512_loadu_si512(place_factors.data()));
  return _mm512_madd52hi_epu64(_mm512_setzero_si512(), fractions, _mm512_set1_epi64(10));
}

// Bytes 0, 8, 16, ... of two vectors.
alignas(64) constexpr auto lowest_bytes = [] {
  std::array<std::uint8_t, 64> all{};
  for (std::size_t i = 0; i < 16; ++i) all[i] = static_cast<std::uint8_t>(8 * i);
  return all;
}();

// The digits of a magnitude; `is_long`: it may have more than sixteen.
template <bool is_long>
ZVRT_INLINED Bytes digits_of(std::uint64_t magnitude) {
  constexpr std::uint64_t ten_16 = ten_8 * ten_8;
  const std::uint64_t upper = is_long ? magnitude / ten_16 : 0;
  const std::uint64_t rest = is_long ? magnitude % ten_16 : magnitude;
  const __m512i places = _mm512_load_si512(lowest_bytes.data());
  const __m128i lower =
      _mm512_castsi512_si128(_mm512_permutex2var_epi8(eight_digits(rest / ten_8), places, eight_digits(rest % ten_8)));
  __m128i before = _mm_setzero_si128();
  if constexpr (is_long) before = _mm_bslli_si128(_mm512_cvtepi64_epi8(eight_digits(upper)), 8);
  return _mm256_inserti128_si256(_mm256_castsi128_si256(before), lower, 1);
}

}  // namespace avx512

}  // namespace zvrt::columns
