// Text between narrow UTF-8 and wide, and copies: measure, convert, terminate.
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "harness.h"
#include "inputs.h"
#include "peers.h"

#if ZVRT_BENCH_WITH_ICU
#include <unicode/utf8.h>
#endif
#if ZVRT_BENCH_WITH_SIMDUTF
#include <simdutf.h>
#endif

namespace zvrt_bench {
namespace {

// ---- UTF-8 to wide -------------------------------------------------------------------------------------------------

// One sequence at a time, well-formed ones only.
std::size_t decode_scalar(const char* text, std::byte* output) {
  const char* from = text;
  const char* const end = from + std::strlen(from);
  wchar_t* to = wide(output);
  while (from != end) {
    auto code = static_cast<unsigned char>(*from++);
    std::uint32_t point = code;
    int more = 0;
    if (code >= 0xF0) {
      point = code & 0x07;
      more = 3;
    } else if (code >= 0xE0) {
      point = code & 0x0F;
      more = 2;
    } else if (code >= 0xC0) {
      point = code & 0x1F;
      more = 1;
    }
    for (; more > 0 && from != end; --more) point = point << 6 | (static_cast<unsigned char>(*from++) & 0x3F);
    *to++ = static_cast<wchar_t>(point);
  }
  return terminated(wide(output), static_cast<std::size_t>(to - wide(output)));
}

std::size_t decode_mbstowcs(const char* text, std::byte* output) {
  return std::mbstowcs(wide(output), text, output_size / sizeof(wchar_t)) * sizeof(wchar_t);
}

#if ZVRT_BENCH_WITH_ICU
std::size_t decode_icu(const char* text, std::byte* output) {
  const auto length = static_cast<std::int32_t>(std::strlen(text));
  wchar_t* to = wide(output);
  for (std::int32_t i = 0; i < length;) {
    UChar32 point = 0;
    U8_NEXT(text, i, length, point);
    *to++ = point;
  }
  return terminated(wide(output), static_cast<std::size_t>(to - wide(output)));
}
#endif

#if ZVRT_BENCH_WITH_SIMDUTF
char32_t* utf32(std::byte* output) { return reinterpret_cast<char32_t*>(output); }
char16_t* utf16_area() {
  static std::array<char16_t, output_size / sizeof(char16_t)> area;
  return area.data();
}

std::size_t decode_simdutf(const char* text, std::byte* output) {
  return terminated(wide(output), simdutf::convert_utf8_to_utf32(text, std::strlen(text), utf32(output)));
}

std::size_t decode_simdutf_by_utf16(const char* text, std::byte* output) {
  const std::size_t units = simdutf::convert_utf8_to_utf16le(text, std::strlen(text), utf16_area());
  return terminated(wide(output), simdutf::convert_utf16le_to_utf32(utf16_area(), units, utf32(output)));
}
#endif

void register_decoding(Operation operation, Script script, std::size_t bytes) {
  const NarrowTexts texts = texts_of_bytes(script, bytes);
  std::vector<Contender> contenders = {
      contender("ours", texts,
                [](const char* text, std::byte* out) {
                  return call<ZVRTCnvVarcharSzToWVarcharSz, sizeof(wchar_t)>(text, out);
                }),
      contender("scalar loop", texts, decode_scalar), contender("mbstowcs", texts, decode_mbstowcs)};
#if ZVRT_BENCH_WITH_ICU
  contenders.push_back(contender("U8_NEXT", texts, decode_icu));
#endif
#if ZVRT_BENCH_WITH_SIMDUTF
  contenders.push_back(contender("simdutf", texts, decode_simdutf));
  contenders.push_back(contender("simdutf by UTF-16", texts, decode_simdutf_by_utf16));
#endif
  compete(operation, std::string(name_of(script)) + " " + std::to_string(bytes), std::move(contenders));
}

// ---- wide to UTF-8 -------------------------------------------------------------------------------------------------

std::size_t encode_scalar(const wchar_t* text, std::byte* output) {
  char* to = narrow(output);
  const std::size_t length = std::wcslen(text);
  for (std::size_t i = 0; i < length; ++i) {
    const auto point = static_cast<std::uint32_t>(text[i]);
    if (point < 0x80) {
      *to++ = static_cast<char>(point);
      continue;
    }
    const int more = point < 0x800 ? 1 : point < 0x10000 ? 2 : 3;
    *to++ = static_cast<char>(0xFF00 >> (more + 1) | point >> 6 * more);
    for (int shift = 6 * (more - 1); shift >= 0; shift -= 6) *to++ = static_cast<char>(0x80 | (point >> shift & 0x3F));
  }
  return terminated(narrow(output), static_cast<std::size_t>(to - narrow(output)));
}

std::size_t encode_wcstombs(const wchar_t* text, std::byte* output) {
  return std::wcstombs(narrow(output), text, output_size);
}

#if ZVRT_BENCH_WITH_ICU
std::size_t encode_icu(const wchar_t* text, std::byte* output) {
  auto* to = reinterpret_cast<std::uint8_t*>(output);
  std::int32_t i = 0;
  UBool failed = false;
  const std::size_t length = std::wcslen(text);
  for (std::size_t k = 0; k < length; ++k) {
    U8_APPEND(to, i, static_cast<std::int32_t>(output_size), static_cast<UChar32>(text[k]), failed);
  }
  return terminated(narrow(output), failed != 0 ? 0 : static_cast<std::size_t>(i));
}
#endif

#if ZVRT_BENCH_WITH_SIMDUTF
const char32_t* utf32(const wchar_t* text) { return reinterpret_cast<const char32_t*>(text); }

std::size_t encode_simdutf(const wchar_t* text, std::byte* output) {
  const std::size_t length = std::wcslen(text);
  return terminated(narrow(output), simdutf::convert_utf32_to_utf8(utf32(text), length, narrow(output)));
}

std::size_t encode_simdutf_by_utf16(const wchar_t* text, std::byte* output) {
  const std::size_t length = std::wcslen(text);
  const std::size_t units = simdutf::convert_utf32_to_utf16le(utf32(text), length, utf16_area());
  return terminated(narrow(output), simdutf::convert_utf16le_to_utf8(utf16_area(), units, narrow(output)));
}
#endif

void register_encoding(Operation operation, Script script, std::size_t characters) {
  const WideTexts texts = texts_of_characters(script, characters);
  std::vector<Contender> contenders = {
      contender("ours", texts,
                [](const wchar_t* text, std::byte* out) { return call<ZVRTCnvWVarcharSzToVarcharSz, 1>(text, out); }),
      contender("scalar loop", texts, encode_scalar), contender("wcstombs", texts, encode_wcstombs)};
#if ZVRT_BENCH_WITH_ICU
  contenders.push_back(contender("U8_APPEND", texts, encode_icu));
#endif
#if ZVRT_BENCH_WITH_SIMDUTF
  contenders.push_back(contender("simdutf", texts, encode_simdutf));
  contenders.push_back(contender("simdutf by UTF-16", texts, encode_simdutf_by_utf16));
#endif
  compete(operation, std::string(name_of(script)) + " " + std::to_string(characters), std::move(contenders));
}

// ---- copies --------------------------------------------------------------------------------------------------------

void register_copies(std::size_t length) {
  constexpr Operation copying{"copies between kinds", 1.2};
  const std::string suffix = " " + std::to_string(length);
  const NarrowTexts texts = texts_of_bytes(Script::ascii, length);
  const WideTexts wide_texts = texts_of_characters(Script::ascii, length);

  compete(copying, "WVarcharSz to WVarcharSz" + suffix,
          {contender("ours", wide_texts,
                     [](const wchar_t* text, std::byte* out) {
                       return call<ZVRTCnvWVarcharSzToWVarcharSz, sizeof(wchar_t)>(text, out);
                     }),
           contender("wcslen, wmemcpy", wide_texts, [](const wchar_t* text, std::byte* out) {
             const std::size_t count = std::wcslen(text);
             std::wmemcpy(wide(out), text, count);
             return terminated(wide(out), count);
           })});
  compete(copying, "VarcharSz to VarcharSz" + suffix,
          {contender("ours", texts,
                     [](const char* text, std::byte* out) { return call<ZVRTCnvVarcharSzToVarcharSz, 1>(text, out); }),
           contender("stpcpy", texts,
                     [](const char* text, std::byte* out) {
                       return static_cast<std::size_t>(stpcpy(narrow(out), text) - narrow(out));
                     }),
           contender("strlen, memcpy", texts, [](const char* text, std::byte* out) {
             const std::size_t count = std::strlen(text);
             std::memcpy(out, text, count + 1);
             return count;
           })});
  compete(copying, "VarcharSz to Varchar" + suffix,
          {contender("ours", texts,
                     [](const char* text, std::byte* out) { return call<ZVRTCnvVarcharSzToVarchar, 1>(text, out); }),
           contender("strlen, memcpy", texts, [](const char* text, std::byte* out) {
             const std::size_t count = std::strlen(text);
             std::memcpy(out + 2, text, count);
             return stored(static_cast<std::uint16_t>(count), out) + count;
           })});
  compete(
      copying, "WVarcharSz to WVarchar" + suffix,
      {contender("ours", wide_texts,
                 [](const wchar_t* text, std::byte* out) { return call<ZVRTCnvWVarcharSzToWVarchar, 1>(text, out); }),
       contender("wcslen, memcpy", wide_texts, [](const wchar_t* text, std::byte* out) {
         const std::size_t bytes = std::wcslen(text) * sizeof(wchar_t);
         std::memcpy(out + 2, text, bytes);
         return stored(static_cast<std::uint16_t>(bytes), out) + bytes;
       })});
}

// ---- what is expected of which -------------------------------------------------------------------------------------

Operation decoding(Script script, std::size_t bytes) {
  if (bytes >= 256) return {"UTF-8 to wide, long", 1.0};
  if (script != Script::chinese && script != Script::emoji)
    return {"UTF-8 to wide, short: ASCII, Latin, Cyrillic", 0.7};
  if (bytes >= 16) return {"UTF-8 to wide, short: Chinese, emoji", 0.9};
  return {"UTF-8 to wide, 8 bytes: Chinese, emoji", 0};
}

Operation encoding(std::size_t characters) {
  return characters >= 256 ? Operation{"wide to UTF-8, long", 1.0} : Operation{"wide to UTF-8, short", 0.7};
}

}  // namespace

void register_text() {
  for (const Script script : unicode_scripts) {
    for (const std::size_t length : text_lengths) {
      register_decoding(decoding(script, length), script, length);
      register_encoding(encoding(length), script, length);
    }
  }
  for (const std::size_t length : text_lengths) register_copies(length);
}

}  // namespace zvrt_bench
