// Where values stand and what a run says of them: strides, starts, lengths, indicators, statuses, selections, nulls; and
// structures of other sizes than the library's own.
#include <gtest/gtest.h>

#include <array>

#include "columns/one_value.h"

using namespace columns_test;

namespace {

ZVRTArray array(void* data, std::int64_t stride) {
  ZVRTArray places{};
  places.size = sizeof places;
  places.data = data;
  places.stride = stride;
  return places;
}

template <class Entry>
void set_lengths(ZVRTArray& places, Entry* entries) {
  places.lengths = entries;
  places.lengthBytes = sizeof(Entry);
}
template <class Entry>
void set_indicators(ZVRTArray& places, Entry* entries) {
  places.indicators = entries;
  places.indicatorBytes = sizeof(Entry);
}

ZVRTOutcome run(const ZVRTPlan* plan, const ZVRTArray& from, const ZVRTArray& to, std::int64_t count,
                std::uint32_t expected = ZVRT_RC_OK) {
  ZVRTOutcome outcome{};
  outcome.size = sizeof outcome;
  EXPECT_EQ(ZVRTPlanRun(plan, &from, &to, count, &outcome), expected);
  return outcome;
}

class Places : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_EQ(ZVRTInitDataConversion(), ZVRT_RC_OK); }
  static void TearDownTestSuite() { ZVRTTermDataConversion(); }
};

const ZVRTType text4 = type(ZVRT_KIND_CHAR, 4);
const ZVRTType int4 = type(ZVRT_KIND_INT, 4);

TEST_F(Places, StridesForwardsBackwardsAndByStarts) {
  Plan plan;
  ASSERT_EQ(make(text4, int4, 0, plan), 0U);
  std::string source = "0001x0002x0003x";
  std::array<std::int32_t, 3> target{};
  run(plan.get(), array(source.data(), 5), array(target.data(), 4), 3);
  EXPECT_EQ(target, (std::array<std::int32_t, 3>{1, 2, 3}));
  run(plan.get(), array(source.data(), 5), array(&target[2], -4), 3);
  EXPECT_EQ(target, (std::array<std::int32_t, 3>{3, 2, 1}));
  run(plan.get(), array(source.data(), 0), array(target.data(), 4), 3);
  EXPECT_EQ(target, (std::array<std::int32_t, 3>{1, 1, 1}));
  const std::int64_t starts[] = {10, 0, 5};
  ZVRTArray from = array(source.data(), 0);
  from.starts = starts;
  run(plan.get(), from, array(target.data(), 4), 3);
  EXPECT_EQ(target, (std::array<std::int32_t, 3>{3, 1, 2}));
}

TEST_F(Places, RowsThatAreNotSelectedAreLeftAlone) {
  Plan plan;
  ASSERT_EQ(make(text4, int4, 0, plan), 0U);
  std::string source = "0001----0003";
  const std::uint8_t select[] = {1, 0, 1};
  std::array<std::int32_t, 3> target{7, 7, 7};
  std::array<std::uint32_t, 3> status{9, 9, 9};
  ZVRTArray from = array(source.data(), 4);
  from.select = select;
  ZVRTArray to = array(target.data(), 4);
  to.status = status.data();
  const ZVRTOutcome outcome = run(plan.get(), from, to, 3);
  EXPECT_EQ(target, (std::array<std::int32_t, 3>{1, 7, 3}));
  EXPECT_EQ(status, (std::array<std::uint32_t, 3>{0, 9, 0}));
  EXPECT_EQ(outcome.done, 3);
  EXPECT_EQ(outcome.refused, 0);
}

TEST_F(Places, ARefusedValueLeavesItsPlacesAlone) {
  Plan plan;
  ASSERT_EQ(make(text4, int4, 0, plan), 0U);
  std::string source = "0001abcd0003";
  std::array<std::int32_t, 3> target{7, 7, 7};
  std::array<std::int16_t, 3> lengths{9, 9, 9};
  std::array<std::uint32_t, 3> status{9, 9, 9};
  ZVRTArray to = array(target.data(), 4);
  to.status = status.data();
  set_lengths(to, lengths.data());
  const ZVRTOutcome outcome = run(plan.get(), array(source.data(), 4), to, 3);
  EXPECT_EQ(target, (std::array<std::int32_t, 3>{1, 7, 3}));
  EXPECT_EQ(lengths, (std::array<std::int16_t, 3>{4, 9, 4}));
  EXPECT_EQ(status, (std::array<std::uint32_t, 3>{0, ZVRT_RC_INVALID_NUMBER, 0}));
  EXPECT_EQ(outcome.refused, 1);
  EXPECT_EQ(outcome.firstRefused, 1);
  EXPECT_EQ(outcome.firstStatus, ZVRT_RC_INVALID_NUMBER);
}

