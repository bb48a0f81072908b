// Vectors of sixteen bytes by SSE4.1, for the kernels of that level. Everything is inlined, so that nothing compiled for
// this level is left to link.
#pragma once

#include <smmintrin.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "support/inlined.h"
#include "support/units.h"
#include "support/wraps.h"

namespace zvrt::sse41 {

using Block = __m128i;
using Mask = std::uint32_t;  // a bit for each byte of a block or character of a step

constexpr std::size_t block_bytes = 16;
constexpr std::size_t step_units = 16;
constexpr Mask past_block = Mask{1} << block_bytes;
constexpr Mask all_of_block = past_block - 1;

template <class Number>
ZVRT_INLINED Number min(std::type_identity_t<Number> a, Number b) {
  return a < b ? a : b;
}

// Of at least one bit.
ZVRT_INLINED std::size_t lowest_bit(std::uint64_t bits) { return static_cast<std::size_t>(__builtin_ctzll(bits)); }
ZVRT_INLINED std::uint32_t lowest_bit(Mask bits) { return static_cast<std::uint32_t>(__builtin_ctz(bits)); }
// The lowest `count` bits, fewer than 64. With a count from lowest_bit() memcheck sees that what follows a text
// decides nothing; the carry of a subtraction would hide it.
ZVRT_INLINED std::uint64_t first(std::size_t count) { return (std::uint64_t{1} << count) - 1; }
ZVRT_INLINED std::uint32_t highest_bit(Mask bits) { return 31 - static_cast<std::uint32_t>(__builtin_clz(bits)); }
ZVRT_INLINED std::size_t count_of(Mask bits) { return static_cast<std::size_t>(__builtin_popcount(bits)); }
// The bits below the lowest one; all bits if there is none.
ZVRT_WRAPS ZVRT_INLINED Mask below(Mask bits) { return ~bits & (bits - 1); }

ZVRT_INLINED Block load_block(const void* at) { return _mm_loadu_si128(static_cast<const Block*>(at)); }
ZVRT_INLINED void store_block(void* at, Block block) { _mm_storeu_si128(static_cast<Block*>(at), block); }
ZVRT_INLINED Block repeat(unsigned byte) { return _mm_set1_epi8(static_cast<char>(byte)); }
// Of a byte that is not known beforehand.
ZVRT_INLINED Block repeat_of(std::size_t byte) {
  return _mm_shuffle_epi8(_mm_cvtsi32_si128(static_cast<int>(byte)), _mm_setzero_si128());
}
ZVRT_INLINED Mask sign_bits(Block bytes) { return static_cast<Mask>(_mm_movemask_epi8(bytes)); }
ZVRT_INLINED Mask equal(Block bytes, unsigned value) { return sign_bits(_mm_cmpeq_epi8(bytes, repeat(value))); }

// A block by a function of the index of each byte.
struct Bytes {
  alignas(block_bytes) std::uint8_t at[block_bytes];

  template <class Function>
  constexpr explicit Bytes(Function of) : at() {
    for (unsigned i = 0; i < block_bytes; ++i) at[i] = static_cast<std::uint8_t>(of(i));
  }
  ZVRT_INLINED Block block() const { return _mm_load_si128(reinterpret_cast<const Block*>(at)); }
};

// The one table of byte shifts: shuffle orders that move the bytes of a block down by -48 to 48 places and put zeros where
// there are none. A window on [80 x 48 | 0 1 ... 15 | 80 x 48], since an index of 80 gives zero.
struct ByteShifts {
  static constexpr std::ptrdiff_t origin = 48;
  std::uint8_t order[origin + 64];

