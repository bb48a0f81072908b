// Plans as single calls: slot, length and status of every row are those of the function called value by value.
#include <gtest/gtest.h>

#include <algorithm>
#include <cwchar>
#include <random>

#include "columns/one_value.h"
#include "support/byte_order.h"

using namespace columns_test;

namespace {

// A function of the table, and how it counts a given length: 0 where it is not given.
struct Row {
  std::uint32_t from;
  std::uint32_t to;
  ZVRTConversion* function;
  std::int32_t length_unit;
};

// clang-format off
const Row rows[] = {
  {ZVRT_KIND_CHAR,        ZVRT_KIND_VARCHAR_SZ,  ZVRTCnvCharToVarcharSz,         1},
  {ZVRT_KIND_CHAR,        ZVRT_KIND_WVARCHAR_SZ, ZVRTCnvCharToWVarcharSz,        1},
  {ZVRT_KIND_WCHAR,       ZVRT_KIND_VARCHAR_SZ,  ZVRTCnvWCharToVarcharSz,        1},
  {ZVRT_KIND_WCHAR,       ZVRT_KIND_WVARCHAR_SZ, ZVRTCnvWCharToWVarcharSz,       1},
  {ZVRT_KIND_VARCHAR,     ZVRT_KIND_VARCHAR_SZ,  ZVRTCnvVarcharToVarcharSz,      0},
  {ZVRT_KIND_VARCHAR,     ZVRT_KIND_WVARCHAR_SZ, ZVRTCnvVarcharToWVarcharSz,     0},
  {ZVRT_KIND_WVARCHAR,    ZVRT_KIND_VARCHAR_SZ,  ZVRTCnvWVarcharToVarcharSz,     0},
  {ZVRT_KIND_WVARCHAR,    ZVRT_KIND_WVARCHAR_SZ, ZVRTCnvWVarcharToWVarcharSz,    0},
  {ZVRT_KIND_VARCHAR_SZ,  ZVRT_KIND_VARCHAR_SZ,  ZVRTCnvVarcharSzToVarcharSz,    0},
  {ZVRT_KIND_VARCHAR_SZ,  ZVRT_KIND_WVARCHAR_SZ, ZVRTCnvVarcharSzToWVarcharSz,   0},
  {ZVRT_KIND_VARCHAR_SZ,  ZVRT_KIND_CHAR,        ZVRTCnvVarcharSzToChar,         0},
  {ZVRT_KIND_VARCHAR_SZ,  ZVRT_KIND_WCHAR,       ZVRTCnvVarcharSzToWChar,        0},
  {ZVRT_KIND_VARCHAR_SZ,  ZVRT_KIND_VARCHAR,     ZVRTCnvVarcharSzToVarchar,      0},
  {ZVRT_KIND_VARCHAR_SZ,  ZVRT_KIND_WVARCHAR,    ZVRTCnvVarcharSzToWVarchar,     0},
  {ZVRT_KIND_WVARCHAR_SZ, ZVRT_KIND_VARCHAR_SZ,  ZVRTCnvWVarcharSzToVarcharSz,   0},
  {ZVRT_KIND_WVARCHAR_SZ, ZVRT_KIND_WVARCHAR_SZ, ZVRTCnvWVarcharSzToWVarcharSz,  0},
  {ZVRT_KIND_WVARCHAR_SZ, ZVRT_KIND_CHAR,        ZVRTCnvWVarcharSzToChar,        0},
  {ZVRT_KIND_WVARCHAR_SZ, ZVRT_KIND_WCHAR,       ZVRTCnvWVarcharSzToWChar,       0},
  {ZVRT_KIND_WVARCHAR_SZ, ZVRT_KIND_VARCHAR,     ZVRTCnvWVarcharSzToVarchar,     0},
  {ZVRT_KIND_WVARCHAR_SZ, ZVRT_KIND_WVARCHAR,    ZVRTCnvWVarcharSzToWVarchar,    0},
  {ZVRT_KIND_PACKED,      ZVRT_KIND_WVARCHAR_SZ, ZVRTCnvDecPackedToWVarcharSz,   1},
  {ZVRT_KIND_TIMESTAMP,   ZVRT_KIND_WVARCHAR_SZ, ZVRTCnvZVRTTSToWVarcharSz,      0},
  {ZVRT_KIND_TIMESTAMP,   ZVRT_KIND_VARCHAR_SZ,  ZVRTCnvZVRTTSToVarcharSz,       0},
  {ZVRT_KIND_CHAR,        ZVRT_KIND_TIMESTAMP,   ZVRTCnvDateTimeCharToZVRTTS,    1},
  {ZVRT_KIND_VARCHAR,     ZVRT_KIND_TIMESTAMP,   ZVRTCnvDateTimeVarcharToZVRTTS, 0},
  {ZVRT_KIND_VARCHAR_SZ,  ZVRT_KIND_TIMESTAMP,   ZVRTCnvDateTimeSzToZVRTTS,      0},
  {ZVRT_KIND_WCHAR,       ZVRT_KIND_TIMESTAMP,   ZVRTCnvDateTimeWcharToZVRTTS,   4},
  {ZVRT_KIND_WVARCHAR_SZ, ZVRT_KIND_TIMESTAMP,   ZVRTCnvDateTimeWSzToZVRTTS,     0},
};
// clang-format on

class SingleCall : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_EQ(ZVRTInitDataConversion(), ZVRT_RC_OK); }
  static void TearDownTestSuite() { ZVRTTermDataConversion(); }
};