TEST_F(Places, LengthsAndIndicators) {
  Plan plan;
  ASSERT_EQ(make(type(ZVRT_KIND_CHAR, 8), type(ZVRT_KIND_CHAR, 4), 0, plan), 0U);
  std::string source(
      "abcdefgh"
      "ab\0-----"
      "--------"
      "abcdefgh"
      "--------",
      40);
  const std::array<std::int64_t, 5> given{3, ZVRT_TERMINATED, ZVRT_NULL_DATA, 6, -2};
  std::string target(20, untouched);
  std::array<std::int16_t, 5> indicators{9, 9, 9, 9, 9};
  std::array<std::int32_t, 5> lengths{9, 9, 9, 9, 9};
  std::array<std::uint32_t, 5> status{};
  ZVRTArray from = array(source.data(), 8);
  set_lengths(from, const_cast<std::int64_t*>(given.data()));
  ZVRTArray to = array(target.data(), 4);
  set_lengths(to, lengths.data());
  set_indicators(to, indicators.data());
  to.status = status.data();
  const ZVRTOutcome outcome = run(plan.get(), from, to, 5);
  EXPECT_EQ(target, "abc.ab..............");
  EXPECT_EQ(lengths, (std::array<std::int32_t, 5>{3, 2, 9, 6, 9}));
  EXPECT_EQ(indicators, (std::array<std::int16_t, 5>{0, 0, -1, 6, 9}));
  EXPECT_EQ(status, (std::array<std::uint32_t, 5>{0, 0, 0, ZVRT_RC_TRUNCATED, ZVRT_RC_INVALID_LENGTH}));
  EXPECT_EQ(outcome.nulls, 1);

  // One array for both: read and written as lengths, and -1.
  std::array<std::int64_t, 5> both{9, 9, 9, 9, 9};
  set_lengths(to, both.data());
  set_indicators(to, both.data());
  run(plan.get(), from, to, 5);
  EXPECT_EQ(both, (std::array<std::int64_t, 5>{3, 2, -1, 6, 9}));

  // Nothing shows a null.
  to.indicators = nullptr;
  to.indicatorBytes = 0;
  EXPECT_EQ(run(plan.get(), from, to, 3).refused, 1);
  EXPECT_EQ(status[2], ZVRT_RC_NULL_REFUSED);

  // Needed bytes beyond a short entry.
  std::string long_text(40000, 'x');
  std::int64_t long_length = 40000;
  ASSERT_EQ(make(type(ZVRT_KIND_CHAR, 40000), type(ZVRT_KIND_CHAR, 4), 0, plan), 0U);
  from = array(long_text.data(), 0);
  set_lengths(from, &long_length);
  to = array(target.data(), 4);
  set_indicators(to, indicators.data());
  run(plan.get(), from, to, 1);
  EXPECT_EQ(indicators[0], 32767);
}

TEST_F(Places, NullsInTheSlot) {
  struct Case {
    ZVRTType null_type;
    const char* slot;
  };
  const std::uint32_t blanks = ZVRT_TYPE_NULL_BLANKS, zeros = ZVRT_TYPE_NULL_ZEROS, low = ZVRT_TYPE_NULL_LOW,
                      high = ZVRT_TYPE_NULL_HIGH, big = ZVRT_TYPE_BIG_ENDIAN;
  const Case cases[] = {
      {with_page(type(ZVRT_KIND_CHAR, 3, blanks), 37), "404040"},
      {with_page(type(ZVRT_KIND_CHAR, 3, zeros), 37), "F0F0F0"},
      {type(ZVRT_KIND_CHAR, 3, blanks), "202020"},
      {type(ZVRT_KIND_CHAR, 3, low), "000000"},
      {type(ZVRT_KIND_CHAR, 3, high), "FFFFFF"},
      {type(ZVRT_KIND_UTF16, 4, blanks | big), "00200020"},
      {type(ZVRT_KIND_UTF16, 4, zeros), "=0030 =0030"},
      {type(ZVRT_KIND_WCHAR, 8, blanks), "=00000020 =00000020"},
      {type(ZVRT_KIND_PACKED, 3, blanks), "404040"},
      {with_page(type(ZVRT_KIND_PACKED, 3, blanks), 819), "202020"},
      {type(ZVRT_KIND_PACKED, 3, zeros), "00000C"},
      {type(ZVRT_KIND_PACKED, 3, zeros | ZVRT_TYPE_UNSIGNED), "00000F"},
      {type(ZVRT_KIND_PACKED, 3, high), "FFFFFF"},
      {type(ZVRT_KIND_ZONED, 3, blanks), "404040"},
      {type(ZVRT_KIND_ZONED, 3, blanks | ZVRT_TYPE_ASCII), "202020"},
      {type(ZVRT_KIND_ZONED, 3, zeros), "F0F0C0"},
      {type(ZVRT_KIND_ZONED, 4, zeros | ZVRT_TYPE_SIGN_LEADING | ZVRT_TYPE_SIGN_SEPARATE), "4EF0F0F0"},
      {type(ZVRT_KIND_INT, 4, low), "00000000"},
      {type(ZVRT_KIND_INT, 4, high), "FFFFFFFF"},
      {type(ZVRT_KIND_DATE, 6, low), "000000000000"},
      {type(ZVRT_KIND_BYTES, 2, high), "FFFF"},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.slot);
    const bool is_date = each.null_type.kind == ZVRT_KIND_DATE;
    const bool is_number = each.null_type.kind >= ZVRT_KIND_INT;
    const ZVRTType other = is_date                                  ? type(ZVRT_KIND_DAYS, 4)
                           : each.null_type.kind == ZVRT_KIND_BYTES ? type(ZVRT_KIND_BYTES, 8)
                           : is_number                              ? type(ZVRT_KIND_INT, 8)
                                                                    : type(ZVRT_KIND_CHAR, 8);
    // Read.
    Plan plan;
    ASSERT_EQ(make(each.null_type, other, 0, plan), 0U);
    std::string slot = bytes(each.slot);
    std::string target(8, untouched);
    std::int32_t indicator = 9;
    ZVRTArray to = array(target.data(), 8);
    set_indicators(to, &indicator);
    EXPECT_EQ(run(plan.get(), array(slot.data(), 0), to, 1).nulls, 1);
    EXPECT_EQ(indicator, -1);
    EXPECT_EQ(target, std::string(8, untouched));
    // Written.
    ASSERT_EQ(make(other, each.null_type, 0, plan), 0U);
    std::string written(slot.size(), untouched);
    ZVRTArray from = array(target.data(), 8);
    set_indicators(from, &indicator);
    EXPECT_EQ(run(plan.get(), from, array(written.data(), 0), 1).nulls, 1);
    EXPECT_EQ(hexadecimal(written), hexadecimal(slot));
  }
}

