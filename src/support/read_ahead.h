// The page rule: when a kernel may load a block of text before it knows where the text ends.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zvrt {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool reads_ahead = false;
#elif !defined(__has_feature)
constexpr bool reads_ahead = true;
#elif __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
constexpr bool reads_ahead = false;
#else
constexpr bool reads_ahead = true;
#endif

// Memory is mapped in pages: if the first byte may be read, so may a block within the same page. Sanitizers check
// bytes, so with them nothing is read ahead.
[[gnu::always_inline]] inline bool may_read_ahead(const void* at, std::size_t bytes) {
  constexpr std::uintptr_t page = 4096;
  return reads_ahead && reinterpret_cast<std::uintptr_t>(at) % page <= page - bytes;
}

}  // namespace zvrt
