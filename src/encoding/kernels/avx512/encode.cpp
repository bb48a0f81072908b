// Wide text to UTF-8 by AVX-512, in masked steps as in decode.cpp.
#include <cstddef>
#include <cstdint>

#include "encoding/kernels/avx512/utf8.h"
#include "encoding/text_kernels.h"
#include "support/read_ahead.h"
#include "support/units.h"

namespace zvrt::avx512 {

namespace {

// The lowest byte of each of 32 lanes of 32 bits.
struct FourthBytes {
  alignas(64) std::uint8_t bytes[64];
  constexpr FourthBytes() : bytes() {
    for (unsigned i = 0; i < 32; ++i) bytes[i] = static_cast<std::uint8_t>(i * 4);
  }
};
constexpr FourthBytes fourth_bytes;

// The vector of units that begins `before` units after `at`, where `readable` units may be read. A terminated text is
// readable for the whole of a step but at the end of a page.
template <class Bound>
[[gnu::always_inline]] inline Vector load_units(const char* at, std::size_t readable, std::size_t before,
                                                std::size_t step) {
  const char* units = at + before * 4;
  if (Bound::is_terminated && readable == step) [[likely]]
    return _mm512_loadu_si512(units);
  return _mm512_maskz_loadu_epi32(lanes_of(first(readable), static_cast<unsigned>(before) / 16), units);
}

enum class Step : std::uint8_t { progress, goes_on, is_not_ascii };

bool any_above(Vector units, std::uint32_t limit) { return _mm512_test_epi32_mask(units, repeat32(~limit)) != 0; }

// At most sixteen characters of any length, of a step that may read more of them.
template <class Bound>
[[gnu::always_inline]] inline Step encode_few(Vector units, std::size_t count, std::size_t readable, Bound bound,
                                              char* dst, std::size_t capacity, Progress& progress) {
  const Vector text = _mm512_maskz_mov_epi32(first16(count), units);
  if (any_above(text, last_of_four)) return Step::is_not_ascii;
  const std::size_t characters = store_forms<4>(expand(text), count, dst, capacity, progress);
  return taken(characters, readable, bound, progress) ? Step::goes_on : Step::progress;
}

// At most 48 characters, if they are ASCII or few. Texts of about 16, 32 and 64 characters, where the lengths in a column
// gather, differ little within each group in the number of such steps, so that the branch between them is predicted.
template <class Bound>
[[gnu::always_inline]] inline Step encode_ascii_step(const char* src, Bound bound, char* dst, std::size_t capacity,
                                                     Progress& progress) {
  constexpr std::size_t max_units = 48;
  const std::size_t readable = bound.readable(src, progress.read, max_units);
  if (readable == 0) return Step::progress;
  const char* at = src + progress.read * 4;
  const Vector low = load_units<Bound>(at, readable, 0, max_units);
  const Vector bytes = in_bytes(low, load_units<Bound>(at, readable, 16, max_units),
                                load_units<Bound>(at, readable, 32, max_units), Vector{});
  const Mask zeros = _mm512_testn_epi8_mask(bytes, bytes);
  const std::size_t text = lowest_bit(zeros);
  if ((_mm512_movepi8_mask(bytes) & below(zeros)) != 0) {
    return text <= 16 ? encode_few(low, text, readable, bound, dst, capacity, progress) : Step::is_not_ascii;
  }
  const std::size_t count = min(text, capacity - progress.written);
  _mm512_mask_storeu_epi8(dst + progress.written, first(count), bytes);
  progress.written += count;
  return taken(count, readable, bound, progress) ? Step::goes_on : Step::progress;
}

// At most 32 characters of any length. Returns false where the run ends.
template <class Bound>
[[gnu::always_inline]] inline bool encode_step(const char* src, Bound bound, char* dst, std::size_t capacity,
                                               Progress& progress) {
  constexpr std::size_t max_units = 32;
  const std::size_t readable = bound.readable(src, progress.read, max_units);
  if (readable == 0) return false;
  const char* at = src + progress.read * 4;
  Vector low = load_units<Bound>(at, readable, 0, max_units);
  Vector high = load_units<Bound>(at, readable, 16, max_units);
  const Vector words = in_words(low, high);
  constexpr Mask beyond = ~((Mask{1} << max_units) - 1);
  Mask inside = below(Mask{_mm512_testn_epi16_mask(words, words)} | beyond);
  if ((_mm512_cmpgt_epu16_mask(words, repeat16(last_of_two)) & inside) == 0) {
    const Vector units = _mm512_maskz_mov_epi16(static_cast<__mmask32>(inside), words);
    const std::size_t characters = store_forms<2>(expand_short_forms(units), count_of(inside), dst, capacity, progress);
    return taken(characters, readable, bound, progress);
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
  const std::size_t in_low = min(text, 16);
  std::size_t characters = store_forms<4>(expand(low), in_low, dst, capacity, progress);
  if (characters == in_low) characters += store_forms<4>(expand(high), text - in_low, dst, capacity, progress);
  return taken(characters, readable, bound, progress);
}

// 32 well-formed characters that are known to fit.
[[gnu::always_inline]] inline void store_half(Vector low, Vector high, bool long_forms, char* dst, std::size_t capacity,
                                              Progress& progress) {
  if (long_forms) {
    progress.read += store_forms<4>(expand(low), 16, dst, capacity, progress);
    progress.read += store_forms<4>(expand(high), 16, dst, capacity, progress);
  } else {
    progress.read += store_forms<2>(expand_short_forms(in_words(low, high)), 32, dst, capacity, progress);
  }
}

// Steps of 64 characters while all of them are there, well-formed and known to fit.
template <class Bound>
[[gnu::always_inline]] inline void encode_long(const char* src, Bound bound, char* dst, std::size_t capacity,
                                               Progress& progress) {
  constexpr std::size_t step = 64;
  while (capacity - progress.written >= step * 4 && bound.readable(src, progress.read, step) == step) {
    const char* at = src + progress.read * 4;
    const Vector a = _mm512_loadu_si512(at);
    const Vector b = _mm512_loadu_si512(at + 64);
    const Vector c = _mm512_loadu_si512(at + 128);
    const Vector d = _mm512_loadu_si512(at + 192);
    const Vector min_units = _mm512_min_epu32(_mm512_min_epu32(a, b), _mm512_min_epu32(c, d));
    const Vector any = _mm512_or_si512(_mm512_or_si512(a, b), _mm512_or_si512(c, d));
    // The limits are powers of two, less one.
    if (_mm512_testn_epi32_mask(min_units, min_units) != 0 || any_above(any, last_of_four)) return;
    if (any_above(any, last_of_one)) {
      const bool long_forms = any_above(any, last_of_two);
      store_half(a, b, long_forms, dst, capacity, progress);
      store_half(c, d, long_forms, dst, capacity, progress);
    } else {
      const Vector low = _mm512_permutex2var_epi8(a, _mm512_load_si512(fourth_bytes.bytes), b);
      const Vector high = _mm512_permutex2var_epi8(c, _mm512_load_si512(fourth_bytes.bytes), d);
      _mm512_storeu_si512(dst + progress.written, _mm512_inserti64x4(low, _mm512_castsi512_si256(high), 1));
      progress.read += step;
      progress.written += step;
    }
  }
}

// Most texts that reach here end within two more steps, before a long one could be tried.
template <class Bound>
[[gnu::noinline]] Progress encode_further(const char* src, Bound bound, char* dst, std::size_t capacity,
                                          Progress progress) {
  Step step = progress.read == progress.written ? Step::goes_on : Step::is_not_ascii;
  if (step == Step::goes_on) {
    while ((step = encode_ascii_step(src, bound, dst, capacity, progress)) == Step::goes_on &&
           (step = encode_ascii_step(src, bound, dst, capacity, progress)) == Step::goes_on)
      encode_long(src, bound, dst, capacity, progress);
  }
  if (step == Step::is_not_ascii) {
    while (encode_step(src, bound, dst, capacity, progress) && encode_step(src, bound, dst, capacity, progress))
      encode_long(src, bound, dst, capacity, progress);
  }
  return {progress.read, progress.written};
}

template <class Bound>
Progress encode_prefix(const void* src, Bound bound, char* dst, std::size_t capacity) {
  Progress progress;
  const auto* text = static_cast<const char*>(src);
  const Step step = encode_ascii_step(text, bound, dst, capacity, progress);
  if (step == Step::goes_on || (step == Step::is_not_ascii && encode_step(text, bound, dst, capacity, progress))) {
    return encode_further(text, bound, dst, capacity, progress);
  }
  return {progress.read, progress.written};
}

}  // namespace

Progress encode(const void* src, std::size_t count, char* dst, std::size_t capacity) {
  return encode_prefix(src, Counted{count}, dst, capacity);
}
Progress encode_terminated(const void* src, char* dst, std::size_t capacity) {
  if constexpr (!reads_ahead)
    return encode_prefix(src, Counted{static_cast<std::size_t>(length_of(src))}, dst, capacity);
  return encode_prefix(src, TerminatedUnits<4>{}, dst, capacity);
}

Progress encode_within(const void* src, std::size_t count, char* dst, std::size_t capacity) {
  if constexpr (!reads_ahead) return encode_measured<encode>(src, count, dst, capacity);
  return encode_prefix(src, CountedUnits<4>{count}, dst, capacity);
}

Progress count_encoded(const void* src, std::size_t count) {
  const auto* text = static_cast<const char*>(src);
  constexpr std::size_t step = 16;
  Progress progress;
  while (progress.read < count) {
    const std::size_t readable = min(count - progress.read, step);
    const Vector units = _mm512_maskz_loadu_epi32(first16(readable), text + progress.read * 4);
    const auto above = [units](std::uint32_t limit) { return Mask{_mm512_cmpgt_epu32_mask(units, repeat32(limit))}; };
    const Mask inside = trailing_ones(_mm512_test_epi32_mask(units, units)) & below(above(last_of_four));
    const std::size_t characters = count_of(inside);
    progress.read += characters;
    progress.written += characters + count_of(above(last_of_one) & inside) + count_of(above(last_of_two) & inside) +
                        count_of(above(last_of_three) & inside);
    if (characters < readable) break;
  }
  return {progress.read, progress.written};
}

}  // namespace zvrt::avx512
