// Validation: every day there is, and every field at its bounds.
#include "datetime/models.h"

namespace zvrt_test {
namespace {

TEST(Validation, AcceptsExactlyTheDaysOfTheCalendar) {
  // The calendar counted by its rules rather than computed: a day is followed by the next one of its month.
  const int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  for (int year = 1850; year <= 2250; ++year) {
    const bool leap = year % 400 == 0 || (year % 4 == 0 && year % 100 != 0);
    for (int month = 1; month <= 12; ++month) {
      const int last = lengths[month - 1] + (leap && month == 2 ? 1 : 0);
      for (int day = 0; day <= 40; ++day) {
        const std::uint32_t expected = day >= 1 && day <= last ? ZVRT_RC_OK : ZVRT_RC_INVALID_DAY;
        const ZVRTTS ts = timestamp(year, month, day);
        ASSERT_EQ(expected, ZVRTValidateDateTime(&ts, ZVRT_DT_DATE)) << year << '-' << month << '-' << day;
      }
    }
  }
}

TEST(Validation, FindsTheFirstFieldOutOfRangeAmongThoseOfTheKind) {
  constexpr DtKind date = ZVRT_DT_DATE, time = ZVRT_DT_TIME, both = ZVRT_DT_TIMESTAMP, yy = ZVRT_DT_TIMESTAMP_YY;
  const struct {
    const char* name;
    ZVRTTS ts;
    DtKind kind;
    std::uint32_t status;
  } rows[] = {
      {"last second", timestamp(9999, 12, 31, 23, 59, 59, 0xFFFFFFFF), both, ZVRT_RC_OK},
      {"first second", timestamp(1, 1, 1), both, ZVRT_RC_OK},
      {"year 0", timestamp(0, 1, 1), date, ZVRT_RC_INVALID_YEAR},
      {"year 0 before month 0", timestamp(0, 0, 0), both, ZVRT_RC_INVALID_YEAR},
      {"year 0 of two digits", timestamp(0, 2, 29), yy, ZVRT_RC_OK},
      {"year -1 of two digits", timestamp(-1, 1, 1), yy, ZVRT_RC_INVALID_YEAR},
      {"year 10000", timestamp(10000, 1, 1), date, ZVRT_RC_INVALID_YEAR},
      {"year 10000 of two digits", timestamp(10000, 1, 1), yy, ZVRT_RC_INVALID_YEAR},
      {"month 0", timestamp(2024, 0, 1), date, ZVRT_RC_INVALID_MONTH},
      {"month 13 before day 0", timestamp(2024, 13, 0), yy, ZVRT_RC_INVALID_MONTH},
      {"month 65535", timestamp(2024, 65535, 1), both, ZVRT_RC_INVALID_MONTH},
      {"day 65535", timestamp(2024, 1, 65535), both, ZVRT_RC_INVALID_DAY},
      {"day before hour", timestamp(2024, 4, 31, 24), both, ZVRT_RC_INVALID_DAY},
      {"hour 24 before minute 60", timestamp(2024, 1, 1, 24, 60), both, ZVRT_RC_INVALID_HOUR},
      {"hour 65535 of a time", timestamp(0, 0, 0, 65535), time, ZVRT_RC_INVALID_HOUR},
      {"minute 60 before second 60", timestamp(2024, 1, 1, 0, 60, 60), yy, ZVRT_RC_INVALID_MINUTE},
      {"second 60", timestamp(0, 0, 0, 0, 0, 60), time, ZVRT_RC_INVALID_SECOND},
      {"a time has no date", timestamp(0, 0, 0, 23, 59, 59), time, ZVRT_RC_OK},
      {"a date has no time", timestamp(2024, 1, 1, 99, 99, 99), date, ZVRT_RC_OK},
      {"kind 0", timestamp(0, 0, 0, 99), 0, ZVRT_RC_OK},
      {"kind 5", timestamp(0, 0, 0, 99), 5, ZVRT_RC_OK},
      {"kind -1", timestamp(0, 0, 0, 99), -1, ZVRT_RC_OK},
  };
  for (const auto& row : rows) EXPECT_EQ(row.status, ZVRTValidateDateTime(&row.ts, row.kind)) << row.name;
}

}  // namespace
}  // namespace zvrt_test
