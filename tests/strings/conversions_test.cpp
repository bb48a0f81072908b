// The 21 conversions against a plain model of what a call leaves in every byte of its destination, at every capacity,
// on guarded memory.
#include <gtest/gtest.h>

#include <random>

#include "strings/conversion_model.h"

namespace zvrt_test {
namespace {

TEST(Conversions, EveryMemberAtEveryCapacity) {
  // clang-format off
  const std::vector<std::string> narrow = {
      "", "a", "abc", "ab\xE2\x82\xAC", "\xD0\xBF\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82", "caf\xC3\xA9 au lait",
      "\xF0\x9F\x98\x80x\xF0\x9F\x98\x81", "a\xC3", "\xC3(", "ok\xE2\x82zz", std::string("\0ab", 3),
      std::string("ab\0cd", 5), "x\xEF\xBF\xBDy", "\xC0\x80z", "A\200B",
      "a text of more than sixteen bytes \xE4\xB8\xAD\xE6\x96\x87 and on"};
  // clang-format on
  // clang-format off
  const std::vector<std::vector<std::uint32_t>> wide_texts = {
      {}, {'a'}, {'a', 'b', 'c'}, {'a', 'b', 0x20AC}, {0x41F, 0x440, 0x438}, {0x4E2D, 0x6587, 'x'},
      {0x1F600, 'x', 0x1F601}, {'a', 0, 'b', 'c'}, {0, 'a'}, {'a', 0x80000000, 'b'}, {0xFFFFFFFF},
      {0xD800, 0xFFFD}, {0x7FFFFFFF, 'a'},
      {'a', ' ', 't', 'e', 'x', 't', ' ', 'o', 'f', ' ', 's', 'i', 'x', 't', 'e', 'e', 'n', '+', 0xE9, 'z'}};
  // clang-format on
  Arena arena;
  for (const Member& member : members) {
    if (is_wide(member.from)) {
      for (const auto& text : wide_texts) ASSERT_TRUE(arena.agrees_at_every_size(member, source_of(member.from, text)));
    } else {
      for (const auto& text : narrow) {
        ASSERT_TRUE(arena.agrees_at_every_size(member, source_of(member.from, bytes_as_units(text))));
      }
    }
  }
}

TEST(Conversions, RandomTextOfUsualLengths) {
  Arena arena;
  std::mt19937 random(7);
  const std::uint32_t alphabets[][3] = {
      {' ', '~', 0}, {0xA0, 0x17F, 0}, {0x400, 0x45F, 0}, {0x4E00, 0x9FFF, 0}, {0x1F300, 0x1F6FF, 0}};
  for (int round = 0; round < 4000; ++round) {
    CodePoints text;
    const std::size_t length = random() % 90;
    const bool mixed = random() % 3 == 0;
    const std::size_t script = random() % 5;
    for (std::size_t i = 0; i < length; ++i) {
      const auto& range = alphabets[mixed && random() % 4 == 0 ? random() % 5 : random() % 8 == 0 ? 0 : script];
      text.push_back(static_cast<std::uint32_t>(range[0] + random() % (range[1] - range[0] + 1)));
    }
    std::string bytes;
    for (const std::uint32_t character : text) bytes += encode(character);
    if (random() % 16 == 0 && !bytes.empty()) bytes[random() % bytes.size()] = static_cast<char>(random());
    for (const Member& member : members) {
      const Source source = source_of(member.from, is_wide(member.from) ? text : bytes_as_units(bytes));
      const auto size = static_cast<std::int32_t>(random() % ((text.size() + 3) * 4));
      ASSERT_TRUE(arena.agrees(member, source, size, random() % 2 == 0));
    }
  }
}

// Long text: the heap's side of the temporaries, and no prefix that a reader would take for a negative one.
TEST(Conversions, TextAtTheLimitsOfAPrefix) {
  Arena arena;
  for (const Member& member : members) {
    const std::size_t largest = is_prefixed(member.from) ? (is_wide(member.from) ? 8191 : 32767) : 40000;
    for (const std::size_t length : {std::size_t{1023}, std::size_t{1024}, std::size_t{8191}, std::size_t{8192},
                                     std::size_t{32767}, std::size_t{32768}, largest}) {
      const Source source = source_of(member.from, std::vector<std::uint32_t>(std::min(length, largest), 'x'));
      for (const std::int32_t size : {100, 32769, 32770, 200000})
        ASSERT_TRUE(arena.agrees(member, source, size, false));
    }
  }
}

TEST(Conversions, LengthsThatTheCallerGivesWrong) {
  char text[] = "abcdefgh";
  alignas(4) char out[64];
  for (const Member& member : members) {
    const bool given = member.from == Kind::chars || member.from == Kind::wchars;
    if (!given && !is_prefixed(member.from)) continue;
    for (const std::int32_t length : {0, -1, -4, INT32_MIN, 1, 3}) {
      const bool empty = length <= 0 || (is_wide(member.from) && length < 4);
      if (!empty) continue;
      std::memset(out, 0x5A, sizeof out);
      std::uint32_t out_len = 4711;
      std::int32_t src_len = length;
      const std::string prefixed = prefix_of(static_cast<std::uint16_t>(length)) + "abcdef";
      if (is_prefixed(member.from)) src_len = 0;
      EXPECT_EQ(member.convert(given ? text : prefixed.data(), &src_len, out, sizeof out, &out_len, nullptr), 30U)
          << member.name;
      const bool promised = member.departures.reports_empty && given && length > 0;
      EXPECT_EQ(out_len, promised ? 0U : 4711U) << member.name << ' ' << length;
      EXPECT_EQ(src_len, is_prefixed(member.from) ? 0 : length) << member.name;
      EXPECT_EQ(out[0], 0x5A) << member.name;
    }
    if (!given) continue;
    std::uint32_t out_len = 4711;
    EXPECT_EQ(member.convert(text, nullptr, out, sizeof out, &out_len, nullptr), 30U) << member.name;
    EXPECT_EQ(out_len, 4711U) << member.name;
  }
}

TEST(Conversions, ASourceLengthThatIsThereIsLeftAlone) {
  for (const Member& member : members) {
    if (member.from == Kind::chars || member.from == Kind::wchars) continue;
    const Source source = source_of(member.from, {'a', 'b'});
    std::int32_t src_len = 17;
    char out[64];
    std::uint32_t out_len = 0;
    EXPECT_EQ(member.convert(source.buffer.data(), &src_len, out, sizeof out, &out_len, nullptr), 0U) << member.name;
    EXPECT_EQ(src_len, 17) << member.name;
  }
}

}  // namespace
}  // namespace zvrt_test
