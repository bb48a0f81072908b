// Between UTF-16 and the other two for every processor of x86-64: runs of ASCII, or of units that are no surrogates, eight
// or sixteen a step by SSE2, and what stands between them one character at a time.
#include "encoding/kernels/baseline/utf16_loops.h"

#include <emmintrin.h>

#include <cstddef>

#include "encoding/kernels/baseline/text.h"

namespace zvrt::baseline {

namespace {

using Block = __m128i;

Block load_block(const char* at) { return _mm_loadu_si128(reinterpret_cast<const Block*>(at)); }
void store_block(char* at, Block block) { _mm_storeu_si128(reinterpret_cast<Block*>(at), block); }
bool all(Block lanes) { return _mm_movemask_epi8(lanes) == 0xFFFF; }
bool none(Block lanes) { return _mm_movemask_epi8(lanes) == 0; }

// Sixteen bytes 01 to 7F to sixteen units: signed, they are exactly the ones above zero.
bool widen_ascii(Texts& texts) {
  if (!texts.has_block<1>(16)) return false;
  const Block bytes = load_block(texts.src + texts.read);
  const Block zero = _mm_setzero_si128();
  if (!all(_mm_cmpgt_epi8(bytes, zero))) return false;
  char* out = texts.dst + texts.written * 2;
  store_block(out, _mm_unpacklo_epi8(bytes, zero));
  store_block(out + 16, _mm_unpackhi_epi8(bytes, zero));
  texts.advance(16);
  return true;
}

// Sixteen units 0001 to 007F to sixteen bytes.
bool narrow_ascii(Texts& texts) {
  if (!texts.has_block<2>(16)) return false;
  const Block low = load_block(texts.src + texts.read * 2);
  const Block high = load_block(texts.src + texts.read * 2 + 16);
  const Block zero = _mm_setzero_si128();
  const Block upper = _mm_and_si128(_mm_or_si128(low, high), _mm_set1_epi16(static_cast<short>(0xFF80)));
  const Block zeros = _mm_or_si128(_mm_cmpeq_epi16(low, zero), _mm_cmpeq_epi16(high, zero));
  if (!all(_mm_cmpeq_epi16(upper, zero)) || !none(zeros)) return false;
  store_block(texts.dst + texts.written, _mm_packus_epi16(low, high));
  texts.advance(16);
  return true;
}

// Units that are neither zero nor surrogates, eight at a time, to wide characters.
bool widen_units(Texts& texts) {
  if (!texts.has_block<2>(8)) return false;
  const Block units = load_block(texts.src + texts.read * 2);
  const Block zero = _mm_setzero_si128();
  const Block kind = _mm_and_si128(units, _mm_set1_epi16(static_cast<short>(0xF800)));
  const Block stops =
      _mm_or_si128(_mm_cmpeq_epi16(units, zero), _mm_cmpeq_epi16(kind, _mm_set1_epi16(static_cast<short>(0xD800))));
  if (!none(stops)) return false;
  char* out = texts.dst + texts.written * 4;
  store_block(out, _mm_unpacklo_epi16(units, zero));
  store_block(out + 16, _mm_unpackhi_epi16(units, zero));
  texts.advance(8);
  return true;
}

// Eight wide characters 1 to FFFF, no surrogates among them, to units. SSE2 packs signed numbers only, so they are shifted
// by 8000 on the way.
bool narrow_units(Texts& texts) {
  if (!texts.has_block<4>(8)) return false;
  const Block low = load_block(texts.src + texts.read * 4);
  const Block high = load_block(texts.src + texts.read * 4 + 16);
  const Block zero = _mm_setzero_si128();
  const Block upper = _mm_and_si128(_mm_or_si128(low, high), _mm_set1_epi32(static_cast<int>(0xFFFF0000)));
  if (!all(_mm_cmpeq_epi32(upper, zero))) return false;
  const Block shift = _mm_set1_epi32(0x8000);
  const Block packed = _mm_packs_epi32(_mm_sub_epi32(low, shift), _mm_sub_epi32(high, shift));
  const Block units = _mm_xor_si128(packed, _mm_set1_epi16(static_cast<short>(0x8000)));
  const Block kind = _mm_and_si128(units, _mm_set1_epi16(static_cast<short>(0xF800)));
  const Block stops =
      _mm_or_si128(_mm_cmpeq_epi16(units, zero), _mm_cmpeq_epi16(kind, _mm_set1_epi16(static_cast<short>(0xD800))));
  if (!none(stops)) return false;
  store_block(texts.dst + texts.written * 2, units);
  texts.advance(8);
  return true;
}

}  // namespace

Progress utf8_to_utf16(const char* src, std::size_t count, void* dst, std::size_t capacity) {
  return convert<widen_ascii, one_from_utf8>(texts_of(src, count, dst, capacity));
}
Progress utf16_to_utf8(const void* src, std::size_t count, char* dst, std::size_t capacity) {
  return convert<narrow_ascii, one_to_utf8>(texts_of(src, count, dst, capacity));
}
Progress utf16_to_utf32(const void* src, std::size_t count, void* dst, std::size_t capacity) {
  return convert<widen_units, one_to_utf32>(texts_of(src, count, dst, capacity));
}
Progress utf32_to_utf16(const void* src, std::size_t count, void* dst, std::size_t capacity) {
  return convert<narrow_units, one_from_utf32>(texts_of(src, count, dst, capacity));
}

}  // namespace zvrt::baseline
