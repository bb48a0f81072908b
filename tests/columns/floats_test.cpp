// Columns of floats as text and back, beside the standard library's own conversions, which are exact.
//
// To text: what is written reads back as the same float, and has as many digits as std::to_chars needs for that.
// From text: every float is the one that std::from_chars finds; a zero has no sign.
#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <random>

#include "columns/one_value.h"

using namespace columns_test;

namespace {

class Floats : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_EQ(ZVRTInitDataConversion(), ZVRT_RC_OK); }
  static void TearDownTestSuite() { ZVRTTermDataConversion(); }
};

constexpr std::int32_t text_slot = 64;

// Converts a column of slots at one stride; every value has to arrive.
void run(const ZVRTType& from, const ZVRTType& to, const void* source, void* target, std::size_t count) {
  Plan plan;
  ASSERT_EQ(make(from, to, 0, plan), ZVRT_RC_OK);
  ZVRTArray in{}, out{};
  in.size = out.size = sizeof in;
  in.data = const_cast<void*>(source);  // NOLINT(cppcoreguidelines-pro-type-const-cast): a source is only read
  in.stride = from.length;
  out.data = target;
  out.stride = to.length;
  ZVRTOutcome outcome{};
  outcome.size = sizeof outcome;
  ASSERT_EQ(ZVRTPlanRun(plan.get(), &in, &out, static_cast<std::int64_t>(count), &outcome), ZVRT_RC_OK);
  ASSERT_EQ(outcome.refused, 0) << "row " << outcome.firstRefused << ' ' << ZVRTStatusName(outcome.firstStatus);
}

template <class Float>
ZVRTType float_type() {
  return type(ZVRT_KIND_FLOAT, sizeof(Float));
}

// Digits that count: neither a point nor zeros at either end, nor an exponent.
std::string significant(std::string_view text) {
  std::string digits;
  for (const char c : text.substr(0, text.find('e'))) {
    if (c >= '0' && c <= '9' && !(digits.empty() && c == '0')) digits += c;
  }
  return digits.substr(0, digits.find_last_not_of('0') + 1);
}

template <class Float>
std::string shortest_digits(Float value) {
  char text[64];
  return significant({text, std::to_chars(text, text + sizeof text, value, std::chars_format::scientific).ptr});
}

