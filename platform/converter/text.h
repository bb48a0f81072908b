// Narrow and wide text, the result of a conversion, and the loops that all pages share.
#ifndef ZVRT_CONVERTER_TEXT_H
#define ZVRT_CONVERTER_TEXT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "ZVRTICULib.h"
#include "page_tables.h"

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
  WideText from(std::size_t index) const { return {data + index * wide_size, count - index}; }
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

// An offending place leaves what was written before it; otherwise the need decides.
constexpr Outcome rejected(std::size_t written) { return {ZVRT_ICU_RC_INVALID_CHAR, written}; }
constexpr Outcome converted(std::size_t needed, std::size_t destination) {
  return {needed > destination ? ZVRT_ICU_RC_TRUNCATED : 0, needed};
}

constexpr bool is_scalar_value(char32_t c) { return c < 0xD800 || (c > 0xDFFF && c <= 0x10FFFF); }

inline constexpr std::size_t ascii_block = 16;

std::size_t widen_all_ascii_blocks(Ascii ascii, Bytes source, WideDestination destination);
std::size_t narrow_all_ascii_blocks(Ascii ascii, WideText source, ByteDestination destination);

// Copies leading blocks of ASCII, as far as both sides reach, and returns the characters: 0 is always allowed.
inline std::size_t widen_ascii_blocks(Ascii ascii, Bytes source, WideDestination destination) {
  return source.size() < ascii_block ? 0 : widen_all_ascii_blocks(ascii, source, destination);
}
inline std::size_t narrow_ascii_blocks(Ascii ascii, WideText source, ByteDestination destination) {
  return source.count < ascii_block ? 0 : narrow_all_ascii_blocks(ascii, source, destination);
}

// One character read; a length of 0 is an offending place. A few codes mean two characters: `character` is `two` and the
// place of both in zvrt_words.
struct Decoded {
  static constexpr std::uint32_t two = 0x80000000;

  char32_t character;
  std::size_t length;
};
inline constexpr Decoded offending{0, 0};

// The characters of a Decoded that is two: writes those that fit, from index `made` on.
void put_two(char32_t character, WideDestination destination, std::size_t made);

// One character written, its bytes in order from the lowest; a length of 0 is a character that the page does not have.
// `taken` is 2 when the page writes two characters as one.
struct Encoded {
  std::uint64_t bytes;
  std::size_t length;
  std::size_t taken = 1;
};

// `read` takes the rest of the text, never empty, and gives Decoded. `made` characters of `source` are done already.
template <class Read>
Outcome decode_each(Bytes source, WideDestination destination, std::size_t made, Read read) {
  for (std::size_t at = made; at < source.size();) {
    const Decoded next = read(source.data() + at, source.size() - at);
    if (next.length == 0) return rejected(std::min(made, destination.count));
    if (next.character >= Decoded::two) [[unlikely]]
      put_two(next.character, destination, made++);
    else if (made < destination.count)
      destination.put(made, next.character);
    ++made;
    at += next.length;
  }
  return converted(made, destination.count);
}

inline void put_bytes(unsigned char* target, const Encoded& next) {
  if (next.length == 2) {  // the most by far; one store
    target[0] = static_cast<unsigned char>(next.bytes);
    target[1] = static_cast<unsigned char>(next.bytes >> 8);
    return;
  }
  for (std::size_t i = 0; i < next.length; ++i) target[i] = static_cast<unsigned char>(next.bytes >> (8 * i));
}

// `write` takes the rest of the text, never empty, and gives Encoded. `done` characters stand in the first `written`
// bytes already. Once a character does not fit, none after it does: `needed` only grows.
template <class Write>
Outcome encode_each(WideText source, ByteDestination destination, std::size_t done, std::size_t written, Write write) {
  std::size_t needed = written;
  for (std::size_t i = done; i < source.count;) {
    const Encoded next = write(source.from(i));
    if (next.length == 0) return rejected(written);
    if (needed + next.length <= destination.size()) {
      put_bytes(destination.data() + needed, next);
      written += next.length;
    }
    needed += next.length;
    i += next.taken;
  }
  return converted(needed, destination.size());
}

}  // namespace zvrt

#endif
