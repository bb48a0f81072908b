// UTF-8 in its 31-bit form, one sequence at a time: the definition that every faster path equals.
#pragma once

#include <cstdint>

namespace zvrt {

enum class Utf8 : std::uint8_t {
  character,   // a complete sequence
  incomplete,  // the source ends inside the sequence
  malformed,   // a continuation byte is due and another stands there
};

struct Utf8Sequence {
  Utf8 kind;
  std::uint32_t code_point;
  std::int32_t length;  // bytes that the lead byte asks for
};

constexpr std::uint32_t replacement_character = 0xFFFD;

constexpr bool is_continuation(unsigned char byte) { return (byte & 0xC0U) == 0x80U; }

// Continuation bytes that follow a lead byte. Bytes that are no lead byte (80..BF, FE, FF) decode to themselves.
constexpr std::int32_t continuations_after(unsigned char lead) {
  if (lead < 0xC0 || lead > 0xFD) return 0;
  return lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : lead < 0xF8 ? 3 : lead < 0xFC ? 4 : 5;
}

// `remaining` bytes may be read, the lead byte included; that one is always read. Overlong forms and surrogates pass.
constexpr Utf8Sequence decode_utf8(const char* src, std::int64_t remaining) {
  const auto lead = static_cast<unsigned char>(src[0]);
  const std::int32_t continuations = continuations_after(lead);
  const std::int32_t length = continuations + 1;
  if (continuations == 0) return {Utf8::character, lead, length};
  if (remaining < length) return {Utf8::incomplete, 0, length};
  std::uint32_t code_point = lead & (0x3FU >> continuations);
  for (std::int32_t i = 1; i < length; ++i) {
    const auto byte = static_cast<unsigned char>(src[i]);
    if (!is_continuation(byte)) return {Utf8::malformed, lead, length};
    code_point = code_point << 6 | (byte & 0x3FU);
  }
  return {Utf8::character, code_point == replacement_character ? '?' : code_point, length};
}

constexpr std::uint32_t utf8_limit = 0x80000000;  // the first value without an encoding

// Bytes of the shortest encoding of a value below utf8_limit.
constexpr std::int32_t utf8_length(std::uint32_t code_point) {
  if (code_point < 0x80) return 1;
  return code_point < 0x800 ? 2 : code_point < 0x10000 ? 3 : code_point < 0x200000 ? 4 : code_point < 0x4000000 ? 5 : 6;
}

// Writes the encoding of `length` bytes.
constexpr void encode_utf8(std::uint32_t code_point, std::int32_t length, char* dst) {
  constexpr std::uint32_t lead_marks[] = {0x00, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC};
  for (std::int32_t i = length - 1; i > 0; --i) {
    dst[i] = static_cast<char>(0x80U | (code_point & 0x3FU));
    code_point >>= 6;
  }
  dst[0] = static_cast<char>(lead_marks[length - 1] | code_point);
}

}  // namespace zvrt
