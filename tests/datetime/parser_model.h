// The parser as its rules tell it, step by step: digits read again with fewer characters, literals copied into a
// scratch text and searched for as a whole.
#pragma once

#include <algorithm>
#include <cwchar>
#include <optional>
#include <string>

#include "datetime/models.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {

struct Digits {
  std::uint32_t value;
  std::size_t end;
};

inline std::optional<Digits> digits(const wchar_t* text, std::uint32_t most) {
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

inline bool same(const wchar_t* text, const wchar_t* letters, std::size_t most) {
  return wcsncasecmp(text, letters, most) == 0;  // the tests run in the "C" locale, which folds ASCII only
}

class ParserModel {
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
          const std::size_t length = entry.code == FMT_MONTH ? std::wcslen(month_names[month]) : 3;
          if (!same(here(), month_names[month], length)) continue;
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
    wchar_t* const at = page_.as<wchar_t>() + capacity - (text.size() + 1);
    std::memcpy(at, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
    ZVRTTS ts;
    std::memset(&ts, 0xA5, sizeof ts);
    const std::uint32_t status = ZVRTWVarcharSzToTS(at, chars, codes.data(), length, &ts, ZVRT_DT_DATE);
    ParserModel reference;
    ASSERT_EQ(reference.run(text, chars, codes.data()), status);
    ASSERT_EQ(reference.ts, ts);
  }
  void run(const std::wstring& text, const Model& model) {
    ASSERT_NO_FATAL_FAILURE(run(text, static_cast<std::int32_t>(text.size()), model.codes, model.length() + 1))
        << std::string(model.text.begin(), model.text.end()) << " on " << std::string(text.begin(), text.end());
  }

 private:
  static constexpr std::size_t capacity = 1024;
  GuardedBuffer page_{capacity * sizeof(wchar_t)};  // texts end where it ends
};

}  // namespace zvrt_test
