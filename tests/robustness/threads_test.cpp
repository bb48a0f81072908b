// Every function at once on many threads, each result equal to that of one thread, while others initialise and terminate
// and one switches the locale of the process.
#include <gtest/gtest.h>

#include <atomic>
#include <clocale>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "ZVRTDataCnvLib.h"
#include "support/ordinary_calls.h"

namespace zvrt_test {
namespace {

constexpr std::size_t threads = 8;

// What every exported function does with one call's arguments, as bytes: status, lengths and destinations. Each
// thread begins elsewhere in the list.
std::string all_functions(std::size_t start) {
  static const std::vector<CallOnBuffers> calls = calls_on_buffers();
  std::string given;
  for (std::size_t i = 0; i < calls.size(); ++i) {
    const CallOnBuffers& call = calls[(start + i) % calls.size()];
    alignas(16) char dst[1024] = {};
    Buffers buffers{call.source.data(), dst, call.size.value_or(sizeof dst), call.length, 0};
    const std::uint32_t results[] = {call.call(buffers), buffers.out_length,
                                     static_cast<std::uint32_t>(buffers.length)};
    given.append(reinterpret_cast<const char*>(results), sizeof results).append(dst, sizeof dst);
  }
  return given;
}

// A locale with another decimal point and another idea of upper and lower case, from the system or made for the test.
const char* foreign_locale() {
  constexpr const char* name = "tr_TR.UTF-8";
  if (std::setlocale(LC_ALL, name) == nullptr) {
    const std::string folder = testing::TempDir() + "zvrt-locales";
    const std::string command =
        "mkdir -p '" + folder + "' && localedef -i tr_TR -f UTF-8 '" + folder + "/" + name + "' >/dev/null 2>&1";
    if (std::system(command.c_str()) == 0) setenv("LOCPATH", folder.c_str(), 1);
  }
  const bool found = std::setlocale(LC_ALL, name) != nullptr;
  std::setlocale(LC_ALL, "C");
  return found ? name : nullptr;
}

class Threads : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(ZVRTInitDataConversion(), 0U); }
  void TearDown() override { EXPECT_EQ(ZVRTTermDataConversion(), 0U); }

  // Many threads at it, `meanwhile` beside them.
  template <class Meanwhile>
  void expect_same_results(Meanwhile meanwhile) {
    std::vector<std::string> expected;
    for (std::size_t thread = 0; thread < threads; ++thread) expected.push_back(all_functions(thread * 17));
    std::atomic<std::size_t> running = threads, wrong = 0;
    std::vector<std::thread> workers;
    for (std::size_t thread = 0; thread < threads; ++thread) {
      workers.emplace_back([&, thread] {
        for (int round = 0; round < 100; ++round) wrong += all_functions(thread * 17) != expected[thread];
        --running;
      });
    }
    while (running > 0) meanwhile();
    for (std::thread& worker : workers) worker.join();
    EXPECT_EQ(wrong, 0U);
  }
};

TEST_F(Threads, EveryFunctionAtOnce) {
  expect_same_results([] { std::this_thread::yield(); });
}

TEST_F(Threads, OthersInitialiseAndTerminateMeanwhile) {
  std::atomic<bool> done = false;
  std::atomic<std::uint32_t> failures = 0;
  std::vector<std::thread> users;
  for (int user = 0; user < 3; ++user) {
    users.emplace_back([&] {
      while (!done) {
        failures |= ZVRTInitDataConversion() | ZVRTInitDataConversion();
        failures |= ZVRTTermDataConversion() | ZVRTTermDataConversion();
      }
    });
  }
  expect_same_results([] { std::this_thread::yield(); });
  done = true;
  for (std::thread& user : users) user.join();
  EXPECT_EQ(failures, 0U);
}

TEST_F(Threads, TheLocaleOfTheProcessChangesMeanwhile) {
  const char* const foreign = foreign_locale();
  if (foreign == nullptr) GTEST_SKIP() << "no locale but C, and localedef is missing";
  bool is_foreign = false;
  expect_same_results([&] {
    std::setlocale(LC_ALL, is_foreign ? "C" : foreign);
    is_foreign = !is_foreign;
  });
  std::setlocale(LC_ALL, foreign);
  const std::string abroad = all_functions(1);
  std::setlocale(LC_ALL, "C");
  EXPECT_EQ(abroad, all_functions(1));
}

}  // namespace
}  // namespace zvrt_test
