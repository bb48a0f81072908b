#include "double_byte_page.h"

namespace zvrt {

std::unique_ptr<Converter> DoubleBytePage::build(const IcuConverter& icu) {
  std::unique_ptr<DoubleBytePage> page(new (std::nothrow) DoubleBytePage);
  if (page == nullptr || !page->tables_.build(icu)) return nullptr;
  return page;
}

Outcome DoubleBytePage::decode(Bytes source, WideDestination destination) {
  return decode_each(
      source, destination, widen_ascii_blocks(tables_.ascii, source, destination),
      [&](const unsigned char* text, std::size_t available) { return tables_.characters.read(text, available); });
}

Outcome DoubleBytePage::encode(WideText source, ByteDestination destination) {
  const EncodedPrefix prefix = tables_.encode_prefix(source, destination);
  if (prefix.characters == source.count) return converted(prefix.bytes, destination.size());
  return encode_each(source, destination, prefix.characters, prefix.bytes, [&](char32_t character) -> Encoded {
    const Code code = tables_.code_of[character];
    return {code, code != no_code ? length_of(code) : 0};
  });
}

}  // namespace zvrt
