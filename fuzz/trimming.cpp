// Trimming against its rules, on narrow and on wide text.
#include "strings/trimming_model.h"

#include <gtest/gtest.h>

#include "ZVRTDataCnvLib.h"
#include "input.h"

namespace {

using namespace zvrt_test;

template <class Unit>
std::string units(const std::u32string& text) {
  std::string bytes;
  for (const char32_t character : text) {
    const auto unit = static_cast<Unit>(character);
    bytes.append(reinterpret_cast<const char*>(&unit), sizeof unit);
  }
  return bytes;
}

// A buffer that a function changes, and what it made of it.
template <class Unit, class Trim>
void expect_result(const std::u32string& buffer, std::int32_t length, const Trimmed& expected, Trim trim) {
  const std::string before = units<Unit>(buffer);
  GuardedBuffer text(before.data(), before.size());
  ASSERT_EQ(trim(text.as<Unit>(), &length), ZVRT_RC_OK);
  ASSERT_EQ(length, expected.length);
  ASSERT_EQ(text.bytes(), units<Unit>(expected.buffer));
}

}  // namespace

void zvrt_fuzz::check(Input input) {
  const auto leading = static_cast<std::uint8_t>(input.below(3));
  const auto trailing = static_cast<std::uint8_t>(input.below(3));
  const std::int32_t skew = input.between(0, 4);
  std::u32string text;
  for (const char character : input.text_over(std::string_view("    ab\t\0\xA0", 9)))
    text += static_cast<unsigned char>(character);
  const std::int32_t length = static_cast<std::int32_t>(text.size()) - skew;
  const std::u32string buffer = text + U'#';  // the place of a terminator
  const auto with_flags = [=](auto trim) {
    return [=](auto* at, std::int32_t* len) { return trim(at, len, leading, trailing); };
  };
  expect_result<char>(buffer, length, trimmed(buffer, length, leading, trailing, false), with_flags(TrimSpacesA));
  expect_result<wchar_t>(buffer, length, trimmed(buffer, length, leading, trailing, true), with_flags(TrimSpacesW));
  expect_result<wchar_t>(buffer, length, without_blanks_and_tabs(buffer, length), TrimAllSpacesTabsW);
}
