#include "utf8_page.h"

#include <bit>

namespace zvrt {

namespace {

constexpr Decoded offending{0, 0};

// The leading one bits of the first byte are the length; the smallest character of each length excludes overlong forms.
Decoded read(const unsigned char* text, std::size_t available) {
  if (text[0] < 0x80) return {text[0], 1};
  constexpr char32_t min_of_length[] = {0, 0, 0x80, 0x800, 0x10000};
  const auto length = static_cast<std::size_t>(std::countl_one(text[0]));
  if (length < 2 || length > 4 || length > available) return offending;
  char32_t character = text[0] & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((text[i] & 0xC0) != 0x80) return offending;
    character = character << 6 | (text[i] & 0x3FU);
  }
  if (character < min_of_length[length] || !is_scalar_value(character)) return offending;
  return {character, length};
}

Encoded write(char32_t c) {
  if (c < 0x80) return {c, 1};
  if (c < 0x800) return {(0xC0 | c >> 6) | (0x80 | (c & 0x3F)) << 8, 2};
  if (!is_scalar_value(c)) return {0, 0};
  if (c < 0x10000) return {(0xE0 | c >> 12) | (0x80 | (c >> 6 & 0x3F)) << 8 | (0x80 | (c & 0x3F)) << 16, 3};
  return {
      (0xF0 | c >> 18) | (0x80 | (c >> 12 & 0x3F)) << 8 | (0x80 | (c >> 6 & 0x3F)) << 16 | (0x80 | (c & 0x3F)) << 24,
      4};
}

}  // namespace

Outcome Utf8Page::decode(Bytes source, WideDestination destination) {
  return decode_each(source, destination, widen_ascii_blocks(Ascii::all, source, destination), read);
}

Outcome Utf8Page::encode(WideText source, ByteDestination destination) {
  const std::size_t ascii = narrow_ascii_blocks(Ascii::all, source, destination);
  return encode_each(source, destination, ascii, ascii, write);
}

}  // namespace zvrt
