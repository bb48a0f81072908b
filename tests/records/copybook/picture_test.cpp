// Pictures: what they hold, and in how many characters.
#include "records/copybook/picture.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace {

using namespace zvrt::records;

struct Row {
  const char* picture;
  Category category;
  std::size_t length;
  int digits;
  int scale;
  bool is_signed;
};

TEST(Picture, SaysWhatItHolds) {
  constexpr Row rows[] = {
      {"X(20)", Category::alphanumeric, 20, 0, 0, false},
      {"XX9A", Category::alphanumeric, 4, 0, 0, false},
      {"A(3)", Category::alphabetic, 3, 0, 0, false},
      {"XXBXX/X0", Category::alphanumeric_edited, 8, 0, 0, false},
      {"N(3)", Category::national, 3, 0, 0, false},
      {"NBN", Category::national_edited, 3, 0, 0, false},
      {"GGBG", Category::dbcs, 4, 0, 0, false},
      {"9(5)", Category::numeric, 5, 5, 0, false},
      {"S9(7)V99", Category::numeric, 9, 9, 2, true},
      {"SV9(4)", Category::numeric, 4, 4, 4, true},
      {"9(38)", Category::numeric, 38, 38, 0, false},
      {"PPP99", Category::numeric, 2, 2, 5, false},
      {"VP(3)99", Category::numeric, 2, 2, 5, false},
      {"S99PPP", Category::numeric, 2, 2, -3, true},
      {"99P(3)V", Category::numeric, 2, 2, -3, false},
      {"ZZ,ZZ9.99-", Category::numeric_edited, 10, 7, 2, true},
      {"$$$,$$9.99", Category::numeric_edited, 10, 7, 2, false},
      {"$ZZ9", Category::numeric_edited, 4, 3, 0, false},
      {"+(4)9", Category::numeric_edited, 5, 4, 0, true},
      {"-9(3)", Category::numeric_edited, 4, 3, 0, true},
      {"**9.99CR", Category::numeric_edited, 8, 5, 2, true},
      {"99/99/9999", Category::numeric_edited, 10, 8, 0, false},
      {"9(3)B99DB", Category::numeric_edited, 8, 5, 0, true},
      {"--,---.--", Category::numeric_edited, 9, 6, 2, true},
      {"S9(3).99", Category::numeric_edited, 6, 5, 2, true},
      {"ZZZV99", Category::numeric_edited, 5, 5, 2, false},
      {"+9.99E+99", Category::external_float, 9, 3, 2, true},
      {"-9(3)VE-99", Category::external_float, 8, 3, 0, true},
  };
  for (const Row& row : rows) {
    Picture picture;
    try {
      picture = parse_picture(row.picture);
    } catch (const PictureFault& fault) {
      ADD_FAILURE() << row.picture << ": " << fault.message;
      continue;
    }
    EXPECT_EQ(picture.category, row.category) << row.picture;
    EXPECT_EQ(fmt::format("{} {} {} {}", picture.length, picture.digits, picture.scale, picture.is_signed),
              fmt::format("{} {} {} {}", row.length, row.digits, row.scale, row.is_signed))
        << row.picture;
  }
}

TEST(Picture, RefusesWhatIsNone) {
  constexpr std::pair<const char*, std::size_t> rows[] = {
      {"X(", 1},        {"X(0)", 1}, {"X(3", 1}, {"9S9", 1},          {"9V9V9", 3}, {"9.9.9", 3},
      {"V", 0},         {"+", 0},    {"S", 0},   {"9Z", 1},           {"Z*9", 0},   {"9CR9", 1},
      {"+99-", 0},      {"9P9", 1},  {"P9P", 0}, {"XV9", 1},          {"NX", 1},    {"9(39)", 0},
      {"S9(4)COMP", 5}, {"9E99", 0}, {"#99", 0}, {"X(134217728)", 1}, {"9PV9P", 1}, {"S-99", 0},
  };
  for (const auto& [text, at] : rows) {
    try {
      parse_picture(text);
      ADD_FAILURE() << text << " was taken";
    } catch (const PictureFault& fault) {
      EXPECT_EQ(fault.at, at) << text << ": " << fault.message;
    }
  }
}

}  // namespace
