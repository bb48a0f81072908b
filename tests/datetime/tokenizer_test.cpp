// The tokenizer, a line per rule: which entries a model's text becomes, and which kind of record it implies.
#include "datetime/models.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {
namespace {

constexpr DtKind none = 0, date = ZVRT_DT_DATE, time_of_day = ZVRT_DT_TIME, both = ZVRT_DT_TIMESTAMP;

// The elements, and the kind of record that each implies.
const struct {
  const wchar_t* letters;
  std::uint32_t code;
  DtKind kind;
} elements[] = {
    {L"YYYY", FMT_YYYY, date},     {L"YY", FMT_YY, date},        {L"MONTH", FMT_MONTH, date},
    {L"MMM", FMT_MMM, date},       {L"MM", FMT_MM, date},        {L"M", FMT_M, none},
    {L"DD", FMT_DD, date},         {L"D", FMT_D, none},          {L"HH24", FMT_HH24, time_of_day},
    {L"HH", FMT_HH, time_of_day},  {L"MI", FMT_MI, time_of_day}, {L"SS", FMT_SS, time_of_day},
    {L"FFFFFF", FMT_FFFFFF, both}, {L"FFFFF", FMT_FFFFF, both},  {L"FFFF", FMT_FFFF, both},
    {L"FFF", FMT_FFF, both},       {L"FF", FMT_FF, both},        {L"F", FMT_F, both},
    {L"PM", FMT_PM, none},
};

// The text that the entries stand for, each element within brackets.
std::wstring shown(const std::vector<FmtCode>& codes) {
  std::wstring text;
  for (const FmtCode* entry = codes.data(); entry->code != FMT_END; ++entry) {
    if (entry->code == FMT_LITERAL) text += static_cast<wchar_t>(entry->literal);
    for (const auto& element : elements) {
      if (element.code == entry->code) text += std::wstring(L"[") + element.letters + L"]";
    }
  }
  return text;
}

// clang-format off
const struct {
  const wchar_t* text;
  const wchar_t* entries;
} rules[] = {
    // An element follows a percent sign, in any case; anything else is a literal
    {L"",                  L""},
    {L"ABC",               L"ABC"},
    {L"DD",                L"DD"},
    {L"%YYYY-%MM-%DD",     L"[YYYY]-[MM]-[DD]"},
    {L"%hh24:%Mi:%sS",     L"[HH24]:[MI]:[SS]"},
    {L"%Month %pm",        L"[MONTH] [PM]"},
    {L"\u20AC%DD",         L"\u20AC[DD]"},
    // ... the longest that the letters begin
    {L"%MMMM",             L"[MMM]M"},
    {L"%MONTHS",           L"[MONTH]S"},
    {L"%MON",              L"[M]ON"},
    {L"%MIN",              L"[MI]N"},
    {L"%YYY",              L"[YY]Y"},
    {L"%YYYYY",            L"[YYYY]Y"},
    {L"%HH12",             L"[HH]12"},
    {L"%HH2",              L"[HH]2"},
    {L"%HH\x12\x14",       L"[HH]\x12\x14"},
    {L"%DDD",              L"[DD]D"},
    {L"%D-",               L"[D]-"},
    {L"%FFFFFFF",          L"[FFFFFF]F"},
    {L"%F\u0130%m",        L"[F]\u0130[M]"},  // only letters of ASCII are alike in both cases
};
// clang-format on

TEST(Tokenizer, FollowsItsRules) {
  for (const auto& row : rules) {
    const Model model(row.text);
    EXPECT_EQ(model.status, ZVRT_RC_OK);
    EXPECT_EQ(shown(model.codes), row.entries);
  }
}

std::wstring lower(std::wstring text) {
  for (wchar_t& character : text) character = character >= L'A' && character <= L'Z' ? character + 32 : character;
  return text;
}

// The text once more from positions and lengths.
std::wstring text_of(const std::vector<FmtCode>& codes, const std::wstring& original) {
  std::wstring text;
  for (const FmtCode* entry = codes.data(); entry->code != FMT_END; ++entry) {
    if (entry->code == FMT_LITERAL) text += static_cast<wchar_t>(entry->literal);
    if (entry->code != FMT_LITERAL) text += original.substr(entry->pos, entry->len + 1U);
  }
  return text;
}

TEST(Tokenizer, LosesNothingOfAText) {
  Random random(1);
  for (int i = 0; i < 20000; ++i) {
    const std::wstring text = any_model(random, 12);
    const Model model(text);
    ASSERT_EQ(text, text_of(model.codes, text));
    ASSERT_EQ(lower(shown(Model(lower(text)).codes)), lower(shown(model.codes)));
  }
}

TEST(Tokenizer, RefusesUnknownLettersAndKeepsWhatCameBefore) {
  for (const wchar_t* unknown : {L"%", L"%%", L"%AM", L"%Y", L"%S", L"%H", L"%P", L"% D", L"%\u0144", L"%\u017Fs"}) {
    Model model(std::wstring(L"x%DD") + unknown, ZVRT_DT_TIME);
    EXPECT_EQ(ZVRT_RC_INVALID_FORMAT, model.status);
    EXPECT_EQ(ZVRT_DT_TIMESTAMP, model.kind);
    EXPECT_EQ(FMT_DD, model.codes[1].code);
    EXPECT_EQ(0U, model.codes[2].code);
    EXPECT_EQ(0U, model.codes[2].literal);
  }
}

TEST(Tokenizer, AddsTheKindsThatTheElementsImply) {
  for (const auto& element : elements) {
    for (DtKind before = 0; before <= 5; ++before) {
      const DtKind kept = before <= both ? before : none;  // other kinds add nothing
      EXPECT_EQ(Model(std::wstring(L"%") + element.letters, before).kind,
                element.kind == none ? before : kept | element.kind)
          << element.code << ' ' << before;
    }
  }
}

TEST(Tokenizer, ReadsNothingAfterTheText) {
  for (const std::wstring text : {L"%F", L"%FFFFF", L"%HH", L"%MONT", L"%MMM", L"-", L"%"}) {
    const GuardedBuffer guarded(text.c_str(), (text.size() + 1) * sizeof(wchar_t));
    std::vector<FmtCode> codes(text.size() + 1);
    DtKind kind = 0;
    const auto* at = const_cast<GuardedBuffer&>(guarded).as<wchar_t>();
    EXPECT_EQ(Model(text).status, ZVRTGetFormatCodes(at, codes.data(), &kind));
  }
}

}  // namespace
}  // namespace zvrt_test