TEST_F(Places, OtherTerminatedTextOfAnyLengthAndCountedTextBoundByItsLengthAlone) {
  Plan plan;
  ASSERT_EQ(make(type(ZVRT_KIND_VARCHAR_SZ, 0), type(ZVRT_KIND_INT, 8), 0, plan), 0U);
  std::string terminated("12345\0", 6);
  std::int64_t number = 0;
  run(plan.get(), array(terminated.data(), 0), array(&number, 0), 1);
  EXPECT_EQ(number, 12345);
  ASSERT_EQ(make(type(ZVRT_KIND_CHAR, 0), type(ZVRT_KIND_INT, 8), 0, plan), 0U);
  ZVRTArray from = array(terminated.data(), 0);
  run(plan.get(), from, array(&number, 0), 1, ZVRT_RC_INVALID_TYPE);
  std::int32_t length = 3;
  set_lengths(from, &length);
  run(plan.get(), from, array(&number, 0), 1);
  EXPECT_EQ(number, 123);
}

TEST_F(Places, LongValuesLeaveTheStack) {
  Plan plan;
  const std::int32_t bytes = 100000;
  ASSERT_EQ(make(with_page(type(ZVRT_KIND_CHAR, bytes), 37), type(ZVRT_KIND_CHAR, 2 * bytes), 0, plan), 0U);
  std::string source(static_cast<std::size_t>(bytes), '\x51');
  std::string target(2 * source.size(), untouched);
  std::int64_t length = 0;
  ZVRTArray to = array(target.data(), 0);
  set_lengths(to, &length);
  EXPECT_EQ(run(plan.get(), array(source.data(), 0), to, 1).refused, 0);
  EXPECT_EQ(length, 2 * bytes);
  EXPECT_EQ(target.substr(0, 4), "\xC3\xA9\xC3\xA9");
  EXPECT_EQ(target.substr(target.size() - 2), "\xC3\xA9");
}

TEST_F(Places, ArraysThatDescribeNothingAreRefused) {
  Plan plan;
  ASSERT_EQ(make(text4, int4, 0, plan), 0U);
  std::string source = "0001";
  std::int32_t target[2] = {7, 7};
  const ZVRTArray from = array(source.data(), 0);
  ZVRTArray to = array(target, 4);
  run(plan.get(), from, to, -1, ZVRT_RC_INVALID_LENGTH);
  run(plan.get(), array(nullptr, 4), to, 1, ZVRT_RC_ERROR);
  run(plan.get(), from, array(target, 0), 2, ZVRT_RC_INVALID_TYPE);
  to.lengths = target;
  to.lengthBytes = 3;
  run(plan.get(), from, to, 1, ZVRT_RC_INVALID_TYPE);
  to = array(target, 4);
  to.reserved[0] = 1;
  run(plan.get(), from, to, 1, ZVRT_RC_INVALID_TYPE);
  EXPECT_EQ(ZVRTPlanRun(nullptr, &from, &to, 1, nullptr), ZVRT_RC_ERROR);
  EXPECT_EQ(run(plan.get(), array(nullptr, 0), array(nullptr, 0), 0).done, 0);
  EXPECT_EQ(target[0], 7);
}

