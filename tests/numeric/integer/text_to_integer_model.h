// What text means as an integer, in its plainest form.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>

#include "numeric/integer/integer_cases.h"

namespace zvrt_test {

// Digits, with one '-' before them where that is allowed.
inline bool is_number(const std::u32string& text, bool takes_sign) {
  const std::size_t first = takes_sign && text.starts_with(U'-') ? 1 : 0;
  return text.find_first_not_of(U"0123456789", first) == std::u32string::npos;
}

struct RunReading {
  bool valid;
  std::int32_t value;
  std::int32_t end;
};

// A run within a text: cut, stop before what is neither a digit nor the first '-', take the '-' out.
inline RunReading read_run(const std::u32string& text, std::int32_t start, std::int32_t most) {
  const std::u32string run =
      text.substr(static_cast<std::size_t>(start), most < 0 ? 0 : static_cast<std::size_t>(most));
  const std::size_t sign = std::min(run.find(U'-'), run.size());
  std::u32string digits = run.substr(0, sign) + run.substr(std::min(sign + 1, run.size()));
  const std::size_t stray = digits.find_first_not_of(U"0123456789");
  const bool valid = stray == std::u32string::npos;
  digits = digits.substr(0, stray);
  const auto number = static_cast<std::uint32_t>(number_of(std::string(digits.begin(), digits.end())));
  const bool negative = valid && sign < run.size();
  return {valid, static_cast<std::int32_t>(negative ? 0 - number : number),
          start + static_cast<std::int32_t>(run.size())};
}

struct FieldReading {
  bool valid;
  std::uint32_t value;
};

// A field of digits among which blanks do not count.
inline FieldReading read_field(std::string field) {
  field = field.substr(0, field.find('\0'));
  std::erase(field, ' ');
  const bool valid = field.find_first_not_of("0123456789") == std::string::npos;
  return {valid, valid ? static_cast<std::uint32_t>(number_of(field)) : 0};
}

}  // namespace zvrt_test
