// Single values through plans, pair by pair: {type, value} -> {type, slot} as a table that can be read.
#include <gtest/gtest.h>

#include "columns/one_value.h"

using namespace columns_test;

namespace {

class Pairs : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_EQ(ZVRTInitDataConversion(), ZVRT_RC_OK); }
  static void TearDownTestSuite() { ZVRTTermDataConversion(); }
};

// Bytes as hexadecimal digits. A status other than 0 leaves the slot alone and `result` is not looked at.
struct Case {
  const char* what;
  ZVRTType from;
  const char* value;
  ZVRTType to;
  const char* result;
  std::uint32_t status = ZVRT_RC_OK;
  std::uint32_t options = 0;
};

void check(const Case& each) {
  SCOPED_TRACE(each.what);
  SCOPED_TRACE(each.value);
  Plan plan;
  ASSERT_EQ(make(each.from, each.to, each.options, plan), ZVRT_RC_OK);
  const auto room = static_cast<std::size_t>(each.to.length);
  const Converted converted = convert(plan.get(), bytes(each.value), room);
  EXPECT_EQ(converted.status, each.status) << ZVRTStatusName(converted.status);
  if (each.status != ZVRT_RC_OK) {
    EXPECT_EQ(converted.slot, std::string(room, untouched));
    return;
  }
  const std::string result = converted.slot.substr(0, static_cast<std::size_t>(converted.length));
  EXPECT_EQ(hexadecimal(result), hexadecimal(bytes(each.result)));
}

ZVRTType text(std::int32_t length) { return type(ZVRT_KIND_CHAR, length); }
ZVRTType packed(std::int32_t length, std::int16_t scale = 0, std::uint32_t flags = 0, std::int16_t precision = 0) {
  return type(ZVRT_KIND_PACKED, length, flags, precision, scale);
}
ZVRTType zoned(std::int32_t length, std::int16_t scale = 0, std::uint32_t flags = 0) {
  return type(ZVRT_KIND_ZONED, length, flags, 0, scale);
}
ZVRTType integer(std::int32_t length, std::uint32_t flags = 0, std::int16_t scale = 0) {
  return type(ZVRT_KIND_INT, length, flags, 0, scale);
}

TEST_F(Pairs, PackedToText) {
  const Case cases[] = {
      {"C", packed(3), "12345C", text(8), "31 32 33 34 35"},
      {"F", packed(3), "12345F", text(8), "31 32 33 34 35"},
      {"A, E are positive", packed(2), "123E", text(8), "31 32 33"},
      {"D", packed(3), "12345D", text(8), "2D 31 32 33 34 35"},
      {"B", packed(1), "7B", text(8), "2D 37"},
      {"zero", packed(3), "00000C", text(8), "30"},
      {"negative zero", packed(3), "00000D", text(8), "30"},
      {"scale", packed(3, 2), "00005D", text(8), "2D 30 2E 30 35"},
      {"zero with a scale", packed(3, 2), "00000C", text(8), "30 2E 30 30"},
      {"negative scale", packed(2, -2), "012C", text(8), "31 32 30 30"},
      {"no sign", packed(2, 0, ZVRT_TYPE_NO_SIGN), "1234", text(8), "31 32 33 34"},
      {"39 digits", packed(20), "123456789012345678901234567890123456789D", text(40),
       "2D 31 32 33 34 35 36 37 38 39 30 31 32 33 34 35 36 37 38 39 30 31 32 33 34 35 36 37 38 39 30 31 32 33 34 35 36 "
       "37 38 39"},
      {"no digit", packed(3), "1A345C", text(8), "", ZVRT_RC_INVALID_DIGIT},
      {"no sign", packed(3), "123456", text(8), "", ZVRT_RC_INVALID_SIGN},
      {"blanks", packed(2), "4040", text(8), "", ZVRT_RC_INVALID_SIGN},
      {"low-values", packed(2), "0000", text(8), "", ZVRT_RC_INVALID_SIGN},
      {"unsigned", packed(2, 0, ZVRT_TYPE_UNSIGNED), "123D", text(8), "", ZVRT_RC_INVALID_SIGN},
      {"pad digit", packed(2, 0, 0, 2), "123C", text(8), "", ZVRT_RC_DIGITS_LOST},
      {"too long", packed(3), "12345C", text(4), "", ZVRT_RC_TRUNCATED},
  };
  for (const Case& each : cases) check(each);
}

