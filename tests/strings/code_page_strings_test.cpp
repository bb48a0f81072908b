// Strings through the converter service: every rule holds as on the built-in path.
#include <gtest/gtest.h>

#include <string>

#include "ZVRTDataCnvLib.h"
#include "support/byte_order.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {
namespace {

class CodePageStrings : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(ZVRTInitDataConversion(), 0U); }
  void TearDown() override { ASSERT_EQ(ZVRTTermDataConversion(), 0U); }
};

FldDef field(std::uint32_t code_page, char kind = 0) {
  FldDef descriptor{};
  descriptor.codePage = code_page;
  descriptor.codePageKind = kind;
  return descriptor;
}

struct Written {
  std::uint32_t status;
  std::uint32_t out_len;
  std::string bytes;
};

Written write(ZVRTConversion* convert, const FldDef& descriptor, const std::u32string& text, std::size_t size,
              std::size_t header) {
  GuardedBuffer buffer(size);
  std::uint32_t out_len = 999;
  const std::uint32_t status =
      convert(text.c_str(), nullptr, buffer.as(), static_cast<std::int32_t>(size), &out_len, &descriptor);
  std::size_t used = size;
  while (used > header && static_cast<unsigned char>(buffer.bytes()[used - 1]) == GuardedBuffer::mark) --used;
  return {status, out_len, buffer.bytes().substr(0, used)};
}

// A prefix counts the complete characters that fitted, in pages of one byte and of several, shifts included.
TEST_F(CodePageStrings, APrefixTellsTheBytesThatAreThere) {
  const FldDef ebcdic = field(37), shift_jis = field(932), gb = field(54936);
  struct {
    const char* name;
    const FldDef& descriptor;
    std::u32string text;
    std::size_t size;
    std::uint32_t status, out_len;
    std::string bytes;
  } const rows[] = {
      {"fits", ebcdic, U"ABC", 8, 0, 5, std::string("\x03\0\xC1\xC2\xC3", 5)},
      {"single bytes, cut", ebcdic, U"ABC", 4, 1609, 5, std::string("\x02\0\xC1\xC2", 4)},
      {"single bytes, most of them cut", ebcdic, U"ABCDEFGHI", 5, 1609, 11, std::string("\x03\0\xC1\xC2\xC3", 5)},
      {"double bytes, cut between", shift_jis, U"\u65E5\u672C", 5, 1609, 6, std::string("\x02\0\x93\xFA", 4)},
      {"double bytes, no room for one", shift_jis, U"\u65E5", 3, 1609, 4, std::string("\0\0", 2)},
      {"four bytes, cut", gb, U"a\U0001F600", 6, 1609, 7, std::string("\x01\0a", 3)},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const Written written = write(ZVRTCnvWVarcharSzToVarchar, row.descriptor, row.text, row.size, 2);
    EXPECT_EQ(written.status, row.status);
    EXPECT_EQ(written.out_len, row.out_len);
    EXPECT_EQ(written.bytes, prefix_of(static_cast<unsigned char>(row.bytes[0])) + row.bytes.substr(2));
  }
}

TEST_F(CodePageStrings, ErrorsComeBackWithWhatWasConverted) {
  const FldDef ebcdic = field(37), unknown = field(60001);
  const Written unmapped = write(ZVRTCnvWVarcharSzToVarcharSz, ebcdic,
                                 U"AB\u4E2D"
                                 U"C",
                                 16, 0);
  EXPECT_EQ(unmapped.status, ZVRT_RC_INVALID_CHAR);
  EXPECT_EQ(unmapped.out_len, 2U);
  EXPECT_EQ(unmapped.bytes, "\xC1\xC2");
  const Written none = write(ZVRTCnvWVarcharSzToVarchar, unknown, U"AB", 16, 2);
  EXPECT_EQ(none.status, ZVRT_RC_NO_CONVERTER);
  EXPECT_EQ(none.out_len, 2U);
  EXPECT_EQ(none.bytes, std::string("\0\0", 2));
}

// Exactly full, one less and one more, both directions.
TEST_F(CodePageStrings, TheFinishingRulesHold) {
  const FldDef ebcdic = field(1047);
  for (std::size_t size = 0; size <= 6; ++size) {
    const Written written = write(ZVRTCnvWVarcharSzToVarcharSz, ebcdic, U"ABC", size, 0);
    EXPECT_EQ(written.status, size < 3 ? 1609U : 0U) << size;
    EXPECT_EQ(written.out_len, 3U) << size;
    EXPECT_EQ(written.bytes, std::string("\xC1\xC2\xC3\0", 4).substr(0, std::min<std::size_t>(size, 4))) << size;
  }
  for (std::size_t characters = 0; characters <= 6; ++characters) {
    GuardedBuffer wide(characters * 4);
    std::uint32_t out_len = 0;
    const std::uint32_t status = ZVRTCnvVarcharSzToWVarcharSz(
        "\xC1\xC2\xC3", nullptr, wide.as(), static_cast<std::int32_t>(wide.size()), &out_len, &ebcdic);
    EXPECT_EQ(status, characters <= 3 ? 1609U : 0U) << characters;
    EXPECT_EQ(out_len, 3U);
    std::u32string expected = std::u32string(U"ABC").substr(0, characters);
    if (characters == 3) expected[2] = 0;
    EXPECT_EQ(wide.bytes().substr(0, std::min(characters, std::size_t{4}) * 4), wide_bytes(expected, characters > 3));
    EXPECT_TRUE(wide.untouched_from(16));
  }
}

// Counted wide text ends at a zero character here, as it does in UTF-8.
TEST_F(CodePageStrings, CountedWideText) {
  const FldDef ebcdic = field(37);
  const std::u32string text(U"AB\0C", 4);
  struct {
    ZVRTConversion* convert;
    std::string source;
    std::int32_t given, measured;
  } const rows[] = {{ZVRTCnvWCharToVarcharSz, wide_bytes(text, false), 16, 16},
                    {ZVRTCnvWVarcharToVarcharSz, prefix_of(16) + wide_bytes(text, false), 0, 18}};
  for (const auto& row : rows) {
    GuardedBuffer source(row.source.data(), row.source.size()), narrow(6);
    std::int32_t length = row.given;
    std::uint32_t out_len = 0;
    EXPECT_EQ(row.convert(source.as(), &length, narrow.as(), 6, &out_len, &ebcdic), 0U);
    EXPECT_EQ(out_len, 2U);
    EXPECT_EQ(length, row.measured);
    EXPECT_EQ(narrow.bytes().substr(0, 3), std::string("\xC1\xC2\0", 3));
    EXPECT_TRUE(narrow.untouched_from(3));
  }
}

}  // namespace
}  // namespace zvrt_test
