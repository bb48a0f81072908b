// Plans as single calls: slot, length and status of every row are those of the function called value by value.
#include <gtest/gtest.h>

#include <random>

#include "columns/one_value.h"

using namespace columns_test;

namespace {

struct Case {
  ZVRTType from;
  ZVRTType to;
  ZVRTConversion* function;
  std::int32_t length_unit;
};

class SingleCall : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_EQ(ZVRTInitDataConversion(), ZVRT_RC_OK); }
  static void TearDownTestSuite() { ZVRTTermDataConversion(); }
};

constexpr std::int32_t source_bytes = 24;

// Prefixes and terminators within the slot, text of few letters, digits and signs of packed fields.
std::string hostile_slot(std::mt19937& random, const ZVRTType& type) {
  constexpr std::string_view letters("\0 a1\x0C\x1C\x40\xC3\xA9\xFF-", 11);
  std::string slot(source_bytes, '\0');
  const bool is_wide = type.kind >= ZVRT_KIND_WCHAR && type.kind <= ZVRT_KIND_WVARCHAR_SZ;
  for (std::size_t i = 0; i < slot.size(); i += is_wide ? 4 : 1) slot[i] = letters[random() % letters.size()];
  if (type.kind == ZVRT_KIND_VARCHAR || type.kind == ZVRT_KIND_WVARCHAR) {
    slot.insert(0, 2, '\0');
    slot[0] = static_cast<char>(is_wide ? random() % 6 * 4 : random() % 23);
    slot.resize(source_bytes);
  }
  if (type.kind == ZVRT_KIND_VARCHAR_SZ) slot.back() = '\0';
  return slot;
}

TEST_F(SingleCall, EqualsTheFunction) {
  const auto text = [](std::uint32_t kind) { return type(kind, source_bytes); };
  const auto room = [](std::uint32_t kind, std::int32_t length) { return type(kind, length); };
  const Case cases[] = {
      {text(ZVRT_KIND_CHAR), room(ZVRT_KIND_WVARCHAR_SZ, 60), ZVRTCnvCharToWVarcharSz, 1},
      {with_page(text(ZVRT_KIND_CHAR), 37), room(ZVRT_KIND_WVARCHAR_SZ, 96), ZVRTCnvCharToWVarcharSz, 1},
      {text(ZVRT_KIND_CHAR), room(ZVRT_KIND_VARCHAR_SZ, 24), ZVRTCnvCharToVarcharSz, 1},
      {text(ZVRT_KIND_VARCHAR), room(ZVRT_KIND_WVARCHAR_SZ, 40), ZVRTCnvVarcharToWVarcharSz, 0},
      {text(ZVRT_KIND_VARCHAR_SZ), room(ZVRT_KIND_WVARCHAR, 42), ZVRTCnvVarcharSzToWVarchar, 0},
      {text(ZVRT_KIND_WCHAR), room(ZVRT_KIND_VARCHAR_SZ, 8), ZVRTCnvWCharToVarcharSz, 1},
      {text(ZVRT_KIND_WVARCHAR_SZ), with_page(room(ZVRT_KIND_VARCHAR, 8), 37), ZVRTCnvWVarcharSzToVarchar, 0},
      {type(ZVRT_KIND_PACKED, 5), room(ZVRT_KIND_WVARCHAR_SZ, 36), ZVRTCnvDecPackedToWVarcharSz, 1},
  };
  std::mt19937 random(1);
  for (const Case& each : cases) {
    Plan plan;
    ASSERT_EQ(make(each.from, each.to, ZVRT_PLAN_AS_SINGLE_CALL, plan), ZVRT_RC_OK);
    FldDef field{};
    field.codePage = each.from.codePage != 0 ? each.from.codePage : each.to.codePage;
    std::int64_t empty = 0;
    for (int turn = 0; turn < 3000; ++turn) {
      std::string source = hostile_slot(random, each.from);
      if (each.from.kind == ZVRT_KIND_WVARCHAR_SZ) source.replace(source.size() - 4, 4, 4, '\0');
      const auto bytes = static_cast<std::int32_t>(each.from.length);
      std::string expected(static_cast<std::size_t>(each.to.length), untouched);
      std::string slot = expected;
      std::int32_t length = each.length_unit == 0 ? 0 : bytes;
      std::uint32_t told = 77;
      const std::uint32_t status =
          each.function(source.data(), &length, expected.data(), each.to.length, &told, &field);
      std::int64_t result = 77;
      std::uint32_t given = 0;
      ZVRTArray from{};
      from.size = sizeof from;
      from.data = source.data();
      ZVRTArray to{};
      to.size = sizeof to;
      to.data = slot.data();
      to.lengths = &result;
      to.lengthBytes = sizeof result;
      to.status = &given;
      ZVRTOutcome outcome{};
      outcome.size = sizeof outcome;
      ASSERT_EQ(ZVRTPlanRun(plan.get(), &from, &to, 1, &outcome), ZVRT_RC_OK);
      ASSERT_EQ(given, status) << hexadecimal(source);
      ASSERT_EQ(slot, expected) << hexadecimal(source);
      ASSERT_EQ(result, told) << hexadecimal(source);
      empty += outcome.empty;
      ASSERT_EQ(outcome.refused, status == 0 || status == ZVRT_RC_EMPTY_RESULT ? 0 : 1);
    }
    EXPECT_EQ(empty > 0, each.from.kind == ZVRT_KIND_PACKED);
  }
}

TEST_F(SingleCall, Timestamps) {
  Plan plan;
  const ZVRTType text = with_model(type(ZVRT_KIND_VARCHAR_SZ, 32), L"%YYYY-%MM-%DD %HH24:%MI:%SS.%FFFFFF");
  ASSERT_EQ(make(text, type(ZVRT_KIND_TIMESTAMP, 24), ZVRT_PLAN_AS_SINGLE_CALL, plan), ZVRT_RC_OK);
  const std::string value("2024-02-03 04:05:06.7\0", 22);
  EXPECT_EQ(convert(plan.get(), value, 24).status, 0U);
  EXPECT_EQ(hexadecimal(convert(plan.get(), value, 24).slot), "E8070200030004000500060060AE0A000000000000000000");
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
