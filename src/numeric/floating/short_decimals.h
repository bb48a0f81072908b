// Numbers as most columns hold them: a short text of digits with at most one point among them, read without a branch on
// what they are.
#pragma once

#include <cstdint>

namespace zvrt {

// significand / 10^places.
struct PlainNumber {
  std::int64_t significand;  // of 15 digits at most; 0 where the text is no such number, or is zero
  std::int64_t places;
};

// Reads no page that the text does not reach. Null on processors without a kernel.
using PlainReader = PlainNumber (*)(const void* text);
extern const PlainReader read_plain_number;

PlainNumber read_plain_sse41(const void* text);

}  // namespace zvrt
