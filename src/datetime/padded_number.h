// Numbers with at least so many digits, placed as a bounded print places them: the text and a terminator must fit, and
// nothing is written where they do not. The terminator itself is left to whatever follows the number.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/units.h"

namespace zvrt {

template <class Unit>
struct DigitPair {
  Unit tens;
  Unit ones;
};

template <class Unit>
inline constexpr auto digit_pairs = [] {
  std::array<DigitPair<Unit>, 100> pairs{};
  for (unsigned i = 0; i < 100; ++i) pairs[i] = {static_cast<Unit>('0' + i / 10), static_cast<Unit>('0' + i % 10)};
  return pairs;
}();

// The general case: a sign, or more digits than asked for. Returns the characters written, 0 where they do not fit.
template <class Unit>
[[gnu::noinline, gnu::cold]] std::int32_t put_long_number(std::byte* at, std::int32_t room, std::int32_t value,
                                                          std::uint32_t least) {
  constexpr std::int32_t longest = 11;  // a sign and ten digits
  std::array<Unit, longest> text;
  std::int32_t first = longest;
  std::uint32_t magnitude = value < 0 ? 0U - static_cast<std::uint32_t>(value) : static_cast<std::uint32_t>(value);
  const std::int32_t padded = longest - static_cast<std::int32_t>(least);
  for (; magnitude != 0 || first > padded; magnitude /= 10) {
    text[static_cast<std::size_t>(--first)] = static_cast<Unit>('0' + magnitude % 10);
  }
  if (value < 0) text[static_cast<std::size_t>(--first)] = '-';
  const std::int32_t length = longest - first;
  if (length >= room) return 0;
  copy_units<Unit>(at, text.data() + first, length);
  return length;
}

// As above for 1 to 6 digits at least, quick where they are enough.
template <class Unit>
inline std::int32_t put_number(std::byte* at, std::int32_t room, std::int32_t value, std::uint32_t least) {
  constexpr std::array<std::uint32_t, 7> first_longer = {0, 10, 100, 1000, 10000, 100000, 1000000};
  auto rest = static_cast<std::uint32_t>(value);
  if (rest >= first_longer[least]) [[unlikely]]
    return put_long_number<Unit>(at, room, value, least);
  if (static_cast<std::int32_t>(least) >= room) return 0;
  std::uint32_t position = least;
  for (; position > 2; position -= 2, rest /= 100) {
    store(at + (position - 2) * sizeof(Unit), 0, digit_pairs<Unit>[rest % 100]);
  }
  if (position == 2) {
    store(at, 0, digit_pairs<Unit>[rest]);
  } else {
    store(at, 0, static_cast<Unit>('0' + rest));
  }
  return static_cast<std::int32_t>(least);
}

}  // namespace zvrt
