// UTF-8 to wide text by AVX-512: a masked load ends with the text and a masked store with what was produced, so that a
// short value is one step without a loop over its tail.
#include <cstdint>
#include <cstring>

#include "encoding/kernels/avx512/text.h"
#include "encoding/text_kernels.h"
#include "support/read_ahead.h"
#include "support/units.h"

namespace zvrt::avx512 {

namespace {

// A text is readable to the end of each page it reaches, and one unit beyond what is known to be no terminator.
struct TerminatedBytes {
  static constexpr bool is_terminated = true;
  static bool goes_on(std::size_t /*read*/) { return true; }
  ZVRT_INLINED static std::size_t readable(const char* src, std::size_t read, std::size_t most) {
    const char* at = src + read;
    const std::size_t bytes = least(to_page_end(at), most);
    if (bytes >= longest_form) [[likely]]
      return bytes;
    // A character may stand across the pages; what the next one has of it is looked for byte by byte.
    const std::size_t longest = least(longest_form, most);
    std::size_t known = 1;
    while (known < longest && at[known - 1] != 0) ++known;
    return known > bytes ? known : bytes;
  }

 private:
  static constexpr std::size_t longest_form = 4;
};

// The same with a count, whichever comes first.
struct CountedBytes {
  static constexpr bool is_terminated = true;
  std::size_t count;

  bool goes_on(std::size_t read) const { return read < count; }
  ZVRT_INLINED std::size_t readable(const char* src, std::size_t read, std::size_t most) const {
    const std::size_t left = least(count - read, most);
    // A character across two pages: it is looked for byte by byte, within the count.
    return to_page_end(src + read) >= left ? left : TerminatedBytes::readable(src, read, left);
  }
};

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

}  // namespace

Run decode(const char* src, std::size_t count, void* dst, std::size_t room) {
  return decode_run<true>(src, Counted{count}, dst, room);
}
Run decode_terminated(const char* src, void* dst, std::size_t room) {
  if constexpr (!reads_ahead) return decode_run<true>(src, Counted{std::strlen(src)}, dst, room);
  return decode_run<true>(src, TerminatedBytes{}, dst, room);
}
Run decode_within(const char* src, std::size_t count, void* dst, std::size_t room) {
  if constexpr (!reads_ahead) return decode_measured<decode>(src, count, dst, room);
  return decode_run<true>(src, CountedBytes{count}, dst, room);
}
Run count_decoded(const char* src, std::size_t count) { return decode_run<false>(src, Counted{count}, nullptr, 0); }

}  // namespace zvrt::avx512
