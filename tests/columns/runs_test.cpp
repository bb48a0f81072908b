// What holds for every run, whatever the pair: many threads on one plan, a service that goes and comes back, little stack,
// structures of other sizes.
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/mman.h>

#include <atomic>
#include <thread>
#include <vector>

#include "columns/arrow/abi.h"
#include "columns/one_value.h"

using namespace columns_test;

namespace {

// Pairs that together take every way through the library: every form, a page in tables, one by the service, kernels.
struct Work {
  ZVRTType from;
  ZVRTType to;
  std::string value;
};

std::vector<Work> works() {
  const ZVRTType text = type(ZVRT_KIND_CHAR, 26, ZVRT_TYPE_TRIM | ZVRT_TYPE_PAD);
  const ZVRTType number = type(ZVRT_KIND_PACKED, 5, 0, 0, 2);
  const std::string digits = bytes("01 23 45 67 8C"), words = "1234.5                    ";
  const std::string timestamp = bytes("=07E8 =0002 =001D =000C =0022 =0038 00000000 0000000000000000");
  return {
      {with_page(text, 37), text, bytes("C1C2C3") + std::string(23, '\x40')},
      {text, with_page(text, 37), words},
      {text, with_page(text, 932), words},
      {with_page(text, 932), type(ZVRT_KIND_UTF16, 64), words},
      {text, type(ZVRT_KIND_WVARCHAR_SZ, 120), words},
      {number, type(ZVRT_KIND_INT, 8, 0, 0, 2), digits},
      {number, text, digits},
      {text, type(ZVRT_KIND_VARNUM, 22), words},
      {text, type(ZVRT_KIND_FLOAT, 8), words},
      {number, type(ZVRT_KIND_HEX_FLOAT, 8), digits},
      {number, type(ZVRT_KIND_DECIMAL, 16, 0, 0, 4), digits},
      {type(ZVRT_KIND_TIMESTAMP, 24), text, timestamp},
      {type(ZVRT_KIND_TIMESTAMP, 24), type(ZVRT_KIND_MICROS, 8), timestamp},
      {with_page(text, 37), type(ZVRT_KIND_BYTES, 13), bytes("F1F2C3C4") + std::string(22, '\x40')},
  };
}

// What a run leaves of many values: slots, lengths, statuses.
std::string run(const ZVRTPlan* plan, const Work& work, std::int64_t rows = 100) {
  std::string source, slots(static_cast<std::size_t>(rows) * 128, untouched);
  for (std::int64_t row = 0; row < rows; ++row) source += work.value;
  std::vector<std::int32_t> lengths(static_cast<std::size_t>(rows));
  std::vector<std::uint32_t> statuses(static_cast<std::size_t>(rows));
  ZVRTArray from{};
  from.size = sizeof from;
  from.data = source.data();
  from.stride = static_cast<std::int64_t>(work.value.size());
  ZVRTArray to{};
  to.size = sizeof to;
  to.data = slots.data();
  to.stride = 128;
  to.lengths = lengths.data();
  to.lengthBytes = 4;
  to.status = statuses.data();
  const std::uint32_t status = ZVRTPlanRun(plan, &from, &to, rows, nullptr);
  return std::to_string(status) + slots +
         std::string(reinterpret_cast<const char*>(lengths.data()), lengths.size() * 4) +
         std::string(reinterpret_cast<const char*>(statuses.data()), statuses.size() * 4);
}

class Runs : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(ZVRTInitDataConversion(), ZVRT_RC_OK); }
  void TearDown() override { EXPECT_EQ(ZVRTTermDataConversion(), ZVRT_RC_OK); }
};

