// Names of code pages, as people write them, to numbers.
#include <algorithm>
#include <charconv>

#include "layout.h"

namespace record_exchange {

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
    if (digits.substr(0, prefix.text.size()) != prefix.text) continue;
    base = prefix.base;
    digits.remove_prefix(prefix.text.size());
    break;
  }
  std::uint32_t number = 0;
  const auto [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc{} || stop != digits.data() + digits.size() || number == 0) return std::nullopt;
  return base + number;
}

}  // namespace record_exchange
