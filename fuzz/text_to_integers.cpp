// Text to integers by every version and reader against a reading digit by digit, modulo 2^64.
#include "input.h"
#include "numeric/integer/integer_versions.h"

namespace {

using namespace zvrt_test;

void check_run(const void* src, const std::u32string& text, std::int32_t start, std::int32_t most) {
  const RunReading expected = read_run(text, start, most);
  std::int32_t value = 99;
  std::int32_t end = 99;
  const auto* wide = static_cast<const wchar_t*>(src);
  ASSERT_EQ(ZVRTCnvWVarcharSzToInt2(wide, &end, &value, start, most), expected.valid ? ZVRT_RC_OK : ZVRT_RC_ERROR);
  ASSERT_EQ(value, expected.value);
  ASSERT_EQ(end, expected.valid ? expected.end : 99);
}

// A field of a record, which may hold no more than eleven bytes.
void check_record_field(const std::string& bytes) {
  static zvrt_fuzz::Source source;
  const std::u32string text = widened(bytes.substr(0, 11));
  std::int32_t value = 4711;
  const std::uint32_t status = ZVRTCnvVarcharSzToInt(source.put_as<char>(bytes.substr(0, 11)), &value, 0,
                                                     static_cast<std::int32_t>(text.size()), 0, '\0');
  const bool valid = is_number(text, true);
  ASSERT_EQ(status, text.empty() ? ZVRT_RC_INVALID_PARAM : valid ? ZVRT_RC_OK : ZVRT_RC_INVALID_INTEGER);
  ASSERT_EQ(value, text.empty() || !valid ? 4711 : read_run(text, 0, INT32_MAX).value);
}

void check_field(const std::string& bytes) {
  static zvrt_fuzz::Source source;
  const FieldReading expected = read_field(bytes);
  std::uint32_t value = 4711;
  ASSERT_EQ(ZVRTCnvCharToInt(source.put_as<char>(bytes), static_cast<std::int32_t>(bytes.size()), &value),
            expected.valid ? ZVRT_RC_OK : ZVRT_RC_ERROR);
  ASSERT_EQ(value, expected.valid ? expected.value : 4711);
}

}  // namespace

void zvrt_fuzz::check(Input input) {
  static Source source;
  const bool strays = input.flag();
  const std::size_t after = input.below(100);
  const std::int32_t most = input.between(-1, 40);
  std::u32string text;
  if (strays) {
    const auto characters = input.characters();
    text.assign(characters.begin(), std::find(characters.begin(), characters.end(), 0U));
  } else {
    text = widened(input.text_over("0123456789019-"));
  }
  // Digits follow the terminator, and the memory ends where they end.
  const void* const src = source.put(wide_bytes(text) + std::string(after, '1'));
  check_text<std::uint8_t>(src, text);
  check_text<std::int16_t>(src, text);
  check_text<std::uint32_t>(src, text);
  check_text<std::int32_t>(src, text);
  check_text<std::uint64_t>(src, text);
  check_text<std::int64_t>(src, text);
  check_run(src, text, std::min(1, static_cast<std::int32_t>(text.size())), most);
  check_field(std::string(text.begin(), text.end()));
  if (!strays) check_record_field(std::string(text.begin(), text.end()));
}
