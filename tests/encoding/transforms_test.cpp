// The exported transforms against a naive reference: every code point, every short sequence, every pair of units, and
// random text at every capacity on guarded memory.
#include <gtest/gtest.h>

#include <random>

#include "ZVRTDataCnvLib.h"
#include "encoding/reference.h"
#include "support/guarded_buffer.h"

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

template <class Unit>
void append(std::string& bytes, std::uint32_t unit) {
  const auto value = static_cast<Unit>(unit);
  bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

template <class Unit>
std::string units(const CodePoints& values) {
  std::string bytes;
  for (const std::uint32_t value : values) append<Unit>(bytes, value);
  return bytes;
}

template <class Unit>
CodePoints values(const std::string& bytes) {
  CodePoints list;
  for (std::size_t i = 0; i + sizeof(Unit) <= bytes.size(); i += sizeof(Unit)) {
    Unit unit;
    std::memcpy(&unit, bytes.data() + i, sizeof unit);
    list.push_back(unit);
  }
  return list;
}

// A null destination is told as a capacity below 0.
constexpr int null_destination = -1;

Outcome reference_8_to_32(const std::string& src, int capacity) {
  const Decoded text = decode(src);
  Outcome outcome{"", static_cast<std::uint32_t>(text.characters.size()), text.cut_off ? 1609U : 0U};
  for (std::size_t i = 0; capacity >= 0 && i < text.characters.size(); ++i) {
    if (static_cast<int>(i) < capacity) {
      append<std::uint32_t>(outcome.bytes, text.characters[i]);
    } else {
      outcome.status = 1609;
    }
  }
  return outcome;
}

void append_utf16(std::string& bytes, std::uint32_t character) {
  if (character < 0x10000) return append<std::uint16_t>(bytes, character);
  append<std::uint16_t>(bytes, 0xD800 + (character - 0x10000) / 1024);
  append<std::uint16_t>(bytes, 0xDC00 + (character - 0x10000) % 1024);
}

Outcome reference_8_to_16(const std::string& src, int capacity) {
  const Decoded text = decode(src);
  Outcome outcome;
  for (const std::uint32_t character : text.characters) {
    if (character > 0x10FFFF) {
      outcome.status = 22;
      return outcome;
    }
    outcome.count += character < 0x10000 ? 1 : 2;
    if (capacity < 0) continue;
    if (static_cast<int>(outcome.count) > capacity) outcome.status = 1609;
    if (outcome.status == 0) append_utf16(outcome.bytes, character);
  }
  if (text.cut_off) outcome.status = 1609;
  return outcome;
}

void encode_into(Outcome& outcome, std::uint32_t character, int capacity) {
  if (character >= 0x80000000) {
    outcome.status = 22;
    return;
  }
  if (capacity < 0) return;
  const std::string form = encode(character);
  outcome.count += static_cast<std::uint32_t>(form.size());
  if (static_cast<int>(outcome.count) <= capacity) {
    outcome.bytes += form;
  } else {
    outcome.status = 1609;
  }
}

Outcome reference_32_to_8(const std::string& src, int capacity) {
  Outcome outcome;
  for (const std::uint32_t character : values<std::uint32_t>(src)) {
    if (character == 0) break;
    encode_into(outcome, character, capacity);
  }
  return outcome;
}

// The code points of a UTF-16 text up to its end, its terminator or a broken surrogate.
struct Paired {
  CodePoints characters;
  bool broken = false;
};

Paired pair_up(const std::string& src) {
  Paired paired;
  const CodePoints list = values<std::uint16_t>(src);
  for (std::size_t i = 0; i < list.size() && list[i] != 0; ++i) {
    const auto within = [](std::uint32_t unit, std::uint32_t first) { return unit >= first && unit < first + 0x400; };
    if (within(list[i], 0xD800) && i + 1 < list.size() && within(list[i + 1], 0xDC00)) {
      paired.characters.push_back((list[i] - 0xD800) * 0x400 + (list[i + 1] - 0xDC00) + 0x10000);
      ++i;
    } else if (list[i] >= 0xD800 && list[i] <= 0xDFFF) {
      paired.broken = true;
      return paired;
    } else {
      paired.characters.push_back(list[i]);
    }
  }
  return paired;
}

Outcome reference_16_to_8(const std::string& src, int capacity) {
  const Paired text = pair_up(src);
  Outcome outcome;
  for (const std::uint32_t character : text.characters) encode_into(outcome, character, capacity);
  if (text.broken) outcome.status = 22;
  return outcome;
}

Outcome reference_16_to_32(const std::string& src, int capacity) {
  const Paired text = pair_up(src);
  const auto whole = static_cast<int>(text.characters.size());
  const bool fits = capacity < 0 || whole <= capacity;
  Outcome outcome;
  outcome.count = static_cast<std::uint32_t>(fits ? whole : capacity);
  outcome.status = !fits ? 1609 : text.broken ? 22 : 0;
  if (capacity < 0) return outcome;
  for (std::uint32_t i = 0; i < outcome.count; ++i) append<std::uint32_t>(outcome.bytes, text.characters[i]);
  if (outcome.status == 0 && whole < capacity) append<std::uint32_t>(outcome.bytes, 0);
  return outcome;
}

Outcome reference_32_to_16(const std::string& src, int capacity) {
  Outcome outcome;
  for (const std::uint32_t character : values<std::uint32_t>(src)) {
    if (character == 0) break;
    const int length = character < 0x10000 ? 1 : 2;
    const bool carried = character <= 0x10FFFF && (character < 0xD800 || character > 0xDFFF);
    if (!carried || (capacity >= 0 && static_cast<int>(outcome.count) + length > capacity)) {
      outcome.status = carried ? 1609 : 22;
      return outcome;
    }
    if (capacity >= 0) append_utf16(outcome.bytes, character);
    outcome.count += static_cast<std::uint32_t>(length);
  }
  if (capacity >= 0 && static_cast<int>(outcome.count) < capacity) append<std::uint16_t>(outcome.bytes, 0);
  return outcome;
}

template <class Dst, class Src>
const Src* source(const void* src) {
  return static_cast<const Src*>(src);
}

struct Transform {
  const char* name;
  int src_unit, dst_unit;
  std::uint32_t (*convert)(const void* src, int length, void* dst, int capacity, std::uint32_t* count);
  Outcome (*reference)(const std::string& src, int capacity);
};

using Wide = wchar_t;
using Half = std::uint16_t;

const Transform transforms[] = {
    {"Convert8To32", 1, 4,
     [](const void* s, int n, void* d, int c, std::uint32_t* out) {
       return Convert8To32(static_cast<Wide*>(d), c, static_cast<const char*>(s), n, out);
     },
     reference_8_to_32},
    {"Convert8To16", 1, 2,
     [](const void* s, int n, void* d, int c, std::uint32_t* out) {
       return Convert8To16(static_cast<Half*>(d), c, static_cast<const char*>(s), n, out);
     },
     reference_8_to_16},
    {"Convert32To8", 4, 1,
     [](const void* s, int n, void* d, int c, std::uint32_t* out) {
       return Convert32To8(static_cast<char*>(d), c, static_cast<const Wide*>(s), n, out);
     },
     reference_32_to_8},
    {"Convert16To8", 2, 1,
     [](const void* s, int n, void* d, int c, std::uint32_t* out) {
       return Convert16To8(static_cast<char*>(d), c, static_cast<const Half*>(s), n, out);
     },
     reference_16_to_8},
    {"Convert16To32", 2, 4,
     [](const void* s, int n, void* d, int c, std::uint32_t* out) {
       return Convert16To32(static_cast<const Half*>(s), n, static_cast<Wide*>(d), c, out);
     },
     reference_16_to_32},
    {"Convert32To16", 4, 2,
     [](const void* s, int n, void* d, int c, std::uint32_t* out) {
       return Convert32To16(static_cast<const Wide*>(s), n, static_cast<Half*>(d), c, out);
     },
     reference_32_to_16},
};

const Transform& transform(const std::string& name) {
  return *std::find_if(std::begin(transforms), std::end(transforms),
                       [&](const Transform& t) { return t.name == name; });
}

// Source and destination flush against pages that cannot be touched, whatever their alignment then is.
class Bench {
 public:
  testing::AssertionResult agrees(const Transform& t, const std::string& src, int capacity) {
    unsigned char* const from = source_.tail(src.size());
    std::memcpy(from, src.data(), src.size());
    const auto bytes = static_cast<std::size_t>(std::max(capacity, 0) * t.dst_unit);
    unsigned char* const into = destination_.tail(bytes);
    const std::size_t before = std::min<std::size_t>(destination_.size() - bytes, 16);
    std::memset(into - before, GuardedBuffer::mark, bytes + before);
    Outcome outcome;
    outcome.count = 0xDEADBEEF;
    outcome.status = t.convert(from, static_cast<int>(src.size()) / t.src_unit,
                               capacity == null_destination ? nullptr : into, std::max(capacity, 0), &outcome.count);
    const Outcome expected = t.reference(src, capacity);
    outcome.bytes.assign(reinterpret_cast<const char*>(into), std::min(expected.bytes.size(), bytes));
    const auto marked = [](unsigned char byte) { return byte == GuardedBuffer::mark; };
    const bool untouched =
        std::all_of(into + outcome.bytes.size(), into + bytes, marked) && std::all_of(into - before, into, marked);
    if (outcome == expected && untouched) return testing::AssertionSuccess();
    auto failure = testing::AssertionFailure() << t.name << " capacity " << capacity << ", status " << outcome.status
                                               << " for " << expected.status << ", count " << outcome.count << " for "
                                               << expected.count << (untouched ? "" : ", wrote too much") << ", source";
    for (const char c : src) failure << ' ' << std::hex << static_cast<int>(static_cast<unsigned char>(c));
    return failure;
  }

  void expect_at_every_capacity(const Transform& t, const std::string& src) {
    const auto needed = static_cast<int>(t.reference(src, null_destination).count);
    const int most = std::max(needed, static_cast<int>(t.reference(src, 1 << 20).count)) + 8;
    for (int capacity = null_destination; capacity <= most; ++capacity) {
      ASSERT_TRUE(agrees(t, src, capacity));
    }
  }

 private:
  GuardedBuffer source_{4096};
  GuardedBuffer destination_{16384};
};

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
    wchar_t wide[4] = {-1, -1, -1, -1};
    std::uint32_t count = 99;
    const std::uint32_t status = Convert8To32(wide, 4, src.data(), 3, &count);
    // The shorter sequences are the ones that end in zeros.
    const Outcome expected = t.reference(src, 4);
    ASSERT_EQ(status, expected.status) << std::hex << bytes;
    ASSERT_EQ(count, expected.count) << std::hex << bytes;
    ASSERT_EQ(0, std::memcmp(wide, expected.bytes.data(), expected.bytes.size())) << std::hex << bytes;
    ASSERT_EQ(wide[3], -1);
  }
}

