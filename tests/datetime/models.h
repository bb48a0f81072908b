// Format models for the tests of dates: tokenised, carried by a field descriptor, and made at random.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "ZVRTDataCnvLib.h"

// Records are compared as the bytes they are.
inline bool operator==(const ZVRTTS& a, const ZVRTTS& b) { return std::memcmp(&a, &b, sizeof a) == 0; }
inline void PrintTo(const ZVRTTS& ts, std::ostream* out) {
  *out << ts.year << '-' << ts.month << '-' << ts.day << ' ' << ts.hour << ':' << ts.minute << ':' << ts.second << '.'
       << ts.fraction;
}

namespace zvrt_test {

inline ZVRTTS timestamp(int year, int month, int day, int hour = 0, int minute = 0, int second = 0,
                        std::uint32_t fraction = 0) {
  const auto u16 = [](int value) { return static_cast<std::uint16_t>(value); };
  return {static_cast<std::int16_t>(year), u16(month), u16(day), u16(hour), u16(minute), u16(second), fraction, {}};
}

// A model's text with its tokenised form.
struct Model {
  explicit Model(std::wstring model_text, DtKind known = 0) : text(std::move(model_text)), kind(known) {
    codes.resize(text.size() + 1);
    status = ZVRTGetFormatCodes(text.c_str(), codes.data(), &kind);
  }
  std::int32_t length() const { return static_cast<std::int32_t>(text.size()); }

  std::wstring text;
  DtKind kind;
  std::uint32_t status;
  std::vector<FmtCode> codes;
};

// The field descriptor of a column that carries the model.
class Field {
 public:
  explicit Field(const Model& model) { set(model.codes.data(), model.length()); }
  Field(const FmtCode* codes, std::int32_t model_length) { set(codes, model_length); }
  Field(const Field&) = delete;
  Field& operator=(const Field&) = delete;

  FldDef* operator&() { return &field_; }

 private:
  void set(const FmtCode* codes, std::int32_t model_length) {
    format_.model = codes;
    format_.modelLen = model_length;
    field_.dtFormat = &format_;
  }
  DtFormatDesc format_{};
  FldDef field_{};
};

inline const wchar_t* const month_names[] = {L"January",   L"February", L"March",    L"April",
                                             L"May",       L"June",     L"July",     L"August",
                                             L"September", L"October",  L"November", L"December"};

inline const wchar_t* const element_letters[] = {L"YYYY", L"YY",   L"MONTH", L"MMM", L"MM", L"M",      L"DD",
                                                 L"D",    L"HH24", L"HH",    L"MI",  L"SS", L"FFFFFF", L"FFFFF",
                                                 L"FFFF", L"FFF",  L"FF",    L"F",   L"PM"};

// What the generators below choose by: `below` and `of`, as a fuzzer's input has them too.
class Random {
 public:
  explicit Random(std::uint32_t seed) : engine_(seed) {}
  std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(engine_() % limit); }
  bool one_in(std::uint32_t count) { return below(count) == 0; }
  template <class T, std::size_t count>
  const T& of(const T (&choices)[count]) {
    return choices[below(count)];
  }

 private:
  std::mt19937 engine_;
};

// Literals come from an alphabet small enough for runs of them to be found in the wrong place.
template <class Choices>
std::wstring any_model(Choices& choices, std::uint32_t max_parts) {
  constexpr wchar_t literals[] = {L'-', L'/', L':', L' ', L'.', L'1', L'a', L'A', L'\u00E9'};
  std::wstring text;
  for (std::uint32_t parts = choices.below(max_parts + 1); parts > 0; --parts) {
    if (choices.below(2) == 0) {
      text += L'%';
      text += choices.of(element_letters);
      if (choices.below(4) == 0) text += L'-';
    } else {
      text += choices.of(literals);
    }
  }
  return text;
}

// Entries that no text produces, as a descriptor from outside may hold them.
template <class Choices>
void disturb(Choices& choices, std::vector<FmtCode>& codes) {
  constexpr std::uint32_t hostile[] = {FMT_SKIP, 22, 0xFFFFFFFF, FMT_LITERAL, FMT_PM, FMT_HH24};
  constexpr std::uint32_t literals[] = {0, 'x', 0x80000030, 0xFFFFFFFF};
  constexpr std::uint32_t widths[] = {0, 1, 3, 5, 9, 40};
  for (FmtCode& entry : codes) {
    if (entry.code == FMT_END) break;
    const std::uint32_t change = choices.below(9);
    if (change == 1) entry.code = choices.of(hostile);
    if (change == 2) entry.literal = choices.of(literals);
    if (change == 3) entry.len = choices.of(widths);
  }
}

template <class Choices>
ZVRTTS valid_timestamp(Choices& choices) {
  const auto between = [&choices](int low, int high) {
    return low + static_cast<int>(choices.below(static_cast<std::uint32_t>(high - low + 1)));
  };
  const int year = between(1, 9999), month = between(1, 12), day = between(1, 28);
  const int hour = between(0, 23), minute = between(0, 59), second = between(0, 59);
  const std::uint32_t thousands = choices.below(2) == 0 ? 0 : choices.below(1000);
  return timestamp(year, month, day, hour, minute, second, thousands * 1000 + choices.below(1000));
}

// Any field may hold anything.
template <class Choices>
ZVRTTS any_timestamp(Choices& choices) {
  ZVRTTS ts = valid_timestamp(choices);
  constexpr int extremes[] = {0, 1, -1, 12, 13, 100, 9999, 10000, 32767, -32768, 65535};
  for (int i = 0; i < 3; ++i) {
    const int value = choices.of(extremes);
    std::uint16_t* const fields[] = {&ts.month, &ts.day, &ts.hour, &ts.minute, &ts.second};
    switch (const std::uint32_t field = choices.below(7)) {
      case 5: ts.year = static_cast<std::int16_t>(value); break;
      case 6: ts.fraction = choices.below(2) == 0 ? 0x80000000U : 0U - choices.below(65536); break;
      default: *fields[field] = static_cast<std::uint16_t>(value);
    }
  }
  return ts;
}

}  // namespace zvrt_test
