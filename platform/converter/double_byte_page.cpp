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
  ascii_ = characters_.ascii();
  return true;
}

bool DoubleBytePage::learn_pairs(const IcuConverter& icu, unsigned char lead) {
  for (std::uint32_t value = 0; value < 256; ++value) {
    const auto trail = static_cast<unsigned char>(value);
    const auto [answer, character] = icu.meaning({lead, trail});
    if (answer == IcuConverter::Answer::undefined) continue;
    if (answer != IcuConverter::Answer::character || !characters_.set(lead, trail, character)) return false;
    if (icu.writes(character, {lead, trail}) && !code_of_.add(character, lead, trail)) return false;
  }
  return true;
}

Outcome DoubleBytePage::decode(Bytes source, WideRoom room) {
  return decode_each(
      source, room, widen_ascii_blocks(ascii_, source, room),
      [&](const unsigned char* text, std::size_t available) { return characters_.read(text, available); });
}

// Whether a character is one byte or two is no branch here, which text of both would make hard to guess: two bytes are
// stored, and the second of a single one is the next character's, which is known to be written too.
DoubleBytePage::Run DoubleBytePage::write_run(WideText source, ByteRoom room) const {
  const std::size_t ascii = narrow_ascii_blocks(ascii_, source, room);
  Run run{ascii, ascii};
  if (run.characters == source.count) return run;
  std::uint16_t code = code_of_[source[run.characters]];
  while (code != ReverseTable::no_code && run.characters + 1 < source.count && run.bytes + 3 <= room.size()) {
    const std::uint16_t next = code_of_[source[run.characters + 1]];
    if (next == ReverseTable::no_code) break;
    std::memcpy(room.data() + run.bytes, &code, sizeof code);
    run.bytes += ReverseTable::length_of(code);
    ++run.characters;
    code = next;
  }
  return run;
}

Outcome DoubleBytePage::encode(WideText source, ByteRoom room) {
  const Run run = write_run(source, room);
  return encode_each(source, room, run.characters, run.bytes, [&](char32_t character) -> Encoded {
    const std::uint16_t code = code_of_[character];
    return {code, code != ReverseTable::no_code ? ReverseTable::length_of(code) : 0};
  });
}

}  // namespace zvrt
