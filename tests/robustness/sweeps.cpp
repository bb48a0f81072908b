// Whole domains, on all cores. Takes minutes: run by scripts/sweeps.sh, not with the tests.
// Usage: sweeps [integers] [utf16] [code_points] [dates]; all of them without a name.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "ZVRTDataCnvLib.h"
#include "encoding/reference.h"

namespace {

using zvrt_test::encode;

// The decimal text of one magnitude after the other, by counting on in the text itself.
class Odometer {
 public:
  explicit Odometer(std::uint64_t start) : text_(start == 0 ? L"" : std::to_wstring(start)) {}
  const std::wstring& text() const { return text_; }
  void next() {
    for (std::size_t place = text_.size(); place > 0; --place) {
      if (++text_[place - 1] <= L'9') return;
      text_[place - 1] = L'0';
    }
    text_.insert(text_.begin(), L'1');
  }

 private:
  std::wstring text_;  // zero has none
};

template <class Int>
bool there_and_back(ZVRTConversion* render, ZVRTConversion* parse, Int value, const std::wstring& expected) {
  wchar_t text[16];
  std::uint32_t length = 99;
  std::uint32_t size = 99;
  Int back = 1;
  const std::uint32_t status = value == 0 ? ZVRT_RC_EMPTY_RESULT : ZVRT_RC_OK;
  return render(&value, nullptr, text, sizeof text, &length, nullptr) == status && length == expected.size() &&
         std::memcmp(text, expected.c_str(), (length + 1) * sizeof(wchar_t)) == 0 &&
         parse(text, nullptr, &back, sizeof back, &size, nullptr) == ZVRT_RC_OK && back == value;
}

std::uint64_t integers(std::uint64_t begin, std::uint64_t end) {
  std::uint64_t failures = 0;
  Odometer odometer(begin);
  for (std::uint64_t magnitude = begin; magnitude < end; ++magnitude, odometer.next()) {
    const std::wstring& text = odometer.text();
    const auto bits = static_cast<std::uint32_t>(magnitude);
    failures += !there_and_back(ZVRTCnvUIntToWVarcharSz, ZVRTCnvWVarcharSzToUInt, bits, text);
    const auto positive = static_cast<std::int32_t>(bits), negative = static_cast<std::int32_t>(0 - bits);
    if (positive > 0) failures += !there_and_back(ZVRTCnvIntToWVarcharSz1, ZVRTCnvWVarcharSzToInt1, positive, text);
    if (negative < 0 && magnitude <= 0x80000000) {
      failures += !there_and_back(ZVRTCnvIntToWVarcharSz1, ZVRTCnvWVarcharSzToInt1, negative, L'-' + text);
    }
  }
  return failures;
}

// What two units mean, spelled out.
struct Meaning {
  std::uint32_t characters[2];
  std::uint32_t count;
  bool broken;
};
Meaning meaning_of(std::uint32_t first, std::uint32_t second) {
  const auto is_high = [](std::uint32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; };
  const auto is_low = [](std::uint32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; };
  if (first == 0) return {{}, 0, false};
  if (is_high(first) && is_low(second)) return {{(first - 0xD800) * 1024 + second - 0xDC00 + 0x10000, 0}, 1, false};
  if (is_high(first) || is_low(first)) return {{}, 0, true};
  if (is_high(second) || is_low(second)) return {{first, 0}, 1, true};
  return {{first, second}, second == 0 ? 1U : 2U, false};
}

std::uint64_t utf16(std::uint64_t begin, std::uint64_t end) {
  std::uint64_t failures = 0;
  for (std::uint64_t pair = begin; pair < end; ++pair) {
    const std::uint16_t src[] = {static_cast<std::uint16_t>(pair >> 16), static_cast<std::uint16_t>(pair)};
    const Meaning meaning = meaning_of(src[0], src[1]);
    const std::uint32_t status = meaning.broken ? ZVRT_RC_INVALID_CHAR : ZVRT_RC_OK;
    std::uint32_t wide[3];
    std::uint32_t count = 99;
    bool good = Convert16To32(src, 2, reinterpret_cast<wchar_t*>(wide), 3, &count) == status &&
                count == meaning.count && std::equal(wide, wide + count, meaning.characters);
    char bytes[8];
    good &= Convert16To8(bytes, sizeof bytes, src, 2, &count) == status;
    std::uint32_t back[3] = {};
    std::uint32_t length = 99;
    good &= Convert8To32(reinterpret_cast<wchar_t*>(back), 3, bytes, static_cast<std::int32_t>(count), &length) == 0 &&
            length == meaning.count;
    for (std::uint32_t i = 0; good && i < length; ++i) {
      good = back[i] == (meaning.characters[i] == 0xFFFD ? '?' : meaning.characters[i]);
    }
    failures += !good;
  }
  return failures;
}

std::uint64_t code_points(std::uint64_t begin, std::uint64_t end) {
  std::uint64_t failures = 0;
  for (std::uint64_t value = begin; value < end; ++value) {
    const auto character = static_cast<wchar_t>(value);
    const std::string expected = value == 0 ? "" : encode(static_cast<std::uint32_t>(value));
    char bytes[8];
    std::uint32_t count = 99;
    bool good = Convert32To8(bytes, sizeof bytes, &character, 1, &count) == ZVRT_RC_OK && count == expected.size() &&
                std::memcmp(bytes, expected.data(), count) == 0;
    wchar_t back[2] = {0, 0};
    good &= Convert8To32(back, 2, bytes, static_cast<std::int32_t>(count), &count) == ZVRT_RC_OK &&
            count == (value == 0 ? 0U : 1U) && back[0] == (value == 0xFFFD ? L'?' : character);
    failures += !good;
  }
  return failures;
}

// Years -1 to 10000, with months and days to spare; the calendar counted on day by day.
std::uint64_t dates(std::uint64_t begin, std::uint64_t end) {
  std::uint64_t failures = 0;
  for (std::uint64_t index = begin; index < end; ++index) {
    const int year = static_cast<int>(index) - 1;
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    const int lengths[] = {31, leap ? 29 : 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    for (int month = 0; month <= 14; ++month) {
      for (int day = 0; day <= 33; ++day) {
        const ZVRTTS ts = {static_cast<std::int16_t>(year),
                           static_cast<std::uint16_t>(month),
                           static_cast<std::uint16_t>(day),
                           23,
                           59,
                           59,
                           0xFFFFFFFF,
                           {}};
        for (const DtKind kind : {ZVRT_DT_DATE, ZVRT_DT_TIMESTAMP, ZVRT_DT_TIMESTAMP_YY}) {
          const int first = kind == ZVRT_DT_TIMESTAMP_YY ? 0 : 1;
          const std::uint32_t expected = year < first || year > 9999           ? ZVRT_RC_INVALID_YEAR
                                         : month < 1 || month > 12             ? ZVRT_RC_INVALID_MONTH
                                         : day < 1 || day > lengths[month - 1] ? ZVRT_RC_INVALID_DAY
                                                                               : ZVRT_RC_OK;
          failures += ZVRTValidateDateTime(&ts, kind) != expected;
        }
      }
    }
  }
  return failures;
}

struct Sweep {
  const char* name;
  std::uint64_t count;
  std::uint64_t (*run)(std::uint64_t begin, std::uint64_t end);
};

constexpr Sweep sweeps[] = {{"dates", 10002, dates},
                            {"integers", std::uint64_t{1} << 32, integers},
                            {"code_points", std::uint64_t{1} << 31, code_points},
                            {"utf16", std::uint64_t{1} << 32, utf16}};

std::uint64_t run(const Sweep& sweep) {
  const auto start = std::chrono::steady_clock::now();
  std::atomic<std::uint64_t> next = 0, failures = 0;
  const std::uint64_t part = std::max<std::uint64_t>(sweep.count >> 12, 64);
  std::vector<std::thread> workers;
  for (unsigned worker = 0; worker < std::max(1U, std::thread::hardware_concurrency()); ++worker) {
    workers.emplace_back([&] {
      for (std::uint64_t begin = next.fetch_add(part); begin < sweep.count; begin = next.fetch_add(part)) {
        failures += sweep.run(begin, std::min(begin + part, sweep.count));
      }
    });
  }
  for (std::thread& worker : workers) worker.join();
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  std::printf("%-12s %11llu cases, %llu failures, %.0f s\n", sweep.name, static_cast<unsigned long long>(sweep.count),
              static_cast<unsigned long long>(failures), seconds.count());
  std::fflush(stdout);
  return failures;
}

}  // namespace

int main(int argc, char** argv) {
  std::uint64_t failures = 0;
  for (const Sweep& sweep : sweeps) {
    const auto is_meant = [&sweep](const char* name) { return std::strcmp(name, sweep.name) == 0; };
    if (argc == 1 || std::any_of(argv + 1, argv + argc, is_meant)) failures += run(sweep);
  }
  return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
