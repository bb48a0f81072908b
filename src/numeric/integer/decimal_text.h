// An integer's decimal digits as wide text: the definition that every kernel equals, and the fallback outside their
// fast path.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zvrt {

constexpr std::int32_t max_decimal_length = 20;  // digits of 2^64 - 1; a sign and the digits of 2^63

// 10^0 to 10^19.
extern const std::uint64_t decimal_powers[max_decimal_length];

// How many digits a number has; zero has none. The bits of a number times log10(2) are its digits, or one too few.
[[gnu::always_inline]] inline std::int32_t count_digits(std::uint64_t magnitude) {
  const auto bits = 64 - static_cast<std::uint32_t>(__builtin_clzll(magnitude | 1));
  const std::uint32_t estimate = bits * 1233 / 4096;
  return static_cast<std::int32_t>(estimate + (magnitude >= decimal_powers[estimate] ? 1 : 0));
}

// Writes a '-' if negative, the digits and a terminator, as far as they fit into the capacity; returns the length of
// the complete text. Zero has no digits.
std::int32_t write_decimal(std::uint64_t magnitude, bool negative, void* dst, std::int32_t capacity);

// The same as bytes of ASCII.
std::int32_t write_decimal_bytes(std::uint64_t magnitude, bool negative, char* dst, std::int32_t capacity);

enum class Reading : std::uint8_t {
  complete,           // nothing but digits before the terminator
  invalid_character,  // a character that is not a digit
  not_attempted,      // a kernel leaves this text to the definition
};

struct Digits {
  std::uint64_t value;  // modulo 2^64
  std::int64_t count;   // characters before the terminator
  Reading reading;
};

constexpr std::size_t no_limit = SIZE_MAX;

// Reads wide text of any length up to its terminator or to the first character that is not a digit. Where the limit
// comes first, the text is complete there, and nothing is read from there on.
Digits read_digits(const void* text, std::size_t limit = no_limit);
// The same of bytes.
Digits read_digit_bytes(const char* text, std::size_t limit = no_limit);

}  // namespace zvrt
