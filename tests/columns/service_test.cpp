// The converter service fails at any of its calls: plans are not made, runs end there, and nothing is written that was
// not converted in full.
#include <gtest/gtest.h>

#include "ZVRTICULib.h"
#include "columns/one_value.h"
#include "fakes/failing_service.h"

using namespace columns_test;
using zvrt_test::failing_service;

namespace {

class Service : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(ZVRTInitDataConversion(), ZVRT_RC_OK); }
  void TearDown() override {
    failing_service().fail(0);
    EXPECT_EQ(ZVRTTermDataConversion(), ZVRT_RC_OK);
  }
};

bool is_of_service(std::uint32_t status) { return status == ZVRT_ICU_RC_ICU_FAILED || status == ZVRT_RC_NO_CONVERTER; }

ZVRTType text(std::uint32_t page, std::int32_t length = 12, std::uint32_t flags = 0) {
  return with_page(type(ZVRT_KIND_CHAR, length, flags), page);
}

TEST_F(Service, NoPlanIsMadeByHalf) {
  const ZVRTType utf16 = type(ZVRT_KIND_UTF16, 64);
  const ZVRTType pages[] = {text(37), text(1252, 12, ZVRT_TYPE_NULL_BLANKS), text(932), text(930), text(54936)};
  for (const ZVRTType& page : pages) {
    for (const bool is_source : {true, false}) {
      const ZVRTType &from = is_source ? page : utf16, &to = is_source ? utf16 : page;
      Plan plan;
      failing_service().fail(0);
      ASSERT_EQ(make(from, to, 0, plan), ZVRT_RC_OK);
      const std::size_t calls = failing_service().calls;
      ASSERT_GT(calls, 2U);
      for (std::size_t nth = 1; nth <= calls; ++nth) {
        failing_service().fail(nth);
        ASSERT_TRUE(is_of_service(make(from, to, 0, plan))) << "call " << nth << " of page " << page.codePage;
        ASSERT_EQ(plan, nullptr);
      }
    }
  }
}

constexpr std::size_t row_count = 40;

struct Written {
  std::uint32_t status;
  std::size_t done;
  std::string slots;
  std::vector<std::uint32_t> statuses;
  std::vector<std::int32_t> lengths;
};

Written run(const ZVRTPlan* plan, const std::string& column, const ZVRTType& to) {
  const auto size = static_cast<std::size_t>(to.length);
  Written written{0, 0, std::string(size * row_count, untouched), std::vector<std::uint32_t>(row_count, 99),
                  std::vector<std::int32_t>(row_count, 99)};
  std::string source = column;
  ZVRTArray in{}, out{};
  in.size = out.size = sizeof in;
  in.data = source.data();
  in.stride = static_cast<std::int64_t>(source.size() / row_count);
  out.data = written.slots.data();
  out.stride = to.length;
  out.status = written.statuses.data();
  out.lengths = written.lengths.data();
  out.lengthBytes = 4;
  ZVRTOutcome outcome{};
  outcome.size = sizeof outcome;
  written.status = ZVRTPlanRun(plan, &in, &out, row_count, &outcome);
  written.done = static_cast<std::size_t>(outcome.done);
  return written;
}

// Rows before `done` are as ever, those from there on are untouched.
void expect_rows_until(const Written& written, const Written& whole, std::size_t size) {
  const std::size_t bytes = written.done * size;
  EXPECT_EQ(written.slots.compare(0, bytes, whole.slots, 0, bytes), 0);
  EXPECT_EQ(written.slots.find_first_not_of(untouched, bytes), std::string::npos);
  for (std::size_t i = 0; i < row_count; ++i) {
    EXPECT_EQ(written.statuses[i], i < written.done ? whole.statuses[i] : 99U) << "row " << i;
    EXPECT_EQ(written.lengths[i], i < written.done ? whole.lengths[i] : 99) << "row " << i;
  }
}

TEST_F(Service, RunsEndAtTheFailure) {
  struct Work {
    ZVRTType from, to;
    const char* values[3];  // in turn, 12 bytes each
  };
  const ZVRTType utf8 = text(0);
  const Work works[] = {
      // ASCII, katakana, and a byte that is no character
      {text(932), utf8, {"616263202020202020202020", "B1B2B3202020202020202020", "61FFFF202020202020202020"}},
      // between shifts, one character beyond the page
      {text(930),
       type(ZVRT_KIND_UTF16, 64),
       {"0E4562456242620F40404040", "C1C20E45620F4040C1404040", "0E4562FFFF0F404040404040"}},
      {utf8, text(932, 8), {"616263202020202020202020", "E38182E38184E38186616161", "61F09F988020202020202020"}},
      {utf8, text(930, 8), {"E38182E3818461E381846161", "E38182E38184E38186E38182", "61F09F988020202020202020"}},
      {text(932), text(930), {"616263202020202020202020", "B1B2B3202020202020202020", "61FFFF202020202020202020"}},
      {text(37), text(932), {"C1C2C3C1C2C3C1C2C3C1C2C3", "C1C2C3404040404040404040", "C1C2C3404040404040404040"}},
  };
  for (const Work& work : works) {
    std::string column;
    for (std::size_t i = 0; i < row_count; ++i) column += bytes(work.values[i % 3]);
    for (const std::uint32_t options : {0U, ZVRT_PLAN_SUBSTITUTE, ZVRT_PLAN_SUBSTITUTE | ZVRT_PLAN_CUT_TEXT}) {
      Plan plan;
      failing_service().fail(0);
      ASSERT_EQ(make(work.from, work.to, options, plan), ZVRT_RC_OK);
      failing_service().fail(0);
      const Written whole = run(plan.get(), column, work.to);
      ASSERT_EQ(whole.status, ZVRT_RC_OK);
      const std::size_t calls = failing_service().calls;
      ASSERT_GT(calls, 0U);
      for (std::size_t order = 2; order < 2 * (calls + 1); ++order) {
        const std::size_t nth = order / 2;
        const bool goes_on = order % 2 != 0;
        SCOPED_TRACE("call " + std::to_string(nth) + " of pages " + std::to_string(work.from.codePage) + " and " +
                     std::to_string(work.to.codePage) + ", options " + std::to_string(options));
        failing_service().fail(nth, goes_on);
        const Written written = run(plan.get(), column, work.to);
        // A call that fails alone may be made again, or say only which character of a refused value the page lacks.
        EXPECT_TRUE(is_of_service(written.status) || (written.status == ZVRT_RC_OK && (!goes_on || nth == calls)));
        EXPECT_EQ(written.done < row_count, written.status != ZVRT_RC_OK);
        expect_rows_until(written, whole, static_cast<std::size_t>(work.to.length));
        if (HasFailure()) return;
      }
    }
  }
}

}  // namespace
