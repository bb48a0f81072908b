#include <gtest/gtest.h>

#include <string>

#include "ZVRTDataCnvLib.h"
#include "strings/trimming_model.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {
namespace {

// Every text of up to five units over a small alphabet, every length given, every pair of flags.
TEST(Trimming, EverySmallText) {
  const char32_t alphabet[] = {U' ', U'a', U'\t', 0};
  GuardedBuffer narrow(6), wide(24);
  for (unsigned code = 0; code < 1024; ++code) {
    std::u32string text;
    for (unsigned i = 0, rest = code; i < 5; ++i, rest /= 4) text += alphabet[rest % 4];
    text += U'#';  // the place of a terminator
    for (std::int32_t length = -1; length <= 5; ++length) {
      for (const int flags : {0, 1, 2, 3, 4, 8}) {
        const auto leading = static_cast<std::uint8_t>(flags == 4 ? 2 : flags & 1);
        const auto trailing = static_cast<std::uint8_t>(flags == 8 ? 255 : flags >> 1 & 1);
        SCOPED_TRACE(testing::Message() << code << " length " << length << " flags " << flags);
        for (std::size_t i = 0; i < 6; ++i) narrow.as<char>()[i] = static_cast<char>(text[i]);
        std::memcpy(wide.as<char>(), text.data(), 24);
        std::int32_t len = length;
        Trimmed expected = trimmed(text, length, leading, trailing, false);
        ASSERT_EQ(TrimSpacesA(narrow.as<char>(), &len, leading, trailing), 0U);
        ASSERT_EQ(len, expected.length);
        ASSERT_EQ(narrow.bytes(), std::string(expected.buffer.begin(), expected.buffer.end()));
        len = length;
        expected = trimmed(text, length, leading, trailing, true);
        ASSERT_EQ(TrimSpacesW(wide.as<wchar_t>(), &len, leading, trailing), 0U);
        ASSERT_EQ(len, expected.length);
        ASSERT_EQ(wide.bytes(), wide_bytes(expected.buffer, false));
      }
      std::memcpy(wide.as<char>(), text.data(), 24);
      const Trimmed expected = without_blanks_and_tabs(text, length);
      std::int32_t len = length;
      ASSERT_EQ(TrimAllSpacesTabsW(wide.as<wchar_t>(), &len), 0U);
      ASSERT_EQ(len, expected.length);
      ASSERT_EQ(wide.bytes(), wide_bytes(expected.buffer, false));
    }
  }
}

// From no blank at an end to more than a vector of them, around texts of one unit to more than a vector.
TEST(Trimming, ManyBlanksAtBothEnds) {
  constexpr std::size_t blanks[] = {0, 1, 3, 4, 5, 15, 16, 17, 70};
  for (const std::size_t before : blanks) {
    for (const std::size_t after : blanks) {
      for (const std::size_t kept : {0U, 1U, 2U, 15U, 16U, 40U}) {
        std::u32string text = std::u32string(before, U' ') + std::u32string(kept, U'x') + std::u32string(after, U' ');
        const auto length = static_cast<std::int32_t>(text.size());
        text += U'#';  // the place of a terminator
        for (const unsigned flags : {1U, 2U, 3U}) {
          const auto leading = static_cast<std::uint8_t>(flags & 1);
          const auto trailing = static_cast<std::uint8_t>(flags >> 1);
          SCOPED_TRACE(testing::Message() << before << ", " << kept << ", " << after << " units, flags " << flags);
          GuardedBuffer wide(text.size() * 4);
          std::memcpy(wide.as<char>(), text.data(), text.size() * 4);
          std::int32_t len = length;
          const Trimmed expected = trimmed(text, length, leading, trailing, true);
          ASSERT_EQ(TrimSpacesW(wide.as<wchar_t>(), &len, leading, trailing), 0U);
          ASSERT_EQ(len, expected.length);
          ASSERT_EQ(wide.bytes(), wide_bytes(expected.buffer, false));
        }
      }
    }
  }
}

struct Row {
  const char* name;
  std::string text;
  std::int32_t length;
  std::uint32_t code_page;
  char kind;
  std::uint32_t status;
  std::string result;
  std::int32_t result_length;
};

TEST(Trimming, ThroughACodePage) {
  ASSERT_EQ(ZVRTInitDataConversion(), 0U);
  const Row rows[] = {
      {"bytes, length 0 taken as it is", " ab ", 0, 0, 0, 0, " ab ", 0},
      {"UTF-8 by its pair, measured", " ab ", 0, 1208, '2', 0, "ab", 2},
      {"UTF-8, two bytes a character", " \xC3\xA9 ", 4, 1208, 'C', 0, "\xC3\xA9", 2},
      {"EBCDIC", "\x40\x40\xC1\xC2\x40", 5, 37, 0, 0, "\xC1\xC2", 2},
      {"EBCDIC, byte 20 is no blank", "\x20\xC1\x20", 3, 37, 0, 0, "\x20\xC1\x20", 3},
      {"only blanks", "\x40\x40", 2, 37, 0, 0, "\x40\x40", 0},
      {"empty", "", 0, 37, 0, ZVRT_RC_INVALID_PARAM, "", 0},
      {"a length shorter than the text", "\x40\xC1\xC2\xC3\x40", 2, 37, 0, ZVRT_RC_TRUNCATED, "\x40\xC1\xC2\xC3\x40",
       2},
      {"an unknown code page", " ab ", 0, 60001, 0, ZVRT_RC_NO_CONVERTER, " ab ", 4},
      {"invalid bytes, longer as characters", "\x80\x81", 2, 1208, '2', ZVRT_RC_TRUNCATED, "\xC2\x80", 2},
      {"the same, into the terminator's place as well", "\x80x", 2, 1208, '2', 0, "\xC2\x80x", 3},
      {"a character cut off", " ab\xC3", 0, 1208, '2', ZVRT_RC_TRUNCATED, " ab\xC3", 4},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    GuardedBuffer buffer(row.text.c_str(), row.text.size() + 1);
    std::int32_t length = row.length;
    const bool bytes_only = row.code_page == 0;
    EXPECT_EQ(TrimSpaces(buffer.as<char>(), &length, 1, bytes_only ? 0 : 1, row.code_page, row.kind), row.status);
    EXPECT_EQ(length, row.result_length);
    const std::string left = buffer.bytes();  // where it is full there is no terminator
    EXPECT_EQ(left.substr(0, left.find('\0')), row.result);
  }
  EXPECT_EQ(ZVRTTermDataConversion(), 0U);
}

TEST(BlankFill, TheBlankOfTheCodePage) {
  ASSERT_EQ(ZVRTInitDataConversion(), 0U);
  struct {
    std::uint32_t code_page;
    int size;
    std::uint32_t status;
    std::string content;
  } const rows[] = {
      {0, 5, 0, "\x20\x20\x20\x20\x20"},    {37, 3, 0, "\x40\x40\x40"},      {37, 0, 0, ""}, {37, -7, 0, ""},
      {60001, 2, ZVRT_RC_NO_CONVERTER, ""}, {1200, 2, ZVRT_RC_TRUNCATED, ""}};
  for (const auto& row : rows) {
    FldDef field{};
    field.codePage = row.code_page;
    GuardedBuffer buffer(static_cast<std::size_t>(std::max(row.size, 0)));
    EXPECT_EQ(InitializeCharBufferWithSpaces(buffer.as(), row.size, row.code_page == 0 ? nullptr : &field), row.status);
    EXPECT_EQ(buffer.bytes().substr(0, row.content.size()), row.content) << row.code_page;
    EXPECT_TRUE(buffer.untouched_from(row.content.size())) << row.code_page;
  }
  EXPECT_EQ(ZVRTTermDataConversion(), 0U);
}

}  // namespace
}  // namespace zvrt_test
