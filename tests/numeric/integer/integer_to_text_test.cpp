#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "ZVRTDataCnvLib.h"
#include "numeric/integer/integer_cases.h"
#include "support/guarded_buffer.h"

namespace {

using namespace zvrt_test;

// The members of one type; the `...Out` form reports bytes always, or only when the status is ZVRT_RC_OK.
enum class Reports { always, if_ok };

template <class Int>
void check_family(ZVRTConversion* wide, ZVRTConversion* out, Reports reports) {
  using Limits = std::numeric_limits<Int>;
  const std::vector<Int> values = {0,
                                   1,
                                   9,
                                   10,
                                   99,
                                   100,
                                   Limits::max(),
                                   static_cast<Int>(Limits::max() - 1),
                                   Limits::min(),
                                   static_cast<Int>(Limits::min() + 1)};
  check_rendering(wide, values, 96);
  for (const Int value : values) {
    for (const std::int32_t size : {INT32_MIN, -8, -1, 0, 3, 4, 7, 8, 80, 84, 88}) {
      const Rendered expected = rendered_wide(decimal(value), size);
      GuardedBuffer dst(expected.image.size());
      std::int32_t src_len = 0;
      std::uint32_t out_len = 99;
      ASSERT_EQ(out(&value, &src_len, dst.as<>(), size, &out_len, nullptr), expected.status) << +value;
      ASSERT_EQ(dst.bytes(), expected.image) << +value << " into " << size;
      ASSERT_EQ(src_len, std::int32_t{sizeof(Int)});
      const bool reported = reports == Reports::always || expected.status == ZVRT_RC_OK;
      ASSERT_EQ(out_len, reported ? decimal(value).size() * 4 : 99) << +value << " into " << size;
      ASSERT_EQ(wide(&value, nullptr, dst.as<>(), size, &out_len, nullptr), expected.status);
      ASSERT_EQ(out_len, decimal(value).size());
    }
  }
}

TEST(IntegerToText, WideMembersAndTheirOutForms) {
  check_family<std::uint64_t>(ZVRTCnvULONGLONGToWVarcharSz, ZVRTCnvULONGLONGToWVarcharSzOut, Reports::always);
  check_family<std::int64_t>(ZVRTCnvLongLongToWVarcharSz, ZVRTCnvLongLongToWVarcharSzOut, Reports::always);
  check_family<std::uint32_t>(ZVRTCnvUIntToWVarcharSz, ZVRTCnvUIntToWVarcharSzOut, Reports::always);
  check_family<std::int32_t>(ZVRTCnvIntToWVarcharSz1, ZVRTCnvIntToWVarcharSz1Out, Reports::if_ok);
  check_family<std::int16_t>(ZVRTCnvSmallIntToWVarcharSz, ZVRTCnvSmallIntToWVarcharSzOut, Reports::always);
  check_family<std::uint16_t>(ZVRTCnvSmallUIntToWVarcharSz, ZVRTCnvSmallUIntToWVarcharSzOut, Reports::always);
  check_family<std::int8_t>(ZVRTCnvTinyIntToWVarcharSz, ZVRTCnvTinyIntToWVarcharSzOut, Reports::always);
  check_family<std::uint8_t>(ZVRTCnvTinyUIntToWVarcharSz, ZVRTCnvTinyUIntToWVarcharSzOut, Reports::always);
}

FldDef field_of(std::uint32_t code_page, char kind) {
  FldDef field{};
  field.codePage = code_page;
  field.codePageKind = kind;
  return field;
}

template <class Int>
void check_narrow(ZVRTConversion* render) {
  const FldDef utf8 = field_of(1208, '2');
  for (const Int value : {Int{0}, Int{7}, Int{1234567}, std::numeric_limits<Int>::max()}) {
    const std::string text = decimal(value);
    for (std::int32_t size = -2; size <= static_cast<std::int32_t>(text.size()) + 3; ++size) {
      for (const FldDef* field : {static_cast<const FldDef*>(nullptr), &utf8}) {
        const Rendered expected = rendered_narrow(text, size);
        GuardedBuffer dst(expected.image.size());
        std::int32_t src_len = 0;
        std::uint32_t out_len = 99;
        ASSERT_EQ(render(&value, &src_len, dst.as<>(), size, &out_len, field), expected.status)
            << text << " in " << size;
        ASSERT_EQ(dst.bytes(), expected.image) << text << " into " << size;
        ASSERT_EQ(out_len, text.size());
        ASSERT_EQ(src_len, std::int32_t{sizeof(Int)});
      }
    }
  }
}

TEST(IntegerToText, NarrowMembers) {
  check_narrow<std::uint64_t>(ZVRTCnvULONGLONGToVarcharSz);
  check_narrow<std::uint32_t>(ZVRTCnvUIntToVarcharSz);
}

TEST(IntegerToText, ByValueWithoutASize) {
  for (const std::int32_t value : {0, 5, -5, 2024, INT32_MAX, INT32_MIN}) {
    const std::string text = decimal(value);
    const Rendered expected = rendered_wide(text, 48);
    GuardedBuffer dst(48);
    std::uint32_t out_len = 99;
    EXPECT_EQ(ZVRTCnvIntToWVarcharSz(value, dst.as<wchar_t>(), &out_len), expected.status);
    EXPECT_EQ(dst.bytes(), expected.image) << text;
    EXPECT_EQ(out_len, text.size());
  }
}

TEST(IntegerToText, ByValueToNarrowText) {
  for (const std::int32_t value : {0, -5, 2024, INT32_MIN}) {
    const std::string text = decimal(value);
    for (std::int32_t size = -1; size <= 14; ++size) {
      const Rendered expected = rendered_narrow(text, size);
      GuardedBuffer dst(expected.image.size());
      std::int32_t length = size;
      ASSERT_EQ(ZVRTCnvIntToVarcharSz(value, dst.as<char>(), &length, 0, 0), expected.status) << text << " in " << size;
      ASSERT_EQ(dst.bytes(), expected.image) << text << " into " << size;
      const bool reported = expected.status != ZVRT_RC_TRUNCATED;
      ASSERT_EQ(length, reported ? static_cast<std::int32_t>(text.size()) : size) << text << " into " << size;
    }
  }
}

// What goes through the converter service; EBCDIC tells it from UTF-8.
class IntegerToCodePage : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(ZVRTInitDataConversion(), ZVRT_RC_OK); }
  void TearDown() override { EXPECT_EQ(ZVRTTermDataConversion(), ZVRT_RC_OK); }
};