TEST_F(Pairs, TextToPacked) {
  const Case cases[] = {
      {"positive", text(8), "31 32 33", packed(3), "00123C"},
      {"negative", text(8), "2D 31 32 33", packed(3), "00123D"},
      {"plus", text(8), "2B 31", packed(1), "1C"},
      {"unsigned", text(8), "31", packed(1, 0, ZVRT_TYPE_UNSIGNED), "1F"},
      {"negative into unsigned", text(8), "2D 31", packed(1, 0, ZVRT_TYPE_UNSIGNED), "", ZVRT_RC_INVALID_SIGN},
      {"negative zero into unsigned", text(8), "2D 30", packed(1, 0, ZVRT_TYPE_UNSIGNED), "0F"},
      {"scale", text(8), "31 2E 35", packed(3, 2), "00150C"},
      {"zeros that a fraction ends in", text(8), "31 2E 35 30 30", packed(2, 1), "015C"},
      {"point first", text(8), "2E 35", packed(2, 1), "005C"},
      {"point last", text(8), "35 2E", packed(2, 1), "050C"},
      {"exponent", text(8), "31 65 32", packed(3), "00100C"},
      {"negative exponent", text(8), "31 32 45 2D 31", packed(2, 1), "012C"},
      {"too many digits", text(8), "31 30 30", packed(1), "", ZVRT_RC_DIGITS_LOST},
      {"fraction", text(8), "31 2E 35", packed(1), "", ZVRT_RC_FRACTION_LOST},
      {"half even", text(8), "32 2E 35", packed(1), "2C", 0, ZVRT_PLAN_ROUND_HALF_EVEN},
      {"half even, odd", text(8), "33 2E 35", packed(1), "4C", 0, ZVRT_PLAN_ROUND_HALF_EVEN},
      {"half away", text(8), "2D 32 2E 35", packed(1), "3D", 0, ZVRT_PLAN_ROUND_HALF_AWAY},
      {"cut", text(8), "32 2E 39", packed(1), "2C", 0, ZVRT_PLAN_CUT_FRACTION},
      {"rounded beyond", text(8), "39 2E 39", packed(1), "", ZVRT_RC_DIGITS_LOST, ZVRT_PLAN_ROUND_HALF_EVEN},
      {"empty", text(8), "", packed(1), "", ZVRT_RC_INVALID_NUMBER},
      {"blanks", text(8), "20 20", packed(1), "", ZVRT_RC_INVALID_NUMBER},
      {"sign alone", text(8), "2D", packed(1), "", ZVRT_RC_INVALID_NUMBER},
      {"point alone", text(8), "2E", packed(1), "", ZVRT_RC_INVALID_NUMBER},
      {"no exponent", text(8), "31 65", packed(1), "", ZVRT_RC_INVALID_NUMBER},
      {"letters", text(8), "61 62 63", packed(3), "", ZVRT_RC_INVALID_NUMBER},
      {"malformed", text(8), "31 FF", packed(3), "", ZVRT_RC_MALFORMED_UTF8},
      {"trimmed", type(ZVRT_KIND_CHAR, 8, ZVRT_TYPE_TRIM | ZVRT_TYPE_TRIM_LEFT), "20 37 20", packed(1), "7C"},
      {"page 37", with_page(text(8), 37), "60 F1 4B F5", packed(2, 1), "015D"},
  };
  for (const Case& each : cases) check(each);
}

