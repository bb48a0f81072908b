// The process's allocator, which fails where it is asked to and knows what is still allocated.
#pragma once

#include <cstddef>

namespace zvrt_test {

enum class Fails { never, once, from_then_on };

// While one of these lives, the allocations of its thread are counted, and fail as asked, the nth being the first to.
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
