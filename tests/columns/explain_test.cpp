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
      {"after a prefix", type(ZVRT_KIND_VARCHAR, 8), "=0004 4142 C380", ebcdic, 0},
      {"prefixed", type(ZVRT_KIND_VARCHAR, 8), "=0004 4142 C4 80", ebcdic, ZVRT_RC_NOT_IN_CODE_PAGE, 4, 0x100},
      {"letter", text(8), "31 32 41", packed, ZVRT_RC_INVALID_NUMBER, 2, 0x41},
      {"blanks before it", text(8, ZVRT_TYPE_TRIM_LEFT), "20 20 31 41", packed, ZVRT_RC_INVALID_NUMBER, 3, 0x41},
      {"letter in page 37", ebcdic, "F1 C1", packed, ZVRT_RC_INVALID_NUMBER, 1, 0x41},
      {"surrogate", utf16, "0041 D83D 0041", text(8), ZVRT_RC_UNPAIRED_SURROGATE, 2, 0xD83D},
      {"after a pair", utf16, "D83D DE00 0041", packed, ZVRT_RC_INVALID_NUMBER, 0, 0x1F600},
      {"shifted", with_page(text(12), 930), "C1 0E 4562 FFFF 0F", text(16), ZVRT_RC_MALFORMED_TEXT, 4, 0xFF},
      {"month", text(12), "323032342D31332D3031", days, ZVRT_RC_INVALID_MONTH, 5, 0x31},
      {"separator", text(12), "323032342F31322D3031", days, ZVRT_RC_INVALID_DATETIME, 4, 0x2F},
      {"letter of a month", with_model(text(12), L"%DD %MMM %YYYY"), "3031204A756220", days, ZVRT_RC_INVALID_DATETIME,
       5, 0x62},
      {"month in digits", with_model(type(ZVRT_KIND_PACKED, 5), L"%YYYY%MM%DD"), "020241301C", days,
       ZVRT_RC_INVALID_MONTH, 2, 0x41},
      {"too many digits for the model", with_model(type(ZVRT_KIND_ZONED, 7), L"%YY%MM%DD", 1950), "F1F9F9F1F2F3F1",
       days, ZVRT_RC_INVALID_DATETIME, 0, 0xF1},
      {"date below zero", with_model(type(ZVRT_KIND_PACKED, 5), L"%YYYY%MM%DD"), "020241231D", days,
       ZVRT_RC_INVALID_DATETIME, 4, 0x1D},
      {"unused half-byte", type(ZVRT_KIND_PACKED, 3, 0, 4), "12345C", text(8), ZVRT_RC_DIGITS_LOST, 0, 0x12},
      {"too many zoned digits", type(ZVRT_KIND_ZONED, 4, 0, 2), "F0F1F2F3", text(8), ZVRT_RC_DIGITS_LOST, 1, 0xF1},
      {"boolean word", text(8), "66616C7365 20", type(ZVRT_KIND_BOOL, 1), ZVRT_RC_INVALID_VALUE, 5, 0x20},
      {"boolean that ends", text(8), "747275", type(ZVRT_KIND_BOOL, 1), ZVRT_RC_INVALID_VALUE, 3, 0},
      {"half a byte", text(8), "414243", type(ZVRT_KIND_BYTES, 8), ZVRT_RC_INVALID_VALUE, 3, 0},
      {"prefix beyond the slot", type(ZVRT_KIND_VARCHAR, 8), "=0007 414243444546", text(8), ZVRT_RC_INVALID_LENGTH, 0,
       7},
      {"length of a base-100 number", type(ZVRT_KIND_VARNUM, 4), "04 C1 02 02", text(8), ZVRT_RC_INVALID_VALUE, 0, 4},
      {"null in the slot", type(ZVRT_KIND_PACKED, 2, ZVRT_TYPE_NULL_BLANKS), "4040", text(8), ZVRT_RC_NULL_REFUSED},
      {"null that the target has", type(ZVRT_KIND_PACKED, 2, ZVRT_TYPE_NULL_BLANKS), "4040",
       text(8, ZVRT_TYPE_NULL_LOW), 0},
      {"not in the page, in a date written anew", with_model(text(10), L"%YYYY-%MM-%DD"), "323032342D31322D3031",
       with_model(with_page(text(12), 37), L"\x20AC%YYYY%MM%DD"), ZVRT_RC_NOT_IN_CODE_PAGE},
      {"UTF-8 by number", with_page(text(8), 1208), "41 E282", text(8), ZVRT_RC_MALFORMED_UTF8, 1, 0xE2},
      {"infinity", type(ZVRT_KIND_FLOAT, 4, ZVRT_TYPE_BIG_ENDIAN), "7F800000", text(8), ZVRT_RC_NOT_FINITE},
      {"hour", type(ZVRT_KIND_TIME, 6), "=0018 0000 0000", text(8), ZVRT_RC_INVALID_HOUR, 0, 24},
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
