// The text kernels by AVX-512: a masked load ends with the text and a masked store with what was produced, so that a
// short value is one step without a loop over its tail.
#include <immintrin.h>

#include <cstdint>

#include "encoding/text_runs.h"

namespace zvrt {

namespace {

using Vector = __m512i;
using Mask = std::uint64_t;

constexpr std::size_t block_bytes = 64;

std::size_t least(std::size_t a, std::size_t b) { return a < b ? a : b; }

// The lowest `count` bits, all of them from 64 on.
Mask first(std::size_t count) { return _bzhi_u64(~Mask{0}, static_cast<unsigned>(least(count, 64))); }
__mmask16 first16(std::size_t count) { return static_cast<__mmask16>(first(least(count, 16))); }

std::size_t lowest_bit(Mask bits) { return _tzcnt_u64(bits); }  // 64 where there is none
std::size_t highest_bit(Mask bits) { return 63 - _lzcnt_u64(bits); }
std::size_t count_of(Mask bits) { return static_cast<std::size_t>(_mm_popcnt_u64(bits)); }
// The bits below the lowest zero.
Mask trailing_ones(Mask bits) { return bits & ~(bits + 1); }

// Where a source ends: how many units may be read at a position, at most `most` of them; 0 behind the end.
struct Counted {
  std::size_t count;

