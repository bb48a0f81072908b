// Integers to wide text and back.
#include <charconv>
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
#include <absl/strings/numbers.h>
#include <absl/strings/str_cat.h>
#endif
#if ZVRT_BENCH_WITH_FAST_FLOAT
#include <fast_float/fast_float.h>
#endif

namespace zvrt_bench {
namespace {

// ---- to text -------------------------------------------------------------------------------------------------------

using WidePair = std::array<wchar_t, 2>;

constexpr std::array<WidePair, 100> wide_pairs = [] {
  std::array<WidePair, 100> pairs{};
  for (int i = 0; i < 100; ++i) pairs[static_cast<std::size_t>(i)] = {L'0' + i / 10, L'0' + i % 10};
  return pairs;
}();

// The usual way by hand: two digits at a time from a table.
template <class Integer>
std::size_t render_by_pairs(Integer value, std::byte* output) {
  using Magnitude = std::make_unsigned_t<Integer>;
  auto magnitude = static_cast<Magnitude>(value);
  if (value < 0) magnitude = static_cast<Magnitude>(0 - magnitude);
  std::array<wchar_t, 20> area;
  wchar_t* const end = area.data() + area.size();
  wchar_t* first = end;
  for (; magnitude >= 100; magnitude /= 100) std::memcpy(first -= 2, &wide_pairs[magnitude % 100], sizeof(WidePair));
  if (magnitude >= 10) {
    std::memcpy(first -= 2, &wide_pairs[magnitude], sizeof(WidePair));
  } else {
    *--first = static_cast<wchar_t>(L'0' + magnitude);
  }
  if (value < 0) *--first = L'-';
  const auto length = static_cast<std::size_t>(end - first);
  std::memcpy(output, first, length * sizeof(wchar_t));
  return terminated(wide(output), length);
}

template <class Integer>
std::size_t render_to_chars(Integer value, std::byte* output) {
  std::array<char, 24> digits;
  const char* end = std::to_chars(digits.begin(), digits.end(), value).ptr;
  return widen({digits.data(), static_cast<std::size_t>(end - digits.data())}, wide(output));
}

template <class Integer>
std::size_t render_swprintf(Integer value, std::byte* output) {
  constexpr const wchar_t* format = std::is_signed_v<Integer> ? L"%lld" : L"%llu";
  return static_cast<std::size_t>(std::swprintf(wide(output), 24, format, static_cast<long long>(value))) *
         sizeof(wchar_t);
}

template <auto conversion, class Integer>
void register_rendering(Operation operation, const char* variant, const Set<Integer>& values) {
  std::vector<Contender> contenders = {
      contender("ours", values,
                [](const Integer& value, std::byte* out) { return call<conversion, sizeof(wchar_t)>(&value, out); }),
      contender("table of pairs", values, render_by_pairs<Integer>),
      contender("to_chars, widened", values, render_to_chars<Integer>),
      contender("swprintf", values, render_swprintf<Integer>)};
#if ZVRT_BENCH_WITH_FMT
  contenders.push_back(contender("fmt, compiled", values, [](Integer value, std::byte* out) {
    const wchar_t* end = fmt::format_to(wide(out), FMT_COMPILE(L"{}"), value);
    return terminated(wide(out), static_cast<std::size_t>(end - wide(out)));
  }));
  contenders.push_back(contender("fmt::format_int, widened", values, [](Integer value, std::byte* out) {
    const fmt::format_int digits(+value);
    return widen({digits.data(), digits.size()}, wide(out));
  }));
#endif
#if ZVRT_BENCH_WITH_ABSEIL
  contenders.push_back(contender("Abseil, widened", values, [](Integer value, std::byte* out) {
    const absl::AlphaNum digits(+value);
    return widen({digits.data(), digits.size()}, wide(out));
  }));
#endif
  compete(operation, variant, std::move(contenders));
}

// ---- from text -----------------------------------------------------------------------------------------------------

template <class Integer>
std::size_t parse_by_loop(const wchar_t* text, std::byte* output) {
  const wchar_t* at = text;
  const bool negative = *at == L'-';
  if (negative) ++at;
  std::make_unsigned_t<Integer> magnitude = 0;
  for (; *at != L'\0'; ++at) {
    if (*at < L'0' || *at > L'9') return 0;
    magnitude = magnitude * 10 + static_cast<std::make_unsigned_t<Integer>>(*at - L'0');
  }
  return stored(static_cast<Integer>(negative ? 0 - magnitude : magnitude), output);
}

template <class Integer>
std::size_t parse_from_chars(const wchar_t* text, std::byte* output) {
  const Narrowed digits(text);
  Integer value = 0;
  std::from_chars(digits.begin(), digits.end(), value);
  return stored(value, output);
}

template <auto conversion, class Integer>
void register_parsing(Operation operation, const char* variant, const Set<Integer>& values) {
  const WideTexts texts = packed(*rendered(values, [](Integer value) { return std::to_wstring(value); }));
  std::vector<Contender> contenders = {
      contender("ours", texts, [](const wchar_t* text, std::byte* out) { return call<conversion, 1>(text, out); }),
      contender("plain loop", texts, parse_by_loop<Integer>),
      contender("narrowed, from_chars", texts, parse_from_chars<Integer>),
      contender("wcstoll", texts, [](const wchar_t* text, std::byte* out) {
        if constexpr (std::is_signed_v<Integer>)
          return stored(static_cast<Integer>(std::wcstoll(text, nullptr, 10)), out);
        return stored(static_cast<Integer>(std::wcstoull(text, nullptr, 10)), out);
      })};
#if ZVRT_BENCH_WITH_ABSEIL
  contenders.push_back(contender("narrowed, Abseil", texts, [](const wchar_t* text, std::byte* out) {
    const Narrowed digits(text);
    std::conditional_t<(sizeof(Integer) < 4), std::int32_t, Integer> value = 0;
    return absl::SimpleAtoi(absl::string_view(digits.begin(), digits.size()), &value)
               ? stored(static_cast<Integer>(value), out)
               : 0;
  }));
#endif
#if ZVRT_BENCH_WITH_FAST_FLOAT && defined(FASTFLOAT_VERSION_MAJOR)  // wide text since the versions that tell theirs
  contenders.push_back(contender("fast_float", texts, [](const wchar_t* text, std::byte* out) {
    Integer value = 0;
    fast_float::from_chars(text, text + std::wcslen(text), value);
    return stored(value, out);
  }));
#endif
  compete(operation, variant, std::move(contenders));
}

// The types that have no row of their own above.
template <class Integer, auto render, auto parse>
void register_other(const char* type) {
  const auto values = drawn(of_any_digit_count<Integer>);
  register_rendering<render>({"other integers to wide text", 0.65}, type, values);
  register_parsing<parse>({"wide text to other integers", 0.7}, type, values);
}

}  // namespace

void register_integers() {
  const auto any_64 = drawn(of_any_digit_count<std::int64_t>);
  const auto any_32 = drawn(of_any_digit_count<std::int32_t>);
  const auto keys_64 = drawn(key<std::int64_t>, large_set_size);
  const auto keys_32 = drawn(key<std::int32_t>, large_set_size);
  constexpr Operation to_text_64{"int64 to wide text", 0.5};
  constexpr Operation to_text_32{"int32 to wide text", 0.65};
  constexpr Operation from_text_64{"wide text to int64", 0.5};
  constexpr Operation from_text_32{"wide text to int32", 0.7};
  constexpr Operation keys_to_text{"keys to wide text", 0};
  constexpr Operation keys_from_text{"wide text to keys", 0};

  register_rendering<ZVRTCnvLongLongToWVarcharSz>(to_text_64, "any count of digits", any_64);
  register_rendering<ZVRTCnvIntToWVarcharSz1>(to_text_32, "any count of digits", any_32);
  register_rendering<ZVRTCnvLongLongToWVarcharSz>(keys_to_text, "int64, 1 to 6 digits", keys_64);
  register_rendering<ZVRTCnvIntToWVarcharSz1>(keys_to_text, "int32, 1 to 6 digits", keys_32);
  register_parsing<ZVRTCnvWVarcharSzToLongLong>(from_text_64, "any count of digits", any_64);
  register_parsing<ZVRTCnvWVarcharSzToInt1>(from_text_32, "any count of digits", any_32);
  register_parsing<ZVRTCnvWVarcharSzToLongLong>(keys_from_text, "int64, 1 to 6 digits", keys_64);
  register_parsing<ZVRTCnvWVarcharSzToInt1>(keys_from_text, "int32, 1 to 6 digits", keys_32);

  register_other<std::uint64_t, ZVRTCnvULONGLONGToWVarcharSz, ZVRTCnvWVarcharSzToULONGLONG>("uint64");
  register_other<std::uint32_t, ZVRTCnvUIntToWVarcharSz, ZVRTCnvWVarcharSzToUInt>("uint32");
  register_other<std::int16_t, ZVRTCnvSmallIntToWVarcharSz, ZVRTCnvWVarcharSzToSmallInt>("int16");
  register_other<std::uint16_t, ZVRTCnvSmallUIntToWVarcharSz, ZVRTCnvWVarcharSzToSmallUInt>("uint16");
  register_other<std::int8_t, ZVRTCnvTinyIntToWVarcharSz, ZVRTCnvWVarcharSzToTinyInt>("int8");
  register_other<std::uint8_t, ZVRTCnvTinyUIntToWVarcharSz, ZVRTCnvWVarcharSzToTinyUInt>("uint8");
}

}  // namespace zvrt_bench
