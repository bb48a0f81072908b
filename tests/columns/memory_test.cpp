// Memory: none is asked for where none is promised, every refusal is survived, nothing is left behind.
#include <gtest/gtest.h>

#include <functional>
#include <thread>

#include "columns/foreign_array.h"
#include "columns/record_plans.h"
#include "robustness/failing_allocator.h"

namespace zvrt_test {
namespace {

class Memory : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(ZVRTInitDataConversion(), ZVRT_RC_OK); }
  void TearDown() override { EXPECT_EQ(ZVRTTermDataConversion(), ZVRT_RC_OK); }
};

// Every allocation of `work` fails in turn, alone and with all that follow: the status is `refusal`, or the service's own,
// and nothing stays allocated. Returns how many there were.
std::size_t refuse_each(const std::function<std::uint32_t()>& work, std::uint32_t refusal) {
  EXPECT_EQ(work(), ZVRT_RC_OK);
  WatchedAllocations all;
  EXPECT_EQ(work(), ZVRT_RC_OK);
  all.stop();
  EXPECT_EQ(all.live(), 0);
  const std::size_t count = all.count();
  for (const Fails fails : {Fails::once, Fails::from_then_on}) {
    for (std::size_t nth = 1; nth <= count; ++nth) {
      WatchedAllocations watch(fails, nth);
      const std::uint32_t status = work();
      watch.stop();
      EXPECT_EQ(status, refusal) << "allocation " << nth;
      EXPECT_EQ(watch.live(), 0) << "allocation " << nth << " leaks";
    }
  }
  return count;
}

std::vector<TestField> fields() {
  return {{"NUMBER", decimal_of(ZVRT_KIND_PACKED, 3, 5, 2), 0},
          {"TEXT", on_page(type_of(ZVRT_KIND_CHAR, 4, ZVRT_TYPE_TRIM), 37), 3},
          {"DATE", with_model(type_of(ZVRT_KIND_PACKED, 5), L"%YYYY%MM%DD"), 7},
          {"FLAG", type_of(ZVRT_KIND_BOOL), 12}};
}
constexpr std::int32_t record_bytes = 13;
std::string one_record() { return std::string("\x12\x34\x5C\xC1\xC2\x40\x40\x02\x02\x40\x22\x9C\x01", 13); }

TEST_F(Memory, EveryAllocationOfPlansIsRefused) {
  const ZVRTType page = on_page(type_of(ZVRT_KIND_CHAR, 8), 37);
  const ZVRTType dates = with_model(type_of(ZVRT_KIND_CHAR, 10), L"%YYYY-%MM-%DD");
  for (const auto& [from, to] : {std::pair{page, dates}, std::pair{dates, page}, std::pair{page, page}}) {
    const std::size_t count = refuse_each(
        [&from = from, &to = to] {
          ZVRTPlan* plan = nullptr;
          const std::uint32_t status = ZVRTPlanCreate(&from, &to, 0, &plan, nullptr);
          EXPECT_EQ(plan != nullptr, status == ZVRT_RC_OK);
          ZVRTPlanDestroy(plan);
          return status;
        },
        ZVRT_RC_NO_MEMORY);
    EXPECT_GT(count, 1U);
  }
  const std::vector<TestField> all = fields();
  ZVRTField raw[4];
  for (std::size_t i = 0; i < 4; ++i) {
    raw[i] = {sizeof(ZVRTField), all[i].offset, -1, 0, all[i].name.c_str(), &all[i].type};
  }
  EXPECT_GT(refuse_each(
                [&raw] {
                  ZVRTRecordPlan* plan = nullptr;
                  const std::uint32_t status = ZVRTRecordPlanCreate(raw, 4, record_bytes, 0, &plan, nullptr);
                  EXPECT_EQ(plan != nullptr, status == ZVRT_RC_OK);
                  ZVRTRecordPlanDestroy(plan);
                  return status;
                },
                ZVRT_RC_NO_MEMORY),
            10U);
}

TEST_F(Memory, EveryAllocationOfArraysIsRefused) {
  const RecordPlan plan(fields(), record_bytes);
  ASSERT_EQ(plan.status, ZVRT_RC_OK) << plan.why.text;
  std::string records;
  for (int i = 0; i < 300; ++i) records += one_record();
  EXPECT_GT(refuse_each(
                [&] {
                  ArrowSchema schema{};
                  const std::uint32_t status = ZVRTRecordSchema(plan.plan, &schema);
                  EXPECT_EQ(schema.release != nullptr, status == ZVRT_RC_OK);
                  if (schema.release != nullptr) schema.release(&schema);
                  return status;
                },
                ZVRT_RC_NO_MEMORY),
            5U);
  EXPECT_GT(refuse_each(
                [&] {
                  ArrowArray array{};
                  const std::uint32_t status =
                      ZVRTRecordsToArrow(plan.plan, records.data(), nullptr, 300, &array, nullptr);
                  EXPECT_EQ(array.release != nullptr, status == ZVRT_RC_OK);
                  if (array.release != nullptr) array.release(&array);
                  return status;
                },
                ZVRT_RC_NO_MEMORY),
            10U);
  Released<ArrowSchema> schema;
  Released<ArrowArray> array;
  ASSERT_EQ(ZVRTRecordSchema(plan.plan, &schema.it), ZVRT_RC_OK);
  ASSERT_EQ(ZVRTRecordsToArrow(plan.plan, records.data(), nullptr, 300, &array.it, nullptr), ZVRT_RC_OK);
  std::string back(records.size(), '\0');
  EXPECT_GT(refuse_each([&] { return ZVRTArrowToRecords(plan.plan, &schema.it, &array.it, back.data(), nullptr); },
                        ZVRT_RC_NO_MEMORY),
            5U);
  EXPECT_TRUE(back == records);
}

