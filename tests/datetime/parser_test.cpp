// The parser, a line per rule: which text a model reads, and into which fields. Then a slow reference over random models
// and damaged text, and a round trip through the formatter.
#include <algorithm>
#include <cwchar>

#include "datetime/parser_model.h"

namespace zvrt_test {
namespace {

// clang-format off
const struct {
  const wchar_t* model;
  const wchar_t* text;
  const char* result;  // the fields that are not 0, or the failure
} rules[] = {
    // Literals stand in the text as they do in the model, in the same case
    {L"%YYYY-%MM-%DD",   L"2024-03-05",    "year 2024, month 3, day 5"},
    {L"(%DD)",           L"(05)",          "day 5"},
    {L"%DD-%MM",         L"05/03",         "does not match"},
    {L"T%HH24",          L"t07",           "does not match"},
    // ... or later: what stands before them is passed over
    {L"/%MM",            L"on 5/3",        "month 3"},
    {L"ab%DD",           L"aab05",         "day 5"},
    // ... but for those after the last element, which need not be there
    {L"%DD.",            L"05",            "day 5"},
    {L"%DD.",            L"05!",           "day 5"},
    {L"x",               L"05",            ""},
    // Months, days, minutes and seconds: one or two digits. Their ranges are not checked here
    {L"%MM",             L"3",             "month 3"},
    {L"%MM",             L"12",            "month 12"},
    {L"%MM",             L"123",           "month 12"},
    {L"%DD",             L"99",            "day 99"},
    {L"%MM%DD",          L"0305",          "month 3, day 5"},
    {L"%MM/%DD",         L"3/5",           "month 3, day 5"},
    {L"%MI:%SS",         L"59:60",         "minute 59, second 60"},
    {L"%DD",             L" 5",            "does not match"},
    {L"%DD",             L"x",             "does not match"},
    {L"%DD",             L"\u0665",        "does not match"},
    // A minus sign belongs to the number, in any place of it; fields without a sign wrap around
    {L"%MM",             L"-3",            "month 65533"},
    {L"%MM",             L"3-",            "month 65533"},
    {L"%MM-%DD",         L"3-5",           "does not match"},
    // Years: as many digits as letters, unless the text ends
    {L"%YYYY",           L"24",            "year 24"},
    {L"%YYYY/%MM",       L"24/03",         "does not match"},
    {L"%YYYY%MM",        L"202403",        "year 2024, month 3"},
    {L"%YYYY",           L"-005",          "year -5"},
    {L"%YYYY",           L"20x4",          "does not match"},
    {L"%YY",             L"24",            "year 24"},
    {L"%YY-%MM",         L"24-03",         "year 24, month 3"},
    // Months by name, in any case
    {L"%MONTH",          L"March",         "month 3"},
    {L"%MONTH",          L"mARCH",         "month 3"},
    {L"%MONTH",          L"Mar",           "does not match"},
    {L"%MONTH%DD",       L"September05",   "month 9, day 5"},
    {L"%MONTH",          L"Septembex",     "does not match"},
    {L"%MMM",            L"mar",           "month 3"},
    {L"%MMM",            L"March",         "month 3"},
    {L"%MMM %DD",        L"Sep 5",         "month 9, day 5"},
    {L"%MMM",            L"Mrz",           "does not match"},
    // Hours by the 24-hour clock
    {L"%HH24",           L"23",            "hour 23"},
    {L"%HH24",           L"7",             "hour 7"},
    {L"%HH24",           L"24",            "hour out of range"},
    {L"%HH24",           L"-1",            "hour out of range"},
    // ... and by the 12-hour clock, where 12 AM is 0 and 12 PM is 12; AM or PM in any case, before or after it
    {L"%HH %PM",         L"7 AM",          "hour 7"},
    {L"%HH %PM",         L"7 PM",          "hour 19"},
    {L"%HH %PM",         L"12 AM",         ""},
    {L"%HH %PM",         L"12 pm",         "hour 12"},
    {L"%PM %HH",         L"pM 7",          "hour 19"},
    {L"%PM %HH",         L"am 12",         ""},
    {L"%HH %PM %HH",     L"7 PM 8",        "hour 20"},
    {L"%HH",             L"0",             "hour out of range"},
    {L"%HH",             L"13",            "hour out of range"},
    // ... taken as it is without a day period
    {L"%HH",             L"7",             "hour 7"},
    {L"%HH",             L"12",            "hour 12"},
    {L"%HH %PM",         L"7 XX",          "hour 7"},
    {L"%HH %PM",         L"7 p",           "hour 7"},
    // Fractions: as many digits as letters at most, the missing ones are zeros
    {L"%FFFFFF",         L"001234",        "fraction 1234"},
    {L"%FFFFFF",         L"1",             "fraction 100000"},
    {L"%FFF",            L"1",             "fraction 100"},
    {L"%FFF",            L"1234",          "fraction 123"},
    {L"%FFFFFF %DD",     L"5 07",          "day 7, fraction 500000"},
    {L"%F",              L"x",             "does not match"},
    // Elements without leading zeros are for writing only
    {L"%M",              L"3",             "does not match"},
    {L"%D",              L"5",             "does not match"},
    // Parsing ends with the model, and with the text, but not between literals and their element
    {L"%YYYY-%MM",       L"2024-03-05 x",  "year 2024, month 3"},
    {L"%YYYY-%MM-%DD",   L"2024",          "year 2024"},
    {L"%YYYY-%MM-%DD",   L"2024-",         "does not match"},
    {L"%YYYY-%MM-%DD",   L"",              ""},
    {L"",                L"05",            ""},
};
// clang-format on

std::string described(const ZVRTTS& ts) {
  const std::pair<const char*, std::int64_t> fields[] = {
      {"year ", ts.year},     {"month ", ts.month},   {"day ", ts.day},          {"hour ", ts.hour},
      {"minute ", ts.minute}, {"second ", ts.second}, {"fraction ", ts.fraction}};
  std::string text;
  for (const auto& [name, value] : fields) {
    if (value != 0) text += (text.empty() ? "" : ", ") + (name + std::to_string(value));
  }
  return text;
}

std::string parsed(const wchar_t* model_text, const wchar_t* text, std::int32_t chars = INT32_MAX) {
  const Model model(model_text);
  ZVRTTS ts;
  const std::uint32_t status = ZVRTWVarcharSzToTS(text, chars, model.codes.data(), model.length() + 1, &ts, 3);
  if (status == ZVRT_RC_INVALID_DATETIME) return "does not match";
  if (status == ZVRT_RC_HOUR_OUT_OF_RANGE) return "hour out of range";
  return status == ZVRT_RC_OK ? described(ts) : "status " + std::to_string(status);
}

TEST(Parser, FollowsItsRules) {
  for (const auto& row : rules) {
    EXPECT_EQ(parsed(row.model, row.text), row.result)
        << std::string(row.model, row.model + std::wcslen(row.model)) << " on " << testing::PrintToString(row.text);
  }
}

// A limit counts the characters of elements; an element that begins within it is read to its end.
TEST(Parser, BeginsNoElementAfterTheLimitOfCharacters) {
  const std::pair<std::int32_t, const char*> rows[] = {{-1, ""},
                                                       {0, ""},
                                                       {1, "day 5"},
                                                       {2, "day 5"},
                                                       {3, "month 3, day 5"},
                                                       {4, "month 3, day 5"},
                                                       {5, "year 2024, month 3, day 5"}};
  for (const auto& [chars, result] : rows) EXPECT_EQ(parsed(L"%DD.%MM.%YYYY", L"05.03.2024", chars), result) << chars;
}

std::wstring formatted(const Model& model, const ZVRTTS& ts) {
  wchar_t text[512];
  std::uint32_t length = 0;
  EXPECT_EQ(ZVRT_RC_OK, ZVRTTSToWVarcharSz(text, 512, model.codes.data(), &ts, ZVRT_DT_TIMESTAMP, &length));
  return {text, length};
}

TEST(Parser, AgreesWithItsReferenceOnPrefixesAndMutationsOfGoodText) {
  constexpr wchar_t changes[] = {
      L'-', L'0', L'7', L' ', L'a', L'M', L':', L'/', L'\u0660', L'\u017F', wchar_t(0x80000030)};
  Random random(3);
  Comparison comparison;
  for (int i = 0; i < 2000; ++i) {
    const Model model(any_model(random, 9));
    const std::wstring text = formatted(model, valid_timestamp(random));
    for (std::size_t length = 0; length <= text.size(); ++length) {
      ASSERT_NO_FATAL_FAILURE(comparison.run(text.substr(0, length), model));
    }
    for (std::size_t at = 0; at < text.size(); ++at) {
      for (const wchar_t change : changes) {
        std::wstring mutated = text;
        mutated[at] = change;
        ASSERT_NO_FATAL_FAILURE(comparison.run(mutated, model));
      }
      std::wstring other_case = text;
      if (text[at] >= L'A') other_case[at] ^= 0x20;
      ASSERT_NO_FATAL_FAILURE(comparison.run(other_case, model));
      ASSERT_NO_FATAL_FAILURE(comparison.run(text.substr(0, at) + text.substr(at + 1), model));
      ASSERT_NO_FATAL_FAILURE(comparison.run(text.substr(0, at) + random.of(changes) + text.substr(at), model));
    }
  }
}

TEST(Parser, AgreesWithItsReferenceOnModelsThatNoTextProduces) {
  Random random(4);
  Comparison comparison;
  for (int i = 0; i < 20000; ++i) {
    const Model model(any_model(random, 6));
    std::vector<FmtCode> codes = model.codes;
    std::wstring text = formatted(model, valid_timestamp(random));
    if (random.one_in(2)) text.resize(random.below(static_cast<std::uint32_t>(text.size()) + 1));
    disturb(random, codes);
    const auto chars = static_cast<std::int32_t>(random.below(8)) - 1;
    ASSERT_NO_FATAL_FAILURE(comparison.run(text, chars, codes, 1)) << i;
    ASSERT_NO_FATAL_FAILURE(comparison.run(text, INT32_MAX, codes, 1)) << i;
  }
}

TEST(Parser, GivesBackWhatWasFormattedInEveryOrderOfElements) {
  std::wstring elements[] = {L"YYYY", L"MM", L"DD", L"HH24", L"MI", L"SS", L"FFFFFF"};
  const std::wstring months_as[] = {L"MM", L"MONTH", L"MMM"}, hours_as[] = {L"HH24", L"HH%PM", L"PM%HH"};
  std::sort(std::begin(elements), std::end(elements));
  Random random(5);
  do {
    std::wstring text;
    for (const std::wstring& element : elements) {
      text += L'%';
      text += element == L"MM" ? random.of(months_as) : element == L"HH24" ? random.of(hours_as) : element;
      text += L"/|"[random.below(2)];
    }
    const Model model(text);
    const ZVRTTS ts = valid_timestamp(random);
    const std::wstring written = formatted(model, ts);
    ZVRTTS read;
    ASSERT_EQ(ZVRT_RC_OK, ZVRTWVarcharSzToTS(written.c_str(), 100, model.codes.data(), model.length(), &read, 3));
    ASSERT_EQ(ts, read) << std::string(text.begin(), text.end());
  } while (std::next_permutation(std::begin(elements), std::end(elements)));
}

TEST(Parser, TouchesNothingWithoutAModel) {
  const Model model(L"%DD");
  const ZVRTTS before = timestamp(1, 2, 3, 4, 5, 6, 7);
  ZVRTTS ts = before;
  EXPECT_EQ(ZVRT_RC_ERROR, ZVRTWVarcharSzToTS(L"05", 2, model.codes.data(), 0, &ts, 3));
  EXPECT_EQ(ZVRT_RC_ERROR, ZVRTWVarcharSzToTS(L"05", 2, model.codes.data(), INT32_MIN, &ts, 3));
  EXPECT_EQ(ZVRT_RC_ERROR, ZVRTWVarcharSzToTS(L"05", 2, nullptr, 3, &ts, 3));
  EXPECT_EQ(before, ts);
}

TEST(LiteralSearch, MovesBothCursors) {
  const Model model(L"ab%DDcd");
  const FmtCode* entry = model.codes.data();
  const wchar_t text[] = L"xaab05";
  const wchar_t* at = text;
  GuardedBuffer scratch(3 * sizeof(wchar_t));
  EXPECT_EQ(ZVRT_RC_OK, ZVRTGetNextCodePosInSourceW(&entry, &at, scratch.as<wchar_t>()));
  EXPECT_EQ(&model.codes[2], entry);
  EXPECT_EQ(text + 4, at);
  EXPECT_EQ(std::wstring(L"ab"), scratch.as<wchar_t>());

  EXPECT_EQ(ZVRT_RC_OK, ZVRTGetNextCodePosInSourceW(&entry, &at, scratch.as<wchar_t>()));  // nothing to pass
  EXPECT_EQ(text + 4, at);
  EXPECT_EQ(std::wstring(L""), scratch.as<wchar_t>());

  ++entry;
  EXPECT_EQ(ZVRT_RC_END_OF_FORMAT, ZVRTGetNextCodePosInSourceW(&entry, &at, scratch.as<wchar_t>()));
  EXPECT_EQ(FMT_END, entry->code);
  EXPECT_EQ(text + 4, at);
  EXPECT_EQ(std::wstring(L"cd"), scratch.as<wchar_t>());

  entry = model.codes.data();
  EXPECT_EQ(ZVRT_RC_ERROR, ZVRTGetNextCodePosInSourceW(&entry, &at, scratch.as<wchar_t>()));
  EXPECT_EQ(&model.codes[2], entry);
  EXPECT_EQ(nullptr, at);
}

}  // namespace
}  // namespace zvrt_test
