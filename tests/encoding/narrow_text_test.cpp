// Text through a converter service that is not ours.
#include <gtest/gtest.h>

#include <cstring>

#include "ZVRTDataCnvLib.h"
#include "fakes/failing_platform.h"

namespace zvrt_test {
namespace {

// Of a text that is cut, ours tells what the whole needs, and what fits is found by further conversions. Another may tell
// what it wrote.
TEST(NarrowText, AServiceThatTellsWhatItWroteIsNotAskedAgain) {
  FakePlatform& platform = fake_platform();
  FldDef field{};
  field.codePage = 37;
  field.codePageKind = 'k';
  constexpr std::size_t converts = 3;  // after the two blocks and the converter
  for (const std::uint32_t reported : {1U, 2U, 3U}) {
    platform.reset();
    platform.failing = {{"ZVRT_IcuWideToMultibyte", ZVRT_RC_TRUNCATED}};
    platform.reported = reported;
    unsigned char dst[4] = {};
    std::uint32_t out_len = 99;
    EXPECT_EQ(ZVRTCnvWVarcharSzToVarchar(L"ABC", nullptr, dst, 4, &out_len, &field), ZVRT_RC_TRUNCATED);
    EXPECT_EQ(out_len, reported + 2);
    const bool fits = reported <= 2;
    EXPECT_EQ(platform.calls.size() == converts + 1, fits) << reported;
    if (fits) {
      std::int16_t prefix = 0;
      std::memcpy(&prefix, dst, sizeof prefix);
      EXPECT_EQ(prefix, static_cast<std::int32_t>(reported));
    }
  }
}

}  // namespace
}  // namespace zvrt_test
