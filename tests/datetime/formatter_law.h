// What the formatter leaves at any capacity, seen from the complete text.
#pragma once

#include <cwchar>
#include <string>
#include <vector>

#include "datetime/models.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {

struct Formatted {
  std::uint32_t status;
  std::wstring text;  // what stands in the destination before its first untouched place
};

inline constexpr wchar_t untouched_place = static_cast<wchar_t>(0xA5A5A5A5);

// The destination, and the length that was reported; 4711 where none was.
inline std::uint32_t format(const FmtCode* codes, const ZVRTTS& ts, DtKind kind, GuardedBuffer& destination,
                            std::uint32_t& length) {
  length = 4711;
  return ZVRTTSToWVarcharSz(destination.as<wchar_t>(), static_cast<std::int32_t>(destination.size() / sizeof(wchar_t)),
                            codes, &ts, kind, &length);
}

inline Formatted formatted(const FmtCode* codes, const ZVRTTS& ts, DtKind kind, std::size_t capacity = 1024) {
  GuardedBuffer destination(capacity * sizeof(wchar_t));
  std::uint32_t length = 0;
  const std::uint32_t status = format(codes, ts, kind, destination, length);
  const auto* text = destination.as<wchar_t>();
  std::size_t end = 0;
  while (end < capacity && text[end] != untouched_place) ++end;
  EXPECT_EQ(length, status == ZVRT_RC_OK ? end - 1 : 4711U);
  EXPECT_TRUE(status != ZVRT_RC_OK || text[end - 1] == 0) << "no terminator";
  EXPECT_TRUE(status != ZVRT_RC_OK || destination.untouched_from(end * sizeof(wchar_t))) << "after the terminator";
  return {status, std::wstring(text, status == ZVRT_RC_OK ? end - 1 : end)};
}

// With a place for the terminator, the complete text. Without: no length, a failure, and each place either as it is in
// the complete text or untouched.
inline void expect_law_of_capacity(const FmtCode* codes, const ZVRTTS& ts, DtKind kind, std::size_t capacity) {
  GuardedBuffer complete(1024 * sizeof(wchar_t)), destination(capacity * sizeof(wchar_t));
  std::uint32_t complete_length = 0, length = 0;
  const std::uint32_t complete_status = format(codes, ts, kind, complete, complete_length);
  const std::uint32_t status = format(codes, ts, kind, destination, length);
  const bool fits = complete_status == ZVRT_RC_OK && capacity > complete_length;
  if (fits) {
    ASSERT_EQ(status, ZVRT_RC_OK);
    ASSERT_EQ(length, complete_length);
    ASSERT_EQ(destination.bytes(), complete.bytes().substr(0, destination.size()));
  } else {
    ASSERT_TRUE(status == ZVRT_RC_TRUNCATED || status == ZVRT_RC_ERROR) << status;
    ASSERT_EQ(length, 4711U);
    for (std::size_t i = 0; i < capacity; ++i) {
      const wchar_t place = destination.as<wchar_t>()[i];
      ASSERT_TRUE(place == untouched_place || place == complete.as<wchar_t>()[i]) << i;
    }
  }
  ASSERT_TRUE(destination.untouched_from(destination.size()));
}

}  // namespace zvrt_test
