// The formatter against a plain model of it, byte for byte at every capacity, and against the C library's strftime.
#include <ctime>
#include <cwchar>

#include "datetime/formatter_model.h"

namespace zvrt_test {
namespace {

TEST(Formatter, DoesAsItsPlainModelAtEveryCapacity) {
  Random random(2);
  for (int i = 0; i < 2500; ++i) {
    Model model(random.model_text(10));
    if (random.one_in(4)) {  // entries that no text produces
      FmtCode& entry = model.codes[random.below(static_cast<std::uint32_t>(model.codes.size()))];
      const std::uint32_t codes[] = {FMT_SKIP, 22, 255, 0xFFFFFFFF, FMT_PM, FMT_HH24};
      if (entry.code != FMT_END) entry.code = random.of(codes);
      entry.literal = random.one_in(4) ? 0xFFFFFFFF : 'x';
    }
    const ZVRTTS ts = random.one_in(2) ? random.any_timestamp() : random.valid_timestamp();
    for (DtKind kind = ZVRT_DT_DATE; kind <= ZVRT_DT_TIMESTAMP; ++kind) {
      const Outcome whole = FormatterModel(ts, kind, 1000).run(model.codes.data());
      const std::size_t needed = whole.placed.empty() ? 0 : whole.placed.rbegin()->first + 1;
      for (std::size_t capacity = 0; capacity <= needed + 3; ++capacity) {
        ASSERT_NO_FATAL_FAILURE(compare(model.codes, ts, kind, capacity))
            << std::string(model.text.begin(), model.text.end()) << " kind " << kind << " room " << capacity << " "
            << testing::PrintToString(ts);
      }
    }
  }
}

TEST(Formatter, AgreesWithStrftimeOnEveryDay) {
  const Model model(L"%YYYY-%MM-%DD|%MONTH|%MMM|%HH24|%HH:%MI:%SS %PM|%YY|%M|%D|");
  for (std::int64_t day = -719162; day <= 2932896; ++day) {  // 0001-01-01 to 9999-12-31
    const time_t seconds = day * 86400 + (day * 7919 % 86400 + 86400) % 86400;
    tm fields{};
    gmtime_r(&seconds, &fields);
    const int year = fields.tm_year + 1900;
    char middle[64], expected[96];
    std::strftime(middle, sizeof middle, "-%m-%d|%B|%b|%H|%I:%M:%S %p|", &fields);
    std::snprintf(expected, sizeof expected, "%04d%s%02d|%d|%d|", year, middle, year % 100, fields.tm_mon + 1,
                  fields.tm_mday);
    const ZVRTTS ts = timestamp(year, fields.tm_mon + 1, fields.tm_mday, fields.tm_hour, fields.tm_min, fields.tm_sec);
    wchar_t text[96];
    std::uint32_t length = 0;
    ASSERT_EQ(ZVRT_RC_OK, ZVRTTSToWVarcharSz(text, 96, model.codes.data(), &ts, ZVRT_DT_TIMESTAMP, &length));
    ASSERT_EQ(expected, std::string(text, text + length));
  }
}

TEST(Formatter, RefusesWhatItHasNoTextFor) {
  const Model model(L"%MONTH");
  const ZVRTTS month_0 = timestamp(2024, 0, 1), month_13 = timestamp(2024, 13, 1), good = timestamp(2024, 12, 1);
  wchar_t text[16];
  std::uint32_t length = 4711;
  EXPECT_EQ(ZVRT_RC_ERROR, ZVRTTSToWVarcharSz(text, 16, model.codes.data(), &month_0, ZVRT_DT_DATE, &length));
  EXPECT_EQ(ZVRT_RC_ERROR, ZVRTTSToWVarcharSz(text, 16, model.codes.data(), &month_13, ZVRT_DT_DATE, &length));
  EXPECT_EQ(ZVRT_RC_ERROR, ZVRTTSToWVarcharSz(text, 16, nullptr, &good, ZVRT_DT_DATE, &length));
  EXPECT_EQ(ZVRT_RC_ERROR, ZVRTTSToWVarcharSz(text, 16, model.codes.data(), &good, ZVRT_DT_TIMESTAMP_YY, &length));
  EXPECT_EQ(ZVRT_RC_TRUNCATED, ZVRTTSToWVarcharSz(text, INT32_MIN, model.codes.data(), &good, ZVRT_DT_DATE, &length));
  EXPECT_EQ(4711U, length);
}

}  // namespace
}  // namespace zvrt_test
