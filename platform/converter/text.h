// Narrow and wide text, the result of a conversion, and the loops that all pages share.
#ifndef ZVRT_CONVERTER_TEXT_H
#define ZVRT_CONVERTER_TEXT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "ZVRTICULib.h"

namespace zvrt {

using Bytes = std::span<const unsigned char>;
using ByteDestination = std::span<unsigned char>;

inline constexpr std::size_t wide_size = sizeof(char32_t);

// Wide text at any alignment.
struct WideText {
  const unsigned char* data;
  std::size_t count;

  char32_t operator[](std::size_t index) const {
    char32_t character;
    std::memcpy(&character, data + index * wide_size, wide_size);
    return character;
  }
  WideText first(std::size_t characters) const { return {data, characters}; }
  WideText at(std::size_t index) const { return {data + index * wide_size, 1}; }
};

struct WideDestination {
  unsigned char* data;
  std::size_t count;

  void put(std::size_t index, char32_t character) const {
    std::memcpy(data + index * wide_size, &character, wide_size);
  }
};

struct Outcome {
  std::uint32_t status;
  std::size_t count;
};

// An invalid character keeps what was written before it; otherwise the length needed decides the status.
constexpr Outcome rejected(std::size_t written) { return {ZVRT_ICU_RC_INVALID_CHAR, written}; }
constexpr Outcome converted(std::size_t needed, std::size_t capacity) {
  return {needed > capacity ? ZVRT_ICU_RC_TRUNCATED : 0, needed};
}

constexpr bool is_scalar_value(char32_t c) { return c < 0xD800 || (c > 0xDFFF && c <= 0x10FFFF); }

// Which bytes of a page are ASCII: not all of 20 to 7E; exactly those, as some pages exchange control characters; 00 to
// 7F.
enum class Ascii { no, printable, all };

// Which of them, by the character of each byte below 80.
template <class CharacterOf>
constexpr Ascii ascii_of(CharacterOf character_of) {
  bool printable = true;
  bool all = true;
  for (std::uint32_t byte = 0; byte < 0x80; ++byte) {
    if (character_of(byte) == byte) continue;
    all = false;
    if (byte >= 0x20 && byte < 0x7F) printable = false;
  }
  return all ? Ascii::all : printable ? Ascii::printable : Ascii::no;
}

inline constexpr std::size_t ascii_block = 16;

std::size_t widen_all_ascii_blocks(Ascii ascii, Bytes source, WideDestination destination);
std::size_t narrow_all_ascii_blocks(Ascii ascii, WideText source, ByteDestination destination);

// Copies leading blocks of 16 ASCII characters, as far as source and destination reach; returns the characters copied.
inline std::size_t widen_ascii_blocks(Ascii ascii, Bytes source, WideDestination destination) {
  return source.size() < ascii_block ? 0 : widen_all_ascii_blocks(ascii, source, destination);
}
inline std::size_t narrow_ascii_blocks(Ascii ascii, WideText source, ByteDestination destination) {
  return source.count < ascii_block ? 0 : narrow_all_ascii_blocks(ascii, source, destination);
}

// One character read; a length of 0 is an invalid sequence.
struct Decoded {
  char32_t character;
  std::size_t length;
};

// One character as bytes, the first one lowest; a length of 0 is a character that the page does not have.
struct Encoded {
  std::uint32_t bytes;
  std::size_t length;
};

// `read` takes the rest of the text, never empty, and gives Decoded. `made` characters of `source` are converted
// already.
template <class Read>
Outcome decode_each(Bytes source, WideDestination destination, std::size_t made, Read read) {
  for (std::size_t at = made; at < source.size();) {
    const Decoded next = read(source.data() + at, source.size() - at);
    if (next.length == 0) return rejected(std::min(made, destination.count));
    if (made < destination.count) destination.put(made, next.character);
    ++made;
    at += next.length;
  }
  return converted(made, destination.count);
}

inline void put_bytes(unsigned char* target, Encoded next) {
  if (next.length == 2) {  // by far the most
    std::memcpy(target, &next.bytes, 2);
    return;
  }
  for (std::size_t i = 0; i < next.length; ++i) target[i] = static_cast<unsigned char>(next.bytes >> (8 * i));
}

// `write` takes a character and gives Encoded. `done` characters are in the first `written` bytes already. After a
// character that does not fit none fits: `needed` only grows.
template <class Write>
Outcome encode_each(WideText source, ByteDestination destination, std::size_t done, std::size_t written, Write write) {
  std::size_t needed = written;
  for (std::size_t i = done; i < source.count; ++i) {
    const Encoded next = write(source[i]);
    if (next.length == 0) return rejected(written);
    if (needed + next.length <= destination.size()) {
      put_bytes(destination.data() + needed, next);
      written += next.length;
    }
    needed += next.length;
  }
  return converted(needed, destination.size());
}

}  // namespace zvrt

#endif
