// Numbers with a minimum of digits, written if they and a terminator fit, else not at all. The terminator itself is
// written by what follows the number.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "numeric/integer/digit_pairs.h"
#include "support/ten_to_the.h"
#include "support/units.h"
#include "support/wraps.h"

namespace zvrt {

// Exactly `digits` digits of a number that has no more.
template <class Unit, std::int32_t digits>
inline void put_digits(std::byte* at, std::uint32_t number) {
  if constexpr (digits >= 2) {
    store(at + (digits - 2) * std::ptrdiff_t{sizeof(Unit)}, 0, digit_pairs<Unit>[number % 100]);
    put_digits<Unit, digits - 2>(at, number / 100);
  } else if constexpr (digits == 1) {
    store(at, 0, static_cast<Unit>('0' + number));
  }
}

// The characters from `at` to `last`, the last place that a terminator may take.
template <class Unit>
std::ptrdiff_t units_between(const std::byte* at, const std::byte* last) {
  return (last - at) / std::ptrdiff_t{sizeof(Unit)};
}

// Any number. Returns the characters written, 0 if they and a terminator do not fit.
template <class Unit>
ZVRT_WRAPS [[gnu::noinline]] std::int32_t put_any_number(std::byte* at, const std::byte* last, std::int32_t value,
                                                         std::int32_t min_digits) {
  constexpr std::int32_t max_length = 11;  // a sign and ten digits
  std::array<Unit, max_length> text;
  std::int32_t first = max_length;
  std::uint32_t magnitude = value < 0 ? 0U - static_cast<std::uint32_t>(value) : static_cast<std::uint32_t>(value);
  const std::int32_t padded = max_length - min_digits;
  for (; magnitude != 0 || first > padded; magnitude /= 10) {
    text[static_cast<std::size_t>(--first)] = static_cast<Unit>('0' + magnitude % 10);
  }
  if (value < 0) text[static_cast<std::size_t>(--first)] = '-';
  const std::int32_t length = max_length - first;
  if (length > units_between<Unit>(at, last)) return 0;
  copy_units<Unit>(at, text.data() + first, length);
  return length;
}

// The same, fast if the number has no more than the minimum of digits and they fit.
template <class Unit, std::int32_t min_digits>
inline std::int32_t put_number(std::byte* at, const std::byte* last, std::int32_t value) {
  const auto number = static_cast<std::uint32_t>(value);
  if (number >= ten_to_the(min_digits) || last - at < min_digits * std::ptrdiff_t{sizeof(Unit)}) [[unlikely]] {
    return put_any_number<Unit>(at, last, value, min_digits);
  }
  put_digits<Unit, min_digits>(at, number);
  return min_digits;
}

}  // namespace zvrt
