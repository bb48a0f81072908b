#include "text.h"

#include <emmintrin.h>

namespace zvrt {

namespace {

__m128i load(const unsigned char* from) {
  __m128i lanes;
  std::memcpy(&lanes, from, sizeof lanes);
  return lanes;
}

void store(unsigned char* to, __m128i lanes) { std::memcpy(to, &lanes, sizeof lanes); }

// The bytes that are ASCII in a page, as signed ones: those from 80 are negative.
struct Range {
  __m128i below, last;

  explicit Range(Ascii ascii)
      : below(_mm_set1_epi8(ascii == Ascii::all ? -1 : 0x1F)), last(_mm_set1_epi8(ascii == Ascii::all ? 0x7F : 0x7E)) {}

  bool has_all(__m128i bytes) const {
    const __m128i inside = _mm_andnot_si128(_mm_cmpgt_epi8(bytes, last), _mm_cmpgt_epi8(bytes, below));
    return _mm_movemask_epi8(inside) == 0xFFFF;
  }
};

}  // namespace

std::size_t widen_all_ascii_blocks(Ascii ascii, Bytes source, WideDestination destination) {
  if (ascii == Ascii::no) return 0;
  const Range range(ascii);
  const std::size_t end = std::min(source.size(), destination.count);
  const __m128i zero = _mm_setzero_si128();
  std::size_t done = 0;
  for (; done + ascii_block <= end; done += ascii_block) {
    const __m128i bytes = load(source.data() + done);
    if (!range.has_all(bytes)) break;
    const __m128i low = _mm_unpacklo_epi8(bytes, zero);
    const __m128i high = _mm_unpackhi_epi8(bytes, zero);
    unsigned char* const to = destination.data + done * wide_size;
    store(to, _mm_unpacklo_epi16(low, zero));
    store(to + 16, _mm_unpackhi_epi16(low, zero));
    store(to + 32, _mm_unpacklo_epi16(high, zero));
    store(to + 48, _mm_unpackhi_epi16(high, zero));
  }
  return done;
}

std::size_t narrow_all_ascii_blocks(Ascii ascii, WideText source, ByteDestination destination) {
  if (ascii == Ascii::no) return 0;
  const Range range(ascii);
  const std::size_t end = std::min(source.count, destination.size());
  std::size_t done = 0;
  for (; done + ascii_block <= end; done += ascii_block) {
    const unsigned char* const from = source.data + done * wide_size;
    const __m128i a = load(from);
    const __m128i b = load(from + 16);
    const __m128i c = load(from + 32);
    const __m128i d = load(from + 48);
    // Narrowing with saturation leaves everything above ASCII outside; what it takes for negative it would make 0.
    const __m128i any = _mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d));
    const __m128i bytes = _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
    if (_mm_movemask_ps(_mm_castsi128_ps(any)) != 0 || !range.has_all(bytes)) break;
    store(destination.data() + done, bytes);
  }
  return done;
}

}  // namespace zvrt
