// The 21 conversions against a plain model of what a call leaves in every byte of its destination, at every capacity,
// on guarded memory.
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <random>

#include "ZVRTDataCnvLib.h"
#include "encoding/reference.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {
namespace {

enum class Kind { chars, varchar, sz, wchars, wvarchar, wsz };
constexpr bool is_wide(Kind kind) { return kind == Kind::wchars || kind == Kind::wvarchar || kind == Kind::wsz; }
constexpr bool is_prefixed(Kind kind) { return kind == Kind::varchar || kind == Kind::wvarchar; }

// What becomes of text that fills the destination exactly.
enum class Full { no_terminator_needed, terminator_missing_ok, terminator_missing_1609, last_replaced_1609 };

// One row a member: how it differs from its siblings, as its documentation tells it.
struct Member {
  const char* name;
  ZVRTConversion* convert;
  Kind from, into;
  bool accepts_empty;
  Full full;
  bool counts_copied = false;  // lengths are those of what was copied
  bool out_in_bytes = false;
  bool zero_ends_field = false;  // the rest of a wide field behind a zero character becomes zeros
  bool composed = false;
};

constexpr Full ok = Full::terminator_missing_ok, strict = Full::terminator_missing_1609,
               last = Full::last_replaced_1609, field = Full::no_terminator_needed;
const Member members[] = {
    {"CharToVarcharSz", ZVRTCnvCharToVarcharSz, Kind::chars, Kind::sz, false, strict, true},
    {"CharToWVarcharSz", ZVRTCnvCharToWVarcharSz, Kind::chars, Kind::wsz, false, last},
    {"WCharToVarcharSz", ZVRTCnvWCharToVarcharSz, Kind::wchars, Kind::sz, false, ok, false, false, false, true},
    {"WCharToWVarcharSz", ZVRTCnvWCharToWVarcharSz, Kind::wchars, Kind::wsz, false, last, false, false, true},
    {"VarcharToVarcharSz", ZVRTCnvVarcharToVarcharSz, Kind::varchar, Kind::sz, false, ok},
    {"VarcharToWVarcharSz", ZVRTCnvVarcharToWVarcharSz, Kind::varchar, Kind::wsz, false, last},
    {"WVarcharToVarcharSz", ZVRTCnvWVarcharToVarcharSz, Kind::wvarchar, Kind::sz, false, ok, false, false, false, true},
    {"WVarcharToWVarcharSz", ZVRTCnvWVarcharToWVarcharSz, Kind::wvarchar, Kind::wsz, false, last},
    {"VarcharSzToVarcharSz", ZVRTCnvVarcharSzToVarcharSz, Kind::sz, Kind::sz, true, strict, true},
    {"VarcharSzToWVarcharSz", ZVRTCnvVarcharSzToWVarcharSz, Kind::sz, Kind::wsz, false, last},
    {"WVarcharSzToWVarcharSz", ZVRTCnvWVarcharSzToWVarcharSz, Kind::wsz, Kind::wsz, false, last},
    {"WVarcharSzToWVarcharSzOut", ZVRTCnvWVarcharSzToWVarcharSzOut, Kind::wsz, Kind::wsz, false, last, false, true},
    {"VarcharSzToChar", ZVRTCnvVarcharSzToChar, Kind::sz, Kind::chars, true, field, true},
    {"WVarcharSzToChar", ZVRTCnvWVarcharSzToChar, Kind::wsz, Kind::chars, true, field},
    {"VarcharSzToWChar", ZVRTCnvVarcharSzToWChar, Kind::sz, Kind::wchars, false, field},
    {"WVarcharSzToWChar", ZVRTCnvWVarcharSzToWChar, Kind::wsz, Kind::wchars, false, field},
    {"VarcharSzToVarchar", ZVRTCnvVarcharSzToVarchar, Kind::sz, Kind::varchar, true, field},
    {"WVarcharSzToVarchar", ZVRTCnvWVarcharSzToVarchar, Kind::wsz, Kind::varchar, true, field},
    {"VarcharSzToWVarchar", ZVRTCnvVarcharSzToWVarchar, Kind::sz, Kind::wvarchar, true, field},
    {"WVarcharSzToWVarchar", ZVRTCnvWVarcharSzToWVarchar, Kind::wsz, Kind::wvarchar, false, field},
    {"WVarcharSzToVarcharSz", ZVRTCnvWVarcharSzToVarcharSz, Kind::wsz, Kind::sz, true, ok},
};

std::string prefix_of(std::size_t bytes) { return {static_cast<char>(bytes & 0xFF), static_cast<char>(bytes >> 8)}; }
std::string wide(const CodePoints& text) { return {reinterpret_cast<const char*>(text.data()), text.size() * 4}; }

// A source: its buffer, its length as the caller tells it, and its units.
struct Source {
  std::string buffer;
  std::optional<std::int32_t> told;
  std::vector<std::uint32_t> units;
};

Source source_of(Kind kind, const std::vector<std::uint32_t>& text) {
  std::vector<std::uint32_t> units = text;
  if (kind == Kind::sz || kind == Kind::wsz) units.erase(std::find(units.begin(), units.end(), 0U), units.end());
  const std::string bytes = is_wide(kind) ? wide(units) : std::string(units.begin(), units.end());
  switch (kind) {
    case Kind::chars:
    case Kind::wchars: return {bytes, static_cast<std::int32_t>(bytes.size()), units};
    case Kind::varchar:
    case Kind::wvarchar: return {prefix_of(bytes.size()) + bytes, 0, units};
    case Kind::sz: return {bytes + '\0', 0, units};
    case Kind::wsz: return {bytes + std::string(4, '\0'), 0, units};
  }
  return {};
}

struct Expected {
  std::uint32_t status = 0;
  std::optional<std::uint32_t> out_len;
  std::int32_t src_len = 0;
  std::string written;  // the leading bytes of the destination
};

// What moving the source's units into `room` units gives: units needed, those that are there, and the step's status.
struct Step {
  std::vector<std::uint32_t> there;
  std::size_t needed = 0;
  std::uint32_t status = 0;
};

Step step_of(const Member& member, std::vector<std::uint32_t> units, std::size_t room) {
  Step step;
  const auto until_zero = [&units] { units.erase(std::find(units.begin(), units.end(), 0U), units.end()); };
  if (member.composed) until_zero();
  if (is_wide(member.from) == is_wide(member.into)) {
    step.needed = units.size();
    if (member.counts_copied) step.needed = std::min(units.size(), room + 1);
    if (member.zero_ends_field) {
      const std::size_t length = units.size();
      until_zero();
      units.resize(length, 0);
    }
    units.resize(std::min(units.size(), room));
    step.there = units;
    return step;
  }
  if (is_wide(member.into)) {
    const Decoded text = decode(std::string(units.begin(), units.end()));
    step.needed = text.characters.size();
    step.there = text.characters;
    step.there.resize(std::min(step.needed, room));
    step.status = text.cut_off || step.needed > room ? 1609 : 0;
    return step;
  }
  until_zero();
  for (const std::uint32_t character : units) {
    if (character >= 0x80000000) {
      step.status = 22;
      continue;
    }
    const std::string form = encode(character);
    step.needed += form.size();
    if (step.needed <= room) {
      step.there.insert(step.there.end(), form.begin(), form.end());
    } else {
      step.status = 1609;
    }
  }
  return step;
}

Expected model(const Member& member, const Source& source, std::int32_t dst_size) {
  Expected expected;
  expected.src_len = source.told.value_or(0);
  const bool carries_length = member.from != Kind::chars && member.from != Kind::wchars;
  if (source.units.empty() && !member.accepts_empty) return {30, {}, expected.src_len, ""};
  if (is_prefixed(member.into) && dst_size < 2) return {1609, {}, expected.src_len, ""};
  const std::size_t unit = is_wide(member.into) ? 4 : 1;
  const std::size_t header = is_prefixed(member.into) ? 2 : 0;
  std::size_t room = dst_size < 0 ? 0 : (static_cast<std::size_t>(dst_size) - header) / unit;
  if (header > 0) room = std::min<std::size_t>(room, unit == 4 ? 8191 : 32767);

  Step step = step_of(member, source.units, room);
  expected.status = step.status;
  std::vector<std::uint32_t> content = step.there;
  const bool copies = is_wide(member.from) == is_wide(member.into);
  if (step.status == 0) {
    if (step.needed > room) {
      expected.status = 1609;
    } else if (step.needed == room) {
      expected.status = member.full == strict || member.full == last ? 1609 : 0;
      if (member.full == last && room > 0) content.back() = 0;
    } else if (member.full != field) {
      content.push_back(0);
    }
  }
  const std::string bytes = unit == 4 ? wide(content) : std::string(content.begin(), content.end());
  expected.written = (header > 0 ? prefix_of(step.there.size() * unit) : "") + bytes;

  const std::size_t told = member.counts_copied ? std::min(step.needed, room) : step.needed;
  const bool counts_characters = member.into == Kind::wsz && !member.out_in_bytes;
  expected.out_len = static_cast<std::uint32_t>(counts_characters ? told : told * unit + header);
  if (carries_length && expected.src_len == 0) {
    const std::size_t n = member.counts_copied && copies ? told : source.units.size();
    expected.src_len =
        static_cast<std::int32_t>(n * (is_wide(member.from) ? 4 : 1) + (is_prefixed(member.from) ? 2 : 0));
  }
  return expected;
}

class Arena {
 public:
  testing::AssertionResult agrees(const Member& member, const Source& source, std::int32_t dst_size,
                                  bool null_src_len) {
    unsigned char* const from = source_.tail(source.buffer.size());
    std::memcpy(from, source.buffer.data(), source.buffer.size());
    const auto size = static_cast<std::size_t>(std::max(dst_size, 0));
    unsigned char* const into = destination_.tail(size);
    const std::size_t before = std::min<std::size_t>(destination_.size() - size, 16);
    std::memset(into - before, GuardedBuffer::mark, size + before);
    constexpr std::uint32_t untouched = 0xDEADBEEF;
    std::uint32_t out_len = untouched;
    std::int32_t src_len = source.told.value_or(0);
    const bool needs_length = member.from == Kind::chars || member.from == Kind::wchars;
    const bool without = null_src_len && !needs_length;
    const std::uint32_t status = member.convert(from, without ? nullptr : &src_len, into, dst_size, &out_len, nullptr);
    Expected expected = model(member, source, dst_size);
    if (without) expected.src_len = src_len;

    std::string written(into, into + size);
    std::string wanted = expected.written;
    wanted.resize(size, static_cast<char>(GuardedBuffer::mark));
    const bool clean = std::all_of(into - before, into, [](unsigned char b) { return b == GuardedBuffer::mark; });
    if (status == expected.status && out_len == expected.out_len.value_or(untouched) && src_len == expected.src_len &&
        written == wanted && clean) {
      return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << member.name << " dstSize " << dst_size << ": status " << status << " for "
                                       << expected.status << ", outLen " << out_len << " for "
                                       << expected.out_len.value_or(untouched) << ", srcLen " << src_len << " for "
                                       << expected.src_len << (written == wanted ? "" : ", other bytes") << ", source "
                                       << testing::PrintToString(source.units);
  }

  testing::AssertionResult agrees_at_every_size(const Member& member, const Source& source) {
    const std::int32_t most = static_cast<std::int32_t>(source.units.size()) * 6 + 12;
    for (std::int32_t size = -5; size <= most * (is_wide(member.into) ? 4 : 1); ++size) {
      if (auto result = agrees(member, source, size, size % 3 == 0); !result) return result;
    }
    return testing::AssertionSuccess();
  }

 private:
  GuardedBuffer source_{1 << 18};
  GuardedBuffer destination_{1 << 18};
};

std::vector<std::uint32_t> bytes_as_units(const std::string& bytes) {
  std::vector<std::uint32_t> units;
  for (const char c : bytes) units.push_back(static_cast<unsigned char>(c));
  return units;
}

TEST(Conversions, EveryMemberAtEveryCapacity) {
  const std::vector<std::string> narrow = {"",
                                           "a",
                                           "abc",
                                           "ab\xE2\x82\xAC",
                                           "\xD0\xBF\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82",
                                           "caf\xC3\xA9 au lait",
                                           "\xF0\x9F\x98\x80x\xF0\x9F\x98\x81",
                                           "a\xC3",
                                           "\xC3(",
                                           "ok\xE2\x82zz",
                                           std::string("\0ab", 3),
                                           std::string("ab\0cd", 5),
                                           "x\xEF\xBF\xBDy",
                                           "\xC0\x80z",
                                           "A\x80"
                                           "B",
                                           "a text of more than sixteen bytes \xE4\xB8\xAD\xE6\x96\x87 and on"};
  const std::vector<std::vector<std::uint32_t>> wide_texts = {
      {},
      {'a'},
      {'a', 'b', 'c'},
      {'a', 'b', 0x20AC},
      {0x41F, 0x440, 0x438},
      {0x4E2D, 0x6587, 'x'},
      {0x1F600, 'x', 0x1F601},
      {'a', 0, 'b', 'c'},
      {0, 'a'},
      {'a', 0x80000000, 'b'},
      {0xFFFFFFFF},
      {0xD800, 0xFFFD},
      {0x7FFFFFFF, 'a'},
      {'a', ' ', 't', 'e', 'x', 't', ' ', 'o', 'f', ' ', 's', 'i', 'x', 't', 'e', 'e', 'n', '+', 0xE9, 'z'}};
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

TEST(Conversions, LengthsThatTheCallerTellsWrong) {
  char text[] = "abcdefgh";
  alignas(4) char out[64];
  for (const Member& member : members) {
    const bool told = member.from == Kind::chars || member.from == Kind::wchars;
    if (!told && !is_prefixed(member.from)) continue;
    for (const std::int32_t length : {0, -1, -4, INT32_MIN, 1, 3}) {
      const bool empty = length <= 0 || (is_wide(member.from) && length < 4);
      if (!empty) continue;
      std::memset(out, 0x5A, sizeof out);
      std::uint32_t out_len = 4711;
      std::int32_t src_len = length;
      char prefixed[8] = {
          static_cast<char>(length & 0xFF), static_cast<char>(length >> 8 & 0xFF), 'a', 'b', 'c', 'd', 'e', 'f'};
      if (is_prefixed(member.from)) src_len = 0;
      EXPECT_EQ(member.convert(told ? text : prefixed, &src_len, out, sizeof out, &out_len, nullptr), 30U)
          << member.name;
      const bool promised = member.composed && told && length > 0;
      EXPECT_EQ(out_len, promised ? 0U : 4711U) << member.name << ' ' << length;
      EXPECT_EQ(src_len, is_prefixed(member.from) ? 0 : length) << member.name;
      EXPECT_EQ(out[0], 0x5A) << member.name;
    }
    if (!told) continue;
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
