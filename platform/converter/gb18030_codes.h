// GB18030's codes of four bytes: each byte is a digit of its own range, all of them together a number.
//
// Counted from 81308130, the first ones are the characters below U+10000 that have no shorter code, in order but for a
// few; the others follow from 90308130, which is U+10000, in order and need no table.
#ifndef ZVRT_CONVERTER_GB18030_CODES_H
#define ZVRT_CONVERTER_GB18030_CODES_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "support/wraps.h"

namespace zvrt::gb18030 {

inline constexpr std::uint32_t tabled = 39420;
inline constexpr std::uint32_t first_supplementary = 189000;
inline constexpr std::uint32_t no_index = 0xFFFFFFFF;

// As a number whose lowest byte comes first.
constexpr std::uint32_t code_of(std::uint32_t index) {
  return (0x81 + index / 12600) | (0x30 + index / 1260 % 10) << 8 | (0x81 + index / 10 % 126) << 16 |
         (0x30 + index % 10) << 24;
}

// no_index when it is no code of four bytes.
ZVRT_WRAPS constexpr std::uint32_t index_of(std::uint32_t code) {
  const std::uint32_t a = (code & 0xFF) - 0x81;
  const std::uint32_t b = (code >> 8 & 0xFF) - 0x30;
  const std::uint32_t c = (code >> 16 & 0xFF) - 0x81;
  const std::uint32_t d = (code >> 24) - 0x30;
  return a < 126 && b < 10 && c < 126 && d < 10 ? ((a * 10 + b) * 126 + c) * 10 + d : no_index;
}

inline std::string bytes_of(std::uint32_t index) {
  std::string bytes;
  for (std::uint32_t code = code_of(index); code != 0; code >>= 8) bytes += static_cast<char>(code);
  return bytes;
}

}  // namespace zvrt::gb18030

#endif
