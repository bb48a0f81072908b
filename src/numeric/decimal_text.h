// An integer's decimal digits as wide text: the definition that every faster version equals, and what takes over where
// such a version does not reach.
#pragma once

#include <cstdint>

namespace zvrt {

constexpr std::int32_t longest_decimal = 20;  // digits of 2^64 - 1; a sign and the digits of 2^63

// Writes the digits, a '-' before them if negative, and a zero character behind them, as far as they fit into the room;
// returns the length of the whole text. Zero has no digits.
std::int32_t write_decimal(std::uint64_t magnitude, bool negative, void* dst, std::int32_t room);

enum class Reading : std::uint8_t {
  whole,   // nothing but digits before the terminator
  stray,   // a character that is not a digit
  passed,  // not looked into: a fast version leaves this text to the definition
};

struct Digits {
  std::uint64_t value;  // modulo 2^64
  std::int64_t count;   // characters before the terminator
  Reading reading;
};

// Reads wide text of any length up to its terminator or to the first character that is not a digit.
Digits read_digits(const void* text);

}  // namespace zvrt
