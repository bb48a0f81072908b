// Timestamps, models and the texts that both make, for the families of dates.
#pragma once

#include <array>
#include <cstdint>
#include <ctime>
#include <cwchar>
#include <string>
#include <vector>

#include "harness.h"
#include "inputs.h"

namespace zvrt_bench {

// A field whose format is the model.
class ModelField {
 public:
  explicit ModelField(const wchar_t* model) : text_(model), codes_(std::wcslen(model) + 1) {
    DtKind kind = 0;
    ZVRTGetFormatCodes(model, codes_.data(), &kind);
    format_.model = codes_.data();
    format_.modelLen = length();
    field_.dtFormat = &format_;
  }
  ModelField(const ModelField&) = delete;
  ModelField& operator=(const ModelField&) = delete;
  const FldDef* get() const { return &field_; }
  const wchar_t* text() const { return text_; }
  const FmtCode* codes() const { return codes_.data(); }
  std::int32_t length() const { return static_cast<std::int32_t>(codes_.size() - 1); }

 private:
  const wchar_t* text_;
  std::vector<FmtCode> codes_;
  DtFormatDesc format_{};
  FldDef field_{};
};

// 1970 to 2037. The last digit of the micro-seconds is not 0: one peer drops zeros there.
inline ZVRTTS moment(Random& random) {
  ZVRTTS ts{};
  ts.year = static_cast<std::int16_t>(uniform(random, 1970, 2037));
  ts.month = static_cast<std::uint16_t>(uniform(random, 1, 12));
  ts.day = static_cast<std::uint16_t>(uniform(random, 1, 28));
  ts.hour = static_cast<std::uint16_t>(uniform(random, 0, 23));
  ts.minute = static_cast<std::uint16_t>(uniform(random, 0, 59));
  ts.second = static_cast<std::uint16_t>(uniform(random, 0, 59));
  ts.fraction = static_cast<std::uint32_t>(uniform(random, 0, 99'999) * 10 + uniform(random, 1, 9));
  return ts;
}

// The C library's record, with the fraction beside it.
struct BrokenDown {
  std::tm time;
  std::uint32_t fraction;
};

inline BrokenDown broken_down(const ZVRTTS& ts) {
  std::tm time{};
  time.tm_year = ts.year - 1900;
  time.tm_mon = ts.month - 1;
  time.tm_mday = ts.day;
  time.tm_hour = ts.hour;
  time.tm_min = ts.minute;
  time.tm_sec = ts.second;
  time.tm_isdst = 0;
  return {time, ts.fraction};
}

// A point and six digits after text of `length` characters; its new length.
template <class Char>
std::size_t append_fraction(Char* text, std::size_t length, std::uint32_t fraction) {
  text[length] = '.';
  for (std::size_t i = length + 6; i > length; --i, fraction /= 10) text[i] = static_cast<Char>('0' + fraction % 10);
  return length + 7;
}

// The texts of a set of records by a model.
inline WideTexts wide_texts(const Set<ZVRTTS>& moments, const ModelField& field) {
  return packed(*rendered(moments, [&field](const ZVRTTS& ts) {
    std::array<wchar_t, 64> text{};
    std::uint32_t length = 0;
    ZVRTCnvZVRTTSToWVarcharSz(&ts, nullptr, text.data(), sizeof text, &length, field.get());
    return std::wstring(text.data());
  }));
}
inline std::string narrowed(const wchar_t* text) { return {text, text + std::wcslen(text)}; }

}  // namespace zvrt_bench
