// UTF-8 to wide text and to UTF-16 by AVX-512: a masked load ends with the text and a masked store with what was produced, so that a
// short value is one step without a loop over its tail.
#include <cstdint>
#include <cstring>

#include "encoding/kernels/avx512/utf16.h"
#include "encoding/kernels/avx512/utf8.h"
#include "encoding/text_kernels.h"
#include "support/read_ahead.h"
#include "support/units.h"

namespace zvrt::avx512 {

namespace {

// What a decoding makes: nothing but a count, wide characters, or UTF-16. A store takes the lanes of one vector and returns
// the units stored.
struct Nothing {
  static constexpr bool writes = false;
  static constexpr std::size_t unit = 0;
  static constexpr bool has_pairs = false;
};
struct WideUnits {
  static constexpr bool writes = true;
  static constexpr std::size_t unit = 4;
  static constexpr bool has_pairs = false;

  ZVRT_INLINED static std::size_t store(char* dst, __mmask16 lanes, Vector characters) {
    _mm512_mask_storeu_epi32(dst, lanes, characters);
    return count_of(lanes);
  }
  ZVRT_INLINED static void store_words(char* dst, __mmask32 lanes, Vector words) {
    store(dst, static_cast<__mmask16>(lanes), _mm512_cvtepu16_epi32(_mm512_castsi512_si256(words)));
    store(dst + 64, static_cast<__mmask16>(lanes >> 16), _mm512_cvtepu16_epi32(_mm512_extracti64x4_epi64(words, 1)));
  }
  // Lengths up to 32 bytes differ too often to be worth a branch each.
  ZVRT_INLINED static void store_bytes(char* dst, Mask lanes, Vector bytes) {
    store_quarter<0>(dst, lanes, bytes);
    store_quarter<1>(dst, lanes, bytes);
    if (lanes >> 32 == 0) return;
    store_quarter<2>(dst, lanes, bytes);
    store_quarter<3>(dst, lanes, bytes);
  }

 private:
  template <unsigned quarter>
  ZVRT_INLINED static void store_quarter(char* dst, Mask lanes, Vector bytes) {
    store(dst + quarter * 64, lanes_of(lanes, quarter),
          _mm512_cvtepu8_epi32(_mm512_extracti32x4_epi32(bytes, quarter)));
  }
};
struct Utf16Units {
  static constexpr bool writes = true;
  static constexpr std::size_t unit = 2;
  static constexpr bool has_pairs = true;  // a character of four bytes gives two units

