// The text kernels for every processor: ASCII by SSE2, sixteen characters a step, and the other characters one by one.
#include <emmintrin.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "encoding/text_runs.h"
#include "encoding/utf8.h"
#include "frame/units.h"

namespace zvrt {

namespace {

// How far a run has got in both texts.
struct Ends {
  std::size_t read = 0;
  std::size_t written = 0;
};

__m128i load_block(const void* at) { return _mm_loadu_si128(static_cast<const __m128i*>(at)); }
void store_block(void* at, __m128i block) { _mm_storeu_si128(static_cast<__m128i*>(at), block); }

// ---- UTF-8 to wide text ----

// The bytes 01..7F that lead a block: signed, they are exactly the ones above zero.
std::size_t ascii_lead(__m128i bytes) {
  const int others = _mm_movemask_epi8(_mm_cmpgt_epi8(bytes, _mm_setzero_si128())) ^ 0xFFFF;
  return others == 0 ? 16 : static_cast<std::size_t>(__builtin_ctz(static_cast<unsigned>(others)));
}

void widen_eight(__m128i bytes, char* dst) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i units = _mm_unpacklo_epi8(bytes, zero);
  store_block(dst, _mm_unpacklo_epi16(units, zero));
  store_block(dst + 16, _mm_unpackhi_epi16(units, zero));
}

void widen_sixteen(__m128i bytes, char* dst) {
  widen_eight(bytes, dst);
  widen_eight(_mm_unpackhi_epi64(bytes, bytes), dst + 32);
}

__m128i load_eight(const char* at) { return _mm_cvtsi64_si128(load<std::int64_t>(at)); }

// Fewer than sixteen bytes: two halves that overlap as far as they have to.
void widen_few(const char* src, std::size_t count, char* dst) {
  if (count >= 8) {
    widen_eight(load_eight(src), dst);
    widen_eight(load_eight(src + count - 8), dst + (count - 8) * 4);
  } else {
    for (std::size_t i = 0; i < count; ++i) store<Wide>(dst, i, static_cast<Wide>(src[i]));
  }
}

// The ASCII that leads `count` bytes; returns its length. With no destination it is only counted.
template <bool writes>
std::size_t widen_ascii(const char* src, std::size_t count, char* dst) {
  std::size_t done = 0;
  for (; count - done >= 16; done += 16) {
    const __m128i bytes = load_block(src + done);
    const std::size_t ascii = ascii_lead(bytes);
    if (ascii < 16) {
      if (writes) widen_few(src + done, ascii, dst + done * 4);
      return done + ascii;
    }
    if (writes) widen_sixteen(bytes, dst + done * 4);
  }
  if (count - done >= 8) {
    const std::size_t ascii = ascii_lead(load_eight(src + done));
    if (writes && ascii >= 8) widen_eight(load_eight(src + done), dst + done * 4);
    if (ascii < 8) {
      if (writes) widen_few(src + done, ascii, dst + done * 4);
      return done + ascii;
    }
    done += 8;
  }
  for (; done < count && src[done] > 0; ++done) {
    if (writes) store<Wide>(dst, done, static_cast<Wide>(src[done]));
  }
  return done;
}

unsigned byte_at(const char* src, std::size_t index) { return static_cast<unsigned char>(src[index]); }
// Whether a byte is a continuation byte, and its payload: exclusive-or with 80 leaves less than 40.
unsigned payload_at(const char* src, std::size_t index) { return byte_at(src, index) ^ 0x80U; }

struct Character {
  Wide value;
  std::size_t length;  // 0: not an ordinary character of more than one byte
};

Character decode_one(const char* src, std::size_t count) {
  const unsigned lead = byte_at(src, 0);
  if (lead < 0xC0 || count < 2) return {0, 0};
  const unsigned first = payload_at(src, 1);
  if (lead < 0xE0) return {(lead & 0x1F) << 6 | first, first < 0x40 ? 2U : 0U};
  if (count < 3) return {0, 0};
  const unsigned second = payload_at(src, 2);
  const unsigned three = first << 6 | second;
  if (lead < 0xF0) return {(lead & 0x0F) << 12 | three, (first | second) < 0x40 ? 3U : 0U};
  if (count < 4 || lead >= 0xF8) return {0, 0};
  const unsigned third = payload_at(src, 3);
  return {(lead & 0x07) << 18 | three << 6 | third, (first | second | third) < 0x40 ? 4U : 0U};
}

template <bool writes>
Run decode_run(const char* src, std::size_t count, void* dst, std::size_t room) {
  auto* out = static_cast<char*>(dst);
  Ends ends;
  while (true) {
    const std::size_t left = count - ends.read;
    const std::size_t ascii = widen_ascii<writes>(src + ends.read, writes ? std::min(left, room - ends.written) : left,
                                                  out + ends.written * 4);
    ends.read += ascii;
    ends.written += ascii;
    const std::size_t behind_ascii = ends.read;
    while (ends.read < count && (!writes || ends.written < room)) {
      const Character character = decode_one(src + ends.read, count - ends.read);
      if (character.length == 0 || character.value == 0) break;
      if (writes) store<Wide>(out, ends.written, character.value == replacement_character ? '?' : character.value);
      ends.read += character.length;
      ++ends.written;
    }
    if (ends.read == behind_ascii) return {ends.read, ends.written};
  }
}

Run decode(const char* src, std::size_t count, void* dst, std::size_t room) {
  return decode_run<true>(src, count, dst, room);
}
Run decode_terminated(const char* src, void* dst, std::size_t room) {
  return decode_run<true>(src, std::strlen(src), dst, room);
}
Run count_decoded(const char* src, std::size_t count) { return decode_run<false>(src, count, nullptr, 0); }

// ---- Wide text to UTF-8 ----

constexpr Wide last_ordinary = 0x1FFFFF;

// Sixteen characters as bytes, where all of them are 01..7F.
bool narrow_sixteen(const char* src, char* dst) {
  const __m128i a = load_block(src);
  const __m128i b = load_block(src + 16);
  const __m128i c = load_block(src + 32);
  const __m128i d = load_block(src + 48);
  const __m128i any = _mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d));
  const __m128i beyond = _mm_and_si128(any, _mm_set1_epi32(~0x7F));
  if (_mm_movemask_epi8(_mm_cmpeq_epi32(beyond, _mm_setzero_si128())) != 0xFFFF) return false;
  const __m128i bytes = _mm_packs_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
  if (ascii_lead(bytes) < 16) return false;
  store_block(dst, bytes);
  return true;
}

