// Initialisation, termination and the two bridges over a platform that fails where asked.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "ZVRTDataCnvLib.h"
#include "fakes/failing_platform.h"

namespace zvrt_test {
namespace {

using Calls = std::vector<std::string>;

const Calls first_initialisation = {"MutexCreate",        "ZVRTCreateEnvAncBlk", "ZVRTGetAncBlk",
                                    "ZVRTGetThreadBlock", "ZVRT_ICU_Init",       "LockedIncrement"};
const Calls counted_termination = {"MutexLock", "MutexUnLock"};
const Calls teardown = {"ZVRTGetAncBlk", "ZVRTGetThreadBlock", "ZVRT_ICU_Term", "ZVRTTermEnvAncBlk", "MutexDestroy"};

struct Bridge {
  const char* name;
  decltype(&ZVRT_MultiByteToWideChar) convert;
  std::uint32_t given;  // what the fake converter reports of 10 source bytes and a destination of 22
};

const Bridge bridges[] = {{"ZVRT_IcuMultibyteToWide", ZVRT_MultiByteToWideChar, 10 * 1000 + 5},
                          {"ZVRT_IcuWideToMultibyte", ZVRT_WideCharToMultiByte, 2 * 1000 + 22}};
constexpr std::uint32_t not_reported = 77, failure = 4711;

class Lifecycle : public testing::Test {
 protected:
  // The count is private to the library: it is brought to 0 by the calls themselves, and seen where it is incremented.
  void SetUp() override {
    field.codePage = 37;
    field.codePageKind = 'k';
    platform.reset();
    ASSERT_EQ(ZVRTInitDataConversion(), 0U);
    count = platform.counter;
    while (*count > 0) ASSERT_EQ(ZVRTTermDataConversion(), 0U);
    while (*count < 0) ASSERT_EQ(ZVRTInitDataConversion(), 0U);
    platform.reset();
  }
  void TearDown() override { SetUp(); }

  Calls taken() {
    Calls calls = platform.calls;
    platform.calls.clear();
    return calls;
  }

