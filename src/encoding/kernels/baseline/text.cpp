// The text kernels for every processor of x86-64: ASCII by SSE2, sixteen characters a step, and the other characters one by
// one.
#include <emmintrin.h>

#include <algorithm>
#include <cstdint>

#include "encoding/kernels/baseline/loops.h"
#include "encoding/kernels/baseline/text.h"

namespace zvrt {

namespace {

__m128i load_block(const void* at) { return _mm_loadu_si128(static_cast<const __m128i*>(at)); }
void store_block(void* at, __m128i block) { _mm_storeu_si128(static_cast<__m128i*>(at), block); }

// ---- UTF-8 to wide text ----

// The bytes 01..7F that lead a block: signed, they are exactly the ones above zero.
std::size_t ascii_lead(__m128i bytes) {
  const int others = _mm_movemask_epi8(_mm_cmpgt_epi8(bytes, _mm_setzero_si128())) ^ 0xFFFF;
  return others == 0 ? 16 : static_cast<std::size_t>(__builtin_ctz(static_cast<unsigned>(others)));
}

void widen_eight(__m128i units, char* dst) {
  const __m128i zero = _mm_setzero_si128();
  store_block(dst, _mm_unpacklo_epi16(units, zero));
  store_block(dst + 16, _mm_unpackhi_epi16(units, zero));
}

void widen_sixteen(__m128i bytes, char* dst) {
  const __m128i zero = _mm_setzero_si128();
  widen_eight(_mm_unpacklo_epi8(bytes, zero), dst);
  widen_eight(_mm_unpackhi_epi8(bytes, zero), dst + 32);
}

// Four to sixteen bytes of ASCII: by pieces of four that overlap as far as they have to, without a branch on how many.
void widen_rest(const char* src, std::size_t count, char* dst) {
  const __m128i zero = _mm_setzero_si128();
  const std::size_t last = count - 4;
  for (std::size_t piece = 0; piece < 16; piece += 4) {
    const std::size_t at = std::min<std::size_t>(piece, last);
    const __m128i bytes = _mm_cvtsi32_si128(load<std::int32_t>(src + at));
    store_block(dst + at * 4, _mm_unpacklo_epi16(_mm_unpacklo_epi8(bytes, zero), zero));
  }
}

// The ASCII of whole blocks that leads a text, or all of it where a terminator ends it.
template <class Source>
[[gnu::always_inline]] inline std::size_t widen_ascii(const char* src, Source source, std::size_t read, char* dst,
                                                      std::size_t capacity) {
  std::size_t done = 0;
  for (; capacity - done >= 16 && source.template has_block<16, 16>(src + done, read + done); done += 16) {
    const __m128i bytes = load_block(src + done);
    const std::size_t lead = ascii_lead(bytes);
    if (lead == 16) {
      widen_sixteen(bytes, dst + done * 4);
    } else if (lead >= 4 && src[done + lead] == 0) {
      widen_rest(src + done, lead, dst + done * 4);
      return done + lead;
    } else {
      break;
    }
  }
  return done;
}

// ---- Wide text to UTF-8 ----

// Sixteen characters as bytes, and which of them are zero; whether all to the first zero are ASCII.
struct Narrowed {
  __m128i bytes;
  unsigned zeros;
  bool ascii;
};

ZVRT_WRAPS Narrowed narrow_sixteen(const char* src) {
  const __m128i a = load_block(src);
  const __m128i b = load_block(src + 16);
  const __m128i c = load_block(src + 32);
  const __m128i d = load_block(src + 48);
  const auto pack = [](__m128i w, __m128i x, __m128i y, __m128i z) {
    return _mm_packs_epi16(_mm_packs_epi32(w, x), _mm_packs_epi32(y, z));
  };
  const auto is_ascii = [](__m128i units) {
    return _mm_cmpeq_epi32(_mm_and_si128(units, _mm_set1_epi32(~0x7F)), _mm_setzero_si128());
  };
  const __m128i bytes = pack(a, b, c, d);
  const __m128i ascii = pack(is_ascii(a), is_ascii(b), is_ascii(c), is_ascii(d));
  const auto zeros = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_setzero_si128())));
  const auto others = static_cast<unsigned>(_mm_movemask_epi8(ascii)) ^ 0xFFFF;
  return {bytes, zeros, (others & (zeros ^ (zeros - 1))) == 0};
}

