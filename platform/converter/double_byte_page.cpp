#include "double_byte_page.h"

namespace zvrt {

std::unique_ptr<Converter> DoubleBytePage::build(const IcuConverter& icu) {
  std::unique_ptr<DoubleBytePage> page(new (std::nothrow) DoubleBytePage);
  if (page == nullptr || !page->tables_.learn(icu)) return nullptr;
  return page;
}

Outcome DoubleBytePage::decode(Bytes source, WideRoom room) {
  return decode_each(
      source, room, widen_ascii_blocks(tables_.ascii, source, room),
      [&](const unsigned char* text, std::size_t available) { return tables_.characters.read(text, available); });
}

Outcome DoubleBytePage::encode(WideText source, ByteRoom room) {
  const Run run = tables_.write_run(source, room);
  if (run.characters == source.count) return converted(run.bytes, room.size());
  return encode_each(source, room, run.characters, run.bytes, [&](char32_t character) -> Encoded {
    const Code code = tables_.code_of[character];
    return {code, code != no_code ? length_of(code) : 0};
  });
}

}  // namespace zvrt