  ZVRT_INLINED static std::size_t store(char* dst, __mmask16 lanes, Vector characters) {
    return store_utf16(dst, lanes, characters);
  }
  ZVRT_INLINED static void store_words(char* dst, __mmask32 lanes, Vector words) {
    _mm512_mask_storeu_epi16(dst, lanes, words);
  }
  ZVRT_INLINED static void store_bytes(char* dst, Mask lanes, Vector bytes) {
    store_words(dst, static_cast<__mmask32>(lanes), _mm512_cvtepu8_epi16(_mm512_castsi512_si256(bytes)));
    if (lanes >> 32 == 0) return;
    store_words(dst + 64, static_cast<__mmask32>(lanes >> 32),
                _mm512_cvtepu8_epi16(_mm512_extracti64x4_epi64(bytes, 1)));
  }
};

// How much of a block was well-formed, and the units that it gave.
struct Decoded {
  std::size_t characters;
  std::size_t units;
};

// Characters of one to four bytes, sixteen at a time.
template <class Out>
ZVRT_INLINED Decoded store_any(const Characters& from, std::size_t count, char* dst) {
  Vector which = load_ramp<4>();
  std::size_t units = 0;
  for (std::size_t done = 0; done < count; done += 16) {
    const Payload payload = payload_of_any(from, which);
    __mmask16 lanes = first16(count - done);
    Mask malformed = payload.malformed & lanes;
    const Vector characters = characters_of(payload);
    if constexpr (Out::has_pairs) malformed |= _mm512_mask_cmpgt_epu32_mask(lanes, characters, repeat32(0x10FFFF));
    if (malformed != 0) [[unlikely]]
      lanes = static_cast<__mmask16>(below(malformed));
    if constexpr (Out::has_pairs) {
      units += Out::store(dst + units * Out::unit, lanes, characters);
    } else {
      if constexpr (Out::writes) Out::store(dst + done * Out::unit, lanes, characters);
      units = done + 16;
    }
    if (malformed != 0) [[unlikely]]
      return {done + lowest_bit(malformed), Out::has_pairs ? units : done + lowest_bit(malformed)};
    which = _mm512_add_epi8(which, repeat8(16));
  }
  return {count, Out::has_pairs ? units : count};
}

// The same for one or two bytes, in lanes of 16 bits: as many units as characters.
template <class Out>
ZVRT_INLINED Decoded store_short_forms(const Characters& from, std::size_t count, char* dst) {
  Vector which = load_ramp<2>();
  for (std::size_t done = 0; done < count; done += 32) {
    const Payload payload = payload_of_short_forms(from, which);
    __mmask32 lanes = first32(count - done);
    const Mask malformed = payload.malformed & lanes;
    if (malformed != 0) [[unlikely]]
      lanes = static_cast<__mmask32>(below(malformed));
    if constexpr (Out::writes) Out::store_words(dst + done * Out::unit, lanes, units_of(payload));
    if (malformed != 0) [[unlikely]]
      return {done + lowest_bit(malformed), done + lowest_bit(malformed)};
    which = _mm512_add_epi8(which, repeat8(32));
  }
  return {count, count};
}

constexpr std::size_t step_bytes = 64;

// ---- Short texts of characters that have three bytes each, or four ----

// A table of 64 bytes by their positions.
struct ByteTable {
  alignas(64) std::uint8_t bytes[64];
  template <class At>
  explicit constexpr ByteTable(At at) : bytes() {
    for (unsigned i = 0; i < 64; ++i) bytes[i] = static_cast<std::uint8_t>(at(i));
  }
  ZVRT_INLINED Vector load() const { return _mm512_load_si512(bytes); }
};

// Where every character has the same length, its bytes stand where no search is needed:
//   bytes          [1110aaaa|10bbbbbb|10cccccc] [1110aaaa|10bbbbbb|10cccccc] ...
//   less marks     [0000aaaa|00bbbbbb|00cccccc] ...
//   in lanes       [00000000|0000aaaa|00bbbbbb|00cccccc], the lead byte highest
template <unsigned length>
struct EqualForms {
  static constexpr ByteTable marks{[](unsigned i) { return i % length != 0 ? 0x80 : length == 3 ? 0xE0 : 0xF0; }};
  static constexpr ByteTable marked{[](unsigned i) { return i % length != 0 ? 0xC0 : length == 3 ? 0xF0 : 0xF8; }};
  static constexpr ByteTable last_first{[](unsigned i) { return i / 4 * length + (length - 1 - i % 4) % length; }};
  static constexpr Mask used_bytes = length == 3 ? 0x7777777777777777 : ~Mask{0};
};

// All of a text of `bytes` bytes and at most sixteen such characters; false, and nothing stored, where it is another one.
template <class Out, unsigned length>
ZVRT_INLINED bool store_equal(Vector text, std::size_t bytes, char* dst, std::size_t capacity, std::size_t& units) {
  using Forms = EqualForms<length>;
  const std::size_t count = length == 3 ? bytes * 43 >> 7 : bytes / 4;  // a third of up to 64
  const std::size_t needed = Out::has_pairs && length == 4 ? 2 * count : count;
  if (count * length != bytes || count > 16 || needed > capacity) return false;
  const Vector payload = _mm512_xor_si512(text, Forms::marks.load());
  const Vector lanes = _mm512_maskz_permutexvar_epi8(Forms::used_bytes, Forms::last_first.load(), payload);
  const Vector characters = characters_of({lanes, 0});
  const __mmask16 which = first16(count);
  Mask others = _mm512_mask_test_epi8_mask(first(bytes), payload, Forms::marked.load());
  others |= _mm512_mask_testn_epi32_mask(which, characters, characters);
  if (Out::has_pairs && length == 4) others |= _mm512_mask_cmpgt_epu32_mask(which, characters, repeat32(0x10FFFF));
  if (others != 0) return false;
  units = Out::store(dst, which, characters);
  return true;
}

// A step of at most 64 bytes from the start of a character. Returns false where the run ends.
template <class Out, class Bound>
ZVRT_INLINED bool decode_step(const char* src, Bound bound, char* dst, std::size_t capacity, Progress& progress) {
  const std::size_t readable = bound.readable(src, progress.read, step_bytes);
  if (readable == 0) return false;
  const Vector bytes = Bound::is_terminated && readable == step_bytes
                           ? _mm512_loadu_si512(src + progress.read)
                           : _mm512_maskz_loadu_epi8(first(readable), src + progress.read);
  const Mask nonzero = _mm512_test_epi8_mask(bytes, bytes);
  const Mask inside = trailing_ones(nonzero);
  const std::size_t text = lowest_bit(~nonzero);
  const std::size_t left = Out::writes ? min(capacity - progress.written, step_bytes) : step_bytes;
  char* out = Out::writes ? dst + progress.written * Out::unit : nullptr;
  if ((_mm512_movepi8_mask(bytes) & inside) == 0) {
    const std::size_t count = min(text, left);
    if constexpr (Out::writes) Out::store_bytes(out, first(count), bytes);
    progress.read += count;
    progress.written += count;
    return count == readable && bound.goes_on(progress.read);
  }
  if constexpr (Out::writes) {
    const auto lead = static_cast<unsigned char>(src[progress.read]);
    std::size_t units = 0;
    if (lead >= 0xE0 && (lead < 0xF0 ? store_equal<Out, 3>(bytes, text, out, left, units)
                                     : store_equal<Out, 4>(bytes, text, out, left, units))) {
      progress.read += text;
      progress.written += units;
      return text >= readable && bound.goes_on(progress.read);
    }
  }
  const __mmask64 lead_bytes = _mm512_cmpge_epi8_mask(bytes, _mm512_set1_epi8(first_lead));
  Mask leads = lead_bytes & inside;
  if ((leads & 1) == 0) return false;
  // The last character may continue after a full block.
  std::size_t stop = text == step_bytes ? highest_bit(leads) : text;
  leads &= first(stop);
  const std::size_t complete = count_of(leads);
  const Characters characters = locate(bytes, lead_bytes);
  const Mask long_forms = _mm512_cmpge_epu8_mask(bytes, repeat8(0xE0)) & inside;
  // Where there may be pairs, as many characters are tried as fit even so; the next step tries the others.
  const bool pairs = Out::has_pairs && (_mm512_cmpge_epu8_mask(bytes, repeat8(0xF0)) & inside) != 0;
  const std::size_t tried = min(complete, pairs ? left / 2 : left);
  const Decoded done =
      long_forms == 0 ? store_short_forms<Out>(characters, tried, out) : store_any<Out>(characters, tried, out);
  // `complete` counts the bits of a mask, so that fewer are below 64.
  if (done.characters != complete) [[unlikely]]  // NOLINTNEXTLINE(clang-analyzer-core.UndefinedBinaryOperatorResult)
    stop = lowest_bit(_pdep_u64(Mask{1} << done.characters, leads));
  progress.read += stop;
  progress.written += done.units;
  if (pairs && tried < complete && done.characters == tried) return tried != 0;
  return stop != 0 && text >= readable && bound.goes_on(progress.read);
}

// Steps of 64 bytes while all of them are there and well-formed. They follow each other at distances that do not depend
// on their characters, so that none waits for the one before; the last bytes of each are left to the next, as a
// character has to be complete.
template <class Out, class Bound>
ZVRT_INLINED bool decode_long(const char* src, Bound bound, char* dst, std::size_t capacity, Progress& progress) {
  constexpr std::size_t step = step_bytes;
  constexpr std::size_t stride = 60;
  std::size_t from = progress.read;
  while ((!Out::writes || capacity - progress.written >= step) && bound.readable(src, from, step) == step) {
    const Vector bytes = _mm512_loadu_si512(src + from);
    if (_mm512_testn_epi8_mask(bytes, bytes) != 0) break;
    char* out = Out::writes ? dst + progress.written * Out::unit : nullptr;
    if (_mm512_movepi8_mask(bytes) == 0) {
      if constexpr (Out::writes) Out::store_bytes(out, first(step), bytes);
      from += step;
      progress.read = from;
      progress.written += step;
      continue;
    }
    const __mmask64 lead_bytes = _mm512_cmpge_epi8_mask(bytes, _mm512_set1_epi8(first_lead));
    // Continuation bytes may lead the step only as far as a character reaches into it.
    if ((lead_bytes >> (progress.read - from) & 1) == 0) break;
    const Mask leads = lead_bytes & first(stride);
    const std::size_t count = count_of(leads);
    const Characters characters = locate(bytes, lead_bytes);
    const bool long_forms = _mm512_cmpge_epu8_mask(bytes, repeat8(0xE0)) != 0;
    const Decoded done =
        long_forms ? store_any<Out>(characters, count, out) : store_short_forms<Out>(characters, count, out);
    progress.written += done.units;
    if (done.characters != count) [[unlikely]] {
      progress.read = from + lowest_bit(_pdep_u64(Mask{1} << done.characters, leads));
      return false;
    }
    progress.read = from + lowest_bit(lead_bytes & ~first(stride));
    from += stride;
  }
  return true;
}

template <class Out, class Bound>
[[gnu::noinline]] Progress decode_further(const char* src, Bound bound, char* dst, std::size_t capacity,
                                          Progress progress) {
  // Most texts that reach here end within one more step.
  while (decode_step<Out>(src, bound, dst, capacity, progress) &&
         decode_long<Out>(src, bound, dst, capacity, progress)) {
  }
  return {progress.read, progress.written};
}

// A value is short as a rule: its one step stands apart from all that longer text needs.
template <class Out, class Bound>
Progress decode_prefix(const char* src, Bound bound, void* dst, std::size_t capacity) {
  Progress progress;
  auto* out = static_cast<char*>(dst);
  if (decode_step<Out>(src, bound, out, capacity, progress))
    return decode_further<Out>(src, bound, out, capacity, progress);
  return {progress.read, progress.written};
}

}  // namespace

Progress decode(const char* src, std::size_t count, void* dst, std::size_t capacity) {
  return decode_prefix<WideUnits>(src, Counted{count}, dst, capacity);
}
Progress decode_terminated(const char* src, void* dst, std::size_t capacity) {
  if constexpr (!reads_ahead) return decode_prefix<WideUnits>(src, Counted{std::strlen(src)}, dst, capacity);
  return decode_prefix<WideUnits>(src, TerminatedBytes{}, dst, capacity);
}
Progress decode_within(const char* src, std::size_t count, void* dst, std::size_t capacity) {
  if constexpr (!reads_ahead) return decode_measured<decode>(src, count, dst, capacity);
  return decode_prefix<WideUnits>(src, CountedBytes{count}, dst, capacity);
}
Progress count_decoded(const char* src, std::size_t count) {
  return decode_prefix<Nothing>(src, Counted{count}, nullptr, 0);
}

Progress utf8_to_utf16(const char* src, std::size_t count, void* dst, std::size_t capacity) {
  if constexpr (!reads_ahead) return decode_prefix<Utf16Units>(src, Counted{strnlen(src, count)}, dst, capacity);
  return decode_prefix<Utf16Units>(src, CountedBytes{count}, dst, capacity);
}

}  // namespace zvrt::avx512