TEST_F(Pairs, Zoned) {
  const std::uint32_t leading = ZVRT_TYPE_SIGN_LEADING, separate = ZVRT_TYPE_SIGN_SEPARATE, ascii = ZVRT_TYPE_ASCII;
  const Case cases[] = {
      {"positive", zoned(3), "F1F2C3", packed(2), "123C"},
      {"negative", zoned(3), "F1F2D3", packed(2), "123D"},
      {"B", zoned(3), "F1F2B3", packed(2), "123D"},
      {"F", zoned(3), "F1F2F3", packed(2), "123C"},
      {"leading", zoned(3, 0, leading), "D1F2F3", packed(2), "123D"},
      {"separate", zoned(4, 0, separate), "F1F2F360", packed(2), "123D"},
      {"leading separate", zoned(4, 0, leading | separate), "4EF1F2F3", packed(2), "123C"},
      {"ASCII", zoned(3, 0, ascii), "313273", packed(2), "123D"},
      {"ASCII separate", zoned(4, 0, ascii | separate), "3132332D", packed(2), "123D"},
      {"written", packed(2), "123C", zoned(4), "F0F1F2C3"},
      {"written negative", packed(2), "123D", zoned(3), "F1F2D3"},
      {"written unsigned", packed(2), "123C", zoned(3, 0, ZVRT_TYPE_UNSIGNED), "F1F2F3"},
      {"written leading", packed(2), "123D", zoned(4, 0, leading), "D0F1F2F3"},
      {"written separate", packed(2), "123D", zoned(4, 0, separate), "F1F2F360"},
      {"written ASCII", packed(2), "123D", zoned(3, 0, ascii), "313273"},
      {"blank", zoned(3), "40F2C3", packed(2), "", ZVRT_RC_INVALID_DIGIT},
      {"zone", zoned(3), "F1C2C3", packed(2), "", ZVRT_RC_INVALID_DIGIT},
      {"sign", zoned(3), "F1F293", packed(2), "", ZVRT_RC_INVALID_SIGN},
      {"leading sign before a bad digit", zoned(3, 0, leading), "91FAF3", packed(2), "", ZVRT_RC_INVALID_SIGN},
      {"blank sign", zoned(4, 0, separate), "F1F2F340", packed(2), "", ZVRT_RC_INVALID_SIGN},
  };
  for (const Case& each : cases) check(each);
}

TEST_F(Pairs, Integers) {
  const std::uint32_t big = ZVRT_TYPE_BIG_ENDIAN, little = ZVRT_TYPE_LITTLE_ENDIAN;
  const ZVRTType u8 = type(ZVRT_KIND_UINT, 8);
  const Case cases[] = {
      {"big endian", integer(4, big), "FFFFFFFE", text(8), "2D 32"},
      {"least", integer(8), "=8000000000000000", text(32),
       "2D 39 32 32 33 33 37 32 30 33 36 38 35 34 37 37 35 38 30 38"},
      {"unsigned", u8, "FFFFFFFFFFFFFFFF", text(32), "31 38 34 34 36 37 34 34 30 37 33 37 30 39 35 35 31 36 31 35"},
      {"scale", integer(2, big, 2), "04D2", text(8), "31 32 2E 33 34"},
      {"least byte", text(8), "2D 31 32 38", integer(1), "80"},
      {"below it", text(8), "2D 31 32 39", integer(1), "", ZVRT_RC_OUT_OF_RANGE},
      {"little endian", integer(4, little), "FEFFFFFF", text(8), "2D 32"},
      {"native", integer(4), "=FFFFFFFE", text(8), "2D 32"},
      {"from one order to the other", integer(4, big), "00000102", integer(2, little), "0201"},
      {"greatest", text(8), "31 32 37", integer(1), "7F"},
      {"negative into unsigned", text(8), "2D 31", u8, "", ZVRT_RC_OUT_OF_RANGE},
      {"negative zero into unsigned", text(8), "2D 30", u8, "0000000000000000"},
      {"precision", text(8), "31 30 30 30", type(ZVRT_KIND_INT, 2, 0, 3), "", ZVRT_RC_DIGITS_LOST},
      {"to decimal", integer(1), "FF", type(ZVRT_KIND_DECIMAL, 16, 0, 0, 2), "=FFFFFFFFFFFFFFFFFFFFFFFFFFFFFF9C"},
      {"40 digits", text(60), "31 65 33 39", type(ZVRT_KIND_DECIMAL, 16), "", ZVRT_RC_DIGITS_LOST},
      {"41 digits", text(60), "31 65 34 30", integer(8), "", ZVRT_RC_OUT_OF_RANGE},
  };
  for (const Case& each : cases) check(each);
}

