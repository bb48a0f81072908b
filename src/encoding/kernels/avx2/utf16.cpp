// Between UTF-16 and wide text by AVX2: 32 characters below 10000 a step, which have one unit on both sides. Surrogates
// are left to the kernels for every processor.
#include <cstddef>
#include <cstdint>

#include "encoding/kernels/avx2/text.h"
#include "encoding/kernels/baseline/text.h"
#include "support/units.h"

namespace zvrt::avx2 {

namespace {

constexpr std::size_t step_units = 32;

Vector zeros_and_surrogates(Vector units) {
  const Vector surrogates = _mm256_cmpeq_epi16(_mm256_and_si256(units, repeat16(0xF800)), repeat16(0xD800));
  return _mm256_or_si256(surrogates, is_zero_in<std::uint16_t>(units));
}
bool are_usual(Vector low, Vector high) {
  return is_zero(_mm256_or_si256(zeros_and_surrogates(low), zeros_and_surrogates(high)));
}

struct Widening {
  static constexpr std::size_t from = 2;
  static constexpr std::size_t to = 4;
  static constexpr auto other = baseline::utf16_to_utf32;
  static bool has_two_units(const char* at) { return (load<std::uint16_t>(at) & 0xF800) == 0xD800; }

  static bool convert(const char* src, char* dst) {
    if (!are_usual(load_vector(src), load_vector(src + 32))) return false;
    for (std::size_t i = 0; i < step_units; i += 8) {
      store_vector(dst + i * 4, _mm256_cvtepu16_epi32(load_block(src + i * 2)));
    }
    return true;
  }
};

struct Narrowing {
  static constexpr std::size_t from = 4;
  static constexpr std::size_t to = 2;
  static constexpr auto other = baseline::utf32_to_utf16;
  static bool has_two_units(const char* at) { return load<Wide>(at) > 0xFFFF; }

  static bool convert(const char* src, char* dst) {
    const Vector a = load_vector(src);
    const Vector b = load_vector(src + 32);
    const Vector c = load_vector(src + 64);
    const Vector d = load_vector(src + 96);
    const Vector any = _mm256_or_si256(_mm256_or_si256(a, b), _mm256_or_si256(c, d));
    const Vector low = pack_units(a, b);
    const Vector high = pack_units(c, d);
    if (!is_zero(_mm256_srli_epi32(any, 16)) || !are_usual(low, high)) return false;
    store_vector(dst, low);
    store_vector(dst + 32, high);
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

  // Runs of characters of two units are the other kernel's.
  static std::size_t stretch(const char* at) { return Units::has_two_units(at) ? 4 * step : step; }

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
  const auto convert = count < step_units ? Units::other : convert_long<Units, Unit>;
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
