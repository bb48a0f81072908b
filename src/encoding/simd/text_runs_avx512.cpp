// The text kernels by AVX-512: a masked load ends with the text and a masked store with what was produced, so that a
// short value is one step without a loop over its tail.
#include <cstdint>
#include <cstring>

#include "encoding/simd/avx512.h"
#include "encoding/text_runs.h"
#include "frame/read_ahead.h"
#include "frame/units.h"

namespace zvrt {

namespace {

using namespace avx512;

// Where a source ends: how many units may be read behind those read already, `most` at most; none at the end.
struct Counted {
  static constexpr bool is_terminated = false;
  std::size_t count;

  bool goes_on(std::size_t read) const { return read < count; }

  std::size_t readable(const char* /*src*/, std::size_t read, std::size_t most) const {
    return least(count - read, most);
  }
};

// A text is readable to the end of each page it reaches, and one unit beyond what is known to be no terminator.
struct TerminatedBytes {
  static constexpr bool is_terminated = true;
  static bool goes_on(std::size_t /*read*/) { return true; }
  static std::size_t readable(const char* src, std::size_t read, std::size_t most) {
    const char* at = src + read;
    const std::size_t bytes = least(to_page_end(at), most);
    if (bytes >= longest_form) [[likely]]
      return bytes;
    // A character may stand across the pages; what the next one has of it is looked for byte by byte.
    std::size_t known = 1;
    while (known < longest_form && at[known - 1] != 0) ++known;
    return known > bytes ? known : bytes;
  }

