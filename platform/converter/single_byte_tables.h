// The tables of a page of one byte per character, and the kernels that convert by them.
#ifndef ZVRT_CONVERTER_SINGLE_BYTE_TABLES_H
#define ZVRT_CONVERTER_SINGLE_BYTE_TABLES_H

#include <array>

#include "reverse_table.h"
#include "text.h"

namespace zvrt {

struct SingleByteTables {
  static constexpr std::uint32_t undefined = 0x80000000;  // a bit that no character has: many are tested at once

  std::array<std::uint32_t, 256> character_of;  // undefined where the page defines none
  ReverseTable code_of;
  Ascii ascii = Ascii::no;

  // The same as bytes, for kernels that look up 64 at once. To Unicode: the two halves of each byte's UTF-16 unit, FFFF
  // for an undefined byte. From Unicode: two windows of 256 characters, U+0000 to U+00FF and the 256 of which the page
  // has the most besides; a code of 0 is U+0000 or undefined.
  alignas(64) unsigned char low_half[256];   // of each byte's UTF-16 unit
  alignas(64) unsigned char high_half[256];  // likewise
  alignas(64) unsigned char first_window[256];
  alignas(64) unsigned char other_window[256];
  std::uint32_t other_window_number;  // its characters divided by 256
};

// Convert a leading part of `count` units and return its length. Reading stops exactly before the first byte that the
// page does not define; writing stops at the latest before the first character that it does not have, possibly at 0.
// Nothing is written beyond the part converted.
struct SingleByteKernels {
  std::size_t (*read)(const SingleByteTables& tables, const unsigned char* from, std::size_t count, unsigned char* to);
  std::size_t (*write)(const SingleByteTables& tables, const unsigned char* from, std::size_t count, unsigned char* to);
};

extern const SingleByteKernels single_byte_baseline;
extern const SingleByteKernels single_byte_avx512;

}  // namespace zvrt

#endif
