// Decimals of at most 19 digits to the nearest float.
#pragma once

#include <bit>
#include <cstdint>
#include <limits>

#include "numeric/floating/nearest_double.h"

namespace zvrt::columns {

// The float nearest to digits * 10^-scale, of digits other than 0. False where exact arithmetic has to find it: the
// product of two words is too close to a tie, or the number is no usual single.
//
// A single is the one nearest to the nearest double, unless that double lies halfway between two singles: 29 bits are
// cut off, and those of a tie are a one and zeros.
template <class Float>
inline bool find_nearest_float(std::uint64_t digits, std::int64_t scale, Float& nearest) {
  const Rounded rounded = nearest_double(digits, -scale);
  const auto value = std::bit_cast<double>(rounded.value);
  if constexpr (sizeof(Float) == sizeof(double)) {
    nearest = value;
    return rounded.certain;
  } else {
    constexpr std::uint64_t tie = UINT64_C(1) << 28;
    const bool is_usual = value >= static_cast<double>(std::numeric_limits<Float>::min()) &&
                          value <= static_cast<double>(std::numeric_limits<Float>::max()) &&
                          (rounded.value & (2 * tie - 1)) != tie;
    if (is_usual) nearest = static_cast<Float>(value);
    return rounded.certain && is_usual;
  }
}

}  // namespace zvrt::columns