  FakePlatform& platform = fake_platform();
  const std::int32_t* count = nullptr;
  FldDef field{};
};

TEST_F(Lifecycle, OnlyTheFirstAndTheLastUserDoTheWork) {
  EXPECT_EQ(ZVRTInitDataConversion(), 0U);
  EXPECT_EQ(taken(), first_initialisation);
  EXPECT_EQ(ZVRTInitDataConversion(), 0U);
  EXPECT_EQ(taken(), Calls{"LockedIncrement"});
  EXPECT_EQ(*count, 2);
  EXPECT_EQ(ZVRTTermDataConversion(), 0U);
  EXPECT_EQ(taken(), counted_termination);
  EXPECT_EQ(ZVRTTermDataConversion(), 0U);
  Calls last_termination = counted_termination;
  last_termination.insert(last_termination.end(), teardown.begin(), teardown.end());
  EXPECT_EQ(taken(), last_termination);
  EXPECT_EQ(*count, 0);
}

// What a failing call of the platform leads to: the calls that still follow it, the status, and the change of the count.
// clang-format off
struct Failure {
  const char* call;
  Calls after;
  std::uint32_t status = failure;
  std::int32_t users = 0;
};
const Failure first_initialisations[] = {
    {"MutexCreate",         {}},
    {"ZVRTCreateEnvAncBlk", {"MutexDestroy"}},
    {"ZVRTGetAncBlk",       {"ZVRTTermEnvAncBlk", "MutexDestroy"}},
    {"ZVRTGetThreadBlock",  {"ZVRTTermEnvAncBlk", "MutexDestroy"}},
    // A service whose start failed may be partly started: it is ended as well
    {"ZVRT_ICU_Init",       {"ZVRT_ICU_Term", "ZVRTTermEnvAncBlk", "MutexDestroy"}},
    {"LockedIncrement",     {"ZVRT_ICU_Term", "ZVRTTermEnvAncBlk", "MutexDestroy"}},
};
const Failure last_terminations[] = {
    {"MutexLock",           {}},
    // The mutex may still be held: nothing is torn down, but unlocking is tried again
    {"MutexUnLock",         {"MutexUnLock"}, failure, -1},
    {"ZVRTGetAncBlk",       {}, failure, -1},
    {"ZVRTGetThreadBlock",  {}, failure, -1},
    {"ZVRT_ICU_Term",       {}, failure, -1},
    {"ZVRTTermEnvAncBlk",   {"MutexDestroy"}, ZVRT_RC_OK, -1},
    {"MutexDestroy",        {}, failure, -1},
};
const Failure bridge_calls[] = {
    {"ZVRTGetAncBlk",            {}},
    {"ZVRTGetThreadBlock",       {}},
    {"ZVRT_GetICUConverterInfo", {}, ZVRT_RC_NO_CONVERTER},
};
// clang-format on

TEST_F(Lifecycle, AFailureLeadsToItsCalls) {
  const auto expect = [this](const Failure& row, auto call) {
    SCOPED_TRACE(row.call);
    const std::int32_t users = *count;
    platform.calls.clear();
    platform.failing = {{row.call, failure}};
    EXPECT_EQ(call(), row.status);
    const Calls calls = taken();
    const auto failed = std::find(calls.begin(), calls.end(), row.call);
    ASSERT_NE(failed, calls.end());
    EXPECT_EQ(Calls(failed + 1, calls.end()), row.after);
    EXPECT_EQ(*count, users + row.users);
    // What fails after it changes nothing.
    if (row.status == failure && !row.after.empty()) {
      SetUp();
      while (*count < users) ASSERT_EQ(ZVRTInitDataConversion(), 0U);
      platform.calls.clear();
      platform.failing = {{row.call, failure}};
      for (const std::string& later : row.after) platform.failing.try_emplace(later, 4712);
      EXPECT_EQ(call(), failure);
      EXPECT_EQ(taken(), calls);
    }
    platform.failing.clear();
    SetUp();
  };
  for (const Failure& row : first_initialisations) expect(row, ZVRTInitDataConversion);
  for (const Failure& row : last_terminations) {
    ASSERT_EQ(ZVRTInitDataConversion(), 0U);
    expect(row, ZVRTTermDataConversion);
  }
  for (const Bridge& bridge : bridges) {
    std::uint32_t reported = not_reported;
    const auto convert = [&] { return bridge.convert(&field, "0123456789", 10, nullptr, 22, &reported); };
    for (const Failure& row : bridge_calls) expect(row, convert);
    EXPECT_EQ(reported, not_reported);
    expect({bridge.name, {}}, convert);
    EXPECT_EQ(reported, bridge.given);
  }
}

// Only the counted parts of the others are left to fail.
TEST_F(Lifecycle, FailuresOfFurtherUsers) {
  ASSERT_EQ(ZVRTInitDataConversion(), 0U);
  platform.failing = {{"LockedIncrement", failure}};
  EXPECT_EQ(ZVRTInitDataConversion(), failure);
  EXPECT_EQ(*count, 1);
  platform.failing.clear();
  ASSERT_EQ(ZVRTInitDataConversion(), 0U);
  platform.failing = {{"MutexUnLock", failure}};
  EXPECT_EQ(ZVRTTermDataConversion(), 0U) << "not the last one";
  EXPECT_EQ(*count, 1);
  platform.failing = {{"MutexLock", failure}};
  EXPECT_EQ(ZVRTTermDataConversion(), failure);
  EXPECT_EQ(*count, 1);
}

TEST_F(Lifecycle, AnUnmatchedTerminationLeavesTheCountLow) {
  EXPECT_EQ(ZVRTTermDataConversion(), 0U);
  EXPECT_EQ(taken(), counted_termination);
  EXPECT_EQ(*count, -1);
  EXPECT_EQ(ZVRTInitDataConversion(), 0U);
  EXPECT_EQ(taken(), first_initialisation);
  EXPECT_EQ(*count, 0);
}

// A kind goes to the service with its sign.
TEST_F(Lifecycle, AnUnknownKindHasNoConverter) {
  field.codePageKind = '\xE4';
  for (const Bridge& bridge : bridges) {
    std::uint32_t reported = 0;
    EXPECT_EQ(bridge.convert(&field, "", 0, nullptr, 0, &reported), ZVRT_RC_NO_CONVERTER);
  }
}

}  // namespace
}  // namespace zvrt_test
