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

// Any kind, and fields at their bounds, of a month of 31 days.
std::uint32_t first_out_of_range(const ZVRTTS& ts, DtKind kind) {
  const bool any_date = kind == ZVRT_DT_DATE || kind == ZVRT_DT_TIMESTAMP || kind == ZVRT_DT_TIMESTAMP_YY;
  const bool any_time = kind == ZVRT_DT_TIME || kind == ZVRT_DT_TIMESTAMP || kind == ZVRT_DT_TIMESTAMP_YY;
  const int first_year = kind == ZVRT_DT_TIMESTAMP_YY ? 0 : 1;
  if (any_date && (ts.year < first_year || ts.year > 9999)) return ZVRT_RC_INVALID_YEAR;
  if (any_date && (ts.month < 1 || ts.month > 12)) return ZVRT_RC_INVALID_MONTH;
  if (any_date && (ts.day < 1 || ts.day > 31)) return ZVRT_RC_INVALID_DAY;
  if (any_time && ts.hour > 23) return ZVRT_RC_INVALID_HOUR;
  if (any_time && ts.minute > 59) return ZVRT_RC_INVALID_MINUTE;
  return any_time && ts.second > 59 ? ZVRT_RC_INVALID_SECOND : ZVRT_RC_OK;
}

TEST(Validation, FindsTheFirstFieldOutOfRangeAmongThoseOfTheKind) {
  for (DtKind kind = -1; kind <= 5; ++kind) {
    for (const int year : {-32768, -1, 0, 1, 9999, 10000}) {
      for (const int month : {0, 1, 12, 13, 65535}) {
        for (const int day : {0, 1, 31, 32, 65535}) {
          for (const int time : {0, 1, 2, 3, 4, 5, 6, 7}) {  // a bit a field: over its bound or at it
            const ZVRTTS ts = timestamp(year, month, day, 23 + time % 2, 59 + time / 2 % 2, 59 + time / 4, 0xFFFFFFFF);
            ASSERT_EQ(first_out_of_range(ts, kind), ZVRTValidateDateTime(&ts, kind))
                << kind << ' ' << testing::PrintToString(ts);
          }
        }
      }
    }
  }
}

// A record as a caller may have it, in a row of bytes. The sanitizers report a read or a write that needs alignment.
template <class Record>
class Misaligned {
 public:
  explicit Misaligned(std::size_t offset, const Record& record = {}) : at_(bytes_ + offset) {
    std::memcpy(at_, &record, sizeof record);
  }
  Record* get() { return static_cast<Record*>(at_); }
  Record value() const {
    Record record;
    std::memcpy(&record, at_, sizeof record);
    return record;
  }

 private:
  alignas(16) unsigned char bytes_[sizeof(Record) + 16]{};
  void* at_;
};

TEST(Records, AreReadAndWrittenAtAnyAlignment) {
  const ZVRTTS noon = timestamp(2024, 2, 29, 12, 30, 59, 123456);
  const Model model(L"%YYYY-%MM-%DD %HH24:%MI:%SS.%FFFFFF"), date_model(L"%DD.%MM.%YYYY");
  ASSERT_EQ(model.status | date_model.status, 0U);
  for (std::size_t offset = 0; offset < 8; ++offset) {
    Misaligned<ZVRTTS> record(offset, noon), read(offset);
    EXPECT_EQ(ZVRTValidateDateTime(record.get(), ZVRT_DT_TIMESTAMP), ZVRT_RC_OK);
    wchar_t text[64] = {};
    char narrow[64] = {};
    std::uint32_t length = 0;
    EXPECT_EQ(ZVRTTSToWVarcharSz(text, 64, model.codes.data(), record.get(), model.kind, &length), ZVRT_RC_OK);
    EXPECT_EQ(ZVRTWVarcharSzToTS(text, 64, model.codes.data(), model.length(), read.get(), model.kind), ZVRT_RC_OK);
    EXPECT_EQ(read.value(), noon) << testing::PrintToString(std::wstring(text));
    EXPECT_EQ(ZVRTGetStringFromTS(record.get(), text, 64, &length), ZVRT_RC_OK);
    EXPECT_EQ(std::wstring(text), L"29/02/2024 12:30:59:123456");
    EXPECT_EQ(ZVRTGetStringAFromTS(record.get(), narrow, 64, &length), ZVRT_RC_OK);
    EXPECT_EQ(std::string(narrow), "29/02/2024 12:30:59:123456");
    Misaligned<DateWithModel> date(offset, {{}, date_model.text.c_str()});
    EXPECT_EQ(ZVRTDateCharToDate("29.02.2024", date.get()), ZVRT_RC_OK);
    EXPECT_EQ(date.value().date.day, 29);
    EXPECT_EQ(date.value().date.year, 2024);
  }
}

}  // namespace
}  // namespace zvrt_test
