#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>

#include "ZVRTDataCnvLib.h"
#include "numeric/integer/integer_cases.h"
#include "numeric/integer/text_to_integer_model.h"
#include "support/byte_order.h"
#include "support/guarded_buffer.h"

namespace {

using namespace zvrt_test;

// A member, and how it departs from its family.
struct Departure {
  std::uint32_t refusal = ZVRT_RC_INVALID_INTEGER;
  bool unsigned_size = false;
};

template <class Int>
void check_member(ZVRTConversion* parse, Departure departure = {}) {
  constexpr bool takes_sign = std::is_signed_v<Int>;
  for (const char* text : {"", "0", "7", "000128", "255", "300", "65536", "4294967296", "9223372036854775808",
                           "18446744073709551616", "99999999999999999999999999"}) {
    check_parsed<Int>(parse, wide_bytes(widened(text)).data(), text);
    if (takes_sign)
      check_parsed<Int>(parse, wide_bytes(widened(std::string("-") + text)).data(), std::string("-") + text);
  }
  for (const char* text : {"+1", " 1", "1 ", "1x", "--1", "1-", "x"}) {
    check_refused(parse, sizeof(Int), wide_bytes(widened(text)).data(), departure.refusal);
  }
  if (!takes_sign) check_refused(parse, sizeof(Int), wide_bytes(U"-1").data(), departure.refusal);

  const std::int32_t width = sizeof(Int);
  for (const std::int32_t size : {INT32_MIN, -1, 0, width - 1, width, width + 1}) {
    const bool fits = size >= width || (size < 0 && departure.unsigned_size);
    for (const char32_t* text : {U"5", U"x"}) {
      GuardedBuffer dst(sizeof(Int));
      std::int32_t src_len = 17;
      std::uint32_t out_len = 99;
      const bool valid = *text == '5';
      ASSERT_EQ(parse(wide_bytes(text).data(), &src_len, dst.as<>(), size, &out_len, nullptr), !fits ? ZVRT_RC_TRUNCATED
                                                                                               : valid
                                                                                                   ? ZVRT_RC_OK
                                                                                                   : departure.refusal)
          << size;
      ASSERT_EQ(dst.untouched_from(0), !fits || !valid) << size;
      ASSERT_EQ(out_len, !fits || valid ? sizeof(Int) : 99) << size;
      ASSERT_EQ(src_len, 17);
    }
  }
}

TEST(TextToInteger, WideMembers) {
  check_member<std::uint64_t>(ZVRTCnvWVarcharSzToULONGLONG, {.unsigned_size = true});
  check_member<std::int64_t>(ZVRTCnvWVarcharSzToLongLong);
  check_member<std::uint32_t>(ZVRTCnvWVarcharSzToUInt);
  check_member<std::int32_t>(ZVRTCnvWVarcharSzToInt1);
  check_member<std::uint16_t>(ZVRTCnvWVarcharSzToSmallUInt);
  check_member<std::int16_t>(ZVRTCnvWVarcharSzToSmallInt, {.refusal = ZVRT_RC_ERROR});
  check_member<std::uint8_t>(ZVRTCnvWVarcharSzToTinyUInt);
  check_member<std::int8_t>(ZVRTCnvWVarcharSzToTinyInt);
}

// What a narrow member reports and writes; a `dst` that it does not write keeps the mark.
struct Outcome {
  std::uint32_t status;
  std::uint32_t out_len;
  std::int32_t src_len;
  bool writes;
  std::uint64_t value = 0;
};

struct NarrowCase {
  const char* text;
  std::int32_t size;
  Outcome wanted;
};

void check_narrow(ZVRTConversion* parse, const NarrowCase& row, std::size_t width) {
  SCOPED_TRACE(std::string(row.text) + " into " + std::to_string(row.size));
  GuardedBuffer src(row.text, std::strlen(row.text) + 1);
  GuardedBuffer dst(width);
  std::int32_t src_len = 0;
  std::uint32_t out_len = 99;
  EXPECT_EQ(parse(src.as<>(), &src_len, dst.as<>(), row.size, &out_len, nullptr), row.wanted.status);
  EXPECT_EQ(out_len, row.wanted.out_len);
  EXPECT_EQ(src_len, row.wanted.src_len);
  EXPECT_EQ(!dst.untouched_from(0), row.wanted.writes);
  if (row.wanted.writes) {
    EXPECT_EQ(dst.bytes(), integer_bytes(row.wanted.value, width));
  }
}

TEST(TextToInteger, NarrowMembers) {
  for (const NarrowCase& row : {
           NarrowCase{"18446744073709551615", 8, {ZVRT_RC_OK, 8, 20, true, UINT64_MAX}},
           NarrowCase{"118446744073709551616", 8, {ZVRT_RC_OK, 8, 21, true, 7766279631452241920U}},
           NarrowCase{"0118446744073709551616", 8, {ZVRT_RC_TRUNCATED, 0, 22, false}},
           NarrowCase{"00118446744073709551616", 8, {ZVRT_RC_TRUNCATED, 0, 23, false}},
           NarrowCase{"", 8, {ZVRT_RC_INVALID_PARAM, 0, 0, false}},
           NarrowCase{"12x", 8, {ZVRT_RC_INVALID_INTEGER, 0, 3, false}},
           NarrowCase{"-1", 8, {ZVRT_RC_INVALID_INTEGER, 0, 2, false}},
           NarrowCase{"12", 7, {ZVRT_RC_TRUNCATED, 8, 2, false}},
           NarrowCase{"", 7, {ZVRT_RC_INVALID_PARAM, 0, 0, false}},
           NarrowCase{"12", -1, {ZVRT_RC_OK, 8, 2, true, 12}},
           NarrowCase{"1\xFF", 8, {ZVRT_RC_INVALID_INTEGER, 0, 2, false}},
       }) {
    check_narrow(ZVRTCnvVarcharSzToULONGLONG, row, 8);
  }
  for (const NarrowCase& row : {
           NarrowCase{"4294967295", 4, {ZVRT_RC_OK, 4, 10, true, 4294967295}},
           NarrowCase{"94294967297", 5, {ZVRT_RC_OK, 4, 11, true, 4100654081}},
           NarrowCase{"094294967297", 4, {ZVRT_RC_TRUNCATED, 0, 12, false}},
           NarrowCase{"", 4, {ZVRT_RC_INVALID_PARAM, 0, 0, false}},
           NarrowCase{"", 3, {ZVRT_RC_TRUNCATED, 4, 0, false}},
           NarrowCase{"12", -1, {ZVRT_RC_TRUNCATED, 4, 0, false}},
           NarrowCase{"1 ", 4, {ZVRT_RC_INVALID_INTEGER, 0, 2, false}},
       }) {
    check_narrow(ZVRTCnvVarcharSzToUInt, row, 4);
  }
}

TEST(TextToInteger, FieldOfARecord) {
  struct Case {
    std::string record;
    std::int32_t offset;
    std::int32_t count;
    std::uint32_t status;
    std::int32_t value;
  };
  constexpr std::int32_t kept = 4711;
  for (const auto& [record, offset, count, status, value] : {
           Case{"ab-12cd", 2, 3, ZVRT_RC_OK, -12},
           Case{"ab12", 2, 2, ZVRT_RC_OK, 12},
           Case{std::string("12\0x9", 5), 0, 5, ZVRT_RC_OK, 12},
           Case{"-2147483648", 0, 11, ZVRT_RC_OK, INT32_MIN},
           Case{"99999999999", 0, 11, ZVRT_RC_OK, 1215752191},
           Case{"-", 0, 1, ZVRT_RC_OK, 0},
           Case{"x", 1, 0, ZVRT_RC_INVALID_PARAM, kept},
           Case{std::string("\0", 1), 0, 1, ZVRT_RC_INVALID_PARAM, kept},
           Case{"", 0, 12, ZVRT_RC_INVALID_PARAM, kept},
           Case{"", 0, INT32_MAX, ZVRT_RC_INVALID_PARAM, kept},
           Case{"", 0, -1, ZVRT_RC_INVALID_PARAM, kept},
           Case{"", 0, INT32_MIN, ZVRT_RC_INVALID_PARAM, kept},
           Case{" 12", 0, 3, ZVRT_RC_INVALID_INTEGER, kept},
           Case{"1-2", 0, 3, ZVRT_RC_INVALID_INTEGER, kept},
           Case{"1\xC3", 0, 2, ZVRT_RC_TRUNCATED, kept},
       }) {
    GuardedBuffer guarded(record.data(), record.size());
    std::int32_t number = kept;
    EXPECT_EQ(ZVRTCnvVarcharSzToInt(guarded.as<char>(), &number, offset, count, 0, 0), status)
        << record << ' ' << count;
    EXPECT_EQ(number, value) << record << ' ' << count;
  }
}

// Every text of up to `longest` characters over an alphabet; '.' stands for the terminator.
void for_every_text(const std::string& alphabet, std::size_t longest,
                    const std::function<void(const std::string&)>& check) {
  std::vector<std::string> texts = {""};
  for (std::size_t at = 0; at < texts.size(); ++at) {
    const std::string text = texts[at];
    check(text);
    if (text.size() == longest) continue;
    for (const char character : alphabet) texts.push_back(text + character);
  }
}

TEST(TextToInteger, EveryFieldOfARecord) {
  for_every_text("07-x.", 5, [](std::string field) {
    std::replace(field.begin(), field.end(), '.', '\0');
    GuardedBuffer record(field.data(), field.size());
    const std::string text = field.substr(0, field.find('\0'));
    const bool valid = is_number(widened(text), true);
    std::int32_t value = 4711;
    ASSERT_EQ(ZVRTCnvVarcharSzToInt(record.as<char>(), &value, 0, static_cast<std::int32_t>(field.size()), 0, 0),
              text.empty() ? ZVRT_RC_INVALID_PARAM
              : valid      ? ZVRT_RC_OK
                           : ZVRT_RC_INVALID_INTEGER)
        << text;
    ASSERT_EQ(value, text.empty() || !valid ? 4711 : read_run(widened(text), 0, INT32_MAX).value) << text;
  });
}

TEST(TextToInteger, RunWithinAText) {
  for_every_text("07-x", 5, [](const std::string& text) {
    GuardedText guarded(widened(text), 0);
    const auto* wide = static_cast<const wchar_t*>(guarded.get());
    for (std::int32_t start = 0; start <= std::min(static_cast<std::int32_t>(text.size()), 2); ++start) {
      for (const std::int32_t most : {-1, 0, 1, 2, 3, 4, 5, 6, INT32_MAX}) {
        const auto [valid, expected, position] = read_run(widened(text), start, most);
        std::int32_t value = 99;
        std::int32_t end = 99;
        ASSERT_EQ(ZVRTCnvWVarcharSzToInt2(wide, &end, &value, start, most), valid ? ZVRT_RC_OK : ZVRT_RC_ERROR) << text;
        ASSERT_EQ(value, expected) << text << " from " << start << ", " << most;
        ASSERT_EQ(end, valid ? position : 99) << text << " from " << start << ", " << most;
        value = 99;
        ASSERT_EQ(ZVRTCnvWVarcharSzToInt(wide, &value, start, most), valid ? ZVRT_RC_OK : ZVRT_RC_ERROR) << text;
        ASSERT_EQ(value, expected) << text << " from " << start << ", " << most;
      }
    }
  });
  std::int32_t value = 0;
  EXPECT_EQ(ZVRTCnvWVarcharSzToInt(L"-2147483648", &value, 0, 11), ZVRT_RC_OK);
  EXPECT_EQ(value, INT32_MIN);
  EXPECT_EQ(ZVRTCnvWVarcharSzToInt(L"99999999999", &value, 0, 11), ZVRT_RC_OK);
  EXPECT_EQ(value, 1215752191);
}

TEST(TextToInteger, FieldWithBlanks) {
  for_every_text("19 -.:\xB1", 4, [](std::string text) {
    std::replace(text.begin(), text.end(), '.', '\0');
    GuardedBuffer guarded(text.data(), text.size());
    for (std::int32_t length = -1; length <= static_cast<std::int32_t>(text.size()); ++length) {
      const auto [valid, expected] = read_field(text.substr(0, length < 0 ? 0 : static_cast<std::size_t>(length)));
      std::uint32_t value = 4711;
      ASSERT_EQ(ZVRTCnvCharToInt(guarded.as<char>(), length, &value), valid ? ZVRT_RC_OK : ZVRT_RC_ERROR) << text;
      ASSERT_EQ(value, valid ? expected : 4711) << text;
    }
  });
  std::uint32_t value = 0;
  EXPECT_EQ(ZVRTCnvCharToInt(" 4294967297 ", 12, &value), ZVRT_RC_OK);
  EXPECT_EQ(value, 1U);
  EXPECT_EQ(ZVRTCnvCharToInt("00000000000000000012", 20, &value), ZVRT_RC_OK);
  EXPECT_EQ(value, 12U);
}

}  // namespace
