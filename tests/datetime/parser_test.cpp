// The parser against its rules followed step by step: digits read again with fewer characters, literals copied into a
// scratch text and searched for as a whole.
#include <algorithm>
#include <cwchar>

#include "datetime/parser_model.h"

namespace zvrt_test {
namespace {

std::wstring formatted(const Model& model, const ZVRTTS& ts) {
  wchar_t text[512];
  std::uint32_t length = 0;
  EXPECT_EQ(ZVRT_RC_OK, ZVRTTSToWVarcharSz(text, 512, model.codes.data(), &ts, ZVRT_DT_TIMESTAMP, &length));
  return {text, length};
}

TEST(Parser, FollowsItsRulesOnPrefixesAndMutationsOfGoodText) {
  constexpr wchar_t changes[] = {
      L'-', L'0', L'7', L' ', L'a', L'M', L':', L'/', L'\u0660', L'\u017F', wchar_t(0x80000030)};
  Random random(3);
  Comparison comparison;
  for (int i = 0; i < 2000; ++i) {
    const Model model(random.model_text(9));
    const std::wstring text = formatted(model, random.valid_timestamp());
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

TEST(Parser, FollowsItsRulesOnModelsThatNoTextProduces) {
  Random random(4);
  Comparison comparison;
  for (int i = 0; i < 20000; ++i) {
    const Model model(random.model_text(6));
    std::vector<FmtCode> codes = model.codes;
    std::wstring text = formatted(model, random.valid_timestamp());
    if (random.one_in(2)) text.resize(random.below(static_cast<std::uint32_t>(text.size()) + 1));
    for (FmtCode& entry : codes) {
      if (entry.code == FMT_END) break;
      if (!random.one_in(3)) continue;
      const std::uint32_t hostile[] = {FMT_SKIP, 22, 0xFFFFFFFF, FMT_LITERAL};
      const std::uint32_t widths[] = {0, 1, 3, 5, 9, 40};
      if (random.one_in(3)) entry.code = random.of(hostile);
      if (random.one_in(3)) entry.literal = 0;
      if (random.one_in(3)) entry.len = random.of(widths);
    }
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
    const ZVRTTS ts = random.valid_timestamp();
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