TEST_F(Pairs, Texts) {
  const auto pad = [](std::int32_t length) { return type(ZVRT_KIND_CHAR, length, ZVRT_TYPE_PAD); };
  const ZVRTType varchar = type(ZVRT_KIND_VARCHAR, 8);
  const ZVRTType sz = type(ZVRT_KIND_VARCHAR_SZ, 4);
  const Case cases[] = {
      {"page 37", with_page(text(8), 37), "C1 82 5A", text(8), "41 62 21"},
      {"e with acute", with_page(text(8), 37), "51", text(8), "C3 A9"},
      {"to page 37", text(8), "C3 A9", with_page(text(8), 37), "51"},
      {"not in page 37", text(8), "E2 82 AC", with_page(text(8), 37), "", ZVRT_RC_NOT_IN_CODE_PAGE},
      {"substituted", text(8), "41 E2 82 AC", with_page(text(8), 37), "C1 3F", 0, ZVRT_PLAN_SUBSTITUTE},
      {"overlong", text(8), "C0 80", text(8), "", ZVRT_RC_MALFORMED_UTF8},
      {"surrogate", text(8), "ED A0 80", text(8), "", ZVRT_RC_MALFORMED_UTF8},
      {"parts replaced", text(8), "F0 90 41 80", text(8), "EF BF BD 41 EF BF BD", 0, ZVRT_PLAN_SUBSTITUTE},
      {"japanese", with_page(text(8), 932), "93 FA 41", text(8), "E6 97 A5 41"},
      {"to japanese", text(8), "E6 97 A5 41", with_page(text(8), 932), "93 FA 41"},
      {"shifts", text(8), "41 E6 97 A5 42", with_page(text(12), 930), "C1 0E 45 62 0F C2"},
      {"from shifts", with_page(text(12), 930), "C1 0E 45 62 0F C2", text(8), "41 E6 97 A5 42"},
      {"trail alone", with_page(text(8), 932), "41 93", text(8), "", ZVRT_RC_MALFORMED_TEXT},
      {"zero into terminated", text(8), "41 00", sz, "", ZVRT_RC_INVALID_VALUE},
      {"no room for the terminator", text(8), "41 42 43 44", sz, "", ZVRT_RC_TRUNCATED},
      {"terminated", text(8), "41 42 43", sz, "41 42 43"},
      {"to UTF-16", text(8), "41 F0 9F 98 80", type(ZVRT_KIND_UTF16, 8, ZVRT_TYPE_BIG_ENDIAN), "0041 D83D DE00"},
      {"to UTF-16LE", text(8), "41 F0 9F 98 80", type(ZVRT_KIND_UTF16, 8, ZVRT_TYPE_LITTLE_ENDIAN), "4100 3DD8 00DE"},
      {"from UTF-16", type(ZVRT_KIND_UTF16, 8, ZVRT_TYPE_BIG_ENDIAN), "00E9 D83D DE00", text(8), "C3 A9 F0 9F 98 80"},
      {"lone surrogate", type(ZVRT_KIND_UTF16, 8, ZVRT_TYPE_BIG_ENDIAN), "D83D 0041", text(8), "",
       ZVRT_RC_UNPAIRED_SURROGATE},
      {"to wide", text(8), "41 C3 A9", type(ZVRT_KIND_WCHAR, 8), "=00000041 =000000E9"},
      {"wide surrogate", type(ZVRT_KIND_WCHAR, 8), "=0000D800", text(8), "", ZVRT_RC_UNPAIRED_SURROGATE},
      {"beyond Unicode", type(ZVRT_KIND_WCHAR, 8), "=00110000", text(8), "", ZVRT_RC_INVALID_CODE_POINT},
      {"low-values", type(ZVRT_KIND_CHAR, 8, ZVRT_TYPE_LOW_AS_BLANK | ZVRT_TYPE_TRIM), "41 00 42 00", text(8),
       "41 20 42"},
  };
  for (const Case& each : cases) check(each);
  Plan plan;
  ASSERT_EQ(make(text(8), varchar, 0, plan), 0U);
  EXPECT_EQ(hexadecimal(convert(plan.get(), "abc", 8).slot), hexadecimal(bytes("=0003 6162632E2E2E")));
  ASSERT_EQ(make(text(8), with_page(pad(6), 37), 0, plan), 0U);
  EXPECT_EQ(hexadecimal(convert(plan.get(), "a", 6).slot), "814040404040");
  ASSERT_EQ(make(text(8), pad(3), ZVRT_PLAN_CUT_TEXT, plan), 0U);
  const Converted cut = convert(plan.get(), "ab\xC3\xA9", 3);
  EXPECT_EQ(cut.status, ZVRT_RC_TRUNCATED);
  EXPECT_EQ(cut.length, 4);
  EXPECT_EQ(cut.slot, "ab ");
}

ZVRTType real(std::int32_t length) { return type(ZVRT_KIND_FLOAT, length, ZVRT_TYPE_BIG_ENDIAN); }
ZVRTType hex(std::int32_t length) { return type(ZVRT_KIND_HEX_FLOAT, length); }

std::string ascii(std::string_view text) { return hexadecimal(text); }

