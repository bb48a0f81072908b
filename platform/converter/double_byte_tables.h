// The characters of one and two bytes of a page in which the first byte tells how many.
#ifndef ZVRT_CONVERTER_DOUBLE_BYTE_TABLES_H
#define ZVRT_CONVERTER_DOUBLE_BYTE_TABLES_H

#include "icu_converter.h"
#include "pair_table.h"
#include "reverse_table.h"

namespace zvrt {

// Characters written, and the bytes that they are.
struct Run {
  std::size_t characters;
  std::size_t bytes;
};

struct DoubleByteTables {
  PairTable characters;
  ReverseTable code_of;  // may be given longer codes besides
  Ascii ascii = Ascii::no;

  // False when bytes stand for several characters, or memory is short. Longer characters are passed over.
  bool learn(const IcuConverter& icu);

  // Writes leading characters as far as both sides reach and says how many; 0 is always allowed. They stop before what
  // the page does not have, at the latest.
  Run write_run(WideText source, ByteRoom room) const;

 private:
  bool learn_pairs(const IcuConverter& icu, unsigned char lead);
};

}  // namespace zvrt

#endif
