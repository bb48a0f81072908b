// Every family at once on many threads, each result equal to that of one thread, while others initialise and terminate
// and one switches the locale of the process.
#include <gtest/gtest.h>

#include <atomic>
#include <clocale>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "ZVRTDataCnvLib.h"
#include "datetime/models.h"

namespace zvrt_test {
namespace {

constexpr int threads = 8;

// Everything that a run of conversions told, as bytes.
class Digest {
 public:
  template <class T>
  void add(const T& value) {
    bytes_.append(reinterpret_cast<const char*>(&value), sizeof value);
  }
  // A conversion into a cleared buffer: its status, its length and every byte.
  void run(ZVRTConversion* convert, const void* src, const FldDef* field = nullptr, std::int32_t src_len = 0) {
    char dst[1024] = {};
    std::uint32_t out_len = 0;
    add(convert(src, &src_len, dst, sizeof dst, &out_len, field));
    add(out_len);
    add(src_len);
    bytes_.append(dst, sizeof dst);
  }
  const std::string& bytes() const { return bytes_; }

 private:
  std::string bytes_;
};

void add_strings(Digest& digest, Random& random) {
  const char* const texts[] = {"Grüße aus Köln", "plain text of a usual length", "日本語のテキスト", "x"};
  const char* const text = random.of(texts);
  digest.run(ZVRTCnvVarcharSzToWVarcharSz, text);
  digest.run(ZVRTCnvVarcharSzToVarchar, text);
  digest.run(ZVRTCnvVarcharSzToWVarchar, text);
  digest.run(ZVRTCnvWVarcharSzToVarcharSz, L"Привет, мир: 0123456789");
  constexpr std::uint32_t pages[] = {37, 1252, 932, 930, 54936, 1200, 60001};
  FldDef field{};
  field.codePage = random.of(pages);
  digest.run(ZVRTCnvWVarcharSzToVarcharSz, L"Data 0123", &field);
  digest.run(ZVRTCnvVarcharSzToWVarcharSz, "\xC4\x81\xA3\x81", &field);
}

void add_numbers(Digest& digest, Random& random) {
  const std::int64_t integer =
      (std::int64_t{random.below(0xFFFFFFFF)} << 32 | random.below(0xFFFFFFFF)) >> random.below(64);
  const double real = static_cast<double>(integer) / (1 + random.below(1000));
  digest.run(ZVRTCnvLongLongToWVarcharSz, &integer);
  digest.run(ZVRTCnvULONGLONGToVarcharSz, &integer);
  digest.run(ZVRTCnvDblToWVarcharSz, &real);
  digest.run(ZVRTCnvWVarcharSzToLongLong, L"-9876543210");
  digest.run(ZVRTCnvWVarcharSzToDbl, L"-1234.5678e-9");
  digest.run(ZVRTCnvWVarcharSzToFlt, L".5e1");
  digest.run(ZVRTCnvWVarcharSzToDecPacked, L"-1234567890123456789");
  digest.run(ZVRTCnvDecPackedToVarcharSz, "\x01\x23\x45\x67\x89\x0D", nullptr, 6);
  digest.run(ZVRTCnvVarcharSz_UnsignedToOraVarnum, "12345.678");
  digest.run(ZVRTCnvOraVarnumToWVarcharSz_Unsigned, "\x04\xC2\x02\x18\x2E");
  wchar_t text[64] = {};
  std::uint32_t length = 0;
  digest.add(ZVRTCnvIntToUni(text, sizeof text, "<%+08d>", static_cast<std::int32_t>(integer), &length));
  digest.add(text);
  digest.add(FloatToString(text, 64, 30, real));
  digest.add(text);
}

void add_dates(Digest& digest, Random& random) {
  const Model model(L"%MONTH %DD, %YYYY %HH:%MI:%SS.%FFF %PM (%MMM)");
  Field field(model);
  const ZVRTTS ts = random.valid_timestamp();
  digest.run(ZVRTCnvZVRTTSToWVarcharSz, &ts, &field);
  digest.run(ZVRTCnvZVRTTSToVarcharSz, &ts, &field);
  digest.run(ZVRTCnvDateTimeSzToZVRTTS, "jUNI 05, 2024 07:08:09.5 pm", &field);
  digest.run(ZVRTCnvDateTimeWSzToZVRTTS, L"July 05, 2024 12:08:09.5 PM", &field);
  DateWithModel date{{}, L"%DD.%mmm.%YYYY"};
  digest.add(ZVRTDateCharToDate("05.Jul.2024", &date));
  digest.add(date.date);
}

std::string all_families(std::uint32_t seed) {
  Digest digest;
  Random random(seed);
  for (int round = 0; round < 20; ++round) {
    add_strings(digest, random);
    add_numbers(digest, random);
    add_dates(digest, random);
  }
  return digest.bytes();
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
    for (std::uint32_t seed = 0; seed < threads; ++seed) expected.push_back(all_families(seed));
    std::atomic<int> running = threads, wrong = 0;
    std::vector<std::thread> workers;
    for (std::uint32_t seed = 0; seed < threads; ++seed) {
      workers.emplace_back([&, seed] {
        for (int round = 0; round < 30; ++round) wrong += all_families(seed) != expected[seed];
        --running;
      });
    }
    while (running > 0) meanwhile();
    for (std::thread& worker : workers) worker.join();
    EXPECT_EQ(wrong, 0);
  }
};

TEST_F(Threads, EveryFamilyAtOnce) {
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
  const std::string abroad = all_families(1);
  std::setlocale(LC_ALL, "C");
  EXPECT_EQ(abroad, all_families(1));
}

}  // namespace
}  // namespace zvrt_test