// Text on one side, written as it is.
struct TextCase {
  const char* text;
  ZVRTType other;
  const char* bytes;
  std::uint32_t status = ZVRT_RC_OK;
  std::uint32_t options = 0;
};

void check_to_text(const TextCase& each) {
  const std::string expected = ascii(each.text);
  check({"to text", each.other, each.bytes, text(64), expected.c_str(), each.status, each.options});
}
void check_from_text(const TextCase& each) {
  const std::string value = ascii(each.text);
  check({"from text", text(64), value.c_str(), each.other, each.bytes, each.status, each.options});
}

TEST_F(Pairs, Floats) {
  const std::uint32_t exact = ZVRT_PLAN_EXACT_FLOAT;
  const TextCase both[] = {
      {"0.1", real(8), "3FB999999999999A"},
      {"0.1", real(4), "3DCCCCCD"},
      {"1.5", real(8), "3FF8000000000000"},
      {"-123000", real(8), "C0FE078000000000"},
      {"5e-324", real(8), "0000000000000001"},
      {"1.7976931348623157e+308", real(8), "7FEFFFFFFFFFFFFF"},
      {"1e+21", real(8), "444B1AE4D6E2EF50"},
      {"100000000000000000000", real(8), "4415AF1D78B58C40"},
      {"0.000001", real(8), "3EB0C6F7A0B5ED8D"},
      {"1e-7", real(8), "3E7AD7F29ABCAF48"},
      {"0", real(8), "0000000000000000"},
      {"0.1", hex(8), "401999999999999A"},
      {"0.1", hex(4), "4019999A"},
      {"-118.625", hex(4), "C276A000"},
      {"1", hex(8), "4110000000000000"},
      {"123.45", hex(8), "427B733333333333"},
      {"0", hex(8), "0000000000000000"},
  };
  for (const TextCase& each : both) {
    check_to_text(each);
    check_from_text(each);
  }
  const TextCase from_text[] = {
      {"9007199254740993", real(8), "4340000000000000"},
      {"9007199254740993.00000000000000000000000000000000000000001", real(8), "4340000000000001"},
      {"9007199254740992.99999999999999999999999999999999999999999", real(8), "4340000000000000"},
      {"1e400", real(8), "", ZVRT_RC_OUT_OF_RANGE},
      {"1e-400", real(8), "0000000000000000"},
      {"3.5e38", real(4), "", ZVRT_RC_OUT_OF_RANGE},
      {"0.1", real(8), "3FB999999999999A", 0, exact},
      {"0.10000000000000001", real(8), "", ZVRT_RC_INEXACT_FLOAT, exact},
      {"-0", real(8), "0000000000000000"},
      {"7.3e75", hex(4), "", ZVRT_RC_OUT_OF_RANGE},
      {"16777215.5", hex(4), "47100000"},
      {"16777216.5", hex(4), "47100000"},
  };
  for (const TextCase& each : from_text) check_from_text(each);
  const TextCase to_text[] = {
      {"0", real(8), "8000000000000000"},
      {"", real(8), "7FF0000000000000", ZVRT_RC_NOT_FINITE},
      {"", real(4), "7FC00000", ZVRT_RC_NOT_FINITE},
      {"1", hex(4), "42010000"},
      {"0", hex(4), "C2000000"},
      {"7.2370055773322621e+75", hex(8), "7FFFFFFFFFFFFFFF"},
      {"1.0000000000000001E-01", real(8), "3FB999999999999A", 0, ZVRT_PLAN_SINGLE_FORM},
  };
  for (const TextCase& each : to_text) check_to_text(each);
  const Case cases[] = {
      {"widened as it is", real(4), "3DCCCCCD", real(8), "3FB99999A0000000"},
      {"negative zero", real(4), "80000000", real(8), "8000000000000000"},
      {"infinity", real(8), "FFF0000000000000", real(4), "FF800000"},
      {"narrowed", real(8), "3FB999999999999A", real(4), "3DCCCCCD"},
      {"narrowed exactly", real(8), "3FB999999999999A", real(4), "", ZVRT_RC_INEXACT_FLOAT, exact},
      {"too large", real(8), "7FE0000000000000", real(4), "", ZVRT_RC_OUT_OF_RANGE},
      {"56 bits", hex(8), "41FFFFFFFFFFFFFF", real(8), "4030000000000000"},
      {"to packed", real(8), "3FB999999999999A", packed(2, 1), "001C"},
      {"to packed, 0.3", real(8), "3FD3333333333334", packed(2, 1), "", ZVRT_RC_FRACTION_LOST},
      {"infinity to packed", real(8), "7FF0000000000000", packed(2, 1), "", ZVRT_RC_NOT_FINITE},
      {"from packed", packed(2, 1), "001D", real(8), "BFB999999999999A"},
  };
  for (const Case& each : cases) check(each);
}

