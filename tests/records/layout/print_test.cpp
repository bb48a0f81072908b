// A layout in print.
#include "records/layout/print.h"

#include <gtest/gtest.h>

namespace {

using namespace zvrt::records;

constexpr const char* copybook =
    "01 CUSTOMER.\n"
    "  05 NAME PIC X(10).\n"
    "  05 ACCOUNT OCCURS 1 TO 3 DEPENDING ON LINES-OF.\n"
    "    10 BALANCE PIC S9(7)V99 COMP-3.\n"
    "    10 KIND PIC X.\n"
    "      88 ACTIVE VALUE 'A' 'C' THRU 'F'.\n"
    "  05 LINES-OF PIC S9(4) COMP SYNC.\n"
    "  05 FILLER REDEFINES LINES-OF PIC XX.\n"
    "  05 RATE PIC S9(3) SIGN LEADING SEPARATE.\n"
    "66 TAIL RENAMES LINES-OF THRU RATE.\n";

TEST(Print, ShowsATable) {
  EXPECT_EQ(
      layout_as_text(parse_layout(copybook, "f")),
      "CUSTOMER: 34 bytes, at least 22\n"
      "level  name                          picture   usage    offset  length  occurs\n"
      "   01  CUSTOMER                                              0      34\n"
      "   05    NAME                        X(10)     DISPLAY       0      10\n"
      "   05    ACCOUNT                                            10       6  1-3 by LINES-OF\n"
      "   10      BALANCE                   S9(7)V99  COMP-3       10       5\n"
      "   10      KIND                      X         DISPLAY      15       1\n"
      "   88        ACTIVE: 'A' 'C' to 'F'\n"
      "   05    LINES-OF                    S9(4)     COMP         28       2\n"
      "   05    FILLER                      XX        DISPLAY      28       2                   redefines LINES-OF\n"
      "   05    RATE                        S9(3)     DISPLAY      30       4                   sign leading separate\n"
      "   66    TAIL                                               28       6                   renames LINES-OF, to "
      "RATE\n");
}

TEST(Print, WritesALineOfJsonForEveryItem) {
  const std::string json = layout_as_json(parse_layout(copybook, "f"));
  EXPECT_EQ(std::count(json.begin(), json.end(), '\n'), 9);
  const auto has = [&](const char* line) { return json.find(std::string(line) + "\n") != std::string::npos; };
  EXPECT_TRUE(has(
      R"({"record":"CUSTOMER","level":10,"name":"BALANCE","path":"CUSTOMER.ACCOUNT.BALANCE","picture":"S9(7)V99","usage":"COMP-3","offset":10,"length":5,"occurs":1,"occurs_min":1,"depends_on":null,"redefines":null,"digits":9,"scale":2,"signed":true})"));
  EXPECT_TRUE(has(
      R"({"record":"CUSTOMER","level":5,"name":"ACCOUNT","path":"CUSTOMER.ACCOUNT","picture":null,"usage":null,"offset":10,"length":6,"occurs":3,"occurs_min":1,"depends_on":"LINES-OF","redefines":null,"digits":0,"scale":0,"signed":false})"));
  EXPECT_TRUE(has(
      R"({"record":"CUSTOMER","level":10,"name":"KIND","path":"CUSTOMER.ACCOUNT.KIND","picture":"X","usage":"DISPLAY","offset":15,"length":1,"occurs":1,"occurs_min":1,"depends_on":null,"redefines":null,"digits":0,"scale":0,"signed":false,"conditions":[{"name":"ACTIVE","values":[["A","A"],["C","F"]]}]})"));
  EXPECT_NE(json.find(R"("redefines":"LINES-OF")"), std::string::npos);
  EXPECT_NE(json.find(R"("renames":["LINES-OF","RATE"])"), std::string::npos);
}

TEST(Print, LeavesOutTheRootThatTheCopybookLacks) {
  const std::string json = layout_as_json(parse_layout("05 A PIC X.\n", "dir/some.file.cpy"));
  EXPECT_EQ(json.find(R"({"record":"SOME-FILE","level":5,"name":"A","path":"SOME-FILE.A",)"), 0u) << json;
  EXPECT_EQ(std::count(json.begin(), json.end(), '\n'), 1);
}

}  // namespace
