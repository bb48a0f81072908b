#include "double_byte_tables.h"

namespace zvrt {

bool DoubleByteTables::build(const IcuConverter& icu) {
  if (!code_of.prepare()) return false;
  for (std::uint32_t value = 0; value < 256; ++value) {
    const auto byte = static_cast<unsigned char>(value);
    const auto [answer, character] = icu.decode({byte});
    switch (answer) {
      case IcuConverter::Answer::undefined: break;
      case IcuConverter::Answer::multi_character: return false;
      case IcuConverter::Answer::incomplete:
        if (!build_pairs(icu, byte)) return false;
        break;
      case IcuConverter::Answer::character:
        characters.set(byte, character);
        if (icu.encodes_to(character, {byte}) && !code_of.add(character, {byte})) return false;
        break;
    }
  }
  ascii = characters.ascii();
  return true;
}

bool DoubleByteTables::build_pairs(const IcuConverter& icu, unsigned char lead) {
  for (std::uint32_t value = 0; value < 256; ++value) {
    const auto trail = static_cast<unsigned char>(value);
    const auto [answer, character] = icu.decode({lead, trail});
    if (answer == IcuConverter::Answer::undefined || answer == IcuConverter::Answer::incomplete) continue;
    if (answer != IcuConverter::Answer::character || !characters.set(lead, trail, character)) return false;
    if (icu.encodes_to(character, {lead, trail}) && !code_of.add(character, {lead, trail})) return false;
  }
  return true;
}

}  // namespace zvrt
