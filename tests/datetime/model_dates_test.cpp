// Dates that carry their own model.
#include "datetime/models.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {
namespace {

constexpr ZVRTDate untouched{1234, 56, 78};

struct Row {
  const wchar_t* model;
  std::string text;
  std::uint32_t status;
  ZVRTDate date = untouched;
};

void expect_date(const Row& row, const DateWithModel& date, std::uint32_t status) {
  EXPECT_EQ(row.status, status) << row.text;
  EXPECT_EQ(0, std::memcmp(&row.date, &date.date, sizeof row.date)) << row.text;
  EXPECT_EQ(row.model, date.modelText);
}

TEST(ModelDates, AreReadFromBothEncodings) {
  const Row rows[] = {
      {L"%DD.%MM.%YYYY", "05.03.2024", 0, {2024, 3, 5}},
      {L"%DD %MONTH %YYYY", "14 March 2024", 0, {2024, 3, 14}},
      {L"%YYYY-%MM-%DD %HH24:%MI", "2024-03-05 25:00", ZVRT_RC_HOUR_OUT_OF_RANGE},
      {L"%YYYY-%MM-%DD %HH24:%MI", "2024-03-05 23:60", ZVRT_RC_INVALID_MINUTE},
      {L"%YY/%MM/%DD", "00/02/29", 0, {0, 2, 29}},
      {L"%DD.%MM.%YYYY", "31.04.2024", ZVRT_RC_INVALID_DAY},
      {L"%DD.%QQ.%YYYY", "31.04.2024", ZVRT_RC_INVALID_FORMAT},
      {L"%DD", "", ZVRT_RC_INVALID_PARAM},
      {L"%DD", "  ", ZVRT_RC_BLANK_TEXT},
      {L"", "05", ZVRT_RC_ERROR},
      {L"literals", "05", ZVRT_RC_INVALID_YEAR},
      {L"%DD\u00E9%MM\u20AC%YYYY",
       "05\xC3\xA9"
       "03\xE2\x82\xAC"
       "2024",
       0,
       {2024, 3, 5}},
  };
  for (const Row& row : rows) {
    DateWithModel date{untouched, row.model};
    expect_date(row, date, ZVRTDateCharToDate(row.text.c_str(), &date));

    uint16_t units[64];
    uint32_t count = 0;
    ASSERT_EQ(ZVRT_RC_OK, Convert8To16(units, 64, row.text.data(), static_cast<int32_t>(row.text.size()), &count));
    const GuardedBuffer utf16(units, count * 2);
    date = {untouched, row.model};
    const auto* text = const_cast<GuardedBuffer&>(utf16).as<uint16_t>();
    expect_date(row, date, ZVRTUTF16DateCharToDate(text, static_cast<int32_t>(count), &date));
  }
}

TEST(ModelDates, Utf16EndsAtAZeroUnitAndRefusesBrokenPairs) {
  const uint16_t ended[] = {'0', '5', 0, 'x', 'x'}, broken[] = {'0', '5', 0xD800};
  DateWithModel date{untouched, L"%DD"};
  EXPECT_EQ(ZVRT_RC_INVALID_YEAR, ZVRTUTF16DateCharToDate(ended, 5, &date));
  EXPECT_EQ(ZVRT_RC_INVALID_CHAR, ZVRTUTF16DateCharToDate(broken, 3, &date));
  EXPECT_EQ(ZVRT_RC_INVALID_PARAM, ZVRTUTF16DateCharToDate(ended, -1, &date));
}

TEST(ModelDates, ModelsAndTextsOfAnyLength) {
  const std::wstring elements = L"%YYYY%MM%DD";
  for (const std::size_t length : {126U, 127U, 128U, 32766U, 32767U}) {
    const std::wstring model = elements + std::wstring(length - elements.size(), L'x');
    DateWithModel date{untouched, model.c_str()};
    const std::string text = "20240305" + std::string(2 * length, 'y');
    EXPECT_EQ(length > 32766 ? ZVRT_RC_INVALID_FORMAT : ZVRT_RC_OK, ZVRTDateCharToDate(text.c_str(), &date)) << length;
    const std::vector<uint16_t> units(text.begin(), text.end());
    EXPECT_EQ(length > 32766 ? ZVRT_RC_INVALID_FORMAT : ZVRT_RC_OK,
              ZVRTUTF16DateCharToDate(units.data(), static_cast<int32_t>(units.size()), &date))
        << length;
  }
}

}  // namespace
}  // namespace zvrt_test
