#include "double_byte_page.h"

namespace zvrt {

std::unique_ptr<Converter> DoubleBytePage::build(const IcuConverter& icu) {
  std::unique_ptr<DoubleBytePage> page(new (std::nothrow) DoubleBytePage);
  if (page == nullptr || !page->learn(icu)) return nullptr;
  return page;
}

bool DoubleBytePage::learn(const IcuConverter& icu) {
  if (!code_of_.prepare()) return false;
  for (std::uint32_t value = 0; value < 256; ++value) {
    const auto byte = static_cast<unsigned char>(value);
    const auto [answer, character] = icu.meaning({byte});
    switch (answer) {
      case IcuConverter::Answer::undefined: break;
      case IcuConverter::Answer::several: return false;
      case IcuConverter::Answer::incomplete:
        if (!learn_pairs(icu, byte)) return false;
        break;
      case IcuConverter::Answer::character:
        characters_.set(byte, character);
        if (icu.writes(character, {byte}) && !code_of_.add(character, byte)) return false;
        break;
    }
  }
  is_ascii_ = characters_.is_ascii();
  return true;
}

bool DoubleBytePage::learn_pairs(const IcuConverter& icu, unsigned char lead) {
  if (lead == 0) return false;  // its codes would be taken for single bytes
  for (std::uint32_t value = 0; value < 256; ++value) {
    const auto trail = static_cast<unsigned char>(value);
    const auto [answer, character] = icu.meaning({lead, trail});
    if (answer == IcuConverter::Answer::undefined) continue;
    if (answer != IcuConverter::Answer::character || !characters_.set(lead, trail, character)) return false;
    const auto code = static_cast<std::uint16_t>(lead << 8 | trail);
    if (icu.writes(character, {lead, trail}) && !code_of_.add(character, code)) return false;
  }
  return true;
}

Outcome DoubleBytePage::decode(Bytes source, WideRoom room) {
  return decode_each(
      source, room, is_ascii_ ? widen_ascii_blocks(source, room) : 0,
      [&](const unsigned char* text, std::size_t available) { return characters_.read(text, available); });
}

Outcome DoubleBytePage::encode(WideText source, ByteRoom room) {
  return encode_each(source, room, is_ascii_ ? narrow_ascii_blocks(source, room) : 0,
                     [&](char32_t character) -> Encoded {
                       const std::uint32_t code = code_of_[character];
                       if (code <= 0xFF) return {code, 1};
                       if (code == ReverseTable::no_code) return {0, 0};
                       return {code >> 8 | (code & 0xFF) << 8, 2};
                     });
}

}  // namespace zvrt
