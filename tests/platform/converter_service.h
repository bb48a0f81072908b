// The converter service, started for a test and ended after it; conversions into guarded memory, checked for what they
// leave alone.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "ZVRTEnvLib.h"
#include "ZVRTICULib.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {

struct Blocks {
  void* anchor = nullptr;
  void* thread = nullptr;
};

inline Blocks get_blocks() {
  Blocks blocks;
  EXPECT_EQ(ZVRTGetAncBlk(&blocks.anchor), 0U);
  EXPECT_EQ(ZVRTGetThreadBlock(&blocks.thread), 0U);
  return blocks;
}

inline void* find_converter(std::uint32_t page, std::int32_t kind = 0) {
  const Blocks blocks = get_blocks();
  return ZVRT_GetICUConverterInfo(blocks.anchor, blocks.thread, page, kind);
}

class ConverterService : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(ZVRTCreateEnvAncBlk(), 0U);
    const Blocks blocks = get_blocks();
    ASSERT_EQ(ZVRT_ICU_Init(blocks.anchor, blocks.thread), 0U);
  }
  void TearDown() override {
    const Blocks blocks = get_blocks();
    EXPECT_EQ(ZVRT_ICU_Term(blocks.anchor, blocks.thread), 0U);
    EXPECT_EQ(ZVRTTermEnvAncBlk(), 0U);
  }
};

template <class Text>
struct Result {
  std::uint32_t status;
  std::uint32_t count;
  Text written;  // of a complete or an offending text `count` units, of a truncated one as many as fit

  bool operator==(const Result&) const = default;
};

// Without guards, for sweeps: a character or two at a time.
inline Result<std::u32string> decode(void* converter, const std::string& bytes) {
  std::u32string text(bytes.size() * 2, U'\0');
  std::uint32_t count = 0;
  const std::uint32_t status = ZVRT_IcuMultibyteToWide(converter, bytes.data(), static_cast<std::int32_t>(bytes.size()),
                                                       text.data(), static_cast<std::int32_t>(text.size()), &count);
  text.resize(std::min<std::size_t>(count, text.size()));
  return {status, count, text};
}

inline Result<std::string> encode(void* converter, const std::u32string& text) {
  std::string bytes(text.size() * 12 + 16, '\0');
  std::uint32_t count = 0;
  const std::uint32_t status = ZVRT_IcuWideToMultibyte(converter, text.data(), static_cast<std::int32_t>(text.size()),
                                                       bytes.data(), static_cast<std::int32_t>(bytes.size()), &count);
  bytes.resize(std::min<std::size_t>(count, bytes.size()));
  return {status, count, bytes};
}

}  // namespace zvrt_test
