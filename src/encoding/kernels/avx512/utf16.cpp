// UTF-16 to UTF-8 and UTF-32, and UTF-32 to UTF-16, by AVX-512: steps of 32 units, the last one masked, as in decode.cpp.
// A step that takes all it may read moves on by a distance known before its characters are; only the place in the
// destination waits for them.
#include "encoding/kernels/avx512/utf16.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "encoding/kernels/avx512/utf8.h"
#include "encoding/text_kernels.h"
#include "support/read_ahead.h"
#include "support/units.h"

namespace zvrt::avx512 {

namespace {

constexpr std::size_t step = 32;

template <std::size_t unit>
std::size_t zero_within(const void* src, std::size_t count) {
  std::size_t length = 0;
  while (length < count && load<std::conditional_t<unit == 2, std::uint16_t, Wide>>(src, length) != 0) ++length;
  return length;
}

ZVRT_INLINED Vector load_words(const char* at, std::size_t readable) {
  return readable == step ? _mm512_loadu_si512(at) : _mm512_maskz_loadu_epi16(first32(readable), at);
}

ZVRT_INLINED bool any_above(Vector words, std::uint16_t limit) {
  return _mm512_test_epi16_mask(words, repeat16(static_cast<std::uint16_t>(~limit))) != 0;
}

// Zero in the lanes of words that are zero or surrogates, which are D800 in their upper five bits.
ZVRT_INLINED Vector units_alone(Vector words) {
  const Vector differs = _mm512_xor_si512(_mm512_and_si512(words, repeat16(0xF800)), repeat16(0xD800));
  return _mm512_min_epu16(differs, words);
}

// Text of UTF-16 up to a count or its terminator. A pair may stand across two pages.
struct CountedPairs {
  std::size_t count;

  ZVRT_INLINED bool goes_on(std::size_t read) const { return read < count; }
  ZVRT_INLINED std::size_t readable(const char* src, std::size_t read, std::size_t limit) const {
    const std::size_t units = CountedUnits<2>{count}.readable(src, read, limit);
    if (units != 1 || count - read < 2) [[likely]]
      return units;
    return load<std::uint16_t>(src, read) == 0 ? 1 : 2;
  }
};

// A step of each direction stores what fits of a block and returns the source units that it took.
struct ToUtf8 {
  ZVRT_INLINED static std::size_t store(const Utf16Block& block, char* dst, std::size_t capacity, Progress& progress) {
    const Vector units = _mm512_maskz_mov_epi16(first32(block.count), block.units);
    if (!any_above(units, 0x7F)) {
      const std::size_t count = min(block.count, capacity - progress.written);
      _mm256_mask_storeu_epi8(dst + progress.written, first32(count), _mm512_cvtepi16_epi8(units));
      progress.written += count;
      return count;
    }
    if (!any_above(units, 0x7FF))
      return store_forms<2>(expand_short_forms(units), block.count, dst, capacity, progress);
    const Utf16Characters characters = utf16_characters(block);
    const std::size_t in_low = min(block.count, 16);
    const std::size_t taken = store_forms<4>(expand(characters.low), in_low, dst, capacity, progress);
    if (taken != in_low || block.count == in_low) return taken;
    return taken + store_forms<4>(expand(characters.high), block.count - in_low, dst, capacity, progress);
  }
  // 64 units of ASCII that are known to fit.
  ZVRT_INLINED static bool store_long(const char* src, char* dst) {
    const Vector a = _mm512_loadu_si512(src);
    const Vector b = _mm512_loadu_si512(src + 64);
    const Vector lower = _mm512_min_epu16(a, b);
    if (_mm512_testn_epi16_mask(lower, lower) != 0 || any_above(_mm512_or_si512(a, b), 0x7F)) return false;
    _mm512_storeu_si512(
        dst, _mm512_inserti64x4(_mm512_castsi256_si512(_mm512_cvtepi16_epi8(a)), _mm512_cvtepi16_epi8(b), 1));
    return true;
  }
  static constexpr std::size_t unit = 1;
};

struct ToWide {
  ZVRT_INLINED static std::size_t store(const Utf16Block& block, char* dst, std::size_t capacity, Progress& progress) {
    char* out = dst + progress.written * unit;
    const std::size_t left = capacity - progress.written;
    if (block.highs == 0) {
      const std::size_t count = min(block.count, left);
      _mm512_mask_storeu_epi32(out, lanes_of(first(count), 0), lower(block.units));
      _mm512_mask_storeu_epi32(out + 64, lanes_of(first(count), 1), upper(block.units));
      progress.written += count;
      return count;
    }
    const Utf16Characters characters = utf16_characters(block);
    const std::size_t found = count_of(characters.lanes);
    const std::size_t count = min(found, left);
    const std::size_t in_low = count_of(characters.lanes & 0xFFFF);
    const auto low = _mm512_maskz_compress_epi32(lanes_of(characters.lanes, 0), characters.low);
    const auto high = _mm512_maskz_compress_epi32(lanes_of(characters.lanes, 1), characters.high);
    _mm512_mask_storeu_epi32(out, first16(min(count, in_low)), low);
    if (count > in_low) _mm512_mask_storeu_epi32(out + in_low * unit, first16(count - in_low), high);
    progress.written += count;
    return count == found ? block.count : lowest_bit(_pdep_u64(Mask{1} << count, characters.lanes));
  }
  // 64 units without surrogates that are known to fit.
  ZVRT_INLINED static bool store_long(const char* src, char* dst) {
    const Vector a = _mm512_loadu_si512(src);
    const Vector b = _mm512_loadu_si512(src + 64);
    const Vector lowest = _mm512_min_epu16(units_alone(a), units_alone(b));
    if (_mm512_testn_epi16_mask(lowest, lowest) != 0) return false;
    _mm512_storeu_si512(dst, lower(a));
    _mm512_storeu_si512(dst + 64, upper(a));
    _mm512_storeu_si512(dst + 128, lower(b));
    _mm512_storeu_si512(dst + 192, upper(b));
    return true;
  }
  static constexpr std::size_t unit = 4;

