#include <gtest/gtest.h>

#include <atomic>
#include <clocale>
#include <cwchar>
#include <sstream>
#include <thread>

#include "numeric/floating/float_cases.h"

using namespace zvrt_test;

namespace {

template <class Float>
class Floating : public testing::Test {};
using Types = testing::Types<double, float>;
TYPED_TEST_SUITE(Floating, Types);

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(FloatText, HasOneShape) {
  EXPECT_EQ(rendered(-0.0), "-0.0000000000000000E+00");
  EXPECT_EQ(rendered(-std::numeric_limits<double>::denorm_min()), "-4.9406564584124654E-324");
  EXPECT_EQ(rendered(float{1 + 0x1p-17F}), "1.0000076E+00");  // a tie: to even
}

TEST(FloatText, IsWhatPrintfGivesAndReadsBack) {
  Doubles doubles;
  for (int i = 0; i < 1000000; ++i) {
    const double value = doubles.next();
    const std::string text = rendered(value);
    ASSERT_EQ(text, printed(value));
    ASSERT_EQ(read<double>(widen(text)), reading_of(ZVRT_RC_OK, value == 0 ? 0 : value)) << text;
    const auto single = static_cast<float>(value);
    if (!std::isfinite(single)) continue;
    ASSERT_EQ(rendered(single), printed(single));
  }
}

TEST(FloatText, SinglesFromEverywhere) {
  for (uint64_t bits = 0; bits <= 0xFFFFFFFF; bits += 4099) {
    const auto value = std::bit_cast<float>(static_cast<uint32_t>(bits));
    if (!std::isfinite(value)) continue;
    const std::string text = rendered(value);
    ASSERT_EQ(text, printed(value));
    ASSERT_EQ(read<float>(widen(text)), expected_reading<float>(text)) << text;
  }
}

TYPED_TEST(Floating, EveryCapacity) {
  for (const TypeParam value : {TypeParam(1), TypeParam(-1.5e-7), TypeParam(-2e-38)}) {
    const std::u32string text = widen(printed(value));
    const auto length = static_cast<int32_t>(text.size());
    for (int32_t size = -5; size < (length + 4) * 4; ++size) {
      const int32_t capacity = std::max(size, 0) / 4;
      // Exactly full, the last character gives way to the terminator.
      std::u32string kept = text.substr(0, static_cast<std::size_t>(std::min(capacity, length)));
      if (capacity == length) kept.back() = U'\0';
      const std::string bytes = wide_bytes(kept, capacity > length);
      GuardedBuffer source(&value, sizeof value);
      GuardedBuffer dst(static_cast<std::size_t>(std::max(size, 0)));
      int32_t src_len = 0;
      uint32_t out_len = 77;
      const uint32_t status = to_text<TypeParam>(source.as(), &src_len, dst.as(), size, &out_len);
      EXPECT_EQ(status, capacity > length ? ZVRT_RC_OK : ZVRT_RC_TRUNCATED) << size;
      EXPECT_EQ(out_len, text.size());
      EXPECT_EQ(src_len, sizeof value);
      EXPECT_EQ(dst.bytes().substr(0, bytes.size()), bytes) << size;
      EXPECT_TRUE(dst.untouched_from(bytes.size())) << size;

      GuardedBuffer dst_out(static_cast<std::size_t>(std::max(size, 0)));
      src_len = 17;
      EXPECT_EQ(to_text_out<TypeParam>(source.as(), &src_len, dst_out.as(), size, &out_len), status);
      EXPECT_EQ(out_len, text.size() * 4);
      EXPECT_EQ(src_len, 17);
      EXPECT_EQ(dst_out.bytes(), dst.bytes());
    }
  }
}

TYPED_TEST(Floating, WithoutTextNothingIsWritten) {
  const TypeParam one = 1;
  const TypeParam values[] = {TypeParam(infinity), TypeParam(-infinity), TypeParam(nan), -TypeParam(nan)};
  GuardedBuffer dst(100);
  const auto refuses = [&](const void* src, void* into) {
    int32_t src_len = 0;
    uint32_t out_len = 77;
    EXPECT_EQ(to_text<TypeParam>(src, &src_len, into, 100, &out_len), ZVRT_RC_ERROR);
    EXPECT_EQ(out_len, 77u);
    EXPECT_EQ(to_text_out<TypeParam>(src, &src_len, into, 100, &out_len), ZVRT_RC_ERROR);
    EXPECT_EQ(out_len, 0u);
    EXPECT_EQ(src_len, 0);
    EXPECT_TRUE(dst.untouched_from(0));
  };
  refuses(nullptr, dst.as());
  refuses(&one, nullptr);
  for (const TypeParam& value : values) refuses(&value, dst.as());
}

TEST(FloatToString, EveryPrecision) {
  std::vector<int> precisions{765, 766, 767, 1200, 32767};
  for (int precision = 0; precision <= 40; ++precision) precisions.push_back(precision);
  const double values[] = {0, -0.0, 1, -2.5, 0.1, 9.5, 1234567850, 0x1p-1022 - 0x1p-1074, -0x1p-1074, 1e300, 0x1p1023};
  for (const int precision : precisions) {
    for (const double value : values) {
      const std::string text = wide_bytes(widen(printed(value, precision)));
      const auto needed = static_cast<int32_t>(text.size() / 4);
      for (int32_t capacity = needed - 1; capacity <= needed + 3; ++capacity) {
        GuardedBuffer out(static_cast<std::size_t>(capacity) * 4);
        const uint32_t status = FloatToString(out.as<wchar_t>(), capacity, static_cast<int16_t>(precision), value);
        ASSERT_EQ(status, capacity < needed ? ZVRT_RC_ERROR : ZVRT_RC_OK) << value << ' ' << precision;
        const std::size_t written = capacity < needed ? 0 : text.size();
        ASSERT_EQ(out.bytes().substr(0, written), text.substr(0, written)) << value << ' ' << precision;
        ASSERT_TRUE(out.untouched_from(written)) << value << ' ' << precision;
      }
    }
  }
}

TEST(FloatToString, RoundsAnyDoubleToSinglesDigits) {
  Doubles doubles;
  for (int i = 0; i < 300000; ++i) {
    const double value = doubles.next();
    wchar_t wide[17];
    ASSERT_EQ(FloatToString(wide, 17, 7, value), ZVRT_RC_OK);
    ASSERT_EQ(std::string(wide, wide + std::wcslen(wide)), printed(value, 7));
  }
}

TEST(FloatToString, RefusesWithNothingWritten) {
  struct {
    const char* name;
    int32_t capacity;
    int16_t precision;
    double value;
    uint32_t status;
  } const cases[] = {
      {"no digits at all", 64, -1, 1, ZVRT_RC_TRUNCATED},
      {"no digits of no number", 64, -1, nan, ZVRT_RC_TRUNCATED},
      {"less than none", 64, -2, 1, ZVRT_RC_ERROR},
      {"the least precision", 64, std::numeric_limits<int16_t>::min(), 1, ZVRT_RC_ERROR},
      {"infinity", 64, 16, infinity, ZVRT_RC_ERROR},
      {"no number", 64, 3, nan, ZVRT_RC_ERROR},
      {"no room", 0, 3, 1, ZVRT_RC_ERROR},
      {"negative room", -8, 16, 1, ZVRT_RC_ERROR},
  };
  for (const auto& row : cases) {
    GuardedBuffer out(256);
    EXPECT_EQ(FloatToString(out.as<wchar_t>(), row.capacity, row.precision, row.value), row.status) << row.name;
    EXPECT_TRUE(out.untouched_from(0)) << row.name;
  }
  EXPECT_EQ(FloatToString(nullptr, 64, 16, 1), ZVRT_RC_ERROR);
}

TEST(FloatReading, NoNeighbourOfTheDigitsIsOneOfThem) {
  // Characters next to the digits, and others that have a digit in their low bits.
  const std::u32string text = U"-12.3456789012345678e12";
  for (std::size_t at = 0; at < text.size(); ++at) {
    for (const char32_t stray :
         {0x2Fu, 0x3Au, 0x131u, 0xFF11u, 0x10031u, 0x7FFF0031u, 0x80000031u, 0xFFFF0031u, 0xFFFFFF31u}) {
      std::u32string damaged = text;
      damaged[at] = stray;
      EXPECT_EQ(read<double>(damaged), (Reading{ZVRT_RC_INVALID_DOUBLE, 0}))
          << at << ' ' << static_cast<uint32_t>(stray);
    }
  }
}

TYPED_TEST(Floating, ReadsTextAtEveryEdge) {
  std::istringstream texts(
      "1.5 .5 5. +.5e1 -2.5e-3 1e5e5 1E+ -.5e- 1.2.3 1e00000000000000000000000000000005 "
      "1.7976931348623157e308 1.7976931348623159e308 1e400 1e99999999999999999999 -1e309 "
      "-1e99999999999999999999 1e-400 -1e-400 1e-99999999999999999999 4.9e-324 2.4703282292062327e-324 "
      "2.4703282292062328e-324 2.2250738585072011e-308 9007199254740993 9007199254740993.0 "
      "9007199254740993.00000000000000000000000000000000000000000001 "
      "000000000000000000000.00000000000000000000012345e20 0000000000000000000000000000 E5 ..1 0e1 00.0.1 "
      "+-1 1e5+ 1E++ 1,5 inf nan 0x1A 3.4028235e38 3.4028236e38 1e39 -1e39 1e-46 1e-45 "
      "1.00000005960464477539062500001");
  for (std::string text; texts >> text;) {
    EXPECT_EQ(read<TypeParam>(widen(text)), expected_reading<TypeParam>(text)) << text;
  }
}

TYPED_TEST(Floating, ReadingStaysWithinItsBuffers) {
  constexpr uint32_t refused = is_double<TypeParam> ? ZVRT_RC_INVALID_DOUBLE : ZVRT_RC_INVALID_FLOAT;
  constexpr auto size = static_cast<int32_t>(sizeof(TypeParam));
  const auto check = [](const std::string& text, int32_t dst_size, uint32_t expected, uint32_t expected_length) {
    // The odd byte at the end pushes the text off its alignment.
    const std::string source = wide_bytes(widen(text)) + (dst_size % 2 != 0 ? "?" : "");
    GuardedBuffer src(source.data(), source.size());
    GuardedBuffer dst(static_cast<std::size_t>(std::max(dst_size, 0)));
    uint32_t length = 77;
    EXPECT_EQ(from_text<TypeParam>(src.as(), dst.as(), dst_size, &length), expected) << text;
    EXPECT_EQ(length, expected_length);
    EXPECT_TRUE(dst.untouched_from(expected == ZVRT_RC_OK ? sizeof(TypeParam) : 0)) << text;
  };
  for (int32_t dst_size = -9; dst_size < size; ++dst_size) check("rubbish", dst_size, ZVRT_RC_TRUNCATED, size);
  for (int32_t dst_size = size; dst_size < size + 8; ++dst_size) {
    check("rubbish", dst_size, refused, 77);
    check("1e-999", dst_size, refused, 77);
    check("1.5", dst_size, ZVRT_RC_OK, size);
  }
  const std::string longest = "-1234567890123456789012345.67890e+12.e5E-.";
  for (std::size_t length = 0; length <= longest.size(); ++length) {
    const std::string text = longest.substr(0, length);
    for (const int32_t dst_size : {size, size + 1}) {
      check(text, dst_size, ZVRT_RC_OK, size);
      check(text + 'x', dst_size, refused, 77);
    }
  }
}

// Calls `check` with every text of up to `length` characters of the alphabet.
template <class Check>
void for_each_text(std::string_view alphabet, std::size_t length, std::string& text, const Check& check) {
  check(text);
  if (text.size() == length) return;
  for (const char character : alphabet) {
    text.push_back(character);
    for_each_text(alphabet, length, text, check);
    text.pop_back();
  }
}

TYPED_TEST(Floating, ReadsEveryShortText) {
  std::string text;
  for_each_text("+-.eE07x", 6, text, [](const std::string& whole) {
    ASSERT_EQ(read<TypeParam>(widen(whole)), expected_reading<TypeParam>(whole)) << whole;
  });
}

TYPED_TEST(Floating, ReadsDamagedNumbers) {
  Doubles doubles;
  std::mt19937_64 random(7);
  for (int i = 0; i < 200000; ++i) {
    std::string text = printed(doubles.next(), static_cast<int>(random() % 30));
    if (i % 2 != 0) {  // as most columns hold them
      text = std::to_string(random() % (1ULL << random() % 60));
      text.insert(random() % (text.size() + 1), 1, '.');
      if (random() % 4 == 0) text.insert(0, 1, "+-"[random() % 2]);
    }
    for (auto edits = random() % 4; edits > 0; --edits) {
      const std::size_t at = random() % (text.size() + 1);
      text.insert(at, 1, "0123456789.eE+-, "[random() % (random() % 8 == 0 ? 17 : 15)]);
      if (random() % 2 == 0) text.erase(random() % text.size(), 1);
    }
    ASSERT_EQ(read<TypeParam>(widen(text)), expected_reading<TypeParam>(text)) << text;
  }
}

// The exact middle between a double and its successor, in up to 768 digits. What succeeds the largest is infinite, but
// where its numbers begin is decided in the same way.
std::string middle_above(double value) {
  const auto next = std::bit_cast<double>(std::bit_cast<uint64_t>(value) + 1);
  const auto successor = std::isfinite(next) ? static_cast<long double>(next) : 0x1p1024L;
  const auto middle = (static_cast<long double>(value) + successor) / 2;
  char text[800];
  return {text, static_cast<std::size_t>(std::snprintf(text, sizeof text, "%.780Le", middle))};
}

TEST(FloatReading, DecidesAtTheMiddle) {
  Doubles doubles;
  for (int i = 0; i < 5000; ++i) {
    const double value = i == 0 ? 0 : i == 1 ? std::numeric_limits<double>::max() : std::abs(doubles.next());
    const std::string middle = middle_above(value);
    const std::size_t mark = middle.find('e');
    const std::string exponent = middle.substr(mark);
    std::string digits = middle.substr(0, mark);
    digits.erase(digits.find_last_not_of('0') + 1);
    if (digits.back() == '.') digits += '0';
    std::string below = digits;  // 1 less in the last place
    std::size_t at = below.size() - 1;
    while (below[at] == '0' || below[at] == '.') below[at] = below[at] == '.' ? '.' : '9', --at;
    --below[at];
    for (const std::string& text :
         {digits + exponent, digits + std::string(900, '0') + exponent, digits + std::string(900, '0') + "1" + exponent,
          below + std::string(900, '9') + exponent, below + exponent, digits.substr(0, 21) + exponent}) {
      ASSERT_EQ(read<double>(widen(text)), expected_reading<double>(text)) << text;
    }
  }
}

TEST(FloatReading, TextOfAnyLength) {
  const std::string zeros(1000000, '0');
  const std::string nines(1000000, '9');
  const std::string texts[] = {
      zeros + "1",
      std::string("0.") + zeros + "1",
      std::string("0.") + zeros + "12345e1000000",
      std::string("1") + zeros + "e-1000000",
      nines + "e-999999",
      std::string("1.") + zeros + "1",
      std::string("1e") + zeros + "7",
      std::string("-0.") + zeros,
      nines,
      std::string("1e") + nines,
      std::string("1e-") + nines,
      std::string("7") + std::string(999999, '.'),
      std::string("0.") + nines,
      zeros + "x",
      std::string("1.5") + zeros + std::string("e-10.e+") + zeros,
  };
  for (const std::string& text : texts) {
    EXPECT_EQ(read<double>(widen(text)), expected_reading<double>(text)) << text.substr(0, 20) << "...";
  }
}

// A locale whose decimal point is a comma, where one is installed.
const char* comma_locale() {
  for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "fr_FR.UTF-8", "fr_FR.utf8", "ru_RU.UTF-8"}) {
    if (std::setlocale(LC_ALL, name) != nullptr && std::strcmp(std::localeconv()->decimal_point, ",") == 0) return name;
  }
  return nullptr;
}

