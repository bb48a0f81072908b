// The characters of a page of one and two bytes per character, both ways.
#ifndef ZVRT_CONVERTER_DOUBLE_BYTE_TABLES_H
#define ZVRT_CONVERTER_DOUBLE_BYTE_TABLES_H

#include "icu_converter.h"
#include "pair_table.h"
#include "reverse_table.h"

namespace zvrt {

// A leading part of a text that was encoded: its characters and their bytes.
struct EncodedPrefix {
  std::size_t characters;
  std::size_t bytes;
};

// Writes the code and returns the address after it. There is no branch on one byte or two, since mixed text makes it
// unpredictable: two bytes are stored, and the next character overwrites the second byte of a single one.
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

  // False when bytes stand for several characters, or memory is short. Sequences of more than two bytes are ignored.
  bool build(const IcuConverter& icu);

  // Writes a leading part of the source that fits, possibly nothing. It ends at the latest before a character that the
  // page does not have.
  EncodedPrefix encode_prefix(WideText source, ByteDestination destination) const;

 private:
  bool build_pairs(const IcuConverter& icu, unsigned char lead);
};

// Software-pipelined by one character: the next code is loaded before the current one is stored. The inner loop handles
// capacity / 4 characters, which fit even at four bytes each, so only an unmapped character ends it; then the loop runs
// again with the capacity that is left.
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
