// The parser, a line per rule: which text a model reads, and into which fields. Then laws over damaged text and models
// that no text produces, and a round trip through the formatter.
#include <algorithm>
#include <cwchar>

#include "datetime/parser_law.h"

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
    {L"%MONTH",          L"January",       "month 1"},
    {L"%MONTH",          L"May",           "month 5"},
    {L"%MMM",            L"Feb",           "month 2"},
    {L"%MMM",            L"Dec",           "month 12"},
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

std::string parsed(const std::vector<FmtCode>& codes, const wchar_t* text, std::int32_t chars = INT32_MAX) {
  const auto [status, ts] = parse_guarded(text, chars, codes);
  if (status == ZVRT_RC_INVALID_DATETIME) return "does not match";
  if (status == ZVRT_RC_HOUR_OUT_OF_RANGE) return "hour out of range";
  return status == ZVRT_RC_OK ? described(ts) : "status " + std::to_string(status);
}

TEST(Parser, FollowsItsRules) {
  for (const auto& row : rules) {
    EXPECT_EQ(parsed(Model(row.model).codes, row.text), row.result)
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
  const Model model(L"%DD.%MM.%YYYY");
  for (const auto& [chars, result] : rows) EXPECT_EQ(parsed(model.codes, L"05.03.2024", chars), result) << chars;
}

std::wstring formatted(const Model& model, const ZVRTTS& ts) {
  wchar_t text[512];
  std::uint32_t length = 0;
  EXPECT_EQ(ZVRT_RC_OK, ZVRTTSToWVarcharSz(text, 512, model.codes.data(), &ts, ZVRT_DT_TIMESTAMP, &length));
  return {text, length};
}

FmtCode element(std::uint32_t code, std::uint32_t len) { return {0, code, len, 0}; }
FmtCode literal(std::uint32_t character) { return {character, FMT_LITERAL, 0, 0}; }

// A descriptor from outside may hold entries that no text produces: other widths, other codes, zeros for literals.
TEST(Parser, TakesModelsThatNoTextProduces) {
  const FmtCode day = element(FMT_DD, 2), hour = element(FMT_HH, 2), month = element(FMT_MM, 2);
  const struct {
    std::vector<FmtCode> model;
    const wchar_t* text;
    const char* result;
  } rows[] = {
      // Years and fractions are read by the width of the entry
      {{element(FMT_YYYY, 2), month}, L"2403", "year 24, month 3"},
      {{element(FMT_YYYY, 9)}, L"123456789", "year -13035"},
      {{element(FMT_YY, 0), month}, L"03", "month 3"},
      {{element(FMT_FFFFFF, 0)}, L"5", "does not match"},
      {{element(FMT_FFF, 9)}, L"5", "fraction 500000000"},
      {{element(FMT_F, 40)}, L"5", ""},
      {{element(FMT_F, 3), day}, L"12345", "day 45, fraction 123"},
      // AM and PM by as many letters
      {{element(FMT_PM, 1), hour}, L"p7", "hour 19"},
      {{element(FMT_PM, 3), hour}, L"pm!7", "hour 7"},
      {{hour, element(FMT_PM, 3)}, L"7pm", "hour 19"},
      {{element(FMT_PM, 0), hour}, L"7", "hour 19"},  // no letters are those of PM
      // Any other element by its own
      {{element(FMT_MM, 9), day}, L"0305", "month 3, day 5"},
      {{element(FMT_HH24, 0)}, L"23", "hour 23"},
      {{element(FMT_MMM, 0), day}, L"Mar05", "month 3, day 5"},
      // A code between elements reads nothing, an unknown one nothing at all
      {{element(FMT_SKIP, 0), day}, L"05", "day 5"},
      {{element(22, 0), day}, L"05", "does not match"},
      {{element(0xFFFFFFFF, 0), day}, L"05", "does not match"},
      // A zero ends the run of literals that is searched for, but every literal takes its character
      {{literal('a'), literal(0), literal('b'), day}, L"axx05", "day 5"},
      {{literal('a'), literal(0), literal('b'), day}, L"a05", "does not match"},
      {{literal(0), day}, L"x05", "day 5"},
      {{literal('a'), literal(0)}, L"b", ""},
      {{literal(0x80000030), day}, L"005", "does not match"},
  };
  for (const auto& row : rows) {
    std::vector<FmtCode> codes = row.model;
    codes.push_back(element(FMT_END, 0));
    EXPECT_EQ(parsed(codes, row.text), row.result) << testing::PrintToString(row.text);
  }
}

TEST(Parser, HoldsItsLawsOnDamagedText) {
  constexpr wchar_t changes[] = {
      L'-', L'0', L'7', L' ', L'a', L'M', L':', L'/', L'\u0660', L'\u017F', wchar_t(0x80000030)};
  Random random(3);
  for (int i = 0; i < 20000; ++i) {
    Model model(any_model(random, 9));
    std::wstring text = formatted(model, valid_timestamp(random));
    if (random.one_in(2)) disturb(random, model.codes);
    for (std::uint32_t damages = random.below(4); damages > 0 && !text.empty(); --damages) {
      const std::size_t at = random.below(static_cast<std::uint32_t>(text.size()));
      text.replace(at, random.below(3), random.below(2), random.of(changes));
    }
    const auto chars = static_cast<std::int32_t>(random.below(12)) - 1;
    ASSERT_NO_FATAL_FAILURE(expect_laws_of_parsing(text, chars, model.codes)) << i;
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