bool is_wide(std::uint32_t kind) { return kind >= ZVRT_KIND_WCHAR && kind <= ZVRT_KIND_WVARCHAR_SZ; }
bool is_terminated(std::uint32_t kind) { return kind == ZVRT_KIND_VARCHAR_SZ || kind == ZVRT_KIND_WVARCHAR_SZ; }
bool is_prefixed(std::uint32_t kind) { return kind == ZVRT_KIND_VARCHAR || kind == ZVRT_KIND_WVARCHAR; }

constexpr std::size_t source_bytes = 108, rows_at_once = 7;

// Characters of a text, in bytes or wide, between a prefix and a terminator.
std::string store_text(std::uint32_t kind, std::string_view text) {
  const std::size_t unit = is_wide(kind) ? 4 : 1, before = is_prefixed(kind) ? 2 : 0;
  std::string slot(before, '\0');
  for (const char c : text) slot += zvrt_test::integer_bytes(static_cast<unsigned char>(c), unit);
  const auto bytes = static_cast<std::uint16_t>(slot.size() - before);
  if (before > 0) std::memcpy(slot.data(), &bytes, 2);
  slot.resize(source_bytes, '\0');
  return slot;
}

// Texts of few letters, digits and signs of packed fields; dates, now and then with another character in them.
std::string hostile_slot(std::mt19937& random, const ZVRTType& type, bool is_date) {
  constexpr std::string_view letters("\0 a1\x0C\x1C\x40\xC3\xA9\xFF-", 11);
  if (type.kind == ZVRT_KIND_TIMESTAMP) {
    const ZVRTTS record = {static_cast<std::int16_t>(random() % 3000),       static_cast<std::uint16_t>(random() % 14),
                           static_cast<std::uint16_t>(random() % 33),        static_cast<std::uint16_t>(random() % 25),
                           static_cast<std::uint16_t>(random() % 61),        static_cast<std::uint16_t>(random() % 61),
                           static_cast<std::uint32_t>(random() % 1'000'000), {}};
    return {reinterpret_cast<const char*>(&record), sizeof record};
  }
  std::string text;
  for (std::size_t count = random() % 25; count > 0; --count) text += letters[random() % letters.size()];
  if (type.kind == ZVRT_KIND_PACKED) return text.append(8, '\x1C').substr(0, 5);
  if (is_date && random() % 8 != 0) {
    text = "2024-0" + std::to_string(random() % 10) + "-1" + std::to_string(random() % 10) + " 12:3" +
           std::to_string(random() % 10) + ":56.123456";
    if (random() % 3 == 0) text[random() % text.size()] = letters[1 + random() % (letters.size() - 1)];
    if (random() % 6 == 0) text.resize(random() % text.size());
  }
  return store_text(type.kind, text);
}

