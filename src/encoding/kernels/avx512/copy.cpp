// Copies of terminated text by AVX-512, the end found on the way.
#include <cstddef>

#include "encoding/kernels/avx512/text.h"
#include "encoding/text_kernels.h"
#include "support/read_ahead.h"

namespace zvrt::avx512 {

namespace {

// Four vectors, of which a step may use fewer. Not an array, which would be kept in memory.
struct Block {
  Vector a, b, c, d;
};

// What differs between copying bytes and copying wide characters.
struct Bytes {
  static constexpr std::size_t unit = 1;

  // Which lanes of a vector are among the first `count` units of a block.
  static Mask lanes(std::size_t count, unsigned vector) { return first(count - min(count, vector * 64)); }
  static Vector load(const char* at, Mask lanes) { return _mm512_maskz_loadu_epi8(lanes, at); }
  static void store(char* at, Mask lanes, Vector units) { _mm512_mask_storeu_epi8(at, lanes, units); }

  static bool has_zero(const Block& block) {
    const Vector lower = _mm512_min_epu8(_mm512_min_epu8(block.a, block.b), _mm512_min_epu8(block.c, block.d));
    return _mm512_testn_epi8_mask(lower, lower) != 0;
  }
  // The units before the first zero, all where there is none.
  static std::size_t text(const Block& block) {
    const auto length = [](Vector bytes, std::size_t rest) {
      const Mask zeros = _mm512_testn_epi8_mask(bytes, bytes);
      return lowest_bit(zeros) + (zeros == 0 ? rest : 0);
    };
    return length(block.a, length(block.b, length(block.c, length(block.d, 0))));
  }
};
struct WideUnits {
  static constexpr std::size_t unit = 4;

  static Mask lanes(std::size_t count, unsigned vector) { return lanes_of(first(count), vector); }
  static Vector load(const char* at, Mask lanes) { return _mm512_maskz_loadu_epi32(static_cast<__mmask16>(lanes), at); }
  static void store(char* at, Mask lanes, Vector units) {
    _mm512_mask_storeu_epi32(at, static_cast<__mmask16>(lanes), units);
  }

  static bool has_zero(const Block& block) {
    const Vector lower = _mm512_min_epu32(_mm512_min_epu32(block.a, block.b), _mm512_min_epu32(block.c, block.d));
    return _mm512_testn_epi32_mask(lower, lower) != 0;
  }
  static std::size_t text(const Block& block) {
    const Vector bytes = in_bytes(block.a, block.b, block.c, block.d);
    return lowest_bit(_mm512_testn_epi8_mask(bytes, bytes));
  }
};

template <class Units, unsigned vectors>
ZVRT_INLINED void store_lanes(const Block& block, std::size_t count, char* into) {
  Units::store(into, Units::lanes(count, 0), block.a);
  if (vectors > 1) Units::store(into + 64, Units::lanes(count, 1), block.b);
  if (vectors > 2) Units::store(into + 128, Units::lanes(count, 2), block.c);
  if (vectors > 3) Units::store(into + 192, Units::lanes(count, 3), block.d);
}

// Copies at most `vectors` vectors. Returns false when the copy ends.
template <class Units, unsigned vectors>
ZVRT_INLINED bool copy_step(const char* src, char* dst, std::size_t capacity, std::size_t& done) {
  constexpr std::size_t step = vectors * 64 / Units::unit;
  const std::size_t readable = TerminatedUnits<Units::unit>::readable(src, done, step);
  const char* at = src + done * Units::unit;
  const auto load = [&](unsigned i) {
    if (i >= vectors) return Vector{};
    if (readable == step) [[likely]]
      return _mm512_loadu_si512(at + i * 64);
    return Units::load(at + i * 64, Units::lanes(readable, i));
  };
  const Block block{load(0), load(1), load(2), load(3)};
  const std::size_t count = min(min(Units::text(block), readable), capacity - done);
  store_lanes<Units, vectors>(block, count, dst + done * Units::unit);
  if (count != readable) {
    done += count;
    return false;
  }
  done += readable;  // known before the units are
  return done < capacity;
}

template <class Units>
[[gnu::noinline]] Progress copy_further(const char* src, char* dst, std::size_t capacity, std::size_t done) {
  constexpr std::size_t step = 256 / Units::unit;
  for (;;) {
    while (capacity - done >= step && TerminatedUnits<Units::unit>::readable(src, done, step) == step) {
      const char* at = src + done * Units::unit;
      const Block block{_mm512_loadu_si512(at), _mm512_loadu_si512(at + 64), _mm512_loadu_si512(at + 128),
                        _mm512_loadu_si512(at + 192)};
      char* into = dst + done * Units::unit;
      if (Units::has_zero(block)) {
        const std::size_t count = Units::text(block);
        store_lanes<Units, 4>(block, count, into);
        return {done + count, done + count};
      }
      _mm512_storeu_si512(into, block.a);
      _mm512_storeu_si512(into + 64, block.b);
      _mm512_storeu_si512(into + 128, block.c);
      _mm512_storeu_si512(into + 192, block.d);
      done += step;
    }
    if (done == capacity || !copy_step<Units, 4>(src, dst, capacity, done)) return {done, done};
  }
}

template <class Units, unsigned first_vectors>
Progress copy(const void* src, void* dst, std::size_t capacity) {
  std::size_t done = 0;
  const auto* from = static_cast<const char*>(src);
  auto* into = static_cast<char*>(dst);
  if (capacity > 0 && copy_step<Units, first_vectors>(from, into, capacity, done))
    return copy_further<Units>(from, into, capacity, done);
  return {done, done};
}

}  // namespace

Progress copy_narrow(const void* src, void* dst, std::size_t capacity) {
  if constexpr (!reads_ahead) return text_kernels_baseline.copy(src, dst, capacity);
  return copy<Bytes, 2>(src, dst, capacity);
}

// Texts of about 16, 32 and 64 characters differ little within each group in the number of steps of 48.
Progress copy_wide(const void* src, void* dst, std::size_t capacity) {
  if constexpr (!reads_ahead) return text_kernels_baseline.copy_wide(src, dst, capacity);
  return copy<WideUnits, 3>(src, dst, capacity);
}

}  // namespace zvrt::avx512
