// Every version of the integer conversions against the told rules.
#include "numeric/integers.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <ostream>
#include <string>

#include "frame/cpu.h"
#include "numeric/integer_cases.h"

namespace zvrt {
namespace {

using namespace zvrt_test;

struct Version {
  const char* name;
  CpuLevel level;
  const IntegerConversions* conversions;

  friend void PrintTo(const Version& version, std::ostream* out) { *out << version.name; }
};

constexpr std::array versions{
    Version{"plain", CpuLevel::baseline, &plain_integers},
    Version{"sse41", CpuLevel::sse41, &sse41_integers},
    Version{"avx512", CpuLevel::avx512, &avx512_integers},
};

// Applied to every version that this machine can run.
class IntegerVersions : public ::testing::TestWithParam<Version> {
 protected:
  void SetUp() override {
    if (cpu_level() < GetParam().level) GTEST_SKIP() << "not on this processor";
  }

  template <class Int>
  void check_every_value() {
    const std::size_t longest =
        std::max(decimal(std::numeric_limits<Int>::min()).size(), decimal(std::numeric_limits<Int>::max()).size());
    check_rendering(GetParam().conversions->render[place_of<Int>], values_of<Int>(),
                    static_cast<std::int32_t>(longest + 2) * 4);
  }

  template <class Int>
  ZVRTConversion* parser() {
    return GetParam().conversions->parse[place_of<Int>];
  }

  template <class Int>
  void check_parsing_every_value() {
    for (const Int value : values_of<Int>()) {
      const std::string text = std::to_string(value);
      check_parsed<Int>(parser<Int>(), wide_bytes(widened(text)).data(), text);
    }
  }

  // Each text as it stands and with a sign; where it ends makes it stand at every alignment and distance from the page.
  template <class Int>
  void check_text(const std::string& digits, std::size_t bytes_behind) {
    GuardedText unsigned_text(widened(digits), bytes_behind);
    check_parsed<Int>(parser<Int>(), unsigned_text.get(), digits);
    if constexpr (std::is_signed_v<Int>) {
      GuardedText signed_text(widened('-' + digits), bytes_behind);
      check_parsed<Int>(parser<Int>(), signed_text.get(), '-' + digits);
    }
  }

  template <class Int>
  void check_stray(const std::u32string& text, std::size_t bytes_behind) {
    GuardedText guarded(text, bytes_behind);
    check_refused(parser<Int>(), sizeof(Int), guarded.get(), ZVRT_RC_INVALID_INTEGER);
  }
};

std::string random_digits(std::size_t count, std::mt19937_64& random) {
  std::string digits(count, '0');
  for (char& digit : digits) digit = static_cast<char>('0' + random() % 10);
  return digits;
}

TEST_P(IntegerVersions, RenderEveryValueIntoEverySize) {
  check_every_value<std::uint8_t>();
  check_every_value<std::int8_t>();
  check_every_value<std::uint16_t>();
  check_every_value<std::int16_t>();
  check_every_value<std::uint32_t>();
  check_every_value<std::int32_t>();
  check_every_value<std::uint64_t>();
  check_every_value<std::int64_t>();
}

TEST_P(IntegerVersions, ParseEveryValue) {
  check_parsing_every_value<std::uint8_t>();
  check_parsing_every_value<std::int8_t>();
  check_parsing_every_value<std::uint16_t>();
  check_parsing_every_value<std::int16_t>();
  check_parsing_every_value<std::uint32_t>();
  check_parsing_every_value<std::int32_t>();
  check_parsing_every_value<std::uint64_t>();
  check_parsing_every_value<std::int64_t>();
}

TEST_P(IntegerVersions, ParseEveryLengthAtEveryDistanceFromThePage) {
  std::mt19937_64 random(1);
  for (std::size_t length = 0; length <= 45; ++length) {
    for (std::size_t bytes_behind = 0; bytes_behind <= 110; ++bytes_behind) {
      const std::string digits = random_digits(length, random);
      check_text<std::uint8_t>(digits, bytes_behind);
      check_text<std::int16_t>(digits, bytes_behind);
      check_text<std::uint32_t>(digits, bytes_behind);
      check_text<std::int32_t>(digits, bytes_behind);
      check_text<std::uint64_t>(digits, bytes_behind);
      check_text<std::int64_t>(digits, bytes_behind);
    }
  }
  for (const std::size_t length : {1000U, 1024U, 5000U}) check_text<std::int64_t>(random_digits(length, random), 0);
  check_text<std::int64_t>(std::string(3000, '0') + "12", 0);
}

TEST_P(IntegerVersions, RefuseEveryStrayCharacterAtEveryPlace) {
  constexpr char32_t strays[] = {'/',   ':',     '-',         '+',   ' ',         '\t',        'A',        0x130,
                                 0x660, 0x10030, 0x80000030U, 0x100, 0xFFFFFFD0U, 0xFFFFFFFFU, 0x7FFFFFFF, 0xD0};
  std::mt19937_64 random(2);
  for (std::size_t length = 1; length <= 28; ++length) {
    for (std::size_t place = 0; place < length; ++place) {
      for (const char32_t stray : strays) {
        std::u32string text = widened(random_digits(length, random));
        text[place] = stray;
        check_stray<std::uint32_t>(text, 100);
        check_stray<std::uint64_t>(text, place * 4);
        if (place == 0 && stray == '-') continue;
        check_stray<std::int32_t>(text, 0);
        check_stray<std::int64_t>(text, 100);
        check_stray<std::int64_t>(U'-' + text, 100);
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, IntegerVersions, ::testing::ValuesIn(versions),
                         [](const auto& version) { return std::string(version.param.name); });

}  // namespace
}  // namespace zvrt
