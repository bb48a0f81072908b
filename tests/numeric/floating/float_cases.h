// What the floating-point tests share: calls through guarded memory, values worth trying, and the C library as oracle.
#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <ostream>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "ZVRTDataCnvLib.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {

inline std::u32string widen(std::string_view text) { return {text.begin(), text.end()}; }

template <class Float>
constexpr bool is_double = sizeof(Float) == sizeof(double);

// The family's members by type.
template <class Float>
uint32_t to_text(const void* value, int32_t* srcLen, void* dst, int32_t dstSize, uint32_t* outLen) {
  return (is_double<Float> ? ZVRTCnvDblToWVarcharSz : ZVRTCnvFltToWVarcharSz)(value, srcLen, dst, dstSize, outLen,
                                                                              nullptr);
}
template <class Float>
uint32_t to_text_out(const void* value, int32_t* srcLen, void* dst, int32_t dstSize, uint32_t* outLen) {
  return (is_double<Float> ? ZVRTCnvDblToWVarcharSzOut : ZVRTCnvFltToWVarcharSzOut)(value, srcLen, dst, dstSize, outLen,
                                                                                    nullptr);
}
template <class Float>
uint32_t from_text(const void* text, void* dst, int32_t dstSize, uint32_t* outLen) {
  return (is_double<Float> ? ZVRTCnvWVarcharSzToDbl : ZVRTCnvWVarcharSzToFlt)(text, nullptr, dst, dstSize, outLen,
                                                                              nullptr);
}

// "%.16E" and its like; the point stays where no digits follow it.
inline std::string printed(double value, int places) {
  std::string text(static_cast<std::size_t>(places) + 12, '\0');
  text.resize(static_cast<std::size_t>(std::snprintf(text.data(), text.size(), "%#.*E", places, value)));
  return text;
}

template <class Float>
std::string printed(Float value) {
  return printed(static_cast<double>(value), is_double<Float> ? 16 : 7);
}

// The conversion's text, or its status where it is none.
template <class Float>
std::string rendered(Float value) {
  uint32_t wide[25];
  uint32_t length = 0;
  if (const uint32_t status = to_text<Float>(&value, nullptr, wide, sizeof wide, &length); status != ZVRT_RC_OK) {
    return std::to_string(status);
  }
  return {wide, wide + length};
}

struct Reading {
  uint32_t status;
  uint64_t bits;  // of the value stored; no more than that must have been written
  bool operator==(const Reading&) const = default;
};

inline void PrintTo(const Reading& reading, std::ostream* out) {
  *out << "status " << reading.status << ", bits " << std::hex << reading.bits << std::dec;
}

template <class Float>
Reading reading_of(uint32_t status, Float value) {
  Reading reading{status, 0};
  if (status == ZVRT_RC_OK) std::memcpy(&reading.bits, &value, sizeof value);
  return reading;
}

template <class Float>
Reading read(const std::u32string& text) {
  Float value = 0;
  uint32_t length = 0;
  const uint32_t status = from_text<Float>(text.c_str(), &value, sizeof value, &length);
  return reading_of(status, value);
}

// What reading must give, by the C library's conversion of text that passed the screening, in its own locale.
template <class Float>
Reading expected_reading(const std::string& text) {
  constexpr uint32_t refused = is_double<Float> ? ZVRT_RC_INVALID_DOUBLE : ZVRT_RC_INVALID_FLOAT;
  bool has_value = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool sign_allowed = i == 0 || text[i - 1] == 'e' || text[i - 1] == 'E';
    if ((text[i] == '+' || text[i] == '-') && sign_allowed) continue;
    if (text[i] != 0 && std::strchr(".eE0123456789", text[i]) == nullptr) return {refused, 0};
    if (text[i] == 0 || text[i] == '+' || text[i] == '-') return {refused, 0};
    has_value |= text[i] >= '1' && text[i] <= '9';
  }
  if (!has_value) return {ZVRT_RC_OK, 0};
  const auto value = static_cast<Float>(std::strtod(text.c_str(), nullptr));
  if (value == 0 || value > std::numeric_limits<Float>::max()) return {refused, 0};
  return reading_of(ZVRT_RC_OK, value);
}

// Values as they come, and those where digits and exponents change.
class Doubles {
 public:
  double next() {
    switch (random_() % 8) {
      case 0: return std::ldexp(1.0, below(2098) - 1074);  // powers of two
      case 1: return near(static_cast<double>(std::pow(10.0L, below(632) - 323)));
      case 2: return static_cast<double>(random_() % 1000000000) / 100;                           // prices
      case 3: return static_cast<double>(random_() >> below(64));                                 // whole numbers
      case 4: return std::ldexp(static_cast<double>(random_() >> (11 + below(53))), -below(60));  // ties
      case 5: return from_bits(random_() >> (12 + below(52)));                                    // subnormals
      default: return from_bits(random_());
    }
  }

 private:
  int below(int bound) { return static_cast<int>(random_() % static_cast<uint64_t>(bound)); }
  double near(double value) {
    return from_bits(std::bit_cast<uint64_t>(value) + static_cast<uint64_t>(below(5)) - (value > 1e-320 ? 2 : 0));
  }
  static double from_bits(uint64_t bits) {
    const auto value = std::bit_cast<double>(bits);
    return std::isfinite(value) ? value : 1.0;
  }

  std::mt19937_64 random_{20240305};
};

}  // namespace zvrt_test
