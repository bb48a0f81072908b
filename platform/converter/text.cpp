#include "text.h"

#include <emmintrin.h>

namespace zvrt {

namespace {

constexpr std::size_t block = 16;

__m128i load(const unsigned char* from) {
  __m128i lanes;
  std::memcpy(&lanes, from, sizeof lanes);
  return lanes;
}

void store(unsigned char* to, __m128i lanes) { std::memcpy(to, &lanes, sizeof lanes); }

}  // namespace

std::size_t widen_ascii_blocks(Bytes source, WideRoom room) {
  const std::size_t end = std::min(source.size(), room.count);
  const __m128i zero = _mm_setzero_si128();
  std::size_t done = 0;
  for (; done + block <= end; done += block) {
    const __m128i bytes = load(source.data() + done);
    if (_mm_movemask_epi8(bytes) != 0) break;
    const __m128i low = _mm_unpacklo_epi8(bytes, zero);
    const __m128i high = _mm_unpackhi_epi8(bytes, zero);
    unsigned char* const to = room.data + done * wide_size;
    store(to, _mm_unpacklo_epi16(low, zero));
    store(to + 16, _mm_unpackhi_epi16(low, zero));
    store(to + 32, _mm_unpacklo_epi16(high, zero));
    store(to + 48, _mm_unpackhi_epi16(high, zero));
  }
  return done;
}

std::size_t narrow_ascii_blocks(WideText source, ByteRoom room) {
  const std::size_t end = std::min(source.count, room.size());
  const __m128i above_ascii = _mm_set1_epi32(~0x7F);
  std::size_t done = 0;
  for (; done + block <= end; done += block) {
    const unsigned char* const from = source.data + done * wide_size;
    const __m128i a = load(from);
    const __m128i b = load(from + 16);
    const __m128i c = load(from + 32);
    const __m128i d = load(from + 48);
    const __m128i any = _mm_and_si128(_mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d)), above_ascii);
    if (_mm_movemask_epi8(_mm_cmpeq_epi32(any, _mm_setzero_si128())) != 0xFFFF) break;
    store(room.data() + done, _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d)));
  }
  return done;
}

}  // namespace zvrt
