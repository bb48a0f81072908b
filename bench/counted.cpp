// Text whose length is given, and trimming: the counted kinds to and from UTF-8 and wide text, and copies among them.
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

template <class Char>
struct Counted {
  const Char* text;
  std::int32_t bytes;

  std::size_t count() const { return static_cast<std::size_t>(bytes) / sizeof(Char); }
};

template <class Char>
std::int32_t bytes_of(const Char* text) {
  return static_cast<std::int32_t>(std::char_traits<Char>::length(text) * sizeof(Char));
}

// The texts stay as long as what points into them.
template <class Char>
Set<Counted<Char>> counted(const Set<const Char*>& texts) {
  struct Fields {
    Set<const Char*> texts;
    std::vector<Counted<Char>> fields;
  };
  const auto all = std::make_shared<Fields>(Fields{texts, {}});
  for (const Char* text : *texts) all->fields.push_back({text, bytes_of(text)});
  return {all, &all->fields};
}

// The same texts, each after its 16-bit length.
template <class Char>
Set<std::string> prefixed(const Set<const Char*>& texts) {
  return rendered(texts, [](const Char* text) {
    const auto bytes = static_cast<std::uint16_t>(bytes_of(text));
    std::string value(reinterpret_cast<const char*>(&bytes), sizeof bytes);
    return value.append(reinterpret_cast<const char*>(text), bytes);
  });
}

// Ours over a counted source; `unit` is the out-length's.
template <auto conversion, std::size_t unit, class Char>
std::size_t call_counted(const Counted<Char>& text, std::byte* out) {
  std::int32_t source = text.bytes;
  std::uint32_t length = 0;
  conversion(text.text, &source, out, static_cast<std::int32_t>(output_size), &length, nullptr);
  return length * unit;
}

#if ZVRT_BENCH_WITH_ICU
std::size_t decode_icu(const Counted<char>& text, std::byte* out) {
  wchar_t* to = wide(out);
  for (std::int32_t i = 0; i < text.bytes;) {
    UChar32 point = 0;
    U8_NEXT(text.text, i, text.bytes, point);
    *to++ = point;
  }
  return terminated(wide(out), static_cast<std::size_t>(to - wide(out)));
}

std::size_t encode_icu(const Counted<wchar_t>& text, std::byte* out) {
  auto* to = reinterpret_cast<std::uint8_t*>(out);
  std::int32_t i = 0;
  UBool failed = false;
  for (std::size_t k = 0; k < text.count(); ++k) {
    U8_APPEND(to, i, static_cast<std::int32_t>(output_size), static_cast<UChar32>(text.text[k]), failed);
  }
  return terminated(narrow(out), failed != 0 ? 0 : static_cast<std::size_t>(i));
}
#endif

#if ZVRT_BENCH_WITH_SIMDUTF
std::size_t decode_simdutf(const Counted<char>& text, std::byte* out) {
  return terminated(wide(out),
                    simdutf::convert_utf8_to_utf32(text.text, text.count(), reinterpret_cast<char32_t*>(out)));
}
std::size_t encode_simdutf(const Counted<wchar_t>& text, std::byte* out) {
  const auto* from = reinterpret_cast<const char32_t*>(text.text);
  return terminated(narrow(out), simdutf::convert_utf32_to_utf8(from, text.count(), narrow(out)));
}
#endif

// Beside our own terminated form, which has to find the end as well.
void register_decoding(Script script, std::size_t bytes) {
  const NarrowTexts texts = texts_of_bytes(script, bytes);
  const auto fields = counted(texts);
  const std::string variant = std::string(name_of(script)) + " " + std::to_string(bytes);
  std::vector<Contender> contenders = {contender("ours", fields,
                                                 [](const Counted<char>& text, std::byte* out) {
                                                   return call_counted<ZVRTCnvCharToWVarcharSz, sizeof(wchar_t)>(text,
                                                                                                                 out);
                                                 }),
                                       contender("ours, terminated", texts, [](const char* text, std::byte* out) {
                                         return call<ZVRTCnvVarcharSzToWVarcharSz, sizeof(wchar_t)>(text, out);
                                       })};
#if ZVRT_BENCH_WITH_ICU
  contenders.push_back(contender("U8_NEXT", fields, decode_icu));
#endif
#if ZVRT_BENCH_WITH_SIMDUTF
  contenders.push_back(contender("simdutf", fields, decode_simdutf));
#endif
  compete({"Char to wide", 1.4}, variant, std::move(contenders));

  const auto values = prefixed(texts);
  compete({"Varchar to wide", 1.4}, variant,
          {contender("ours", values,
                     [](const std::string& value, std::byte* out) {
                       return call<ZVRTCnvVarcharToWVarcharSz, sizeof(wchar_t)>(value.data(), out);
                     }),
           contender("ours, terminated", texts, [](const char* text, std::byte* out) {
             return call<ZVRTCnvVarcharSzToWVarcharSz, sizeof(wchar_t)>(text, out);
           })});
}

