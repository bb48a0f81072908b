// Blanks of wide text by AVX-512, sixteen characters a step: dropped, counted at both ends; and the copy that stops at a
// zero. A step's characters are loaded before anything is stored, so that a text may be changed in place.
#include <cstddef>
#include <cstdint>

#include "encoding/kernels/avx512/text.h"
#include "support/read_ahead.h"

namespace zvrt::avx512 {

namespace {

constexpr std::size_t step = 16;
constexpr std::uint32_t blank = 0x20;
constexpr std::uint32_t tab = 0x09;

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

// Four vectors, if no character of them is zero.
ZVRT_INLINED bool copy_four(const char* src, char* dst) {
  const Vector a = _mm512_loadu_si512(src);
  const Vector b = _mm512_loadu_si512(src + 64);
  const Vector c = _mm512_loadu_si512(src + 128);
  const Vector d = _mm512_loadu_si512(src + 192);
  const Vector lowest = _mm512_min_epu32(_mm512_min_epu32(a, b), _mm512_min_epu32(c, d));
  if (_mm512_testn_epi32_mask(lowest, lowest) != 0) return false;
  _mm512_storeu_si512(dst, a);
  _mm512_storeu_si512(dst + 64, b);
  _mm512_storeu_si512(dst + 128, c);
  _mm512_storeu_si512(dst + 192, d);
  return true;
}

template <class Bound>
ZVRT_INLINED void copy_up_to_zero(const char* src, char* dst, std::size_t count, Bound bound) {
  std::size_t done = 0;
  while (done < count) {
    while (count - done >= 4 * step && bound.readable(src, done, 4 * step) == 4 * step &&
           copy_four(src + done * 4, dst + done * 4)) {
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
  copy_up_to_zero(static_cast<const char*>(src), static_cast<char*>(dst), count, CountedUnits<4>{count});
}

std::size_t leading_blanks(const void* text, std::size_t count) {
  const auto* at = static_cast<const char*>(text);
  for (std::size_t done = 0; done < count; done += step) {
    const Mask others = other_than_blanks(at + done * 4, count - done);
    if (others != 0) return done + lowest_bit(others);
  }
  return count;
}

std::size_t trailing_blanks(const void* text, std::size_t count) {
  const auto* at = static_cast<const char*>(text);
  for (std::size_t left = count; left > 0;) {
    const std::size_t from = left - min(left, step);
    const Mask others = other_than_blanks(at + from * 4, left - from);
    if (others != 0) return count - (from + highest_bit(others) + 1);
    left = from;
  }
  return count;
}

}  // namespace zvrt::avx512
