// Vectors of sixteen bytes in plain C++, for processors without SSE2: the functions of sse2.h that simd/vectors.h offers,
// with the same results.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "support/inlined.h"
#include "support/units.h"

namespace zvrt::portable {

struct Block {
  std::uint8_t at[16];
};

ZVRT_INLINED Block load_block(const void* at) { return load<Block>(at); }
ZVRT_INLINED void store_block(void* at, const Block& block) { store(at, 0, block); }

ZVRT_INLINED void store_wide(void* at, const std::uint8_t* bytes, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) store(at, i, Wide{bytes[i]});
}
ZVRT_INLINED void store_eight_wide(void* at, const Block& bytes) { store_wide(at, bytes.at, 8); }
ZVRT_INLINED void store_sixteen_wide(void* at, const Block& bytes) { store_wide(at, bytes.at, 16); }

ZVRT_INLINED void store_four_wide(void* at, std::uint32_t bytes) {
  for (std::size_t i = 0; i < 4; ++i) store(at, i, Wide{bytes >> 8 * i & 0xFF});
}

ZVRT_INLINED void store_two_wide(void* at, char first, char second) {
  store(at, 0, static_cast<Wide>(first));
  store(at, 1, static_cast<Wide>(second));
}

ZVRT_INLINED std::uint64_t narrow_eight(const void* text) {
  std::uint64_t bytes = 0;
  for (std::size_t i = 0; i < 8; ++i) {
    const Wide character = load<Wide>(text, i);
    const std::uint64_t byte = character <= 0xFF ? character : character < 0x80000000 ? 0xFF : 0;
    bytes |= byte << 8 * i;
  }
  return bytes;
}

ZVRT_INLINED bool narrow_sixteen(const void* text, Block& bytes) {
  Wide any = 0;
  for (std::size_t i = 0; i < 16; ++i) {
    const Wide character = load<Wide>(text, i);
    any |= character;
    bytes.at[i] = static_cast<std::uint8_t>(character <= 0xFF ? character : 0xFF);
  }
  return any < 0x80000000;
}

ZVRT_INLINED Block repeat(std::int8_t byte) {
  Block block;
  std::memset(block.at, byte, sizeof block.at);
  return block;
}

ZVRT_INLINED bool all_within(const Block& bytes, const Block& above, const Block& last) {
  bool inside = true;
  for (std::size_t i = 0; i < 16; ++i) {
    const auto number = static_cast<std::int8_t>(bytes.at[i]);
    inside = inside && number > static_cast<std::int8_t>(above.at[i]) && number <= static_cast<std::int8_t>(last.at[i]);
  }
  return inside;
}

ZVRT_INLINED Block upper_half(const Block& bytes) {
  Block half = bytes;
  std::memcpy(half.at, bytes.at + 8, 8);
  return half;
}
ZVRT_INLINED std::uint8_t first_byte(const Block& bytes) { return bytes.at[0]; }

// Eight digits as bytes, the first lowest: a number is split into halves in every lane at once, of eight, four and two
// digits. A division by 100 or 10 is a multiplication and a shift, exact in these ranges.
ZVRT_INLINED std::uint64_t eight_digits(std::uint64_t number) {
  std::uint64_t lanes = number / 10000 | number % 10000 << 32;
  const std::uint64_t hundreds = lanes * 10486 >> 20 & 0x0000007F0000007F;
  lanes = hundreds | (lanes - hundreds * 100) << 16;
  const std::uint64_t tens = lanes * 103 >> 10 & 0x000F000F000F000F;
  return tens | (lanes - tens * 10) << 8;
}

ZVRT_INLINED Block sixteen_digits(std::uint64_t upper, std::uint64_t lower) {
  Block digits;
  const std::uint64_t first = eight_digits(upper);
  const std::uint64_t second = eight_digits(lower);
  for (std::size_t i = 0; i < 8; ++i) {
    digits.at[i] = static_cast<std::uint8_t>(first >> 8 * i);
    digits.at[i + 8] = static_cast<std::uint8_t>(second >> 8 * i);
  }
  return digits;
}

ZVRT_INLINED Block digit_characters(Block digits) {
  for (std::uint8_t& digit : digits.at) digit = static_cast<std::uint8_t>(digit | '0');
  return digits;
}

ZVRT_INLINED bool read_eight_digits(const void* text, std::uint32_t& number) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 8; ++i) {
    const Wide character = load<Wide>(text, i);
    if (character < '0' || character > '9') return false;
    value = value * 10 + (character - '0');
  }
  number = value;
  return true;
}

}  // namespace zvrt::portable
