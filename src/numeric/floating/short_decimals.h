// Numbers as most columns hold them: a short text of digits with at most one point among them, read without a branch on
// what they are.
#pragma once

#include <cstdint>

namespace zvrt {

// significand / 10^places.
struct ShortDecimal {
  std::int64_t significand;  // of 15 digits at most; 0 where the text is no such number, or is zero
  std::int64_t places;
};

// Reads no page that the text does not reach. Null on processors without a kernel.
using ShortDecimalReader = ShortDecimal (*)(const void* text);
extern const ShortDecimalReader read_short_decimal;

ShortDecimal read_short_decimal_sse41(const void* text);

}  // namespace zvrt
