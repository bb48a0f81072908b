// The code pages as tables: how a page stands in the library's read-only data, where the build puts it (tables/).
//
// Nothing is built, opened or locked when a program runs: a page is a constant that all threads and processes share.
//
// Four arrays hold everything, each of one type, in the byte order of the machine that they are for:
//
//   zvrt_pages    a Page for each code page
//   zvrt_singles  what a page of one byte per character is made of
//   zvrt_shorts   16-bit units: blocks of 64 of them, and after the blocks the indexes of the tries
//   zvrt_words    32-bit units: the same, and what no 16 bits hold
//
// A trie is an index of block numbers, one for each 64 neighbouring positions. Blocks that are equal stand once, whatever
// pages they belong to; related pages share most of theirs.
//
//   bytes to character   position: first byte << 8 | second byte; unit: the character, or from D800, which is no
//                        character, the number of an extra of the page; DFFF is undefined
//   character to bytes   position: the character; unit: the bytes, the first lowest; all bits set: the page has no code
//   number to page       position: the number; unit: the place in zvrt_pages; FFFF is none
#ifndef ZVRT_CONVERTER_PAGE_TABLES_H
#define ZVRT_CONVERTER_PAGE_TABLES_H

#include <cstddef>
#include <cstdint>

namespace zvrt {

// How the texts of a page are built, which chooses the functions that convert them.
enum class Form : std::uint32_t {
  single_byte,
  double_byte,  // one or two bytes, the first telling which
  multi_byte,   // also pairs after a prefix of one or two bytes
  gb18030,
  stateful,  // one byte, and two bytes between the shifts 0E and 0F
  utf8,
  cesu8,
  utf16,
  utf32,
};
inline constexpr std::size_t form_count = 9;

// Which bytes of a page are ASCII: not all of 20 to 7E, just those (some pages exchange control characters), all to 7F.
enum class Ascii : std::uint32_t { no, printable, all };

// What a vendor letter asks for.
enum class Style : std::uint32_t { usual, new_line, ibm };
inline constexpr std::size_t style_count = 3;

inline constexpr std::size_t trie_block = 64;
inline constexpr std::uint16_t first_extra = 0xD800;
inline constexpr std::uint16_t undefined_unit = 0xDFFF;
inline constexpr std::uint16_t no_page = 0xFFFF;
inline constexpr std::uint32_t undefined_byte = 0x80000000;  // a bit that no character has: many are tested at once

struct SingleByteTables {
  std::uint32_t character_of[256];  // undefined_byte where the page defines none

  // The same in bytes, for kernels that look up 64 at once. An undefined byte is the unit FFFF. To bytes there are two
  // windows of 256 characters, the first ones and those of which the page has most besides; in them the code 0 is
  // U+0000 or no code.
  alignas(64) unsigned char low_half[256];  // of each byte's UTF-16 unit
  unsigned char high_half[256];             // likewise
  unsigned char first_window[256];
  unsigned char other_window[256];
};

// Places in zvrt_shorts and zvrt_words are counted in their units.
struct Page {
  Form form;
  Ascii ascii;
  std::uint32_t little_endian;      // utf16, utf32: the byte order that is written, and read without a mark
  std::uint32_t marked;             // utf16, utf32: a text begins with a byte order mark
  std::uint32_t single_byte;        // the place of its SingleByteTables
  std::uint32_t other_window;       // the number of their second window: its characters divided by 256
  std::uint32_t singles;            // shorts: 256 units, by byte
  std::uint32_t pairs;              // shorts: index of the trie of two bytes
  std::uint32_t codes;              // shorts: index of the trie of characters; blocks are words where codes are longer
  std::uint32_t codes_limit;        // characters from here on have no code
  std::uint32_t extras;             // words: each a character, and a second one or 0
  std::uint32_t compositions;       // words: each two characters that are written as one, and their code; in order
  std::uint32_t composition_count;  // of threes
  std::uint32_t prefixes;           // words: each the bytes, the first lowest, their number, and its `pairs`
  std::uint32_t prefix_count;       // of threes
  std::uint32_t quadruples;         // shorts: what GB18030's four bytes mean below U+10000
};

// What finds a page: for each Style the trie of numbers below 65536.
struct PageNumbers {
  std::uint32_t index[style_count];  // shorts
  std::uint32_t utf8;                // the place in zvrt_pages of the process's own encoding
};

}  // namespace zvrt

#endif