TEST(Transforms, EveryUtf16UnitAloneAndBesideEverySurrogate) {
  const auto check = [](Half first, Half second, int length) {
    const Half src[] = {first, second};
    const std::string bytes(reinterpret_cast<const char*>(src), static_cast<std::size_t>(length) * 2);
    wchar_t wide[3] = {-1, -1, -1};
    std::uint32_t count = 99;
    const std::uint32_t status = Convert16To32(src, length, wide, 3, &count);
    // The definition, spelled out for two units.
    const bool high = (first & 0xFC00) == 0xD800, low = (first & 0xFC00) == 0xDC00;
    const bool second_low = (second & 0xFC00) == 0xDC00, second_high = (second & 0xFC00) == 0xD800;
    const bool broken = low || (high && (length < 2 || !second_low)) ||
                        (!high && first != 0 && length == 2 && (second_low || second_high));
    ASSERT_EQ(status, broken ? 22U : 0U) << first << ' ' << second;
    if (broken) return;
    const Outcome expected = reference_16_to_32(bytes, 3);
    ASSERT_EQ(count, expected.count) << first << ' ' << second;
    ASSERT_EQ(0, std::memcmp(wide, expected.bytes.data(), expected.bytes.size())) << first << ' ' << second;
  };
  for (std::uint32_t unit = 0; unit < 0x10000; ++unit) check(static_cast<Half>(unit), 0, 1);
  Bench bench;
  for (std::uint32_t unit = 0; unit < 0x10000; unit += stride) {
    for (std::uint32_t surrogate = 0xD800; surrogate < 0xE000; surrogate += unit % 16 == 0 ? 1U : 127U) {
      check(static_cast<Half>(unit), static_cast<Half>(surrogate), 2);
      check(static_cast<Half>(surrogate), static_cast<Half>(unit), 2);
    }
    ASSERT_TRUE(bench.agrees(transform("Convert16To8"), units<Half>({unit, 0xDC00 + unit % 0x400}), 8));
  }
}

