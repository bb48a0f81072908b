// Code units in memory of any alignment, and capacities counted in them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zvrt {

// A wide character: one UTF-32 code unit.
using Wide = std::uint32_t;

// The text of a WVarchar starts at byte 2, so a unit is never read or written through a pointer to its type.
template <class Unit>
[[gnu::always_inline]] inline Unit load(const void* units, std::size_t index = 0) {
  Unit unit;
  std::memcpy(&unit, static_cast<const std::byte*>(units) + index * sizeof(Unit), sizeof(Unit));
  return unit;
}

template <class Unit>
[[gnu::always_inline]] inline void store(void* units, std::size_t index, Unit unit) {
  std::memcpy(static_cast<std::byte*>(units) + index * sizeof(Unit), &unit, sizeof(Unit));
}

template <class Unit>
inline void copy_units(void* dst, const void* src, std::int32_t count) {
  // memcpy requires valid pointers even for 0 bytes, and a destination of size 0 may be null.
  if (count > 0) std::memcpy(dst, src, static_cast<std::size_t>(count) * sizeof(Unit));
}

// Complete units in a buffer of this size in bytes; none if the size is negative.
template <class Unit>
[[gnu::always_inline]] constexpr std::int32_t units_in(std::int32_t bytes) {
  return bytes > 0 ? bytes / static_cast<std::int32_t>(sizeof(Unit)) : 0;
}

// Lengths up to the terminator. Lengths are signed 32-bit everywhere: a longer text has the length 2^31 - 1, which no
// destination can hold.
std::int32_t length_of(const char* text);
std::int32_t length_of(const void* wide_text);
// At most `limit` units are examined.
std::int32_t length_within(const char* text, std::int32_t limit);
std::int32_t length_within(const void* wide_text, std::int32_t limit);

}  // namespace zvrt
