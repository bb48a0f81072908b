// The formatter against a plain model of it, byte for byte at every capacity, and against the C library's strftime.
#include <ctime>
#include <cwchar>
#include <map>

#include "datetime/models.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {
namespace {

const wchar_t* const months[] = {L"January", L"February", L"March",     L"April",   L"May",      L"June",
                                 L"July",    L"August",   L"September", L"October", L"November", L"December"};

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

std::wstring number(int least, int value) {
  wchar_t text[32];
  std::swprintf(text, 32, L"%.*d", least, value);
  return text;
}

Printed print(std::uint32_t code, const ZVRTTS& ts) {
  const std::wstring month = ts.month >= 1 && ts.month <= 12 ? months[ts.month - 1] : L"";
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

class Reference {
 public:
  Reference(const ZVRTTS& ts, DtKind kind, std::size_t room) : ts_(ts), room_(room) {
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

void compare(const std::vector<FmtCode>& codes, const ZVRTTS& ts, DtKind kind, std::size_t room) {
  GuardedBuffer buffer(room * sizeof(wchar_t));
  std::uint32_t length = 4711;
  const std::uint32_t status =
      ZVRTTSToWVarcharSz(buffer.as<wchar_t>(), static_cast<std::int32_t>(room), codes.data(), &ts, kind, &length);
  const Outcome expected = Reference(ts, kind, room).run(codes.data());
  ASSERT_EQ(expected.status, status);
  ASSERT_EQ(status == ZVRT_RC_OK ? expected.length : 4711U, length);
  GuardedBuffer wanted(room * sizeof(wchar_t));
  for (const auto& [position, character] : expected.placed) wanted.as<wchar_t>()[position] = character;
  ASSERT_EQ(wanted.bytes(), buffer.bytes());
  ASSERT_TRUE(buffer.untouched_from(buffer.size()));
}

TEST(Formatter, DoesAsItsPlainModelAtEveryCapacity) {
  Random random(2);
  for (int i = 0; i < 2500; ++i) {
    Model model(random.model_text(10));
    if (random.one_in(4)) {  // entries that no text produces
      FmtCode& entry = model.codes[random.below(static_cast<std::uint32_t>(model.codes.size()))];
      const std::uint32_t codes[] = {FMT_SKIP, 22, 255, 0xFFFFFFFF, FMT_PM, FMT_HH24};
      if (entry.code != FMT_END) entry.code = random.of(codes);
      entry.literal = random.one_in(4) ? 0xFFFFFFFF : 'x';
    }
    const ZVRTTS ts = random.one_in(2) ? random.any_timestamp() : random.valid_timestamp();
    for (DtKind kind = ZVRT_DT_DATE; kind <= ZVRT_DT_TIMESTAMP; ++kind) {
      const Outcome whole = Reference(ts, kind, 1000).run(model.codes.data());
      const std::size_t needed = whole.placed.empty() ? 0 : whole.placed.rbegin()->first + 1;
      for (std::size_t room = 0; room <= needed + 3; ++room) {
        ASSERT_NO_FATAL_FAILURE(compare(model.codes, ts, kind, room))
            << std::string(model.text.begin(), model.text.end()) << " kind " << kind << " room " << room << " "
            << testing::PrintToString(ts);
      }
    }
  }
}

TEST(Formatter, AgreesWithStrftimeOnEveryDay) {
  const Model model(L"%YYYY-%MM-%DD|%MONTH|%MMM|%HH24|%HH:%MI:%SS %PM|%YY|%M|%D|");
  for (std::int64_t day = -719162; day <= 2932896; ++day) {  // 0001-01-01 to 9999-12-31
    const time_t seconds = day * 86400 + (day * 7919 % 86400 + 86400) % 86400;
    tm fields{};
    gmtime_r(&seconds, &fields);
    const int year = fields.tm_year + 1900;
    char middle[64], expected[96];
    std::strftime(middle, sizeof middle, "-%m-%d|%B|%b|%H|%I:%M:%S %p|", &fields);
    std::snprintf(expected, sizeof expected, "%04d%s%02d|%d|%d|", year, middle, year % 100, fields.tm_mon + 1,
                  fields.tm_mday);
    const ZVRTTS ts = timestamp(year, fields.tm_mon + 1, fields.tm_mday, fields.tm_hour, fields.tm_min, fields.tm_sec);
    wchar_t text[96];
    std::uint32_t length = 0;
    ASSERT_EQ(ZVRT_RC_OK, ZVRTTSToWVarcharSz(text, 96, model.codes.data(), &ts, ZVRT_DT_TIMESTAMP, &length));
    ASSERT_EQ(expected, std::string(text, text + length));
  }
}

TEST(Formatter, WritesTheTextsPeopleExpect) {
  constexpr DtKind date = ZVRT_DT_DATE, time = ZVRT_DT_TIME, both = ZVRT_DT_TIMESTAMP;
  const struct {
    const wchar_t* model;
    DtKind kind;
    ZVRTTS ts;
    const wchar_t* text;
  } rows[] = {
      {L"%YYYY-%MM-%DD %HH24:%MI:%SS.%FFFFFF", both, timestamp(2024, 3, 5, 7, 8, 9, 1234),
       L"2024-03-05 07:08:09.001234"},
      {L"%YYYY-%MM-%DD %HH24:%MI:%SS.%FFFFFF", date, timestamp(2024, 3, 5), L"2024-03-05"},
      {L"%YYYY-%MM-%DD %HH24:%MI:%SS.%FFFFFF", time, timestamp(0, 0, 0, 7, 8, 9), L"-- 07:08:09."},
      {L"%HH:%MI:%SS %PM", time, timestamp(0, 0, 0, 0, 30), L"12:30:00 AM"},
      {L"%PM %HH", time, timestamp(0, 0, 0, 15), L"PM 03"},
      {L"%HH24:%MI %PM", time, timestamp(0, 0, 0, 13, 45), L"13:45   "},
      {L"%PM%HH24%PM", time, timestamp(0, 0, 0, 13, 45), L"  13  "},
      {L"%DD.%MM.%YYYY.", date, timestamp(2024, 3, 5), L"05.03.2024"},
      {L"%DD.%MM.%YYYY.", both, timestamp(2024, 3, 5), L"05.03.2024."},
      {L"%YY/%M/%D", date, timestamp(2007, 3, 5), L"07/3/5"},
      {L"%YYYY/%YY", date, timestamp(-5, 1, 1), L"-0005/-05"},
      {L"%FFF|%FFFFFF|%F", both, timestamp(1, 1, 1, 0, 0, 0, 45), L"045|000045|45"},
      {L"%FF", both, timestamp(1, 1, 1, 0, 0, 0, 0x80000000), L"-2147483648"},
      {L"%month %D, %yyyy", date, timestamp(2024, 9, 5), L"September 5, 2024"},
  };
  for (const auto& row : rows) {
    wchar_t text[64];
    std::uint32_t length = 0;
    EXPECT_EQ(ZVRT_RC_OK, ZVRTTSToWVarcharSz(text, 64, Model(row.model).codes.data(), &row.ts, row.kind, &length));
    EXPECT_EQ(std::wstring(row.text), text);
    EXPECT_EQ(std::wcslen(row.text), length);
  }
}

TEST(Formatter, RefusesWhatItHasNoTextFor) {
  const Model model(L"%MONTH");
  const ZVRTTS month_0 = timestamp(2024, 0, 1), month_13 = timestamp(2024, 13, 1), good = timestamp(2024, 12, 1);
  wchar_t text[16];
  std::uint32_t length = 4711;
  EXPECT_EQ(ZVRT_RC_ERROR, ZVRTTSToWVarcharSz(text, 16, model.codes.data(), &month_0, ZVRT_DT_DATE, &length));
  EXPECT_EQ(ZVRT_RC_ERROR, ZVRTTSToWVarcharSz(text, 16, model.codes.data(), &month_13, ZVRT_DT_DATE, &length));
  EXPECT_EQ(ZVRT_RC_ERROR, ZVRTTSToWVarcharSz(text, 16, nullptr, &good, ZVRT_DT_DATE, &length));
  EXPECT_EQ(ZVRT_RC_ERROR, ZVRTTSToWVarcharSz(text, 16, model.codes.data(), &good, ZVRT_DT_TIMESTAMP_YY, &length));
  EXPECT_EQ(ZVRT_RC_TRUNCATED, ZVRTTSToWVarcharSz(text, INT32_MIN, model.codes.data(), &good, ZVRT_DT_DATE, &length));
  EXPECT_EQ(4711U, length);
}

}  // namespace
}  // namespace zvrt_test
