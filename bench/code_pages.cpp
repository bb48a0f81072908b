// Text in code pages to wide text and back, through the converter service; the peers' converters are opened once.
#include <iconv.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "harness.h"
#include "inputs.h"
#include "peers.h"

#if ZVRT_BENCH_WITH_ICU
#include <unicode/ucnv.h>
#include <unicode/utf16.h>
#endif

namespace zvrt_bench {
namespace {

struct Page {
  std::uint32_t number;
  std::size_t bytes_a_character;  // of the script's own characters
  Script script;
  const char* iconv_name;
  const char* icu_name;
};

constexpr Page pages[] = {
    {37, 1, Script::french, "IBM037", "ibm-37"},       {1252, 1, Script::french, "CP1252", "windows-1252"},
    {866, 1, Script::russian, "CP866", "ibm-866"},     {932, 2, Script::japanese, "CP932", "windows-932"},
    {936, 2, Script::chinese, "CP936", "windows-936"}, {939, 2, Script::japanese, "IBM939", "ibm-939"},
    {54936, 2, Script::chinese, "GB18030", "gb18030"}};

[[noreturn]] void give_up(const char* what, const char* name) {
  std::fprintf(stderr, "%s: no converter for %s\n", what, name);
  std::exit(EXIT_FAILURE);
}

// ---- iconv ---------------------------------------------------------------------------------------------------------

class Iconv {
 public:
  Iconv(const char* to, const char* from) : descriptor_(iconv_open(to, from)) {
    if (descriptor_ == reinterpret_cast<iconv_t>(-1)) give_up("iconv", from);
  }
  ~Iconv() { iconv_close(descriptor_); }
  Iconv(const Iconv&) = delete;
  Iconv& operator=(const Iconv&) = delete;

  // Converts the whole text and ends it in the initial shift state; the bytes written.
  std::size_t operator()(const void* text, std::size_t bytes, std::byte* output) {
    char* from = const_cast<char*>(static_cast<const char*>(text));
    char* to = narrow(output);
    std::size_t capacity = output_size;
    iconv(descriptor_, &from, &bytes, &to, &capacity);
    iconv(descriptor_, nullptr, nullptr, &to, &capacity);
    return output_size - capacity;
  }

 private:
  iconv_t descriptor_;
};

// ---- ICU -----------------------------------------------------------------------------------------------------------

#if ZVRT_BENCH_WITH_ICU
class IcuConverter {
 public:
  explicit IcuConverter(const char* name) {
    UErrorCode status = U_ZERO_ERROR;
    converter_ = ucnv_open(name, &status);
    if (U_FAILURE(status)) give_up("ICU", name);
  }
  ~IcuConverter() { ucnv_close(converter_); }
  IcuConverter(const IcuConverter&) = delete;
  IcuConverter& operator=(const IcuConverter&) = delete;

  std::size_t decode(const char* text, std::byte* output) {
    UErrorCode status = U_ZERO_ERROR;
    const char* const end = text + std::strlen(text);
    UChar* to = utf16_.data();
    ucnv_toUnicode(converter_, &to, utf16_.data() + utf16_.size(), &text, end, nullptr, true, &status);
    const auto units = static_cast<std::size_t>(to - utf16_.data());
    wchar_t* character = wide(output);
    for (std::size_t i = 0; i < units; ++character) {
      UChar32 point = 0;
      U16_NEXT(utf16_, i, units, point);
      *character = point;
    }
    return terminated(wide(output), static_cast<std::size_t>(character - wide(output)));
  }

  std::size_t encode(const wchar_t* text, std::byte* output) {
    std::size_t units = 0;
    for (; *text != L'\0'; ++text) U16_APPEND_UNSAFE(utf16_, units, static_cast<UChar32>(*text));
    UErrorCode status = U_ZERO_ERROR;
    const UChar* from = utf16_.data();
    char* to = narrow(output);
    ucnv_fromUnicode(converter_, &to, to + output_size - 1, &from, from + units, nullptr, true, &status);
    return terminated(narrow(output), static_cast<std::size_t>(to - narrow(output)));
  }

 private:
  UConverter* converter_;
  std::array<UChar, output_size / sizeof(UChar)> utf16_;
};
#endif

// ---- comparisons ---------------------------------------------------------------------------------------------------

void register_page(const Page& page, std::size_t bytes) {
  const bool single = page.bytes_a_character == 1;
  const Operation operation =
      single ? Operation{"single-byte code pages", 0.35} : Operation{"multi-byte code pages", 0.8};
  const std::string variant = std::to_string(page.number) + " " + name_of(page.script) + " " + std::to_string(bytes);

  const auto inward = std::make_shared<Iconv>("WCHAR_T", page.iconv_name);
  const auto outward = std::make_shared<Iconv>(page.iconv_name, "WCHAR_T");
  const WideTexts wide_texts = texts_of_characters(page.script, bytes / page.bytes_a_character);
  const NarrowTexts texts = packed(*rendered(wide_texts, [&](const wchar_t* text) {
    const std::size_t length = (*outward)(text, std::wcslen(text) * sizeof(wchar_t), result_area.data());
    return std::string(narrow(result_area.data()), length);
  }));

  FldDef field{};
  field.codePage = page.number;
  std::vector<Contender> decoders = {contender("ours", texts,
                                               [field](const char* text, std::byte* out) {
                                                 return call<ZVRTCnvVarcharSzToWVarcharSz, sizeof(wchar_t)>(text, out,
                                                                                                            &field);
                                               }),
                                     contender("iconv", texts, [inward](const char* text, std::byte* out) {
                                       const std::size_t written = (*inward)(text, std::strlen(text), out);
                                       return terminated(wide(out), written / sizeof(wchar_t));
                                     })};
  std::vector<Contender> encoders = {contender("ours", wide_texts,
                                               [field](const wchar_t* text, std::byte* out) {
                                                 return call<ZVRTCnvWVarcharSzToVarcharSz, 1>(text, out, &field);
                                               }),
                                     contender("iconv", wide_texts, [outward](const wchar_t* text, std::byte* out) {
                                       const std::size_t written =
                                           (*outward)(text, std::wcslen(text) * sizeof(wchar_t), out);
                                       return terminated(narrow(out), written);
                                     })};
#if ZVRT_BENCH_WITH_ICU
  const auto icu = std::make_shared<IcuConverter>(page.icu_name);
  decoders.push_back(
      contender("ICU", texts, [icu](const char* text, std::byte* out) { return icu->decode(text, out); }));
  encoders.push_back(
      contender("ICU", wide_texts, [icu](const wchar_t* text, std::byte* out) { return icu->encode(text, out); }));
#endif
  compete(operation, variant + " to wide", std::move(decoders));
  compete(operation, variant + " from wide", std::move(encoders));
}

// The service that conversions through code pages need, for as long as the program runs.
struct Service {
  Service() {
    if (ZVRTInitDataConversion() != ZVRT_RC_OK) give_up("ours", "any page");
  }
  ~Service() { ZVRTTermDataConversion(); }
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;
};

}  // namespace

void register_code_pages() {
  static const Service service;
  for (const Page& page : pages) {
    for (const std::size_t bytes : text_lengths) register_page(page, bytes);
  }
}

}  // namespace zvrt_bench