TEST_F(IntegerToCodePage, NarrowMembersWriteTheFieldsCodePage) {
  const FldDef ebcdic = field_of(37, 'X');
  const std::uint32_t value = 907;
  char narrow[8] = {};
  std::uint32_t out_len = 99;
  EXPECT_EQ(ZVRTCnvUIntToVarcharSz(&value, nullptr, narrow, sizeof narrow, &out_len, &ebcdic), ZVRT_RC_OK);
  EXPECT_STREQ(narrow, "\xF9\xF0\xF7");
  EXPECT_EQ(out_len, 3U);
  std::int32_t length = sizeof narrow;
  EXPECT_EQ(ZVRTCnvIntToVarcharSz(-20, narrow, &length, 37, 'X'), ZVRT_RC_OK);
  EXPECT_STREQ(narrow, "\x60\xF2\xF0");
  EXPECT_EQ(length, 3);
}

TEST_F(IntegerToCodePage, AnUnknownCodePageIsReported) {
  const FldDef unknown = field_of(123456789, 'X');
  const std::uint64_t value = 12;
  GuardedBuffer dst(8);
  std::uint32_t out_len = 99;
  EXPECT_EQ(ZVRTCnvULONGLONGToVarcharSz(&value, nullptr, dst.as<>(), 8, &out_len, &unknown), ZVRT_RC_NO_CONVERTER);
  EXPECT_EQ(out_len, 0U);
  std::int32_t length = 8;
  EXPECT_EQ(ZVRTCnvIntToVarcharSz(12, dst.as<char>(), &length, 123456789, 'X'), ZVRT_RC_NO_CONVERTER);
  EXPECT_EQ(length, 8);
  EXPECT_TRUE(dst.untouched_from(0));
}

TEST_F(IntegerToCodePage, FormattedText) {
  const std::string text = "no. 0042";
  for (std::int32_t size = 0; size <= 44; ++size) {
    Rendered expected = rendered_wide(text, size);
    GuardedBuffer dst(static_cast<std::size_t>(size));
    std::uint32_t out_len = 99;
    ASSERT_EQ(ZVRTCnvIntToUni(dst.as<wchar_t>(), size, "no. %04d", 42, &out_len), expected.status) << size;
    ASSERT_EQ(dst.bytes(), expected.image) << size;
    ASSERT_EQ(out_len, text.size());
  }
}

TEST_F(IntegerToCodePage, FormatsThatAreRefusedWriteNothing) {
  struct Case {
    const char* format;
    std::uint32_t status;
  };
  for (const auto& [format, status] :
       {Case{"%s", ZVRT_RC_ERROR}, Case{"%n%d", ZVRT_RC_ERROR}, Case{"%ld", ZVRT_RC_ERROR}, Case{"%16d", ZVRT_RC_ERROR},
        Case{"", ZVRT_RC_ERROR}, Case{"%.0d", ZVRT_RC_INVALID_PARAM}}) {
    GuardedBuffer dst(80);
    std::uint32_t out_len = 99;
    EXPECT_EQ(ZVRTCnvIntToUni(dst.as<wchar_t>(), 80, format, 0, &out_len), status) << format;
    EXPECT_TRUE(dst.untouched_from(0)) << format;
    EXPECT_EQ(out_len, 99U) << format;
  }
}

}  // namespace
