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
const Calls teardown = {"ZVRTGetAncBlk", "ZVRTGetThreadBlock", "ZVRT_ICU_Term", "ZVRTTermEnvAncBlk", "MutexDestroy"};

struct Bridge {
  const char* name;
  decltype(&ZVRT_MultiByteToWideChar) convert;
  std::uint32_t given;  // what the fake converter tells of 10 source bytes and a destination of 22
};

const Bridge bridges[] = {{"ZVRT_IcuMultibyteToWide", ZVRT_MultiByteToWideChar, 10 * 1000 + 5},
                          {"ZVRT_IcuWideToMultibyte", ZVRT_WideCharToMultiByte, 2 * 1000 + 22}};
constexpr std::uint32_t not_reported = 77;

// What the platform is to be asked in turn, given what it answers, and what comes of it.
class Model {
 public:
  explicit Model(std::map<std::size_t, std::uint32_t> failures) : failures_(std::move(failures)) {}

  std::uint32_t initialise() {
    Calls to_end;
    for (const std::string& operation : users > 0 ? Calls{"LockedIncrement"} : first_initialisation) {
      // A service whose start failed may have got half way: it is ended as well.
      if (operation == "ZVRT_ICU_Init") to_end.push_back("ZVRT_ICU_Term");
      if (const std::uint32_t status = ask(operation); status != 0) {
        // What fails while unwinding changes nothing.
        for (; !to_end.empty(); to_end.pop_back()) ask(to_end.back());
        return status;
      }
      if (operation == "MutexCreate") to_end.push_back("MutexDestroy");
      if (operation == "ZVRTCreateEnvAncBlk") to_end.push_back("ZVRTTermEnvAncBlk");
    }
    ++users;
    return 0;
  }

  std::uint32_t terminate() {
    if (const std::uint32_t status = ask("MutexLock"); status != 0) return status;
    --users;
    const std::uint32_t unlocked = ask("MutexUnLock");
    if (users != 0) return 0;
    if (unlocked != 0) {
      ask("MutexUnLock");
      return unlocked;
    }
    for (const std::string& operation : teardown) {
      const std::uint32_t status = ask(operation);
      if (status != 0 && operation != "ZVRTTermEnvAncBlk") return status;
    }
    return 0;
  }

  std::uint32_t convert(const Bridge& bridge, std::uint32_t& reported) {
    for (const char* operation : {"ZVRTGetAncBlk", "ZVRTGetThreadBlock"}) {
      if (const std::uint32_t status = ask(operation); status != 0) return status;
    }
    if (ask("ZVRT_GetICUConverterInfo") != 0) return ZVRT_RC_NO_CONVERTER;
    reported = bridge.given;
    return ask(bridge.name);
  }

  Calls calls;
  std::int32_t users = 0;

 private:
  std::uint32_t ask(const std::string& operation) {
    const auto failure = failures_.find(calls.size());
    calls.push_back(operation);
    return failure == failures_.end() ? 0 : failure->second;
  }

  std::map<std::size_t, std::uint32_t> failures_;
};

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

// A process with two users, both bridges, and a third user once they are gone; any two calls of the platform fail.
TEST_F(Lifecycle, EveryPairOfCallsFails) {
  constexpr std::size_t longest = 50;
  std::size_t last = 0;
  for (std::size_t first = 0; first < longest; ++first) {
    for (std::size_t second = first; second < longest; ++second) {
      SCOPED_TRACE(::testing::Message() << "calls " << first << " and " << second);
      SetUp();
      platform.failures = {{first, 4711}, {second, 4712}};
      Model model(platform.failures);
      const auto initialise = [&] { EXPECT_EQ(ZVRTInitDataConversion(), model.initialise()); };
      const auto terminate = [&] { EXPECT_EQ(ZVRTTermDataConversion(), model.terminate()); };
      initialise();
      initialise();
      for (const Bridge& bridge : bridges) {
        std::uint32_t reported = not_reported, expected = not_reported;
        EXPECT_EQ(bridge.convert(&field, "0123456789", 10, nullptr, 22, &reported), model.convert(bridge, expected));
        EXPECT_EQ(reported, expected);
      }
      terminate();
      terminate();
      initialise();
      terminate();
      ASSERT_EQ(platform.calls, model.calls);
      ASSERT_EQ(*count, model.users);
      last = std::max(last, platform.calls.size());
    }
  }
  EXPECT_LT(last, longest) << "calls that never failed";
}

TEST_F(Lifecycle, ATerminationTooManyLeavesTheCountLow) {
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
