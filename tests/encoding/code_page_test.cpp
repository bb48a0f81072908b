#include <gtest/gtest.h>

#include <set>

#include "ZVRTDataCnvLib.h"

namespace {

TEST(VerifyCodePageInfo, KnowsExactlyThePairsThatMeanUtf8) {
  const std::set<std::pair<char, std::uint32_t>> utf8 = {{'2', 1208}, {'C', 1208}, {'I', 57372}, {'O', 870}, {'O', 871},
                                                         {'O', 872},  {'O', 873},  {'S', 190},   {'T', 63},  {'Z', 2}};
  for (int letter = -128; letter < 128; ++letter) {
    for (std::uint32_t page = 0; page < 70000; ++page) {
      char kind = static_cast<char>(letter);
      std::uint32_t code_page = page;
      VerifyCodePageInfo(&kind, &code_page);
      if (utf8.contains({static_cast<char>(letter), page})) {
        ASSERT_TRUE(kind == 0 && code_page == 0) << letter << ' ' << page;
      } else {
        ASSERT_TRUE(kind == static_cast<char>(letter) && code_page == page) << letter << ' ' << page;
      }
    }
  }
}

TEST(CodePages, WithoutInitialisationOnlyUtf8Works) {
  FldDef field{};
  field.codePage = 37;
  std::uint32_t length = 99;
  wchar_t wide[8];
  const std::uint32_t refused = ZVRTCnvVarcharSzToWVarcharSz("abc", nullptr, wide, sizeof wide, &length, &field);
  EXPECT_NE(refused, ZVRT_RC_OK);
  EXPECT_NE(refused, ZVRT_RC_NO_CONVERTER);
  EXPECT_EQ(length, 0U);
  field.codePage = 1208;
  field.codePageKind = '2';
  EXPECT_EQ(ZVRTCnvVarcharSzToWVarcharSz("abc", nullptr, wide, sizeof wide, &length, &field), ZVRT_RC_OK);
  EXPECT_EQ(length, 3U);
}

}  // namespace
