// Formats for one integer: accepted exactly as the grammar says, and written as printf writes them.
#include "numeric/integer/integer_format.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <regex>

#include "input.h"

void zvrt_fuzz::check(Input input) {
  // The format has been looked at, so printf may be trusted with it.
  constexpr int (*print)(char*, std::size_t, const char*, ...) = std::snprintf;
  static const std::regex grammar("(?:[^%]|%%)*%[-+ #0]*([0-9]*)(?:\\.([0-9]*))?h?h?[diuoxX](?:[^%]|%%)*");
  static Source source;
  const auto value = input.take<std::int32_t>() >> input.below(32);
  const std::string format = input.text_over("%%%%0123459-+ #.hldiuoxXsn*").substr(0, 60);
  const zvrt::FormattedInteger formatted = zvrt::format_integer(source.put_as<char>(format + '\0'), value);

  std::smatch parts;
  char expected[2048];
  int length = -1;
  if (std::regex_match(format, parts, grammar)) {
    const auto is_short = [](const std::string& number) {
      return number.size() - std::min(number.find_first_not_of('0'), number.size()) <= 3;
    };
    if (is_short(parts[1]) && is_short(parts[2])) length = print(expected, sizeof expected, format.c_str(), value);
  }
  ASSERT_EQ(formatted.valid, length >= 0 && length <= zvrt::FormattedInteger::max_length) << format << " of " << value;
  if (!formatted.valid) return;
  ASSERT_EQ(std::string(formatted.text, static_cast<std::size_t>(formatted.length)), expected) << format;
}