 private:
  ZVRT_INLINED static Vector lower(Vector words) { return _mm512_cvtepu16_epi32(_mm512_castsi512_si256(words)); }
  ZVRT_INLINED static Vector upper(Vector words) { return _mm512_cvtepu16_epi32(_mm512_extracti64x4_epi64(words, 1)); }
};

// At most 32 units. Returns false where the text, the capacity or what is well-formed ends.
template <class Into, class Bound>
ZVRT_INLINED bool utf16_step(const char* src, Bound bound, char* dst, std::size_t capacity, Progress& progress) {
  const std::size_t readable = bound.readable(src, progress.read, step);
  if (readable == 0) return false;
  const Utf16Block block = utf16_block(load_words(src + progress.read * 2, readable), readable);
  const std::size_t taken = Into::store(block, dst, capacity, progress);
  if (taken == readable) {
    progress.read += readable;
    return bound.goes_on(progress.read) && progress.written < capacity;
  }
  progress.read += taken;
  // A pair that the step cuts is complete in the next one, unless it is all there was.
  return taken == block.count && block.is_cut && taken != 0 && progress.written < capacity;
}

template <class Into, class Bound>
[[gnu::noinline]] Progress utf16_further(const char* src, Bound bound, char* dst, std::size_t capacity,
                                         Progress progress) {
  constexpr std::size_t long_step = 2 * step;
  do {
    while (capacity - progress.written >= long_step && bound.readable(src, progress.read, long_step) == long_step &&
           Into::store_long(src + progress.read * 2, dst + progress.written * Into::unit)) {
      progress.read += long_step;
      progress.written += long_step;
    }
  } while (progress.written < capacity && bound.goes_on(progress.read) &&
           utf16_step<Into>(src, bound, dst, capacity, progress));
  return {progress.read, progress.written};
}

template <class Into, class Bound>
ZVRT_INLINED Progress from_utf16(const void* src, Bound bound, void* dst, std::size_t capacity) {
  Progress progress;
  const auto* text = static_cast<const char*>(src);
  auto* out = static_cast<char*>(dst);
  if (utf16_step<Into>(text, bound, out, capacity, progress))
    return utf16_further<Into>(text, bound, out, capacity, progress);
  return {progress.read, progress.written};
}

// At most 32 wide characters, some of which have two units or end the run.
template <class Bound>
[[gnu::noinline]] bool utf32_pairs(const char* src, Bound bound, char* dst, std::size_t capacity, Progress& progress) {
  const std::size_t readable = bound.readable(src, progress.read, step);
  const char* at = src + progress.read * 4;
  const Vector low = _mm512_maskz_loadu_epi32(lanes_of(first(readable), 0), at);
  const Vector high = _mm512_maskz_loadu_epi32(lanes_of(first(readable), 1), at + 64);
  const auto stops = [](Vector units) {
    const Vector kind = _mm512_and_si512(units, repeat32(0xFFFFF800));
    return static_cast<__mmask16>(_mm512_testn_epi32_mask(units, units) |
                                  _mm512_cmpeq_epi32_mask(kind, repeat32(0xD800)) |
                                  _mm512_cmpgt_epu32_mask(units, repeat32(0x10FFFF)));
  };
  const auto pairs = [](Vector units) { return _mm512_cmpgt_epu32_mask(units, repeat32(0xFFFF)); };
  const Mask inside = below(Mask{stops(low)} | Mask{stops(high)} << 16 | Mask{1} << step);
  const Mask doubles = (Mask{pairs(low)} | Mask{pairs(high)} << 16) & inside;
  const std::size_t text = count_of(inside);
  const std::size_t left = capacity - progress.written;
  // Where not all may fit, as many as are sure to: the next step tries the others.
  const std::size_t count = text + count_of(doubles) <= left ? text : min(text, doubles == 0 ? left : left / 2);
  char* out = dst + progress.written * 2;
  const std::size_t stored = store_utf16(out, lanes_of(first(count), 0), low);
  const std::size_t more = count > 16 ? store_utf16(out + stored * 2, lanes_of(first(count), 1), high) : 0;
  progress.written += stored + more;
  progress.read += count;
  return count == readable ? bound.goes_on(progress.read) : count != 0 && count != text;
}

// At most 48 wide characters, those up to U+10FFFF that are no surrogates. Texts of about 16, 32 and 64 characters differ
// little within each group in the number of such steps. Characters above U+FFFF are FFFF among the words; places where
// there is no text hold a 1, so that one test finds all that is not a unit by itself.
template <class Bound>
ZVRT_INLINED bool utf32_step(const char* src, Bound bound, char* dst, std::size_t capacity, Progress& progress) {
  constexpr std::size_t max_units = 48;
  const std::size_t readable = bound.readable(src, progress.read, max_units);
  if (readable == 0) return false;
  const char* at = src + progress.read * 4;
  if (load<Wide>(at) > 0xFFFF) return utf32_pairs(src, bound, dst, capacity, progress);  // others are likely to follow
  const auto units = [&](unsigned vector) {
    return _mm512_mask_loadu_epi32(repeat32(1), lanes_of(first(readable), vector), at + vector * 64);
  };
  const Vector low = in_words(units(0), units(1));
  const Vector high = _mm512_broadcast_i64x4(_mm512_cvtusepi32_epi16(units(2)));
  const auto zero_unless_unit = [](Vector words) {
    return _mm512_min_epu16(units_alone(words), _mm512_add_epi16(words, repeat16(1)));
  };
  const Vector lowest = _mm512_min_epu16(zero_unless_unit(low), zero_unless_unit(high));
  if (_mm512_testn_epi16_mask(lowest, lowest) != 0) return utf32_pairs(src, bound, dst, capacity, progress);
  const std::size_t count = min(readable, capacity - progress.written);
  char* out = dst + progress.written * 2;
  _mm512_mask_storeu_epi16(out, static_cast<__mmask32>(first(count)), low);
  _mm256_mask_storeu_epi16(out + 64, static_cast<__mmask16>(first(count) >> step), _mm512_castsi512_si256(high));
  progress.written += count;
  return taken(count, readable, bound, progress);
}

// 64 wide characters of one unit each that are known to fit.
ZVRT_INLINED bool store_long_utf32(const char* src, char* dst) {
  const Vector low = in_words(_mm512_loadu_si512(src), _mm512_loadu_si512(src + 64));
  const Vector high = in_words(_mm512_loadu_si512(src + 128), _mm512_loadu_si512(src + 192));
  const Vector lowest = _mm512_min_epu16(units_alone(low), units_alone(high));
  const Vector highest = _mm512_max_epu16(low, high);
  if (_mm512_testn_epi16_mask(lowest, lowest) != 0) return false;
  if (_mm512_cmpeq_epi16_mask(highest, repeat16(0xFFFF)) != 0) return false;
  _mm512_storeu_si512(dst, low);
  _mm512_storeu_si512(dst + 64, high);
  return true;
}

template <class Bound>
[[gnu::noinline]] Progress utf32_further(const char* src, Bound bound, char* dst, std::size_t capacity,
                                         Progress progress) {
  constexpr std::size_t long_step = 2 * step;
  do {
    while (capacity - progress.written >= long_step && bound.readable(src, progress.read, long_step) == long_step &&
           store_long_utf32(src + progress.read * 4, dst + progress.written * 2)) {
      progress.read += long_step;
      progress.written += long_step;
    }
  } while (progress.written < capacity && bound.goes_on(progress.read) &&
           utf32_step(src, bound, dst, capacity, progress));
  return {progress.read, progress.written};
}

template <class Bound>
ZVRT_INLINED Progress from_utf32(const char* src, Bound bound, char* dst, std::size_t capacity) {
  Progress progress;
  if (capacity > 0 && utf32_step(src, bound, dst, capacity, progress))
    return utf32_further(src, bound, dst, capacity, progress);
  return {progress.read, progress.written};
}

}  // namespace

Progress utf16_to_utf8(const void* src, std::size_t count, char* dst, std::size_t capacity) {
  if constexpr (!reads_ahead) return from_utf16<ToUtf8>(src, Counted{zero_within<2>(src, count)}, dst, capacity);
  return from_utf16<ToUtf8>(src, CountedPairs{count}, dst, capacity);
}

Progress utf16_to_utf32(const void* src, std::size_t count, void* dst, std::size_t capacity) {
  if constexpr (!reads_ahead) return from_utf16<ToWide>(src, Counted{zero_within<2>(src, count)}, dst, capacity);
  return from_utf16<ToWide>(src, CountedPairs{count}, dst, capacity);
}

Progress utf32_to_utf16(const void* src, std::size_t count, void* dst, std::size_t capacity) {
  const auto* text = static_cast<const char*>(src);
  auto* out = static_cast<char*>(dst);
  if constexpr (!reads_ahead) return from_utf32(text, Counted{zero_within<4>(src, count)}, out, capacity);
  return from_utf32(text, CountedUnits<4>{count}, out, capacity);
}

}  // namespace zvrt::avx512
