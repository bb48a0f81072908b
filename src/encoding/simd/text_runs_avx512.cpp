// The text kernels by AVX-512: a masked load ends with the text and a masked store with what was produced, so that a
// short value is one step without a loop over its tail.
#include <immintrin.h>

#include <cstdint>
#include <cstring>

#include "encoding/text_runs.h"
#include "frame/read_ahead.h"
#include "frame/units.h"
#include "frame/wraps.h"

namespace zvrt {

namespace {

using Vector = __m512i;
using Mask = std::uint64_t;

std::size_t least(std::size_t a, std::size_t b) { return a < b ? a : b; }

// The lowest `count` bits, for a count of 64 at most.
Mask first(std::size_t count) { return _bzhi_u64(~Mask{0}, static_cast<unsigned>(count)); }
__mmask16 first16(std::size_t count) { return static_cast<__mmask16>(first(least(count, 16))); }

__mmask32 first32(std::size_t count) { return static_cast<__mmask32>(first(least(count, 32))); }

std::size_t lowest_bit(Mask bits) { return _tzcnt_u64(bits); }  // 64 where there is none
std::size_t highest_bit(Mask bits) { return 63 - _lzcnt_u64(bits); }
std::size_t count_of(Mask bits) { return static_cast<std::size_t>(_mm_popcnt_u64(bits)); }
// The bits below the lowest one, all where there is none.
ZVRT_WRAPS Mask below(Mask bits) { return ~bits & (bits - 1); }
// The bits below the lowest zero.
ZVRT_WRAPS Mask trailing_ones(Mask bits) { return bits & ~(bits + 1); }

Vector repeat64(std::uint64_t bytes) { return _mm512_set1_epi64(static_cast<long long>(bytes)); }
Vector repeat32(std::uint32_t bytes) { return _mm512_set1_epi32(static_cast<int>(bytes)); }
Vector repeat16(std::uint16_t bytes) { return _mm512_set1_epi16(static_cast<short>(bytes)); }
Vector repeat8(std::uint8_t byte) { return _mm512_set1_epi8(static_cast<char>(byte)); }

std::size_t to_page_end(const char* at) {
  constexpr std::size_t page_bytes = 4096;
  return page_bytes - reinterpret_cast<std::uintptr_t>(at) % page_bytes;
}

// Where a source ends: how many units may be read behind those read already, `most` at most; none at the end.
struct Counted {
  std::size_t count;

  bool goes_on(std::size_t read) const { return read < count; }

  std::size_t readable(const char* /*src*/, std::size_t read, std::size_t most) const {
    return least(count - read, most);
  }
};

// A text is readable to the end of each page it reaches, and one unit beyond what is known to be no terminator.
struct TerminatedBytes {
  static bool goes_on(std::size_t /*read*/) { return true; }
  static std::size_t readable(const char* src, std::size_t read, std::size_t most) {
    const char* at = src + read;
    std::size_t bytes = least(to_page_end(at), most);
    if (bytes < longest_form) [[unlikely]] {
      while (bytes < longest_form && at[bytes - 1] != 0) ++bytes;
    }
    return bytes;
  }

