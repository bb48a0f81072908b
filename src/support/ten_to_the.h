// Powers of ten that fit into 64 bits.
#pragma once

#include <cstdint>

namespace zvrt {

constexpr std::uint64_t ten_to_the(std::int32_t exponent) {
  std::uint64_t power = 1;
  for (; exponent > 0; --exponent) power *= 10;
  return power;
}

}  // namespace zvrt
