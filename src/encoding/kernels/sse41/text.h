// What the text kernels by SSE4.1 share: blocks of sixteen bytes and steps of sixteen wide characters, loaded without a
// byte beyond the text.
#pragma once

#include <smmintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "encoding/text_kernels.h"
#include "support/inlined.h"
#include "support/read_ahead.h"
#include "support/units.h"
#include "support/wraps.h"

namespace zvrt::sse41 {

Progress decode(const char* src, std::size_t count, void* dst, std::size_t capacity);
Progress decode_terminated(const char* src, void* dst, std::size_t capacity);
Progress count_decoded(const char* src, std::size_t count);

Progress encode(const void* src, std::size_t count, char* dst, std::size_t capacity);
Progress encode_terminated(const void* src, char* dst, std::size_t capacity);
Progress count_encoded(const void* src, std::size_t count);

using Block = __m128i;
using Mask = std::uint32_t;  // a bit for each byte of a block or character of a step

constexpr std::size_t block_bytes = 16;
constexpr std::size_t step_units = 16;
constexpr Mask past_block = Mask{1} << block_bytes;
constexpr Mask all_of_block = past_block - 1;

ZVRT_INLINED std::size_t min(std::size_t a, std::size_t b) { return a < b ? a : b; }

// Of at least one bit.
ZVRT_INLINED std::size_t lowest_bit(std::uint64_t bits) { return static_cast<std::size_t>(__builtin_ctzll(bits)); }
// The lowest `count` bits, fewer than 64. With a count from lowest_bit() memcheck sees that what lies behind a text
// decides nothing; the carry of a subtraction would hide it.
ZVRT_INLINED std::uint64_t first(std::size_t count) { return (std::uint64_t{1} << count) - 1; }
ZVRT_INLINED std::size_t highest_bit(Mask bits) { return static_cast<std::size_t>(31 - __builtin_clz(bits)); }
ZVRT_INLINED std::size_t count_of(Mask bits) { return static_cast<std::size_t>(__builtin_popcount(bits)); }
// The bits below the lowest one, all where there is none.
ZVRT_WRAPS ZVRT_INLINED Mask below(Mask bits) { return ~bits & (bits - 1); }

ZVRT_INLINED Block load_block(const void* at) { return _mm_loadu_si128(static_cast<const Block*>(at)); }
ZVRT_INLINED void store_block(char* at, Block block) { _mm_storeu_si128(reinterpret_cast<Block*>(at), block); }
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

// Shuffles that move the bytes of a block down by a count of -16 to 16, zeros in their place.
struct ByteShifts {
  std::uint8_t bytes[3 * block_bytes];
  constexpr ByteShifts() : bytes() {
    for (unsigned i = 0; i < sizeof bytes; ++i) bytes[i] = i / 16 == 1 ? static_cast<std::uint8_t>(i - 16) : 0x80;
  }
};
inline constexpr ByteShifts byte_shifts;

ZVRT_INLINED Block shift_down(Block bytes, std::ptrdiff_t count) {
  return _mm_shuffle_epi8(bytes, load_block(byte_shifts.bytes + block_bytes + count));
}
ZVRT_INLINED Block shift_up(Block bytes, std::size_t count) {
  return shift_down(bytes, -static_cast<std::ptrdiff_t>(count));
}

// One to sixteen bytes, zeros behind them, without reading a byte more: from pieces that overlap where they have to.
ZVRT_INLINED Block load_bytes(const char* src, std::size_t count) {
  if (count >= block_bytes) return load_block(src);
  if (count > 8) {
    const auto above = load<std::uint64_t>(src + count - 8) >> (block_bytes - count) * 8;
    return _mm_set_epi64x(static_cast<long long>(above), load<long long>(src));
  }
  std::uint64_t bytes = 0;
  if (count >= 4) {
    const std::uint64_t above = load<std::uint32_t>(src + count - 4);
    bytes = load<std::uint32_t>(src) | above << (count - 4) * 8;
  } else {
    const auto byte = [src](std::size_t i) { return std::uint64_t{static_cast<unsigned char>(src[i])} << i * 8; };
    bytes = byte(0) | byte(count / 2) | byte(count - 1);
  }
  return _mm_cvtsi64_si128(static_cast<long long>(bytes));
}

// Sixteen wide characters.
struct Units {
  Block quads[4];
};

ZVRT_INLINED Units load_step(const char* src) {
  return {load_block(src), load_block(src + 16), load_block(src + 32), load_block(src + 48)};
}

// Up to sixteen units, zeros behind them, without reading one more.
ZVRT_INLINED Units load_units(const char* src, std::size_t count) {
  if (count >= step_units) return load_step(src);
  Units units;
  if (count >= 4) {
    for (std::size_t i = 0; i < 4; ++i) {
      const std::size_t at = min(i * 4, count - 4);
      units.quads[i] = shift_down(load_block(src + at * 4), static_cast<std::ptrdiff_t>(min(i * 4 - at, 4) * 4));
    }
    return units;
  }
  const auto unit = [src, count](std::size_t i) { return i < count ? load<int>(src, i) : 0; };
  const Block zero = _mm_setzero_si128();
  return {_mm_setr_epi32(unit(0), unit(1), unit(2), 0), zero, zero, zero};
}

// ---- Where a text ends ----

// Text of a known count, read without a unit more.
struct Counted {
  std::size_t count;

  ZVRT_INLINED bool goes_on(const char* /*src*/, std::size_t read) const { return read < count; }
  ZVRT_INLINED bool has_block(const char* /*src*/, std::size_t read) const { return count - read >= block_bytes; }
  ZVRT_INLINED Block bytes(const char* src, std::size_t read) const { return load_bytes(src + read, count - read); }

  ZVRT_INLINED bool has_units(std::size_t read) const { return read < count; }
  ZVRT_INLINED Units units(const char* src, std::size_t read) const { return load_units(src + read * 4, count - read); }
};

// Text up to a terminator, which ends what is ordinary and continues no character.
struct Terminated {
  ZVRT_INLINED static bool goes_on(const char* src, std::size_t read) { return src[read] != 0; }
  ZVRT_INLINED static bool has_block(const char* src, std::size_t read) {
    return may_read_ahead(src + read, block_bytes);
  }
  ZVRT_INLINED static Block bytes(const char* src, std::size_t read) {
    if (has_block(src, read)) [[likely]]
      return load_block(src + read);
    return load_bytes(src + read, strnlen(src + read, block_bytes));
  }

  ZVRT_INLINED static bool has_units(std::size_t /*read*/) { return true; }  // its terminator at the least
  ZVRT_INLINED static Units units(const char* src, std::size_t read) {
    const char* at = src + read * 4;
    if (may_read_ahead(at, step_units * 4)) [[likely]]
      return load_step(at);
    std::size_t count = 0;
    while (count < step_units && load<Wide>(at, count) != 0) ++count;
    return load_units(at, count);
  }
};

}  // namespace zvrt::sse41