  static constexpr std::size_t longest_form = 4;
};

template <std::size_t unit>
struct TerminatedUnits {
  static bool goes_on(std::size_t /*read*/) { return true; }
  static std::size_t readable(const char* src, std::size_t read, std::size_t most) {
    const std::size_t units = least(to_page_end(src + read * unit) / unit, most);
    return units == 0 ? 1 : units;
  }
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
  const Vector bytes = _mm512_maskz_loadu_epi8(first(readable), src + ends.read);
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
  while (decode_long<writes>(src, bound, dst, room, ends) && decode_step<writes>(src, bound, dst, room, ends)) {
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

struct EvenLanes {
  alignas(64) std::uint16_t lanes[32];
  constexpr EvenLanes() : lanes() {
    for (unsigned i = 0; i < 32; ++i) lanes[i] = static_cast<std::uint16_t>(i * 2);
  }
};
constexpr EvenLanes even_lanes;

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

// The same for characters of one or two bytes, in lanes of 16 bits.
Vector spread_short_forms(Vector units) {
  const Vector leads = _mm512_srli_epi16(units, 6);
  const Vector upper = _mm512_slli_epi16(units, 8);
  // ((upper & 3F00) | leads) | 80C0
  const Vector bytes =
      _mm512_or_si512(_mm512_ternarylogic_epi32(upper, repeat16(0x3F00), leads, 0xEA), repeat16(0x80C0));
  return _mm512_mask_mov_epi16(bytes, _mm512_cmplt_epu16_mask(units, repeat16(0x80)), upper);
}

// Stores the bytes of some characters, of which each has `lane` bytes of the vector, as far as whole characters fit.
// Returns false where they do not all.
template <std::size_t lane>
[[gnu::always_inline]] inline bool store_forms(Vector bytes, std::size_t characters, char* dst, std::size_t room,
                                               Ends& ends) {
  const __mmask64 used = _mm512_test_epi8_mask(bytes, bytes);
  const std::size_t count = count_of(used);
  const Vector packed = _mm512_maskz_compress_epi8(used, bytes);
  if (const std::size_t left = room - ends.written; count > left) [[unlikely]] {
    const std::size_t fitting = lowest_bit(used ^ _pdep_u64(first(left), used)) / lane;
    const std::size_t written = count_of(used & first(fitting * lane));
    _mm512_mask_storeu_epi8(dst + ends.written, first(written), packed);
    ends.read += fitting;
    ends.written += written;
    return false;
  }
  _mm512_mask_storeu_epi8(dst + ends.written, first(count), packed);
  ends.read += characters;
  ends.written += count;
  return true;
}

// 32 characters.
struct Units {
  Vector low;
  Vector high;
};

Units load_units(const char* at, std::size_t count) {
  const Mask lanes = first(count);
  return {_mm512_maskz_loadu_epi32(static_cast<__mmask16>(lanes), at),
          _mm512_maskz_loadu_epi32(static_cast<__mmask16>(lanes >> 16), at + 64)};
}

Mask nonzero(const Units& units) {
  return _mm512_kunpackw(_mm512_test_epi32_mask(units.high, units.high), _mm512_test_epi32_mask(units.low, units.low));
}
Mask above(const Units& units, std::uint32_t limit) {
  return _mm512_kunpackw(_mm512_cmpgt_epu32_mask(units.high, repeat32(limit)),
                         _mm512_cmpgt_epu32_mask(units.low, repeat32(limit)));
}
constexpr std::uint32_t last_of_two = 0x7FF;
constexpr std::uint32_t last_of_four = 0x1FFFFF;

// The units in lanes of 16 bits; those not chosen become zero.
Vector pack(const Units& units, __mmask32 chosen) {
  return _mm512_maskz_permutex2var_epi16(chosen, units.low, _mm512_load_si512(even_lanes.lanes), units.high);
}

constexpr std::size_t step_units = 32;

// A step of at most 32 characters. Returns false where the run ends.
template <class Bound>
[[gnu::always_inline]] inline bool encode_step(const char* src, Bound bound, char* dst, std::size_t room, Ends& ends) {
  const std::size_t readable = bound.readable(src, ends.read, step_units);
  if (readable == 0) return false;
  const Units units = load_units(src + ends.read * 4, readable);
  Mask inside = trailing_ones(nonzero(units));
  if ((above(units, last_of_two) & inside) == 0) {
    const std::size_t text = lowest_bit(~inside);
    const Vector bytes = spread_short_forms(pack(units, static_cast<__mmask32>(inside)));
    return store_forms<2>(bytes, text, dst, room, ends) && text == readable && bound.goes_on(ends.read);
  }
  inside &= below(above(units, last_of_four));
  const std::size_t text = lowest_bit(~inside);
  const Vector low = _mm512_maskz_mov_epi32(static_cast<__mmask16>(inside), units.low);
  const Vector high = _mm512_maskz_mov_epi32(static_cast<__mmask16>(inside >> 16), units.high);
  return store_forms<4>(spread(low), least(text, 16), dst, room, ends) &&
         store_forms<4>(spread(high), text - least(text, 16), dst, room, ends) && text == readable &&
         bound.goes_on(ends.read);
}

bool any_above(Vector units, std::uint32_t limit) { return _mm512_test_epi32_mask(units, repeat32(~limit)) != 0; }

// Steps of 32 characters while all of them are there, ordinary and sure of their room.
template <class Bound>
[[gnu::always_inline]] inline void encode_long(const char* src, Bound bound, char* dst, std::size_t room, Ends& ends) {
  constexpr __mmask32 all = 0xFFFFFFFF;
  while (room - ends.written >= step_units * 4 && bound.readable(src, ends.read, step_units) == step_units) {
    const char* at = src + ends.read * 4;
    const Units units = {_mm512_loadu_si512(at), _mm512_loadu_si512(at + 64)};
    const __mmask16 zeros =
        _mm512_testn_epi32_mask(units.low, units.low) | _mm512_testn_epi32_mask(units.high, units.high);
    const Vector any = _mm512_or_si512(units.low, units.high);  // the limits are powers of two, less one
    if (zeros != 0 || any_above(any, last_of_four)) return;
    if (any_above(any, last_of_two)) {
      store_forms<4>(spread(units.low), step_units / 2, dst, room, ends);
      store_forms<4>(spread(units.high), step_units / 2, dst, room, ends);
    } else if (any_above(any, 0x7F)) {
      store_forms<2>(spread_short_forms(pack(units, all)), step_units, dst, room, ends);
    } else {
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + ends.written), _mm512_cvtepi16_epi8(pack(units, all)));
      ends.read += step_units;
      ends.written += step_units;
    }
  }
}

template <class Bound>
[[gnu::noinline]] Run encode_further(const char* src, Bound bound, char* dst, std::size_t room, Ends ends) {
  while (encode_step(src, bound, dst, room, ends)) encode_long(src, bound, dst, room, ends);
  return {ends.read, ends.written};
}

template <class Bound>
Run encode_run(const void* src, Bound bound, char* dst, std::size_t room) {
  Ends ends;
  const auto* text = static_cast<const char*>(src);
  if (encode_step(text, bound, dst, room, ends)) return encode_further(text, bound, dst, room, ends);
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
  Ends ends;
  while (ends.read < count) {
    const std::size_t readable = least(count - ends.read, step_units);
    const Units units = load_units(text + ends.read * 4, readable);
    const Mask inside = trailing_ones(nonzero(units)) & below(above(units, last_of_four));
    const std::size_t characters = count_of(inside);
    ends.read += characters;
    ends.written += characters + count_of(above(units, 0x7F) & inside) + count_of(above(units, 0x7FF) & inside) +
                    count_of(above(units, 0xFFFF) & inside);
    if (characters < readable) break;
  }
  return {ends.read, ends.written};
}

// ---- Copies ----

// What differs between copying bytes and copying wide characters, by vectors.
struct Bytes {
  static constexpr std::size_t unit = 1;
  static Vector load(const char* at, Mask lanes) { return _mm512_maskz_loadu_epi8(lanes, at); }
  static void store(char* at, Mask lanes, Vector units) { _mm512_mask_storeu_epi8(at, lanes, units); }
  static Mask zeros(Vector units) { return _mm512_testn_epi8_mask(units, units); }
};
struct WideUnits {
  static constexpr std::size_t unit = 4;
  static Vector load(const char* at, Mask lanes) { return _mm512_maskz_loadu_epi32(static_cast<__mmask16>(lanes), at); }
  static void store(char* at, Mask lanes, Vector units) {
    _mm512_mask_storeu_epi32(at, static_cast<__mmask16>(lanes), units);
  }
  static Mask zeros(Vector units) { return _mm512_testn_epi32_mask(units, units); }
};

template <class Units>
constexpr std::size_t vector_units = 64 / Units::unit;

// Copies two vectors at most. Returns false where the copy ends.
template <class Units>
[[gnu::always_inline]] inline bool copy_step(const char* src, char* dst, std::size_t room, std::size_t& done) {
  constexpr std::size_t lanes = vector_units<Units>;
  const std::size_t readable = TerminatedUnits<Units::unit>::readable(src, done, lanes * 2);
  const std::size_t behind = readable - least(readable, lanes);
  const char* at = src + done * Units::unit;
  const Vector low = Units::load(at, first(readable - behind));
  const Vector high = Units::load(at + 64, first(behind));
  const std::size_t in_low = least(lowest_bit(Units::zeros(low)), lanes);
  const std::size_t in_high = least(lowest_bit(Units::zeros(high)), lanes);
  const std::size_t text = in_low + static_cast<std::size_t>(in_low == lanes) * in_high;  // lengths vary: no branch
  const std::size_t count = least(least(text, readable), room - done);
  char* into = dst + done * Units::unit;
  Units::store(into, first(least(count, lanes)), low);
  Units::store(into + 64, first(count - least(count, lanes)), high);
  done += count;
  return count == readable && done < room;
}

template <class Units>
[[gnu::noinline]] Run copy_further(const char* src, char* dst, std::size_t room, std::size_t done) {
  constexpr std::size_t step = vector_units<Units> * 2;
  do {
    while (room - done >= step && TerminatedUnits<Units::unit>::readable(src, done, step) == step) {
      const char* at = src + done * Units::unit;
      const Vector low = _mm512_loadu_si512(at);
      const Vector high = _mm512_loadu_si512(at + 64);
      if ((Units::zeros(low) | Units::zeros(high)) != 0) break;
      char* into = dst + done * Units::unit;
      _mm512_storeu_si512(into, low);
      _mm512_storeu_si512(into + 64, high);
      done += step;
    }
  } while (done < room && copy_step<Units>(src, dst, room, done));
  return {done, done};
}

template <class Units>
Run copy(const void* src, void* dst, std::size_t room) {
  if constexpr (!reads_ahead) {
    return Units::unit == 1 ? text_kernels_baseline.copy(src, dst, room)
                            : text_kernels_baseline.copy_wide(src, dst, room);
  }
  std::size_t done = 0;
  const auto* from = static_cast<const char*>(src);
  auto* into = static_cast<char*>(dst);
  if (room > 0 && copy_step<Units>(from, into, room, done)) return copy_further<Units>(from, into, room, done);
  return {done, done};
}

}  // namespace

const TextKernels text_kernels_avx512{
    decode, decode_terminated, encode, encode_terminated, count_decoded, count_encoded, copy<Bytes>, copy<WideUnits>,
};

}  // namespace zvrt
