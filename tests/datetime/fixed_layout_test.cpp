// The fixed layout, wide and narrow, against the C library's print at every capacity.
#include <cstdio>

#include "datetime/models.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {
namespace {

// The parts that fit, each with the separator that replaces the terminator of the print before it.
std::string what_fits(const ZVRTTS& ts, std::size_t capacity, bool& whole) {
  const struct {
    const char* separator;
    int digits, value;
  } parts[] = {{"", 2, ts.day},
               {"/", 2, ts.month},
               {"/", 4, ts.year},
               {" ", 2, ts.hour},
               {":", 2, ts.minute},
               {":", 2, ts.second},
               {":", 6, static_cast<int>(ts.fraction)}};
  std::string text;
  for (const auto& part : parts) {
    char print[32];
    std::snprintf(print, sizeof print, "%.*d", part.digits, part.value);
    text += part.separator;
    whole = text.size() + std::strlen(print) < capacity;
    if (!whole) return text;
    text += print;
  }
  return text + '\0';
}

template <class Unit>
std::string widened(const std::string& text) {
  const std::basic_string<Unit> units(text.begin(), text.end());
  return {reinterpret_cast<const char*>(units.data()), units.size() * sizeof(Unit)};
}

template <class Unit, class Write>
void compare(const ZVRTTS& ts, Write write) {
  for (std::size_t capacity = 0; capacity <= 60; ++capacity) {
    GuardedBuffer buffer(capacity * sizeof(Unit));
    std::uint32_t length = 4711;
    const std::uint32_t status = write(&ts, buffer.as<Unit>(), static_cast<std::int32_t>(capacity), &length);
    bool whole = false;
    const std::string expected = what_fits(ts, capacity, whole);
    ASSERT_EQ(whole ? ZVRT_RC_OK : ZVRT_RC_ERROR, status);
    ASSERT_EQ(whole ? expected.size() - 1 : 4711, length);
    const std::string bytes = widened<Unit>(expected);
    ASSERT_EQ(bytes, buffer.bytes().substr(0, bytes.size())) << capacity << ' ' << testing::PrintToString(ts);
    ASSERT_TRUE(buffer.untouched_from(bytes.size())) << capacity;
  }
}

TEST(FixedLayout, DoesAsThePrintAtEveryCapacity) {
  Random random(6);
  for (int i = 0; i < 300; ++i) {
    const ZVRTTS ts = i == 0 ? timestamp(2024, 3, 5, 7, 8, 9, 1234) : any_timestamp(random);
    ASSERT_NO_FATAL_FAILURE(compare<wchar_t>(ts, ZVRTGetStringFromTS));
    ASSERT_NO_FATAL_FAILURE(compare<char>(ts, ZVRTGetStringAFromTS));
  }
}

TEST(FixedLayout, NeedsNoOutLength) {
  const ZVRTTS ts = timestamp(5, 1, 2);
  wchar_t text[27];
  EXPECT_EQ(ZVRT_RC_OK, ZVRTGetStringFromTS(&ts, text, 27, nullptr));
  EXPECT_EQ(std::wstring(L"02/01/0005 00:00:00:000000"), text);
  EXPECT_EQ(ZVRT_RC_ERROR, ZVRTGetStringFromTS(&ts, text, INT32_MIN, nullptr));
}

}  // namespace
}  // namespace zvrt_test