TEST_F(Pairs, Varnum) {
  const ZVRTType number = type(ZVRT_KIND_VARNUM, 22);
  const TextCase both[] = {
      {"0", number, "0180"},
      {"1", number, "02C102"},
      {"-1", number, "033E6466"},
      {"100", number, "02C202"},
      {"0.01", number, "02C002"},
      {"1.5", number, "03C10233"},
      {"-12.34", number, "043E594366"},
      {"1234567890123456789012345678901234567890", number, "15D40D23394F5B0D23394F5B0D23394F5B0D23394F5B"},
      {"-1234567890123456789012345678901234567890", number, "152B59432D170B59432D170B59432D170B59432D170B"},
  };
  for (const TextCase& each : both) {
    check_to_text(each);
    check_from_text(each);
  }
  const TextCase from_text[] = {
      {"1e125", number, "02FF0B"},
      {"1e126", number, "", ZVRT_RC_OUT_OF_RANGE},
      {"1e-130", number, "028002"},
      {"1e-131", number, "", ZVRT_RC_FRACTION_LOST},
      {"1e-131", number, "0180", 0, ZVRT_PLAN_CUT_FRACTION},
      {"12345678901234567890123456789012345678901", number, "", ZVRT_RC_FRACTION_LOST},
      {"99999999999999999999999999999999999999995", number, "02D50B", 0, ZVRT_PLAN_ROUND_HALF_EVEN},
  };
  for (const TextCase& each : from_text) check_from_text(each);
  const TextCase to_text[] = {
      {"", number, "0100", ZVRT_RC_INVALID_VALUE},
      {"", number, "02C100", ZVRT_RC_INVALID_VALUE},
      {"", number, "00", ZVRT_RC_INVALID_VALUE},
      {"-1", number, "023E64"},
  };
  for (const TextCase& each : to_text) check_to_text(each);
}

// The digits after the fortieth are not kept: which side of the point they stand on decides the status all the same.
TEST_F(Pairs, TextOfMoreDigitsThanAreKept) {
  const ZVRTType field = packed(3), cents = packed(3, 2), number = type(ZVRT_KIND_VARNUM, 22, 0, 38, 0);
  const std::string whole = "1234567890123456789012345678901234567890123";
  const std::string zeros = "1" + std::string(45, '0');
  const struct {
    std::string value;
    ZVRTType to;
    std::uint32_t status;
    std::uint32_t options = 0;
  } cases[] = {
      {whole, field, ZVRT_RC_DIGITS_LOST},
      {whole + ".5", field, ZVRT_RC_FRACTION_LOST},
      {whole + ".0", field, ZVRT_RC_DIGITS_LOST},
      {whole + ".50", field, ZVRT_RC_FRACTION_LOST},
      {whole + ".5", field, ZVRT_RC_DIGITS_LOST, ZVRT_PLAN_ROUND_HALF_EVEN},
      {whole + ".5", field, ZVRT_RC_DIGITS_LOST, ZVRT_PLAN_CUT_FRACTION},
      {whole + ".12", cents, ZVRT_RC_DIGITS_LOST},
      {whole + ".125", cents, ZVRT_RC_FRACTION_LOST},
      {whole + "e-1", field, ZVRT_RC_FRACTION_LOST},
      {whole + "0e-1", field, ZVRT_RC_DIGITS_LOST},
      {whole + ".5e1", field, ZVRT_RC_DIGITS_LOST},
      {zeros + ".000001", field, ZVRT_RC_FRACTION_LOST},
      {zeros + ".000000", field, ZVRT_RC_DIGITS_LOST},
      {"-" + whole + ".5", packed(3, 0, ZVRT_TYPE_UNSIGNED), ZVRT_RC_FRACTION_LOST},
      {"-" + whole, packed(3, 0, ZVRT_TYPE_UNSIGNED), ZVRT_RC_INVALID_SIGN},
      {whole + ".5", integer(8), ZVRT_RC_FRACTION_LOST},
      {whole, integer(8), ZVRT_RC_OUT_OF_RANGE},
      {whole + ".5", number, ZVRT_RC_FRACTION_LOST},
      {whole, number, ZVRT_RC_DIGITS_LOST},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.value);
    Plan plan;
    ASSERT_EQ(make(text(64), each.to, each.options, plan), ZVRT_RC_OK);
    const Converted converted = convert(plan.get(), each.value, static_cast<std::size_t>(each.to.length));
    EXPECT_EQ(converted.status, each.status) << ZVRTStatusName(converted.status);
  }
}

