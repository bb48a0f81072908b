// The characters of 00 to 99 in units of either width, for numbers written two digits at a time.
#pragma once

#include <array>

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

}  // namespace zvrt