// Runs over one long value in many allocate; without memory they end there, and say how far they came.
TEST_F(Memory, LongValuesMayBeRefused) {
  const std::size_t length = 20000;
  const ZVRTType from = on_page(type_of(ZVRT_KIND_CHAR, static_cast<std::int32_t>(length)), 37);
  const ZVRTType to = type_of(ZVRT_KIND_UTF16, static_cast<std::int32_t>(length * 2));
  ZVRTPlan* plan = nullptr;
  ASSERT_EQ(ZVRTPlanCreate(&from, &to, 0, &plan, nullptr), ZVRT_RC_OK);
  std::string source(3 * length, '\xC1'), slots(3 * length * 2, 'x');
  ZVRTArray in{}, out{};
  in.size = out.size = sizeof in;
  in.data = source.data();
  in.stride = static_cast<std::int64_t>(length);
  out.data = slots.data();
  out.stride = static_cast<std::int64_t>(length) * 2;
  WatchedAllocations count;
  ASSERT_EQ(ZVRTPlanRun(plan, &in, &out, 3, nullptr), ZVRT_RC_OK);
  count.stop();
  EXPECT_EQ(count.live(), 0);
  for (std::size_t nth = 1; nth <= count.count(); ++nth) {
    slots.assign(slots.size(), 'x');
    ZVRTOutcome outcome{};
    outcome.size = sizeof outcome;
    WatchedAllocations watch(Fails::once, nth);
    const std::uint32_t status = ZVRTPlanRun(plan, &in, &out, 3, &outcome);
    watch.stop();
    EXPECT_EQ(status, ZVRT_RC_NO_MEMORY);
    EXPECT_EQ(watch.live(), 0);
    ASSERT_LT(outcome.done, 3);
    const auto done = static_cast<std::size_t>(outcome.done) * length * 2;
    EXPECT_EQ(slots.find('x'), done) << "allocation " << nth;
    EXPECT_EQ(slots.find_first_not_of('x', done), std::string::npos);
  }
  ZVRTPlanDestroy(plan);
}

// Values below 4 KiB, of all forms, on pages held in tables.
TEST_F(Memory, NoneForValuesBelowFourKilobytes) {
  constexpr std::int32_t bytes = 4095, wide_bytes = 4092;
  const ZVRTType utf8 = type_of(ZVRT_KIND_CHAR, bytes), page = on_page(utf8, 37),
                 wide = type_of(ZVRT_KIND_WCHAR, wide_bytes);
  const ZVRTType utf16 = type_of(ZVRT_KIND_UTF16, 4094), raw = type_of(ZVRT_KIND_BYTES, bytes);
  const ZVRTType packed = decimal_of(ZVRT_KIND_PACKED, 8, 0, 2), number = type_of(ZVRT_KIND_FLOAT, 8);
  const ZVRTType micros = type_of(ZVRT_KIND_MICROS);
  const ZVRTType sources[] = {utf8, page, wide, utf16, raw, packed, number, micros};
  const ZVRTType targets[] = {utf8, page, wide, utf16, raw, packed, number, micros};
  int runs = 0;
  for (const ZVRTType& from : sources) {
    for (const ZVRTType& to : targets) {
      ZVRTPlan* plan = nullptr;
      if (ZVRTPlanCreate(&from, &to, 0, &plan, nullptr) != ZVRT_RC_OK) continue;
      for (const char fill : {'\x31', '\x00', '\xF1'}) {
        const std::string source(40 * 4096, fill);
        std::string slots(40 * 4096, 'x');
        ZVRTArray in{}, out{};
        in.size = out.size = sizeof in;
        in.data = const_cast<char*>(source.data());
        in.stride = out.stride = 4096;
        out.data = slots.data();
        ZVRTOutcome outcome{};
        outcome.size = sizeof outcome;
        WatchedAllocations watch(Fails::from_then_on, 1);
        const std::uint32_t status = ZVRTPlanRun(plan, &in, &out, 40, &outcome);
        watch.stop();
        EXPECT_EQ(status, ZVRT_RC_OK) << from.kind << " to " << to.kind;
        EXPECT_EQ(watch.count(), 0U) << from.kind << " to " << to.kind;
        EXPECT_EQ(outcome.done, 40);
        ++runs;
      }
      ZVRTPlanDestroy(plan);
    }
  }
  EXPECT_GT(runs, 100);
}

}  // namespace
}  // namespace zvrt_test
