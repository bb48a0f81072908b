#include "table_writer.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>

#include "../gb18030_codes.h"

namespace zvrt {

namespace {

constexpr std::size_t position_of(const std::string& pair) {
  return std::size_t{static_cast<unsigned char>(pair[0])} << 8 | static_cast<unsigned char>(pair[1]);
}

// The first byte lowest.
std::uint32_t code_of(const std::string& bytes) {
  std::uint32_t code = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i)
    code |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i])) << (8 * i);
  if (bytes.size() > 1 && bytes.back() == '\0') throw std::runtime_error("a code that ends with a zero");
  return code;
}

// What the page writes, whole codes.
template <class Each>
void for_each_written(const LearnedPage& learned, Each each) {
  const auto visit = [&](const std::string& prefix, const std::vector<Mapping>& mappings) {
    for (const Mapping& mapping : mappings)
      if (mapping.written) each(mapping.text, code_of(prefix + mapping.bytes));
  };
  visit({}, learned.singles);
  for (const auto& [prefix, pairs] : learned.pairs) visit(prefix, pairs);
  visit({}, learned.quadruples);
}

template <class CharacterOf>
Ascii ascii_of(CharacterOf character_of) {
  bool printable = true;
  bool all = true;
  for (std::uint32_t byte = 0; byte < 0x80; ++byte) {
    if (character_of(byte) == byte) continue;
    all = false;
    if (byte >= 0x20 && byte < 0x7F) printable = false;
  }
  return all ? Ascii::all : printable ? Ascii::printable : Ascii::no;
}

class Output {
 public:
  Output(const std::filesystem::path& file, bool little_endian)
      : stream_(file, std::ios::binary), little_endian_(little_endian) {
    stream_.exceptions(std::ios::badbit | std::ios::failbit);
  }

  template <class Unit>
  void put(const Unit* units, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
      for (std::size_t byte = 0; byte < sizeof(Unit); ++byte) {
        const std::size_t shift = 8 * (little_endian_ ? byte : sizeof(Unit) - 1 - byte);
        stream_.put(static_cast<char>(units[i] >> shift & 0xFF));
      }
  }

 private:
  std::ofstream stream_;
  bool little_endian_;
};

template <class Record>
void put_record(Output& output, const Record& record) {
  static_assert(sizeof(Record) % sizeof(std::uint32_t) == 0);
  const auto words = std::bit_cast<std::array<std::uint32_t, sizeof(Record) / sizeof(std::uint32_t)>>(record);
  output.put(words.data(), words.size());
}

}  // namespace

template <class Unit>
std::vector<std::uint16_t> TableWriter::index_of(UnitPool<Unit>& pool, const std::map<std::uint32_t, Unit>& units,
                                                 Unit absent, std::size_t limit) {
  std::vector<std::uint16_t> index;
  auto next = units.begin();
  for (std::size_t begin = 0; begin < limit; begin += trie_block) {
    typename UnitPool<Unit>::Block block;
    block.fill(absent);
    for (; next != units.end() && next->first < begin + trie_block; ++next) block[next->first - begin] = next->second;
    index.push_back(pool.number_of(block));
  }
  return index;
}

std::uint16_t TableWriter::unit_of(const std::u32string& text, std::vector<std::uint32_t>& extras) {
  if (text.size() == 1 && text[0] <= 0xFFFF) return static_cast<std::uint16_t>(text[0]);
  if (text.size() > 2) throw std::runtime_error("bytes of more than two characters");
  const std::size_t number = first_extra + extras.size() / 2;
  if (number >= undefined_unit) throw std::runtime_error("too many characters above U+FFFF");
  extras.push_back(text[0]);
  extras.push_back(text.size() == 2 ? text[1] : 0);
  return static_cast<std::uint16_t>(number);
}

void TableWriter::lay_out_single_bytes(Page& page, const LearnedPage& learned) {
  SingleByteTables tables{};
  std::ranges::fill(tables.character_of, undefined_byte);
  std::ranges::fill(tables.low_half, 0xFF);
  std::ranges::fill(tables.high_half, 0xFF);
  std::array<int, 256> members{};
  for (const auto& [bytes, text, written] : learned.singles) {
    const auto byte = static_cast<unsigned char>(bytes[0]);
    if (text.size() != 1 || text[0] >= 0xFFFF) throw std::runtime_error("a byte of more than a UTF-16 unit");
    tables.character_of[byte] = text[0];
    tables.low_half[byte] = static_cast<unsigned char>(text[0]);
    tables.high_half[byte] = static_cast<unsigned char>(text[0] >> 8);
    if (text[0] > 0xFF) ++members[text[0] >> 8];
  }
  if (tables.character_of[0] != 0) throw std::runtime_error("a page in which the byte 0 is not U+0000");
  page.other_window = static_cast<std::uint32_t>(std::ranges::max_element(members) - members.begin());
  for (const auto& [bytes, text, written] : learned.singles) {
    if (!written) continue;
    const auto byte = static_cast<unsigned char>(bytes[0]);
    if (text[0] <= 0xFF) tables.first_window[text[0]] = byte;
    if (text[0] >> 8 == page.other_window) tables.other_window[text[0] & 0xFF] = byte;
  }
  page.ascii = ascii_of([&](std::uint32_t byte) { return tables.character_of[byte]; });
  page.single_byte = static_cast<std::uint32_t>(single_bytes_.size());
  single_bytes_.push_back(tables);
}

