// The shuffle orders that bring a step's characters together as UTF-8, for the kernels by SSE4.1 and by AVX2. Lanes hold the
// bytes of a character, the last one lowest: [dd cc bb aa] of four bytes, [bb aa 00 00] of two.
#pragma once

#include <cstdint>

namespace zvrt::sse41 {

// For four lanes of four bytes, by the lengths less one in two masks of four bits.
struct QuadCompression {
  alignas(16) std::uint8_t order[256][16];
  std::uint8_t bytes[256];
  constexpr QuadCompression() : order(), bytes() {
    for (unsigned lengths = 0; lengths < 256; ++lengths) {
      unsigned count = 0;
      for (unsigned i = 0; i < 4; ++i) {
        const unsigned length = 1 + (lengths >> i & 1) + (lengths >> (i + 4) & 1) * 2;
        for (unsigned k = length; k-- > 0;) order[lengths][count++] = static_cast<std::uint8_t>(i * 4 + k);
      }
      bytes[lengths] = static_cast<std::uint8_t>(count);
      while (count < 16) order[lengths][count++] = 0x80;
    }
  }
};
inline constexpr QuadCompression quad_compression;

// For eight lanes of two bytes, by a mask of those that are full.
struct PairCompression {
  alignas(16) std::uint8_t order[256][16];
  constexpr PairCompression() : order() {
    for (unsigned two = 0; two < 256; ++two) {
      unsigned count = 0;
      for (unsigned i = 0; i < 8; ++i) {
        if ((two >> i & 1) != 0) order[two][count++] = static_cast<std::uint8_t>(i * 2 + 1);
        order[two][count++] = static_cast<std::uint8_t>(i * 2);
      }
      while (count < 16) order[two][count++] = 0x80;
    }
  }
};
inline constexpr PairCompression pair_compression;

}  // namespace zvrt::sse41
