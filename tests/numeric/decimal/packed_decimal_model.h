// Packed decimal by way of hexadecimal digits, both ways.
#pragma once

#include <algorithm>
#include <optional>
#include <string>

#include "numeric/conversion_run.h"

namespace zvrt_test {

inline std::string nibbles(const std::string& field) {
  std::string text = hex(field);
  std::erase(text, ' ');
  return text;
}

struct Text {
  std::string characters;
  std::uint32_t status;
};

// The text of a field, by way of its hexadecimal digits.
inline Text reference(const std::string& field) {
  std::string digits = nibbles(field);
  const bool negative = digits.back() == 'D';
  digits.pop_back();
  const std::size_t bad = digits.find_first_of("ABCDEF");
  digits.resize(std::min(bad, digits.size()));
  digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
  const std::string characters = (negative ? "-" : "") + digits;
  if (characters.empty()) return {"", ZVRT_RC_EMPTY_RESULT};
  return {characters, bad == std::string::npos ? ZVRT_RC_OK : ZVRT_RC_ERROR};
}

// Where a value of unknown length lies in a source.
inline std::optional<std::string> found(const std::string& source) {
  const std::size_t start = source.find_first_not_of('\0');
  if (start >= 44) return std::nullopt;
  std::size_t length = 1;
  while (length < 44 && std::string("CDF").find(nibbles(source.substr(start + length - 1, 1))[1]) == std::string::npos)
    ++length;
  return source.substr(start, length);
}

inline Outcome expected(const std::string& field, std::int32_t srcLen, std::int32_t dstSize) {
  const Text text = reference(field);
  if (text.status == ZVRT_RC_EMPTY_RESULT) return {text.status, 0, srcLen, ""};
  const std::size_t capacity = static_cast<std::size_t>(std::max(dstSize, 0)) / 4;
  const bool truncated = text.status == ZVRT_RC_OK && text.characters.size() >= capacity;
  return {truncated ? ZVRT_RC_TRUNCATED : text.status, static_cast<std::uint32_t>(text.characters.size()),
          srcLen == 0 ? static_cast<std::int32_t>(field.size()) : srcLen, wide_bounded(text.characters, capacity)};
}

// The field that a text makes, by way of hexadecimal digits; nothing where it loses digits.
inline std::optional<std::string> packed(std::u32string text, std::size_t bytes) {
  const bool negative = text.starts_with(U'-');
  std::string digits;
  for (const char32_t character : text.substr(negative ? 1 : 0)) digits += "0123456789ABCDEF"[character % 16];
  digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
  if (digits.size() + 1 > bytes * 2) return std::nullopt;
  digits = std::string(bytes * 2 - 1 - digits.size(), '0') + digits + (negative ? 'D' : 'C');
  std::string field;
  for (std::size_t i = 0; i < digits.size(); i += 2)
    field += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
  return field;
}

}  // namespace zvrt_test
