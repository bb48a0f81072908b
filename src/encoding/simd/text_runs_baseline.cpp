#include <emmintrin.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "encoding/text_runs.h"
#include "frame/units.h"

namespace zvrt {

namespace {

__m128i load_block(const void* at) { return _mm_loadu_si128(static_cast<const __m128i*>(at)); }
void store_block(void* at, __m128i block) { _mm_storeu_si128(static_cast<__m128i*>(at), block); }

// True where all sixteen bytes are 01..7F: signed, they are exactly the ones above zero.
bool is_ascii(__m128i bytes) { return _mm_movemask_epi8(_mm_cmpgt_epi8(bytes, _mm_setzero_si128())) == 0xFFFF; }

// Sixteen wide characters of at most 7F as bytes.
__m128i pack(const char* src) {
  const __m128i low = _mm_packs_epi32(load_block(src), load_block(src + 16));
  const __m128i high = _mm_packs_epi32(load_block(src + 32), load_block(src + 48));
  return _mm_packs_epi16(low, high);
}

Run decode(const char* src, std::size_t count, void* dst, std::size_t room) {
  const std::size_t limit = std::min(count, room);
  auto* out = static_cast<char*>(dst);
  const __m128i zero = _mm_setzero_si128();
  std::size_t done = 0;
  for (; done + 16 <= limit; done += 16, out += 64) {
    const __m128i bytes = load_block(src + done);
    if (!is_ascii(bytes)) break;
    const __m128i low = _mm_unpacklo_epi8(bytes, zero);
    const __m128i high = _mm_unpackhi_epi8(bytes, zero);
    store_block(out, _mm_unpacklo_epi16(low, zero));
    store_block(out + 16, _mm_unpackhi_epi16(low, zero));
    store_block(out + 32, _mm_unpacklo_epi16(high, zero));
    store_block(out + 48, _mm_unpackhi_epi16(high, zero));
  }
  for (; done < limit && src[done] > 0; ++done, out += 4) store<Wide>(out, 0, static_cast<Wide>(src[done]));
  return {done, done};
}

Run encode(const void* src, std::size_t count, char* dst, std::size_t room) {
  const std::size_t limit = std::min(count, room);
  const auto* in = static_cast<const char*>(src);
  const __m128i beyond_ascii = _mm_set1_epi32(~0x7F);
  std::size_t done = 0;
  for (; done + 16 <= limit; done += 16, in += 64) {
    const __m128i any = _mm_or_si128(_mm_or_si128(load_block(in), load_block(in + 16)),
                                     _mm_or_si128(load_block(in + 32), load_block(in + 48)));
    const __m128i stray = _mm_and_si128(any, beyond_ascii);
    if (_mm_movemask_epi8(_mm_cmpeq_epi32(stray, _mm_setzero_si128())) != 0xFFFF) break;
    const __m128i bytes = pack(in);
    if (!is_ascii(bytes)) break;  // a terminator
    store_block(dst + done, bytes);
  }
  for (; done < limit; ++done, in += 4) {
    const Wide unit = load<Wide>(in);
    if (unit - 1 >= 0x7F) break;
    dst[done] = static_cast<char>(unit);
  }
  return {done, done};
}

Run decode_terminated(const char* src, void* dst, std::size_t room) { return decode(src, std::strlen(src), dst, room); }

Run encode_terminated(const void* src, char* dst, std::size_t room) {
  return encode(src, static_cast<std::size_t>(length_of(src)), dst, room);
}

Run count_decoded(const char* src, std::size_t count) {
  std::size_t done = 0;
  while (done < count && src[done] > 0) ++done;
  return {done, done};
}

Run count_encoded(const void* src, std::size_t count) {
  std::size_t done = 0;
  while (done < count && load<Wide>(src, done) - 1 < 0x7F) ++done;
  return {done, done};
}

}  // namespace

const TextKernels text_kernels_baseline{decode,        decode_terminated, encode, encode_terminated,
                                        count_decoded, count_encoded};

}  // namespace zvrt
