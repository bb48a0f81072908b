// UTF-16, one code point at a time.
#pragma once

#include <cstdint>

#include "support/units.h"
#include "support/wraps.h"

namespace zvrt {

constexpr std::uint32_t last_code_point = 0x10FFFF;

constexpr bool is_surrogate(std::uint32_t value) { return value >= 0xD800 && value <= 0xDFFF; }
constexpr bool is_low_surrogate(std::uint32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

constexpr std::int32_t utf16_length(std::uint32_t code_point) { return code_point < 0x10000 ? 1 : 2; }

constexpr std::uint16_t high_surrogate_of(std::uint32_t code_point) {
  return static_cast<std::uint16_t>(0xD800U + ((code_point - 0x10000U) >> 10));
}
constexpr std::uint16_t low_surrogate_of(std::uint32_t code_point) {
  return static_cast<std::uint16_t>(0xDC00U + ((code_point - 0x10000U) & 0x3FFU));
}

// Writes the one or two units of a code point.
inline void encode_utf16(std::uint32_t code_point, void* dst) {
  if (utf16_length(code_point) == 1) return store(dst, 0, static_cast<std::uint16_t>(code_point));
  store(dst, 0, high_surrogate_of(code_point));
  store(dst, 1, low_surrogate_of(code_point));
}

struct Utf16Sequence {
  bool valid;  // false: a lone or broken surrogate
  std::uint32_t code_point;
  std::int32_t length;
};

// `remaining` units may be read, at least one.
ZVRT_WRAPS inline Utf16Sequence decode_utf16(const void* src, std::int64_t remaining) {
  const std::uint32_t unit = load<std::uint16_t>(src);
  if (!is_surrogate(unit)) return {true, unit, 1};
  if (is_low_surrogate(unit) || remaining < 2) return {false, 0, 1};
  const std::uint32_t low = load<std::uint16_t>(src, 1);
  return {is_low_surrogate(low), ((unit - 0xD800U) << 10) + (low - 0xDC00U) + 0x10000U, 2};
}

}  // namespace zvrt
