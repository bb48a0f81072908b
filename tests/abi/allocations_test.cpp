// No value of ordinary size costs an allocation.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <string>

#include "ZVRTDataCnvLib.h"
#include "support/ordinary_calls.h"

// The C library's own, behind the counters that take their place for the whole process.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

namespace {
thread_local std::size_t allocations = 0;
}

extern "C" {
[[gnu::visibility("default")]] void* malloc(std::size_t size) { return ++allocations, __libc_malloc(size); }
[[gnu::visibility("default")]] void* calloc(std::size_t count, std::size_t size) {
  return ++allocations, __libc_calloc(count, size);
}
[[gnu::visibility("default")]] void* realloc(void* block, std::size_t size) {
  return ++allocations, __libc_realloc(block, size);
}
[[gnu::visibility("default")]] void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return ++allocations, __libc_memalign(alignment, size);
}
[[gnu::visibility("default")]] int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  ++allocations;
  *block = __libc_memalign(alignment, size);
  return *block == nullptr ? ENOMEM : 0;
}
}

namespace {

TEST(Allocations, NoneOnOrdinaryValues) {
  ASSERT_EQ(ZVRTInitDataConversion(), ZVRT_RC_OK);
  for (const zvrt_test::OrdinaryCall& ordinary : zvrt_test::ordinary_calls()) {
    SCOPED_TRACE(ordinary.function + ", " + ordinary.value);
    ordinary.call();  // a thread's first use of a code page may allocate
    const std::size_t before = allocations;
    const std::uint32_t status = ordinary.call();
    EXPECT_EQ(allocations - before, 0U);
    EXPECT_EQ(status, ZVRT_RC_OK);
  }
  EXPECT_EQ(ZVRTTermDataConversion(), ZVRT_RC_OK);
}

// The counters do count: text too long for the stack takes the heap, and once.
TEST(Allocations, OneWhereTextIsLong) {
  const std::string text(2'000, '7');
  std::string packed(1'001, '\0');
  std::uint32_t written = 0;
  const std::size_t before = allocations;
  const std::uint32_t status =
      ZVRTCnvVarcharSzToDecPacked(text.data(), nullptr, packed.data(), 1'001, &written, nullptr);
  EXPECT_EQ(allocations - before, 1U);
  EXPECT_EQ(status, ZVRT_RC_OK);
}

}  // namespace