void store_form(Wide value, std::size_t length, char* dst) {
  const auto continuation = [value](unsigned shift) { return static_cast<char>(0x80U | (value >> shift & 0x3FU)); };
  switch (length) {
    case 1: dst[0] = static_cast<char>(value); break;
    case 2:
      dst[0] = static_cast<char>(0xC0U | value >> 6);
      dst[1] = continuation(0);
      break;
    case 3:
      dst[0] = static_cast<char>(0xE0U | value >> 12);
      dst[1] = continuation(6);
      dst[2] = continuation(0);
      break;
    default:
      dst[0] = static_cast<char>(0xF0U | value >> 18);
      dst[1] = continuation(12);
      dst[2] = continuation(6);
      dst[3] = continuation(0);
  }
}

Run encode(const void* src, std::size_t count, char* dst, std::size_t room) {
  const auto* text = static_cast<const char*>(src);
  Ends ends;
  while (ends.read < count) {
    while (count - ends.read >= 16 && room - ends.written >= 16 &&
           narrow_sixteen(text + ends.read * 4, dst + ends.written)) {
      ends.read += 16;
      ends.written += 16;
    }
    const std::size_t stop = std::min(count, ends.read + 16);
    for (; ends.read < stop; ++ends.read) {
      const Wide value = load<Wide>(text, ends.read);
      const std::size_t length = static_cast<std::size_t>(utf8_length(value));
      if (value - 1 >= last_ordinary || room - ends.written < length) return {ends.read, ends.written};
      store_form(value, length, dst + ends.written);
      ends.written += length;
    }
  }
  return {ends.read, ends.written};
}

Run encode_terminated(const void* src, char* dst, std::size_t room) {
  return encode(src, static_cast<std::size_t>(length_of(src)), dst, room);
}

Run count_encoded(const void* src, std::size_t count) {
  Ends ends;
  for (; ends.read < count; ++ends.read) {
    const Wide value = load<Wide>(src, ends.read);
    if (value - 1 >= last_ordinary) break;
    ends.written += static_cast<std::size_t>(utf8_length(value));
  }
  return {ends.read, ends.written};
}

template <class Unit>
Run copy(const void* src, void* dst, std::size_t room) {
  using Text = std::conditional_t<sizeof(Unit) == 1, const char*, const void*>;
  const std::int32_t count = length_within(static_cast<Text>(src), static_cast<std::int32_t>(room));
  copy_units<Unit>(dst, src, count);
  return {static_cast<std::size_t>(count), static_cast<std::size_t>(count)};
}

}  // namespace

const TextKernels text_kernels_baseline{
    decode, decode_terminated, encode, encode_terminated, count_decoded, count_encoded, copy<char>, copy<Wide>,
};

}  // namespace zvrt
