// The text kernels for every processor: ASCII by SSE2, sixteen characters a step, and the other characters one by one.
#include <emmintrin.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "encoding/kernels/baseline/text.h"
#include "encoding/text_kernels.h"
#include "encoding/utf8.h"
#include "support/read_ahead.h"
#include "support/units.h"
#include "support/wraps.h"

namespace zvrt {

namespace {

__m128i load_block(const void* at) { return _mm_loadu_si128(static_cast<const __m128i*>(at)); }
void store_block(void* at, __m128i block) { _mm_storeu_si128(static_cast<__m128i*>(at), block); }

// ---- Where a source ends ----

// Text of a known count.
struct Counted {
  std::size_t count;

  bool has(std::size_t read, std::size_t units) const { return count - read >= units; }
  template <std::size_t bytes>
  bool has_block(const char* /*at*/, std::size_t read) const {
    return has(read, 16);
  }
};

// Text up to a terminator, which ends what is ordinary and continues no character: what stands before it needs no count.
struct Terminated {
  static bool has(std::size_t /*read*/, std::size_t /*units*/) { return true; }
  template <std::size_t bytes>
  static bool has_block(const char* at, std::size_t /*read*/) {
    return may_read_ahead(at, bytes);
  }
};

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
  for (; capacity - done >= 16 && source.template has_block<16>(src + done, read + done); done += 16) {
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

unsigned byte_at(const char* src, std::size_t index) { return static_cast<unsigned char>(src[index]); }
// Whether a byte is a continuation byte, and its payload: exclusive-or with 80 leaves less than 40.
unsigned payload_at(const char* src, std::size_t index) { return byte_at(src, index) ^ 0x80U; }

unsigned replaced(unsigned value) { return value == replacement_character ? '?' : value; }

// One character; returns its length, or 0 where it is not ordinary. Each length is a branch of its own, which the
// processor predicts, so that the next character need not wait for it. A byte is read once those before it continue the
// character.
template <class Source, class Sink>
[[gnu::always_inline]] inline std::size_t decode_one(const char* src, Source source, std::size_t read, Sink sink) {
  const char* at = src + read;
  const unsigned lead = byte_at(at, 0);
  if (lead < 0x80) return sink(lead) ? 1 : 0;
  if (lead < 0xC0 || !source.has(read, 2)) return 0;
  const unsigned first = payload_at(at, 1);
  if (first >= 0x40) return 0;
  if (lead < 0xE0) return sink((lead & 0x1F) << 6 | first) ? 2 : 0;
  if (!source.has(read, 3)) return 0;
  const unsigned second = payload_at(at, 2);
  if (second >= 0x40) return 0;
  const unsigned three = first << 6 | second;
  if (lead < 0xF0) return sink(replaced((lead & 0x0F) << 12 | three)) ? 3 : 0;
  if (lead >= 0xF8 || !source.has(read, 4)) return 0;
  const unsigned third = payload_at(at, 3);
  if (third >= 0x40) return 0;
  return sink(replaced((lead & 0x07) << 18 | three << 6 | third)) ? 4 : 0;
}

template <bool writes, class Source>
[[gnu::always_inline]] inline Progress decode_prefix(const char* src, Source source, void* dst, std::size_t capacity) {
  constexpr std::size_t stretch = 32;  // from one look for blocks of ASCII to the next
  auto* out = static_cast<char*>(dst);
  std::size_t read = 0;
  std::size_t written = 0;
  const auto put = [&](unsigned value) {
    if (value == 0 || (writes && written == capacity)) return false;
    if (writes) store<Wide>(out, written, value);
    ++written;
    return true;
  };
  while (source.has(read, 1)) {
    if (writes) {
      const std::size_t ascii = widen_ascii(src + read, source, read, out + written * 4, capacity - written);
      read += ascii;
      written += ascii;
    }
    for (const std::size_t stop = read + stretch; read < stop && source.has(read, 1);) {
      const std::size_t length = decode_one(src, source, read, put);
      if (length == 0) return {read, written};
      read += length;
    }
  }
  return {read, written};
}

Progress decode(const char* src, std::size_t count, void* dst, std::size_t capacity) {
  return decode_prefix<true>(src, Counted{count}, dst, capacity);
}
Progress decode_terminated(const char* src, void* dst, std::size_t capacity) {
  return decode_prefix<true>(src, Terminated{}, dst, capacity);
}
Progress count_decoded(const char* src, std::size_t count) {
  return decode_prefix<false>(src, Counted{count}, nullptr, 0);
}

// ---- Wide text to UTF-8 ----

constexpr Wide last_ordinary = 0x1FFFFF;

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

char continuation(Wide value, unsigned shift) { return static_cast<char>(0x80U | (value >> shift & 0x3FU)); }

// Writes an ordinary character where it fits; returns its length, or 0.
std::size_t encode_one(Wide value, char* dst, std::size_t capacity) {
  if (value < 0x80) {
    if (value == 0 || capacity < 1) return 0;
    dst[0] = static_cast<char>(value);
    return 1;
  }
  if (value < 0x800) {
    if (capacity < 2) return 0;
    dst[0] = static_cast<char>(0xC0U | value >> 6);
    dst[1] = continuation(value, 0);
    return 2;
  }
  if (value < 0x10000) {
    if (capacity < 3) return 0;
    dst[0] = static_cast<char>(0xE0U | value >> 12);
    dst[1] = continuation(value, 6);
    dst[2] = continuation(value, 0);
    return 3;
  }
  if (value > last_ordinary || capacity < 4) return 0;
  dst[0] = static_cast<char>(0xF0U | value >> 18);
  dst[1] = continuation(value, 12);
  dst[2] = continuation(value, 6);
  dst[3] = continuation(value, 0);
  return 4;
}

template <class Source>
[[gnu::always_inline]] inline Progress encode_prefix(const void* src, Source source, char* dst, std::size_t capacity) {
  constexpr std::size_t stretch = 16;
  const auto* text = static_cast<const char*>(src);
  std::size_t read = 0;
  std::size_t written = 0;
  while (source.has(read, 1)) {
    while (capacity - written >= 16 && source.template has_block<64>(text + read * 4, read)) {
      const Narrowed block = narrow_sixteen(text + read * 4);
      if (!block.ascii || block.zeros != 0) break;
      store_block(dst + written, block.bytes);
      read += 16;
      written += 16;
    }
    for (const std::size_t stop = read + stretch; read < stop && source.has(read, 1); ++read) {
      const std::size_t length = encode_one(load<Wide>(text, read), dst + written, capacity - written);
      if (length == 0) return {read, written};
      written += length;
    }
  }
  return {read, written};
}

Progress encode(const void* src, std::size_t count, char* dst, std::size_t capacity) {
  return encode_prefix(src, Counted{count}, dst, capacity);
}
Progress encode_terminated(const void* src, char* dst, std::size_t capacity) {
  const std::size_t ascii = narrow_short_ascii(static_cast<const char*>(src), dst, capacity);
  return ascii != 0 ? Progress{ascii, ascii} : encode_prefix(src, Terminated{}, dst, capacity);
}

ZVRT_WRAPS Progress count_encoded(const void* src, std::size_t count) {
  std::size_t read = 0;
  std::size_t written = 0;
  for (; read < count; ++read) {
    const Wide value = load<Wide>(src, read);
    if (value - 1 >= last_ordinary) break;
    written += static_cast<std::size_t>(utf8_length(value));
  }
  return {read, written};
}

template <class Unit>
Progress copy(const void* src, void* dst, std::size_t capacity) {
  using Text = std::conditional_t<sizeof(Unit) == 1, const char*, const void*>;
  const std::int32_t count = length_within(static_cast<Text>(src), static_cast<std::int32_t>(capacity));
  copy_units<Unit>(dst, src, count);
  return {static_cast<std::size_t>(count), static_cast<std::size_t>(count)};
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