// Four to sixteen bytes: by pieces of four, without a branch on how many.
void store_rest(char* dst, std::size_t count, __m128i bytes) {
  alignas(16) char kept[16];
  store_block(kept, bytes);
  const std::size_t last = count - 4;
  for (std::size_t piece = 0; piece < 16; piece += 4) {
    const std::size_t at = std::min(piece, last);
    store(dst + at, 0, load<std::uint32_t>(kept + at));
  }
}

// Terminated text that is ASCII and ends within sixteen characters, as most values do; returns its length, or 0.
std::size_t narrow_short_ascii(const char* src, char* dst, std::size_t capacity) {
  if (!may_read_ahead(src, 64)) return 0;
  const Narrowed block = narrow_sixteen(src);
  if (!block.ascii || block.zeros == 0) return 0;
  const auto count = static_cast<std::size_t>(__builtin_ctz(block.zeros));
  if (count < 4 || count > capacity) return 0;
  store_rest(dst, count, block.bytes);
  return count;
}

// ASCII of whole blocks.
template <class Source>
[[gnu::always_inline]] inline std::size_t narrow_ascii(const char* src, Source source, std::size_t read, char* dst,
                                                       std::size_t capacity) {
  std::size_t done = 0;
  for (; capacity - done >= 16 && source.template has_block<16, 64>(src + done * 4, read + done); done += 16) {
    const Narrowed block = narrow_sixteen(src + done * 4);
    if (!block.ascii || block.zeros != 0) break;
    store_block(dst + done, block.bytes);
  }
  return done;
}

// ---- The kernels ----

struct Ascii {
  template <class Source>
  [[gnu::always_inline]] static std::size_t widen(const char* src, Source source, std::size_t read, char* dst,
                                                  std::size_t capacity) {
    return widen_ascii(src, source, read, dst, capacity);
  }
  template <class Source>
  [[gnu::always_inline]] static std::size_t narrow(const char* src, Source source, std::size_t read, char* dst,
                                                   std::size_t capacity) {
    return narrow_ascii(src, source, read, dst, capacity);
  }
};

Progress decode(const char* src, std::size_t count, void* dst, std::size_t capacity) {
  return decode_prefix<Ascii, true>(src, Counted{count}, dst, capacity);
}
Progress decode_terminated(const char* src, void* dst, std::size_t capacity) {
  return decode_prefix<Ascii, true>(src, Terminated{}, dst, capacity);
}
Progress count_decoded(const char* src, std::size_t count) {
  return decode_prefix<Ascii, false>(src, Counted{count}, nullptr, 0);
}

Progress encode(const void* src, std::size_t count, char* dst, std::size_t capacity) {
  return encode_prefix<Ascii>(src, Counted{count}, dst, capacity);
}
Progress encode_terminated(const void* src, char* dst, std::size_t capacity) {
  const std::size_t ascii = narrow_short_ascii(static_cast<const char*>(src), dst, capacity);
  return ascii != 0 ? Progress{ascii, ascii} : encode_prefix<Ascii>(src, Terminated{}, dst, capacity);
}

}  // namespace

const TextKernels text_kernels_baseline{
    .decode = decode,
    .decode_terminated = decode_terminated,
    .encode = encode,
    .encode_terminated = encode_terminated,
    .decode_within = decode_measured<decode>,
    .encode_within = encode_measured<encode>,
    .utf8_to_utf16 = baseline::utf8_to_utf16,
    .utf16_to_utf8 = baseline::utf16_to_utf8,
    .utf16_to_utf32 = baseline::utf16_to_utf32,
    .utf32_to_utf16 = baseline::utf32_to_utf16,
    .count_decoded = count_decoded,
    .count_encoded = count_encoded,
    .copy = copy<char>,
    .copy_wide = copy<Wide>,
    .copy_counted = baseline::copy_counted,
    .drop_blanks = baseline::drop_blanks,
    .leading_blanks = baseline::leading_blanks,
    .trailing_blanks = baseline::trailing_blanks,
};

}  // namespace zvrt
