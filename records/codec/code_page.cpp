#include <fmt/format.h>

#include <algorithm>
#include <charconv>

#include "ZVRTColumns.h"
#include "records/codec/codec_options.h"
#include "records/files/failure.h"

namespace zvrt::records {

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

CodePage code_page(std::uint32_t number, char kind) {
  CodePage page{number, kind, false, ' '};
  FldDef field{};
  field.codePage = number;
  field.codePageKind = kind;
  const std::uint32_t status = InitializeCharBufferWithSpaces(&page.blank, 1, &field);
  if (status != ZVRT_RC_OK) throw Failure(fmt::format("code page {}: {}", number, ZVRTStatusText(status)));
  page.ebcdic = page.blank == '\x40';
  return page;
}

}  // namespace zvrt::records
