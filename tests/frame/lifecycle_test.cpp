// Initialisation, termination and the two bridges over a platform that fails where told.
#include <gtest/gtest.h>

#include "ZVRTDataCnvLib.h"
#include "fakes/failing_platform.h"

namespace zvrt_test {
namespace {

using Calls = std::vector<std::string>;

const Calls first_initialisation = {"MutexCreate",        "ZVRTCreateEnvAncBlk", "ZVRTGetAncBlk",
                                    "ZVRTGetThreadBlock", "ZVRT_ICU_Init",       "LockedIncrement"};
const Calls counted_termination = {"MutexLock", "MutexUnLock"};
const Calls last_termination = {"MutexLock",     "MutexUnLock",       "ZVRTGetAncBlk", "ZVRTGetThreadBlock",
                                "ZVRT_ICU_Term", "ZVRTTermEnvAncBlk", "MutexDestroy"};

class Lifecycle : public testing::Test {
 protected:
  // The count is private to the library: it is brought to 0 by the calls themselves, and seen where it is incremented.
  void SetUp() override {
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
  EXPECT_EQ(taken(), last_termination);
  EXPECT_EQ(*count, 0);
}

TEST_F(Lifecycle, EachStepOfTheFirstInitialisationFails) {
  const Calls without_service = {"ZVRTTermEnvAncBlk", "MutexDestroy"};
  const Calls with_service = {"ZVRT_ICU_Term", "ZVRTTermEnvAncBlk", "MutexDestroy"};
  const Calls unwinding[] = {{}, {"MutexDestroy"}, without_service, without_service, with_service, with_service};
  for (std::size_t step = 0; step < first_initialisation.size(); ++step) {
    SCOPED_TRACE(first_initialisation[step]);
    platform.reset();
    platform.fail(first_initialisation[step], 4711);
    // What fails while unwinding changes nothing.
    platform.fail("ZVRT_ICU_Term", 1);
    platform.fail("ZVRTTermEnvAncBlk", 2);
    platform.fail("MutexDestroy", 3);
    Calls expected(first_initialisation.begin(), first_initialisation.begin() + static_cast<std::ptrdiff_t>(step) + 1);
    expected.insert(expected.end(), unwinding[step].begin(), unwinding[step].end());
    EXPECT_EQ(ZVRTInitDataConversion(), 4711U);
    EXPECT_EQ(platform.calls, expected);
    EXPECT_EQ(*count, 0);
  }
}

TEST_F(Lifecycle, AFurtherInitialisationThatFailsChangesNothing) {
  ASSERT_EQ(ZVRTInitDataConversion(), 0U);
  platform.reset();
  platform.fail("LockedIncrement", 5);
  EXPECT_EQ(ZVRTInitDataConversion(), 5U);
  EXPECT_EQ(platform.calls, Calls{"LockedIncrement"});
  EXPECT_EQ(*count, 1);
}

TEST_F(Lifecycle, ALockThatFailsLeavesTheCount) {
  ASSERT_EQ(ZVRTInitDataConversion(), 0U);
  platform.reset();
  platform.fail("MutexLock", 6);
  EXPECT_EQ(ZVRTTermDataConversion(), 6U);
  EXPECT_EQ(platform.calls, Calls{"MutexLock"});
  EXPECT_EQ(*count, 1);
}

TEST_F(Lifecycle, AnUnlockThatFailsIsTriedOnceMoreByTheLastUserOnly) {
  ASSERT_EQ(ZVRTInitDataConversion(), 0U);
  ASSERT_EQ(ZVRTInitDataConversion(), 0U);
  platform.reset();
  platform.fail("MutexUnLock", 7, 1);
  platform.fail("MutexUnLock", 8, 2);
  platform.fail("MutexUnLock", 9, 3);
  EXPECT_EQ(ZVRTTermDataConversion(), 0U) << "not the last: ignored";
  EXPECT_EQ(ZVRTTermDataConversion(), 8U);
  EXPECT_EQ(platform.calls, (Calls{"MutexLock", "MutexUnLock", "MutexLock", "MutexUnLock", "MutexUnLock"}));
  EXPECT_EQ(*count, 0);
}

TEST_F(Lifecycle, EachStepOfTheTeardownFails) {
  for (std::size_t step = 2; step < last_termination.size(); ++step) {
    const std::string& operation = last_termination[step];
    SCOPED_TRACE(operation);
    platform.reset();
    ASSERT_EQ(ZVRTInitDataConversion(), 0U);
    platform.reset();
    platform.fail(operation, 4712);
    const bool ignored = operation == "ZVRTTermEnvAncBlk";
    Calls expected(last_termination.begin(),
                   ignored ? last_termination.end() : last_termination.begin() + static_cast<std::ptrdiff_t>(step) + 1);
    EXPECT_EQ(ZVRTTermDataConversion(), ignored ? 0U : 4712U);
    EXPECT_EQ(platform.calls, expected);
    EXPECT_EQ(*count, 0);
  }
}

TEST_F(Lifecycle, ATerminationTooManyLeavesTheCountLow) {
  EXPECT_EQ(ZVRTTermDataConversion(), 0U);
  EXPECT_EQ(taken(), counted_termination);
  EXPECT_EQ(*count, -1);
  EXPECT_EQ(ZVRTInitDataConversion(), 0U);
  EXPECT_EQ(taken(), first_initialisation);
  EXPECT_EQ(*count, 0);
}

struct Bridge {
  const char* name;
  decltype(&ZVRT_MultiByteToWideChar) convert;
  std::uint32_t given;  // what the fake converter tells of 10 source bytes and a destination of 22
};

TEST_F(Lifecycle, TheBridgesPassOnEveryStatus) {
  const Bridge bridges[] = {{"ZVRT_IcuMultibyteToWide", ZVRT_MultiByteToWideChar, 10 * 1000 + 5},
                            {"ZVRT_IcuWideToMultibyte", ZVRT_WideCharToMultiByte, 2 * 1000 + 22}};
  for (const Bridge& bridge : bridges) {
    SCOPED_TRACE(bridge.name);
    FldDef field{};
    field.codePage = 37;
    field.codePageKind = 'k';
    const Calls all = {"ZVRTGetAncBlk", "ZVRTGetThreadBlock", "ZVRT_GetICUConverterInfo", bridge.name};
    for (std::size_t failing = 0; failing <= all.size(); ++failing) {
      platform.reset();
      if (failing < all.size()) platform.fail(all[failing], 900);
      std::uint32_t count_out = 77;
      const std::uint32_t status = bridge.convert(&field, "0123456789", 10, nullptr, 22, &count_out);
      EXPECT_EQ(status, failing == all.size() ? 0U : failing == 2 ? ZVRT_RC_NO_CONVERTER : 900U);
      EXPECT_EQ(count_out, failing < 3 ? 77U : bridge.given);
      EXPECT_EQ(platform.calls.size(), std::min(failing + 1, all.size()));
    }
    field.codePageKind = '\xE4';  // goes to the service with its sign
    std::uint32_t count_out = 0;
    EXPECT_EQ(bridge.convert(&field, "", 0, nullptr, 0, &count_out), ZVRT_RC_NO_CONVERTER);
  }
}

}  // namespace
}  // namespace zvrt_test
