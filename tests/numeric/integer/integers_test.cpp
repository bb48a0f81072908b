// Every version of the integer conversions against the documented rules.
#include "numeric/integer/integers.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "numeric/integer/integer_versions.h"

namespace zvrt_test {
namespace {

template <class Int>
class IntegerVersions : public ::testing::Test {};

using Integers = ::testing::Types<std::uint8_t, std::int8_t, std::uint16_t, std::int16_t, std::uint32_t, std::int32_t,
                                  std::uint64_t, std::int64_t>;
TYPED_TEST_SUITE(IntegerVersions, Integers);

TYPED_TEST(IntegerVersions, RenderEveryValueIntoEverySize) {
  using Limits = std::numeric_limits<TypeParam>;
  const std::size_t longest = std::max(decimal(Limits::min()).size(), decimal(Limits::max()).size());
  for (const Version& version : versions()) {
    SCOPED_TRACE(version.name);
    check_rendering(version.conversions->render[zvrt::type_index<TypeParam>], values_of<TypeParam>(),
                    static_cast<std::int32_t>(longest + 2) * 4);
  }
}

TYPED_TEST(IntegerVersions, ParseEveryValue) {
  for (const TypeParam value : values_of<TypeParam>()) {
    const std::u32string text = widened(std::to_string(value));
    check_text<TypeParam>(wide_bytes(text).data(), text);
  }
}

std::u32string random_digits(std::size_t count, std::mt19937_64& random) {
  std::u32string digits(count, U'0');
  for (char32_t& digit : digits) digit = U'0' + static_cast<char32_t>(random() % 10);
  return digits;
}

// As it stands and with a sign; where it ends makes it stand at every alignment and distance from the page.
template <class Int>
void check_near_page(const std::u32string& text, std::size_t bytes_after) {
  for (const std::u32string& full : {text, U'-' + text}) {
    GuardedText guarded(full, bytes_after);
    check_text<Int>(guarded.get(), full);
  }
}

TYPED_TEST(IntegerVersions, ParseEveryLengthAtEveryDistanceFromThePage) {
  std::mt19937_64 random(1);
  for (std::size_t length = 0; length <= 45; ++length) {
    for (std::size_t bytes_after = 0; bytes_after <= 110; ++bytes_after) {
      check_near_page<TypeParam>(random_digits(length, random), bytes_after);
    }
  }
  for (const std::size_t length : {1000U, 1024U, 5000U}) check_near_page<TypeParam>(random_digits(length, random), 0);
  check_near_page<TypeParam>(std::u32string(3000, U'0') + U"12", 0);
}

TYPED_TEST(IntegerVersions, RefuseEveryStrayCharacterAtEveryPlace) {
  constexpr char32_t strays[] = {'/',   ':',     '-',         '+',   ' ',         '\t',        'A',        0x130,
                                 0x660, 0x10030, 0x80000030U, 0x100, 0xFFFFFFD0U, 0xFFFFFFFFU, 0x7FFFFFFF, 0xD0};
  std::mt19937_64 random(2);
  for (std::size_t length = 1; length <= 28; ++length) {
    for (std::size_t place = 0; place < length; ++place) {
      for (const char32_t stray : strays) {
        std::u32string text = random_digits(length, random);
        text[place] = stray;
        check_near_page<TypeParam>(text, random() % 111);
      }
    }
  }
}

// Bytes: what fits of the text and its terminator, and nothing after it.
template <class Int>
void check_bytes(Int value, const Version& version) {
  const std::string text = value == 0 ? "" : std::to_string(value);
  for (std::size_t room = 0; room <= text.size() + 2; ++room) {
    std::string expected = (text + '\0').substr(0, room);
    expected.resize(room + 8, '#');
    std::string dst(room + 8, '#');
    std::uint32_t length = 0;
    const auto status = version.conversions->render_bytes[zvrt::type_index<Int>](
        &value, nullptr, dst.data(), static_cast<std::int32_t>(room), &length, nullptr);
    ASSERT_EQ(dst, expected) << version.name << ", room " << room;
    ASSERT_EQ(length, text.size()) << version.name << ", " << text;
    ASSERT_EQ(status, text.size() > room ? ZVRT_RC_TRUNCATED : text.empty() ? ZVRT_RC_EMPTY_RESULT : ZVRT_RC_OK);
  }
}

template <class Int>
void check_all_bytes() {
  for (const Version& version : versions()) {
    for (const Int value : values_of<Int>()) ASSERT_NO_FATAL_FAILURE(check_bytes(value, version));
  }
}

TEST(IntegerBytes, RenderEveryValueIntoEverySize) {
  check_all_bytes<std::uint32_t>();
  check_all_bytes<std::int32_t>();
  check_all_bytes<std::uint64_t>();
}

// A version may leave a text alone; the value of one that it takes is that of the digits, modulo the width.
template <class Int>
void check_parsed_bytes(const std::string& text, std::size_t bytes_after, bool is_taken) {
  const std::string bytes = text + '\0' + std::string(bytes_after, '9');
  GuardedBuffer guarded(bytes.data(), bytes.size());
  Int expected = 0;
  for (const char digit : text) expected = static_cast<Int>(expected * 10 + static_cast<Int>(digit - '0'));
  for (const Version& version : versions()) {
    Int value = 77;
    std::uint32_t size = 0;
    std::int32_t length = 0;
    const bool taken =
        version.conversions->parse_bytes[zvrt::type_index<Int>](guarded.as<const char>(), &length, &value, &size);
    ASSERT_TRUE(is_taken || !taken) << version.name << ": " << text;
    ASSERT_EQ(value, taken ? expected : 77) << version.name << ": " << text;
    ASSERT_EQ(size, taken ? sizeof(Int) : 0);
    ASSERT_EQ(length, taken ? static_cast<std::int32_t>(text.size()) : 0);
  }
}

TEST(IntegerBytes, ParseEveryLengthAtEveryDistanceFromThePage) {
  std::mt19937_64 random(3);
  for (std::size_t length = 0; length <= 45; ++length) {
    for (std::size_t bytes_after = 0; bytes_after <= 70; ++bytes_after) {
      const std::u32string digits = random_digits(length, random);
      const std::string text(digits.begin(), digits.end());
      ASSERT_NO_FATAL_FAILURE(check_parsed_bytes<std::uint64_t>(text, bytes_after, length > 0 && length <= 21));
      ASSERT_NO_FATAL_FAILURE(check_parsed_bytes<std::uint32_t>(text, bytes_after, length > 0 && length <= 11));
    }
  }
}

TEST(IntegerBytes, EveryStrayByteIsLeftAlone) {
  std::mt19937_64 random(4);
  for (std::size_t length = 1; length <= 25; ++length) {
    for (std::size_t place = 0; place < length; ++place) {
      for (unsigned stray = 1; stray <= 0xFF; ++stray) {
        if (stray - '0' <= 9) continue;
        const std::u32string digits = random_digits(length, random);
        std::string text(digits.begin(), digits.end());
        text[place] = static_cast<char>(stray);
        ASSERT_NO_FATAL_FAILURE(check_parsed_bytes<std::uint64_t>(text, random() % 71, false));
        ASSERT_NO_FATAL_FAILURE(check_parsed_bytes<std::uint32_t>(text, random() % 71, false));
      }
    }
  }
}

// A field of at most `length` bytes, of which a version may leave any to the definition.
void check_field(const Version& version, const char* field, std::size_t length, const std::string& run,
                 std::int32_t number) {
  std::int32_t value = 99;
  const bool taken = version.conversions->parse_field(field, length, &value);
  ASSERT_EQ(value, taken ? number : 99) << version.name << ": " << run;
  ASSERT_TRUE(!taken || (!run.empty() && is_number(widened(run), true))) << version.name << ": " << run;
  if (length == 0) return;
  const auto [digits, count] = version.conversions->take_digits(field, length);
  const std::size_t leading = std::min(run.find_first_not_of("0123456789"), run.size());
  ASSERT_TRUE(count == 0 || count == leading) << version.name << ": " << run;
  ASSERT_EQ(digits, static_cast<std::uint32_t>(number_of(run.substr(0, count)))) << version.name << ": " << run;
}

// At most `most` characters of a text. Some digits and then zeros follow its terminator or, where the limit comes first,
// the limit: up to the end of the memory.
void check_run(const std::u32string& text, std::int32_t most, std::size_t after) {
  const std::u32string run = text.substr(0, static_cast<std::size_t>(most));
  const bool terminated = run.size() < static_cast<std::size_t>(most);
  std::u32string memory = run + std::u32string(terminated ? 1 : 0, U'\0') + std::u32string(after % 5, U'7');
  memory.append(after - after % 5, U'\0');
  const std::string wide_memory = wide_bytes(memory, false);
  GuardedBuffer wide(wide_memory.data(), wide_memory.size());
  const std::string bytes(memory.begin(), memory.end());
  GuardedBuffer narrow(bytes.data(), bytes.size());
  const auto [valid, expected, position] = read_run(text, 0, most);
  for (const Version& version : versions()) {
    std::int32_t value = 99;
    std::int32_t end = 99;
    const auto status = version.conversions->parse_run(wide.as<const wchar_t>(), &end, &value, 0, most);
    const std::string shown(run.begin(), run.end());
    ASSERT_EQ(status, valid ? ZVRT_RC_OK : ZVRT_RC_ERROR) << version.name << ": " << shown << ", " << after;
    ASSERT_EQ(value, expected) << version.name << ": " << shown << ", " << after;
    ASSERT_EQ(end, valid ? position : 99) << version.name << ": " << shown << ", " << after;
    ASSERT_NO_FATAL_FAILURE(
        check_field(version, narrow.as<const char>(), static_cast<std::size_t>(most), shown, expected));
  }
}

TEST(IntegerRuns, EveryLengthAndLimitAtEveryDistanceFromThePage) {
  std::mt19937_64 random(5);
  for (std::size_t length = 0; length <= 20; ++length) {
    for (std::size_t after = 0; after <= 36; ++after) {
      const std::u32string digits = random_digits(length, random);
      std::u32string stray = digits;
      if (length > 0) stray[random() % length] = U"-x/:\xB0"[random() % 5];
      for (const std::u32string& text : {digits, U'-' + digits, stray}) {
        const auto size = static_cast<std::int32_t>(text.size());
        for (const std::int32_t most : {0, 1, size - 1, size, size + 1, 8, 16, INT32_MAX}) {
          ASSERT_NO_FATAL_FAILURE(check_run(text, std::max(most, 0), after));
        }
      }
    }
  }
}

}  // namespace
}  // namespace zvrt_test
