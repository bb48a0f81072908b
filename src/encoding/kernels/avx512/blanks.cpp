// Blanks of wide text by AVX-512, sixteen characters a step: dropped, counted at both ends; and the copy that stops at a
// zero. A step's characters are loaded before anything is stored, so that a text may be changed in place.
#include <cstddef>
#include <cstdint>

#include "encoding/kernels/avx512/text.h"
#include "support/read_ahead.h"
#include "support/units.h"

namespace zvrt::avx512 {

namespace {

constexpr std::size_t step = 16;
constexpr std::uint32_t blank = 0x20;
constexpr std::uint32_t tab = 0x09;
constexpr std::size_t few = 4;

ZVRT_INLINED Vector load_units(const char* at, std::size_t count) {
  return _mm512_maskz_loadu_epi32(first16(count), at);
}

ZVRT_INLINED __mmask16 other_than_blanks(const char* at, std::size_t count) {
  return _mm512_mask_cmpneq_epi32_mask(first16(count), load_units(at, count), repeat32(blank));
}

// Compress (VPCOMPRESSD) in a register; its form that stores is slow on some processors.
template <class Bound>
ZVRT_INLINED Progress drop(char* text, Bound bound) {
  Progress done;
  while (bound.goes_on(done.read)) {
    const std::size_t readable = bound.readable(text, done.read, step);
    const Vector units = load_units(text + done.read * 4, readable);
    const Mask inside = trailing_ones(_mm512_test_epi32_mask(units, units));
    const auto kept = static_cast<__mmask16>(inside & _mm512_cmpneq_epi32_mask(units, repeat32(blank)) &
                                             _mm512_cmpneq_epi32_mask(units, repeat32(tab)));
    const std::size_t count = count_of(kept);
    _mm512_mask_storeu_epi32(text + done.written * 4, first16(count), _mm512_maskz_compress_epi32(kept, units));
    done.read += readable;
    done.written += count;
    if (inside != first(readable)) break;
  }
  return done;
}

// `vectors` of them side by side, if no character of them is zero.
template <unsigned vectors>
ZVRT_INLINED bool copy_vectors(const char* src, char* dst) {
  const auto load = [src](unsigned i) { return _mm512_loadu_si512(src + (i < vectors ? i * 64 : 0)); };
  const Vector a = load(0);
  const Vector b = load(1);
  const Vector c = load(2);
  const Vector d = load(3);
  const Vector lowest = _mm512_min_epu32(_mm512_min_epu32(a, b), _mm512_min_epu32(c, d));
  if (_mm512_testn_epi32_mask(lowest, lowest) != 0) return false;
  _mm512_storeu_si512(dst, a);
  _mm512_storeu_si512(dst + 64, b);
  _mm512_storeu_si512(dst + 128, c);
  if (vectors > 3) _mm512_storeu_si512(dst + 192, d);
  return true;
}

// At most 48 characters without a zero, by masks and not by a branch on the length: lengths differ from value to value.
ZVRT_INLINED bool copy_masked(const char* src, char* dst, std::size_t count) {
  const Mask lanes = first(count);
  const __mmask16 in_a = lanes_of(lanes, 0);
  const __mmask16 in_b = lanes_of(lanes, 1);
  const __mmask16 in_c = lanes_of(lanes, 2);
  const Vector a = _mm512_maskz_loadu_epi32(in_a, src);
  const Vector b = _mm512_maskz_loadu_epi32(in_b, src + 64);
  const Vector c = _mm512_maskz_loadu_epi32(in_c, src + 128);
  if ((_mm512_mask_testn_epi32_mask(in_a, a, a) | _mm512_mask_testn_epi32_mask(in_b, b, b) |
       _mm512_mask_testn_epi32_mask(in_c, c, c)) != 0) {
    return false;
  }
  _mm512_mask_storeu_epi32(dst, in_a, a);
  _mm512_mask_storeu_epi32(dst + 64, in_b, b);
  _mm512_mask_storeu_epi32(dst + 128, in_c, c);
  return true;
}

// A text without a zero. What does not fill the last step is copied by a step that ends with the text, over what has been
// copied already.
ZVRT_INLINED bool copy_without_zero(const char* src, char* dst, std::size_t count) {
  constexpr std::size_t three = 3 * step;
  if (count <= three) return copy_masked(src, dst, count);
  const std::size_t last = (count - three) * 4;
  if (count <= 2 * three) return copy_vectors<3>(src, dst) && copy_vectors<3>(src + last, dst + last);
  for (std::size_t at = 0; at < last; at += three * 4) {
    if (!copy_vectors<3>(src + at, dst + at)) return false;
  }
  return copy_vectors<3>(src + last, dst + last);
}

template <class Bound>
[[gnu::noinline]] void copy_up_to_zero(const char* src, char* dst, std::size_t count, Bound bound) {
  std::size_t done = 0;
  while (done < count) {
    while (count - done >= 4 * step && bound.readable(src, done, 4 * step) == 4 * step &&
           copy_vectors<4>(src + done * 4, dst + done * 4)) {
      done += 4 * step;
    }
    if (done == count) return;
    const std::size_t readable = bound.readable(src, done, step);
    const Vector units = load_units(src + done * 4, readable);
    const Mask inside = trailing_ones(_mm512_test_epi32_mask(units, units));
    const bool ends = inside != first(readable);
    const std::size_t stored = ends ? min(count - done, step) : readable;
    _mm512_mask_storeu_epi32(dst + done * 4, first16(stored),
                             _mm512_maskz_mov_epi32(static_cast<__mmask16>(inside), units));
    done += stored;
    if (!ends) continue;
    for (; done < count; done += step) _mm512_mask_storeu_epi32(dst + done * 4, first16(count - done), Vector{});
  }
}

}  // namespace

Progress drop_blanks(void* text, std::size_t count) {
  auto* at = static_cast<char*>(text);
  if constexpr (!reads_ahead)
    return drop(at, Counted{static_cast<std::size_t>(length_within(text, static_cast<std::int32_t>(count)))});
  return drop(at, CountedUnits<4>{count});
}

void copy_counted(const void* src, void* dst, std::size_t count) {
  if constexpr (!reads_ahead) return text_kernels_baseline.copy_counted(src, dst, count);
  const auto* from = static_cast<const char*>(src);
  auto* into = static_cast<char*>(dst);
  // A text that ends before its count may end with its page.
  const bool in_page = count * 4 <= to_page_end(from);
  if (!in_page || !copy_without_zero(from, into, count)) copy_up_to_zero(from, into, count, CountedUnits<4>{count});
}

// Blanks at an end are few as a rule: those are looked at one by one. A vector over what the caller has just written in
// smaller pieces would wait until all of it is in the cache.
std::size_t leading_blanks(const void* text, std::size_t count) {
  const auto* at = static_cast<const char*>(text);
  const std::size_t looked_at = min(count, few);
  for (std::size_t done = 0; done < looked_at; ++done) {
    if (load<Wide>(at, done) != blank) return done;
  }
  for (std::size_t done = looked_at; done < count; done += step) {
    const Mask others = other_than_blanks(at + done * 4, count - done);
    if (others != 0) return done + lowest_bit(others);
  }
  return count;
}

std::size_t trailing_blanks(const void* text, std::size_t count) {
  const auto* at = static_cast<const char*>(text);
  const std::size_t looked_at = min(count, few);
  for (std::size_t done = 0; done < looked_at; ++done) {
    if (load<Wide>(at, count - done - 1) != blank) return done;
  }
  for (std::size_t left = count - looked_at; left > 0;) {
    const std::size_t from = left - min(left, step);
    const Mask others = other_than_blanks(at + from * 4, left - from);
    if (others != 0) return count - (from + highest_bit(others) + 1);
    left = from;
  }
  return count;
}

}  // namespace zvrt::avx512
