// Starting, ending, the caches of threads.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "converter_service.h"

namespace {

using zvrt_test::decode;
using zvrt_test::encode;
using zvrt_test::find_converter;
using zvrt_test::get_blocks;

const std::u32string sample = U"A\u65E5\u672C";

class Service : public zvrt_test::ConverterService {};

TEST_F(Service, HasNoConvertersUnlessStarted) {
  const auto [anchor, thread] = get_blocks();
  EXPECT_NE(find_converter(37), nullptr);
  for (int again = 0; again < 2; ++again) {
    EXPECT_EQ(ZVRT_ICU_Term(anchor, thread), 0U);
    EXPECT_EQ(find_converter(37), nullptr);
    EXPECT_EQ(find_converter(51932), nullptr);
  }
  ASSERT_EQ(ZVRT_ICU_Init(anchor, thread), 0U);
  ASSERT_EQ(ZVRT_ICU_Init(anchor, thread), 0U);
  for (const std::uint32_t page : {930U, 51932U}) {
    void* const converter = find_converter(page);
    ASSERT_NE(converter, nullptr);
    EXPECT_EQ(decode(converter, encode(converter, sample).written).written, sample);
  }
}

TEST_F(Service, RefusesWhatIsNotItsOwn) {
  const auto [anchor, thread] = get_blocks();
  std::uint64_t foreign[8] = {};
  EXPECT_EQ(ZVRT_ICU_Init(anchor, foreign), ZVRT_ICU_RC_INVALID_PARAM);
  EXPECT_EQ(ZVRT_ICU_Init(nullptr, thread), ZVRT_ICU_RC_INVALID_PARAM);
  EXPECT_EQ(ZVRT_ICU_Term(anchor, nullptr), ZVRT_ICU_RC_INVALID_PARAM);
  EXPECT_EQ(ZVRT_GetICUConverterInfo(anchor, foreign, 37, 0), nullptr);
  std::uint32_t count = 7;
  EXPECT_EQ(ZVRT_IcuMultibyteToWide(nullptr, "a", 1, nullptr, 0, &count), ZVRT_ICU_RC_INVALID_PARAM);
  EXPECT_EQ(ZVRT_IcuWideToMultibyte(nullptr, sample.data(), 1, nullptr, 0, &count), ZVRT_ICU_RC_INVALID_PARAM);
  EXPECT_EQ(ZVRT_IcuMultibyteToWide(find_converter(37), "a", 1, nullptr, 0, nullptr), ZVRT_ICU_RC_INVALID_PARAM);
  EXPECT_EQ(count, 7U);
}

TEST_F(Service, FindsTheSameConverterAgainWhateverWasUsedBetween) {
  const std::vector<std::uint32_t> pages = {37, 930, 54936, 1252, 51932};
  std::vector<void*> converters;
  for (const std::uint32_t page : pages) converters.push_back(find_converter(page));
  for (int round = 0; round < 3; ++round)
    for (std::size_t i = 0; i < pages.size(); ++i)
      for (std::size_t k = 0; k < pages.size(); ++k) {
        EXPECT_EQ(find_converter(pages[i]), converters[i]);
        EXPECT_EQ(find_converter(99999), nullptr);
        EXPECT_EQ(find_converter(pages[k]), converters[k]);
      }
  EXPECT_NE(find_converter(37, 'N'), converters[0]);
  EXPECT_EQ(find_converter(37, 'X'), converters[0]);
}

TEST_F(Service, ServesManyThreadsAtOnce) {
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (unsigned id = 0; id < 8; ++id)
    threads.emplace_back([&wrong, id] {
      constexpr std::uint32_t pages[] = {930, 932, 54936, 1399, 964, 1208};
      for (unsigned i = 0; i < 600; ++i) {
        void* const converter = find_converter(pages[(i / (id + 1)) % std::size(pages)]);
        if (converter == nullptr || decode(converter, encode(converter, sample).written).written != sample) ++wrong;
      }
    });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

// The service ends and starts again while a thread holds converters of its own; the thread then ends at either place.
TEST_F(Service, ThreadsOutliveTheService) {
  const auto [anchor, block] = get_blocks();
  for (const bool converts_again : {false, true}) {
    std::atomic<int> stage{0};
    const auto wait_for = [&](int wanted) {
      while (stage != wanted) std::this_thread::yield();
    };
    std::thread thread([&] {
      EXPECT_NE(find_converter(51932), nullptr);
      EXPECT_NE(find_converter(37), nullptr);
      stage = 1;
      wait_for(2);
      if (!converts_again) return;
      void* const converter = find_converter(51932);
      ASSERT_NE(converter, nullptr);
      EXPECT_EQ(decode(converter, encode(converter, sample).written).written, sample);
    });
    wait_for(1);
    ASSERT_EQ(ZVRT_ICU_Term(anchor, block), 0U);
    ASSERT_EQ(ZVRT_ICU_Init(anchor, block), 0U);
    stage = 2;
    thread.join();
  }
}

}  // namespace
