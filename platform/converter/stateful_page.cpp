#include "stateful_page.h"

namespace zvrt {

namespace {

constexpr unsigned char shift_out = 0x0E;  // two bytes per character from here
constexpr unsigned char shift_in = 0x0F;   // one byte per character from here

}  // namespace

std::unique_ptr<Converter> StatefulPage::build(const IcuConverter& icu) {
  std::unique_ptr<StatefulPage> page(new (std::nothrow) StatefulPage);
  if (page == nullptr || !page->code_of_.prepare() || !page->build_singles(icu)) return nullptr;
  for (unsigned char lead = 0x40; lead < 0xFF; ++lead)
    if (!page->build_pairs(icu, lead)) return nullptr;
  return page;
}

// The shift bytes decode to no character, so that none is encoded as one either.
bool StatefulPage::build_singles(const IcuConverter& icu) {
  for (std::uint32_t value = 0; value < 256; ++value) {
    const auto byte = static_cast<unsigned char>(value);
    if (byte == shift_out || byte == shift_in) continue;
    const auto [answer, character] = icu.decode({byte});
    if (answer == IcuConverter::Answer::undefined) continue;
    if (answer != IcuConverter::Answer::character) return false;
    characters_.set(byte, character);
    if (icu.encodes_to(character, {byte}) && !code_of_.add(character, {byte})) return false;
  }
  return true;
}

bool StatefulPage::build_pairs(const IcuConverter& icu, unsigned char lead) {
  for (std::uint32_t value = 0; value < 256; ++value) {
    const auto trail = static_cast<unsigned char>(value);
    const auto [answer, character] = icu.decode({shift_out, lead, trail, shift_in});
    if (answer == IcuConverter::Answer::undefined) continue;
    if (answer != IcuConverter::Answer::character || !characters_.set(lead, trail, character)) return false;
    if (icu.encodes_to(character, {shift_out, lead, trail, shift_in}) && !code_of_.add(character, {lead, trail}))
      return false;
  }
  return true;
}

Outcome StatefulPage::decode(Bytes source, WideDestination destination) {
  bool shifted = false;
  std::size_t made = 0;
  for (std::size_t at = 0; at < source.size();) {
    if (source[at] == shift_out || source[at] == shift_in) {
      shifted = source[at++] == shift_out;
      continue;
    }
    const unsigned char* const text = source.data() + at;
    const std::size_t available = source.size() - at;
    const Decoded next = shifted ? characters_.read_pair(text, available) : characters_.read_single(text);
    if (next.length == 0) return rejected(std::min(made, destination.count));
    if (made < destination.count) destination.put(made, next.character);
    ++made;
    at += next.length;
  }
  return converted(made, destination.count);
}

Outcome StatefulPage::encode(WideText source, ByteDestination destination) {
  std::size_t needed = 0;  // without the closing shift
  bool shifted = false;
  std::size_t written = 0;  // likewise, of what stands in the destination
  bool left_shifted = false;
  const auto close = [&] {
    if (left_shifted) destination[written++] = shift_in;
    left_shifted = false;
    return written;
  };
  for (std::size_t i = 0; i < source.count; ++i) {
    const Code code = code_of_[source[i]];
    if (code == no_code) return rejected(close());
    Encoded next{code, length_of(code)};
    const bool pair = next.length == 2;
    if (pair != shifted) next = {next.bytes << 8 | (pair ? shift_out : shift_in), next.length + 1};
    shifted = pair;
    // After a character that did not fit nothing fits: what is needed, the closing shift included, only grows.
    if (needed + next.length + (shifted ? 1 : 0) <= destination.size()) {
      put_bytes(destination.data() + needed, next);
      written = needed + next.length;
      left_shifted = shifted;
    }
    needed += next.length;
  }
  close();
  return converted(needed + (shifted ? 1 : 0), destination.size());
}

}  // namespace zvrt