  constexpr ByteShifts() : order() {
    for (std::uint8_t& byte : order) byte = 0x80;
    for (unsigned i = 0; i < block_bytes; ++i) order[origin + i] = static_cast<std::uint8_t>(i);
  }
};
inline constexpr ByteShifts byte_shifts;

ZVRT_INLINED Block shift_order(std::ptrdiff_t count) {
  return load_block(byte_shifts.order + ByteShifts::origin + count);
}
ZVRT_INLINED Block shift_down(Block bytes, std::ptrdiff_t count) { return _mm_shuffle_epi8(bytes, shift_order(count)); }
ZVRT_INLINED Block shift_up(Block bytes, std::size_t count) {
  return shift_down(bytes, -static_cast<std::ptrdiff_t>(count));
}

// ---- Loads and stores of 1 to 16 bytes ----

// Zeros follow the bytes loaded; no byte more is read: two pieces overlap where they have to.
ZVRT_INLINED std::uint64_t load_small(const void* src, std::size_t count) {
  const auto* at = static_cast<const unsigned char*>(src);
  if (count >= 4) {
    const std::uint64_t upper = load<std::uint32_t>(at + count - 4);
    return load<std::uint32_t>(at) | upper << (count - 4) * 8;
  }
  const auto byte = [at](std::size_t i) { return std::uint64_t{at[i]} << i * 8; };
  return byte(0) | byte(count / 2) | byte(count - 1);
}

ZVRT_INLINED Block load_bytes(const void* src, std::size_t count) {
  if (count >= block_bytes) return load_block(src);
  if (count <= 8) return _mm_cvtsi64_si128(static_cast<long long>(load_small(src, count)));
  const auto upper = load<std::uint64_t>(static_cast<const char*>(src) + count - 8) >> (block_bytes - count) * 8;
  return _mm_set_epi64x(static_cast<long long>(upper), load<long long>(src));
}

// The first `count` bytes of a block.
ZVRT_INLINED void store_bytes(void* dst, std::size_t count, Block block) {
  auto* at = static_cast<char*>(dst);
  const auto lower = static_cast<std::uint64_t>(_mm_cvtsi128_si64(block));
  if (count >= 8) {
    store(at, 0, lower);
    store(at + count - 8, 0, _mm_cvtsi128_si64(shift_down(block, static_cast<std::ptrdiff_t>(count) - 8)));
  } else if (count >= 4) {
    store(at, 0, static_cast<std::uint32_t>(lower));
    store(at + count - 4, 0, static_cast<std::uint32_t>(lower >> (count - 4) * 8));
  } else {
    at[0] = static_cast<char>(lower);
    at[count / 2] = static_cast<char>(lower >> count / 2 * 8);
    at[count - 1] = static_cast<char>(lower >> (count - 1) * 8);
  }
}

// Sixteen wide characters.
struct Units {
  Block quads[4];
};

ZVRT_INLINED Units load_step(const char* src) {
  return {load_block(src), load_block(src + 16), load_block(src + 32), load_block(src + 48)};
}

// Up to sixteen units, followed by zeros, without reading one more.
ZVRT_INLINED Units load_units(const char* src, std::size_t count) {
  if (count >= step_units) return load_step(src);
  Units units;
  if (count >= 4) {
    for (std::size_t i = 0; i < 4; ++i) {
      const std::size_t at = min(i * 4, count - 4);
      units.quads[i] =
          shift_down(load_block(src + at * 4), static_cast<std::ptrdiff_t>(min(i * 4 - at, std::size_t{4}) * 4));
    }
    return units;
  }
  const auto unit = [src, count](std::size_t i) { return i < count ? load<int>(src, i) : 0; };
  const Block zero = _mm_setzero_si128();
  return {_mm_setr_epi32(unit(0), unit(1), unit(2), 0), zero, zero, zero};
}

// ---- Digits ----

// The number that sixteen digits make, the most significant first: joined to pairs, quads and octets: a * 10 + b, ab * 100 + cd, abcd * 10000 + efgh.
ZVRT_INLINED std::uint64_t join_digits(Block digits) {
  constexpr std::uint64_t hundred_million = 100'000'000;
  const Block pairs = _mm_maddubs_epi16(digits, _mm_set1_epi16(10 | 1 << 8));
  const Block quads = _mm_madd_epi16(pairs, _mm_set1_epi32(100 | 1 << 16));
  const Block octets = _mm_madd_epi16(_mm_packus_epi32(quads, quads), _mm_set1_epi32(10000 | 1 << 16));
  const auto halves = static_cast<std::uint64_t>(_mm_cvtsi128_si64(octets));
  return (halves & 0xFFFFFFFF) * hundred_million + (halves >> 32);
}

}  // namespace zvrt::sse41
