// The formatter as its rules tell it: what stands where in the destination, as a map from positions.
#pragma once

#include <cwchar>
#include <map>
#include <string>

#include "datetime/models.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {

struct Outcome {
  std::uint32_t status;
  std::map<std::size_t, wchar_t> placed;  // by position; what is not in here is untouched
  std::uint32_t length = 0;
};

// What an element prints: its text, how wide it is at least, and the group it completes.
struct Printed {
  std::wstring text;
  std::size_t width;
  unsigned group;
  bool is_number = true;
};

inline std::wstring number(int least, int value) {
  wchar_t text[32];
  std::swprintf(text, 32, L"%.*d", least, value);
  return text;
}

inline Printed print(std::uint32_t code, const ZVRTTS& ts) {
  const std::wstring month = ts.month >= 1 && ts.month <= 12 ? month_names[ts.month - 1] : L"";
  const int twelve = ts.hour == 0 ? 12 : ts.hour > 12 ? ts.hour - 12 : ts.hour;
  switch (code) {
    case FMT_YYYY: return {number(4, ts.year), 4, 0x40};
    case FMT_YY: return {number(2, ts.year % 100), 2, 0x40};
    case FMT_MONTH: return {month, month.size(), 0x20, false};
    case FMT_MMM: return {month.substr(0, 3), 3, 0x20, false};
    case FMT_MM: return {number(2, ts.month), 2, 0x20};
    case FMT_M: return {number(1, ts.month), 2, 0x20};
    case FMT_DD: return {number(2, ts.day), 2, 0x10};
    case FMT_D: return {number(1, ts.day), 2, 0x10};
    case FMT_HH24: return {number(2, ts.hour), 2, 0x08};
    case FMT_HH: return {number(2, twelve), 2, 0x08};
    case FMT_MI: return {number(2, ts.minute), 2, 0x04};
    case FMT_SS: return {number(2, ts.second), 2, 0x02};
    default: {
      const int digits = static_cast<int>(FMT_F - code) + 1;
      return {number(digits, static_cast<int>(ts.fraction)), static_cast<std::size_t>(digits), 0x01};
    }
  }
}

class FormatterModel {
 public:
  FormatterModel(const ZVRTTS& ts, DtKind kind, std::size_t capacity) : ts_(ts), room_(capacity) {
    awaited_ = expected_ = kind == ZVRT_DT_DATE ? 0x70 : kind == ZVRT_DT_TIME ? 0x8E : 0xFF;
  }

  Outcome run(const FmtCode* entry) {
    if (room_ == 0) return {ZVRT_RC_TRUNCATED, {}};
    for (; entry->code != FMT_END && awaited_ != 0; ++entry) {
      const std::uint32_t status = step(*entry);
      if (status != ZVRT_RC_OK) return {status, placed_};
    }
    placed_[at_] = 0;
    if (reserved_ != none) mark(half_);
    return {ZVRT_RC_OK, placed_, static_cast<std::uint32_t>(at_)};
  }

 private:
  static constexpr std::size_t none = SIZE_MAX;

  std::uint32_t step(const FmtCode& entry) {
    if (entry.code == FMT_LITERAL || entry.code >= FMT_SKIP) return put({static_cast<wchar_t>(entry.literal)});
    if (entry.code == FMT_PM) return (expected_ & 0x80) != 0 ? reserve() : ZVRT_RC_OK;
    const Printed printed = print(entry.code, ts_);
    if ((expected_ & printed.group) == 0) return ZVRT_RC_OK;
    if (printed.text.empty()) return ZVRT_RC_ERROR;
    if (room_ - at_ < printed.width) return ZVRT_RC_TRUNCATED;
    if (printed.is_number && room_ - at_ <= printed.text.size()) return ZVRT_RC_ERROR;
    if (entry.code == FMT_HH24) lose();
    if (entry.code == FMT_HH) half_ = ts_.hour < 12 ? L"AM" : L"PM";
    awaited_ &= ~printed.group;
    return put(printed.text);
  }
  std::uint32_t put(const std::wstring& text) {
    for (const wchar_t character : text) placed_[at_++] = character;
    return at_ < room_ ? ZVRT_RC_OK : ZVRT_RC_TRUNCATED;
  }
  std::uint32_t reserve() {
    if (room_ - at_ <= 2) return ZVRT_RC_TRUNCATED;
    lose();
    reserved_ = at_;
    at_ += 2;
    awaited_ &= ~0x80U;
    return ZVRT_RC_OK;
  }
  void lose() {
    if (reserved_ != none) mark(L"  ");
    reserved_ = none;
  }
  void mark(const std::wstring& text) {
    placed_[reserved_] = text[0];
    placed_[reserved_ + 1] = text[1];
  }

  const ZVRTTS ts_;
  std::size_t room_, at_ = 0, reserved_ = none;
  unsigned expected_, awaited_;
  std::wstring half_ = L"  ";
  std::map<std::size_t, wchar_t> placed_;
};

inline void compare(const std::vector<FmtCode>& codes, const ZVRTTS& ts, DtKind kind, std::size_t capacity) {
  GuardedBuffer buffer(capacity * sizeof(wchar_t));
  std::uint32_t length = 4711;
  const std::uint32_t status =
      ZVRTTSToWVarcharSz(buffer.as<wchar_t>(), static_cast<std::int32_t>(capacity), codes.data(), &ts, kind, &length);
  const Outcome expected = FormatterModel(ts, kind, capacity).run(codes.data());
  ASSERT_EQ(expected.status, status);
  ASSERT_EQ(status == ZVRT_RC_OK ? expected.length : 4711U, length);
  GuardedBuffer wanted(capacity * sizeof(wchar_t));
  for (const auto& [position, character] : expected.placed) wanted.as<wchar_t>()[position] = character;
  ASSERT_EQ(wanted.bytes(), buffer.bytes());
  ASSERT_TRUE(buffer.untouched_from(buffer.size()));
}

}  // namespace zvrt_test
