// The formatter, a line per rule: what each element writes, what of a model is written, and what happens where the
// destination ends. Then a law over every capacity, and the C library's strftime over every day.
#include <ctime>

#include "datetime/formatter_law.h"

namespace zvrt_test {
namespace {

const ZVRTTS midnight = timestamp(2024, 3, 5, 0, 8, 9, 1234);
const ZVRTTS morning = timestamp(2024, 3, 5, 7, 8, 9, 1234);
const ZVRTTS noon = timestamp(2007, 12, 31, 12, 59, 0, 123456);
const ZVRTTS evening = timestamp(7, 9, 10, 23, 0, 59, 0);
const ZVRTTS invalid = timestamp(12345, 100, 65535, 99, 60, 777, 0xFFFFFFFF);
const ZVRTTS before_christ = timestamp(-105, 1, 1);

std::string narrow(const std::wstring& text) { return {text.begin(), text.end()}; }

// clang-format off
const struct {
  const wchar_t* model;
  const ZVRTTS& ts;
  const wchar_t* text;
} elements[] = {
    // Years: at least four digits, or the last two
    {L"%YYYY",     morning,       L"2024"},
    {L"%YYYY",     evening,       L"0007"},
    {L"%YYYY",     invalid,       L"12345"},
    {L"%YYYY",     before_christ, L"-0105"},
    {L"%YY",       morning,       L"24"},
    {L"%YY",       noon,          L"07"},
    {L"%YY",       before_christ, L"-05"},
    // Months by name, by its first three letters, with and without a leading zero
    {L"%MONTH",    morning,       L"March"},
    {L"%MONTH",    evening,       L"September"},
    {L"%MMM",      evening,       L"Sep"},
    {L"%MM",       morning,       L"03"},
    {L"%MM",       invalid,       L"100"},
    {L"%M",        morning,       L"3"},
    {L"%M",        noon,          L"12"},
    {L"%M",        invalid,       L"100"},
    // Days likewise
    {L"%DD",       morning,       L"05"},
    {L"%DD",       invalid,       L"65535"},
    {L"%D",        morning,       L"5"},
    {L"%D",        evening,       L"10"},
    // Hours by the 24-hour clock, and by the 12-hour clock, where 0 is 12
    {L"%HH24",     midnight,      L"00"},
    {L"%HH24",     evening,       L"23"},
    {L"%HH",       midnight,      L"12"},
    {L"%HH",       morning,       L"07"},
    {L"%HH",       noon,          L"12"},
    {L"%HH",       evening,       L"11"},
    {L"%HH",       invalid,       L"87"},
    // Minutes and seconds
    {L"%MI",       morning,       L"08"},
    {L"%MI",       noon,          L"59"},
    {L"%SS",       morning,       L"09"},
    {L"%SS",       invalid,       L"777"},
    // Fractions: the number, with at least as many digits as there are letters
    {L"%FFFFFF",   noon,          L"123456"},
    {L"%FFFFFF",   morning,       L"001234"},
    {L"%FFFFF",    morning,       L"01234"},
    {L"%FFFF",     morning,       L"1234"},
    {L"%FFF",      morning,       L"1234"},
    {L"%FF",       evening,       L"00"},
    {L"%F",        evening,       L"0"},
    {L"%F",        noon,          L"123456"},
    {L"%FFFFFF",   invalid,       L"-000001"},
    // AM and PM, before or after their hour
    {L"%HH%PM",    midnight,      L"12AM"},
    {L"%HH%PM",    morning,       L"07AM"},
    {L"%HH%PM",    noon,          L"12PM"},
    {L"%PM%HH",    evening,       L"PM11"},
    // ... are blanks without an hour of the 12-hour clock, or where one of the 24-hour clock follows
    {L"%PM|",      morning,       L"  |"},
    {L"%HH24%PM|", morning,       L"07  |"},
    {L"%HH%PM%HH24", morning,     L"07  07"},
    {L"%HH24%PM%HH", morning,     L"07AM07"},
    // ... and stand in the last of several places
    {L"%PM-%PM%HH", morning,      L"  -AM07"},
    // Anything else is written as it is
    {L"a\u20AC-",  morning,       L"a\u20AC-"},
    {L"",          morning,       L""},
};

const struct {
  const wchar_t* model;
  DtKind kind;
  const wchar_t* text;
} parts[] = {
    // A text ends with the last group that its kind requires: literals after it are left out
    {L"%YYYY-%MM-%DD!",                  ZVRT_DT_DATE,      L"2024-03-05"},
    {L"(%DD.%M.%YY)",                    ZVRT_DT_DATE,      L"(05.3.24"},
    {L"%YYYY-%MM!",                      ZVRT_DT_DATE,      L"2024-03!"},
    {L"%YYYY %YYYY-%MM-%DD %YYYY",       ZVRT_DT_DATE,      L"2024 2024-03-05"},
    {L"%HH:%MI:%SS %PM!",                ZVRT_DT_TIME,      L"07:08:09 AM"},
    {L"%HH24:%MI:%SS!",                  ZVRT_DT_TIME,      L"07:08:09!"},  // AM or PM is still required
    {L"%YYYY%MM%DD %HH:%MI:%SS.%F%PM!",  ZVRT_DT_TIMESTAMP, L"20240305 07:08:09.1234AM"},
    {L"%YYYY%MM%DD %HH:%MI:%SS %PM!",    ZVRT_DT_TIMESTAMP, L"20240305 07:08:09 AM!"},  // the fraction is
    // An element of a group that its kind does not have writes nothing
    {L"%HH24:%MI %PM%F %YYYY-%MM-%DD",   ZVRT_DT_DATE,      L":  2024-03-05"},
    {L"%YYYY-%MMM-%D %FFFFFF %HH24:%MI", ZVRT_DT_TIME,      L"--  07:08"},
};

// What becomes of capacities 1, 2, 3 ...: t is a truncation, e an error; from the next one on the text is complete.
const struct {
  const wchar_t* model;
  const ZVRTTS& ts;
  const char* failures;
  const wchar_t* left;  // in the destination at the last of them
} capacities[] = {
    // An element that needs more than there is, is a truncation; a number without a place for the terminator an error
    {L"%YYYY",    morning, "ttte",    L""},
    {L"%YYYY",    invalid, "tttee",   L""},
    {L"%YY",      morning, "te",      L""},
    {L"%MM",      morning, "te",      L""},
    {L"%M",       noon,    "te",      L""},
    {L"%M",       morning, "t",       L""},  // two digits are required for any month
    {L"%DD",      morning, "te",      L""},
    {L"%D",       morning, "t",       L""},
    {L"%HH24",    morning, "te",      L""},
    {L"%HH",      morning, "te",      L""},
    {L"%MI",      morning, "te",      L""},
    {L"%SS",      invalid, "tee",     L""},
    {L"%FFFFFF",  noon,    "ttttte",  L""},
    {L"%FFF",     noon,    "tteeee",  L""},
    {L"%F",       noon,    "eeeeee",  L""},
    // Letters and literals may fill the destination: only the terminator is missing
    {L"%MONTH",   morning, "ttttt",   L"March"},
    {L"%MMM",     morning, "ttt",     L"Mar"},
    {L"xy",       morning, "tt",      L"xy"},
    // AM and PM may not
    {L"%PM",      morning, "tt",      L""},
    // What stands before the failure stays
    {L"x%YYYY",   morning, "tttte",   L"x"},
    {L"%MM%MMM",  morning, "tettt",   L"03Mar"},
    {L"",         morning, "",        L""},
};
// clang-format on

TEST(Formatter, WritesEveryElement) {
  for (const auto& row : elements) {
    const Formatted result = formatted(Model(row.model).codes.data(), row.ts, ZVRT_DT_TIMESTAMP);
    EXPECT_EQ(result.status, ZVRT_RC_OK) << narrow(row.model);
    EXPECT_EQ(result.text, row.text) << narrow(row.model);
  }
}

TEST(Formatter, WritesThePartsThatTheKindRequires) {
  for (const auto& row : parts) {
    EXPECT_EQ(formatted(Model(row.model).codes.data(), morning, row.kind).text, row.text) << narrow(row.model);
  }
}

TEST(Formatter, FailsWhereTheDestinationEnds) {
  for (const auto& row : capacities) {
    const Model model(row.model);
    const std::string failures = row.failures;
    EXPECT_EQ(formatted(model.codes.data(), row.ts, 3, 0).status, ZVRT_RC_TRUNCATED) << narrow(row.model);
    for (std::size_t capacity = 1; capacity <= failures.size(); ++capacity) {
      const Formatted result = formatted(model.codes.data(), row.ts, 3, capacity);
      const std::uint32_t status = failures[capacity - 1] == 't' ? ZVRT_RC_TRUNCATED : ZVRT_RC_ERROR;
      EXPECT_EQ(result.status, status) << narrow(row.model) << ' ' << capacity;
      const bool is_last = capacity == failures.size();
      EXPECT_TRUE(!is_last || result.text == row.left) << narrow(row.model) << " leaves " << narrow(result.text);
    }
    EXPECT_EQ(formatted(model.codes.data(), row.ts, 3, failures.size() + 1).status, ZVRT_RC_OK) << narrow(row.model);
  }
}

TEST(Formatter, RefusesWhatItHasNoTextFor) {
  const Model month(L"x%MONTH"), abbreviation(L"x%MMM"), day(L"%DD");
  for (const int number : {0, 13, 65535}) {
    const ZVRTTS ts = timestamp(2024, number, 1);
    EXPECT_EQ(formatted(month.codes.data(), ts, ZVRT_DT_DATE).status, ZVRT_RC_ERROR) << number;
    EXPECT_EQ(formatted(abbreviation.codes.data(), ts, ZVRT_DT_DATE).status, ZVRT_RC_ERROR) << number;
  }
  EXPECT_EQ(formatted(nullptr, morning, ZVRT_DT_DATE).status, ZVRT_RC_ERROR);
  for (const DtKind kind : {-1, 0, 4, 5}) EXPECT_EQ(formatted(day.codes.data(), morning, kind).status, ZVRT_RC_ERROR);
  std::uint32_t length = 4711;
  EXPECT_EQ(ZVRTTSToWVarcharSz(nullptr, INT32_MIN, day.codes.data(), &morning, ZVRT_DT_DATE, &length),
            ZVRT_RC_TRUNCATED);
  EXPECT_EQ(length, 4711U);
}

TEST(Formatter, TakesAnUnknownCodeForALiteral) {
  for (const std::uint32_t code : {std::uint32_t{FMT_SKIP}, 22U, 255U, 0xFFFFFFFFU}) {
    FmtCode codes[3] = {};
    codes[0].code = code;
    codes[0].literal = 'x';
    codes[1].literal = 0xFFFFFFFF;
    codes[2].code = FMT_END;
    EXPECT_EQ(formatted(codes, morning, ZVRT_DT_DATE).text, (std::wstring{L'x', wchar_t(0xFFFFFFFF)})) << code;
  }
}

TEST(Formatter, HoldsItsLawAtEveryCapacity) {
  Random random(2);
  for (int i = 0; i < 1000; ++i) {
    const Model model(any_model(random, 10));
    const ZVRTTS ts = random.one_in(2) ? any_timestamp(random) : valid_timestamp(random);
    for (DtKind kind = ZVRT_DT_DATE; kind <= ZVRT_DT_TIMESTAMP; ++kind) {
      const std::size_t needed = formatted(model.codes.data(), ts, kind).text.size() + 1;
      for (std::size_t capacity = 0; capacity <= needed + 3; ++capacity) {
        ASSERT_NO_FATAL_FAILURE(expect_law_of_capacity(model.codes.data(), ts, kind, capacity))
            << narrow(model.text) << " kind " << kind << " capacity " << capacity << " " << testing::PrintToString(ts);
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

}  // namespace
}  // namespace zvrt_test
