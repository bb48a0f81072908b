// What stands in a destination of every size, for pages of every kind.
#include <gtest/gtest.h>

#include <string>

#include "converter_service.h"
#include "icu_reference.h"

namespace {

using zvrt_test::decode;
using zvrt_test::encode;
using zvrt_test::find_converter;
using zvrt_test::GuardedBuffer;
using zvrt_test::IcuReference;

struct Row {
  std::uint32_t number;
  const char* icu;
  std::u32string text;
  char32_t missing;  // a character that the page does not have
};

std::u32string repeated(std::u32string_view part, int times) {
  std::u32string text;
  while (times-- > 0) text += part;
  return text;
}

const Row rows[] = {
    {37, "ibm-37", U"Abc \u00E9\u00FC and some more", U'\u20AC'},
    {1252, "windows-1252", U"ASCII that fills a block, then \u20AC and \u00E9", U'\u0416'},
    {932, "windows-932", U"a\u65E5\u672C\uFF71b and sixteen more\u8A9E", U'\u00E9'},
    {930, "ibm-930", U"\u65E5\u672CA\u8A9EBC\u65E5", U'\u20AC'},
    {939, "ibm-939", U"AB\u65E5\u672C", U'\u00AD'},
    {1399, "ibm-1399", U"x\u304B\u309A\u65E5y\u304B", U'\u0E01'},
    {51932, "euc-jp-2007", U"a\u65E5\u4E02\u672Cb\u8A9E", U'\u200B'},
    {9400, "CESU-8", U"a\u00E9\U0001F600\u65E5", 0xD800},
    {1204, "UTF-16", U"a\U0001F600\u20AC", 0xDC00},
    {1236, "UTF-32", U"a\U0001F600\u20AC", 0x110000},
    {1375, "ibm-1375", U"a\U00022C51\u6587b", U'\u200B'},
    {54936, "gb18030", U"a\u4E2D\U0001F600\u00E9z", 0xDC00},
    {54936, "gb18030", repeated(U"\u4E2D\U0001F600\u00E9z", 40), 0xD800},
    {1208, "UTF-8", U"a\u00E9\u20AC\U0001F600z", 0xDFFF},
    {1200, "UTF-16LE", U"a\U0001F600\u20AC\U0001F600", 0x110000},
};

class ConverterTruncation : public zvrt_test::ConverterService {};

// The longest run of complete characters of the first `limit` whose text fits.
std::string longest_fitting(const IcuReference& icu, const std::u32string& text, std::size_t limit,
                            std::size_t capacity) {
  for (std::size_t characters = limit; characters > 0; --characters) {
    const auto bytes = icu.encode(text.substr(0, characters));
    if (bytes && bytes->size() <= capacity) return *bytes;
  }
  return "";
}

// Writes into `capacity` bytes and compares status, count, bytes and what follows them. The source is unaligned.
void expect_written(void* converter, const std::u32string& text, std::size_t capacity, std::uint32_t status,
                    std::size_t count, const std::string& bytes) {
  GuardedBuffer source(text.data(), text.size() * 4);
  std::string shifted(1, ' ');
  shifted += source.bytes();
  GuardedBuffer target(capacity);
  std::uint32_t reported = 12345;
  EXPECT_EQ(ZVRT_IcuWideToMultibyte(converter, source.as(), static_cast<std::int32_t>(text.size()), target.as(),
                                    static_cast<std::int32_t>(capacity), &reported),
            status);
  EXPECT_EQ(reported, count);
  EXPECT_EQ(target.bytes().substr(0, bytes.size()), bytes);
  EXPECT_TRUE(target.untouched_from(bytes.size()));
  GuardedBuffer again(capacity);
  ZVRT_IcuWideToMultibyte(converter, shifted.data() + 1, static_cast<std::int32_t>(text.size()), again.as(),
                          static_cast<std::int32_t>(capacity), &reported);
  EXPECT_EQ(again.bytes(), target.bytes()) << "unaligned";
}

void expect_read(void* converter, const std::string& bytes, std::size_t capacity, std::uint32_t status,
                 std::size_t count, const std::u32string& text) {
  GuardedBuffer source(bytes.data(), bytes.size());
  GuardedBuffer target(capacity * 4 + capacity % 4);  // begins at every alignment
  std::uint32_t reported = 12345;
  EXPECT_EQ(ZVRT_IcuMultibyteToWide(converter, source.as(), static_cast<std::int32_t>(bytes.size()), target.as(),
                                    static_cast<std::int32_t>(capacity), &reported),
            status);
  EXPECT_EQ(reported, count);
  const std::string expected = zvrt_test::wide_bytes(text, false);
  EXPECT_EQ(target.bytes().substr(0, expected.size()), expected);
  EXPECT_TRUE(target.untouched_from(expected.size()));
}

TEST_F(ConverterTruncation, WritesTheLongestRunOfWholeCharactersThatFits) {
  for (const Row& row : rows) {
    SCOPED_TRACE(row.icu);
    const IcuReference icu(row.icu);
    void* const converter = find_converter(row.number);
    ASSERT_NE(converter, nullptr);
    const std::size_t needed = icu.encode(row.text).value().size();
    const std::size_t broken_at = row.text.size() / 2;
    std::u32string broken = row.text;
    broken.insert(broken_at, 1, row.missing);
    for (std::size_t capacity = 0; capacity <= needed + 8; ++capacity) {
      SCOPED_TRACE(capacity);
      expect_written(converter, row.text, capacity, needed > capacity ? ZVRT_ICU_RC_TRUNCATED : 0, needed,
                     longest_fitting(icu, row.text, row.text.size(), capacity));
      const std::string lead = longest_fitting(icu, row.text, broken_at, capacity);
      expect_written(converter, broken, capacity, ZVRT_ICU_RC_INVALID_CHAR, lead.size(), lead);
      if (HasFailure()) return;
    }
  }
}

TEST_F(ConverterTruncation, ReadsAsManyCharactersAsFit) {
  for (const Row& row : rows) {
    SCOPED_TRACE(row.icu);
    const IcuReference icu(row.icu);
    void* const converter = find_converter(row.number);
    ASSERT_NE(converter, nullptr);
    const std::string bytes = icu.encode(row.text).value();
    for (std::size_t capacity = 0; capacity <= row.text.size() + 8; ++capacity) {
      SCOPED_TRACE(capacity);
      expect_read(converter, bytes, capacity, row.text.size() > capacity ? ZVRT_ICU_RC_TRUNCATED : 0, row.text.size(),
                  row.text.substr(0, capacity));
      if (HasFailure()) return;
    }
  }
}

struct Offence {
  std::uint32_t number;
  const char* what;
  std::string bytes;
  std::u32string before;
};

const Offence offences[] = {
    {28596, "undefined byte", "ab\xA1z", U"ab"},
    {28596, "undefined byte in the first of several blocks", "abc\xA1 0123456789abcdef", U"abc"},
    {28596, "undefined byte after several blocks", "0123456789abcdefghijklmn\xA1", U"0123456789abcdefghijklmn"},
    {932, "cut pair", "a\x93\xFA\x96", U"a\u65E5"},
    {932, "bad second byte", "a\x93 b", U"a"},
    {932, "undefined pair", std::string("a\x85\x9F", 3), U"a"},
    {930, "cut pair", "\x0E\x45\x62\x45", U"\u65E5"},
    {930, "pair cut by the shift", "\x0E\x45\x62\x45\x0F", U"\u65E5"},
    {51932, "cut triple", "a\x8F\xB0", U"a"},
    {54936, "cut quadruple", "a\x94\x39\xFC", U"a"},
    {54936, "beyond the last character", "a\xE3\x32\x9A\x36", U"a"},
    {1208, "overlong", "a\xC0\x80", U"a"},
    {1208, "surrogate", "a\xED\xA0\x80", U"a"},
    {1208, "above the last character", "a\xF4\x90\x80\x80", U"a"},
    {1208, "cut", "a\xF0\x9F\x98", U"a"},
    {1208, "stray continuation", "0123456789abcdef\x80", U"0123456789abcdef"},
    {1200, "odd byte", std::string("a\0b", 3), U"a"},
    {1200, "lone surrogate", std::string("a\0\0\xD8z\0", 6), U"a"},
    {1200, "surrogate at the end", std::string("a\0\x3D\xD8", 4), U"a"},
};

TEST_F(ConverterTruncation, AnOffendingPlaceLeavesWhatStandsBeforeIt) {
  for (const Offence& row : offences) {
    SCOPED_TRACE(std::to_string(row.number) + ": " + row.what);
    void* const converter = find_converter(row.number);
    ASSERT_NE(converter, nullptr);
    for (std::size_t capacity = 0; capacity <= row.before.size() + 20; ++capacity) {
      const std::u32string before = row.before.substr(0, capacity);
      expect_read(converter, row.bytes, capacity, ZVRT_ICU_RC_INVALID_CHAR, before.size(), before);
    }
  }
}

// No state passes from text to text, and a text that ends shifted is complete.
TEST_F(ConverterTruncation, EachTextStartsUnshifted) {
  void* const converter = find_converter(930);
  for (int again = 0; again < 2; ++again) {
    expect_read(converter, "\x0E\x45\x62", 2, 0, 1, U"\u65E5");
    expect_read(converter, "\x0E\x0E\x45\x62\x0F\x0F\xC1\x0E", 3, 0, 2, U"\u65E5A");
    expect_written(converter, U"\u65E5", 4, 0, 4, "\x0E\x45\x62\x0F");
  }
}

TEST_F(ConverterTruncation, EmptyTextsAndNegativeLengths) {
  for (const Row& row : rows) {
    void* const converter = find_converter(row.number);
    std::uint32_t count = 1;
    EXPECT_EQ(ZVRT_IcuMultibyteToWide(converter, nullptr, 0, nullptr, 0, &count), 0U) << row.icu;
    EXPECT_EQ(count, 0U);
    count = 1;
    EXPECT_EQ(ZVRT_IcuWideToMultibyte(converter, nullptr, -1, nullptr, -1, &count), 0U) << row.icu;
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(ZVRT_IcuWideToMultibyte(converter, row.text.data(), 1, nullptr, -1, &count), ZVRT_ICU_RC_TRUNCATED);
  }
}

TEST_F(ConverterTruncation, AZeroIsAnOrdinaryCharacter) {
  for (const Row& row : rows) {
    void* const converter = find_converter(row.number);
    const std::u32string text{U'a', U'\0', U'b'};
    EXPECT_EQ(decode(converter, encode(converter, text).written).written, text) << row.icu;
  }
}

}  // namespace
