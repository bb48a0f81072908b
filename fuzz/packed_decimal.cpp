// Packed decimal against its hexadecimal digits, both ways.
#include "input.h"
#include "numeric/decimal/packed_decimal_model.h"

namespace {

using namespace zvrt_test;

void check_field(const std::string& bytes, bool given, std::int32_t size) {
  static zvrt_fuzz::Source source;
  if (given && !bytes.empty()) {
    const auto length = static_cast<std::int32_t>(bytes.size());
    ASSERT_EQ(run(ZVRTCnvDecPackedToWVarcharSz, source.put(bytes), length, size), expected(bytes, length, size));
    return;
  }
  // The value ends within the source, so that nothing after it may be read.
  const std::optional<std::string> value = found(bytes + std::string(100, '\x1C'));
  const std::size_t zeros = std::min(bytes.find_first_not_of('\0'), bytes.size());
  std::string kept = (bytes + std::string(100, '\x1C')).substr(0, value ? zeros + value->size() : 44);
  ASSERT_EQ(run(ZVRTCnvDecPackedToWVarcharSz, source.put(kept), 0, size),
            expected(value.value_or(std::string(1, '\x0C')), 0, size));
}

void check_text(const std::u32string& text, std::int32_t size) {
  static zvrt_fuzz::Source source;
  std::int32_t needed = 1;
  while (!packed(text, static_cast<std::size_t>(needed))) ++needed;
  const bool fits = size >= needed;
  const std::size_t digits = text.size() - (text.starts_with(U'-') ? 1 : 0);
  const Outcome outcome{fits ? ZVRT_RC_OK : ZVRT_RC_TRUNCATED, static_cast<std::uint32_t>(fits ? size : needed),
                        fits ? static_cast<std::int32_t>(digits) * 4 : 0,
                        fits ? *packed(text, static_cast<std::size_t>(size)) : ""};
  ASSERT_EQ(run(ZVRTCnvWVarcharSzToDecPacked, source.put(wide_bytes(text)), 0, size), outcome);
}

}  // namespace

void zvrt_fuzz::check(Input input) {
  const std::uint32_t way = input.below(4);
  const std::int32_t size = input.between(-1, 250);
  if (way < 2) return check_field(input.bytes().substr(0, 120), way == 0, size);
  if (way == 2) return check_text(widened(input.text_over("0123456789-").substr(0, 200)), size);
  const auto characters = input.characters();
  const std::u32string text(characters.begin(), std::find(characters.begin(), characters.end(), 0U));
  check_text(text.substr(0, 200), size);
}
