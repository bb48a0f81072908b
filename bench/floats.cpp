// Doubles and singles to wide text in scientific form, 17 and 8 digits, and wide text to them.
#include <charconv>
#include <cstdlib>
#include <cwchar>

#include "harness.h"
#include "inputs.h"
#include "peers.h"

#if ZVRT_BENCH_WITH_FMT
#include <fmt/compile.h>
#include <fmt/format.h>
#include <fmt/xchar.h>
#endif
#if ZVRT_BENCH_WITH_ABSEIL
#include <absl/strings/charconv.h>
#include <absl/strings/str_format.h>
#endif
#if ZVRT_BENCH_WITH_FAST_FLOAT
#include <fast_float/fast_float.h>
#endif
#if ZVRT_BENCH_WITH_DOUBLE_CONVERSION
#include <double-conversion/double-to-string.h>
#include <double-conversion/string-to-double.h>
#endif

#if ZVRT_BENCH_WITH_FLOFF
#include <floff/floff.h>
#endif
#if ZVRT_BENCH_WITH_RYU
#include <ryu/ryu.h>
#endif

namespace zvrt_bench {
namespace {

// Digits after the point of the scientific form.
template <class Float>
constexpr int precision = std::is_same_v<Float, double> ? 16 : 7;

// ---- to text -------------------------------------------------------------------------------------------------------

// Singles are rendered as the doubles that they are. `render(value, text)` writes narrow text with a small e and returns
// its end.
template <class Float, class Render>
std::size_t render_widened(Float value, std::byte* output, Render render) {
  std::array<char, 32> text;
  const char* end = render(static_cast<double>(value), text.data());
  text[static_cast<std::size_t>(precision<Float> + (value < 0 ? 3 : 2))] = 'E';
  return widen({text.data(), static_cast<std::size_t>(end - text.data())}, wide(output));
}

template <class Float>
std::size_t render_to_chars(Float value, std::byte* output) {
  return render_widened(value, output, [](double number, char* text) {
    return std::to_chars(text, text + 32, number, std::chars_format::scientific, precision<Float>).ptr;
  });
}

#if ZVRT_BENCH_WITH_FLOFF
template <class Float>
std::size_t render_floff(Float value, std::byte* output) {
  return render_widened(value, output, [](double number, char* text) {
    return jkj::floff::floff<jkj::floff::main_cache_full, jkj::floff::extended_cache_long>(number, precision<Float>,
                                                                                           text);
  });
}
#endif

#if ZVRT_BENCH_WITH_RYU
template <class Float>
std::size_t render_ryu(Float value, std::byte* output) {
  return render_widened(
      value, output, [](double number, char* text) { return text + d2exp_buffered_n(number, precision<Float>, text); });
}
#endif

template <class Float>
std::size_t render_swprintf(Float value, std::byte* output) {
  const int length = std::swprintf(wide(output), 32, L"%.*E", precision<Float>, static_cast<double>(value));
  return static_cast<std::size_t>(length) * sizeof(wchar_t);
}

#if ZVRT_BENCH_WITH_FMT
template <class Float>
std::size_t render_fmt(Float value, std::byte* output) {
  const auto number = static_cast<double>(value);
  const wchar_t* end = precision<Float> == 16 ? fmt::format_to(wide(output), FMT_COMPILE(L"{:.16E}"), number)
                                              : fmt::format_to(wide(output), FMT_COMPILE(L"{:.7E}"), number);
  return terminated(wide(output), static_cast<std::size_t>(end - wide(output)));
}
#endif

#if ZVRT_BENCH_WITH_DOUBLE_CONVERSION
template <class Float>
std::size_t render_double_conversion(Float value, std::byte* output) {
  using double_conversion::DoubleToStringConverter;
  static const DoubleToStringConverter converter(DoubleToStringConverter::EMIT_POSITIVE_EXPONENT_SIGN, "inf", "nan",
                                                 'E', -6, 21, 6, 0, 2);
  std::array<char, 48> text;
  double_conversion::StringBuilder builder(text.data(), static_cast<int>(text.size()));
  converter.ToExponential(static_cast<double>(value), precision<Float>, &builder);
  const auto length = static_cast<std::size_t>(builder.position());
  builder.Finalize();
  return widen({text.data(), length}, wide(output));
}
#endif

#if ZVRT_BENCH_WITH_ABSEIL
template <class Float>
std::size_t render_abseil(Float value, std::byte* output) {
  std::array<char, 32> text;
  const int length = absl::SNPrintF(text.data(), text.size(), "%.*E", precision<Float>, static_cast<double>(value));
  return widen({text.data(), static_cast<std::size_t>(length)}, wide(output));
}
#endif

template <auto conversion, class Float>
void register_rendering(Operation operation, const char* variant, const Set<Float>& values) {
  std::vector<Contender> contenders = {
      contender("ours", values,
                [](const Float& value, std::byte* out) { return call<conversion, sizeof(wchar_t)>(&value, out); }),
      contender("to_chars, widened", values, render_to_chars<Float>),
      contender("swprintf", values, render_swprintf<Float>)};
#if ZVRT_BENCH_WITH_FMT
  contenders.push_back(contender("fmt, compiled", values, render_fmt<Float>));
#endif
#if ZVRT_BENCH_WITH_FLOFF
  contenders.push_back(contender("floff, widened", values, render_floff<Float>));
#endif
#if ZVRT_BENCH_WITH_RYU
  contenders.push_back(contender("Ryu, widened", values, render_ryu<Float>));
#endif
#if ZVRT_BENCH_WITH_DOUBLE_CONVERSION
  contenders.push_back(contender("double-conversion, widened", values, render_double_conversion<Float>));
#endif
#if ZVRT_BENCH_WITH_ABSEIL
  contenders.push_back(contender("Abseil, widened", values, render_abseil<Float>));
#endif
  compete(operation, variant, std::move(contenders));
}

// ---- from text -----------------------------------------------------------------------------------------------------

// A single is the double rounded once more, which is what the runtime defines.
template <class Float, auto parse>
std::size_t parse_as_double(const wchar_t* text, std::byte* output) {
  return stored(static_cast<Float>(parse(text)), output);
}

double by_wcstod(const wchar_t* text) { return std::wcstod(text, nullptr); }

double by_from_chars(const wchar_t* text) {
  const Narrowed digits(text);
  double value = 0;
  std::from_chars(digits.begin(), digits.end(), value);
  return value;
}

#if ZVRT_BENCH_WITH_FAST_FLOAT
double by_fast_float(const wchar_t* text) {
  const Narrowed digits(text);
  double value = 0;
  fast_float::from_chars(digits.begin(), digits.end(), value);
  return value;
}
#if defined(FASTFLOAT_VERSION_MAJOR)  // wide text since the versions that tell theirs
double by_wide_fast_float(const wchar_t* text) {
  double value = 0;
  fast_float::from_chars(text, text + std::wcslen(text), value);
  return value;
}
#endif
#endif

#if ZVRT_BENCH_WITH_ABSEIL
double by_abseil(const wchar_t* text) {
  const Narrowed digits(text);
  double value = 0;
  absl::from_chars(digits.begin(), digits.end(), value);
  return value;
}
#endif

#if ZVRT_BENCH_WITH_DOUBLE_CONVERSION
double by_double_conversion(const wchar_t* text) {
  using double_conversion::StringToDoubleConverter;
  static const StringToDoubleConverter converter(StringToDoubleConverter::NO_FLAGS, 0, 0, "inf", "nan");
  const Narrowed digits(text);
  int read = 0;
  return converter.StringToDouble(digits.begin(), static_cast<int>(digits.size()), &read);
}
#endif

template <auto conversion, class Float>
void register_parsing(Operation operation, const char* variant, const WideTexts& texts) {
  std::vector<Contender> contenders = {
      contender("ours", texts, [](const wchar_t* text, std::byte* out) { return call<conversion, 1>(text, out); }),
      contender("wcstod", texts, parse_as_double<Float, by_wcstod>),
      contender("narrowed, from_chars", texts, parse_as_double<Float, by_from_chars>)};
#if ZVRT_BENCH_WITH_FAST_FLOAT
  contenders.push_back(contender("narrowed, fast_float", texts, parse_as_double<Float, by_fast_float>));
#if defined(FASTFLOAT_VERSION_MAJOR)
  contenders.push_back(contender("fast_float", texts, parse_as_double<Float, by_wide_fast_float>));
#endif
#endif
#if ZVRT_BENCH_WITH_ABSEIL
  contenders.push_back(contender("narrowed, Abseil", texts, parse_as_double<Float, by_abseil>));
#endif
#if ZVRT_BENCH_WITH_DOUBLE_CONVERSION
  contenders.push_back(contender("narrowed, double-conversion", texts, parse_as_double<Float, by_double_conversion>));
#endif
  compete(operation, variant, std::move(contenders));
}

// The form that the library itself writes.
template <class Float>
WideTexts scientific(const Set<Float>& values) {
  return packed(*rendered(values, [](Float value) {
    std::array<wchar_t, 32> text{};
    std::swprintf(text.data(), text.size(), L"%.*E", precision<Float>, static_cast<double>(value));
    return std::wstring(text.data());
  }));
}

// The shortest plain form, as people and files write numbers.
WideTexts plain(const Set<double>& values) {
  return packed(*rendered(values, [](double value) {
    std::array<char, 64> text{};
    char* const end = std::to_chars(text.begin(), text.end(), value, std::chars_format::fixed).ptr;
    return widened(std::string(text.data(), end));
  }));
}

template <class Float>
Set<Float> as(const Set<double>& values) {
  return rendered(values, [](double value) { return static_cast<Float>(value); });
}

}  // namespace

void register_floats() {
  const auto doubles = drawn(double_bits);
  const auto floats = drawn(float_bits);
  const auto prices = drawn(price);
  const auto measurements = drawn(measurement);
  const auto wholes = drawn(whole_number);
  constexpr Operation to_text{"double to wide text, 17 digits", 0.75};
  constexpr Operation single_to_text{"float to wide text, 8 digits", 0.75};
  constexpr Operation from_text{"wide text to double", 1.0};
  constexpr Operation single_from_text{"wide text to float", 1.0};

  register_rendering<ZVRTCnvDblToWVarcharSz>(to_text, "random bits", doubles);
  register_rendering<ZVRTCnvDblToWVarcharSz>(to_text, "prices", prices);
  register_rendering<ZVRTCnvDblToWVarcharSz>(to_text, "measurements", measurements);
  register_rendering<ZVRTCnvDblToWVarcharSz>(to_text, "whole numbers", wholes);
  register_rendering<ZVRTCnvFltToWVarcharSz>(single_to_text, "random bits", floats);
  register_rendering<ZVRTCnvFltToWVarcharSz>(single_to_text, "prices", as<float>(prices));
  register_rendering<ZVRTCnvFltToWVarcharSz>(single_to_text, "measurements", as<float>(measurements));

  register_parsing<ZVRTCnvWVarcharSzToDbl, double>(from_text, "scientific, random bits", scientific(doubles));
  register_parsing<ZVRTCnvWVarcharSzToDbl, double>(from_text, "scientific, prices", scientific(prices));
  register_parsing<ZVRTCnvWVarcharSzToDbl, double>(from_text, "plain, prices", plain(prices));
  register_parsing<ZVRTCnvWVarcharSzToDbl, double>(from_text, "plain, measurements", plain(measurements));
  register_parsing<ZVRTCnvWVarcharSzToFlt, float>(single_from_text, "scientific, random bits", scientific(floats));
  register_parsing<ZVRTCnvWVarcharSzToFlt, float>(single_from_text, "plain, prices", plain(prices));
}

}  // namespace zvrt_bench