TEST_F(Pairs, OtherKinds) {
  const ZVRTType numeric = type(ZVRT_KIND_NUMERIC, 19, 0, 5, 2);
  const ZVRTType boolean = type(ZVRT_KIND_BOOL, 1);
  const ZVRTType raw = type(ZVRT_KIND_BYTES, 4);
  const TextCase both[] = {
      {"-12.34", numeric, "05 02 00 D204 0000000000000000000000000000"},
      {"true", boolean, "01"},
      {"false", boolean, "00"},
      {"00FF7A", raw, "00FF7A"},
      {"", raw, ""},
  };
  for (const TextCase& each : both) {
    check_to_text(each);
    check_from_text(each);
  }
  const TextCase from_text[] = {
      {"1234.56", numeric, "", ZVRT_RC_DIGITS_LOST},
      {"TRUE", boolean, "", ZVRT_RC_INVALID_VALUE},
      {"0", boolean, "00"},
      {"ff", raw, "FF"},
      {"f", raw, "", ZVRT_RC_INVALID_VALUE},
      {"0g", raw, "", ZVRT_RC_INVALID_VALUE},
      {"0011223344", raw, "", ZVRT_RC_TRUNCATED},
  };
  for (const TextCase& each : from_text) check_from_text(each);
  const Case cases[] = {
      {"2 is no boolean", boolean, "02", integer(1), "", ZVRT_RC_INVALID_VALUE},
      {"number to boolean", integer(1), "02", boolean, "", ZVRT_RC_OUT_OF_RANGE},
      {"boolean to number", boolean, "01", packed(1), "1C"},
      {"sign 2", numeric, "05 02 02 D204 0000000000000000000000000000", integer(4), "", ZVRT_RC_INVALID_VALUE},
  };
  for (const Case& each : cases) check(each);
}

