// Copybooks as they come, and what is said of those that cannot be read.
#include <gtest/gtest.h>

#include <map>

#include "records/layout/summary.h"

namespace {

using namespace zvrt::records;
using zvrt_records_test::summary;

struct Sample {
  const char* name;
  const char* text;
  const char* layout;
};

void PrintTo(const Sample& sample, std::ostream* out) { *out << sample.name; }

class Copybooks : public testing::TestWithParam<Sample> {};

TEST_P(Copybooks, AreLaidOut) {
  EXPECT_EQ(summary(parse_layout(GetParam().text, "dir/order-file.cpy")), GetParam().layout);
}

constexpr Sample shapes[] = {
    {"a group and items", "       01 R.\n         05 A PIC X(3).\n         05 PIC 9(2).\n", "R 0+5: A 0+3, FILLER 3+2"},
    {"no 01: named after the file", "       05 A PIC X.\n       05 B.\n         10 C PIC XX.\n",
     "ORDER-FILE 0+3: A 0+1, B 1+2, C 1+2"},
    {"several 01", "       01 R PIC X(4).\n       01 S.\n         05 A PIC X.\n", "R 0+4\nS 0+1: A 0+1"},
    {"77 is a record of its own", "       77 N PIC S9(9) COMP.\n       01 R PIC X.\n", "N 0+4\nR 0+1"},
    {"levels need not be even steps", "       01 R.\n         10 G.\n           15 A PIC X.\n         05 B PIC X.\n",
     "R 0+2: G 0+1, A 0+1, B 1+1"},
    {"88 and 66",
     "       01 R.\n         05 A PIC X.\n           88 YES VALUE 'Y' 'y'.\n         05 B PIC XX.\n       66 AB "
     "RENAMES A THRU B.\n",
     "R 0+3: A 0+1, B 1+2, AB 0+3"},
    {"redefinitions of a redefined group",
     "       01 R.\n         05 A.\n           10 B PIC X(4).\n         05 C REDEFINES A PIC 9(6).\n         05 D "
     "REDEFINES C.\n           10 E PIC X.\n         05 F PIC X.\n",
     "R 0+7: A 0+4, B 0+4, C 0+6, D 0+1, E 0+1, F 6+1"},
    {"tables in tables",
     "       01 R.\n         05 A OCCURS 2.\n           10 B PIC X OCCURS 3 TIMES INDEXED BY I J.\n           10 C PIC "
     "9(2).\n         05 D PIC X.\n",
     "R 0+11: A 0+5*2, B 0+1*3, C 3+2, D 10+1"},
    {"a variable table in the middle",
     "       01 R.\n         05 N PIC 9.\n         05 T OCCURS 0 TO 3 TIMES DEPENDING ON N ASCENDING KEY IS K INDEXED "
     "BY I.\n           10 K PIC XX.\n         05 E PIC X.\n",
     "R 0+8: N 0+1, T 1+2*3, K 1+2, E 7+1"},
    {"usages and signs of a group",
     "       01 R.\n         05 G COMP-3.\n           10 A PIC S9(4).\n           10 B PIC 9(5) USAGE DISPLAY.\n       "
     "  05 H SIGN LEADING SEPARATE.\n           10 C PIC S9(4).\n           10 D PIC 9(4).\n           10 E PIC S9(4) "
     "TRAILING.\n",
     "R 0+21: G 0+8, A 0+3, B 3+5, H 8+13, C 8+5, D 13+4, E 17+4"},
    {"binary sizes",
     "       01 R.\n         05 A PIC 9(4) COMP.\n         05 B PIC S9(9) BINARY.\n         05 C PIC 9(10) COMP-5.\n   "
     "      05 D PIC 9 COMP-5.\n         05 E PIC 9(12) COMP-X.\n         05 F COMP-1.\n         05 G "
     "COMPUTATIONAL-2.\n         05 H POINTER.\n         05 I PIC 9(5) COMP-6.\n",
     "R 0+40: A 0+2, B 2+4, C 6+8, D 14+2, E 16+5, F 21+4, G 25+8, H 33+4, I 37+3"},
    {"national, double-byte, edited",
     "       01 R.\n         05 A PIC N(3).\n         05 B PIC G(2) DISPLAY-1.\n         05 C PIC 9(3) NATIONAL.\n     "
     "    05 D PIC $$,$$9.99CR.\n         05 E PIC +9.9E+99.\n",
     "R 0+35: A 0+6, B 6+4, C 10+6, D 16+11, E 27+8"},
    {"slack bytes: before items, at the end of entries",
     "       01 R.\n         05 A PIC X.\n         05 T OCCURS 2.\n           10 B PIC S9(9) COMP SYNC.\n           10 "
     "C PIC X.\n         05 D PIC X.\n         05 E PIC S9(4) COMP SYNC.\n",
     "R 0+20: A 0+1, T 1+8*2, B 4+4, C 8+1, D 17+1, E 18+2"},
    {"SYNC for the whole record",
     "       01 R SYNC.\n         05 A PIC X.\n         05 B PIC S9(4) COMP.\n         05 C PIC X.\n         05 D PIC "
     "S9(18) COMP.\n",
     "R 0+16: A 0+1, B 2+2, C 4+1, D 8+8"},
};
INSTANTIATE_TEST_SUITE_P(Shapes, Copybooks, testing::ValuesIn(shapes));

constexpr Sample sources[] = {
    {"tags on both sides",
     "000100 01  R.                                                            ABC00001\nNEW-2A     05  A PIC X(3).    "
     "                                            05 B X.\n",
     "R 0+3: A 0+3"},
    {"comments of every habit",
     "      * one\n000001* two\n      / three\n     * four\n       * five\n*six\n      *\n       01 R. *> seven\n      "
     "D    05 DEBUG PIC X.\n           05 A PIC X.\n",
     "R 0+1: A 0+1"},
    {"an asterisk that is a picture's", "       01 R.\n         05 A PIC\n           ***9.99.\n", "R 0+7: A 0+7"},
    {"free form", "01 R.\n  05 A PIC X(3).\n* a comment\n  05 B\n  PIC X.\n", "R 0+4: A 0+3, B 3+1"},
    {"free form, numbered", "000010 01 R.\n000020 05 A PIC X.\n", "R 0+1: A 0+1"},
    {"free form by directive", "       01 R.\n      >>SOURCE FORMAT IS FREE\n05 A PIC X. 05 B PIC X.\n",
     "R 0+2: A 0+1, B 1+1"},
    {"free form by the other directive", "      $SET SOURCEFORMAT\"FREE\"\n01 R.\n05 A PIC X.\n", "R 0+1: A 0+1"},
    {"text beyond column 72",
     "       01 R.\n           05 A-NAME-THAT-IS-LONG                                    PIC X(10)\n               "
     "OCCURS 2.\n           05 ANOTHER-NAME-THAT-IS-LONGER                            PIC X(1000).\n",
     "R 0+1020: A-NAME-THAT-IS-LONG 0+10*2, ANOTHER-NAME-THAT-IS-LONGER 20+1000"},
    {"text that begins in column 7",
     "      01 R.\n000020     05 A PIC X.                                                  00000020\n", "R 0+1: A 0+1"},
    {"tabs and carriage returns", "\t01 R.\r\n\t\t05 A\tPIC X(2).\r\n000300\t05 B PIC X.\r\n\x1A",
     "R 0+3: A 0+2, B 2+1"},
    {"lower case, byte order mark", "\xEF\xBB\xBF       01 r.\n         05 a pic s9(3)v99 comp-3.\n", "R 0+3: A 0+3"},
    {"a word and a literal go on",
     "       01 R.\n         05 A-NAME-OF-TWO-\n      -    LINES PIC X.\n         05 B PIC X(9) VALUE 'IT IS 05\n      "
     "-    ' C PIC X.'.\n",
     "R 0+10: A-NAME-OF-TWO-LINES 0+1, B 1+9"},
    {"directives for the listing",
     "           EJECT\n       01 R.\n           SKIP1\n           TITLE 'ORDERS'.\n         05 A PIC X.\n           "
     "SKIP3.\n",
     "R 0+1: A 0+1"},
    {"file descriptions, headings, SQL",
     "       FILE SECTION.\n       FD  F RECORDING MODE IS F\n           RECORD CONTAINS 80 CHARACTERS.\n           "
     "EXEC SQL DECLARE T TABLE ( A CHAR(3) NOT NULL ) END-EXEC.\n       01 R.\n         05 A PIC X.\n",
     "R 0+1: A 0+1"},
    {"values of every form",
     "       01 R.\n         05 A PIC X(3) VALUE IS \"A.\"\"B\".\n         05 B PIC S9V9 VALUE -1.5.\n           88 C "
     "VALUES ARE 1 THRU 2, 3.5 7 THROUGH 9\n             WHEN SET TO FALSE IS 0.\n         05 D PIC X(4) VALUE ALL "
     "'-'.\n         05 E PIC X VALUE X'00'.\n         05 F PIC X VALUE LOW-VALUES.\n",
     "R 0+11: A 0+3, B 3+2, D 5+4, E 9+1, F 10+1"},
    {"clauses without a place",
     "       01 R IS GLOBAL EXTERNAL.\n         05 A PIC 9(6) DATE FORMAT IS YYXXXX VOLATILE.\n         05 B PIC X "
     "JUSTIFIED RIGHT.\n         05 C PIC 9 BLANK WHEN ZERO.\n",
     "R 0+8: A 0+6, B 6+1, C 7+1"},
    {"constants",
     "       78 MANY VALUE 3.\n       01 LEVELS CONSTANT AS 2.\n       01 R.\n         05 A PIC X OCCURS MANY.\n       "
     "  05 B PIC X OCCURS LEVELS TIMES.\n",
     "R 0+5: A 0+1*3, B 3+1*2"},
    {"names like clauses",
     "       01 R.\n         05 VALUE PIC X.\n         05 88-LEVEL PIC X.\n         05 :TAG:-CODE PIC X.\n",
     "R 0+3: VALUE 0+1, 88-LEVEL 1+1, :TAG:-CODE 2+1"},
};
INSTANTIATE_TEST_SUITE_P(Sources, Copybooks, testing::ValuesIn(sources));

struct Fault {
  const char* text;
  const char* message;
};

TEST(Copybook, SaysWhatIsWrongAndWhere) {
  constexpr Fault faults[] = {
      {"       01 R.\n         05 A PIC X\n         05 B PIC X.\n", "2:19: the entry has no period; put one after 'X'"},
      {"       01 R.\n         05 A PIC X VALUE 'Y'\n         05 B PIC X.\n",
       "2:29: the entry has no period; put one after 'Y'"},
      {"       01 R.\n         05 A PIC X.\n         05 B PIC X", "3:19: the entry has no period; put one after 'X'"},
      {"       01 R.\n         05 A PIC X(3)Q.\n", "2:23: picture X(3)Q: 'Q' is not a symbol of a picture"},
      {"       01 R.\n         05 A PIC X (3).\n", "2:21: a picture has no blanks; write X(3)"},
      {"       01 R.\n         05 A PIC X REDEFINES B.\n",
       "2:31: there is no B that A can redefine; it stands before, in the same group, with the same level"},
      {"       01 R.\n         05 A PIC X.\n         05 B PIC X.\n         05 C REDEFINES A PIC X.\n",
       "4:25: B stands between C and A, which it redefines; a redefinition follows its item"},
      {"       01 R.\n         05 A.\n         05 B PIC X.\n",
       "2:10: A has neither a picture nor parts; check the level number of what follows"},
      {"       01 R.\n         05 A PIC X.\n         10 B PIC X.\n",
       "3:10: B is part of A, which has a picture; check the level numbers"},
      {"       01 R.\n         05 A PIC X COMP-3.\n", "2:19: picture X does not go with COMP-3"},
      {"       01 R.\n         05 A PIC 9(39).\n", "2:19: picture 9(39): a number has at most 38 digits"},
      {"       01 R.\n         05 A PIC X OCCURS 1 TO 5.\n",
       "2:21: a table of variable length needs DEPENDING ON; or write its greatest size alone"},
      {"       01 R.\n           COPY OTHER.\n         05 A PIC X.\n",
       "2:12: the copybook OTHER is not found; it stands beside this one, or in an include folder (-I, include=)"},
      {"       01 R.\n         05 A PIC X FROBNICATE.\n", "2:21: 'FROBNICATE' is not understood here; of entry A"},
      {"       01 R.\n         05 A PIC X VALUE 'Y.\n",
       "2:27: the literal has no end; a line that continues it has - in column 7"},
      {"       01 R.\n      >>IF X\n         05 A PIC X.\n",
       "2:7: conditional compilation is not understood; keep the lines that apply and remove the others"},
      {"       01 R.\n         05 A PIC X OCCURS 99999999 TIMES.\n         05 B PIC X OCCURS 99999999 TIMES.\n",
       "3:10: the record is longer than 134217727 bytes"},
      {"", "1:1: the copybook has no entry; an entry begins with a level number, as in 01 CUSTOMER."},
      {"       01 R.\n         05 A PIC X. *>@ colum=b\n",
       "2:26: 'colum' is not an option of a field; options are column, null, indicator, date, table-date, number; page "
       "and newline of a file"},
  };
  for (const Fault& fault : faults) {
    try {
      parse_layout(fault.text, "f");
      ADD_FAILURE() << "read:\n" << fault.text;
    } catch (const CopybookError& error) {
      EXPECT_EQ(error.what(), std::string("f:") + fault.message) << fault.text;
    }
  }
}

TEST(Copybook, ReplacesWordsAndPartsOfWords) {
  const char* text =
      "       01 :TAG:-R.\n         05 :tag:-A PIC X(LEN).\n         05 OLD-B PIC X VALUE ':TAG:'.\n         05 C-OLD "
      "PIC X.\n";
  LayoutOptions options;
  options.copybook.replacing = {{":TAG:", "CUST"}, {"OLD-", "NEW-"}, {"LEN", "7"}, {"-OLD", ""}};
  EXPECT_EQ(summary(parse_layout(text, "f", options)), "CUST-R 0+9: CUST-A 0+7, NEW-B 7+1, C 8+1");
}

// The copybooks that others may ask for, by name.
std::optional<CopiedText> shelf(const std::string& name, const std::string& library, const std::string& asking) {
  static const std::map<std::string, std::string> texts{
      {"NAMES", "           05 :T:-NAME PIC X(4).\n           05 IN-SIZE PIC 9(2).\n"},
      {"NESTED", "           05 A PIC X.\n           COPY NAMES REPLACING ==:T:== BY ==N==.\n"},
      {"FREE", "05 A PIC X. *> free\n05 B PIC X.\n"},
      {"ROUND", "           COPY ROUND.\n"},
      {"BROKEN", "\n           05 A PIC X(.\n"},
      {"OTHERS/NAMES", "           05 OTHER PIC X.\n"},
  };
  EXPECT_FALSE(asking.empty());
  const auto found = texts.find(library.empty() ? name : library + "/" + name);
  if (found == texts.end()) return std::nullopt;
  return CopiedText{found->first + ".cpy", found->second};
}

struct Copying {
  const char* text;
  const char* layout;
};

constexpr Copying copying[] = {
    {"01 R. COPY NAMES.", "R 0+6: :T:-NAME 0+4, IN-SIZE 4+2"},
    {"01 R.\n COPY NAMES REPLACING ==:T:== BY ==CUST==\n LEADING ==IN== BY ==OUT==.\n 05 B PIC X.",
     "R 0+7: CUST-NAME 0+4, OUT-SIZE 4+2, B 6+1"},
    {"01 R.\n COPY NAMES REPLACING TRAILING ==NAME== BY ==N== IN-SIZE BY SIZE-OF.", "R 0+6: :T:-N 0+4, SIZE-OF 4+2"},
    {"01 R.\n COPY NAMES REPLACING ==PIC  X(4)== BY ==PIC X(9)==.", "R 0+11: :T:-NAME 0+9, IN-SIZE 9+2"},
    {"01 R.\n COPY NAMES OF OTHERS SUPPRESS.", "R 0+1: OTHER 0+1"},
    {"01 R.\n COPY 'NESTED'.", "R 0+7: A 0+1, N-NAME 1+4, IN-SIZE 5+2"},
    {"01 R.\n COPY FREE.", "R 0+2: A 0+1, B 1+1"},
    {"01 R.\n 05 A PIC X(LEN).\n REPLACE ==LEN== BY ==3==.\n 05 B PIC X(LEN).\n REPLACE OFF.\n 05 C PIC X(LEN).",
     "f:2:19: picture X(LEN): a count from 1 to 134217727 and ')' are missing"},
    {"01 R.\n REPLACE ==LEN== BY ==3==.\n 05 B PIC X(LEN).\n REPLACE ==LEN== BY ==4==.\n 05 C PIC X(LEN).",
     "R 0+7: B 0+3, C 3+4"},
    {"01 R.\n COPY ABSENT.",
     "f:2:9: the copybook ABSENT is not found; it stands beside this one, or in an include folder (-I, include=)"},
    {"01 R.\n COPY NAMES", "f:2:9: the COPY statement is not complete; it ends with a period"},
    {"01 R.\n COPY ROUND.", "ROUND.cpy:1:12: copybooks ask for each other without end"},
    {"01 R.\n COPY BROKEN.", "BROKEN.cpy:2:22: picture X(: a count from 1 to 134217727 and ')' are missing"},
};

TEST(Copybook, TakesTheCopybooksThatItAsksFor) {
  LayoutOptions options;
  options.copybook.find_copy = shelf;
  for (const Copying& each : copying) {
    std::string text = std::string("        ") + each.text + "\n";
    for (std::size_t at = 0; (at = text.find("\n ", at)) != std::string::npos; ++at) text.insert(at + 1, 7, ' ');
    std::string found;
    try {
      found = summary(parse_layout(text, "f", options));
    } catch (const CopybookError& error) {
      found = error.what();
    }
    EXPECT_EQ(found, each.layout) << each.text;
  }
}

TEST(Copybook, SizesAndBoundariesAreOptions) {
  const char* text =
      "       01 R.\n         05 A PIC 9(2) COMP.\n         05 B PIC 9(7) COMP.\n         05 C PIC S9(12) COMP SYNC.\n";
  LayoutOptions options;
  EXPECT_EQ(summary(parse_layout(text, "f", options)), "R 0+16: A 0+2, B 2+4, C 8+8");
  options.binary_sizes = BinarySizes::b1_2_4_8;
  EXPECT_EQ(summary(parse_layout(text, "f", options)), "R 0+16: A 0+1, B 1+4, C 8+8");
  options.binary_sizes = BinarySizes::b1_to_8;
  EXPECT_EQ(summary(parse_layout(text, "f", options)), "R 0+10: A 0+1, B 1+3, C 4+6");
  options.binary_sizes = BinarySizes::b2_4_8;
  options.sync_boundary = 8;
  const char* eight = "       01 R.\n         05 A PIC X(5).\n         05 C PIC S9(12) COMP SYNC.\n";
  EXPECT_EQ(summary(parse_layout(eight, "f", options)), "R 0+16: A 0+5, C 8+8");
  options.sync_boundary = 4;
  EXPECT_EQ(summary(parse_layout("       01 R.\n         05 A PIC X(9).\n         05 C PIC S9(12) COMP SYNC.\n", "f",
                                 options)),
            "R 0+20: A 0+9, C 12+8");
}

}  // namespace
