// To Unicode: the table of the pages of one or two bytes per character, in which the first byte decides the length.
#ifndef ZVRT_CONVERTER_PAIR_TABLE_H
#define ZVRT_CONVERTER_PAIR_TABLE_H

#include <array>
#include <memory>

#include "text.h"

namespace zvrt {

class PairTable {
 public:
  PairTable() { single_.fill(undefined); }

  // A malformed, truncated or undefined sequence has length 0.
  Decoded read(const unsigned char* text, std::size_t available) const {
    const std::uint32_t first = single_[text[0]];
    if (first <= 0x10FFFF) return {first, 1};
    return read_pair(text, available);
  }

  Decoded read_single(const unsigned char* text) const {
    const std::uint32_t character = single_[text[0]];
    return {character, character == undefined ? 0U : 1U};
  }

  Decoded read_pair(const unsigned char* text, std::size_t available) const {
    const TrailTable* const trails = trails_[text[0]].get();
    if (trails == nullptr || available < 2) return {0, 0};
    const std::uint32_t character = (*trails)[text[1]];
    return {character, character == undefined ? 0U : 2U};
  }

  void set(unsigned char byte, char32_t character) { single_[byte] = character; }

  // False when memory is short.
  bool set(unsigned char lead, unsigned char trail, char32_t character) {
    if (trails_[lead] == nullptr) {
      trails_[lead].reset(new (std::nothrow) TrailTable);
      if (trails_[lead] == nullptr) return false;
      trails_[lead]->fill(undefined);
    }
    (*trails_[lead])[trail] = character;
    return true;
  }

  Ascii ascii() const {
    return ascii_of([&](std::uint32_t byte) { return single_[byte]; });
  }

 private:
  static constexpr std::uint32_t undefined = 0xFFFFFFFF;
  using TrailTable = std::array<std::uint32_t, 256>;

  std::array<std::uint32_t, 256> single_;
  std::array<std::unique_ptr<TrailTable>, 256> trails_;
};

}  // namespace zvrt

#endif
