// UTF-8 in vectors of 64 bytes: where its characters start and their payload, for the kernels that decode it; the bytes of
// characters, for those that encode it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "encoding/kernels/avx512/text.h"

namespace zvrt::avx512 {

// A text is readable to the end of each page it reaches, and one unit beyond what is known to be no terminator.
struct TerminatedBytes {
  static constexpr bool is_terminated = true;
  static bool goes_on(std::size_t /*read*/) { return true; }
  ZVRT_INLINED static std::size_t readable(const char* src, std::size_t read, std::size_t limit) {
    const char* at = src + read;
    const std::size_t bytes = min(to_page_end(at), limit);
    if (bytes >= max_sequence) [[likely]]
      return bytes;
    // A character may stand across the pages; what the next one has of it is looked for byte by byte.
    const std::size_t max_length = min(max_sequence, limit);
    std::size_t known = 1;
    while (known < max_length && at[known - 1] != 0) ++known;
    return known > bytes ? known : bytes;
  }

 private:
  static constexpr std::size_t max_sequence = 4;
};

// The same with a count, whichever comes first.
struct CountedBytes {
  static constexpr bool is_terminated = true;
  std::size_t count;

  bool goes_on(std::size_t read) const { return read < count; }
  ZVRT_INLINED std::size_t readable(const char* src, std::size_t read, std::size_t limit) const {
    const std::size_t left = min(count - read, limit);
    // A character across two pages: it is looked for byte by byte, within the count.
    return to_page_end(src + read) >= left ? left : TerminatedBytes::readable(src, read, left);
  }
};

// The characters of a block, by their first bytes. A length is the distance to the next byte that is no continuation;
// where it is what the lead byte asks for, the character is well-formed, and no continuation byte too many follows it.
struct Characters {
  Vector bytes;
  Vector positions;
  Vector lengths;
};

// What is no continuation byte starts a character, the terminator included: signed, those are the bytes from C0.
inline constexpr char first_lead = static_cast<char>(0xC0);

ZVRT_INLINED Characters locate(Vector bytes, __mmask64 leads) {
  const Vector positions = _mm512_maskz_compress_epi8(leads, load_ramp<1>());
  const Vector next = _mm512_permutexvar_epi8(_mm512_add_epi8(load_ramp<1>(), repeat8(1)), positions);
  // At most 15, which no character has, as a table has sixteen places.
  return {bytes, positions, _mm512_min_epu8(_mm512_sub_epi8(next, positions), repeat8(15))};
}

// Each lane holds one sequence, lead byte highest, then bytes of the next: [1110aaaa|10bbbbbb|10cccccc|xxxxxxxx]. Tables by the length in bytes give the right shift that drops x, the marker bits to XOR away and a limit. After the XOR, payload - 1 >= limit exactly if the lead byte does not announce that length or the code point is 0.
template <class Lane, unsigned places>
struct Forms {
  alignas(64) Lane shifts[places];
  alignas(64) Lane marks[places];
  alignas(64) Lane limits[places];
};
inline constexpr Forms<std::uint32_t, 16> mixed_form_table{
    {0, 24, 16, 8, 0}, {0, 0, 0xC080, 0xE08080, 0xF0808080}, {0, 0x7F, 0x1FFF, 0xFFFFF, 0x7FFFFFF}};
inline constexpr Forms<std::uint16_t, 32> short_form_table{{0, 8, 0}, {0, 0, 0xC080}, {0, 0x7F, 0x1FFF}};

// The payload of each lane's character, its groups of six bits still a byte each, and the lanes whose character is none:
// malformed, or zero.
struct Payload {
  Vector bits;
  Mask malformed;
};

// The characters that `which` names, in lanes of 32 bits, of one to four bytes each:
//   gathered      [1110aaaa|10bbbbbb|10cccccc|xxxxxxxx], the lead byte highest, x what follows the character
//   shifted       [00000000|1110aaaa|10bbbbbb|10cccccc]
//   less marks    [00000000|0000aaaa|00bbbbbb|00cccccc]
ZVRT_INLINED Payload payload_of_any(const Characters& from, Vector which) {
  const Vector at = _mm512_add_epi8(_mm512_permutexvar_epi8(which, from.positions), repeat32(0x00010203));
  const Vector raw = _mm512_permutexvar_epi8(at, from.bytes);
  const Vector length = _mm512_permutexvar_epi8(which, from.lengths);
  const Vector shift = _mm512_permutexvar_epi32(length, _mm512_load_si512(mixed_form_table.shifts));
  const Vector marks = _mm512_permutexvar_epi32(length, _mm512_load_si512(mixed_form_table.marks));
  const Vector limit = _mm512_permutexvar_epi32(length, _mm512_load_si512(mixed_form_table.limits));
  const Vector bits = _mm512_xor_si512(_mm512_srlv_epi32(raw, shift), marks);
  return {bits, _mm512_cmpge_epu32_mask(_mm512_sub_epi32(bits, _mm512_set1_epi32(1)), limit)};
}

// [00000000|0000aaaa|00bbbbbb|00cccccc] to the character aaaabbbbbbcccccc; U+FFFD becomes a question mark.
ZVRT_INLINED Vector characters_of(const Payload& payload) {
  const Vector pairs = _mm512_maddubs_epi16(payload.bits, repeat16(0x4001));  // upper * 64 + lower
  const Vector characters = _mm512_madd_epi16(pairs, repeat32(0x10000001));   // upper * 4096 + lower
  const __mmask16 replaced = _mm512_cmpeq_epi32_mask(characters, _mm512_set1_epi32(0xFFFD));
  return _mm512_mask_mov_epi32(characters, replaced, _mm512_set1_epi32('?'));
}

// The same for one or two bytes, in lanes of 16 bits: [110aaaaa|10bbbbbb] to [000aaaaa|00bbbbbb].
ZVRT_INLINED Payload payload_of_short_forms(const Characters& from, Vector which) {
  const Vector at = _mm512_add_epi8(_mm512_permutexvar_epi8(which, from.positions), repeat16(0x0001));
  const Vector raw = _mm512_permutexvar_epi8(at, from.bytes);
  const Vector length = _mm512_permutexvar_epi8(which, from.lengths);
  const Vector shift = _mm512_permutexvar_epi16(length, _mm512_load_si512(short_form_table.shifts));
  const Vector marks = _mm512_permutexvar_epi16(length, _mm512_load_si512(short_form_table.marks));
  const Vector limit = _mm512_permutexvar_epi16(length, _mm512_load_si512(short_form_table.limits));
  const Vector bits = _mm512_xor_si512(_mm512_srlv_epi16(raw, shift), marks);
  return {bits, _mm512_cmpge_epu16_mask(_mm512_sub_epi16(bits, repeat16(1)), limit)};
}
ZVRT_INLINED Vector units_of(const Payload& payload) { return _mm512_maddubs_epi16(payload.bits, repeat16(0x4001)); }

// ---- Encoding ----

// The last characters of one to four bytes.
inline constexpr std::uint32_t last_of_one = 0x7F;
inline constexpr std::uint32_t last_of_two = 0x7FF;
inline constexpr std::uint32_t last_of_three = 0xFFFF;
inline constexpr std::uint32_t last_of_four = 0x1FFFFF;

// A character's bytes are its groups of six bits with marks in between; one byte keeps seven. By the leading zero bits
// of the value: from 25 one byte, 21 two, 16 three, 11 four.
struct EncodedForms {
  alignas(64) std::uint32_t marks[32];
  alignas(64) std::uint32_t payloads[32];
  constexpr EncodedForms() : marks(), payloads() {
    for (unsigned zeros = 11; zeros < 32; ++zeros) {
      marks[zeros] = zeros < 16 ? 0x808080F0 : zeros < 21 ? 0x8080E000 : zeros < 25 ? 0x80C00000 : 0;
      payloads[zeros] = zeros < 25 ? 0x3F3F3F3F : 0x7F000000;
    }
  }
};
inline constexpr EncodedForms encoded_forms;

ZVRT_INLINED Vector look_up(const std::uint32_t (&table)[32], Vector which) {
  return _mm512_permutex2var_epi32(_mm512_load_si512(table), which, _mm512_load_si512(table + 16));
}

// Each character's bytes at the upper end of its lane, zeros before them; no byte of a character is zero.
ZVRT_INLINED Vector expand(Vector characters) {
  const Vector zeros = _mm512_lzcnt_epi32(characters);
  const Vector groups = _mm512_multishift_epi64_epi8(repeat64(0x20262C3200060C12), characters);
  // (groups & payloads) | marks
  return _mm512_ternarylogic_epi32(groups, look_up(encoded_forms.payloads, zeros), look_up(encoded_forms.marks, zeros),
                                   0xEA);
}

// The same for characters of one or two bytes, in lanes of 16 bits. Mask operations run on one or two ports only, so
// the choice is made with vector operations.
ZVRT_INLINED Vector expand_short_forms(Vector units) {
  const Vector upper = _mm512_slli_epi16(units, 8);
  // ((upper & 3F00) | leads) | 80C0
  const Vector pairs = _mm512_or_si512(
      _mm512_ternarylogic_epi32(upper, repeat16(0x3F00), _mm512_srli_epi16(units, 6), 0xEA), repeat16(0x80C0));
  const Vector longer = _mm512_srai_epi16(_mm512_sub_epi16(repeat16(0x7F), units), 15);
  return _mm512_ternarylogic_epi32(longer, pairs, upper, 0xCA);  // longer ? pairs : upper
}

// Stores the bytes of some characters, of which each has `lane` bytes of the vector, as far as complete characters fit;
// returns how many did.
template <std::size_t lane>
ZVRT_INLINED std::size_t store_forms(Vector bytes, std::size_t characters, char* dst, std::size_t capacity,
                                     Progress& progress) {
  const __mmask64 used = _mm512_test_epi8_mask(bytes, bytes);
  std::size_t count = count_of(used);
  if (const std::size_t left = capacity - progress.written; count > left) [[unlikely]] {
    characters = lowest_bit(used ^ _pdep_u64(first(left), used)) / lane;
    count = count_of(used & first(characters * lane));
  }
  _mm512_mask_storeu_epi8(dst + progress.written, first(count), _mm512_maskz_compress_epi8(used, bytes));
  progress.written += count;
  return characters;
}

// A step takes all it may read or is the last one. Where it takes all, the next one's address follows from what was
// readable alone, and need not wait for this one's characters.
template <class Bound>
ZVRT_INLINED bool taken(std::size_t characters, std::size_t readable, Bound bound, Progress& progress) {
  if (characters != readable) {
    progress.read += characters;
    return false;
  }
  progress.read += readable;
  return bound.goes_on(progress.read);
}

}  // namespace zvrt::avx512
