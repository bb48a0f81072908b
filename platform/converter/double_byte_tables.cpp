#include "double_byte_tables.h"

namespace zvrt {

bool DoubleByteTables::learn(const IcuConverter& icu) {
  if (!code_of.prepare()) return false;
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
        characters.set(byte, character);
        if (icu.writes(character, {byte}) && !code_of.add(character, {byte})) return false;
        break;
    }
  }
  ascii = characters.ascii();
  return true;
}

bool DoubleByteTables::learn_pairs(const IcuConverter& icu, unsigned char lead) {
  for (std::uint32_t value = 0; value < 256; ++value) {
    const auto trail = static_cast<unsigned char>(value);
    const auto [answer, character] = icu.meaning({lead, trail});
    if (answer == IcuConverter::Answer::undefined || answer == IcuConverter::Answer::incomplete) continue;
    if (answer != IcuConverter::Answer::character || !characters.set(lead, trail, character)) return false;
    if (icu.writes(character, {lead, trail}) && !code_of.add(character, {lead, trail})) return false;
  }
  return true;
}

// Whether a character is one byte or two is no branch here, which text of both would make hard to guess: two bytes are
// stored, and the second of a single one is the next character's, which is known to be written too.
Run DoubleByteTables::write_run(WideText source, ByteRoom room) const {
  constexpr std::size_t longest = 4;
  const ReverseTable::View table = code_of.view();  // by value: what is stored through a byte pointer may not change it
  const std::size_t done = narrow_ascii_blocks(ascii, source, room);
  Run run{done, done};
  if (run.characters == source.count) return run;
  Code code = table[source[run.characters]];
  while (code != no_code && run.characters + 1 < source.count && run.bytes + 2 * longest <= room.size()) {
    const Code next = table[source[run.characters + 1]];
    if (next == no_code) break;
    unsigned char* const to = room.data() + run.bytes;
    std::memcpy(to, &code, 2);
    if (code > 0xFFFF) std::memcpy(to, &code, longest);
    run.bytes += length_of(code);
    ++run.characters;
    code = next;
  }
  return run;
}

}  // namespace zvrt