// One function beside its plan: a page, a target's size, hostile values in rows with a stride of their own.
class Comparison {
 public:
  Comparison(const Row& row, std::uint32_t page, std::int32_t target_bytes, std::mt19937& random)
      : row_(row), random_(random) {
    const bool is_record = row.from == ZVRT_KIND_TIMESTAMP;
    is_date_ = is_record || row.to == ZVRT_KIND_TIMESTAMP;
    from_ = type(row.from, row.from == ZVRT_KIND_PACKED ? 5 : is_record ? 24 : static_cast<int>(source_bytes));
    to_ = type(row.to, row.to == ZVRT_KIND_TIMESTAMP ? 24 : target_bytes);
    if (!is_wide(row.from)) from_.codePage = page;
    if (is_wide(row.from) || is_record || row.from == ZVRT_KIND_PACKED) to_.codePage = page;
    // Two narrow texts are one page's.
    if (!is_wide(row.from) && !is_wide(row.to)) to_.codePage = page;
    field_.codePage = page;
    if (!is_date_) return;
    constexpr const wchar_t* model = L"%YYYY-%MM-%DD %HH24:%MI:%SS.%FFFFFF";
    (is_record ? to_ : from_).model = model;
    DtKind kind = 0;
    codes_.resize(std::wcslen(model) + 1);
    EXPECT_EQ(ZVRTGetFormatCodes(model, codes_.data(), &kind), ZVRT_RC_OK);
    format_.model = codes_.data();
    format_.modelLen = static_cast<std::int32_t>(std::wcslen(model));
    field_.dtFormat = &format_;
  }

  void run() {
    Plan plan;
    ASSERT_EQ(make(from_, to_, ZVRT_PLAN_AS_SINGLE_CALL, plan), ZVRT_RC_OK);
    call_functions();
    const std::size_t stride = slot_bytes() + 3;
    std::string slots(rows_at_once * stride, untouched);
    std::int64_t results[rows_at_once];
    std::fill_n(results, rows_at_once, 77);
    std::uint32_t statuses[rows_at_once] = {};
    ZVRTArray from{}, to{};
    from.size = to.size = sizeof from;
    from.data = source_.data();
    from.stride = static_cast<std::int64_t>(source_.size() / rows_at_once);
    from.lengths = lengths_;
    from.lengthBytes = sizeof lengths_[0];
    to.data = slots.data();
    to.stride = static_cast<std::int64_t>(stride);
    to.lengths = results;
    to.lengthBytes = sizeof results[0];
    to.status = statuses;
    ZVRTOutcome outcome{};
    outcome.size = sizeof outcome;
    ASSERT_EQ(ZVRTPlanRun(plan.get(), &from, &to, rows_at_once, &outcome), ZVRT_RC_OK);
    std::int64_t empty = 0, refused = 0;
    for (std::size_t i = 0; i < rows_at_once; ++i) {
      ASSERT_EQ(statuses[i], expected_[i].status) << tell(i);
      ASSERT_EQ(slots.substr(i * stride, stride), expected_[i].slot + std::string(3, untouched)) << tell(i);
      ASSERT_EQ(results[i], expected_[i].length) << tell(i);
      empty += statuses[i] == ZVRT_RC_EMPTY_RESULT ? 1 : 0;
      refused += statuses[i] != ZVRT_RC_EMPTY_RESULT && statuses[i] != ZVRT_RC_OK ? 1 : 0;
    }
    ASSERT_EQ(outcome.empty, empty);
    ASSERT_EQ(outcome.refused, refused);
  }

 private:
  std::size_t slot_bytes() const { return static_cast<std::size_t>(to_.length); }

  // 77 is a length that nobody wrote.
  void call_functions() {
    for (std::size_t i = 0; i < rows_at_once; ++i) {
      const std::string slot = hostile_slot(random_, from_, is_date_);
      source_ += slot;
      auto bytes = static_cast<std::int32_t>(slot.size());
      const std::int32_t unit = is_wide(from_.kind) ? 4 : 1;
      if (row_.length_unit != 0 && from_.kind != ZVRT_KIND_PACKED) {
        bytes = static_cast<std::int32_t>(random_() % 26) * unit;
      }
      if (is_terminated(from_.kind)) bytes = ZVRT_TERMINATED;
      lengths_[i] = bytes;
      std::int32_t length = row_.length_unit == 0 ? 0 : bytes / row_.length_unit;
      std::uint32_t told = 77;
      Expected expected{0, 77, std::string(slot_bytes(), untouched)};
      expected.status = row_.function(slot.data(), &length, expected.slot.data(),
                                      static_cast<std::int32_t>(slot_bytes()), &told, &field_);
      expected.length = told;
      expected_.push_back(expected);
    }
  }

