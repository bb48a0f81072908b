// A reference for trimming: its rules on a list of units.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>

namespace zvrt_test {

// A buffer of one unit more than its text has, for the terminator.
struct Trimmed {
  std::u32string buffer;
  std::int32_t length;
};

inline Trimmed trimmed(std::u32string buffer, std::int32_t length, int leading, int trailing, bool closes) {
  length = std::max(length, 0);
  if (leading == 1) {
    const std::u32string text = buffer.substr(0, static_cast<std::size_t>(length));
    const std::size_t first = std::min(text.find_first_not_of(U' '), text.size());
    length -= static_cast<std::int32_t>(first);
    if (length < 1) return {buffer, 0};
    buffer.replace(0, static_cast<std::size_t>(length), text.substr(first));
    if (closes && first > 0) buffer[static_cast<std::size_t>(length)] = 0;
  }
  if (trailing == 1) {
    while (length > 0 && buffer[static_cast<std::size_t>(length) - 1] == U' ') --length;
    buffer[static_cast<std::size_t>(length)] = 0;
  }
  return {buffer, length};
}

// Without the blanks and tabs among its first `length` characters, terminated after what is left.
inline Trimmed without_blanks_and_tabs(std::u32string buffer, std::int32_t length) {
  std::u32string kept;
  for (std::int32_t i = 0; i < length && buffer[static_cast<std::size_t>(i)] != 0; ++i) {
    const char32_t character = buffer[static_cast<std::size_t>(i)];
    if (character != U' ' && character != U'\t') kept += character;
  }
  buffer.replace(0, kept.size() + 1, kept + U'\0');
  return {buffer, static_cast<std::int32_t>(kept.size())};
}

}  // namespace zvrt_test
