// The parser against its rules followed step by step: digits read again with fewer characters, literals copied into a
// scratch text and searched for as a whole.
#include <algorithm>
#include <cwchar>
#include <optional>

#include "datetime/models.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {
namespace {

const wchar_t* const months[] = {L"January", L"February", L"March",     L"April",   L"May",      L"June",
                                 L"July",    L"August",   L"September", L"October", L"November", L"December"};

struct Digits {
  std::uint32_t value;
  std::size_t end;
};

std::optional<Digits> digits(const wchar_t* text, std::uint32_t most) {
  Digits read{0, 0};
  bool negative = false;
  for (; read.end < most && text[read.end] != 0; ++read.end) {
    const wchar_t character = text[read.end];
    if (character == L'-' && !negative) {
      negative = true;
      continue;
    }
    if (character < L'0' || character > L'9') return std::nullopt;
    read.value = read.value * 10 + static_cast<std::uint32_t>(character - L'0');
  }
  if (negative) read.value = 0 - read.value;
  return read;
}

bool same(const wchar_t* text, const wchar_t* letters, std::size_t most) {
  return wcsncasecmp(text, letters, most) == 0;  // the tests run in the "C" locale, which folds ASCII only
}

class Reference {
 public:
  std::uint32_t run(std::wstring text, std::int32_t chars, const FmtCode* model) {
    text_ = std::move(text);
    at_ = 0;
    left_ = chars;
    for (const FmtCode* entry = model; at_ < text_.size() && left_ > 0; ++entry) {
      std::wstring scratch;
      std::size_t count = 0;
      for (; entry->code == FMT_LITERAL; ++entry, ++count) scratch += static_cast<wchar_t>(entry->literal);
      if (entry->code == FMT_END) break;
      const std::size_t found = text_.find(scratch.c_str(), at_);
      if (found == std::wstring::npos) return ZVRT_RC_INVALID_DATETIME;
      at_ = std::min(found + count, text_.size());
      if (at_ == text_.size()) return ZVRT_RC_INVALID_DATETIME;
      if (const std::uint32_t status = element(*entry); status != ZVRT_RC_OK) return status;
    }
    if (pending_ != -1) ts.hour = static_cast<std::uint16_t>(pending_);
    return ZVRT_RC_OK;
  }

  ZVRTTS ts{};

 private:
  const wchar_t* here() const { return text_.c_str() + at_; }
  void advance(std::size_t count) {
    at_ = std::min(at_ + count, text_.size());
    left_ -= static_cast<std::int64_t>(count);
  }
  std::optional<int> one_or_two() {
    for (std::uint32_t most = 2; most > 0; --most) {
      if (const auto read = digits(here(), most)) {
        advance(most);
        return static_cast<int>(read->value);
      }
    }
    return std::nullopt;
  }

  std::uint32_t element(const FmtCode& entry) {
    switch (entry.code) {
      case FMT_YYYY:
      case FMT_YY: {
        const auto read = digits(here(), entry.len);
        if (!read) return ZVRT_RC_INVALID_DATETIME;
        ts.year = static_cast<std::int16_t>(read->value);
        advance(entry.len);
        return ZVRT_RC_OK;
      }
      case FMT_MONTH:
      case FMT_MMM:
        for (std::size_t month = 0; month < 12; ++month) {
          const std::size_t length = entry.code == FMT_MONTH ? std::wcslen(months[month]) : 3;
          if (!same(here(), months[month], length)) continue;
          ts.month = static_cast<std::uint16_t>(month + 1);
          advance(length);
          return ZVRT_RC_OK;
        }
        return ZVRT_RC_INVALID_DATETIME;
      case FMT_MM: return number(ts.month);
      case FMT_DD: return number(ts.day);
      case FMT_MI: return number(ts.minute);
      case FMT_SS: return number(ts.second);
      case FMT_HH24: {
        const auto hour = one_or_two();
        if (!hour) return ZVRT_RC_INVALID_DATETIME;
        if (*hour < 0 || *hour > 23) return ZVRT_RC_HOUR_OUT_OF_RANGE;
        ts.hour = static_cast<std::uint16_t>(*hour);
        return ZVRT_RC_OK;
      }
      case FMT_HH: return twelve();
      case FMT_PM: return marker(entry.len);
      case FMT_SKIP: return ZVRT_RC_OK;
      default: return entry.code >= FMT_FFFFFF && entry.code <= FMT_F ? fraction(entry.len) : ZVRT_RC_INVALID_DATETIME;
    }
  }
  std::uint32_t number(std::uint16_t& field) {
    const auto read = one_or_two();
    if (!read) return ZVRT_RC_INVALID_DATETIME;
    field = static_cast<std::uint16_t>(*read);
    return ZVRT_RC_OK;
  }
  std::uint32_t twelve() {
    const auto hour = one_or_two();
    if (!hour) return ZVRT_RC_INVALID_DATETIME;
    if (*hour < 1 || *hour > 12) return ZVRT_RC_HOUR_OUT_OF_RANGE;
    if (half_ == 1) ts.hour = static_cast<std::uint16_t>(*hour == 12 ? 0 : *hour);
    if (half_ == 2) ts.hour = static_cast<std::uint16_t>(*hour == 12 ? 12 : *hour + 12);
    if (half_ == 0) pending_ = *hour;
    return ZVRT_RC_OK;
  }
  std::uint32_t marker(std::uint32_t width) {
    half_ = same(here(), L"PM", width) ? 2 : same(here(), L"AM", width) ? 1 : 0;
    advance(width);
    if (half_ == 0) return ZVRT_RC_OK;
    if (pending_ == 12) pending_ = 0;
    if (pending_ != -1) ts.hour = static_cast<std::uint16_t>(half_ == 2 ? pending_ + 12 : pending_);
    pending_ = -1;
    return ZVRT_RC_OK;
  }
  std::uint32_t fraction(std::uint32_t width) {
    for (std::uint32_t most = width; most > 0; --most) {
      if (auto read = digits(here(), most)) {
        for (std::size_t i = read->end; i < width; ++i) read->value *= 10;
        ts.fraction = read->value;
        advance(read->end);
        return ZVRT_RC_OK;
      }
    }
    return ZVRT_RC_INVALID_DATETIME;
  }

