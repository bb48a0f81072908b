#include "learned_page.h"

#include <cstdint>
#include <stdexcept>

#include "../gb18030_codes.h"

namespace zvrt {

namespace {

using Answer = IcuPage::Answer;

constexpr char shift_out = 0x0E;
constexpr char shift_in = 0x0F;

// Every byte that means something after `before`, the text closed by `after`.
std::vector<Mapping> learn_sequences(const IcuPage& icu, const std::string& before, const std::string& after = {}) {
  std::vector<Mapping> mappings;
  for (int value = 0; value < 256; ++value) {
    const std::string bytes(1, static_cast<char>(value));
    std::string sequence = before;
    sequence.append(bytes).append(after);
    const auto [answer, text] = icu.meaning(sequence);
    if (answer != Answer::text || text.empty()) continue;
    mappings.push_back({bytes, text, icu.writes(text, sequence)});
  }
  return mappings;
}

void append_pairs(std::vector<Mapping>& pairs, char lead, const std::vector<Mapping>& trails) {
  for (const Mapping& trail : trails) pairs.push_back({lead + trail.bytes, trail.text, trail.written});
}

// The first bytes tell how long a character is: what is incomplete goes on, up to two bytes of prefix and a pair.
// NOLINTNEXTLINE(misc-no-recursion): three levels at most
void learn_pairs(const IcuPage& icu, LearnedPage& page, const std::string& prefix) {
  for (int value = 0; value < 256; ++value) {
    const auto byte = static_cast<char>(value);
    const std::string lead = prefix + byte;
    if (icu.meaning(lead).answer != Answer::incomplete) continue;
    append_pairs(page.pairs[prefix], byte, learn_sequences(icu, lead));
    const bool goes_on = [&] {
      for (int trail = 0; trail < 256; ++trail)
        if (icu.meaning(lead + static_cast<char>(trail)).answer == Answer::incomplete) return true;
      return false;
    }();
    if (!goes_on) continue;
    if (prefix.size() == 2) throw std::runtime_error("characters of more than four bytes");
    learn_pairs(icu, page, lead);
  }
}

LearnedPage learn_bytes(const IcuPage& icu, Form form) {
  LearnedPage page{form};
  page.singles = learn_sequences(icu, {});
  if (form == Form::single_byte) return page;
  learn_pairs(icu, page, {});
  std::erase_if(page.pairs, [](const auto& entry) { return entry.second.empty(); });
  return page;
}

LearnedPage learn_gb18030(const IcuPage& icu) {
  LearnedPage page{Form::gb18030};
  page.singles = learn_sequences(icu, {});
  for (int lead = 0x81; lead <= 0xFE; ++lead)
    append_pairs(page.pairs[""], static_cast<char>(lead),
                 learn_sequences(icu, std::string(1, static_cast<char>(lead))));
  for (std::uint32_t index = 0; index < gb18030::tabled; ++index) {
    const std::string bytes = gb18030::bytes_of(index);
    const auto [answer, text] = icu.meaning(bytes);
    if (answer != Answer::text) continue;
    page.quadruples.push_back({bytes, text, icu.writes(text, bytes)});
  }
  for (char32_t character = 0x10000; character < 0x110000; ++character) {
    const std::string bytes = gb18030::bytes_of(gb18030::first_supplementary + character - 0x10000);
    if (icu.meaning(bytes).text != std::u32string(1, character) || !icu.writes({character}, bytes))
      throw std::runtime_error("GB18030: a character above U+FFFF out of order");
  }
  return page;
}

// The shifts mean no character, so that no character can be written as one either.
LearnedPage learn_stateful(const IcuPage& icu) {
  LearnedPage page{Form::stateful};
  page.singles = learn_sequences(icu, {});
  for (int lead = 0x40; lead < 0xFF; ++lead)
    append_pairs(page.pairs[""], static_cast<char>(lead),
                 learn_sequences(icu, {shift_out, static_cast<char>(lead)}, {shift_in}));
  return page;
}

// Where 924 differs from 1047: eight characters are replaced, three change places.
struct Replacement {
  unsigned char byte;
  char32_t character;
};
constexpr Replacement latin9_replacements[] = {
    {0x4A, U'\u00DD'}, {0x6A, U'\u0160'}, {0x9D, U'\u017E'}, {0x9F, U'\u20AC'}, {0xB0, U'\u00A2'}, {0xB7, U'\u0152'},
    {0xB8, U'\u0153'}, {0xB9, U'\u0178'}, {0xBA, U'\u00AC'}, {0xBB, U'\u0161'}, {0xBE, U'\u017D'},
};

}  // namespace

std::optional<LearnedPage> learn_page(const IcuPage& icu, bool native_little_endian) {
  switch (icu.type()) {
    case UCNV_SBCS:
    case UCNV_LATIN_1:
    case UCNV_US_ASCII: return learn_bytes(icu, Form::single_byte);
    case UCNV_DBCS:
    case UCNV_MBCS:
      if (icu.canonical_name() == "gb18030") return learn_gb18030(icu);
      return learn_bytes(icu, icu.longest_character() <= 2 ? Form::double_byte : Form::multi_byte);
    case UCNV_EBCDIC_STATEFUL: return learn_stateful(icu);
    case UCNV_UTF8: return LearnedPage{Form::utf8};
    case UCNV_CESU8: return LearnedPage{Form::cesu8};
    case UCNV_UTF16_BigEndian: return LearnedPage{Form::utf16};
    case UCNV_UTF16_LittleEndian: return LearnedPage{Form::utf16, true};
    case UCNV_UTF16: return LearnedPage{Form::utf16, native_little_endian, true};
    case UCNV_UTF32_BigEndian: return LearnedPage{Form::utf32};
    case UCNV_UTF32_LittleEndian: return LearnedPage{Form::utf32, true};
    case UCNV_UTF32: return LearnedPage{Form::utf32, native_little_endian, true};
    default: return std::nullopt;
  }
}

LearnedPage part_of(const LearnedPage& whole, Part part) {
  if (part == Part::pairs) return {.form = Form::double_byte, .pairs = whole.pairs};
  LearnedPage page{.form = Form::single_byte, .singles = whole.singles};
  if (part == Part::singles)  // the shifts are control characters where nothing shifts
    for (const char shift : {shift_out, shift_in})
      page.singles.push_back({std::string(1, shift), std::u32string(1, static_cast<unsigned char>(shift)), true});
  if (part == Part::latin9)
    for (const auto& [byte, character] : latin9_replacements) page.singles.at(byte).text = std::u32string(1, character);
  return page;
}

}  // namespace zvrt
