#include "failing_allocator.h"

#include <atomic>
#include <cerrno>
#include <new>

namespace zvrt_test {
namespace {

struct Watch {
  bool active;
  Fails fails;
  std::size_t nth, count;
  std::ptrdiff_t live;
};
constinit thread_local Watch watch{};
constinit std::atomic<std::ptrdiff_t> live_in_all = 0;

}  // namespace

WatchedAllocations::WatchedAllocations(Fails fails, std::size_t nth) { watch = {true, fails, nth, 0, 0}; }
void WatchedAllocations::stop() { watch.active = false; }
std::size_t WatchedAllocations::count() const { return watch.count; }
std::ptrdiff_t WatchedAllocations::live() const { return watch.live; }
std::ptrdiff_t live_allocations() { return live_in_all; }

}  // namespace zvrt_test

// glibc's own, under the names that it keeps for this.
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);
}

namespace {

// Whether this allocation is to be had.
bool granted() {
  using zvrt_test::watch;
  if (!watch.active) return true;
  ++watch.count;
  const bool fails = watch.fails == zvrt_test::Fails::once           ? watch.count == watch.nth
                     : watch.fails == zvrt_test::Fails::from_then_on ? watch.count >= watch.nth
                                                                     : false;
  if (fails) errno = ENOMEM;
  return !fails;
}

void* counted(void* memory) {
  if (memory == nullptr) return nullptr;
  ++zvrt_test::live_in_all;
  if (zvrt_test::watch.active) ++zvrt_test::watch.live;
  return memory;
}

}  // namespace

void* malloc(std::size_t size) noexcept { return granted() ? counted(__libc_malloc(size)) : nullptr; }
void* calloc(std::size_t count, std::size_t size) noexcept {
  return granted() ? counted(__libc_calloc(count, size)) : nullptr;
}
void* realloc(void* memory, std::size_t size) noexcept {
  if (!granted()) return nullptr;
  return memory == nullptr ? counted(__libc_realloc(memory, size)) : __libc_realloc(memory, size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
  return granted() ? counted(__libc_memalign(alignment, size)) : nullptr;
}
int posix_memalign(void** memory, std::size_t alignment, std::size_t size) noexcept {
  *memory = aligned_alloc(alignment, size);
  return *memory == nullptr ? ENOMEM : 0;
}
void free(void* memory) noexcept {
  if (memory == nullptr) return;
  --zvrt_test::live_in_all;
  if (zvrt_test::watch.active) --zvrt_test::watch.live;
  __libc_free(memory);
}
