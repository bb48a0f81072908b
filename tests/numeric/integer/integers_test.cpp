// Every version of the integer conversions against the told rules.
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
void check_near_page(const std::u32string& text, std::size_t bytes_behind) {
  for (const std::u32string& full : {text, U'-' + text}) {
    GuardedText guarded(full, bytes_behind);
    check_text<Int>(guarded.get(), full);
  }
}

TYPED_TEST(IntegerVersions, ParseEveryLengthAtEveryDistanceFromThePage) {
  std::mt19937_64 random(1);
  for (std::size_t length = 0; length <= 45; ++length) {
    for (std::size_t bytes_behind = 0; bytes_behind <= 110; ++bytes_behind) {
      check_near_page<TypeParam>(random_digits(length, random), bytes_behind);
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

}  // namespace
}  // namespace zvrt_test