void register_encoding(Script script, std::size_t characters) {
  const WideTexts texts = texts_of_characters(script, characters);
  const auto fields = counted(texts);
  const std::string variant = std::string(name_of(script)) + " " + std::to_string(characters);
  std::vector<Contender> contenders = {contender("ours", fields,
                                                 [](const Counted<wchar_t>& text, std::byte* out) {
                                                   return call_counted<ZVRTCnvWCharToVarcharSz, 1>(text, out);
                                                 }),
                                       contender("ours, terminated", texts, [](const wchar_t* text, std::byte* out) {
                                         return call<ZVRTCnvWVarcharSzToVarcharSz, 1>(text, out);
                                       })};
#if ZVRT_BENCH_WITH_ICU
  contenders.push_back(contender("U8_APPEND", fields, encode_icu));
#endif
#if ZVRT_BENCH_WITH_SIMDUTF
  contenders.push_back(contender("simdutf", fields, encode_simdutf));
#endif
  compete({"WChar to UTF-8", 1.4}, variant, std::move(contenders));

  const auto values = prefixed(texts);
  compete({"WVarchar to UTF-8", 1.4}, variant,
          {contender("ours", values,
                     [](const std::string& value, std::byte* out) {
                       return call<ZVRTCnvWVarcharToVarcharSz, 1>(value.data(), out);
                     }),
           contender("ours, terminated", texts, [](const wchar_t* text, std::byte* out) {
             return call<ZVRTCnvWVarcharSzToVarcharSz, 1>(text, out);
           })});
}

void register_copies(std::size_t length) {
  const std::string suffix = " " + std::to_string(length);
  const auto fields = counted(texts_of_bytes(Script::ascii, length));
  const auto wide_fields = counted(texts_of_characters(Script::ascii, length));
  compete({"copies of a given length", 1.3}, "WChar to WVarcharSz" + suffix,
          {contender("ours", wide_fields,
                     [](const Counted<wchar_t>& text, std::byte* out) {
                       return call_counted<ZVRTCnvWCharToWVarcharSz, sizeof(wchar_t)>(text, out);
                     }),
           contender("wmemcpy", wide_fields, [](const Counted<wchar_t>& text, std::byte* out) {
             std::wmemcpy(wide(out), text.text, text.count());
             return terminated(wide(out), text.count());
           })});
  compete({"copies of a given length", 1.3}, "Char to VarcharSz" + suffix,
          {contender("ours", fields,
                     [](const Counted<char>& text, std::byte* out) {
                       return call_counted<ZVRTCnvCharToVarcharSz, 1>(text, out);
                     }),
           contender("memcpy", fields, [](const Counted<char>& text, std::byte* out) {
             std::memcpy(out, text.text, text.count());
             return terminated(narrow(out), text.count());
           })});
}

// A text with a blank after every few characters, and blanks at both ends; copied first, as trimming changes it.
void register_trims(std::size_t length) {
  const auto draw = [length](Random& random) {
    std::wstring text;
    while (text.size() < length) text += random() % 5 == 0 ? L' ' : L'a';
    text.front() = text.back() = L' ';
    return text;
  };
  const auto texts = drawn(draw, std::max<std::size_t>(100, set_size / length));
  const auto copied = [](const std::wstring& text, std::byte* out) {
    std::wmemcpy(wide(out), text.c_str(), text.size() + 1);
    return static_cast<std::int32_t>(text.size());
  };
  const std::string variant = std::to_string(length);
  const Operation trimming = length < 16 ? Operation{"trims of 8 wide characters, copy included", 0}
                                         : Operation{"trims of wide text, copy included", 0.7};
  compete(trimming, "all blanks " + variant,
          {contender("ours", texts,
                     [copied](const std::wstring& text, std::byte* out) {
                       std::int32_t count = copied(text, out);
                       TrimAllSpacesTabsW(wide(out), &count);
                       return static_cast<std::size_t>(count) * sizeof(wchar_t);
                     }),
           contender("a loop", texts, [copied](const std::wstring& text, std::byte* out) {
             const std::int32_t count = copied(text, out);
             wchar_t* const at = wide(out);
             std::size_t kept = 0;
             for (std::int32_t i = 0; i < count && at[i] != 0; ++i) {
               if (at[i] != L' ' && at[i] != L'\t') at[kept++] = at[i];
             }
             return terminated(at, kept);
           })});
  compete(trimming, "both ends " + variant,
          {contender("ours", texts,
                     [copied](const std::wstring& text, std::byte* out) {
                       std::int32_t count = copied(text, out);
                       TrimSpacesW(wide(out), &count, 1, 1);
                       return static_cast<std::size_t>(count) * sizeof(wchar_t);
                     }),
           contender("loops, wmemmove", texts, [copied](const std::wstring& text, std::byte* out) {
             std::int32_t count = copied(text, out);
             wchar_t* const at = wide(out);
             std::int32_t first = 0;
             while (first < count && at[first] == L' ') ++first;
             while (count > first && at[count - 1] == L' ') --count;
             const auto kept = static_cast<std::size_t>(count - first);
             std::wmemmove(at, at + first, kept);
             return terminated(at, kept);
           })});
}

}  // namespace

void register_counted() {
  for (const Script script : unicode_scripts) {
    for (const std::size_t length : {8, 16, 32, 64}) {
      register_decoding(script, length);
      register_encoding(script, length);
    }
  }
  for (const std::size_t length : {8, 16, 32, 64, 256}) {
    register_copies(length);
    register_trims(length);
  }
}

}  // namespace zvrt_bench
