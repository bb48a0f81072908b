// Packed decimal, a line per rule. Then every field of one and two bytes, and random ones of every length, against their
// hexadecimal digits.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "numeric/decimal/packed_decimal_model.h"

namespace {

using namespace zvrt_test;

std::string bytes_of(const std::string& hex) {
  std::string bytes;
  for (std::size_t i = 0; i < hex.size(); i += 3) bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  return bytes;
}

// clang-format off
const struct {
  const char* field;
  std::string text;
  std::uint32_t status = ZVRT_RC_OK;
} unpackings[] = {
    // Two digits a byte, the last half-byte is the sign: D is negative, anything else positive
    {"12 3C",          "123"},
    {"12 3D",          "-123"},
    {"12 3F",          "123"},
    {"12 30",          "123"},
    {"12 3A",          "123"},
    {"9C",             "9"},
    // Leading zeros are left out, all of them: zero has no text, a negative zero is a sign alone
    {"00 12 3C",       "123"},
    {"00 02 3D",       "-23"},
    {"00 0C",          "",     ZVRT_RC_EMPTY_RESULT},
    {"0C",             "",     ZVRT_RC_EMPTY_RESULT},
    {"00 0D",          "-"},
    // A half-byte above 9 among the digits ends the text
    {"12 A4 5C",       "12",   ZVRT_RC_ERROR},
    {"01 B3 4D",       "-1",   ZVRT_RC_ERROR},
    {"A1 2C",          "",     ZVRT_RC_EMPTY_RESULT},
    // The longest that other systems have: 31 digits
    {"12 34 56 78 90 12 34 56 78 90 12 34 56 78 90 1C", "1234567890123456789012345678901"},
};

// A source without a length: leading zero bytes are skipped, and the value ends with the first sign C, D or F.
const struct {
  const char* source;
  std::string text;
  std::int32_t bytes;
} searches[] = {
    {"12 3C 45 6C",    "123",   2},
    {"12 3F 45 6C",    "123",   2},
    {"12 3A 45 6D",    "-123",  4},  // A is no sign: the value goes on, but its text ends
    {"00 00 12 3D 4C", "-123",  2},
    {"9C 12",          "9",     1},
};

const struct {
  std::u32string text;
  std::int32_t size;
  const char* field;      // "" where it is too small
  std::uint32_t needed = 0;
} packings[] = {
    // Right-aligned, with C or D
    {U"123",    2, "12 3C"},
    {U"-123",   2, "12 3D"},
    {U"123",    4, "00 00 12 3C"},
    {U"12",     2, "01 2C"},
    {U"",       1, "0C"},
    {U"-",      1, "0D"},
    // Leading zeros need no place
    {U"0007",   1, "7C"},
    {U"1234",   2, "",     3},
    {U"12345",  2, "",     3},
    // The low four bits of any character are its digit
    {U"1A3",    2, "11 3C"},
    {U"1-2",    2, "1D 2C"},
    {U"\u0669", 1, "9C"},
};
// clang-format on

TEST(PackedDecimal, FollowsItsRules) {
  for (const auto& row : unpackings) {
    const std::string field = bytes_of(row.field);
    const auto bytes = static_cast<std::int32_t>(field.size());
    const Outcome outcome{row.status, static_cast<std::uint32_t>(row.text.size()), bytes,
                          row.text.empty() ? "" : wide_bounded(row.text, 40)};
    EXPECT_EQ(run(ZVRTCnvDecPackedToWVarcharSz, field.data(), bytes, 160), outcome) << row.field;
  }
  for (const auto& row : searches) {
    const std::string source = bytes_of(row.source) + std::string(44, '\x1C');
    const Outcome outcome = run(ZVRTCnvDecPackedToWVarcharSz, source.data(), 0, 160);
    EXPECT_EQ(outcome.srcLen, row.bytes) << row.source;
    EXPECT_EQ(outcome.written, wide_bounded(row.text, 40)) << row.source;
  }
  for (const auto& row : packings) {
    const bool fits = row.needed == 0;
    const Outcome outcome = run(ZVRTCnvWVarcharSzToDecPacked, row.text.c_str(), 0, row.size);
    EXPECT_EQ(outcome.status, fits ? ZVRT_RC_OK : ZVRT_RC_TRUNCATED);
    EXPECT_EQ(outcome.outLen, fits ? static_cast<std::uint32_t>(row.size) : row.needed);
    EXPECT_EQ(outcome.written, bytes_of(row.field)) << testing::PrintToString(row.text);
  }
}

// Fields of mostly digits, random otherwise.
std::string random_field(std::mt19937& random, std::size_t bytes) {
  std::string field(bytes, '\0');
  const bool tame = random() % 4 != 0;
  const std::size_t zeros = random() % 2 == 0 ? random() % bytes : 0;
  for (std::size_t i = zeros; i < bytes; ++i) {
    field[i] = static_cast<char>(tame ? (random() % 10) * 16 + random() % 10 : random());
  }
  static constexpr unsigned signs[] = {0xC, 0xD, 0xF, 0xC, 0xD, 0x3, 0xA, 0xE};
  field.back() = static_cast<char>((static_cast<unsigned>(field.back()) & 0xF0U) | signs[random() % 8]);
  return field;
}

TEST(PackedToWide, EveryFieldOfOneAndTwoBytes) {
  std::string source(2 + 44, '\x35');
  for (std::uint32_t value = 0; value < 1U << 16; ++value) {
    source[0] = static_cast<char>(value >> 8);
    source[1] = static_cast<char>(value);
    const std::string field = source.substr(0, 2);
    ASSERT_EQ(run(ZVRTCnvDecPackedToWVarcharSz, source.data(), 2, 24), expected(field, 2, 24)) << hex(field);
    const std::string value_found = found(source).value();
    ASSERT_EQ(run(ZVRTCnvDecPackedToWVarcharSz, source.data(), 0, 400), expected(value_found, 0, 400)) << hex(field);
    if (value < 1U << 8) {
      const std::string byte = field.substr(1);
      ASSERT_EQ(run(ZVRTCnvDecPackedToWVarcharSz, byte.data(), 1, 16), expected(byte, 1, 16)) << hex(byte);
    }
  }
}

TEST(PackedToWide, EveryLengthAndCapacity) {
  std::mt19937 random(1);
  for (std::size_t bytes = 1; bytes <= 60; ++bytes) {
    for (int round = 0; round < 40; ++round) {
      const std::string field = random_field(random, bytes);
      GuardedBuffer source(field.data(), bytes);
      const auto length = static_cast<std::int32_t>(bytes);
      const auto needed = static_cast<std::int32_t>(reference(field).characters.size() * 4 + 4);
      for (std::int32_t dstSize = round < 4 ? -1 : needed - 9; dstSize <= needed + 9; ++dstSize) {
        ASSERT_EQ(run(ZVRTCnvDecPackedToWVarcharSz, source.as<>(), length, dstSize), expected(field, length, dstSize))
            << hex(field) << dstSize;
      }
      Outcome in_bytes = expected(field, length, needed);
      in_bytes.outLen *= 4;
      ASSERT_EQ(run(ZVRTCnvDecPackedToWVarcharSzOut, field.data(), length, needed), in_bytes) << hex(field);
    }
  }
}

TEST(PackedToWide, FindsValuesAndReadsNothingAfterThem) {
  std::mt19937 random(2);
  for (std::size_t zeros = 0; zeros <= 44; ++zeros) {
    for (std::size_t bytes = 1; bytes <= 44; ++bytes) {
      std::string source(zeros, '\0');
      if (zeros < 44) source += random_field(random, bytes);
      if (zeros < 44 && source[zeros] == 0) source[zeros] = 0x10;
      const std::optional<std::string> value = found(source + std::string(44, '\x11'));
      const std::size_t used = value ? source.find_first_not_of('\0') + value->size() : zeros;
      source.resize(used, '\x11');
      GuardedBuffer guarded(source.data(), used);
      const Outcome outcome = run(ZVRTCnvDecPackedToWVarcharSz, guarded.as<>(), 0, 400);
      ASSERT_EQ(outcome, expected(value.value_or(std::string(1, '\x0C')), 0, 400)) << hex(source);
    }
  }
}

TEST(PackedToWide, LengthsThatAreNone) {
  EXPECT_EQ(run(ZVRTCnvDecPackedToWVarcharSz, "\x12\x3C", -1, 40), (Outcome{ZVRT_RC_EMPTY_RESULT, 0, -1, ""}));
  std::uint32_t length = 0;
  wchar_t text[4];
  EXPECT_EQ(ZVRTCnvDecPackedToWVarcharSz("\x12\x3C", nullptr, text, 16, &length, nullptr), ZVRT_RC_OK);
  EXPECT_EQ(length, 3U);
}

TEST(PackedToNarrow, EveryLengthAndCapacity) {
  std::mt19937 random(3);
  for (const std::size_t bytes : {1U, 2U, 7U, 8U, 15U, 16U, 20U, 21U, 31U, 32U, 60U, 511U, 512U, 3000U}) {
    for (int round = 0; round < 20; ++round) {
      const std::string field = random_field(random, bytes);
      const Text text = reference(field);
      const auto length = static_cast<std::int32_t>(bytes);
      const auto size = static_cast<std::int32_t>(text.characters.size());
      for (std::int32_t dstSize = std::max(size - 3, -1); dstSize <= size + 3; ++dstSize) {
        Outcome outcome{text.status, not_reported, length, ""};
        if (text.status == ZVRT_RC_OK) {
          outcome.written = (text.characters + '\0').substr(0, static_cast<std::size_t>(std::max(dstSize, 0)));
          outcome.status = dstSize < size ? ZVRT_RC_TRUNCATED : ZVRT_RC_OK;
          if (dstSize >= size) outcome.outLen = static_cast<std::uint32_t>(size);
        }
        ASSERT_EQ(run(ZVRTCnvDecPackedToVarcharSz, field.data(), length, dstSize), outcome) << hex(field) << dstSize;
      }
    }
  }
  EXPECT_EQ(run(ZVRTCnvDecPackedToVarcharSz, "\0\x12\x3D", 0, 8), (Outcome{ZVRT_RC_OK, 4, 2, {"-123\0", 5}}));
}

std::u32string random_text(std::mt19937& random, std::size_t length) {
  std::u32string text;
  const std::size_t zeros = random() % 4 == 0 ? random() % (length + 1) : 0;
  for (std::size_t i = 0; i < length; ++i) text += U'0' + static_cast<char32_t>(i < zeros ? 0 : random() % 10);
  if (length > 0 && random() % 4 == 0) text[random() % length] = static_cast<char32_t>(random() | 1);
  return random() % 2 == 0 ? U"-" + text : text;
}

TEST(WideToPacked, EveryLengthSizeAndAlignment) {
  std::mt19937 random(4);
  for (std::size_t length = 0; length <= 130; ++length) {
    for (std::size_t round = 0; round < 12; ++round) {
      const std::u32string text = random_text(random, length);
      const bool negative = text.starts_with(U'-');
      const auto count = static_cast<std::int32_t>(text.size() - (negative ? 1 : 0));
      // A byte after the text keeps it off its alignment, up against the end of the memory without one.
      const std::string bytes = wide_bytes(text) + std::string(round % 4, 'x');
      GuardedBuffer source(bytes.data(), bytes.size());
      std::int32_t needed = 1;
      while (!packed(text, static_cast<std::size_t>(needed))) ++needed;
      for (const std::int32_t size : {-1, 0, needed - 1, needed, needed + 1, needed + 40}) {
        const bool fits = size >= needed;
        const std::int32_t given = round == 0 ? 17 : 0;
        const Outcome outcome{fits ? ZVRT_RC_OK : ZVRT_RC_TRUNCATED, static_cast<std::uint32_t>(fits ? size : needed),
                              fits && given == 0 ? count * 4 : given,
                              fits ? *packed(text, static_cast<std::size_t>(size)) : ""};
        ASSERT_EQ(run(ZVRTCnvWVarcharSzToDecPacked, source.as<>(), given, size), outcome) << hex(bytes) << size;
      }
    }
  }
}

TEST(NarrowToPacked, AsWideTextButEmptyTextIsRefused) {
  EXPECT_EQ(run(ZVRTCnvVarcharSzToDecPacked, "", 0, 4), (Outcome{ZVRT_RC_INVALID_PARAM, not_reported, 0, ""}));
  std::mt19937 random(5);
  for (const std::size_t length : {1U, 2U, 15U, 16U, 39U, 40U, 41U, 100U, 1022U, 1023U, 1024U, 5000U}) {
    std::u32string text = random_text(random, length);
    for (char32_t& character : text) character = character % 0x7E + 1;
    const std::string narrow(text.begin(), text.end());
    std::int32_t needed = static_cast<std::int32_t>(text.size() / 2 + 1);
    while (needed > 1 && packed(text, static_cast<std::size_t>(needed - 1))) --needed;
    const auto size = static_cast<std::int32_t>(narrow.size());
    EXPECT_EQ(run(ZVRTCnvVarcharSzToDecPacked, narrow.c_str(), 0, needed),
              (Outcome{ZVRT_RC_OK, static_cast<std::uint32_t>(needed), size,
                       *packed(text, static_cast<std::size_t>(needed))}));
    EXPECT_EQ(run(ZVRTCnvVarcharSzToDecPacked, narrow.c_str(), 0, needed - 1),
              (Outcome{ZVRT_RC_TRUNCATED, static_cast<std::uint32_t>(needed), size, ""}));
  }
  // Folding takes the code point: the low four bits of U+0669 are a nine, those of its last byte too, once.
  EXPECT_EQ(run(ZVRTCnvVarcharSzToDecPacked, "\xD9\xA9", 0, 1), (Outcome{ZVRT_RC_OK, 1, 2, "\x9C"}));
}

}  // namespace
