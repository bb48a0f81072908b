#include "single_byte_page.h"

namespace zvrt {

namespace {

constexpr std::uint32_t undefined = 0x80000000;  // a bit that no character has, so that many can be tested at once
constexpr std::size_t block = 8;

}  // namespace

std::unique_ptr<Converter> SingleBytePage::build(const IcuConverter& icu) {
  std::unique_ptr<SingleBytePage> page(new (std::nothrow) SingleBytePage);
  if (page == nullptr || !page->learn(icu)) return nullptr;
  return page;
}

bool SingleBytePage::learn(const IcuConverter& icu) {
  if (!code_of_.prepare()) return false;
  for (std::uint32_t value = 0; value < 256; ++value) {
    const auto byte = static_cast<unsigned char>(value);
    const auto [answer, character] = icu.meaning({byte});
    const bool defined = answer == IcuConverter::Answer::character;
    if (!defined && answer != IcuConverter::Answer::undefined) return false;
    character_of_[value] = defined ? character : undefined;
    if (value < 0x80 && character_of_[value] != value) is_ascii_ = false;
    if (defined && icu.writes(character, {byte}) && !code_of_.add(character, byte)) return false;
  }
  return true;
}

// Reads up to the first undefined byte, as far as both sides reach.
std::size_t SingleBytePage::read_run(Bytes source, WideRoom room) const {
  const std::size_t end = std::min(source.size(), room.count);
  std::size_t done = is_ascii_ ? widen_ascii_blocks(source, room) : 0;
  for (; done + block <= end; done += block) {
    std::array<std::uint32_t, block> characters;
    std::uint32_t any = 0;
    for (std::size_t i = 0; i < block; ++i) any |= characters[i] = character_of_[source[done + i]];
    if ((any & undefined) != 0) break;
    std::memcpy(room.data + done * wide_size, characters.data(), sizeof characters);
  }
  for (; done < end && character_of_[source[done]] != undefined; ++done) room.put(done, character_of_[source[done]]);
  return done;
}

Outcome SingleBytePage::decode(Bytes source, WideRoom room) {
  const std::size_t written = read_run(source, room);
  const Bytes rest = source.subspan(written);
  const bool all_defined = std::ranges::all_of(rest, [&](auto byte) { return character_of_[byte] != undefined; });
  return all_defined ? converted(source.size(), room.count) : rejected(written);
}

// Writes up to the first character that the page does not have, as far as both sides reach.
std::size_t SingleBytePage::write_run(WideText source, ByteRoom room) const {
  const std::size_t end = std::min(source.count, room.size());
  std::size_t done = is_ascii_ ? narrow_ascii_blocks(source, room) : 0;
  for (; done + block <= end; done += block) {
    std::array<unsigned char, block> bytes;
    std::uint32_t any = 0;
    for (std::size_t i = 0; i < block; ++i) {
      const std::uint16_t code = code_of_[source[done + i]];
      any |= code;
      bytes[i] = static_cast<unsigned char>(code);
    }
    if (any > 0xFF) break;
    std::memcpy(room.data() + done, bytes.data(), sizeof bytes);
  }
  for (; done < end && code_of_[source[done]] <= 0xFF; ++done)
    room[done] = static_cast<unsigned char>(code_of_[source[done]]);
  return done;
}

Outcome SingleBytePage::encode(WideText source, ByteRoom room) {
  const std::size_t written = write_run(source, room);
  for (std::size_t i = written; i < source.count; ++i)
    if (code_of_[source[i]] > 0xFF) return rejected(written);
  return converted(source.count, room.size());
}

}  // namespace zvrt
