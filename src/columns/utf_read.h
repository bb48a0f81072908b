// Unicode text into UTF-32, strictly: what is not well formed is found, not repaired.
//
// UTF-8 is read by the table of well-formed sequences: a lead byte says how many bytes follow and the range of the first
// of them, which is where overlong forms, surrogates and values above U+10FFFF show.
//
//   00..7F                    C2..DF 80..BF
//   E0     A0..BF 80..BF      F0     90..BF 80..BF 80..BF
//   E1..EC 80..BF 80..BF      F1..F3 80..BF 80..BF 80..BF
//   ED     80..9F 80..BF      F4     80..8F 80..BF 80..BF
//   EE..EF 80..BF 80..BF
//
// Under substitution each maximal part of such a sequence, or else each byte, becomes one U+FFFD.
#pragma once

#include <cstddef>
#include <cstdint>

#include "support/units.h"

namespace zvrt::columns {

// One character of a text, or what stands where none is: its length is then that of the malformed part.
struct Character {
  std::uint32_t code;
  std::int32_t length;  // bytes
  bool is_valid;
};

inline Character read_utf8(const std::byte* at, std::int64_t left) {
  const auto byte = [at](std::int32_t i) { return static_cast<std::uint32_t>(at[i]); };
  const std::uint32_t lead = byte(0);
  if (lead < 0x80) return {lead, 1, true};
  if (lead < 0xC2 || lead > 0xF4) return {lead, 1, false};
  const std::int32_t follow = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
  std::uint32_t code = lead & (0x3FU >> follow);
  std::uint32_t least = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  std::uint32_t most = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  for (std::int32_t i = 1; i <= follow; ++i) {
    if (i >= left || byte(i) < least || byte(i) > most) return {lead, i, false};
    code = code << 6 | (byte(i) & 0x3F);
    least = 0x80;
    most = 0xBF;
  }
  return {code, follow + 1, true};
}

template <bool swapped>
inline Character read_utf16(const std::byte* at, std::int64_t left) {
  const auto unit = [at](std::size_t i) {
    const auto value = load<std::uint16_t>(at, i);
    return std::uint32_t{swapped ? __builtin_bswap16(value) : value};
  };
  const std::uint32_t first = unit(0);
  if (first < 0xD800 || first > 0xDFFF) return {first, 2, true};
  if (first > 0xDBFF || left < 4) return {first, 2, false};
  const std::uint32_t second = unit(1);
  if (second < 0xDC00 || second > 0xDFFF) return {first, 2, false};
  return {0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00), 4, true};
}

inline Character read_utf32(const std::byte* at, std::int64_t /*left*/) {
  const auto code = load<Wide>(at);
  return {code, 4, code < 0xD800 || (code > 0xDFFF && code <= 0x10FFFF)};
}

}  // namespace zvrt::columns
