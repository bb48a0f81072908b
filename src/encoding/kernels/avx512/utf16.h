// UTF-16 in vectors: pairs of surrogates from characters and back.
#pragma once

#include <cstddef>

#include "encoding/kernels/avx512/text.h"

namespace zvrt::avx512 {

// Stores the characters in some lanes as UTF-16 and returns the units. Above U+FFFF, with v = character - 10000, a lane
// of 32 bits holds the pair as it stands in memory, the high surrogate in the lower half:
//   [110111 v9..v0|110110 v19..v10]
// and the upper halves of all other lanes are removed by compress.
ZVRT_INLINED std::size_t store_utf16(char* dst, __mmask16 lanes, Vector characters) {
  const __mmask16 pairs = _mm512_mask_cmpgt_epu32_mask(lanes, characters, repeat32(0xFFFF));
  if (pairs == 0) {
    _mm256_mask_storeu_epi16(dst, lanes, _mm512_cvtepi32_epi16(characters));
    return count_of(lanes);
  }
  const Vector value = _mm512_sub_epi32(characters, repeat32(0x10000));
  const Vector high = _mm512_srli_epi32(value, 10);
  const Vector low = _mm512_slli_epi32(_mm512_and_si512(value, repeat32(0x3FF)), 16);
  // high | low | marks
  const Vector both = _mm512_ternarylogic_epi32(high, low, repeat32(0xDC00D800), 0xFE);
  const Vector units = _mm512_mask_mov_epi32(characters, pairs, both);
  const auto halves = static_cast<__mmask32>(_pdep_u64(lanes, 0x55555555) | _pdep_u64(pairs, 0xAAAAAAAA));
  const std::size_t count = count_of(halves);
  _mm512_mask_storeu_epi16(dst, first32(count), _mm512_maskz_compress_epi16(halves, units));
  return count;
}

// 32 units of UTF-16, up to the first that is zero or begins or is a broken pair.
struct Utf16Block {
  Vector units;
  std::size_t count;  // units that are complete characters
  __mmask32 highs;    // high surrogates among them, each before its low one
  bool is_cut;        // by the end of what could be read, not by what stands there
};

// Bit i of `broken` is set where unit i is a low surrogate although unit i - 1 is no high one, or the other way round.
ZVRT_INLINED Utf16Block utf16_block(Vector units, std::size_t readable) {
  const std::size_t text = lowest_bit(~Mask{_mm512_test_epi16_mask(units, units)});
  const Vector kind = _mm512_and_si512(units, repeat16(0xFC00));
  const Mask highs = Mask{_mm512_cmpeq_epi16_mask(kind, repeat16(0xD800))} & first(text);
  const Mask lows = Mask{_mm512_cmpeq_epi16_mask(kind, repeat16(0xDC00))} & first(text);
  if ((highs | lows) == 0) return {units, text, 0, text == readable};
  const std::size_t at = min(lowest_bit((highs << 1) ^ lows), text);
  const std::size_t count = at - (highs << 1 >> at & 1);
  return {units, count, static_cast<__mmask32>(highs & first(count)), at == readable};
}

// The characters of one half of a block in lanes of 32 bits; zero in the lanes of low surrogates and after the count.
// A pair (h, l) is h * 400 + l less the marks of both, plus 10000.
struct Utf16Characters {
  Vector low, high;
  Mask lanes;  // those that hold a character
};
ZVRT_INLINED Utf16Characters utf16_characters(const Utf16Block& block) {
  const Mask lanes = first(block.count) & ~(Mask{block.highs} << 1);
  const Vector next = _mm512_permutexvar_epi16(
      _mm512_add_epi16(_mm512_cvtepu8_epi16(_mm512_castsi512_si256(load_ramp<1>())), repeat16(1)), block.units);
  const auto half = [&](Vector units, Vector following, unsigned part) {
    const Vector joined =
        _mm512_add_epi32(_mm512_add_epi32(_mm512_slli_epi32(units, 10), following), repeat32(0xFCA02400));
    return _mm512_maskz_mov_epi32(lanes_of(lanes, part),
                                  _mm512_mask_mov_epi32(units, lanes_of(block.highs, part), joined));
  };
  const auto lower = [](Vector units) { return _mm512_cvtepu16_epi32(_mm512_castsi512_si256(units)); };
  const auto upper = [](Vector units) { return _mm512_cvtepu16_epi32(_mm512_extracti64x4_epi64(units, 1)); };
  return {half(lower(block.units), lower(next), 0), half(upper(block.units), upper(next), 1), lanes};
}

}  // namespace zvrt::avx512
