#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "ZVRTEnvLib.h"

namespace {

ZVRTThreadBlock* thread_block() {
  void* block = nullptr;
  EXPECT_EQ(ZVRTGetThreadBlock(&block), 0U);
  return static_cast<ZVRTThreadBlock*>(block);
}

// Counts what is released through the slot of the calling thread's block.
void keep_in_slot(std::atomic<int>& released) {
  thread_block()->converter = {&released, [](void* value) { ++*static_cast<std::atomic<int>*>(value); }};
}

void expect_no_blocks() {
  int guard = 0;
  void* anchor = &guard;
  void* thread = &guard;
  EXPECT_EQ(ZVRTGetAncBlk(&anchor), ZVRT_ENV_RC_NO_ANCHOR);
  EXPECT_EQ(ZVRTGetThreadBlock(&thread), ZVRT_ENV_RC_NO_ANCHOR);
  EXPECT_EQ(anchor, &guard);
  EXPECT_EQ(thread, &guard);
}

class Environment : public testing::Test {
 protected:
  void TearDown() override { ZVRTTermEnvAncBlk(); }
};

TEST_F(Environment, HandsOutBlocksOnlyBetweenCreationAndTermination) {
  expect_no_blocks();
  EXPECT_EQ(ZVRTTermEnvAncBlk(), ZVRT_ENV_RC_NO_ANCHOR);
  for (int round = 0; round < 2; ++round) {
    ASSERT_EQ(ZVRTCreateEnvAncBlk(), 0U);
    void* anchor = nullptr;
    EXPECT_EQ(ZVRTGetAncBlk(&anchor), 0U);
    EXPECT_NE(anchor, nullptr);
    EXPECT_EQ(thread_block(), thread_block());
    EXPECT_EQ(thread_block()->mark, ZVRT_THREAD_BLOCK_MARK);
    ASSERT_EQ(ZVRTTermEnvAncBlk(), 0U);
    expect_no_blocks();
  }
  EXPECT_EQ(ZVRTGetAncBlk(nullptr), ZVRT_ENV_RC_INVALID_PARAM);
  EXPECT_EQ(ZVRTGetThreadBlock(nullptr), ZVRT_ENV_RC_INVALID_PARAM);
}

TEST_F(Environment, CreatedTwiceKeepsItsBlocks) {
  ASSERT_EQ(ZVRTCreateEnvAncBlk(), 0U);
  std::atomic<int> released{0};
  keep_in_slot(released);
  const auto* const before = thread_block();
  ASSERT_EQ(ZVRTCreateEnvAncBlk(), 0U);
  EXPECT_EQ(thread_block(), before);
  EXPECT_EQ(before->converter.value, &released);
  EXPECT_EQ(released, 0);
  ASSERT_EQ(ZVRTTermEnvAncBlk(), 0U);
  EXPECT_EQ(released, 1) << "the terminating thread's own block";
  expect_no_blocks();
}

TEST_F(Environment, EachThreadHasABlockThatEndsWithIt) {
  ASSERT_EQ(ZVRTCreateEnvAncBlk(), 0U);
  std::atomic<int> released{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i)
    threads.emplace_back([&] {
      keep_in_slot(released);
      EXPECT_EQ(thread_block()->converter.value, &released);
    });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(released, 8);
}

// What a thread had under an earlier anchor block is let go once, whichever comes first: its end or its next block.
TEST_F(Environment, ThreadsOutliveTheirAnchorBlock) {
  for (const bool asks_again : {false, true}) {
    ASSERT_EQ(ZVRTCreateEnvAncBlk(), 0U);
    std::atomic<int> released{0};
    std::atomic<int> stage{0};
    const auto wait_for = [&](int wanted) {
      while (stage != wanted) std::this_thread::yield();
    };
    std::thread thread([&] {
      keep_in_slot(released);
      stage = 1;
      wait_for(2);
      if (!asks_again) return;
      EXPECT_EQ(thread_block()->converter.value, nullptr);
      EXPECT_EQ(released, 1);
    });
    wait_for(1);
    ASSERT_EQ(ZVRTTermEnvAncBlk(), 0U);
    EXPECT_EQ(released, 0);
    if (asks_again) {
      ASSERT_EQ(ZVRTCreateEnvAncBlk(), 0U);
    }
    stage = 2;
    thread.join();
    EXPECT_EQ(released, 1);
    ZVRTTermEnvAncBlk();
  }
}

// A destructor of another library's thread-local object may still convert: it is handed a block, which is released too.
TEST_F(Environment, ServesThreadLocalDestructors) {
  ASSERT_EQ(ZVRTCreateEnvAncBlk(), 0U);
  static std::atomic<int> released{0};
  struct LateUser {
    ~LateUser() { keep_in_slot(released); }
  };
  std::thread([] {
    thread_local LateUser user;
    static_cast<void>(&user);
  }).join();
  EXPECT_EQ(released, 1);
}

}  // namespace
