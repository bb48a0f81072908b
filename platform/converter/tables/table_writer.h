// Lays learned pages out as page_tables.h describes, and writes the arrays in the byte order of the machine they are for.
#ifndef ZVRT_CONVERTER_TABLE_WRITER_H
#define ZVRT_CONVERTER_TABLE_WRITER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "learned_page.h"

namespace zvrt {

// Units of one array: blocks that stand once, and lists between them. Block 0 is all ones.
template <class Unit>
class UnitPool {
 public:
  using Block = std::array<Unit, trie_block>;

  UnitPool() {
    Block empty;
    empty.fill(static_cast<Unit>(-1));
    number_of(empty);
  }

  std::uint16_t number_of(const Block& block) {
    const auto [entry, is_new] = numbers_.try_emplace(block, 0);
    if (is_new) {
      units_.resize((units_.size() + trie_block - 1) / trie_block * trie_block);
      if (units_.size() / trie_block > 0xFFFF) throw std::runtime_error("more blocks than 16 bits number");
      entry->second = static_cast<std::uint16_t>(units_.size() / trie_block);
      units_.insert(units_.end(), block.begin(), block.end());
    }
    return entry->second;
  }

  std::uint32_t append(const std::vector<Unit>& list) {
    const std::size_t place = units_.size();
    units_.insert(units_.end(), list.begin(), list.end());
    return static_cast<std::uint32_t>(place);
  }

  const std::vector<Unit>& units() const { return units_; }

 private:
  std::vector<Unit> units_;
  std::map<Block, std::uint16_t> numbers_;
};

class TableWriter {
 public:
  // The place of the page in zvrt_pages.
  std::uint16_t add(const LearnedPage& learned);

  // `places` of the numbers from 0, for one style.
  void add_numbers(Style style, const std::vector<std::uint16_t>& places);
  void set_utf8(std::uint16_t place) { numbers_.utf8 = place; }

  void write(const std::filesystem::path& folder, bool little_endian) const;

 private:
  // Units by position, all others being `absent`.
  template <class Unit>
  std::vector<std::uint16_t> index_of(UnitPool<Unit>& pool, const std::map<std::uint32_t, Unit>& units, Unit absent,
                                      std::size_t limit);
  static std::uint16_t unit_of(const std::u32string& text, std::vector<std::uint32_t>& extras);
  void lay_out_single_bytes(Page& page, const LearnedPage& learned);
  void lay_out_pairs(Page& page, const LearnedPage& learned);
  void lay_out_quadruples(Page& page, const LearnedPage& learned);
  template <class Unit>
  void lay_out_codes(Page& page, const LearnedPage& learned, UnitPool<Unit>& pool);

  std::vector<Page> pages_;
  std::vector<SingleByteTables> single_bytes_;
  UnitPool<std::uint16_t> shorts_;
  UnitPool<std::uint32_t> words_;
  PageNumbers numbers_{};
};

}  // namespace zvrt

#endif
