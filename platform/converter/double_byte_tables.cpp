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

namespace {

// Writes the code and steps behind it. Whether it is one byte or two is no branch, which text of both would make hard to
// guess: two are stored, and the second behind a single one is overwritten by the next character.
unsigned char* put(unsigned char* to, Code code) {
  std::memcpy(to, &code, 2);
  if (code > 0xFFFF) [[unlikely]] {
    std::memcpy(to, &code, 4);
    return to + 4;
  }
  return to + 1 + (code > 0xFF ? 1 : 0);
}

}  // namespace

// A character is written once the next one is known to be written too. So many go at once as fit if all of them are
// long, which leaves nothing but the page to stop at; then again with the room that is left.
Run DoubleByteTables::write_run(WideText source, ByteRoom room) const {
  constexpr std::size_t longest = 4;
  const ReverseTable::View table = code_of.view();  // by value: what is stored through a byte pointer may not change it
  std::size_t done = narrow_ascii_blocks(ascii, source, room);
  unsigned char* to = room.data() + done;
  const unsigned char* const end = room.data() + room.size();
  if (done == source.count) return {done, done};
  Code code = table[source[done]];
  while (code != no_code) {
    const std::size_t fitting = static_cast<std::size_t>(end - to) / longest;
    const std::size_t stop = done + std::min(source.count - done, fitting);
    if (done + 1 >= stop) break;
    for (; done + 1 < stop; ++done) {
      const Code next = table[source[done + 1]];
      if (next == no_code) return {done, static_cast<std::size_t>(to - room.data())};
      to = put(to, code);
      code = next;
    }
  }
  return {done, static_cast<std::size_t>(to - room.data())};
}

}  // namespace zvrt
