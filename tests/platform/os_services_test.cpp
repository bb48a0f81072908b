#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <limits>
#include <thread>
#include <vector>

#include "ZVRTOSLibUnix.h"

namespace {

constexpr std::uint32_t failure(int error) { return ZVRT_OS_RC_ERRNO + static_cast<std::uint32_t>(error); }

TEST(Mutex, ServesBeforeCreationAfterDestructionAndCreatedTwice) {
  ZVRTMutexStorage mutex{};
  const auto lock_and_unlock = [&] { return MutexLock(&mutex, 0) == 0 && MutexUnLock(&mutex) == 0; };
  EXPECT_TRUE(lock_and_unlock()) << "zero-filled storage";
  ASSERT_EQ(MutexCreate(&mutex), 0U);
  EXPECT_TRUE(lock_and_unlock());
  ASSERT_EQ(MutexCreate(&mutex), 0U);
  EXPECT_TRUE(lock_and_unlock()) << "created anew";
  ASSERT_EQ(MutexDestroy(&mutex), 0U);
  EXPECT_TRUE(lock_and_unlock()) << "destroyed";
  EXPECT_EQ(MutexDestroy(&mutex), 0U);
}

#if !defined(__SANITIZE_THREAD__)  // which reports these itself
TEST(Mutex, RefusesMisuseByStatus) {
  ZVRTMutexStorage mutex{};
  ASSERT_EQ(MutexCreate(&mutex), 0U);
  EXPECT_EQ(MutexUnLock(&mutex), failure(EPERM)) << "not held";
  ASSERT_EQ(MutexLock(&mutex, 0), 0U);
  EXPECT_EQ(MutexLock(&mutex, 0), failure(EDEADLK));
  EXPECT_EQ(MutexDestroy(&mutex), failure(EBUSY));
  std::int32_t counter = 3;
  EXPECT_EQ(LockedIncrement(&counter, &mutex), failure(EDEADLK));
  EXPECT_EQ(counter, 3);
  std::thread([&] { EXPECT_EQ(MutexUnLock(&mutex), failure(EPERM)); }).join();
  EXPECT_EQ(MutexUnLock(&mutex), 0U);
  EXPECT_EQ(MutexDestroy(&mutex), 0U);
}
#endif

TEST(Mutex, RefusesWrongArguments) {
  ZVRTMutexStorage mutex{};
  EXPECT_EQ(MutexLock(&mutex, 1), failure(EINVAL)) << "reserved argument";
  for (const std::uint32_t status : {MutexCreate(nullptr), MutexDestroy(nullptr), MutexLock(nullptr, 0),
                                     MutexUnLock(nullptr), LockedIncrement(nullptr, &mutex)})
    EXPECT_EQ(status, failure(EINVAL));
}

TEST(LockedIncrement, StopsAtTheLargestValueAndReleasesTheLock) {
  ZVRTMutexStorage mutex{};
  ASSERT_EQ(MutexCreate(&mutex), 0U);
  std::int32_t counter = std::numeric_limits<std::int32_t>::max();
  EXPECT_EQ(LockedIncrement(&counter, &mutex), failure(EOVERFLOW));
  EXPECT_EQ(counter, std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(MutexDestroy(&mutex), 0U);
}

TEST(LockedIncrement, LosesNoneAmongThreadsAndCanBeReadUnlocked) {
  ZVRTMutexStorage mutex{};
  ASSERT_EQ(MutexCreate(&mutex), 0U);
  std::int32_t counter = 0;
  constexpr int each = 2000;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([&] {
      for (int n = 0; n < each; ++n) {
        EXPECT_EQ(LockedIncrement(&counter, &mutex), 0U);
        EXPECT_GT(std::atomic_ref(counter).load(), n);
      }
    });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(counter, 4 * each);
  EXPECT_EQ(MutexDestroy(&mutex), 0U);
}

}  // namespace