void TableWriter::lay_out_pairs(Page& page, const LearnedPage& learned) {
  std::vector<std::uint32_t> extras;
  std::vector<std::uint16_t> singles(256, undefined_unit);
  for (const Mapping& single : learned.singles)
    singles[static_cast<unsigned char>(single.bytes[0])] = unit_of(single.text, extras);
  std::vector<std::uint32_t> prefixes;
  const auto lay_out = [&](const std::vector<Mapping>& pairs) {
    std::map<std::uint32_t, std::uint16_t> units;
    for (const Mapping& pair : pairs)
      units[static_cast<std::uint32_t>(position_of(pair.bytes))] = unit_of(pair.text, extras);
    return shorts_.append(index_of(shorts_, units, undefined_unit, 0x10000));
  };
  for (const auto& [prefix, pairs] : learned.pairs) {
    const std::uint32_t place = lay_out(pairs);
    if (prefix.empty())
      page.pairs = place;
    else
      prefixes.insert(prefixes.end(), {code_of(prefix), static_cast<std::uint32_t>(prefix.size()), place});
  }
  page.ascii = ascii_of([&](std::uint32_t byte) { return singles[byte]; });
  page.singles = shorts_.append(singles);
  page.extras = words_.append(extras);
  page.prefixes = words_.append(prefixes);
  page.prefix_count = static_cast<std::uint32_t>(prefixes.size() / 3);
}

void TableWriter::lay_out_quadruples(Page& page, const LearnedPage& learned) {
  std::vector<std::uint16_t> units(gb18030::tabled, undefined_unit);
  for (const Mapping& mapping : learned.quadruples) {
    if (mapping.text.size() != 1 || mapping.text[0] > 0xFFFF) throw std::runtime_error("GB18030: a lower code of more");
    units[gb18030::index_of(code_of(mapping.bytes))] = static_cast<std::uint16_t>(mapping.text[0]);
  }
  page.quadruples = shorts_.append(units);
}

template <class Unit>
void TableWriter::lay_out_codes(Page& page, const LearnedPage& learned, UnitPool<Unit>& pool) {
  std::map<std::uint32_t, Unit> codes;
  std::map<std::u32string, std::uint32_t> compositions;
  for_each_written(learned, [&](const std::u32string& text, std::uint32_t code) {
    const auto unit = static_cast<Unit>(code);
    if (unit != code || unit == static_cast<Unit>(-1)) throw std::runtime_error("a code that the table does not hold");
    const bool is_new =
        text.size() == 1 ? codes.try_emplace(text[0], unit).second : compositions.try_emplace(text, code).second;
    if (!is_new) throw std::runtime_error("a text that is written in two ways");
  });
  constexpr auto block_size = static_cast<std::uint32_t>(trie_block);
  page.codes_limit = codes.empty() ? 0 : (codes.rbegin()->first / block_size + 1) * block_size;
  page.codes = shorts_.append(index_of(pool, codes, static_cast<Unit>(-1), page.codes_limit));
  std::vector<std::uint32_t> list;
  for (const auto& [text, code] : compositions) list.insert(list.end(), {text[0], text[1], code});
  page.compositions = words_.append(list);
  page.composition_count = static_cast<std::uint32_t>(compositions.size());
}

std::uint16_t TableWriter::add(const LearnedPage& learned) {
  Page page{};
  page.form = learned.form;
  page.little_endian = learned.little_endian ? 1 : 0;
  page.marked = learned.marked ? 1 : 0;
  switch (learned.form) {
    case Form::single_byte:
      lay_out_single_bytes(page, learned);
      lay_out_codes(page, learned, shorts_);
      break;
    case Form::double_byte:
    case Form::stateful:
      lay_out_pairs(page, learned);
      lay_out_codes(page, learned, shorts_);
      break;
    case Form::gb18030: lay_out_quadruples(page, learned); [[fallthrough]];
    case Form::multi_byte:
      lay_out_pairs(page, learned);
      lay_out_codes(page, learned, words_);
      break;
    default: page.ascii = Ascii::all; break;
  }
  pages_.push_back(page);
  return static_cast<std::uint16_t>(pages_.size() - 1);
}

void TableWriter::add_numbers(Style style, const std::vector<std::uint16_t>& places) {
  std::map<std::uint32_t, std::uint16_t> units;
  for (std::size_t number = 0; number < places.size(); ++number)
    units[static_cast<std::uint32_t>(number)] = places[number];
  numbers_.index[static_cast<std::size_t>(style)] = shorts_.append(index_of(shorts_, units, no_page, places.size()));
}

void TableWriter::write(const std::filesystem::path& folder, bool little_endian) const {
  Output pages(folder / "pages.bin", little_endian);
  for (const Page& page : pages_) put_record(pages, page);
  Output numbers(folder / "numbers.bin", little_endian);
  put_record(numbers, numbers_);
  Output singles(folder / "singles.bin", little_endian);
  for (const SingleByteTables& tables : single_bytes_) {
    singles.put(tables.character_of, std::size(tables.character_of));
    for (const auto* const bytes : {&tables.low_half, &tables.high_half, &tables.first_window, &tables.other_window})
      singles.put(*bytes, std::size(*bytes));
  }
  Output shorts(folder / "shorts.bin", little_endian);
  shorts.put(shorts_.units().data(), shorts_.units().size());
  Output words(folder / "words.bin", little_endian);
  words.put(words_.units().data(), words_.units().size());
}

}  // namespace zvrt
