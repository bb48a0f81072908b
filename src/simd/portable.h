// Vectors in plain C++, for processors without SSE2: registers of eight bytes, and blocks of sixteen bytes with the functions
// of sse2.h that simd/vectors.h offers, with the same results.
//
// A register holds a text's first unit lowest, whatever the byte order of the machine:
//
//   load_bytes  [c7|c6|c5|c4|c3|c2|c1|c0]
//   load_pair   [     c1    |     c0    ]
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "support/inlined.h"
#include "support/units.h"
#include "support/wraps.h"

namespace zvrt::portable {

// ---- registers of eight bytes ----

inline constexpr std::uint64_t each_byte = 0x0101010101010101;
inline constexpr bool is_little_endian = std::endian::native == std::endian::little;

ZVRT_INLINED std::uint64_t load_bytes(const void* at) {
  const auto bytes = load<std::uint64_t>(at);
  return is_little_endian ? bytes : __builtin_bswap64(bytes);
}
ZVRT_INLINED void store_bytes(void* at, std::uint64_t bytes) {
  store(at, 0, is_little_endian ? bytes : __builtin_bswap64(bytes));
}

// Two wide characters.
ZVRT_INLINED std::uint64_t load_pair(const void* text, std::size_t index) {
  const auto pair = load<std::uint64_t>(text, index);
  return is_little_endian ? pair : std::rotl(pair, 32);
}
ZVRT_INLINED void store_pair(void* at, std::uint64_t pair) {
  store(at, 0, is_little_endian ? pair : std::rotl(pair, 32));
}

// Four wide characters as bytes, given as two pairs:  [c1|c0] and [c3|c2]  to  [0000|c3 c2 c1 c0], one byte each.
ZVRT_WRAPS ZVRT_INLINED std::uint64_t pack_pairs(std::uint64_t first, std::uint64_t second) {
  const std::uint64_t both = first | second << 16;
  return static_cast<std::uint32_t>(both | both >> 24);
}

// A pair with bit 80 set in each character above FF.
ZVRT_INLINED std::uint64_t mark_above_ff(std::uint64_t pair) {
  constexpr std::uint64_t each_wide = 0x0000000100000001;
  const std::uint64_t upper = pair & each_wide * 0xFFFFFF00;
  const std::uint64_t above = (((upper & each_wide * 0x7FFFFFFF) + each_wide * 0x7FFFFFFF) | upper) & each_wide << 31;
  return (pair & each_wide * 0xFF) | above >> 24;
}

// Eight wide characters as bytes; false if some are above FF.
ZVRT_INLINED bool pack_eight(const void* text, std::uint64_t& bytes) {
  const std::uint64_t a = load_pair(text, 0);
  const std::uint64_t b = load_pair(text, 1);
  const std::uint64_t c = load_pair(text, 2);
  const std::uint64_t d = load_pair(text, 3);
  bytes = pack_pairs(a, b) | pack_pairs(c, d) << 32;
  return ((a | b | c | d) & 0xFFFFFF00FFFFFF00) == 0;
}

// The same, those above FF becoming 80 to FF: what follows a terminator may be anything.
ZVRT_INLINED std::uint64_t pack_eight_marked(const void* text) {
  const std::uint64_t low = pack_pairs(mark_above_ff(load_pair(text, 0)), mark_above_ff(load_pair(text, 1)));
  return low | pack_pairs(mark_above_ff(load_pair(text, 2)), mark_above_ff(load_pair(text, 3))) << 32;
}

// Bit 80 of each byte that is not a digit. No byte carries into the next one.
ZVRT_INLINED std::uint64_t other_than_digits(std::uint64_t characters) {
  const std::uint64_t values = characters ^ each_byte * '0';
  return (((values & each_byte * 0x7F) + each_byte * (0x80 - 10)) | values) & (each_byte * 0x80);
}

// The number that eight digits make, the first lowest: neighbours are joined in every lane at once, to pairs, to quads and
// to all eight.
ZVRT_INLINED std::uint64_t join_eight(std::uint64_t digits) {
  const std::uint64_t pairs = (digits * 10 + (digits >> 8)) & 0x00FF00FF00FF00FF;
  const std::uint64_t quads = (pairs * 100 + (pairs >> 16)) & 0x0000FFFF0000FFFF;
  return (quads * 10'000 + (quads >> 32)) & 0xFFFFFFFF;
}

// ---- blocks of sixteen bytes ----

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
  std::uint64_t characters;
  if (!pack_eight(text, characters) || other_than_digits(characters) != 0) return false;
  number = static_cast<std::uint32_t>(join_eight(characters ^ each_byte * '0'));
  return true;
}

}  // namespace zvrt::portable