// Records in native byte order: year, month, day, hour, minute, second, then the fraction.
TEST_F(Pairs, Dates) {
  const ZVRTType days = type(ZVRT_KIND_DAYS, 4, ZVRT_TYPE_BIG_ENDIAN);
  const ZVRTType micros = type(ZVRT_KIND_MICROS, 8, ZVRT_TYPE_BIG_ENDIAN);
  const auto ymd = [](std::int32_t length) { return with_model(packed(length), L"%YYYY%MM%DD"); };
  const auto dated = [](const wchar_t* model, std::int16_t first = 0) {
    return with_model(type(ZVRT_KIND_CHAR, 32), model, first);
  };
  const TextCase both[] = {
      {"1970-01-01", days, "00000000"},
      {"1969-12-31", days, "FFFFFFFF"},
      {"2000-02-29", days, "00002B08"},
      {"0001-01-01", days, "FFF506C6"},
      {"9999-12-31", days, "002CC0A0"},
      {"1969-12-31 23:59:59.999999", micros, "FFFFFFFFFFFFFFFF"},
      {"1970-01-02 00:00:00.000001", micros, "000000141DD76001"},
      {"2024-02-29", type(ZVRT_KIND_DATE, 6), "=07E8 =0002 =001D"},
      {"12:34:56", type(ZVRT_KIND_TIME, 6), "=000C =0022 =0038"},
      {"2024-02-29 12:34:56.789000", type(ZVRT_KIND_TIMESTAMP, 24),
       "=07E8 =0002 =001D =000C =0022 =0038 =000C0A08 0000000000000000"},
      {"2024-02-29 12:34:56", type(ZVRT_KIND_TIMESTAMP, 24, 0, 0, ZVRT_SCALE_NONE),
       "=07E8 =0002 =001D =000C =0022 =0038 00000000 0000000000000000"},
      {"2024-02-29 12:34:56.000000789", type(ZVRT_KIND_CLI_TIMESTAMP, 16),
       "=07E8 =0002 =001D =000C =0022 =0038 =00000315"},
      {"2024-02-29", ymd(5), "020240229C"},
  };
  for (const TextCase& each : both) {
    check_to_text(each);
    check_from_text(each);
  }
  const TextCase from_text[] = {
      {"2023-02-29", days, "", ZVRT_RC_INVALID_DAY},
      {"2024-13-01", days, "", ZVRT_RC_INVALID_MONTH},
      {"0000-01-01", days, "", ZVRT_RC_INVALID_YEAR},
      {"2024-1-01", days, "", ZVRT_RC_INVALID_DATETIME},
      {"2024-01-01 ", days, "", ZVRT_RC_INVALID_DATETIME},
      {"", days, "", ZVRT_RC_INVALID_DATETIME},
      {"24:00:00", type(ZVRT_KIND_TIME, 6), "", ZVRT_RC_INVALID_HOUR},
  };
  for (const TextCase& each : from_text) check_from_text(each);
  const auto year_day = with_model(zoned(7), L"%YYYY%DDD");
  const auto century = with_model(packed(4), L"%C%YY%MM%DD");
  const auto two_digits = with_model(packed(4), L"%YY%MM%DD", 1950);
  const Case cases[] = {
      {"day of the year", year_day, "F2F0F2F4F0F6C0", ymd(5), "020240229C"},
      {"written", ymd(5), "020241231C", year_day, "F2F0F2F4F3F6C6"},
      {"no day 366", year_day, "F2F0F2F3F3F6C6", ymd(5), "", ZVRT_RC_INVALID_DAY},
      {"century", century, "1240229C", ymd(5), "020240229C"},
      {"century 0", century, "0991231C", ymd(5), "019991231C"},
      {"century written", ymd(5), "020240229C", century, "1240229C"},
      {"before the centuries", ymd(5), "018991231C", century, "", ZVRT_RC_INVALID_YEAR},
      {"window", two_digits, "0500101C", ymd(5), "019500101C"},
      {"window's end", two_digits, "0491231C", ymd(5), "020491231C"},
      {"beyond the window", ymd(5), "020500101C", two_digits, "", ZVRT_RC_INVALID_YEAR},
      {"negative", ymd(5), "020240229D", days, "", ZVRT_RC_INVALID_DATETIME},
      {"time of day", micros, "000000000000000A", days, "", ZVRT_RC_FRACTION_LOST},
      {"time of day cut", micros, "FFFFFFFFFFFFFFFF", days, "FFFFFFFF", 0, ZVRT_PLAN_CUT_FRACTION},
      {"midnight", days, "00000001", micros, "000000141DD76000"},
      {"names", dated(L"%DD %MMM %YYYY"), "3239206665622032303234", dated(L"%MONTH %D, %YYYY"),
       "46656272756172792032392C2032303234"},
      {"noon", dated(L"%YYYY%MM%DD %HH:%MI %PM"), "32303234303232392031323A303020504D", dated(L"%YYYY%MM%DD%HH24%MI"),
       "323032343032323931323030"},
      {"midnight of the twelve-hour clock", dated(L"%YYYY%MM%DD%HH24%MI"), "323032343032323930303030",
       dated(L"%YYYY%MM%DD %HH:%MI %PM"), "32303234303232392031323A303020414D"},
      {"rounded to the next day", dated(L"%YYYY%MM%DD%HH24%MI%SS"), "3230323430323239323335393330",
       dated(L"%YYYY%MM%DD%HH24%MI"), "323032343033303130303030", 0, ZVRT_PLAN_ROUND_HALF_AWAY},
  };
  for (const Case& each : cases) check(each);
  const ZVRTType refused[] = {dated(L"%YYYY-%MM"),
                              dated(L"%YY%MM%DD"),
                              dated(L"%Q"),
                              dated(L"%HH:%MI"),
                              dated(L"%YYYY%YYYY%MM%DD"),
                              with_model(packed(3), L"%YYYY%MM%DD"),
                              with_model(packed(5), L"%YYYY-%MM-%DD")};
  for (const ZVRTType& each : refused) {
    Plan plan;
    EXPECT_EQ(make(each, days, 0, plan), ZVRT_RC_INVALID_FORMAT);
  }
  Plan plan;
  EXPECT_EQ(make(days, type(ZVRT_KIND_TIME, 6), 0, plan), ZVRT_RC_INVALID_PAIR);
  EXPECT_EQ(make(days, integer(4), 0, plan), ZVRT_RC_INVALID_PAIR);
}

}  // namespace
