// Reasons: where in a refused value the fault is, what stands there, what it would need.
#include <gtest/gtest.h>

#include "columns/one_value.h"

using namespace columns_test;

namespace {

class Explain : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_EQ(ZVRTInitDataConversion(), ZVRT_RC_OK); }
  static void TearDownTestSuite() { ZVRTTermDataConversion(); }
};

struct Case {
  const char* what;
  ZVRTType from;
  const char* value;
  ZVRTType to;
  std::uint32_t status;
  std::int32_t offset = -1;
  std::uint32_t unit = 0;
  std::uint32_t needed = 0;
};

ZVRTType text(std::int32_t length, std::uint32_t flags = 0) { return type(ZVRT_KIND_CHAR, length, flags); }

TEST_F(Explain, TellsWhereAndWhat) {
  const ZVRTType packed = type(ZVRT_KIND_PACKED, 3);
  const ZVRTType days = type(ZVRT_KIND_DAYS, 4);
  const ZVRTType utf16 = type(ZVRT_KIND_UTF16, 16, ZVRT_TYPE_BIG_ENDIAN);
  const ZVRTType ebcdic = with_page(text(8), 37);
  const Case cases[] = {
      {"good", packed, "12345C", text(8), 0},
      {"digit", packed, "123F5C", text(8), ZVRT_RC_INVALID_DIGIT, 1, 0x3F},
      {"sign", packed, "123451", text(8), ZVRT_RC_INVALID_SIGN, 2, 0x51},
      {"zone", type(ZVRT_KIND_ZONED, 3), "F1C2C3", text(8), ZVRT_RC_INVALID_DIGIT, 1, 0xC2},
      {"room", packed, "12345C", text(4), ZVRT_RC_TRUNCATED, -1, 0, 5},
      {"room and terminator", packed, "12345C", type(ZVRT_KIND_VARCHAR_SZ, 5), ZVRT_RC_TRUNCATED, -1, 0, 6},
      {"malformed UTF-8", text(8), "41 C3 41", text(8), ZVRT_RC_MALFORMED_UTF8, 1, 0xC3},
      {"not in the page", text(8), "C3A9 E282AC", ebcdic, ZVRT_RC_NOT_IN_CODE_PAGE, 2, 0x20AC},
      {"after a prefix", type(ZVRT_KIND_VARCHAR, 8), "0400 4142 C380", ebcdic, 0},
      {"prefixed", type(ZVRT_KIND_VARCHAR, 8), "0400 4142 C4 80", ebcdic, ZVRT_RC_NOT_IN_CODE_PAGE, 4, 0x100},
      {"letter", text(8), "31 32 41", packed, ZVRT_RC_INVALID_NUMBER, 2, 0x41},
      {"blanks before it", text(8, ZVRT_TYPE_TRIM_LEFT), "20 20 31 41", packed, ZVRT_RC_INVALID_NUMBER, 3, 0x41},
      {"letter in page 37", ebcdic, "F1 C1", packed, ZVRT_RC_INVALID_NUMBER, 1, 0x41},
      {"surrogate", utf16, "0041 D83D 0041", text(8), ZVRT_RC_UNPAIRED_SURROGATE, 2, 0xD83D},
      {"after a pair", utf16, "D83D DE00 0041", packed, ZVRT_RC_INVALID_NUMBER, 0, 0x1F600},
      {"shifted", with_page(text(12), 930), "C1 0E 4562 FFFF 0F", text(16), ZVRT_RC_MALFORMED_TEXT, 4, 0xFF},
      {"month", text(12), "323032342D31332D3031", days, ZVRT_RC_INVALID_MONTH, 5, 0x31},
      {"separator", text(12), "323032342F31322D3031", days, ZVRT_RC_INVALID_DATETIME, 4, 0x2F},
      {"hour", type(ZVRT_KIND_TIME, 6), "1800 0000 0000", text(8), ZVRT_RC_INVALID_HOUR, 0, 24},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.what);
    Plan plan;
    ASSERT_EQ(make(each.from, each.to, 0, plan), ZVRT_RC_OK);
    const std::string value = bytes(each.value);
    ZVRTProblem why{};
    why.size = sizeof why;
    ASSERT_EQ(ZVRTPlanExplain(plan.get(), value.data(), static_cast<std::int64_t>(value.size()), &why), ZVRT_RC_OK);
    EXPECT_EQ(why.status, each.status) << why.text;
    EXPECT_EQ(why.offset, each.offset) << why.text;
    EXPECT_EQ(why.unit, each.unit) << why.text;
    EXPECT_EQ(why.needed, each.needed) << why.text;
    EXPECT_NE(why.text[0], '\0');
  }
}

TEST_F(Explain, ChecksAColumnWithoutConverting) {
  const ZVRTType packed = type(ZVRT_KIND_PACKED, 2);
  std::string column = bytes("123C 1A3C 999D 1234");
  std::uint32_t status[4] = {9, 9, 9, 9};
  ZVRTArray values{};
  values.size = sizeof values;
  values.data = column.data();
  values.stride = 2;
  values.status = status;
  ZVRTOutcome outcome{};
  outcome.size = sizeof outcome;
  ASSERT_EQ(ZVRTCheck(&packed, &values, 4, &outcome), ZVRT_RC_OK);
  EXPECT_EQ(outcome.done, 4);
  EXPECT_EQ(outcome.refused, 2);
  EXPECT_EQ(outcome.firstRefused, 1);
  EXPECT_EQ(outcome.firstStatus, ZVRT_RC_INVALID_DIGIT);
  EXPECT_EQ(status[0], 0U);
  EXPECT_EQ(status[3], ZVRT_RC_INVALID_SIGN);
}

}  // namespace
