// The exported transforms against a naive reference: every code point, every short sequence, every pair of units, and
// random text at every capacity on guarded memory.
#include <gtest/gtest.h>

#include <random>

#include "encoding/transform_model.h"
#include "support/byte_order.h"

namespace zvrt_test {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::uint32_t stride = 251;  // the sanitizers see every path with a part of the exhaustive sweeps
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr std::uint32_t stride = 251;
#else
constexpr std::uint32_t stride = 1;
#endif
#else
constexpr std::uint32_t stride = 1;
#endif

TEST(Transforms, EveryCodePointThereAndBack) {
  Bench bench;
  const auto check = [&](std::uint32_t value) {
    for (const char* name : {"Convert32To8", "Convert32To16"}) {
      ASSERT_TRUE(bench.agrees(transform(name), units<std::uint32_t>({value}), 8)) << value;
    }
    if (value < 0x80000000) {
      for (const char* name : {"Convert8To32", "Convert8To16"}) {
        ASSERT_TRUE(bench.agrees(transform(name), encode(value), 8)) << value;
      }
    }
  };
  for (std::uint32_t value = 0; value <= 0x110000; value += value < 0x11000 ? 1 : 7) check(value);
  for (int bit = 16; bit < 32; ++bit) {
    for (std::uint32_t near = 0; near < 7; ++near) check((1U << bit) - 3 + near);
  }
}

TEST(Transforms, EverySequenceOfOneToThreeBytes) {
  const Transform& t = transform("Convert8To32");
  for (std::uint32_t bytes = 0; bytes < 0x1000000; bytes += stride) {
    const std::string src = {static_cast<char>(bytes >> 16), static_cast<char>(bytes >> 8), static_cast<char>(bytes)};
    constexpr auto untouched = static_cast<wchar_t>(-1);  // unsigned on some machines
    wchar_t wide[4] = {untouched, untouched, untouched, untouched};
    std::uint32_t count = 99;
    const std::uint32_t status = Convert8To32(wide, 4, src.data(), 3, &count);
    // The shorter sequences are the ones that end in zeros.
    const Outcome expected = t.reference(src, 4);
    ASSERT_EQ(status, expected.status) << std::hex << bytes;
    ASSERT_EQ(count, expected.count) << std::hex << bytes;
    ASSERT_EQ(0, std::memcmp(wide, expected.bytes.data(), expected.bytes.size())) << std::hex << bytes;
    ASSERT_EQ(wide[3], untouched);
  }
}

TEST(Transforms, EveryUtf16UnitAloneAndBesideEverySurrogate) {
  Bench bench;
  const Transform& t = transform("Convert16To32");
  for (std::uint32_t unit = 0; unit < 0x10000; ++unit) ASSERT_TRUE(bench.agrees(t, units<Half>({unit}), 3));
  for (std::uint32_t unit = 0; unit < 0x10000; unit += stride) {
    for (std::uint32_t surrogate = 0xD800; surrogate < 0xE000; surrogate += unit % 256 == 0 ? 1U : 255U) {
      ASSERT_TRUE(bench.agrees(t, units<Half>({unit, surrogate}), 3));
      ASSERT_TRUE(bench.agrees(t, units<Half>({surrogate, unit}), 3));
    }
    ASSERT_TRUE(bench.agrees(transform("Convert16To8"), units<Half>({unit, 0xDC00 + unit % 0x400}), 8));
  }
}

// Pieces that meet every rule: well-formed text of each length, terminators, overlong, malformed and cut-off sequences,
// surrogates, the replacement character, values that an encoding cannot carry.
// clang-format off
const std::vector<std::string> utf8_pieces = {
    "a", "some ascii text ", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\xF8\x88\x80\x80\x80",
    "\xFC\x84\x80\x80\x80\x80", "\xC0\x80", "\xE0\x80\x80", "\xC3(", "\xE2\x82", "\x80", "\xFE", "\xFF",
    "\xED\xA0\x80", "\xEF\xBF\xBD", "\xF4\x90\x80\x80", "\xC1\xA1", std::string(1, '\0')};
// clang-format on
const CodePoints wide_pieces = {'a',      'b',       0x7F,      0x80,       0x7FF,      0x800,      0xD7FF,   0xD800,
                                0xDFFF,   0xE000,    0xFFFD,    0xFFFF,     0x10000,    0x10FFFF,   0x110000, 0x1FFFFF,
                                0x200000, 0x3FFFFFF, 0x4000000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0};
const CodePoints half_pieces = {'a',    'z',    0x7F,   0x80,   0x7FF,  0x800,  0xD7FF,
                                0xE000, 0xFFFF, 0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0};

TEST(Transforms, RandomTextAtEveryCapacity) {
  Bench bench;
  std::mt19937 random(20240305);
  const auto pick = [&random](const auto& list) { return list[random() % list.size()]; };
  const int rounds = stride == 1 ? 1500 : 200;
  for (int round = 0; round < rounds; ++round) {
    // Well-formed pieces come first in each list; how many of them may be chosen decides how soon a text meets its end.
    const std::size_t variety = 3 + random() % 20;
    const std::size_t length = random() % 12;
    std::string narrow, half, wide;
    for (std::size_t i = 0; i < length; ++i) {
      narrow += utf8_pieces[random() % std::min(variety, utf8_pieces.size())];
      append<Half>(half, half_pieces[random() % std::min(variety, half_pieces.size())]);
      if (random() % 4 == 0) half += units<Half>({0xD83D, 0xDE00});
      append<std::uint32_t>(wide, pick(wide_pieces) >> (random() % 2 == 0 ? 0 : 8));
    }
    for (const Transform& t : transforms) {
      const std::string& text = t.src_unit == 1 ? narrow : t.src_unit == 2 ? half : wide;
      bench.expect_at_every_capacity(t, text);
      if (HasFatalFailure()) return;
      const std::string closed = text + std::string(static_cast<std::size_t>(t.src_unit), '\0');
      ASSERT_TRUE(bench.agrees(t, closed, static_cast<int>(random() % 40), 100));
    }
  }
}

TEST(Transforms, OddAddressesAndNegativeLengths) {
  const std::string text = "unaligned \xE2\x82\xAC text";
  alignas(8) char wide[4 * 32 + 2];
  alignas(8) char back[64] = {};
  std::uint32_t count = 0;
  auto* odd = reinterpret_cast<wchar_t*>(wide + 2);
  ASSERT_EQ(Convert8To32(odd, 32, text.data(), static_cast<int>(text.size()), &count), 0U);
  ASSERT_EQ(count, 16U);
  ASSERT_EQ(Convert32To8(back, 64, odd, 16, nullptr), 0U);
  EXPECT_EQ(back, text);
  for (const Transform& t : transforms) {
    EXPECT_EQ(t.convert("abcdefgh", -1, back, 8, &count), 0U) << t.name;
    EXPECT_EQ(count, 0U) << t.name;
    const std::string unit = integer_bytes('a', static_cast<std::size_t>(t.src_unit)) + std::string(8, '\0');
    EXPECT_EQ(t.convert(unit.data(), 1, back, 8, nullptr), 0U) << t.name;
    EXPECT_EQ(t.convert(unit.data(), 1, back, -4, &count), 1609U) << t.name;
  }
}

struct Sequence {
  const char* name;
  std::string bytes;
  int remaining;
  std::uint32_t code_point, consumed, status;
  int advance, result;
};

TEST(Transforms, OneSequenceAtATime) {
  const Sequence rows[] = {
      {"a byte", "A", 1, 'A', 1, 0, 1, 1},
      {"the terminator", std::string(1, '\0'), 1, 0, 0, 0, 1, 1},
      {"an overlong zero", "\xC0\x80", 2, 0, 2, 0, 2, 1},
      {"three bytes", "\xE2\x82\xAC", 3, 0x20AC, 3, 0, 3, 1},
      {"the replacement character", "\xEF\xBF\xBD", 3, '?', 3, 0, 3, 1},
      {"cut off", "\xE2\x82\xAC", 2, 0, 3, 1609, 1, 0},
      {"malformed", "\xE2(x", 3, 0xE2, 0xFFFFFFFF, 0, 1, 1},
      {"malformed at its last byte", "\xE2\x82(", 3, 0xE2, 0xFFFFFFFF, 0, 1, 1},
      {"an invalid byte", "\x80", 1, 0x80, 1, 0, 1, 1},
  };
  for (const Sequence& row : rows) {
    SCOPED_TRACE(row.name);
    const char* position = row.bytes.data();
    std::uint32_t code_point = 9, consumed = 9, status = 0;
    EXPECT_EQ(ConvertFrom8(&code_point, &position, row.remaining, &status, &consumed), row.result);
    EXPECT_EQ(code_point, row.code_point);
    EXPECT_EQ(consumed, row.consumed);
    EXPECT_EQ(status, row.status);
    EXPECT_EQ(position - row.bytes.data(), row.advance);
  }
  struct {
    const char* name;
    std::uint32_t code_point;
    int capacity;
    std::uint32_t needed, status;
    std::string written;
    int result;
  } const encodings[] = {
      {"fits", 0x20AC, 3, 103, 0, "\xE2\x82\xAC", 1},
      {"does not fit", 0x20AC, 2, 103, 1609, "", 0},
      {"negative capacity", 'a', -1, 101, 1609, "", 0},
      {"longest", 0x7FFFFFFF, 6, 106, 0, "\xFD\xBF\xBF\xBF\xBF\xBF", 1},
      {"too large", 0x80000000, 6, 100, 22, "", 0},
  };
  for (const auto& row : encodings) {
    SCOPED_TRACE(row.name);
    char bytes[8] = {};
    char* position = bytes;
    std::uint32_t needed = 100, status = 0;
    EXPECT_EQ(ConvertTo8(&position, row.capacity, row.code_point, &status, &needed), row.result);
    EXPECT_EQ(std::string(bytes, position), row.written);
    EXPECT_EQ(needed, row.needed);
    EXPECT_EQ(status, row.status);
  }
  char* nowhere = nullptr;
  std::uint32_t needed = 5, status = 0;
  EXPECT_EQ(ConvertTo8(&nowhere, 8, 'a', &status, &needed), 1);
  EXPECT_EQ(ConvertTo8(&nowhere, 8, 0x80000000, &status, &needed), 0);
  EXPECT_EQ(needed, 5U);
  EXPECT_EQ(status, 22U);
}

}  // namespace
}  // namespace zvrt_test
