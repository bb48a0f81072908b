// The tables in the library's read-only data, and how they are looked up. Their layout: page_tables.h.
#ifndef ZVRT_CONVERTER_PAGE_DATA_H
#define ZVRT_CONVERTER_PAGE_DATA_H

#include <cstddef>
#include <cstdint>

#include "page_tables.h"
#include "text.h"

#define ZVRT_TABLES extern "C" __attribute__((visibility("hidden")))
ZVRT_TABLES const zvrt::Page zvrt_pages[];
ZVRT_TABLES const zvrt::PageNumbers zvrt_page_numbers;
ZVRT_TABLES const zvrt::SingleByteTables zvrt_singles[];
ZVRT_TABLES const std::uint16_t zvrt_shorts[];
ZVRT_TABLES const std::uint32_t zvrt_words[];
#undef ZVRT_TABLES

namespace zvrt {

template <class Unit>
inline Unit trie_unit(const std::uint16_t* index, const Unit* blocks, std::uint32_t position) {
  return blocks[index[position / trie_block] * trie_block + position % trie_block];
}

// One to four bytes, the first lowest. The last of several is not 0, so that the value tells how many.
using Code = std::uint32_t;
constexpr std::size_t length_of(Code code) { return code <= 0xFF ? 1 : code <= 0xFFFF ? 2 : code <= 0xFFFFFF ? 3 : 4; }

// From a character to its code, in units of 16 bits where none is longer, else of 32.
template <class Unit>
struct CodeTrie {
  static constexpr Code none = static_cast<Unit>(-1);

  const std::uint16_t* index;
  const Unit* blocks;
  std::uint32_t limit;

  // Block 0 holds no code.
  Code operator[](char32_t character) const {
    const std::size_t block = character < limit ? index[character / trie_block] * trie_block : 0;
    return blocks[block + character % trie_block];
  }
};

inline CodeTrie<std::uint16_t> short_codes(const Page& page) {
  return {zvrt_shorts + page.codes, zvrt_shorts, page.codes_limit};
}
inline CodeTrie<std::uint32_t> long_codes(const Page& page) {
  return {zvrt_shorts + page.codes, zvrt_words, page.codes_limit};
}

// What a unit of a table from bytes to characters stands for.
inline Decoded decoded_unit(const Page& page, std::uint16_t unit, std::size_t length) {
  if (unit < first_extra || unit > undefined_unit) [[likely]]
    return {unit, length};
  if (unit == undefined_unit) return offending;
  const std::uint32_t place = page.extras + 2U * (unit - first_extra);
  return zvrt_words[place + 1] == 0 ? Decoded{zvrt_words[place], length} : Decoded{Decoded::two | place, length};
}

inline Decoded read_single(const Page& page, const unsigned char* text) {
  return decoded_unit(page, zvrt_shorts[page.singles + text[0]], 1);
}

inline Decoded read_pair(const Page& page, std::uint32_t pairs, const unsigned char* text, std::size_t available) {
  if (available < 2) return offending;
  return decoded_unit(page, trie_unit(zvrt_shorts + pairs, zvrt_shorts, text[0] * 256U + text[1]), 2);
}

// The code of the two characters at the beginning of a text when they are written as one; else 0.
Code composition(const Page& page, char32_t first, char32_t second);

}  // namespace zvrt

#endif
