// A packed field of up to eight bytes as one word, the most significant byte highest.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "support/inlined.h"
#include "support/units.h"

namespace zvrt::columns {

template <class Word>
ZVRT_INLINED std::uint64_t load_big_endian(const std::byte* at) {
  const auto word = load<Word>(at);
  if constexpr (std::endian::native == std::endian::big) return word;
  if constexpr (sizeof(Word) == 1) return word;
  if constexpr (sizeof(Word) == 2) return __builtin_bswap16(word);
  if constexpr (sizeof(Word) == 4) return __builtin_bswap32(word);
  if constexpr (sizeof(Word) == 8) return __builtin_bswap64(word);
}

// Two loads, which overlap where the length is no power of two: what both hold falls into the same place.
template <std::int32_t bytes>
ZVRT_INLINED std::uint64_t load_field(const std::byte* at) {
  if constexpr (bytes == 8) {
    return load_big_endian<std::uint64_t>(at);
  } else if constexpr (bytes >= 4) {
    return load_big_endian<std::uint32_t>(at) << 8 * (bytes - 4) | load_big_endian<std::uint32_t>(at + bytes - 4);
  } else if constexpr (bytes >= 2) {
    return load_big_endian<std::uint16_t>(at) << 8 * (bytes - 2) | load_big_endian<std::uint16_t>(at + bytes - 2);
  } else {
    return load_big_endian<std::uint8_t>(at);
  }
}

}  // namespace zvrt::columns
