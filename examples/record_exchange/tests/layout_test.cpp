#include "layout.h"

#include <gtest/gtest.h>

#include <string>

namespace record_exchange {
namespace {

class LayoutTest : public ::testing::Test {
 protected:
  Library library_;
};

std::string error_of(const std::string& text) {
  try {
    parse_layout(text, "f.cpy");
  } catch (const Failure& failure) {
    return failure.what();
  }
  return "";
}

TEST_F(LayoutTest, GivesEveryItemItsPlace) {
  const Layout layout = parse_layout(
      "000100*> with sequence numbers, a comment in column 7 and a patch level behind column 72\n"
      "000200* old comment\n"
      "       01 rec.                                                          00000300\n"
      "          05 a pic x(3).  *>@ column=\"The A\" null=blanks\n"
      "          05 filler pic x.\n"
      "          05 grp occurs 2 times.\n"
      "             10 p picture is s9(5)v99 usage is comp-3.\n"
      "             10 q pic\n"
      "                s9(9) comp. *> an ordinary remark: column=no\n"
      "             10 r pic 9v9 occurs 2. *>@ column=R\n"
      "          05 i pic x.\n"
      "          05 n pic x(22). *>@ number indicator=I\n",
      "f.cpy");
  struct Place {
    const char* name;
    const char* column;
    std::size_t offset;
    std::size_t length;
    std::size_t digits;
    std::size_t scale;
  };
  static constexpr Place expected[] = {
      {"A", "The A", 0, 3, 0, 0},       {"P(1)", "P_1", 4, 4, 7, 2},      {"Q(1)", "Q_1", 8, 4, 9, 0},
      {"R(1,1)", "R_1_1", 12, 2, 2, 1}, {"R(1,2)", "R_1_2", 14, 2, 2, 1}, {"P(2)", "P_2", 16, 4, 7, 2},
      {"Q(2)", "Q_2", 20, 4, 9, 0},     {"R(2,1)", "R_2_1", 24, 2, 2, 1}, {"R(2,2)", "R_2_2", 26, 2, 2, 1},
      {"N", "N", 29, 22, 0, 0},
  };
  ASSERT_EQ(layout.fields.size(), std::size(expected));
  for (std::size_t i = 0; i < std::size(expected); ++i) {
    const Field& field = layout.fields[i];
    EXPECT_EQ(field.name, expected[i].name);
    EXPECT_EQ(field.column, expected[i].column) << field.name;
    EXPECT_EQ(field.offset, expected[i].offset) << field.name;
    EXPECT_EQ(field.length, expected[i].length) << field.name;
    EXPECT_EQ(field.digits, expected[i].digits) << field.name;
    EXPECT_EQ(field.scale, expected[i].scale) << field.name;
  }
  EXPECT_EQ(layout.record_length, 51u);
  EXPECT_EQ(layout.fields.back().indicator_offset, 28u);
}

TEST_F(LayoutTest, SaysWhereItDoesNotUnderstand) {
  static constexpr struct {
    const char* text;
    const char* error;
  } cases[] = {
      {"01 R.\n 05 A PIC X(3) REDEFINES B.\n", "f.cpy:2:16: 'REDEFINES' is not understood here"},
      {"01 R.\n 05 A PIC X(3.\n", "f.cpy:2:12: a count from 1 to 32767 and ')' are missing"},
      {"01 R.\n 05 A PIC 9(3)X.\n", "f.cpy:2:15: 'X' is not understood here"},
      {"01 R.\n 05 A PIC S9VV9.\n", "f.cpy:2:14: 'V' is not understood here"},
      {"01 R.\n 05 A PIC SV.\n", "f.cpy:2:11: the picture has no digit"},
      {"01 R.\n 05 A PIC 9(39).\n", "f.cpy:2:11: a number has at most 38 digits"},
      {"01 R.\n 05 A PIC 9(19) COMP.\n", "f.cpy:2:11: COMP has at most 18 digits"},
      {"01 R.\n 05 A PIC X COMP-3.\n", "f.cpy:2:11: text is DISPLAY"},
      {"01 R.\n 05 A.\n", "f.cpy:2:2: A has neither a picture nor fields"},
      {"01 R.\n 05 A PIC X.\n 88 YES VALUE 1.\n", "f.cpy:3:2: '88' is not a level number from 1 to 49"},
      {"01 R.\n 05 A PIC X OCCURS 0.\n", "f.cpy:2:20: '0' is not a count from 1 to 9999"},
      {"01 R.\n 05 A PIC X", "f.cpy:2:2: the entry has no period"},
      {"01 R.\n 05 A PIC X.\n01 S.\n 05 B PIC X.\n", "f.cpy:3:1: a second record begins here"},
      {"01 R.\n 05 A PIC X. *>@ nul=blanks\n", "f.cpy:2:18: 'nul' is no option of a field"},
      {"01 R.\n 05 A PIC X. *>@ null=none\n", "f.cpy:2:18: null is blanks, zeros or low-values"},
      {"01 R.\n 05 A PIC X. *>@ indicator=B\n", "f.cpy:2:18: there is no item B"},
      {"01 R.\n 05 A PIC X. *>@ column=\"a\n", "f.cpy:2:25: the quoted value has no end"},
      {"01 R.\n 05 A PIC X(9). *>@ date=%Q\n",
       "f.cpy:2:21: the date model has an unknown element (ZVRT_RC_INVALID_FORMAT)"},
      {"01 R.\n 05 A PIC X(9). *>@ date=%D.%MM.%YYYY\n",
       "f.cpy:2:21: %M and %D can be written but not read: use %MM and %DD"},
      {"01 R.\n 05 A PIC X(9). *>@ date=%SS.%FFF table-date=%SS.%FFFFFF\n",
       "f.cpy:2:21: both models need the same number of fraction digits"},
      {"*>@ page=IBM-x\n01 R.\n 05 A PIC X.\n", "f.cpy:1:5: 'IBM-x' is no code page"},
      {"01 R.\n 05 A PIC X.\n 05 A PIC X.\n", "f.cpy:1:1: two fields belong to the column 'A'"},
      {"", "f.cpy:1:1: the layout has no entry"},
  };
  for (const auto& [text, error] : cases) EXPECT_EQ(error_of(text), error) << text;
}

TEST(CodePage, IsANumberOrAName) {
  static constexpr struct {
    const char* name;
    std::uint32_t number;  // 0: none
  } cases[] = {{"37", 37},
               {"IBM-1047", 1047},
               {"ibm037", 37},
               {"cp500", 500},
               {"Windows-1252", 1252},
               {"ISO-8859-15", 28605},
               {"utf-8", 65001},
               {"CCSID1140", 1140},
               {"0", 0},
               {"latin", 0},
               {"37x", 0}};
  for (const auto& [name, number] : cases) EXPECT_EQ(code_page_number(name).value_or(0), number) << name;
}

}  // namespace
}  // namespace record_exchange