  std::wstring text_;
  std::size_t at_ = 0;
  std::int64_t left_ = 0;
  int half_ = 0;
  int pending_ = -1;
};

class Comparison {
 public:
  void run(const std::wstring& text, std::int32_t chars, const std::vector<FmtCode>& codes, std::int32_t length) {
    wchar_t* const at = page_.as<wchar_t>() + room - (text.size() + 1);
    std::memcpy(at, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
    ZVRTTS ts;
    std::memset(&ts, 0xA5, sizeof ts);
    const std::uint32_t status = ZVRTWVarcharSzToTS(at, chars, codes.data(), length, &ts, ZVRT_DT_DATE);
    Reference reference;
    ASSERT_EQ(reference.run(text, chars, codes.data()), status);
    ASSERT_EQ(reference.ts, ts);
  }
  void run(const std::wstring& text, const Model& model) {
    ASSERT_NO_FATAL_FAILURE(run(text, static_cast<std::int32_t>(text.size()), model.codes, model.length() + 1))
        << std::string(model.text.begin(), model.text.end()) << " on " << std::string(text.begin(), text.end());
  }

 private:
  static constexpr std::size_t room = 1024;
  GuardedBuffer page_{room * sizeof(wchar_t)};  // texts end where it ends
};

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
    const std::wstring text = formatted(model, random.valid_timestamp());
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

TEST(Parser, ReadsTheTextsPeopleWrite) {
  const struct {
    const wchar_t* model;
    const wchar_t* text;
    std::uint32_t status;
    ZVRTTS ts;
  } rows[] = {
      {L"%YYYY-%MM-%DD %HH24:%MI:%SS.%FFFFFF", L"2024-03-05 7:8:9.12", 0, timestamp(2024, 3, 5, 7, 8, 9, 120000)},
      {L"%YYYY-%MM-%DD %HH24:%MI", L"2024-03-05", 0, timestamp(2024, 3, 5)},
      {L"%YYYY-%MM-%DD %HH24:%MI", L"2024-03-05 ", ZVRT_RC_INVALID_DATETIME, timestamp(2024, 3, 5)},
      {L"%YYYY-%MM-%DD", L"2024-1-15", ZVRT_RC_INVALID_DATETIME, timestamp(2024, 65535, 0)},
      {L"%DD-%MMM-%YYYY", L"05-mAr-2024", 0, timestamp(2024, 3, 5)},
      {L"%MONTH %DD", L"Mayday 05", 0, timestamp(0, 5, 5)},
      {L"%MONTH %DD", L"sept 05", ZVRT_RC_INVALID_DATETIME, timestamp(0, 0, 0)},
      {L"%HH:%MI %PM", L"12:30 AM", 0, timestamp(0, 0, 0, 0, 30)},
      {L"%HH:%MI %PM", L"12:30 pm", 0, timestamp(0, 0, 0, 12, 30)},
      {L"%HH:%MI %PM", L"07:45 XM", 0, timestamp(0, 0, 0, 7, 45)},
      {L"%PM %HH", L"pM 3", 0, timestamp(0, 0, 0, 15)},
      {L"%HH", L"13", ZVRT_RC_HOUR_OUT_OF_RANGE, timestamp(0, 0, 0)},
      {L"%HH24", L"-1", ZVRT_RC_HOUR_OUT_OF_RANGE, timestamp(0, 0, 0)},
      {L"%HH24:%MI", L"12h:30", 0, timestamp(0, 0, 0, 12, 30)},
      {L"%SS", L"-1", 0, timestamp(0, 0, 0, 0, 0, 65535)},
      {L"%FF.%SS", L"7.30", 0, timestamp(0, 0, 0, 0, 0, 30, 70)},
      {L"%M/%DD", L"3/5", ZVRT_RC_INVALID_DATETIME, timestamp(0, 0, 0)},
      {L"%DD", L"xx05", ZVRT_RC_INVALID_DATETIME, timestamp(0, 0, 0)},
      {L"literals", L"anything", 0, timestamp(0, 0, 0)},
  };
  for (const auto& row : rows) {
    const Model model(row.model);
    ZVRTTS ts;
    EXPECT_EQ(row.status, ZVRTWVarcharSzToTS(row.text, 100, model.codes.data(), model.length(), &ts, 3));
    EXPECT_EQ(row.ts, ts) << std::string(row.text, row.text + std::wcslen(row.text));
  }
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
