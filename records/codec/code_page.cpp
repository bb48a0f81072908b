#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>

#include "ZVRTColumns.h"
#include "records/codec/codec_options.h"
#include "records/codec/field.h"
#include "records/files/failure.h"

namespace zvrt::records {
namespace {

// Whether 4040 is one ideographic blank.
bool is_page_of_pairs(std::uint32_t number, char kind) {
  ZVRTType page{};
  page.size = sizeof page;
  page.kind = ZVRT_KIND_CHAR;
  page.length = 2;
  page.codePage = number;
  page.codePageKind = kind;
  ZVRTType text = page;
  text.length = 8;
  text.codePage = 0;
  text.codePageKind = '\0';
  std::array<char, 8> blank{};
  std::int32_t written = 0;
  ZVRTPlan* made = nullptr;
  if (ZVRTPlanCreate(&page, &text, 0, &made, nullptr) != ZVRT_RC_OK) return false;
  const Plan plan(made);
  const std::array<char, 2> pair = {0x40, 0x40};
  return convert_one(*plan, pair.data(), nullptr, blank.data(), &written) == ZVRT_RC_OK &&
         std::string_view(blank.data(), static_cast<std::size_t>(written)) == "\xE3\x80\x80";
}

}  // namespace

std::optional<std::uint32_t> code_page_number(std::string_view name) {
  struct Prefix {
    std::string_view text;
    std::uint32_t base;
  };
  static constexpr Prefix prefixes[] = {{"ibm-", 0},     {"ibm", 0}, {"ccsid", 0},
                                        {"windows-", 0}, {"cp", 0},  {"iso-8859-", 28590}};
  std::string lower(name);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  if (lower == "utf-8" || lower == "utf8") return 65001;
  if (lower == "ascii" || lower == "us-ascii") return 20127;
  std::uint32_t base = 0;
  std::string_view digits = lower;
  for (const Prefix& prefix : prefixes) {
    if (!digits.starts_with(prefix.text)) continue;
    base = prefix.base;
    digits.remove_prefix(prefix.text.size());
    break;
  }
  std::uint32_t number = 0;
  const auto [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc{} || stop != digits.data() + digits.size() || number == 0) return std::nullopt;
  return base + number;
}

// A page is known by the bytes of its blank. Pages of two bytes per character alone have 4040 or 2020 for it, which is no
// U+0020: they are known by what their 4040 means.
CodePage code_page(std::uint32_t number, char kind) {
  CodePage page{number, kind, false, ' ', 1};
  FldDef field{};
  field.codePage = number;
  field.codePageKind = kind;
  const std::uint32_t status = InitializeCharBufferWithSpaces(&page.blank, 1, &field);
  if (status != ZVRT_RC_OK && !is_page_of_pairs(number, kind))
    throw Failure(fmt::format("code page {} cannot be used: it is not known, or has no blank of one byte", number));
  if (status != ZVRT_RC_OK) {
    page.blank = '\x40';
    page.unit = 2;
  }
  page.ebcdic = page.blank == '\x40';
  return page;
}

}  // namespace zvrt::records
