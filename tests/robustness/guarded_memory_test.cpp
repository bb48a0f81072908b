// Every exported function that takes a buffer, at every capacity, between pages that cannot be touched. What the bytes
// have to be is for the families' own tests; here: that they depend on nothing but the arguments, that nothing else is
// read or written, and that a smaller destination holds the beginning of what a larger one does.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "ZVRTDataCnvLib.h"
#include "support/guarded_buffer.h"
#include "support/ordinary_calls.h"

namespace zvrt_test {
namespace {

constexpr std::size_t largest = 1024;

struct Observed {
  std::uint32_t status;
  std::int32_t length;
  std::uint32_t out_length;
  std::string bytes;
};

// The source ends some bytes before the guard page, the destination flush against it; all around is the mark.
Observed observe(const CallOnBuffers& row, std::size_t size, std::size_t after, unsigned char mark,
                 bool without_length) {
  static GuardedBuffer source(2 * largest), destination(2 * largest);
  std::memset(source.as<>(), mark, source.size());
  std::memset(destination.as<>(), mark, destination.size());
  unsigned char* const src = source.tail(row.source.size() + after);
  unsigned char* const dst = destination.tail(size);
  std::memcpy(src, row.source.data(), row.source.size());
  const std::string before = source.bytes();
  Buffers buffers{src, dst, static_cast<std::int32_t>(size), row.length, 99, without_length};
  const std::uint32_t status = row.call(buffers);
  EXPECT_EQ(source.bytes(), before) << "the source changed";
  EXPECT_TRUE(std::all_of(destination.as<unsigned char>(), dst, [mark](auto byte) { return byte == mark; }));
  return {status, buffers.length, buffers.out_length, std::string(dst, dst + size)};
}

// What is written, whatever stood there and around, and whether or not the source's length is asked for; `touched` tells
// which bytes are.
Observed observe(const CallOnBuffers& row, std::size_t size, std::vector<bool>& touched) {
  const Observed one = observe(row, size, 0, 0xA5, false), other = observe(row, size, 64, 0x5A, true);
  EXPECT_EQ(one.status, other.status);
  EXPECT_EQ(one.out_length, other.out_length);
  touched.assign(size, false);
  for (std::size_t i = 0; i < size; ++i) {
    touched[i] = one.bytes[i] != '\xA5' || other.bytes[i] != '\x5A';
    EXPECT_EQ(touched[i] ? one.bytes[i] : 0, touched[i] ? other.bytes[i] : 0) << "byte " << i;
  }
  return one;
}

void check(const CallOnBuffers& row) {
  std::vector<bool> touched;
  if (row.size) {
    EXPECT_EQ(observe(row, static_cast<std::size_t>(*row.size), touched).status, ZVRT_RC_OK);
    return;
  }
  const Observed whole = observe(row, largest, touched);
  EXPECT_EQ(whole.status, ZVRT_RC_OK);
  const auto last = std::find(touched.rbegin(), touched.rend(), true);
  const auto needed = static_cast<std::size_t>(touched.rend() - last);
  ASSERT_TRUE(needed > 0 && needed + 8 < largest);
  const std::size_t prefix = row.function.ends_with("ToVarchar") || row.function.ends_with("ToWVarchar") ? 2 : 0;
  for (std::size_t size = 0; size <= needed + 8; size += row.unit) {
    SCOPED_TRACE(size);
    const Observed part = observe(row, size, touched);
    for (std::size_t i = size < needed ? prefix : 0; i < size; ++i) {
      // Only a terminator may stand elsewhere than in the whole.
      const bool ends = size < needed && part.bytes[i] == 0;
      if (touched[i] && !ends) {
        EXPECT_EQ(part.bytes[i], whole.bytes[i]) << "byte " << i;
      }
      if (!touched[i] && size >= needed) {
        EXPECT_EQ(whole.bytes[i], '\xA5') << "byte " << i;
      }
    }
    if (size >= needed) {
      EXPECT_EQ(part.status, whole.status);
      EXPECT_EQ(part.length, whole.length);
      EXPECT_EQ(part.out_length, whole.out_length);
    }
  }
}

TEST(GuardedMemory, EveryFunctionAtEveryCapacity) {
  ASSERT_EQ(ZVRTInitDataConversion(), ZVRT_RC_OK);
  std::set<std::string> covered = {"VerifyCodePageInfo", "ZVRTInitDataConversion", "ZVRTTermDataConversion"};
  for (const CallOnBuffers& row : calls_on_buffers()) {
    SCOPED_TRACE(row.function + ", " + row.value);
    covered.insert(row.function);
    check(row);
  }
  std::ifstream names(EXPORTED_NAMES);
  for (std::string name; names >> name;) {
    EXPECT_EQ(covered.erase(name), 1) << name << " is exported and has no call in tests/support/ordinary_calls.cpp";
  }
  EXPECT_EQ(covered, std::set<std::string>()) << "these are called and not exported";
  EXPECT_EQ(ZVRTTermDataConversion(), ZVRT_RC_OK);
}

}  // namespace
}  // namespace zvrt_test
