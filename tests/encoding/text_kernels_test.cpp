// Every version of the text kernels that this machine can run against the scalar definition, between guard pages.
#include <random>

#include "encoding/text_versions.h"

namespace zvrt_test {
namespace {

std::mt19937& random_numbers() {
  static std::mt19937 generator(20240611);
  return generator;
}
std::uint32_t below(std::size_t end) { return static_cast<std::uint32_t>(random_numbers()() % end); }

std::string form_of(std::uint32_t code_point, std::int32_t length) {
  std::string form(static_cast<std::size_t>(length), '\0');
  encode_utf8(code_point, length, form.data());
  return form;
}

// A character of `length` bytes, overlong forms and surrogates included, but not zero.
std::string character(std::int32_t length) {
  static constexpr std::uint32_t ends[] = {0x80, 0x800, 0x10000, 0x200000, 0x4000000, 0x80000000};
  return form_of(1 + below(ends[length - 1] - 1), length);
}

// What leaves the kernels: zeros in every length, long forms, invalid, missing and cut continuation bytes; and what only
// looks as if it did.
const std::vector<std::string>& oddities() {
  // clang-format off
  static const std::vector<std::string> all{
      std::string(1, '\0'), "\xC0\x80", "\xE0\x80\x80", "\xF0\x80\x80\x80", "\xF8\x80\x80\x80\x80", "\x80", "\xBF",
      "\xFE", "\xFF", "\xC3(", "\xE4\xB8(", "\xF0\x9F\x98(", "\xF9\x80\x80\x80\x80", "\xF7\xBF\xBF\xBF",
      "\xFD\xBF\xBF\xBF\xBF\xBF", "\xEF\xBF\xBD", "\xE0\x80\x81", "\xD0\x80", "\xED\xA0\x80", "\xC3\xC3\xA9",
      "\xC0\xC3\xA9", "\xE4\xF0\x9F\x98", "a\x80\x80\x80\x80"};
  // clang-format on
  return all;
}
const std::string& oddity() { return oddities()[below(oddities().size())]; }

// From one in ten characters of a text to nine are ASCII.
std::uint32_t ascii_share() { return 1 + below(9); }

// Bytes of texts in one script or several, with an oddity in one of `rarity` characters, or none for 0.
std::string narrow_text(std::size_t bytes, unsigned script, std::uint32_t rarity) {
  std::string text;
  const std::uint32_t ascii = ascii_share();
  while (text.size() < bytes) {
    const std::int32_t length =
        script < 4 ? static_cast<std::int32_t>(script) + 1 : 1 + static_cast<std::int32_t>(below(4));
    text += rarity != 0 && below(rarity) == 0 ? oddity() : character(below(10) < ascii ? 1 : length);
  }
  text.resize(bytes);
  return text;
}

std::string wide_text(std::size_t units, unsigned script, std::uint32_t rarity) {
  static constexpr Wide ends[] = {0x80, 0x800, 0x10000, 0x200000};
  static constexpr Wide odd[] = {0,          0x200000,   0x3FFFFFF, 0x7FFFFFFF, 0x80000000,
                                 0xFFFFFFFF, 0x80000041, 0xFFFD,    0x1FFFFF};
  std::string text;
  const std::uint32_t ascii = ascii_share();
  for (std::size_t i = 0; i < units; ++i) {
    const bool is_odd = rarity != 0 && below(rarity) == 0;
    const unsigned length = below(10) < ascii ? 0 : script < 4 ? script : below(4);
    const Wide unit = is_odd ? odd[below(std::size(odd))] : 1 + below(ends[length] - 1);
    text.append(reinterpret_cast<const char*>(&unit), 4);
  }
  return text;
}

std::string utf16_text(std::size_t units, unsigned script, std::uint32_t rarity) {
  static constexpr std::uint32_t ends[] = {0x80, 0x800, 0xD800, 0x110000};
  static constexpr std::uint16_t odd[] = {0, 0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xFFFD, 0xFFFF, 0xE000};
  std::string text;
  const std::uint32_t ascii = ascii_share();
  while (text.size() < units * 2) {
    const bool is_odd = rarity != 0 && below(rarity) == 0;
    const unsigned length = below(10) < ascii ? 0 : script < 4 ? script : below(4);
    const std::uint32_t unit = is_odd ? odd[below(std::size(odd))] : 1 + below(ends[length] - 1);
    char form[4];
    const bool is_unit = is_odd || is_surrogate(unit);
    const auto bytes = is_unit ? std::size_t{2} : 2 * static_cast<std::size_t>(utf16_length(unit));
    if (is_unit) {
      store(form, 0, static_cast<std::uint16_t>(unit));
    } else {
      encode_utf16(unit, form);
    }
    text.append(form, bytes);
  }
  text.resize(units * 2);
  return text;
}

constexpr unsigned scripts = 5;
constexpr std::size_t longest = 200;
constexpr std::size_t ample = 300;  // so that no step of a kernel has to look at the capacity

void check(const Direction& direction, const std::string& text, bool all_well_formed) {
  const std::size_t where = below(60);
  SCOPED_TRACE(::testing::Message() << "text of " << text.size() << " bytes at " << where << ": "
                                    << ::testing::PrintToString(text));
  const KernelText prepared(direction, text, where, below(5));
  for (const Version& version : versions()) {
    ASSERT_NO_FATAL_FAILURE(prepared.check_count(version, all_well_formed));
    const std::size_t skip = prepared.needed() > 20 ? 1 + below(prepared.needed() / 4) : 1;
    for (std::size_t capacity = below(skip); capacity <= prepared.needed() + 1; capacity += skip) {
      ASSERT_NO_FATAL_FAILURE(prepared.check_capacity(version, capacity, below(4), all_well_formed));
    }
    ASSERT_NO_FATAL_FAILURE(prepared.check_capacity(version, prepared.needed() + ample, below(4), all_well_formed));
  }
}

TEST(TextKernels, EqualTheDefinition) {
  for (std::size_t units = 0; units <= longest; ++units) {
    for (unsigned script = 0; script < scripts; ++script) {
      for (const std::uint32_t rarity : {0U, 4U, 60U}) {
        ASSERT_NO_FATAL_FAILURE(check(decoding, narrow_text(units, script, rarity), false));
        ASSERT_NO_FATAL_FAILURE(check(utf8_to_utf16, narrow_text(units, script, rarity), false));
        ASSERT_NO_FATAL_FAILURE(check(encoding, wide_text(units, script, rarity), rarity == 0));
        ASSERT_NO_FATAL_FAILURE(check(utf32_to_utf16, wide_text(units, script, rarity), false));
        const std::string text = utf16_text(units, script, rarity);
        ASSERT_NO_FATAL_FAILURE(check(utf16_to_utf8, text, false));
        ASSERT_NO_FATAL_FAILURE(check(utf16_to_utf32, text, false));
      }
    }
  }
}

// Every oddity at every place between two characters.
TEST(TextKernels, EveryStoppingPlace) {
  for (unsigned script = 0; script < scripts; ++script) {
    std::string before;
    while (before.size() < longest) {
      for (const std::string& odd : oddities()) {
        ASSERT_NO_FATAL_FAILURE(check(decoding, before + odd + narrow_text(below(80), script, 0), false));
      }
      before += character(script < 4 ? static_cast<std::int32_t>(script) + 1 : 1 + static_cast<std::int32_t>(below(4)));
    }
  }
}

// Nothing of a well-formed text without overlong forms is left to the scalar loop.
TEST(TextKernels, TakeWellFormedTextCompletely) {
  static constexpr std::uint32_t first[] = {1, 0x80, 0x1000, 0x10000};
  static constexpr std::uint32_t end[] = {0x80, 0x800, 0xD800, 0x110000};
  for (unsigned script = 0; script < scripts; ++script) {
    std::string text;
    for (std::size_t characters = 0; characters <= longest; ++characters) {
      ASSERT_NO_FATAL_FAILURE(check(decoding, text, true));
      ASSERT_NO_FATAL_FAILURE(check(utf8_to_utf16, text, true));
      const std::string utf16 = utf8_to_utf16.definition(text).written;
      ASSERT_NO_FATAL_FAILURE(check(utf16_to_utf8, utf16, true));
      ASSERT_NO_FATAL_FAILURE(check(utf16_to_utf32, utf16, true));
      ASSERT_NO_FATAL_FAILURE(check(utf32_to_utf16, decoding.definition(text).written, true));
      const unsigned length = script < 4 ? script : below(4);
      text += form_of(first[length] + below(end[length] - first[length]), static_cast<std::int32_t>(length) + 1);
    }
  }
}

TEST(TextKernels, CopiesEndAtTheTerminatorOrTheCapacity) {
  for (std::size_t count = 0; count <= longest; ++count) {
    const std::string narrow = narrow_text(count, below(scripts), 20);
    const std::string wide = wide_text(count, below(scripts), 20);
    for (const Version& version : versions()) {
      for (std::size_t capacity = 0; capacity <= count + 1; ++capacity) {
        ASSERT_NO_FATAL_FAILURE(check_copy(version, 1, narrow, below(60), capacity, below(4)));
        ASSERT_NO_FATAL_FAILURE(check_copy(version, 4, wide, below(60), capacity, below(4)));
      }
    }
  }
}

// Blanks, tabs, letters and, in one text of four, zeros.
std::u32string blank_text(std::size_t count) {
  static constexpr char32_t all[] = {U' ', U' ', U'\t', U'a', 0x2020, 0x20000020, U'b', 0};
  const std::size_t kinds = below(4) == 0 ? 8 : 7;
  std::u32string text;
  for (std::size_t i = 0; i < count; ++i) text += below(3) == 0 ? U' ' : all[below(kinds)];
  return text;
}

// What each version does with a text that ends at a page: in place, and into a destination that ends at one. A copy reads
// nothing after a zero, whatever its count.
TEST(TextKernels, BlanksOfEveryLength) {
  Arena memory, terminated, target;
  for (std::size_t count = 0; count <= 300; count += count < 110 ? 1 : 17) {
    for (int round = 0; round < 40; ++round) {
      const std::u32string text = blank_text(count);
      const std::u32string open = text.substr(0, text.find(U'\0'));
      std::u32string kept;
      for (const char32_t unit : open) {
        if (unit != U' ' && unit != U'\t') kept += unit;
      }
      std::u32string filled = open;
      filled.resize(count, U'\0');
      const std::size_t first = std::min(text.find_first_not_of(U' '), count);
      const std::size_t last = text.find_last_not_of(U' ') + 1;  // 0 where there is none
      const auto bytes_of = [](const std::u32string& units) {
        return std::string(reinterpret_cast<const char*>(units.data()), units.size() * 4);
      };
      for (const Version& version : versions()) {
        SCOPED_TRACE(version.name);
        const char* src = memory.put(bytes_of(text), 0);
        EXPECT_EQ(version.kernels.leading_blanks(src, count), first);
        EXPECT_EQ(version.kernels.trailing_blanks(src, count), count - last);
        char* dst = target.marked(count * 4);
        version.kernels.copy_counted(src, dst, count);
        EXPECT_EQ(std::string(dst, count * 4), bytes_of(filled));
        EXPECT_TRUE(target.untouched_around(dst, count * 4));
        if (open.size() < count) {
          version.kernels.copy_counted(terminated.put(bytes_of(open + U'\0'), 0), target.marked(count * 4), count);
          EXPECT_EQ(std::string(dst, count * 4), bytes_of(filled));
        }
        char* place = target.marked(count * 4 + 4);
        std::memcpy(place, src, count * 4);
        EXPECT_EQ(version.kernels.drop_blanks(place, count).written, kept.size());
        EXPECT_EQ(std::string(place, kept.size() * 4), bytes_of(kept));
        const std::size_t after = std::min(kept.size() + 1, count);
        EXPECT_EQ(std::string(place + after * 4, (count - after) * 4), bytes_of(text.substr(after)));
        ASSERT_FALSE(::testing::Test::HasFailure()) << count << " units";
      }
    }
  }
}

}  // namespace
}  // namespace zvrt_test
