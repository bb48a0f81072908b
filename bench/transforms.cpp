// The transforms between UTF-8, UTF-16 and UTF-32 beside the fastest that is known for each.
#include <string>

#include "harness.h"
#include "inputs.h"
#include "peers.h"

#if ZVRT_BENCH_WITH_ICU
#include <unicode/utf16.h>
#include <unicode/utf8.h>
#endif
#if ZVRT_BENCH_WITH_SIMDUTF
#include <simdutf.h>
#endif

namespace zvrt_bench {
namespace {

using Utf8 = std::string;
using Utf16 = std::u16string;
using Utf32 = std::u32string;

std::int32_t size_of(const auto& text) { return static_cast<std::int32_t>(text.size()); }
template <class Unit>
Unit* units(std::byte* out) {
  return reinterpret_cast<Unit*>(out);
}
template <class Unit>
constexpr auto room = static_cast<std::int32_t>(output_size / sizeof(Unit));

Utf32 utf32_of(const char* utf8) {
  const std::wstring text = widened(utf8);
  return {text.begin(), text.end()};
}
Utf16 utf16_of(const char* utf8) {
  Utf16 text;
  for (const char32_t point : utf32_of(utf8)) {
    if (point > 0xFFFF) text += static_cast<char16_t>(0xD7C0 + (point >> 10));
    text += static_cast<char16_t>(point > 0xFFFF ? 0xDC00 + (point & 0x3FF) : point);
  }
  return text;
}

// One direction: ours, simdutf with the length known, ICU's macros. Results are the bytes written.
struct Direction {
  const char* name;
  double at_most;
};

template <class From, class Into, class Ours, class Simdutf, class Icu>
void compare(Direction direction, const std::string& variant, const Set<From>& texts, Ours ours,
             [[maybe_unused]] Simdutf simdutf, [[maybe_unused]] Icu icu) {
  std::vector<Contender> contenders = {contender("ours", texts, [ours](const From& text, std::byte* out) {
    std::uint32_t count = 0;
    ours(text, units<Into>(out), &count);
    return count * sizeof(Into);
  })};
#if ZVRT_BENCH_WITH_SIMDUTF
  contenders.push_back(contender("simdutf", texts, [simdutf](const From& text, std::byte* out) {
    return simdutf(text, units<Into>(out)) * sizeof(Into);
  }));
#endif
#if ZVRT_BENCH_WITH_ICU
  contenders.push_back(contender("ICU's macros", texts, [icu](const From& text, std::byte* out) {
    return icu(text, units<Into>(out)) * sizeof(Into);
  }));
#endif
  compete({direction.name, direction.at_most}, variant, std::move(contenders));
}

#if ZVRT_BENCH_WITH_SIMDUTF
#define ZVRT_SIMDUTF(call) [](const auto& text, auto* out) { return simdutf::call; }
#else
#define ZVRT_SIMDUTF(call) 0
#endif
#if ZVRT_BENCH_WITH_ICU
// Reads one code point after the other and appends it.
template <class Next, class Append>
auto by_macros(Next next, Append append) {
  return [=](const auto& text, auto* out) {
    std::int32_t read = 0;
    std::int32_t written = 0;
    while (read < size_of(text)) append(out, written, next(text, read));
    return static_cast<std::size_t>(written);
  };
}
UChar32 next8(const Utf8& text, std::int32_t& at) {
  UChar32 point = 0;
  U8_NEXT(text.data(), at, size_of(text), point);
  return point;
}
UChar32 next16(const Utf16& text, std::int32_t& at) {
  UChar32 point = 0;
  U16_NEXT(text.data(), at, size_of(text), point);
  return point;
}
UChar32 next32(const Utf32& text, std::int32_t& at) {
  return static_cast<UChar32>(text[static_cast<std::size_t>(at++)]);
}
void append8(char* out, std::int32_t& at, UChar32 point) {
  [[maybe_unused]] UBool failed = false;
  auto* bytes = reinterpret_cast<std::uint8_t*>(out);
  U8_APPEND(bytes, at, room<char>, point, failed);
}
void append16(std::uint16_t* out, std::int32_t& at, UChar32 point) {
  [[maybe_unused]] UBool failed = false;
  U16_APPEND(out, at, room<std::uint16_t>, point, failed);
}
void append32(wchar_t* out, std::int32_t& at, UChar32 point) { out[at++] = point; }
#define ZVRT_ICU(next, append) by_macros(next, append)
#else
#define ZVRT_ICU(next, append) 0
#endif

[[maybe_unused]] char32_t* as32(wchar_t* out) { return reinterpret_cast<char32_t*>(out); }
[[maybe_unused]] char16_t* as16(std::uint16_t* out) { return reinterpret_cast<char16_t*>(out); }
const wchar_t* wide(const Utf32& text) { return reinterpret_cast<const wchar_t*>(text.data()); }
const std::uint16_t* words(const Utf16& text) { return reinterpret_cast<const std::uint16_t*>(text.data()); }

void register_length(Script script, std::size_t bytes) {
  const NarrowTexts texts = texts_of_bytes(script, bytes);
  const auto utf8 = rendered(texts, [](const char* text) { return Utf8(text); });
  const auto utf16 = rendered(texts, utf16_of);
  const auto utf32 = rendered(texts, utf32_of);
  const std::string variant = std::string(name_of(script)) + " " + std::to_string(bytes);

  compare<Utf8, wchar_t>(
      {"Convert8To32", 1.2}, variant, utf8,
      [](const Utf8& text, wchar_t* out, std::uint32_t* count) {
        Convert8To32(out, room<wchar_t>, text.data(), size_of(text), count);
      },
      ZVRT_SIMDUTF(convert_utf8_to_utf32(text.data(), text.size(), as32(out))), ZVRT_ICU(next8, append32));
  compare<Utf32, char>(
      {"Convert32To8", 1.2}, variant, utf32,
      [](const Utf32& text, char* out, std::uint32_t* count) {
        Convert32To8(out, room<char>, wide(text), size_of(text), count);
      },
      ZVRT_SIMDUTF(convert_utf32_to_utf8(text.data(), text.size(), out)), ZVRT_ICU(next32, append8));
  compare<Utf8, std::uint16_t>(
      {"Convert8To16", 1.6}, variant, utf8,
      [](const Utf8& text, std::uint16_t* out, std::uint32_t* count) {
        Convert8To16(out, room<std::uint16_t>, text.data(), size_of(text), count);
      },
      ZVRT_SIMDUTF(convert_utf8_to_utf16le(text.data(), text.size(), as16(out))), ZVRT_ICU(next8, append16));
  compare<Utf16, char>(
      {"Convert16To8", 1.6}, variant, utf16,
      [](const Utf16& text, char* out, std::uint32_t* count) {
        Convert16To8(out, room<char>, words(text), size_of(text), count);
      },
      ZVRT_SIMDUTF(convert_utf16le_to_utf8(text.data(), text.size(), out)), ZVRT_ICU(next16, append8));
  compare<Utf16, wchar_t>(
      {"Convert16To32", 1.6}, variant, utf16,
      [](const Utf16& text, wchar_t* out, std::uint32_t* count) {
        Convert16To32(words(text), size_of(text), out, room<wchar_t>, count);
      },
      ZVRT_SIMDUTF(convert_utf16le_to_utf32(text.data(), text.size(), as32(out))), ZVRT_ICU(next16, append32));
  compare<Utf32, std::uint16_t>(
      {"Convert32To16", 1.6}, variant, utf32,
      [](const Utf32& text, std::uint16_t* out, std::uint32_t* count) {
        Convert32To16(wide(text), size_of(text), out, room<std::uint16_t>, count);
      },
      ZVRT_SIMDUTF(convert_utf32_to_utf16le(text.data(), text.size(), as16(out))), ZVRT_ICU(next32, append16));
}

}  // namespace

void register_transforms() {
  for (const Script script : unicode_scripts) {
    for (const std::size_t length : text_lengths) register_length(script, length);
  }
}

}  // namespace zvrt_bench
