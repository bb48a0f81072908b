// The process's allocator, which fails where it is told to and knows what is still allocated.
#pragma once

#include <cstddef>

namespace zvrt_test {

// Sanitizers bring an allocator of their own, which must not be replaced.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool allocator_is_ours = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool allocator_is_ours = false;
#else
constexpr bool allocator_is_ours = true;
#endif
#else
constexpr bool allocator_is_ours = true;
#endif

enum class Fails { never, once, from_then_on };

// While one of these lives, the allocations of its thread are counted, and fail as told, the nth being the first to.
class WatchedAllocations {
 public:
  explicit WatchedAllocations(Fails fails = Fails::never, std::size_t nth = 0);
  ~WatchedAllocations() { stop(); }
  WatchedAllocations(const WatchedAllocations&) = delete;
  WatchedAllocations& operator=(const WatchedAllocations&) = delete;

  void stop();
  std::size_t count() const;    // allocations tried
  std::ptrdiff_t live() const;  // allocations less releases
};

// The allocations of the whole process that are not released yet.
std::ptrdiff_t live_allocations();

}  // namespace zvrt_test