  template <std::size_t unit>
  std::size_t readable(const void* /*src*/, std::size_t read, std::size_t most) const {
    return least(count - read, most);
  }
};

// A text that has not met its terminator yet goes on for one more unit at least, even where that lies in two pages.
struct Terminated {
  template <std::size_t unit>
  std::size_t readable(const void* src, std::size_t read, std::size_t most) const {
    constexpr std::size_t page_bytes = 4096;
    const std::size_t into_page = (reinterpret_cast<std::uintptr_t>(src) + read * unit) % page_bytes;
    const std::size_t units = least((page_bytes - into_page) / unit, most);
    return unit > 1 && units == 0 ? 1 : units;
  }
};

// ---- UTF-8 to wide text ----

// A block of UTF-8 that starts with a character: which characters it holds whole, up to whatever is not ordinary.
struct Block {
  Vector bytes;
  Mask leads;        // first bytes of the characters
  std::size_t stop;  // bytes of them
  std::size_t text;  // bytes before the first zero
  bool ascii;        // all of them ASCII
  bool short_forms;  // all of them of one or two bytes
};

Mask at_least(Vector bytes, unsigned char least_byte) {
  return _mm512_cmpge_epu8_mask(bytes, _mm512_set1_epi8(static_cast<char>(least_byte)));
}

// A lead byte without payload before a continuation byte without: zero in two bytes or more, or another overlong form.
// (D0 80 is neither, and rare.)
Mask overlong_zeros(Vector bytes, Mask leads) {
  const Mask empty_leads = leads & _mm512_testn_epi8_mask(bytes, _mm512_set1_epi8(0x0F));
  return empty_leads << 1 & _mm512_cmpeq_epi8_mask(bytes, _mm512_set1_epi8(static_cast<char>(0x80)));
}

[[gnu::always_inline]] inline Block classify(Vector bytes) {
  const Mask nonzero = _mm512_test_epi8_mask(bytes, bytes);
  const Mask inside = trailing_ones(nonzero);
  const std::size_t text = lowest_bit(~nonzero);
  const Mask high = _mm512_movepi8_mask(bytes) & inside;
  if (high == 0) return {bytes, inside, text, text, true, true};

  const Mask two = at_least(bytes, 0xC0) & inside;  // leads of two bytes or more
  const Mask three = at_least(bytes, 0xE0) & inside;
  const Mask four = at_least(bytes, 0xF0) & inside;
  const Mask beyond = at_least(bytes, 0xF8) & inside;
  const Mask continuations = high & ~two;
  const Mask expected = two << 1 | three << 2 | four << 3;
  // Every fault lies behind the first byte of its character, also where the text ends inside one.
  const Mask faults = (expected ^ continuations) | beyond << 1 | overlong_zeros(bytes, two);
  const Mask cut_off = two >> 63 | three >> 62 | four >> 61;
  const Mask leads = inside & ~continuations;
  // The block stops at the last character before a fault: the one that has it, or the one before a stray byte.
  const std::size_t last = highest_bit(_bzhi_u64(leads, static_cast<unsigned>(lowest_bit(faults))) | 1);
  const std::size_t stop = (faults | cut_off) != 0 ? last : text;
  return {bytes, _bzhi_u64(leads, static_cast<unsigned>(stop)), stop, text, false, three == 0};
}

// Keeps as many characters as there is room for.
[[gnu::always_inline]] inline void clip(Block& block, std::size_t room) {
  const Mask kept = _pdep_u64(first(room), block.leads);
  block.stop = lowest_bit(block.leads ^ kept);
  block.leads = kept;
}

void store_characters(char* dst, std::size_t count, Vector characters) {
  _mm512_mask_storeu_epi32(dst, first16(count), characters);
}

[[gnu::always_inline]] inline void widen_ascii(const char* src, std::size_t count, char* dst) {
  for (std::size_t done = 0; done < count; done += 16) {
    const __m128i bytes = _mm_maskz_loadu_epi8(first16(count - done), src + done);
    store_characters(dst + done * 4, count - done, _mm512_cvtepu8_epi32(bytes));
  }
}

Vector repeat64(std::uint64_t bytes) { return _mm512_set1_epi64(static_cast<long long>(bytes)); }
Vector repeat32(std::uint32_t bytes) { return _mm512_set1_epi32(static_cast<int>(bytes)); }
Vector repeat16(std::uint16_t bytes) { return _mm512_set1_epi16(static_cast<short>(bytes)); }
Vector repeat8(std::uint8_t byte) { return _mm512_set1_epi8(static_cast<char>(byte)); }

// 0, 1, 2 ... 63, each `times` times.
template <unsigned times>
struct Ramp {
  alignas(64) std::uint8_t bytes[64];
  constexpr Ramp() : bytes() {
    for (unsigned i = 0; i < 64; ++i) bytes[i] = static_cast<std::uint8_t>(i / times);
  }
};
template <unsigned times>
constexpr Ramp<times> ramp;

template <unsigned times>
Vector load_ramp() {
  return _mm512_load_si512(ramp<times>.bytes);
}

// Characters of one or two bytes, 32 at a time: both bytes of each into a 16-bit lane, the lead on top.
[[gnu::always_inline]] inline void widen_short_forms(const Block& block, std::size_t count, char* dst) {
  const Vector positions = _mm512_maskz_compress_epi8(block.leads, load_ramp<1>());
  Vector which = load_ramp<2>();
  for (std::size_t done = 0; done < count; done += 32) {
    const Vector at = _mm512_add_epi8(_mm512_permutexvar_epi8(which, positions), repeat16(0x0001));
    const Vector raw = _mm512_permutexvar_epi8(at, block.bytes);
    const Vector payload = _mm512_and_si512(raw, repeat16(0x1F3F));
    const Vector pairs = _mm512_maddubs_epi16(payload, repeat16(0x4001));  // lead * 64 + continuation
    const Vector singles = _mm512_srli_epi16(raw, 8);
    const Vector units = _mm512_mask_mov_epi16(singles, _mm512_movepi16_mask(raw), pairs);
    store_characters(dst + done * 4, count - done, _mm512_cvtepu16_epi32(_mm512_castsi512_si256(units)));
    if (count - done > 16) {
      store_characters(dst + done * 4 + 64, count - done - 16,
                       _mm512_cvtepu16_epi32(_mm512_extracti64x4_epi64(units, 1)));
    }
    which = _mm512_add_epi8(which, repeat8(32));
  }
}

// By the upper half of the lead byte: how far a character's bytes stand above the lower end of the lane that holds
// four, and which of the bits are payload once they are moved there.
Vector load_shifts() { return _mm512_setr_epi32(24, 24, 24, 24, 24, 24, 24, 24, 0, 0, 0, 0, 16, 16, 8, 0); }
Vector load_payloads() {
  return _mm512_setr_epi32(0x7F, 0x7F, 0x7F, 0x7F, 0x7F, 0x7F, 0x7F, 0x7F, 0, 0, 0, 0, 0x1F3F, 0x1F3F, 0x0F3F3F,
                           0x073F3F3F);
}

// Characters of one to four bytes, 16 at a time: four bytes from each lead into a 32-bit lane, the lead on top.
[[gnu::always_inline]] inline void widen_mixed(const Block& block, std::size_t count, char* dst) {
  const Vector positions = _mm512_maskz_compress_epi8(block.leads, load_ramp<1>());
  Vector which = load_ramp<4>();
  for (std::size_t done = 0; done < count; done += 16) {
    const Vector at = _mm512_add_epi8(_mm512_permutexvar_epi8(which, positions), repeat32(0x00010203));
    const Vector raw = _mm512_permutexvar_epi8(at, block.bytes);
    const Vector form = _mm512_srli_epi32(raw, 28);
    const Vector aligned = _mm512_srlv_epi32(raw, _mm512_permutexvar_epi32(form, load_shifts()));
    const Vector payload = _mm512_and_si512(aligned, _mm512_permutexvar_epi32(form, load_payloads()));
    const Vector pairs = _mm512_maddubs_epi16(payload, repeat16(0x4001));      // upper * 64 + lower
    const Vector characters = _mm512_madd_epi16(pairs, repeat32(0x10000001));  // upper * 4096 + lower
    const __mmask16 replaced = _mm512_cmpeq_epi32_mask(characters, _mm512_set1_epi32(0xFFFD));
    store_characters(dst + done * 4, count - done, _mm512_mask_mov_epi32(characters, replaced, _mm512_set1_epi32('?')));
    which = _mm512_add_epi8(which, repeat8(16));
  }
}

[[gnu::always_inline]] inline void widen(const Block& block, std::size_t count, const char* src, char* dst) {
  if (block.ascii) return widen_ascii(src, count, dst);
  if (block.short_forms) return widen_short_forms(block, count, dst);
  widen_mixed(block, count, dst);
}

template <bool writes, class Bound>
Run decode_run(const char* src, Bound bound, void* dst, std::size_t room) {
  std::size_t read = 0;
  std::size_t written = 0;
  while (true) {
    const std::size_t readable = bound.template readable<1>(src, read, block_bytes);
    if (readable == 0) break;
    Block block = classify(_mm512_maskz_loadu_epi8(first(readable), src + read));
    std::size_t count = count_of(block.leads);
    if (writes && count > room - written) {
      clip(block, room - written);
      count = room - written;
    }
    if (writes) widen(block, count, src + read, static_cast<char*>(dst) + written * 4);
    read += block.stop;
    written += count;
    if (block.stop == 0 || block.text < readable) break;
  }
  return {read, written};
}

Run decode(const char* src, std::size_t count, void* dst, std::size_t room) {
  return decode_run<true>(src, Counted{count}, dst, room);
}
Run decode_terminated(const char* src, void* dst, std::size_t room) {
  return decode_run<true>(src, Terminated{}, dst, room);
}
Run count_decoded(const char* src, std::size_t count) { return decode_run<false>(src, Counted{count}, nullptr, 0); }

// ---- Wide text to UTF-8 ----

// The marks of a character's bytes, by the leading zero bits of its value: from 25 one byte, 21 two, 16 three, 11 four.
Vector marks_of(Vector characters) {
  constexpr int two = static_cast<int>(0x80C00000);
  constexpr int three = static_cast<int>(0x8080E000);
  constexpr int four = static_cast<int>(0x808080F0);
  const Vector long_forms = _mm512_setr_epi32(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, four, four, four, four, four);
  const Vector short_forms =
      _mm512_setr_epi32(three, three, three, three, three, two, two, two, two, 0, 0, 0, 0, 0, 0, 0);
  return _mm512_permutex2var_epi32(long_forms, _mm512_lzcnt_epi32(characters), short_forms);
}

// Each character's bytes at the upper end of its lane, zeros before them; no byte of a character is zero.
Vector spread(Vector characters) {
  const Vector groups = _mm512_multishift_epi64_epi8(repeat64(0x20262C3200060C12), characters);
  // (groups & 3F) | marks
  const Vector bytes = _mm512_ternarylogic_epi32(groups, repeat8(0x3F), marks_of(characters), 0xEA);
  const __mmask16 ascii = _mm512_cmplt_epu32_mask(characters, _mm512_set1_epi32(0x80));
  return _mm512_mask_slli_epi32(bytes, ascii, characters, 24);
}

// The same for characters of one or two bytes in 16-bit lanes.
Vector spread_short_forms(Vector units) {
  const Vector leads = _mm512_srli_epi16(units, 6);
  const Vector upper = _mm512_slli_epi16(units, 8);
  // ((upper & 3F00) | leads) | 80C0
  const Vector bytes =
      _mm512_or_si512(_mm512_ternarylogic_epi32(upper, repeat16(0x3F00), leads, 0xEA), repeat16(0x80C0));
  return _mm512_mask_mov_epi16(bytes, _mm512_cmplt_epu16_mask(units, repeat16(0x80)), upper);
}

// The run's end so far in both texts.
struct Ends {
  std::size_t read = 0;
  std::size_t written = 0;
};

void store_bytes(char* dst, std::size_t count, Vector bytes) { _mm512_mask_storeu_epi8(dst, first(count), bytes); }

// Characters of one or two bytes, 32 at a time, while there is room for all they may need.
template <class Bound>
void narrow_short_forms(const char* src, Bound bound, char* dst, std::size_t room, Ends& ends) {
  constexpr std::size_t step = 32;
  while (room - ends.written >= step * 2 && bound.template readable<4>(src, ends.read, step) == step) {
    const Vector low = _mm512_loadu_si512(src + ends.read * 4);
    const Vector high = _mm512_loadu_si512(src + ends.read * 4 + 64);
    const Vector any = _mm512_or_si512(low, high);
    if (_mm512_test_epi32_mask(any, _mm512_set1_epi32(~0x7FF)) != 0) return;
    if ((_mm512_testn_epi32_mask(low, low) | _mm512_testn_epi32_mask(high, high)) != 0) return;
    const Vector units =
        _mm512_inserti64x4(_mm512_castsi256_si512(_mm512_cvtepi32_epi16(low)), _mm512_cvtepi32_epi16(high), 1);
    std::size_t count = step;
    if (_mm512_test_epi32_mask(any, _mm512_set1_epi32(~0x7F)) == 0) {
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + ends.written), _mm512_cvtepi16_epi8(units));
    } else {
      const Vector bytes = spread_short_forms(units);
      const Mask used = _mm512_test_epi8_mask(bytes, bytes);
      count = count_of(used);
      store_bytes(dst + ends.written, count, _mm512_maskz_compress_epi8(used, bytes));
    }
    ends.read += step;
    ends.written += count;
  }
}

