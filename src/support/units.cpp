#include "support/units.h"

#include <algorithm>
#include <cwchar>
#include <limits>

namespace zvrt {

namespace {

constexpr std::size_t max_length = std::numeric_limits<std::int32_t>::max();

std::int32_t counted(std::size_t length) { return static_cast<std::int32_t>(std::min(length, max_length)); }

bool is_aligned(const void* wide_text) { return reinterpret_cast<std::uintptr_t>(wide_text) % alignof(wchar_t) == 0; }

// For wide text that is not aligned, as after a prefix.
std::size_t scan(const void* wide_text, std::size_t limit) {
  std::size_t length = 0;
  while (length < limit && load<Wide>(wide_text, length) != 0) ++length;
  return length;
}

}  // namespace

std::int32_t length_of(const char* text) { return counted(std::strlen(text)); }

std::int32_t length_of(const void* wide_text) {
  if (is_aligned(wide_text)) return counted(std::wcslen(static_cast<const wchar_t*>(wide_text)));
  return counted(scan(wide_text, max_length));
}

std::int32_t length_within(const char* text, std::int32_t limit) {
  return limit <= 0 ? 0 : static_cast<std::int32_t>(strnlen(text, static_cast<std::size_t>(limit)));
}

std::int32_t length_within(const void* wide_text, std::int32_t limit) {
  if (limit <= 0) return 0;
  const auto max_units = static_cast<std::size_t>(limit);
  return static_cast<std::int32_t>(is_aligned(wide_text) ? wcsnlen(static_cast<const wchar_t*>(wide_text), max_units)
                                                         : scan(wide_text, max_units));
}

}  // namespace zvrt
