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

// Read no page that the text does not reach.
struct ShortDecimalKernels {
  ShortDecimal (*read)(const void* text);
};

extern const ShortDecimalKernels short_decimals_baseline;  // leaves every text
extern const ShortDecimalKernels short_decimals_sse41;

// The version for this machine, chosen when the library is loaded.
extern const ShortDecimalKernels short_decimals;

}  // namespace zvrt