TEST(FloatLocale, ACommaChangesNothing) {
  const char* const name = comma_locale();
  std::setlocale(LC_ALL, "C");
  if (name == nullptr) GTEST_SKIP() << "no locale with a decimal comma is installed";
  std::vector<double> values;
  std::vector<std::string> texts;
  Doubles doubles;
  for (int i = 0; i < 20000; ++i) {
    values.push_back(std::abs(doubles.next()) + 0x1p-1074);
    texts.push_back(printed(values.back()));
  }
  const auto check = [&] {
    for (std::size_t i = 0; i < values.size(); ++i) {
      ASSERT_EQ(rendered(values[i]), texts[i]);
      ASSERT_EQ(read<double>(widen(texts[i])), reading_of(ZVRT_RC_OK, values[i]));
      ASSERT_EQ(read<double>(widen(texts[i]) + U"1"), read<double>(widen(texts[i] + "1")));
      wchar_t wide[32];
      ASSERT_EQ(FloatToString(wide, 32, 3, values[i]), ZVRT_RC_OK);
      ASSERT_EQ(wide[1], L'.');
    }
    ASSERT_EQ(read<double>(U"1.00000000000000000000000000000000005"), reading_of(ZVRT_RC_OK, 1.0));
    ASSERT_EQ(read<double>(U"1,5"), (Reading{ZVRT_RC_INVALID_DOUBLE, 0}));
  };
  std::setlocale(LC_ALL, name);
  check();
  std::atomic<bool> done = false;
  std::thread switching([&] {
    while (!done) {
      std::setlocale(LC_ALL, "C");
      std::setlocale(LC_ALL, name);
    }
  });
  check();
  done = true;
  switching.join();
  std::setlocale(LC_ALL, "C");
}

}  // namespace
