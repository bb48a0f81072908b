// One integer through a printf-style format from outside, which is checked completely.
#pragma once

#include <cstdint>

namespace zvrt {

struct FormattedInteger {
  static constexpr std::int32_t max_length = 15;

  char text[max_length];
  std::int32_t length;
  bool valid;
};

// The text that printf gives in the C locale. Valid formats hold literal text, `%%` and exactly one conversion of
// d, i, u, o, x or X with the flags - + blank # 0, a width, a precision, and h or hh, which narrow the value; none
// that takes another argument than one 32-bit integer, and none whose text is longer than 15 bytes.
FormattedInteger format_integer(const char* format, std::int32_t value);

}  // namespace zvrt