template <class Float>
Float read(std::string_view text) {
  Float value = 0;
  if (text.starts_with('+')) text.remove_prefix(1);
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

template <class Float>
auto bits_of(Float value) {
  return std::bit_cast<std::conditional_t<sizeof(Float) == 4, std::uint32_t, std::uint64_t>>(value);
}

template <class Float>
void check_shortest(const std::vector<Float>& values) {
  std::vector<char> texts(values.size() * text_slot);
  run(float_type<Float>(), type(ZVRT_KIND_VARCHAR_SZ, text_slot), values.data(), texts.data(), values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    const std::string_view text(texts.data() + i * text_slot);
    ASSERT_EQ(bits_of(read<Float>(text)), bits_of(values[i])) << text << ' ' << std::hexfloat << values[i];
    ASSERT_EQ(significant(text), shortest_digits(values[i])) << text;
  }
}

template <class Float>
void check_reading(const std::vector<std::string>& given) {
  std::vector<char> texts(given.size() * text_slot);
  for (std::size_t i = 0; i < given.size(); ++i) std::copy(given[i].begin(), given[i].end(), &texts[i * text_slot]);
  std::vector<Float> values(given.size());
  run(type(ZVRT_KIND_VARCHAR_SZ, text_slot), float_type<Float>(), texts.data(), values.data(), given.size());
  for (std::size_t i = 0; i < given.size(); ++i) {
    ASSERT_EQ(bits_of(values[i]), bits_of(read<Float>(given[i]) + Float{0})) << given[i];
  }
}

// Every power of two, what stands beside it, and the least ones.
template <class Float>
std::vector<Float> edges() {
  using Limits = std::numeric_limits<Float>;
  std::vector<Float> values;
  for (int e = Limits::min_exponent - Limits::digits; e < Limits::max_exponent; ++e) {
    const Float power = std::ldexp(Float{1}, e);
    values.insert(values.end(), {power, std::nextafter(power, Limits::max()), -power});
    if (const Float below = std::nextafter(power, Float{0}); below != 0) values.push_back(below);
  }
  for (int n = 1; n < 1000; ++n) values.push_back(static_cast<Float>(n) * Limits::denorm_min());
  values.push_back(Limits::max());
  return values;
}

template <class Float>
std::vector<Float> drawn(std::size_t count) {
  std::mt19937_64 random(7);
  std::vector<Float> values = edges<Float>();
  while (values.size() < count) {
    const auto bits = random();
    const auto any = std::bit_cast<Float>(static_cast<decltype(bits_of(Float{}))>(bits));
    if (std::isfinite(any) && any != 0) values.push_back(any);
    values.push_back(static_cast<Float>(1 + bits % 100'000'000) / 100);
    values.push_back(static_cast<Float>(1 + (bits >> bits % 60)));
  }
  return values;
}

TEST_F(Floats, ShortestText) {
  check_shortest(drawn<double>(100'000));
  check_shortest(drawn<float>(100'000));
}

TEST_F(Floats, LayoutOfText) {
  const struct {
    double value;
    const char* text;
  } cases[] = {
      {0, "0"},
      {-0.0, "0"},
      {5e-324, "5e-324"},
      {1.7976931348623157e308, "1.7976931348623157e+308"},
      {-1.5e-9, "-1.5e-9"},
      {1e21, "1e+21"},
      {1e20, "100000000000000000000"},
      {123456789012345680000.0, "123456789012345680000"},
      {9007199254740993.0, "9007199254740992"},
      {-0.000001, "-0.000001"},
      {0.0000012345678901234567, "0.0000012345678901234567"},
      {0.00000012345678901234567, "1.2345678901234566e-7"},
      {1234567.8901234567, "1234567.8901234567"},
      {1e100, "1e+100"},
      {1e10, "10000000000"},
  };
  std::vector<double> values;
  for (const auto& each : cases) values.push_back(each.value);
  for (const std::int32_t unit : {1, 4}) {
    std::vector<char> texts(values.size() * static_cast<std::size_t>(text_slot * unit));
    const std::uint32_t kind = unit == 1 ? ZVRT_KIND_VARCHAR_SZ : ZVRT_KIND_WVARCHAR_SZ;
    run(float_type<double>(), type(kind, text_slot * unit), values.data(), texts.data(), values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
      std::string text;
      std::size_t at = i * static_cast<std::size_t>(text_slot * unit);
      if (std::endian::native == std::endian::big) at += static_cast<std::size_t>(unit) - 1;  // a character's low byte
      for (; texts[at] != 0; at += static_cast<std::size_t>(unit)) text += texts[at];
      EXPECT_EQ(text, cases[i].text);
    }
  }
}

std::vector<std::string> texts_of_all_lengths() {
  std::mt19937_64 random(11);
  std::vector<std::string> texts;
  for (int i = 0; i < 60'000; ++i) {
    std::string text(random() % 3 == 0 ? "-" : random() % 7 == 0 ? "+" : "");
    const auto digits = static_cast<int>(1 + random() % 24);
    const auto point = static_cast<int>(random() % 26);
    for (int k = 0; k < digits; ++k) {
      if (k == point) text += '.';
      text += static_cast<char>('0' + (random() % 5 == 0 ? 0 : random() % 10));
    }
    if (random() % 2 == 0) text += (random() % 2 == 0 ? "e" : "E+") + std::to_string(random() % 12);
    if (text.find_first_of("eE") == std::string::npos && random() % 2 == 0) {
      text += "e-" + std::to_string(random() % 40);
    }
    texts.push_back(text);
  }
  return texts;
}

TEST_F(Floats, TextOfAnyLength) {
  check_reading<double>(texts_of_all_lengths());
  check_reading<float>(texts_of_all_lengths());
}

// Doubles in 17 digits read back as themselves; halfway points between singles, written out, go to the even one.
TEST_F(Floats, TextOfFloatsAndBetweenThem) {
  std::vector<std::string> seventeen, halfway;
  for (const double value : drawn<double>(20'000)) {
    char text[64];
    seventeen.emplace_back(text, std::to_chars(text, text + sizeof text, value, std::chars_format::scientific, 16).ptr);
  }
  check_reading<double>(seventeen);
  for (std::uint32_t n = 1; n < 20'000; ++n) {
    const double below = 16777216.0 + 2 * n;
    for (const char* const tail : {"", ".0", ".0000001", "e0"}) {
      halfway.push_back(std::to_string(static_cast<std::uint64_t>(below) + 1) + tail);
    }
    halfway.push_back(std::to_string(static_cast<std::uint64_t>(below)) + ".9999999");
  }
  check_reading<float>(halfway);
}

}  // namespace
