#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "ZVRTDataCnvLib.h"
#include "numeric/conversion_run.h"
#include "numeric/decimal/varnum_model.h"

namespace {

using namespace zvrt_test;

// Both widths of one text, which must agree.
Outcome encode(const std::string& text, std::int32_t srcLen, std::int32_t dstSize) {
  const std::string wide = wide_bytes(widened(text));
  GuardedBuffer narrow_source(text.c_str(), text.size() + 1);
  GuardedBuffer wide_source(wide.data(), wide.size());
  const Outcome outcome = run(ZVRTCnvVarcharSz_UnsignedToOraVarnum, narrow_source.as<>(), srcLen, dstSize);
  EXPECT_EQ(run(ZVRTCnvWVarcharSz_UnsignedToOraVarnum, wide_source.as<>(), srcLen, dstSize), outcome) << text;
  // The same text off its alignment, with another character after it.
  const std::string shifted = "x" + wide + "123";
  EXPECT_EQ(run(ZVRTCnvWVarcharSz_UnsignedToOraVarnum, shifted.data() + 1, srcLen, dstSize), outcome) << text;
  return outcome;
}

Outcome encoded(const std::string& text, const std::string& value, std::int32_t dstSize) {
  const auto size = static_cast<std::uint32_t>(value.size());
  const bool fits = dstSize >= static_cast<std::int32_t>(size);
  return {fits ? ZVRT_RC_OK : ZVRT_RC_TRUNCATED, size, static_cast<std::int32_t>(text.size()), fits ? value : ""};
}

TEST(TextToVarnum, EmptyAndNullTextAreZeroAndHaveNoLength) {
  for (ZVRTConversion* conversion : {ZVRTCnvWVarcharSz_UnsignedToOraVarnum, ZVRTCnvVarcharSz_UnsignedToOraVarnum}) {
    for (const void* text : {static_cast<const void*>(nullptr), static_cast<const void*>(L"")}) {
      EXPECT_EQ(run(*conversion, text, 7, 2), (Outcome{ZVRT_RC_OK, 2, 7, "\x01\x80"}));
      EXPECT_EQ(run(*conversion, text, 7, 1), (Outcome{ZVRT_RC_TRUNCATED, 2, 7, ""}));
    }
    std::uint32_t length = 0;
    unsigned char value[22];
    EXPECT_EQ(conversion(L"", nullptr, value, 22, &length, nullptr), ZVRT_RC_OK);
    EXPECT_EQ(conversion(L"1", nullptr, value, 22, &length, nullptr), ZVRT_RC_OK);
  }
  EXPECT_EQ(encode(".", 7, 22), encoded(".", "\x01\x80", 22));
}

TEST(TextToVarnum, RefusesWhatIsNoNumber) {
  const std::string refused[] = {"-1",
                                 "1..",
                                 "1.2.3",
                                 "12a",
                                 " 1",
                                 "1,5",
                                 "/",
                                 ":",
                                 "\x01",
                                 "\xB1",
                                 "..",
                                 std::string(267, '0'),
                                 std::string(267, '0') + ".",
                                 std::string(126, '0').insert(0, 1, '1'),
                                 std::string(70, '1') + "x",
                                 std::string(5000, '1')};
  for (const std::string& text : refused) {
    std::u32string wide;
    for (const char character : text) wide += static_cast<unsigned char>(character);
    const Outcome outcome{ZVRT_RC_ERROR, not_reported, static_cast<std::int32_t>(text.size()), ""};
    EXPECT_EQ(run(ZVRTCnvVarcharSz_UnsignedToOraVarnum, text.c_str(), 0, 22), outcome) << text;
    EXPECT_EQ(run(ZVRTCnvWVarcharSz_UnsignedToOraVarnum, wide.c_str(), 0, 22), outcome) << text;
  }
  // Wide characters whose low bits are digits' are no digits.
  for (const char32_t character : {U'\u0131', U'\u0630', U'\u3031', static_cast<char32_t>(0x80000031)}) {
    const std::u32string text = {U'1', character};
    EXPECT_EQ(run(ZVRTCnvWVarcharSz_UnsignedToOraVarnum, text.c_str(), 0, 22).status, ZVRT_RC_ERROR);
  }
}

TEST(TextToVarnum, EveryLengthAndPlaceOfThePoint) {
  std::mt19937 random(1);
  for (std::size_t digits = 1; digits <= 266; digits += digits < 70 ? 1 : 7) {
    for (int round = 0; round < 60; ++round) {
      const std::size_t zeros_before = random() % 3 == 0 ? random() % digits : 0;
      const std::size_t zeros_behind = random() % 3 == 0 ? random() % digits : 0;
      const unsigned base = random() % 4 == 0 ? 2 : 10;
      std::string text;
      for (std::size_t i = 0; i < digits; ++i) {
        const bool zero = i < zeros_before || i + zeros_behind >= digits;
        text += static_cast<char>('0' + (zero ? 0 : random() % base));
      }
      if (round % 4 != 0) text.insert(random() % (digits + 1), 1, '.');
      const Decimal number(text);
      if (!number.digits.empty() && number.power > 126) {
        ASSERT_EQ(encode(text, 0, 22).status, ZVRT_RC_ERROR) << text;
        continue;
      }
      const std::string value = varnum(number, '+');
      const auto size = static_cast<std::int32_t>(value.size());
      for (const std::int32_t capacity : {-1, 0, size - 1, size, size + 1, 30}) {
        ASSERT_EQ(encode(text, 0, capacity), encoded(text, value, capacity)) << text << " into " << capacity;
      }
    }
  }
}

TEST(VarnumToText, EveryExponentSizeAndCapacity) {
  std::mt19937 random(2);
  for (unsigned exponent = 0x80; exponent <= 0xFF; ++exponent) {
    for (std::size_t count = 1; count <= 20; ++count) {
      std::string value = {static_cast<char>(count + 1), static_cast<char>(exponent)};
      for (std::size_t i = 0; i < count; ++i) value += static_cast<char>(random() % (random() % 4 == 0 ? 12 : 100) + 1);
      GuardedBuffer source(value.data(), value.size());
      const std::string text = plain_text(value);
      const auto length = static_cast<std::uint32_t>(text.size());
      const auto size = static_cast<std::int32_t>(value.size());
      const auto whole = static_cast<std::int32_t>(length) + 1;
      for (std::int32_t capacity = count % 5 == 0 ? 0 : whole - 2; capacity <= whole + 2; ++capacity) {
        ASSERT_EQ(run(ZVRTCnvOraVarnumToWVarcharSz_Unsigned, source.as<>(), 0, capacity * 4 + capacity % 4),
                  (Outcome{capacity < whole ? ZVRT_RC_TRUNCATED : ZVRT_RC_OK, length, size,
                           wide_bounded(text, static_cast<std::size_t>(capacity))}))
            << hex(value) << capacity;
      }
      for (std::int32_t capacity = whole - 3; capacity <= whole; ++capacity) {
        const bool fits = capacity >= whole - 1;
        ASSERT_EQ(run(ZVRTCnvOraVarnumToVarcharSz_Unsigned, source.as<>(), 0, capacity),
                  (Outcome{fits ? ZVRT_RC_OK : ZVRT_RC_TRUNCATED, fits ? length : not_reported, size,
                           (text + '\0').substr(0, static_cast<std::size_t>(capacity))}))
            << hex(value) << capacity;
      }
    }
  }
}

TEST(VarnumToText, RefusesNegativeAndMalformedValuesAndReadsNothingBehindThem) {
  std::vector<std::string> refused = {std::string(1, '\0'),
                                      {"\x01\x81"},
                                      {"\x01\x7F"},
                                      {"\x03\x3E\x64\x66"},
                                      "\x02\x3E\x64",
                                      "\x16\xC1" + std::string(21, '\x02'),
                                      "\xFF\xC1" + std::string(254, '\x02')};
  for (std::size_t count = 1; count <= 20; ++count) {
    for (std::size_t bad = 0; bad < count; ++bad) {
      std::string value = {static_cast<char>(count + 1), '\xC5'};
      value.append(count, '\x11');
      for (const char byte : {'\0', '\x65', '\xFF'}) {
        value[2 + bad] = byte;
        refused.push_back(value);
      }
    }
  }
  for (const std::string& value : refused) {
    GuardedBuffer source(value.data(), value.size());
    const auto size = static_cast<std::int32_t>(value.size());
    EXPECT_EQ(run(ZVRTCnvOraVarnumToWVarcharSz_Unsigned, source.as<>(), 7, 800), (Outcome{ZVRT_RC_ERROR, 0, size, ""}))
        << hex(value);
    EXPECT_EQ(run(ZVRTCnvOraVarnumToVarcharSz_Unsigned, source.as<>(), 7, 800),
              (Outcome{ZVRT_RC_ERROR, not_reported, size, ""}))
        << hex(value);
  }
}

std::string converted(std::vector<std::uint8_t> pairs, std::int16_t scale, char sign) {
  GuardedBuffer source(pairs.data(), pairs.size());
  GuardedBuffer dst(22);
  EXPECT_EQ(ConvertBCDToOraVarNum(dst.as<std::uint8_t>(), source.as<std::uint8_t>(),
                                  static_cast<std::int16_t>(pairs.size()), scale, sign),
            0);
  const std::string value = dst.bytes().substr(0, static_cast<unsigned char>(dst.bytes()[0]) + 1U);
  EXPECT_TRUE(dst.untouched_from(value.size()));
  return value;
}

TEST(ConvertBCDToOraVarNum, Examples) {
  using Pairs = std::vector<std::uint8_t>;
  EXPECT_EQ(converted({1}, 0, '-'), "\x03\x3E\x64\x66");
  EXPECT_EQ(converted({1, 23, 45}, 2, '-'), "\x05\x3D\x64\x4E\x38\x66");
  EXPECT_EQ(converted({15}, 1, '-'), "\x04\x3E\x64\x33\x66");
  EXPECT_EQ(converted(Pairs(20, 5), 0, '-'), "\x15\x2B" + std::string(20, '\x60'));
  EXPECT_EQ(converted(Pairs(19, 5), 0, '-'), "\x15\x2C" + std::string(19, '\x60') + "\x66");
  for (const char sign : {'+', '-'}) {
    EXPECT_EQ(converted({1}, 132, sign), "\x01\x80");
    EXPECT_EQ(converted({}, 0, sign), "\x01\x80");
    EXPECT_EQ(converted({0, 0}, 1, sign), "\x01\x80");
  }
  EXPECT_EQ(converted({1}, 130, '+'), "\x02\x80\x02");
  EXPECT_EQ(converted({1}, 130, '-'), "\x03\x7F\x64\x66");
  std::uint8_t value[22];
  EXPECT_EQ(ConvertBCDToOraVarNum(value, nullptr, -1, 1, '+'), 0);
  EXPECT_EQ(value[0], 1);
}

TEST(ConvertBCDToOraVarNum, EveryScaleOfNumbersOfAnyLength) {
  std::mt19937 random(3);
  for (int round = 0; round < 60000; ++round) {
    const std::size_t count = round % 100 == 0 ? random() % 3000 : random() % 140;
    const unsigned base = random() % 3 == 0 ? 2 : 100;
    std::vector<std::uint8_t> pairs(count);
    std::string text;
    const std::size_t zeros = random() % 3 == 0 ? random() % (count + 1) : 0;
    for (std::size_t i = 0; i < count; ++i) {
      pairs[i] = static_cast<std::uint8_t>(i < zeros || i + zeros / 2 > count ? 0 : random() % base);
      text += {static_cast<char>('0' + pairs[i] / 10), static_cast<char>('0' + pairs[i] % 10)};
    }
    const auto scale = static_cast<std::int16_t>(static_cast<int>(random() % 500) - 100 +
                                                 (count > 200 ? 2 * static_cast<int>(count) - 200 : 0));
    Decimal number(text);
    number.power -= scale;
    if (number.power > 126) continue;
    const char sign = random() % 2 == 0 ? '+' : '-';
    ASSERT_EQ(hex(converted(pairs, scale, sign)), hex(varnum(number, sign))) << text << " scale " << scale;
  }
}

// Outside the contract nothing is promised but that memory stays whole.
TEST(ConvertBCDToOraVarNum, AnyInputStaysWithinItsBuffers) {
  std::mt19937 random(4);
  for (int round = 0; round < 20000; ++round) {
    std::vector<std::uint8_t> pairs(random() % 300);
    for (std::uint8_t& pair : pairs) pair = static_cast<std::uint8_t>(random());
    EXPECT_LE(converted(pairs, static_cast<std::int16_t>(random()), static_cast<char>(random())).size(), 22U);
  }
}

}  // namespace
