// A decimal number to the nearest double by one product with a power of ten: the idea of Eisel and Lemire.
//
// The power's leading 128 bits are truncated, so the product is at most two units too small. It decides the rounding
// unless it is that close to a tie; `certain` says whether it did.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

#include "numeric/floating/powers_of_ten.h"

namespace zvrt {

constexpr std::uint64_t infinity_bits = UINT64_C(0x7FF) << 52;

// The bits of the double nearest to significand * 10^exponent; the significand is not 0.
inline Rounded nearest_double(std::uint64_t significand, std::int64_t exponent) {
  if (exponent < min_power) return {0, true};  // with up to twenty digits that is below half the least double
  if (exponent > 308) return {infinity_bits, true};
  const auto power = static_cast<std::int32_t>(exponent);
  const std::int32_t leading_zeros = std::countl_zero(significand);
  const Product product = multiply(significand << leading_zeros, power_of_ten(power));
  const auto leading_bit = static_cast<std::int32_t>(product.high >> 63);
  const std::int32_t binary_exponent = log2_of_power(power) + 63 + leading_bit - leading_zeros;
  if (binary_exponent > 1023) return {infinity_bits, true};
  const std::int32_t below_normal = std::max(-1022 - binary_exponent, 0);
  const std::int32_t dropped = 10 + leading_bit + below_normal;
  if (dropped > 63) [[unlikely]]
    return {0, false};
  const Rounded rounded = round_product(product, dropped, power_is_exact(power));
  // The leading bit of a normal significand counts one up in the exponent field, and so does one rounded up to a power
  // of two, to infinity in the end.
  const std::int32_t exponent_field = binary_exponent + below_normal + 1022;
  return {(static_cast<std::uint64_t>(exponent_field) << 52) + rounded.value, rounded.certain};
}

}  // namespace zvrt
