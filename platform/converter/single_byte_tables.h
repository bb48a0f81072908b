// What a page of one byte a character is made of, and the runs that kernels convert through it.
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

  // The same in bytes, for kernels that look up 64 at once. An undefined byte is the unit FFFF. Outward there are two
  // windows of 256 characters, the first ones and those of which the page has most besides; in them the code 0 is
  // U+0000 or no code.
  alignas(64) unsigned char low_half[256];   // of each byte's UTF-16 unit
  alignas(64) unsigned char high_half[256];  // likewise
  alignas(64) unsigned char first_window[256];
  alignas(64) unsigned char other_window[256];
  std::uint32_t other_window_number;  // its characters divided by 256
};

// Convert a leading part of `count` units and say how many. Reading stops before the first byte that the page does not
// define; writing before the first character that it does not have, at the latest: 0 is always allowed. Nothing is
// written for it or behind it.
struct SingleByteKernels {
  std::size_t (*read)(const SingleByteTables& tables, const unsigned char* from, std::size_t count, unsigned char* to);
  std::size_t (*write)(const SingleByteTables& tables, const unsigned char* from, std::size_t count, unsigned char* to);
};

extern const SingleByteKernels single_byte_baseline;
extern const SingleByteKernels single_byte_avx512;

}  // namespace zvrt

#endif