TEST_F(Runs, EightThreadsOnOnePlan) {
  for (const Work& work : works()) {
    Plan plan;
    ASSERT_EQ(make(work.from, work.to, 0, plan), ZVRT_RC_OK);
    const std::string expected = run(plan.get(), work);
    ASSERT_EQ(expected[0], '0') << expected.substr(0, 10);
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
      threads.emplace_back([&] {
        for (int round = 0; round < 20; ++round) wrong += run(plan.get(), work) != expected;
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
  }
}

// A plan outlives the service: its runs say that it is gone and write nothing, and go on when it is back.
TEST_F(Runs, TheServiceGoesAndComesBack) {
  for (const Work& work : works()) {
    Plan plan;
    ASSERT_EQ(make(work.from, work.to, 0, plan), ZVRT_RC_OK);
    const std::string expected = run(plan.get(), work);
    ASSERT_EQ(ZVRTTermDataConversion(), ZVRT_RC_OK);
    const bool needs_service = work.from.codePage != 0 || work.to.codePage != 0;
    const std::string without = run(plan.get(), work);
    EXPECT_EQ(without == expected, !needs_service);
    const bool wrote = without.find_first_not_of(untouched, without.find(untouched)) < 128U * 100;
    EXPECT_EQ(wrote, !needs_service);
    ASSERT_EQ(ZVRTInitDataConversion(), ZVRT_RC_OK);
    EXPECT_EQ(run(plan.get(), work), expected);
  }
}

// A thread on a stack that was painted before: what is no longer paint was used.
constexpr std::size_t stack_bytes = std::size_t{512} << 10;

std::size_t stack_used(void* (*body)(void*), void* argument) {
  void* const stack = mmap(nullptr, stack_bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  std::memset(stack, 0x5C, stack_bytes);
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstack(&attributes, stack, stack_bytes);
  pthread_t thread{};
  EXPECT_EQ(pthread_create(&thread, &attributes, body, argument), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  const auto* const bytes = static_cast<const unsigned char*>(stack);
  std::size_t first = 0;
  while (first < stack_bytes && bytes[first] == 0x5C) ++first;
  munmap(stack, stack_bytes);
  return stack_bytes - first;
}

struct StackWork {
  const ZVRTPlan* plan;
  ZVRTArray from, to;
  const ZVRTRecordPlan* of_records;
  const void* records;
};
void* run_on_stack(void* argument) {
  const StackWork& work = *static_cast<const StackWork*>(argument);
  if (work.plan != nullptr) ZVRTPlanRun(work.plan, &work.from, &work.to, 50, nullptr);
  if (work.of_records != nullptr) {
    ArrowArray array{};
    ZVRTRecordsToArrow(work.of_records, work.records, nullptr, 50, &array, nullptr);
    if (array.release != nullptr) array.release(&array);
  }
  return nullptr;
}

// g++ defines a macro, clang has a feature.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool is_sanitized = true;
#elif defined(__has_feature)
constexpr bool is_sanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
constexpr bool is_sanitized = false;
#endif

TEST_F(Runs, LittleStack) {
  if (is_sanitized) GTEST_SKIP() << "a sanitizer has its own idea of a stack";
  StackWork nothing{};
  const std::size_t idle = stack_used(run_on_stack, &nothing);
  for (const Work& work : works()) {
    Plan plan;
    ASSERT_EQ(make(work.from, work.to, 0, plan), ZVRT_RC_OK);
    run(plan.get(), work);  // what a thread's first use of a page does is the service's own
    std::string source, slots(50 * 128, untouched);
    for (int row = 0; row < 50; ++row) source += work.value;
    StackWork on_stack{};
    on_stack.plan = plan.get();
    on_stack.from.size = on_stack.to.size = sizeof(ZVRTArray);
    on_stack.from.data = source.data();
    on_stack.from.stride = static_cast<std::int64_t>(work.value.size());
    on_stack.to.data = slots.data();
    on_stack.to.stride = 128;
    const std::size_t used = stack_used(run_on_stack, &on_stack);
    const bool by_service = work.from.codePage == 932 || work.to.codePage == 932;  // whose own stack it is
    EXPECT_LE(used - idle, std::size_t{by_service ? 64U : 32U} << 10);
    const ZVRTField field{sizeof(ZVRTField), 0, -1, ZVRT_COLUMN_DEFAULT, "FIELD", &work.from};
    StackWork to_array{};
    to_array.records = source.data();
    ZVRTRecordPlan* of_records = nullptr;
    const auto bytes = static_cast<std::int32_t>(work.value.size());
    if (ZVRTRecordPlanCreate(&field, 1, bytes, 0, &of_records, nullptr) != ZVRT_RC_OK) continue;
    to_array.of_records = of_records;
    EXPECT_LE(stack_used(run_on_stack, &to_array) - idle, std::size_t{by_service ? 64U : 32U} << 10);
    ZVRTRecordPlanDestroy(of_records);
  }
}

// Shorter structures lack their last members, longer ones end in zeros or are refused; results stay within their size.
TEST_F(Runs, StructuresOfOtherSizes) {
  struct LongType {
    ZVRTType type;
    std::uint64_t more;
  };
  LongType from = {type(ZVRT_KIND_PACKED, 3), 0};
  const ZVRTType to = type(ZVRT_KIND_INT, 4);
  ZVRTPlan* plan = nullptr;
  from.type.size = sizeof from;
  EXPECT_EQ(ZVRTPlanCreate(&from.type, &to, 0, &plan, nullptr), ZVRT_RC_OK);
  ZVRTPlanDestroy(plan);
  from.more = 1;
  EXPECT_EQ(ZVRTPlanCreate(&from.type, &to, 0, &plan, nullptr), ZVRT_RC_INVALID_TYPE);
  EXPECT_EQ(plan, nullptr);
  from.type.size = offsetof(ZVRTType, codePage);
  ASSERT_EQ(ZVRTPlanCreate(&from.type, &to, 0, &plan, nullptr), ZVRT_RC_OK);

  char packed[] = "\x12\x34\x5C";
  std::int32_t value = 0;
  ZVRTArray source{}, target{};
  source.size = offsetof(ZVRTArray, lengths);
  source.data = packed;
  source.lengths = &value;  // beyond what is said to be there
  target.size = sizeof target;
  target.data = &value;
  ZVRTOutcome outcome{};
  std::memset(&outcome, 0x77, sizeof outcome);
  outcome.size = offsetof(ZVRTOutcome, refused);
  EXPECT_EQ(ZVRTPlanRun(plan, &source, &target, 1, &outcome), ZVRT_RC_OK);
  EXPECT_EQ(value, 12345);
  EXPECT_EQ(outcome.done, 1);
  EXPECT_EQ(outcome.firstStatus, 0U);
  EXPECT_EQ(outcome.refused, 0x7777777777777777);
  ZVRTProblem why;
  std::memset(&why, 0x77, sizeof why);
  why.size = offsetof(ZVRTProblem, unit);
  packed[1] = '\x3A';
  EXPECT_EQ(ZVRTPlanExplain(plan, packed, 3, &why), ZVRT_RC_OK);
  EXPECT_EQ(why.status, ZVRT_RC_INVALID_DIGIT);
  EXPECT_EQ(why.offset, 1);
  EXPECT_EQ(why.unit, 0x77777777U);
  ZVRTPlanDestroy(plan);
}

}  // namespace
