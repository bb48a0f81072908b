// Short decimals, as most columns hold them: up to 15 digits with at most one point, read without a branch on the
// digits.
#pragma once

#include <cstdint>

namespace zvrt {

// significand / 10^places.
struct ShortDecimal {
  std::int64_t significand;  // at most 15 digits; 0 if the text is not a short decimal, or is zero
  std::int64_t places;
};

// Reads no page that the text does not reach. Null on processors without this kernel.
using ShortDecimalReader = ShortDecimal (*)(const void* text);
extern const ShortDecimalReader read_short_decimal;

ShortDecimal read_short_decimal_sse41(const void* text);

}  // namespace zvrt
