#include "gb18030_page.h"

#include "support/wraps.h"

namespace zvrt {

namespace {

constexpr std::uint32_t first_supplementary = 189000;  // 90308130 is U+10000

// A mixed-radix number: each of the four bytes is a digit, from 81, 30, 81 and 30 up.
struct FourByteSequence {
  unsigned char bytes[4];

  static FourByteSequence of(std::uint32_t index) {
    const auto byte = [](std::uint32_t value) { return static_cast<unsigned char>(value); };
    return {{byte(0x81 + index / 12600), byte(0x30 + index / 1260 % 10), byte(0x81 + index / 10 % 126),
             byte(0x30 + index % 10)}};
  }

  Code code() const {
    Code code = 0;
    std::memcpy(&code, bytes, sizeof code);
    return code;
  }
};

constexpr std::uint32_t no_index = 0xFFFFFFFF;

ZVRT_WRAPS std::uint32_t index_of(const unsigned char* text, std::size_t available) {
  if (available < 4) return no_index;
  const std::uint32_t a = text[0] - 0x81U;
  const std::uint32_t b = text[1] - 0x30U;
  const std::uint32_t c = text[2] - 0x81U;
  const std::uint32_t d = text[3] - 0x30U;
  return a < 126 && b < 10 && c < 126 && d < 10 ? ((a * 10 + b) * 126 + c) * 10 + d : no_index;
}

// Whether the first and the last character of every supplementary plane have the computed sequence.
bool has_planes_in_order(const IcuConverter& icu) {
  for (std::uint32_t plane = 0x10000; plane < 0x110000; plane += 0x10000) {
    for (const std::uint32_t character : {plane, plane + 0xFFFF}) {
      const auto [a, b, c, d] = FourByteSequence::of(first_supplementary + character - 0x10000).bytes;
      if (icu.decode({a, b, c, d}).character != character || !icu.encodes_to(character, {a, b, c, d})) return false;
    }
  }
  return true;
}

}  // namespace

std::unique_ptr<Converter> Gb18030Page::build(const IcuConverter& icu) {
  std::unique_ptr<Gb18030Page> page(new (std::nothrow) Gb18030Page);
  if (page == nullptr || !page->tables_.build(icu) || !page->build_four_byte_codes(icu)) return nullptr;
  return page;
}

bool Gb18030Page::build_four_byte_codes(const IcuConverter& icu) {
  for (std::uint32_t index = 0; index < tabled; ++index) {
    const auto [a, b, c, d] = FourByteSequence::of(index).bytes;
    const auto [answer, character] = icu.decode({a, b, c, d});
    if (answer == IcuConverter::Answer::undefined) continue;
    if (answer != IcuConverter::Answer::character || character > 0xFFFF) return false;
    four_byte_characters_[index] = static_cast<std::uint16_t>(character);
    if (icu.encodes_to(character, {a, b, c, d}) && !tables_.code_of.add(character, {a, b, c, d})) return false;
  }
  return has_planes_in_order(icu);
}

ZVRT_WRAPS Decoded Gb18030Page::read(const unsigned char* text, std::size_t available) const {
  const Decoded shorter = tables_.characters.read(text, available);
  if (shorter.length != 0) return shorter;
  const std::uint32_t index = index_of(text, available);
  if (index < tabled) return {four_byte_characters_[index], four_byte_characters_[index] != 0 ? 4U : 0U};
  const std::uint32_t supplementary = index - first_supplementary;
  return {0x10000 + supplementary, supplementary < 0x100000 ? 4U : 0U};
}

ZVRT_WRAPS Encoded Gb18030Page::write(char32_t character) const {
  const Code code = tables_.code_of[character];
  if (code != no_code) return {code, length_of(code)};
  const std::uint32_t supplementary = character - 0x10000;
  if (supplementary >= 0x100000) return {0, 0};
  return {FourByteSequence::of(first_supplementary + supplementary).code(), 4};
}

Outcome Gb18030Page::decode(Bytes source, WideDestination destination) {
  return decode_each(source, destination, widen_ascii_blocks(tables_.ascii, source, destination),
                     [&](const unsigned char* text, std::size_t available) { return read(text, available); });
}

Outcome Gb18030Page::encode(WideText source, ByteDestination destination) {
  const EncodedPrefix prefix = tables_.encode_prefix(source, destination);
  if (prefix.characters == source.count) return converted(prefix.bytes, destination.size());
  return encode_each(source, destination, prefix.characters, prefix.bytes,
                     [&](char32_t character) { return write(character); });
}

}  // namespace zvrt
