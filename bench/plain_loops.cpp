// Beside loops of one character or digit a step, which is what a processor without kernels would be left with: for the
// level portable, `LEVEL=portable scripts/bench.sh plain_loops`. The loops are functions of their own and check what the
// library checks: where the destination ends, and what is not a digit.
#include <cstring>
#include <string>

#include "harness.h"
#include "inputs.h"
#include "peers.h"

namespace zvrt_bench {
namespace {

constexpr std::size_t room = output_size / sizeof(wchar_t) - 1;

[[gnu::noinline]] std::size_t decode_by_loop(const char* text, std::byte* output) {
  wchar_t* const to = wide(output);
  std::size_t written = 0;
  for (; *text != 0 && written < room; ++written) {
    auto code = static_cast<unsigned char>(*text++);
    if (code < 0x80) {
      to[written] = code;
      continue;
    }
    const int more = code >= 0xF0 ? 3 : code >= 0xE0 ? 2 : 1;
    std::uint32_t point = code & (0x3FU >> more);
    for (int i = 0; i < more; ++i) {
      code = static_cast<unsigned char>(*text);
      if ((code & 0xC0) != 0x80) return 0;
      point = point << 6 | (code & 0x3FU);
      ++text;
    }
    to[written] = static_cast<wchar_t>(point);
  }
  return terminated(to, written);
}

[[gnu::noinline]] std::size_t encode_by_loop(const wchar_t* text, std::byte* output) {
  char* const to = narrow(output);
  std::size_t written = 0;
  for (; *text != 0 && written + 4 < output_size; ++text) {
    const auto point = static_cast<std::uint32_t>(*text);
    if (point < 0x80) {
      to[written++] = static_cast<char>(point);
      continue;
    }
    const int more = point < 0x800 ? 1 : point < 0x10000 ? 2 : 3;
    to[written++] = static_cast<char>(0xFF00 >> (more + 1) | point >> 6 * more);
    for (int shift = 6 * (more - 1); shift >= 0; shift -= 6)
      to[written++] = static_cast<char>(0x80 | (point >> shift & 0x3F));
  }
  return terminated(to, written);
}

template <class Integer>
[[gnu::noinline]] std::size_t render_by_loop(Integer value, std::byte* output) {
  using Magnitude = std::make_unsigned_t<Integer>;
  auto magnitude = static_cast<Magnitude>(value);
  if (value < 0) magnitude = static_cast<Magnitude>(0 - magnitude);
  std::array<wchar_t, 20> digits;
  std::size_t first = digits.size();
  do {
    digits[--first] = static_cast<wchar_t>('0' + magnitude % 10);
    magnitude /= 10;
  } while (magnitude != 0);
  if (value < 0) digits[--first] = '-';
  wchar_t* to = wide(output);
  for (; first < digits.size(); ++first) *to++ = digits[first];
  return terminated(wide(output), static_cast<std::size_t>(to - wide(output)));
}

template <class Integer>
[[gnu::noinline]] std::size_t parse_by_loop(const wchar_t* text, std::byte* output) {
  const bool negative = *text == '-';
  if (negative) ++text;
  std::make_unsigned_t<Integer> magnitude = 0;
  for (; *text != 0; ++text) {
    if (*text < '0' || *text > '9') return 0;
    magnitude = magnitude * 10 + static_cast<std::make_unsigned_t<Integer>>(*text - '0');
  }
  return stored(static_cast<Integer>(negative ? 0 - magnitude : magnitude), output);
}

// Against `loop` alone.
template <auto conversion, std::size_t unit, class Values, class Loop>
void compete_with(Operation operation, const std::string& variant, const Values& values, Loop loop) {
  const auto ours = [](const auto& value, std::byte* out) {
    if constexpr (std::is_pointer_v<std::remove_cvref_t<decltype(value)>>)
      return call<conversion, unit>(value, out);
    else
      return call<conversion, unit>(&value, out);
  };
  compete(operation, variant, {contender("ours", values, ours), contender("plain loop", values, loop)});
}

void register_texts(Script script, std::size_t length, bool judged) {
  const std::string variant = std::string(name_of(script)) + " " + std::to_string(length);
  compete_with<ZVRTCnvVarcharSzToWVarcharSz, sizeof(wchar_t)>({"UTF-8 to wide, plain loop", judged ? 0.6 : 0}, variant,
                                                              texts_of_bytes(script, length), decode_by_loop);
  compete_with<ZVRTCnvWVarcharSzToVarcharSz, 1>({"wide to UTF-8, plain loop", judged ? 0.6 : 0}, variant,
                                                texts_of_characters(script, length), encode_by_loop);
}

template <auto to_text, auto from_text, class Integer>
void register_both_ways(const char* variant, const Set<Integer>& values) {
  const WideTexts texts = packed(*rendered(values, [](Integer value) { return std::to_wstring(value); }));
  compete_with<to_text, sizeof(wchar_t)>({"integer to wide text, plain loop", 0.8}, variant, values,
                                         render_by_loop<Integer>);
  compete_with<from_text, 1>({"wide text to integer, plain loop", 0.8}, variant, texts, parse_by_loop<Integer>);
}

}  // namespace

void register_plain_loops() {
  for (const std::size_t length : {16U, 32U, 64U}) {
    register_texts(Script::ascii, length, true);
    for (const Script script : {Script::french, Script::russian, Script::chinese})
      register_texts(script, length, false);
  }
  register_both_ways<ZVRTCnvLongLongToWVarcharSz, ZVRTCnvWVarcharSzToLongLong>("int64, any count of digits",
                                                                               drawn(of_any_digit_count<std::int64_t>));
  register_both_ways<ZVRTCnvIntToWVarcharSz1, ZVRTCnvWVarcharSzToInt1>("int32, any count of digits",
                                                                       drawn(of_any_digit_count<std::int32_t>));
  register_both_ways<ZVRTCnvIntToWVarcharSz1, ZVRTCnvWVarcharSzToInt1>("int32, 1 to 6 digits",
                                                                       drawn(key<std::int32_t>, large_set_size));
}

}  // namespace zvrt_bench
