// Between UTF-16 and wide text by AVX2: sixteen characters below 10000 a step, which have one unit on both sides. Surrogates
// are left to the kernels for every processor.
#include <cstddef>
#include <cstdint>

#include "encoding/kernels/avx2/text.h"
#include "encoding/kernels/baseline/text.h"

namespace zvrt::avx2 {

namespace {

constexpr std::size_t step_units = 16;

bool has_zero_or_surrogate(Vector units) {
  const Vector surrogates = _mm256_cmpeq_epi16(_mm256_and_si256(units, repeat16(0xF800)), repeat16(0xD800));
  return !is_zero(_mm256_or_si256(surrogates, _mm256_cmpeq_epi16(units, _mm256_setzero_si256())));
}

struct Widening {
  static constexpr std::size_t from = 2;
  static constexpr std::size_t to = 4;
  static constexpr auto other = baseline::utf16_to_utf32;

  static bool convert(const char* src, char* dst) {
    const Vector units = load_vector(src);
    if (has_zero_or_surrogate(units)) return false;
    store_vector(dst, _mm256_cvtepu16_epi32(lower(units)));
    store_vector(dst + 32, _mm256_cvtepu16_epi32(upper(units)));
    return true;
  }
};

struct Narrowing {
  static constexpr std::size_t from = 4;
  static constexpr std::size_t to = 2;
  static constexpr auto other = baseline::utf32_to_utf16;

  static bool convert(const char* src, char* dst) {
    const Vector low = load_vector(src);
    const Vector high = load_vector(src + 32);
    const Vector units = pack_units(low, high);
    const Vector above = _mm256_srli_epi32(_mm256_or_si256(low, high), 16);
    if (!is_zero(above) || has_zero_or_surrogate(units)) return false;
    store_vector(dst, units);
    return true;
  }
};

template <class Units>
struct Direction {
  static constexpr std::size_t from = Units::from;
  static constexpr std::size_t to = Units::to;
  static constexpr std::size_t step = step_units;
  static constexpr std::size_t ahead = step;

  static Progress other(const char* src, std::size_t count, char* dst, std::size_t capacity) {
    return Units::other(src, count, dst, capacity);
  }

  static std::size_t stretch(const char* /*at*/) { return step; }

  template <class Source>
  ZVRT_INLINED static void take_steps(Run& run, Source source) {
    auto [read, written] = run.done;
    while (run.capacity - written >= step && source.has(run.src, read, step) &&
           Units::convert(run.src + read * from, run.dst + written * to)) {
      read += step;
      written += step;
    }
    run.done = {read, written};
  }
};

// Kept apart, so that short text does not wait for what this saves and restores.
template <class Units, class Unit>
[[gnu::noinline]] Progress convert_long(const void* src, std::size_t count, void* dst, std::size_t capacity) {
  Run run{static_cast<const char*>(src), static_cast<char*>(dst), capacity, {}};
  if (!convert_steps<Direction<Units>>(run, Within<Unit>{count})) return run.done;
  run.advance(Units::other(run.source<Units::from>(), count - run.done.read, run.destination<Units::to>(), run.left()));
  return run.done;
}

template <class Units, class Unit>
ZVRT_INLINED Progress convert(const void* src, std::size_t count, void* dst, std::size_t capacity) {
  const auto convert = count < 2 * step_units ? Units::other : convert_long<Units, Unit>;
  return convert(src, count, dst, capacity);
}

}  // namespace

Progress utf16_to_utf32(const void* src, std::size_t count, void* dst, std::size_t capacity) {
  return convert<Widening, std::uint16_t>(src, count, dst, capacity);
}
Progress utf32_to_utf16(const void* src, std::size_t count, void* dst, std::size_t capacity) {
  return convert<Narrowing, Wide>(src, count, dst, capacity);
}

}  // namespace zvrt::avx2