// Pieces that meet every rule: ordinary text of each length, terminators, overlong, malformed and cut-off sequences,
// surrogates, the replacement character, values that an encoding cannot carry.
const std::vector<std::string> utf8_pieces = {"a",
                                              "some ascii text ",
                                              "\xC3\xA9",
                                              "\xE2\x82\xAC",
                                              "\xF0\x9F\x98\x80",
                                              "\xF8\x88\x80\x80\x80",
                                              "\xFC\x84\x80\x80\x80\x80",
                                              "\xC0\x80",
                                              "\xE0\x80\x80",
                                              "\xC3(",
                                              "\xE2\x82",
                                              "\x80",
                                              "\xFE",
                                              "\xFF",
                                              "\xED\xA0\x80",
                                              "\xEF\xBF\xBD",
                                              "\xF4\x90\x80\x80",
                                              "\xC1\xA1",
                                              std::string(1, '\0')};
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
    // Ordinary pieces come first in each list; how many of them may be chosen decides how soon a text meets its end.
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
      bench.expect_at_every_capacity(t, t.src_unit == 1 ? narrow : t.src_unit == 2 ? half : wide);
      if (HasFatalFailure()) return;
    }
  }
}

TEST(Transforms, AsciiRunsOfEveryLengthAndStoppingPlace) {
  const std::vector<std::string> stops = {std::string(1, '\0'), "\x80", "\xC3\xA9", "\xE2\x82\xAC", "\xC3"};
  Bench bench;
  for (std::size_t length = 0; length <= 70; ++length) {
    for (std::size_t stop = 0; stop <= length; ++stop) {
      std::string src(length, ' ');
      for (std::size_t i = 0; i < length; ++i) src[i] = static_cast<char>('!' + i);
      if (stop < length) src.replace(stop, 1, stops[(length + stop) % stops.size()]);
      const int capacity = static_cast<int>((length * 7 + stop) % (length + 3));
      ASSERT_TRUE(bench.agrees(transform("Convert8To32"), src, capacity));
      CodePoints wide(src.begin(), src.begin() + static_cast<std::ptrdiff_t>(length));
      if (stop < length) wide[stop] = wide_pieces[(length + stop) % wide_pieces.size()];
      ASSERT_TRUE(bench.agrees(transform("Convert32To8"), units<std::uint32_t>(wide), capacity));
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
    EXPECT_EQ(t.convert("a\0\0\0\0\0\0\0", 1, back, -4, &count), 1609U) << t.name;
  }
}

struct Sequence {
  const char* name;
  std::string bytes;
  int remaining;
  std::uint32_t code_point, consumed, status;
  int moved, result;
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
      {"a stray byte", "\x80", 1, 0x80, 1, 0, 1, 1},
  };
  for (const Sequence& row : rows) {
    SCOPED_TRACE(row.name);
    const char* position = row.bytes.data();
    std::uint32_t code_point = 9, consumed = 9, status = 0;
    EXPECT_EQ(ConvertFrom8(&code_point, &position, row.remaining, &status, &consumed), row.result);
    EXPECT_EQ(code_point, row.code_point);
    EXPECT_EQ(consumed, row.consumed);
    EXPECT_EQ(status, row.status);
    EXPECT_EQ(position - row.bytes.data(), row.moved);
  }
  struct {
    const char* name;
    std::uint32_t code_point;
    int room;
    std::uint32_t needed, status;
    std::string written;
    int result;
  } const encodings[] = {
      {"fits", 0x20AC, 3, 103, 0, "\xE2\x82\xAC", 1}, {"does not fit", 0x20AC, 2, 103, 1609, "", 0},
      {"negative room", 'a', -1, 101, 1609, "", 0},   {"longest", 0x7FFFFFFF, 6, 106, 0, "\xFD\xBF\xBF\xBF\xBF\xBF", 1},
      {"too large", 0x80000000, 6, 100, 22, "", 0},
  };
  for (const auto& row : encodings) {
    SCOPED_TRACE(row.name);
    char bytes[8] = {};
    char* position = bytes;
    std::uint32_t needed = 100, status = 0;
    EXPECT_EQ(ConvertTo8(&position, row.room, row.code_point, &status, &needed), row.result);
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