  std::string tell(std::size_t i) const {
    const std::size_t size = source_.size() / rows_at_once;
    return std::to_string(row_.from) + " to " + std::to_string(row_.to) + ", page " + std::to_string(field_.codePage) +
           ", " + std::to_string(to_.length) + " bytes: " + hexadecimal(source_.substr(i * size, size));
  }

  struct Expected {
    std::uint32_t status;
    std::int64_t length;
    std::string slot;
  };

  const Row& row_;
  std::mt19937& random_;
  ZVRTType from_{}, to_{};
  bool is_date_ = false;
  FldDef field_{};
  DtFormatDesc format_{};
  std::vector<FmtCode> codes_;
  std::string source_;
  std::int64_t lengths_[rows_at_once] = {};
  std::vector<Expected> expected_;
};

TEST_F(SingleCall, EqualsTheFunction) {
  std::mt19937 random(1);
  for (const Row& row : rows) {
    for (const std::uint32_t page : {0U, 37U, 1208U, 932U}) {
      for (const std::int32_t target : {4, 8, 24, 40, 108, 120}) {
        // A prefix stands before whole wide characters.
        const std::int32_t bytes = target + (row.to == ZVRT_KIND_WVARCHAR ? 2 : 0);
        for (int turn = 0; turn < 25; ++turn) {
          Comparison(row, page, bytes, random).run();
          if (HasFatalFailure()) return;
        }
      }
    }
  }
}

TEST_F(SingleCall, Timestamps) {
  Plan plan;
  const ZVRTType text = with_model(type(ZVRT_KIND_VARCHAR_SZ, 32), L"%YYYY-%MM-%DD %HH24:%MI:%SS.%FFFFFF");
  ASSERT_EQ(make(text, type(ZVRT_KIND_TIMESTAMP, 24), ZVRT_PLAN_AS_SINGLE_CALL, plan), ZVRT_RC_OK);
  const std::string value("2024-02-03 04:05:06.7\0", 22);
  EXPECT_EQ(convert(plan.get(), value, 24).status, 0U);
  EXPECT_EQ(hexadecimal(convert(plan.get(), value, 24).slot),
            hexadecimal(bytes("=07E8 =0002 =0003 =0004 =0005 =0006 =000AAE60 0000000000000000")));
  EXPECT_EQ(convert(plan.get(), std::string("   \0", 4), 24).status, ZVRT_RC_BLANK_TEXT);
}

TEST_F(SingleCall, OtherPairsAndOptionsAreRefused) {
  Plan plan;
  const ZVRTType text = type(ZVRT_KIND_CHAR, 8);
  const ZVRTType wide = type(ZVRT_KIND_WVARCHAR_SZ, 40);
  const std::uint32_t as_single_call = ZVRT_PLAN_AS_SINGLE_CALL;
  EXPECT_EQ(make(text, text, as_single_call, plan), ZVRT_RC_INVALID_PAIR);
  EXPECT_EQ(make(text, wide, as_single_call | ZVRT_PLAN_CUT_TEXT, plan), ZVRT_RC_INVALID_PAIR);
  EXPECT_EQ(make(type(ZVRT_KIND_CHAR, 8, ZVRT_TYPE_TRIM), wide, as_single_call, plan), ZVRT_RC_INVALID_PAIR);
  EXPECT_EQ(make(type(ZVRT_KIND_PACKED, 4, 0, 0, 2), wide, as_single_call, plan), ZVRT_RC_INVALID_PAIR);
  ASSERT_EQ(make(type(ZVRT_KIND_VARCHAR_SZ, 4), wide, as_single_call, plan), ZVRT_RC_OK);
  EXPECT_EQ(convert(plan.get(), "abcd", 40).status, ZVRT_RC_NOT_TERMINATED);
}

}  // namespace
