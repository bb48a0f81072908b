// The tokenizer: which entries a text becomes, and that nothing of it is lost.
#include "datetime/models.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {
namespace {

const wchar_t* letters_of(std::uint32_t code) {
  const wchar_t* const letters[] = {L"",   L"YYYY", L"YY", L"MONTH",  L"MMM",   L"MM",   L"M",   L"DD", L"D", L"HH24",
                                    L"HH", L"MI",   L"SS", L"FFFFFF", L"FFFFF", L"FFFF", L"FFF", L"FF", L"F", L"PM"};
  return letters[code];
}

std::wstring text_of(const std::vector<FmtCode>& codes) {
  std::wstring text;
  for (const FmtCode* entry = codes.data(); entry->code != FMT_END; ++entry) {
    if (entry->code == FMT_LITERAL) {
      text += static_cast<wchar_t>(entry->literal);
    } else {
      EXPECT_EQ(text.size(), entry->pos);
      EXPECT_EQ(std::wcslen(letters_of(entry->code)), entry->len);
      text += std::wstring(L"%") + letters_of(entry->code);
    }
  }
  return text;
}

TEST(Tokenizer, EntriesTellTheTextTheyCameFrom) {
  Random random(1);
  for (int i = 0; i < 20000; ++i) {
    const std::wstring text = random.model_text(12);
    ASSERT_EQ(text, text_of(Model(text).codes));
    std::wstring lower = text;
    for (wchar_t& character : lower) character = character >= L'A' && character <= L'Z' ? character + 32 : character;
    const Model model(text), folded(lower);
    for (std::size_t k = 0; model.codes[k].code != FMT_END; ++k) {
      ASSERT_EQ(model.codes[k].code, folded.codes[k].code);
      ASSERT_EQ(model.codes[k].pos, folded.codes[k].pos);
    }
  }
}

TEST(Tokenizer, TakesTheLongestElement) {
  const struct {
    const wchar_t* text;
    std::vector<std::uint32_t> codes;  // a literal by its character, an element by its code
  } rows[] = {
      {L"", {}},
      {L"ABC", {'A', 'B', 'C'}},
      {L"%MMMM", {FMT_MMM, 'M'}},
      {L"%MONTHS", {FMT_MONTH, 'S'}},
      {L"%MON", {FMT_M, 'O', 'N'}},
      {L"%MIN", {FMT_MI, 'N'}},
      {L"%YYY", {FMT_YY, 'Y'}},
      {L"%HH12", {FMT_HH, '1', '2'}},
      {L"%HH2", {FMT_HH, '2'}},
      {L"%HH\x12\x14", {FMT_HH, 0x12, 0x14}},
      {L"%DDD", {FMT_DD, 'D'}},
      {L"%D-", {FMT_D, '-'}},
      {L"%FFFFFFF", {FMT_FFFFFF, 'F'}},
      {L"%F\u0130%m", {FMT_F, 0x130, FMT_M}},
  };
  for (const auto& row : rows) {
    const Model model(row.text);
    ASSERT_EQ(ZVRT_RC_OK, model.status);
    std::vector<std::uint32_t> found;
    for (const FmtCode* entry = model.codes.data(); entry->code != FMT_END; ++entry) {
      found.push_back(entry->code == FMT_LITERAL ? entry->literal : entry->code);
    }
    EXPECT_EQ(row.codes, found) << std::string(row.text, row.text + std::wcslen(row.text));
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

TEST(Tokenizer, KindGrowsByWhatTheElementsDescribe) {
  for (const wchar_t* element : element_letters) {
    const std::wstring letters(element);
    const bool describes_nothing = letters == L"M" || letters == L"D" || letters == L"PM";
    const bool fraction = letters[0] == L'F', date = letters.find_first_of(L"YD") == 0 || letters[0] == L'M';
    for (DtKind before = 0; before <= 5; ++before) {
      const bool has_date =
          before == ZVRT_DT_DATE || before == ZVRT_DT_TIMESTAMP || fraction || (date && letters != L"MI");
      const bool has_time =
          before == ZVRT_DT_TIME || before == ZVRT_DT_TIMESTAMP || fraction || !date || letters == L"MI";
      const DtKind expected = describes_nothing ? before : (has_date ? 1 : 0) + (has_time ? 2 : 0);
      EXPECT_EQ(expected, Model(L"%" + letters, before).kind) << std::string(letters.begin(), letters.end()) << before;
    }
  }
}

TEST(Tokenizer, ReadsNothingBehindTheText) {
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
