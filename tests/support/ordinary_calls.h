// One ordinary call of every kind of work that the library does: what its cost is measured on.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace zvrt_test {

struct OrdinaryCall {
  std::string function;
  std::string value;                    // in words
  std::function<std::uint32_t()> call;  // returns the status
};

// The calls own what they work on. Those through code pages need ZVRTInitDataConversion().
std::vector<OrdinaryCall> ordinary_calls();

}  // namespace zvrt_test