// The ordinary characters that lead sixteen lanes, the others zeroed.
struct Characters {
  Vector values;
  std::size_t count;
};

Characters load_characters(const char* src, std::size_t readable) {
  const Vector values = _mm512_maskz_loadu_epi32(first16(readable), src);
  const Vector less_one = _mm512_sub_epi32(values, _mm512_set1_epi32(1));
  const Mask ordinary = _mm512_cmplt_epu32_mask(less_one, _mm512_set1_epi32(0x1FFFFF));
  const Mask leading = trailing_ones(ordinary);
  return {_mm512_maskz_mov_epi32(static_cast<__mmask16>(leading), values), count_of(leading)};
}

template <class Bound>
Run encode_run(const void* src, Bound bound, char* dst, std::size_t room) {
  constexpr std::size_t step = 16;
  const auto* text = static_cast<const char*>(src);
  Ends ends;
  while (true) {
    narrow_short_forms(text, bound, dst, room, ends);
    const std::size_t readable = bound.template readable<4>(text, ends.read, step);
    if (readable == 0) break;
    Characters characters = load_characters(text + ends.read * 4, readable);
    const Vector bytes = spread(characters.values);
    Mask used = _mm512_test_epi8_mask(bytes, bytes);
    if (const std::size_t left = room - ends.written; count_of(used) > left) {
      // Only characters that fit whole: each has four of the bits.
      characters.count = lowest_bit(used ^ _pdep_u64(first(left), used)) / 4;
      used &= first(characters.count * 4);
    }
    store_bytes(dst + ends.written, count_of(used), _mm512_maskz_compress_epi8(used, bytes));
    ends.read += characters.count;
    ends.written += count_of(used);
    if (characters.count < readable) break;
  }
  return {ends.read, ends.written};
}

Run encode(const void* src, std::size_t count, char* dst, std::size_t room) {
  return encode_run(src, Counted{count}, dst, room);
}
Run encode_terminated(const void* src, char* dst, std::size_t room) { return encode_run(src, Terminated{}, dst, room); }

std::size_t longer_than(const Characters& characters, std::uint32_t limit) {
  return count_of(_mm512_cmpgt_epu32_mask(characters.values, repeat32(limit)));
}

Run count_encoded(const void* src, std::size_t count) {
  const auto* text = static_cast<const char*>(src);
  Ends ends;
  while (ends.read < count) {
    const std::size_t readable = least(count - ends.read, 16);
    const Characters characters = load_characters(text + ends.read * 4, readable);
    ends.read += characters.count;
    ends.written += characters.count;
    ends.written += longer_than(characters, 0x7F) + longer_than(characters, 0x7FF) + longer_than(characters, 0xFFFF);
    if (characters.count < readable) break;
  }
  return {ends.read, ends.written};
}

}  // namespace

const TextKernels text_kernels_avx512{decode,        decode_terminated, encode, encode_terminated,
                                      count_decoded, count_encoded};

}  // namespace zvrt
