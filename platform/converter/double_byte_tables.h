// The characters of one and two bytes of a page in which the first byte tells how many.
#ifndef ZVRT_CONVERTER_DOUBLE_BYTE_TABLES_H
#define ZVRT_CONVERTER_DOUBLE_BYTE_TABLES_H

#include "icu_converter.h"
#include "pair_table.h"
#include "reverse_table.h"

namespace zvrt {

// Characters written, and the bytes that they are.
struct EncodedPrefix {
  std::size_t characters;
  std::size_t bytes;
};

// Writes the code and steps behind it. Whether it is one byte or two is no branch, which text of both would make hard to
// guess: two are stored, and the second behind a single one is overwritten by the next character.
inline unsigned char* put_code(unsigned char* to, Code code) {
  std::memcpy(to, &code, 2);
  if (code > 0xFFFF) [[unlikely]] {
    std::memcpy(to, &code, 4);
    return to + 4;
  }
  return to + 1 + (code > 0xFF ? 1 : 0);
}

struct DoubleByteTables {
  PairTable characters;
  ReverseTable code_of;  // may be given longer codes besides
  Ascii ascii = Ascii::no;

  // False when bytes stand for several characters, or memory is short. Longer characters are passed over.
  bool build(const IcuConverter& icu);

  // Writes leading characters as far as both sides reach and says how many; 0 is always allowed. They stop before what
  // the page does not have, at the latest.
  EncodedPrefix encode_prefix(WideText source, ByteDestination destination) const;

 private:
  bool build_pairs(const IcuConverter& icu, unsigned char lead);
};

// A character is written once the next one is known to be written too. So many go at once as fit if all of them are
// long, which leaves nothing but the page to stop at; then again with the room that is left.
inline EncodedPrefix DoubleByteTables::encode_prefix(WideText source, ByteDestination destination) const {
  constexpr std::size_t max_length = 4;
  const ReverseTable::View table = code_of.view();  // by value: what is stored through a byte pointer may not change it
  std::size_t done = narrow_ascii_blocks(ascii, source, destination);
  unsigned char* to = destination.data() + done;
  const unsigned char* const end = destination.data() + destination.size();
  if (done == source.count) return {done, done};
  Code code = table[source[done]];
  while (code != no_code) {
    const std::size_t fitting = static_cast<std::size_t>(end - to) / max_length;
    const std::size_t stop = done + std::min(source.count - done, fitting);
    if (done + 1 >= stop) break;
    for (; done + 1 < stop; ++done) {
      const Code next = table[source[done + 1]];
      if (next == no_code) return {done, static_cast<std::size_t>(to - destination.data())};
      to = put_code(to, code);
      code = next;
    }
  }
  if (done + 1 == source.count && code != no_code && length_of(code) <= static_cast<std::size_t>(end - to)) {
    put_bytes(to, {code, length_of(code)});
    to += length_of(code);
    ++done;
  }
  return {done, static_cast<std::size_t>(to - destination.data())};
}

}  // namespace zvrt

#endif
