// Numbers in the middle of a wide text, for the date parser and two entry points.
#pragma once

#include <cstddef>
#include <cstdint>

#include "support/units.h"
#include "support/wraps.h"

namespace zvrt {

struct NumberRun {
  std::int32_t value;  // of an invalid run: the digits before the invalid character, without the sign
  std::int32_t end;    // index after the last character read
  bool valid;
};

// Digits, and a '-' once, in whatever place among them, from `start` up to the terminator but no more than `max_chars`
// characters. A run without digits is 0; a larger number wraps around.
ZVRT_WRAPS inline NumberRun read_run(const void* text, std::int32_t start, std::int32_t max_chars) {
  const std::byte* const first = static_cast<const std::byte*>(text) + std::ptrdiff_t{start} * 4;
  const std::size_t limit = max_chars > 0 ? static_cast<std::size_t>(max_chars) : 0;
  const auto end_at = [start](std::size_t read) {
    return static_cast<std::int32_t>(std::int64_t{start} + static_cast<std::int64_t>(read));
  };
  std::uint32_t value = 0;
  bool negative = false;
  std::size_t at = 0;
  for (; at < limit; ++at) {
    const auto character = load<Wide>(first, at);
    const Wide digit = character - '0';
    if (digit <= 9) {
      value = value * 10 + digit;
    } else if (character == '-' && !negative) {
      negative = true;
    } else if (character == 0) {
      break;
    } else {
      return {static_cast<std::int32_t>(value), end_at(at), false};
    }
  }
  return {static_cast<std::int32_t>(negative ? 0 - value : value), end_at(at), true};
}

}  // namespace zvrt
