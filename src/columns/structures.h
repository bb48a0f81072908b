// Structures that begin with their own size: read as if a shorter one ended in zeros and a longer one is refused unless
// its rest is zero; written no further than the caller's size.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zvrt::columns {

// False when it is longer than what is known and says more than that, or too short to say its size.
template <class Structure>
bool read_structure(const Structure* given, Structure& known) {
  std::uint32_t size = 0;
  std::memcpy(&size, given, sizeof size);
  if (size < sizeof size) return false;
  known = Structure{};
  std::memcpy(&known, given, std::min<std::size_t>(size, sizeof known));
  const auto* const bytes = reinterpret_cast<const std::byte*>(given);
  for (std::size_t i = sizeof known; i < size; ++i) {
    if (bytes[i] != std::byte{0}) return false;
  }
  known.size = sizeof known;
  return true;
}

// Keeps the caller's size; a null pointer receives nothing.
template <class Structure>
void write_structure(const Structure& result, Structure* given) {
  if (given == nullptr) return;
  std::uint32_t size = 0;
  std::memcpy(&size, given, sizeof size);
  if (size <= sizeof size) return;
  const std::size_t bytes = std::min<std::size_t>(size, sizeof result) - sizeof size;
  std::memcpy(reinterpret_cast<std::byte*>(given) + sizeof size,
              reinterpret_cast<const std::byte*>(&result) + sizeof size, bytes);
}

}  // namespace zvrt::columns