 private:
  static constexpr std::size_t longest_form = 4;
};

// ---- UTF-8 to wide text ----

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

// The characters of a block, by their first bytes. A length is the distance to the next byte that is no continuation;
// where it is what the lead byte asks for, the character is well-formed, and nothing stray lies behind it.
struct Characters {
  Vector bytes;
  Vector positions;
  Vector lengths;
};

// What is no continuation byte starts a character, the terminator included: signed, those are the bytes from C0.
constexpr char first_lead = static_cast<char>(0xC0);

[[gnu::always_inline]] inline Characters locate(Vector bytes, __mmask64 leads) {
  const Vector positions = _mm512_maskz_compress_epi8(leads, load_ramp<1>());
  const Vector next = _mm512_permutexvar_epi8(_mm512_add_epi8(load_ramp<1>(), repeat8(1)), positions);
  // At most 15, which no character has, as a table has sixteen places.
  return {bytes, positions, _mm512_min_epu8(_mm512_sub_epi8(next, positions), repeat8(15))};
}

// A character's bytes are gathered in a lane, the lead on top, and shifted down by what is not theirs. By its length in
// bytes: that shift, the marks of its bytes, and the largest payload of its lead byte with all bits below. A length
// that does not belong to a lead byte exceeds that; so does zero, less one.
template <class Lane, unsigned places>
struct Forms {
  alignas(64) Lane shifts[places];
  alignas(64) Lane marks[places];
  alignas(64) Lane limits[places];
};
constexpr Forms<std::uint32_t, 16> mixed_form_table{
    {0, 24, 16, 8, 0}, {0, 0, 0xC080, 0xE08080, 0xF0808080}, {0, 0x7F, 0x1FFF, 0xFFFFF, 0x7FFFFFF}};
constexpr Forms<std::uint16_t, 32> short_form_table{{0, 8, 0}, {0, 0, 0xC080}, {0, 0x7F, 0x1FFF}};

void store_characters(char* dst, __mmask16 lanes, Vector characters) {
  _mm512_mask_storeu_epi32(dst, lanes, characters);
}

// Characters of one to four bytes, sixteen at a time; returns how many are ordinary.
template <bool writes>
[[gnu::always_inline]] inline std::size_t widen_mixed(const Characters& from, std::size_t count, char* dst) {
  Vector which = load_ramp<4>();
  for (std::size_t done = 0; done < count; done += 16) {
    const Vector at = _mm512_add_epi8(_mm512_permutexvar_epi8(which, from.positions), repeat32(0x00010203));
    const Vector raw = _mm512_permutexvar_epi8(at, from.bytes);
    const Vector length = _mm512_permutexvar_epi8(which, from.lengths);
    const Vector shift = _mm512_permutexvar_epi32(length, _mm512_load_si512(mixed_form_table.shifts));
    const Vector marks = _mm512_permutexvar_epi32(length, _mm512_load_si512(mixed_form_table.marks));
    const Vector limit = _mm512_permutexvar_epi32(length, _mm512_load_si512(mixed_form_table.limits));
    const Vector payload = _mm512_xor_si512(_mm512_srlv_epi32(raw, shift), marks);
    __mmask16 lanes = first16(count - done);
    const __mmask16 odd = _mm512_mask_cmpge_epu32_mask(lanes, _mm512_sub_epi32(payload, _mm512_set1_epi32(1)), limit);
    if (odd != 0) [[unlikely]]
      lanes = static_cast<__mmask16>(below(odd));
    if (writes) {
      const Vector pairs = _mm512_maddubs_epi16(payload, repeat16(0x4001));      // upper * 64 + lower
      const Vector characters = _mm512_madd_epi16(pairs, repeat32(0x10000001));  // upper * 4096 + lower
      const __mmask16 replaced = _mm512_cmpeq_epi32_mask(characters, _mm512_set1_epi32(0xFFFD));
      const Vector result = _mm512_mask_mov_epi32(characters, replaced, _mm512_set1_epi32('?'));
      store_characters(dst + done * 4, lanes, result);
    }
    if (odd != 0) [[unlikely]]
      return done + lowest_bit(odd);
    which = _mm512_add_epi8(which, repeat8(16));
  }
  return count;
}

// The same for one or two bytes, in lanes of 16 bits.
template <bool writes>
[[gnu::always_inline]] inline std::size_t widen_short_forms(const Characters& from, std::size_t count, char* dst) {
  Vector which = load_ramp<2>();
  for (std::size_t done = 0; done < count; done += 32) {
    const Vector at = _mm512_add_epi8(_mm512_permutexvar_epi8(which, from.positions), repeat16(0x0001));
    const Vector raw = _mm512_permutexvar_epi8(at, from.bytes);
    const Vector length = _mm512_permutexvar_epi8(which, from.lengths);
    const Vector shift = _mm512_permutexvar_epi16(length, _mm512_load_si512(short_form_table.shifts));
    const Vector marks = _mm512_permutexvar_epi16(length, _mm512_load_si512(short_form_table.marks));
    const Vector limit = _mm512_permutexvar_epi16(length, _mm512_load_si512(short_form_table.limits));
    const Vector payload = _mm512_xor_si512(_mm512_srlv_epi16(raw, shift), marks);
    __mmask32 lanes = first32(count - done);
    const __mmask32 odd = _mm512_mask_cmpge_epu16_mask(lanes, _mm512_sub_epi16(payload, repeat16(1)), limit);
    if (odd != 0) [[unlikely]]
      lanes = static_cast<__mmask32>(below(odd));
    if (writes) {
      const Vector units = _mm512_maddubs_epi16(payload, repeat16(0x4001));  // upper * 64 + lower
      char* out = dst + done * 4;
      store_characters(out, static_cast<__mmask16>(lanes), _mm512_cvtepu16_epi32(_mm512_castsi512_si256(units)));
      store_characters(out + 64, static_cast<__mmask16>(lanes >> 16),
                       _mm512_cvtepu16_epi32(_mm512_extracti64x4_epi64(units, 1)));
    }
    if (odd != 0) [[unlikely]]
      return done + lowest_bit(odd);
    which = _mm512_add_epi8(which, repeat8(32));
  }
  return count;
}

template <int quarter>
void widen_quarter(Vector bytes, Mask lanes, char* dst) {
  store_characters(dst + quarter * 64, static_cast<__mmask16>(lanes >> quarter * 16),
                   _mm512_cvtepu8_epi32(_mm512_extracti32x4_epi32(bytes, quarter)));
}

// Lengths up to 32 bytes differ too often to be worth a branch each.
[[gnu::always_inline]] inline void widen_ascii(Vector bytes, Mask lanes, char* dst) {
  widen_quarter<0>(bytes, lanes, dst);
  widen_quarter<1>(bytes, lanes, dst);
  if (lanes >> 32 == 0) return;
  widen_quarter<2>(bytes, lanes, dst);
  widen_quarter<3>(bytes, lanes, dst);
}

constexpr std::size_t step_bytes = 64;

// How far a run has got in both texts.
struct Ends {
  std::size_t read = 0;
  std::size_t written = 0;
};

// A step of at most 64 bytes from the start of a character. Returns false where the run ends.
template <bool writes, class Bound>
[[gnu::always_inline]] inline bool decode_step(const char* src, Bound bound, char* dst, std::size_t room, Ends& ends) {
  const std::size_t readable = bound.readable(src, ends.read, step_bytes);
  if (readable == 0) return false;
  const Vector bytes = Bound::is_terminated && readable == step_bytes
                           ? _mm512_loadu_si512(src + ends.read)
                           : _mm512_maskz_loadu_epi8(first(readable), src + ends.read);
  const Mask nonzero = _mm512_test_epi8_mask(bytes, bytes);
  const Mask inside = trailing_ones(nonzero);
  const std::size_t text = lowest_bit(~nonzero);
  const std::size_t left = writes ? least(room - ends.written, step_bytes) : step_bytes;
  char* out = writes ? dst + ends.written * 4 : nullptr;
  if ((_mm512_movepi8_mask(bytes) & inside) == 0) {
    const std::size_t count = least(text, left);
    if (writes) widen_ascii(bytes, first(count), out);
    ends.read += count;
    ends.written += count;
    return count == readable && bound.goes_on(ends.read);
  }
  const __mmask64 lead_bytes = _mm512_cmpge_epi8_mask(bytes, _mm512_set1_epi8(first_lead));
  Mask leads = lead_bytes & inside;
  if ((leads & 1) == 0) return false;
  // The last character may go on behind a block that is full.
  std::size_t stop = text == step_bytes ? highest_bit(leads) : text;
  leads &= first(stop);
  const std::size_t whole = count_of(leads);
  const Characters characters = locate(bytes, lead_bytes);
  const Mask long_forms = _mm512_cmpge_epu8_mask(bytes, repeat8(0xE0)) & inside;
  const std::size_t done = long_forms == 0 ? widen_short_forms<writes>(characters, least(whole, left), out)
                                           : widen_mixed<writes>(characters, least(whole, left), out);
  // `whole` counts the bits of a mask, so that fewer are below 64.
  if (done != whole) [[unlikely]]  // NOLINTNEXTLINE(clang-analyzer-core.UndefinedBinaryOperatorResult)
    stop = lowest_bit(_pdep_u64(Mask{1} << done, leads));
  ends.read += stop;
  ends.written += done;
  return stop != 0 && text >= readable && bound.goes_on(ends.read);
}

// Steps of 64 bytes while all of them are there and ordinary. They follow each other at distances that do not depend on
// their characters, so that none waits for the one before; the last bytes of each are left to the next, as a character
// has to be seen whole.
template <bool writes, class Bound>
[[gnu::always_inline]] inline bool decode_long(const char* src, Bound bound, char* dst, std::size_t room, Ends& ends) {
  constexpr std::size_t step = step_bytes;
  constexpr std::size_t own = 60;
  std::size_t from = ends.read;
  while ((!writes || room - ends.written >= step) && bound.readable(src, from, step) == step) {
    const Vector bytes = _mm512_loadu_si512(src + from);
    if (_mm512_testn_epi8_mask(bytes, bytes) != 0) break;
    char* out = writes ? dst + ends.written * 4 : nullptr;
    if (_mm512_movepi8_mask(bytes) == 0) {
      if (writes) widen_ascii(bytes, first(step), out);
      from += step;
      ends.read = from;
      ends.written += step;
      continue;
    }
    const __mmask64 lead_bytes = _mm512_cmpge_epi8_mask(bytes, _mm512_set1_epi8(first_lead));
    // Continuation bytes may lead the step only as far as a character reaches into it.
    if ((lead_bytes >> (ends.read - from) & 1) == 0) break;
    const Mask leads = lead_bytes & first(own);
    const std::size_t count = count_of(leads);
    const Characters characters = locate(bytes, lead_bytes);
    const bool long_forms = _mm512_cmpge_epu8_mask(bytes, repeat8(0xE0)) != 0;
    const std::size_t done =
        long_forms ? widen_mixed<writes>(characters, count, out) : widen_short_forms<writes>(characters, count, out);
    ends.written += done;
    if (done != count) [[unlikely]] {
      ends.read = from + lowest_bit(_pdep_u64(Mask{1} << done, leads));
      return false;
    }
    ends.read = from + lowest_bit(lead_bytes & ~first(own));
    from += own;
  }
  return true;
}

template <bool writes, class Bound>
[[gnu::noinline]] Run decode_further(const char* src, Bound bound, char* dst, std::size_t room, Ends ends) {
  // Most texts that reach here end within one more step.
  while (decode_step<writes>(src, bound, dst, room, ends) && decode_long<writes>(src, bound, dst, room, ends)) {
  }
  return {ends.read, ends.written};
}

// A value is short as a rule: its one step stands apart from all that longer text needs.
template <bool writes, class Bound>
Run decode_run(const char* src, Bound bound, void* dst, std::size_t room) {
  Ends ends;
  auto* out = static_cast<char*>(dst);
  if (decode_step<writes>(src, bound, out, room, ends)) return decode_further<writes>(src, bound, out, room, ends);
  return {ends.read, ends.written};
}

Run decode(const char* src, std::size_t count, void* dst, std::size_t room) {
  return decode_run<true>(src, Counted{count}, dst, room);
}
Run decode_terminated(const char* src, void* dst, std::size_t room) {
  if constexpr (!reads_ahead) return decode_run<true>(src, Counted{std::strlen(src)}, dst, room);
  return decode_run<true>(src, TerminatedBytes{}, dst, room);
}
Run count_decoded(const char* src, std::size_t count) { return decode_run<false>(src, Counted{count}, nullptr, 0); }

// ---- Wide text to UTF-8 ----

// The lowest byte of each of 32 lanes of 32 bits.
struct FourthBytes {
  alignas(64) std::uint8_t bytes[64];
  constexpr FourthBytes() : bytes() {
    for (unsigned i = 0; i < 32; ++i) bytes[i] = static_cast<std::uint8_t>(i * 4);
  }
};
constexpr FourthBytes fourth_bytes;

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
constexpr EncodedForms encoded_forms;

Vector look_up(const std::uint32_t (&table)[32], Vector which) {
  return _mm512_permutex2var_epi32(_mm512_load_si512(table), which, _mm512_load_si512(table + 16));
}

// Each character's bytes at the upper end of its lane, zeros before them; no byte of a character is zero.
Vector spread(Vector characters) {
  const Vector zeros = _mm512_lzcnt_epi32(characters);
  const Vector groups = _mm512_multishift_epi64_epi8(repeat64(0x20262C3200060C12), characters);
  // (groups & payloads) | marks
  return _mm512_ternarylogic_epi32(groups, look_up(encoded_forms.payloads, zeros), look_up(encoded_forms.marks, zeros),
                                   0xEA);
}

// The same for characters of one or two bytes, in lanes of 16 bits. Masks are few in number on their way through the
// processor: what can be chosen by vectors is.
Vector spread_short_forms(Vector units) {
  const Vector upper = _mm512_slli_epi16(units, 8);
  // ((upper & 3F00) | leads) | 80C0
  const Vector pairs = _mm512_or_si512(
      _mm512_ternarylogic_epi32(upper, repeat16(0x3F00), _mm512_srli_epi16(units, 6), 0xEA), repeat16(0x80C0));
  const Vector longer = _mm512_srai_epi16(_mm512_sub_epi16(repeat16(0x7F), units), 15);
  return _mm512_ternarylogic_epi32(longer, pairs, upper, 0xCA);  // longer ? pairs : upper
}

// Stores the bytes of some characters, of which each has `lane` bytes of the vector, as far as whole characters fit;
// returns how many did.
template <std::size_t lane>
[[gnu::always_inline]] inline std::size_t store_forms(Vector bytes, std::size_t characters, char* dst, std::size_t room,
                                                      Ends& ends) {
  const __mmask64 used = _mm512_test_epi8_mask(bytes, bytes);
  std::size_t count = count_of(used);
  if (const std::size_t left = room - ends.written; count > left) [[unlikely]] {
    characters = lowest_bit(used ^ _pdep_u64(first(left), used)) / lane;
    count = count_of(used & first(characters * lane));
  }
  _mm512_mask_storeu_epi8(dst + ends.written, first(count), _mm512_maskz_compress_epi8(used, bytes));
  ends.written += count;
  return characters;
}

// The units of the vector that begins `before` units behind `at`, of `readable` units there. A terminated text is
// readable for the whole of a step but at the end of a page.
template <class Bound>
[[gnu::always_inline]] inline Vector load_units(const char* at, std::size_t readable, std::size_t before,
                                                std::size_t step) {
  const char* units = at + before * 4;
  if (Bound::is_terminated && readable == step) [[likely]]
    return _mm512_loadu_si512(units);
  return _mm512_maskz_loadu_epi32(lanes_of(first(readable), static_cast<unsigned>(before) / 16), units);
}

// The units of two vectors in lanes of 16 bits; FFFF for what is more.
Vector in_words(Vector low, Vector high) {
  return _mm512_inserti64x4(_mm512_castsi256_si512(_mm512_cvtusepi32_epi16(low)), _mm512_cvtusepi32_epi16(high), 1);
}

constexpr std::uint32_t last_of_one = 0x7F;
constexpr std::uint32_t last_of_two = 0x7FF;
constexpr std::uint32_t last_of_three = 0xFFFF;
constexpr std::uint32_t last_of_four = 0x1FFFFF;

enum class Step : std::uint8_t { ends, goes_on, is_not_ascii };

// A step takes all it may read or is the last one. Where it takes all, the next one's address follows from what was
// readable alone, and need not wait for this one's characters.
template <class Bound>
[[gnu::always_inline]] inline bool taken(std::size_t characters, std::size_t readable, Bound bound, Ends& ends) {
  if (characters != readable) {
    ends.read += characters;
    return false;
  }
  ends.read += readable;
  return bound.goes_on(ends.read);
}

// At most 48 characters, if they are ASCII. Texts of about 16, 32 and 64 characters, where the lengths in a column
// gather, differ little within each group in the number of such steps, so that the branch between them is foreseen.
template <class Bound>
[[gnu::always_inline]] inline Step encode_ascii_step(const char* src, Bound bound, char* dst, std::size_t room,
                                                     Ends& ends) {
  constexpr std::size_t most = 48;
  const std::size_t readable = bound.readable(src, ends.read, most);
  if (readable == 0) return Step::ends;
  const char* at = src + ends.read * 4;
  const Vector bytes = in_bytes(load_units<Bound>(at, readable, 0, most), load_units<Bound>(at, readable, 16, most),
                                load_units<Bound>(at, readable, 32, most), Vector{});
  const Mask zeros = _mm512_testn_epi8_mask(bytes, bytes);
  if ((_mm512_movepi8_mask(bytes) & below(zeros)) != 0) return Step::is_not_ascii;
  const std::size_t count = least(lowest_bit(zeros), room - ends.written);
  _mm512_mask_storeu_epi8(dst + ends.written, first(count), bytes);
  ends.written += count;
  return taken(count, readable, bound, ends) ? Step::goes_on : Step::ends;
}

bool any_above(Vector units, std::uint32_t limit) { return _mm512_test_epi32_mask(units, repeat32(~limit)) != 0; }

// At most 32 characters of any length. Returns false where the run ends.
template <class Bound>
[[gnu::always_inline]] inline bool encode_step(const char* src, Bound bound, char* dst, std::size_t room, Ends& ends) {
  constexpr std::size_t most = 32;
  const std::size_t readable = bound.readable(src, ends.read, most);
  if (readable == 0) return false;
  const char* at = src + ends.read * 4;
  Vector low = load_units<Bound>(at, readable, 0, most);
  Vector high = load_units<Bound>(at, readable, 16, most);
  const Vector words = in_words(low, high);
  constexpr Mask behind = ~((Mask{1} << most) - 1);
  Mask inside = below(Mask{_mm512_testn_epi16_mask(words, words)} | behind);
  if ((_mm512_cmpgt_epu16_mask(words, repeat16(last_of_two)) & inside) == 0) {
    const Vector units = _mm512_maskz_mov_epi16(static_cast<__mmask32>(inside), words);
    const std::size_t characters = store_forms<2>(spread_short_forms(units), count_of(inside), dst, room, ends);
    return taken(characters, readable, bound, ends);
  }
  low = _mm512_maskz_mov_epi32(lanes_of(inside, 0), low);
  high = _mm512_maskz_mov_epi32(lanes_of(inside, 1), high);
  if (any_above(_mm512_or_si512(low, high), last_of_four)) [[unlikely]] {
    const Vector limit = repeat32(last_of_four);
    inside &= below(_mm512_kunpackw(_mm512_cmpgt_epu32_mask(high, limit), _mm512_cmpgt_epu32_mask(low, limit)));
    low = _mm512_maskz_mov_epi32(lanes_of(inside, 0), low);
    high = _mm512_maskz_mov_epi32(lanes_of(inside, 1), high);
  }
  const std::size_t text = count_of(inside);
  const std::size_t in_low = least(text, 16);
  std::size_t characters = store_forms<4>(spread(low), in_low, dst, room, ends);
  if (characters == in_low) characters += store_forms<4>(spread(high), text - in_low, dst, room, ends);
  return taken(characters, readable, bound, ends);
}

// 32 ordinary characters, sure of their room.
[[gnu::always_inline]] inline void store_half(Vector low, Vector high, bool long_forms, char* dst, std::size_t room,
                                              Ends& ends) {
  if (long_forms) {
    ends.read += store_forms<4>(spread(low), 16, dst, room, ends);
    ends.read += store_forms<4>(spread(high), 16, dst, room, ends);
  } else {
    ends.read += store_forms<2>(spread_short_forms(in_words(low, high)), 32, dst, room, ends);
  }
}

// Steps of 64 characters while all of them are there, ordinary and sure of their room.
template <class Bound>
[[gnu::always_inline]] inline void encode_long(const char* src, Bound bound, char* dst, std::size_t room, Ends& ends) {
  constexpr std::size_t step = 64;
  while (room - ends.written >= step * 4 && bound.readable(src, ends.read, step) == step) {
    const char* at = src + ends.read * 4;
    const Vector a = _mm512_loadu_si512(at);
    const Vector b = _mm512_loadu_si512(at + 64);
    const Vector c = _mm512_loadu_si512(at + 128);
    const Vector d = _mm512_loadu_si512(at + 192);
    const Vector least_units = _mm512_min_epu32(_mm512_min_epu32(a, b), _mm512_min_epu32(c, d));
    const Vector any = _mm512_or_si512(_mm512_or_si512(a, b), _mm512_or_si512(c, d));
    // The limits are powers of two, less one.
    if (_mm512_testn_epi32_mask(least_units, least_units) != 0 || any_above(any, last_of_four)) return;
    if (any_above(any, last_of_one)) {
      const bool long_forms = any_above(any, last_of_two);
      store_half(a, b, long_forms, dst, room, ends);
      store_half(c, d, long_forms, dst, room, ends);
    } else {
      const Vector low = _mm512_permutex2var_epi8(a, _mm512_load_si512(fourth_bytes.bytes), b);
      const Vector high = _mm512_permutex2var_epi8(c, _mm512_load_si512(fourth_bytes.bytes), d);
      _mm512_storeu_si512(dst + ends.written, _mm512_inserti64x4(low, _mm512_castsi512_si256(high), 1));
      ends.read += step;
      ends.written += step;
    }
  }
}

// Most texts that reach here end within two more steps, before a long one could be tried.
template <class Bound>
[[gnu::noinline]] Run encode_further(const char* src, Bound bound, char* dst, std::size_t room, Ends ends) {
  Step step = ends.read == ends.written ? Step::goes_on : Step::is_not_ascii;
  if (step == Step::goes_on) {
    while ((step = encode_ascii_step(src, bound, dst, room, ends)) == Step::goes_on &&
           (step = encode_ascii_step(src, bound, dst, room, ends)) == Step::goes_on)
      encode_long(src, bound, dst, room, ends);
  }
  if (step == Step::is_not_ascii) {
    while (encode_step(src, bound, dst, room, ends) && encode_step(src, bound, dst, room, ends))
      encode_long(src, bound, dst, room, ends);
  }
  return {ends.read, ends.written};
}

template <class Bound>
Run encode_run(const void* src, Bound bound, char* dst, std::size_t room) {
  Ends ends;
  const auto* text = static_cast<const char*>(src);
  const Step step = encode_ascii_step(text, bound, dst, room, ends);
  if (step == Step::goes_on || (step == Step::is_not_ascii && encode_step(text, bound, dst, room, ends))) {
    return encode_further(text, bound, dst, room, ends);
  }
  return {ends.read, ends.written};
}

Run encode(const void* src, std::size_t count, char* dst, std::size_t room) {
  return encode_run(src, Counted{count}, dst, room);
}
Run encode_terminated(const void* src, char* dst, std::size_t room) {
  if constexpr (!reads_ahead) return encode_run(src, Counted{static_cast<std::size_t>(length_of(src))}, dst, room);
  return encode_run(src, TerminatedUnits<4>{}, dst, room);
}

Run count_encoded(const void* src, std::size_t count) {
  const auto* text = static_cast<const char*>(src);
  constexpr std::size_t step = 16;
  Ends ends;
  while (ends.read < count) {
    const std::size_t readable = least(count - ends.read, step);
    const Vector units = _mm512_maskz_loadu_epi32(first16(readable), text + ends.read * 4);
    const auto above = [units](std::uint32_t limit) { return Mask{_mm512_cmpgt_epu32_mask(units, repeat32(limit))}; };
    const Mask inside = trailing_ones(_mm512_test_epi32_mask(units, units)) & below(above(last_of_four));
    const std::size_t characters = count_of(inside);
    ends.read += characters;
    ends.written += characters + count_of(above(last_of_one) & inside) + count_of(above(last_of_two) & inside) +
                    count_of(above(last_of_three) & inside);
    if (characters < readable) break;
  }
  return {ends.read, ends.written};
}

}  // namespace

const TextKernels text_kernels_avx512{
    decode,        decode_terminated,  encode,           encode_terminated, count_decoded,
    count_encoded, copy_narrow_avx512, copy_wide_avx512,
};

}  // namespace zvrt
