// Every allocation that the library can make fails in turn, once and from then on: the status and what is left of the
// buffers are as documented, and nothing stays allocated.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "ZVRTDataCnvLib.h"
#include "ZVRTEnvLib.h"
#include "ZVRTICULib.h"
#include "datetime/models.h"
#include "failing_allocator.h"
#include "strings/conversion_model.h"
#include "support/guarded_buffer.h"
#include "support/ordinary_calls.h"

namespace zvrt_test {
namespace {

constexpr std::uint32_t not_reported = 0xDEADBEEF;

// A call with its buffers, as it begins and as it ends.
struct Call {
  GuardedBuffer dst{8192};
  std::uint32_t out_len = not_reported;
  std::int32_t src_len = 0;
  std::uint32_t status = 0;

  bool wrote_nothing() const { return dst.untouched_from(0) && out_len == not_reported && src_len == 0; }
};

// A call that allocates, and what it returns when it cannot.
struct Allocating {
  const char* name;
  std::vector<std::uint32_t> refusals;  // of each allocation in turn
  std::function<void(Call&)> make;
};

// Writes through a model too long for a temporary on the stack; reads a text that is.
Allocating writer(const char* name, ZVRTConversion* convert, std::uint32_t refusal) {
  return {name, {refusal}, [convert](Call& call) {
            static const Model model(std::wstring(L"%YYYY-%MM-%DD").append(100, L'x'));
            static const ZVRTTS ts = timestamp(2024, 3, 5);
            Field field(model);
            call.status = convert(&ts, &call.src_len, call.dst.as(), 8192, &call.out_len, &field);
          }};
}
Allocating reader(const char* name, ZVRTConversion* convert, std::string source, std::uint32_t refusal) {
  return {name, {refusal}, [convert, source](Call& call) {
            static const Model model(L"%YYYY-%MM-%DD");
            Field field(model);
            call.status = convert(source.data(), &call.src_len, call.dst.as(), 8192, &call.out_len, &field);
          }};
}
Allocating counted_reader(const char* name, ZVRTConversion* convert, std::string source, std::int32_t length,
                          std::uint32_t refusal) {
  return {name, {refusal}, [convert, source, length](Call& call) {
            static const Model model(L"%YYYY-%MM-%DD");
            Field field(model);
            std::int32_t given = length;
            call.status = convert(source.data(), &given, call.dst.as(), 8192, &call.out_len, &field);
            call.src_len = given - length;
          }};
}
Allocating plain(const char* name, ZVRTConversion* convert, std::string source, std::int32_t length,
                 std::uint32_t refusal) {
  return {name, {refusal}, [convert, source, length](Call& call) {
            std::int32_t given = length;
            call.status = convert(source.data(), &given, call.dst.as(), 8192, &call.out_len, nullptr);
            call.src_len = given - length;
          }};
}

std::vector<Allocating> allocating() {
  constexpr std::uint32_t none = ZVRT_RC_NO_MEMORY, error = ZVRT_RC_ERROR;
  const std::string date = "2024-03-05" + std::string(2000, ' ');
  const std::string wide_date = wide_bytes(std::u32string(date.begin(), date.end()));
  const std::string digits(1500, '7');
  static const std::wstring long_model = std::wstring(L"%YYYY-%MM-%DD").append(200, L' ');
  std::string packed(600, '\x12');
  packed.back() = '\x1C';
  return {
      {"TrimSpaces",
       {none},
       [](Call& call) {
         static const std::string text = " " + std::string(1500, 'x') + " ";
         std::memcpy(call.dst.as(), text.c_str(), text.size() + 1);
         call.status = TrimSpaces(call.dst.as<char>(), &call.src_len, 1, 1, 1208, '2');
         // Text that stayed as it was counts as nothing written.
         if (std::strcmp(call.dst.as<char>(), text.c_str()) == 0) call.dst.reset();
       }},
      writer("TSToWchar", ZVRTCnvZVRTTSToWchar, none),
      writer("TSToWVarchar", ZVRTCnvZVRTTSToWVarchar, none),
      writer("TSToChar", ZVRTCnvZVRTTSToChar, error),
      writer("TSToVarchar", ZVRTCnvZVRTTSToVarchar, error),
      writer("TSToVarcharSz", ZVRTCnvZVRTTSToVarcharSz, error),
      counted_reader("DateTimeChar", ZVRTCnvDateTimeCharToZVRTTS, date, 2000, none),
      reader("DateTimeVarchar", ZVRTCnvDateTimeVarcharToZVRTTS, prefix_of(2000) + date, none),
      reader("DateTimeSz", ZVRTCnvDateTimeSzToZVRTTS, date + '\0', error),
      counted_reader("DateTimeWchar", ZVRTCnvDateTimeWcharToZVRTTS, wide_date, 2000, error),
      reader("DateTimeWVarchar", ZVRTCnvDateTimeWVarcharToZVRTTS, prefix_of(8000) + wide_date, none),
      {"DateCharToDate",
       {error, error},
       [date](Call& call) {
         DateWithModel read{{1, 2, 3}, long_model.c_str()};
         call.status = ZVRTDateCharToDate(date.c_str(), &read);
         if (read.date.year != 1) call.out_len = 0;
       }},
      {"UTF16DateCharToDate",
       {error, none},
       [date](Call& call) {
         static const std::u16string text(date.begin(), date.end());
         DateWithModel read{{1, 2, 3}, long_model.c_str()};
         call.status = ZVRTUTF16DateCharToDate(reinterpret_cast<const std::uint16_t*>(text.data()),
                                               static_cast<std::int32_t>(text.size()), &read);
         if (read.date.year != 1) call.out_len = 0;
       }},
      plain("DecPackedToVarcharSz", ZVRTCnvDecPackedToVarcharSz, packed, 600, none),
      plain("VarcharSzToDecPacked", ZVRTCnvVarcharSzToDecPacked, digits + '\0', 0, none),
  };
}

TEST(Allocations, EveryTemporaryFailsInTurn) {
  for (const Allocating& row : allocating()) {
    SCOPED_TRACE(row.name);
    Call first, good;
    row.make(first);  // the row's own constants
    WatchedAllocations all;
    row.make(good);
    all.stop();
    EXPECT_EQ(all.count(), row.refusals.size());
    EXPECT_EQ(all.live(), 0);
    EXPECT_EQ(good.status, ZVRT_RC_OK);
    EXPECT_FALSE(good.wrote_nothing());
    for (const Fails fails : {Fails::once, Fails::from_then_on}) {
      for (std::size_t nth = 1; nth <= row.refusals.size(); ++nth) {
        Call call;
        WatchedAllocations watch(fails, nth);
        row.make(call);
        watch.stop();
        EXPECT_EQ(watch.live(), 0) << "allocation " << nth << " leaks";
        EXPECT_EQ(call.status, row.refusals[nth - 1]) << "allocation " << nth;
        EXPECT_TRUE(call.wrote_nothing()) << "allocation " << nth;
      }
    }
  }
}

// A source whose temporary would have more bytes than 32 bits count is refused like one that could not be allocated.
TEST(Allocations, SourcesTooLongToAskFor) {
  const Model model(L"%YYYY");
  Field field(model);
  ZVRTTS ts{};
  const struct {
    ZVRTConversion* convert;
    std::uint32_t refusal;
  } rows[] = {{ZVRTCnvDateTimeCharToZVRTTS, ZVRT_RC_NO_MEMORY}, {ZVRTCnvDateTimeWcharToZVRTTS, ZVRT_RC_ERROR}};
  for (const auto& [convert, refusal] : rows) {
    std::int32_t length = INT32_MAX;
    std::uint32_t out_len = not_reported;
    EXPECT_EQ(convert("2024", &length, &ts, sizeof ts, &out_len, &field), refusal);
    EXPECT_EQ(out_len, not_reported);
  }
  const FmtCode end = {0, FMT_END, 0, 0};
  for (const std::int32_t length : {INT32_MIN, -1, INT32_MAX / 16 + 1, INT32_MAX}) {
    const ZVRTTS good = timestamp(2024, 3, 5);
    char text[8];
    std::uint32_t out_len = not_reported;
    Field vast(&end, length);
    EXPECT_EQ(ZVRTCnvZVRTTSToWchar(&good, nullptr, text, sizeof text, &out_len, &vast), ZVRT_RC_NO_MEMORY) << length;
    EXPECT_EQ(ZVRTCnvZVRTTSToChar(&good, nullptr, text, sizeof text, &out_len, &vast), ZVRT_RC_ERROR) << length;
    EXPECT_EQ(out_len, not_reported);
  }
}

// Without any memory, strings of any length are converted as always.
TEST(Allocations, NoneForStringsOfAnyLength) {
  Arena arena;
  for (const Member& member : members) {
    const Source source = source_of(member.from, std::vector<std::uint32_t>(8000, 'x'));
    GuardedBuffer dst(100000);
    std::int32_t src_len = source.given.value_or(0);
    std::uint32_t out_len = 0;
    WatchedAllocations watch(Fails::from_then_on, 1);
    const std::uint32_t status = member.convert(source.buffer.data(), &src_len, dst.as(), 100000, &out_len, nullptr);
    watch.stop();
    EXPECT_EQ(status, 0U) << member.name;
    EXPECT_EQ(watch.count(), 0U) << member.name;
  }
}

// No value of usual size costs an allocation.
TEST(Allocations, NoneOnOrdinaryValues) {
  ASSERT_EQ(ZVRTInitDataConversion(), ZVRT_RC_OK);
  for (const OrdinaryCall& ordinary : ordinary_calls()) {
    ordinary.call();  // a thread's first use of a code page may allocate
    WatchedAllocations watch(Fails::from_then_on, 1);
    const std::uint32_t status = ordinary.call();
    watch.stop();
    EXPECT_EQ(watch.count(), 0U) << ordinary.function << ", " << ordinary.value;
    EXPECT_EQ(status, ZVRT_RC_OK) << ordinary.function << ", " << ordinary.value;
  }
  EXPECT_EQ(ZVRTTermDataConversion(), ZVRT_RC_OK);
}

// A user of code pages, from its initialisation to the end of its thread.
struct Service {
  std::uint32_t started = not_reported, ended = 0;
  std::uint32_t status = not_reported;
  std::uint32_t out_len = not_reported;
  std::string bytes;
  std::size_t allocations = 0;
};

constexpr std::size_t capacity = 16;

Service use_service(std::uint32_t page, Fails fails, std::size_t nth) {
  Service service;
  char dst[capacity];
  std::memset(dst, GuardedBuffer::mark, capacity);
  std::thread([&] {
    FldDef field{};
    field.codePage = page;
    WatchedAllocations watch(fails, nth);
    service.started = ZVRTInitDataConversion();
    if (service.started == 0) {
      service.status = ZVRTCnvWVarcharSzToVarcharSz(L"ABC", nullptr, dst, capacity, &service.out_len, &field);
    }
    service.allocations = watch.count();
    watch.stop();
    if (service.started == 0) service.ended = ZVRTTermDataConversion();
  }).join();
  service.bytes.assign(dst, capacity);
  return service;
}

TEST(Allocations, TheConverterServiceIsRefusedAndRecovers) {
  const std::string untouched(capacity, static_cast<char>(GuardedBuffer::mark));
  for (const std::uint32_t page : {37U, 1252U, 930U, 932U, 54936U, 1200U, 65001U}) {
    SCOPED_TRACE(page);
    use_service(page, Fails::never, 0);  // what ICU keeps for the process
    const std::ptrdiff_t live = live_allocations();
    const Service good = use_service(page, Fails::never, 0);
    ASSERT_EQ(good.started | good.status | good.ended, 0U);
    ASSERT_GT(good.allocations, 0U);
    for (const Fails fails : {Fails::once, Fails::from_then_on}) {
      for (std::size_t nth = 1; nth <= good.allocations; ++nth) {
        SCOPED_TRACE(nth);
        const Service service = use_service(page, fails, nth);
        EXPECT_EQ(service.ended, 0U);
        if (service.started != 0) {
          EXPECT_TRUE(service.started == ZVRT_ENV_RC_NO_MEMORY || service.started == ZVRT_ICU_RC_ICU_FAILED)
              << service.started;
        } else if (service.status == 0) {
          EXPECT_EQ(service.bytes, good.bytes);
          EXPECT_EQ(service.out_len, good.out_len);
        } else {
          const bool documented = service.status == ZVRT_RC_NO_CONVERTER || service.status == ZVRT_ENV_RC_NO_MEMORY ||
                                  service.status == ZVRT_ICU_RC_ICU_FAILED;
          EXPECT_TRUE(documented) << service.status;
          EXPECT_EQ(service.bytes, untouched);
          EXPECT_EQ(service.out_len, 0U);
        }
      }
    }
    EXPECT_EQ(live_allocations(), live + 1) << "other than the result that is still there";
    const Service again = use_service(page, Fails::never, 0);
    EXPECT_EQ(again.status, 0U);
    EXPECT_EQ(again.bytes, good.bytes);
  }
}

}  // namespace
}  // namespace zvrt_test
