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

// The smallest page of any machine; pages of 64 KiB, as aarch64 may have, consist of such blocks.
inline constexpr std::uintptr_t page_bytes = 4096;

// Of an address what places it in its page. Under valgrind the whole address, so that no block is within a page.
[[gnu::visibility("hidden")]] extern std::uintptr_t page_mask;

// Memory is mapped in pages: if the first byte may be read, so may a block within the same page.
[[gnu::always_inline]] inline bool is_within_page(const void* at, std::size_t bytes) {
  return (reinterpret_cast<std::uintptr_t>(at) & page_mask) <= page_bytes - bytes;
}

// Sanitizers check bytes, so with them nothing is read ahead.
[[gnu::always_inline]] inline bool may_read_ahead(const void* at, std::size_t bytes) {
  return reads_ahead && is_within_page(at, bytes);
}

}  // namespace zvrt