// A structure with members that this library does not know yet.
template <class Structure>
struct Longer {
  Structure known;
  std::uint64_t unknown;
};

TEST_F(Places, StructuresOfOtherSizes) {
  ZVRTPlan* plan = nullptr;
  Longer<ZVRTType> longer{int4, 0};
  longer.known.size = sizeof longer;
  EXPECT_EQ(ZVRTPlanCreate(&longer.known, &text4, 0, &plan, nullptr), ZVRT_RC_OK);
  ZVRTPlanDestroy(plan);
  longer.unknown = 1;
  ZVRTProblem why{};
  why.size = sizeof why;
  EXPECT_EQ(ZVRTPlanCreate(&longer.known, &text4, 0, &plan, &why), ZVRT_RC_INVALID_TYPE);
  EXPECT_EQ(plan, nullptr);
  EXPECT_EQ(why.status, ZVRT_RC_INVALID_TYPE);
  EXPECT_EQ(why.field, 0);
  // As a program of an older version has them: what is missing is zero.
  ZVRTType shorter = int4;
  shorter.size = offsetof(ZVRTType, codePage);
  shorter.scale = 99;
  shorter.model = reinterpret_cast<const wchar_t*>(1);
  EXPECT_EQ(ZVRTPlanCreate(&shorter, &text4, 0, &plan, nullptr), ZVRT_RC_OK);
  std::int32_t number = 42;
  std::string text = "....";
  ZVRTArray from = array(&number, 0);
  ZVRTArray to = array(text.data(), 0);
  from.size = to.size = offsetof(ZVRTArray, starts);
  std::array<std::uint8_t, sizeof(ZVRTOutcome)> outcome;
  outcome.fill(0xEE);
  const std::uint32_t short_size = offsetof(ZVRTOutcome, nulls);
  std::memcpy(outcome.data(), &short_size, sizeof short_size);
  EXPECT_EQ(ZVRTPlanRun(plan, &from, &to, 1, reinterpret_cast<ZVRTOutcome*>(outcome.data())), ZVRT_RC_OK);
  ZVRTPlanDestroy(plan);
  EXPECT_EQ(text, "42..");
  std::int64_t done = 0;
  std::memcpy(&done, &outcome[offsetof(ZVRTOutcome, done)], sizeof done);
  EXPECT_EQ(done, 1);
  EXPECT_EQ(outcome[offsetof(ZVRTOutcome, nulls)], 0xEE);
}

TEST_F(Places, PlansSurviveTheirInitialisation) {
  Plan plan;
  ASSERT_EQ(make(with_page(text4, 37), int4, 0, plan), 0U);
  std::string source = bytes("F0F0F4F2");
  std::int32_t target = 7;
  ASSERT_EQ(ZVRTTermDataConversion(), ZVRT_RC_OK);
  ZVRTOutcome outcome{};
  outcome.size = sizeof outcome;
  const ZVRTArray from = array(source.data(), 0);
  const ZVRTArray to = array(&target, 0);
  const std::uint32_t status = ZVRTPlanRun(plan.get(), &from, &to, 1, &outcome);
  EXPECT_STREQ(ZVRTStatusName(status), "ZVRT_ENV_RC_NO_ANCHOR");
  EXPECT_EQ(outcome.done, 0);
  EXPECT_EQ(target, 7);
  ASSERT_EQ(ZVRTInitDataConversion(), ZVRT_RC_OK);
  EXPECT_EQ(run(plan.get(), from, to, 1).done, 1);
  EXPECT_EQ(target, 42);
}

TEST_F(Places, EveryStatusHasANameAndASentence) {
  for (std::uint32_t status = ZVRT_RC_OUT_OF_RANGE; status <= ZVRT_RC_NOT_TERMINATED; ++status) {
    EXPECT_EQ(std::string(ZVRTStatusName(status)).substr(0, 8), "ZVRT_RC_") << status;
    EXPECT_GT(std::strlen(ZVRTStatusText(status)), 20U) << status;
  }
  EXPECT_STREQ(ZVRTStatusName(ZVRT_RC_TRUNCATED), "ZVRT_RC_TRUNCATED");
  EXPECT_STREQ(ZVRTStatusName(22002), "ZVRT_ICU_RC_ICU_FAILED");
  EXPECT_STREQ(ZVRTStatusName(20012), "ZVRT_OS_RC_ERRNO");
  EXPECT_STREQ(ZVRTStatusName(4711), "unknown status");
}

}  // namespace
