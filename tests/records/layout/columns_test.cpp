// The columns of a record: their names, what holds at the same time, and where they stand in shorter records.
#include "records/layout/columns.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "records/layout/ddl.h"
#include "records/layout/slide.h"

namespace {

using namespace zvrt::records;

std::string names(const Layout& layout, const ColumnOptions& options = {}) {
  std::string text;
  for (const Column& column : columns_of(layout, options).list)
    text += fmt::format("{}{}@{}", text.empty() ? "" : " ", column.name, column.offset);
  return text;
}

struct Row {
  const char* name;
  const char* copybook;
  const char* columns;
};

TEST(Columns, AreNamedAfterTheirItems) {
  constexpr Row rows[] = {
      {"hyphens, FILLER, groups",
       "01 R.\n05 A-B PIC X.\n05 PIC X.\n05 FILLER.\n10 C PIC X.\n05 FILLER PIC X. *>@ column=spare\n",
       "A_B@0 C@2 spare@3"},
      {"tables, outermost first", "01 R.\n05 T OCCURS 2.\n10 A PIC X.\n10 B PIC X OCCURS 2.\n05 C PIC X OCCURS 1.\n",
       "A_1@0 B_1_1@1 B_1_2@2 A_2@3 B_2_1@4 B_2_2@5 C@6"},
      {"the same name in two groups",
       "01 R.\n05 G.\n10 A PIC X.\n10 B PIC X.\n05 H.\n10 A PIC X.\n10 FILLER.\n15 A-2 PIC X.\n",
       "G_A@0 B@1 H_A@2 A_2@3"},
      {"in groups named alike", "01 R.\n05 X.\n10 G.\n15 A PIC X.\n05 Y.\n10 G.\n15 A PIC X.\n", "X_G_A@0 Y_G_A@1"},
      {"a table's entry and another item", "01 R.\n05 G.\n10 A PIC X OCCURS 2.\n05 A-1 PIC X.\n",
       "G_A_1@0 G_A_2@1 R_A_1@2"},
      {"twice in one group", "01 R.\n05 A PIC X.\n05 A PIC X.\n", "R_A__1@0 R_A__2@1"},
      {"no names from level 66 and conditions",
       "01 R.\n05 A PIC X.\n88 C VALUE 'X'.\n05 B PIC X.\n66 D RENAMES A THRU B.\n", "A@0 B@1"},
      {"records share an area; 77 is none", "77 N PIC 9.\n01 R.\n05 A PIC X.\n05 B PIC X.\n01 S.\n05 A PIC XX.\n",
       "R_A@0 B@1 S_A@0"},
      {"a name that is given", "01 R.\n05 A PIC X OCCURS 2. *>@ column=\"a name\"\n", "a name_1@0 a name_2@1"},
  };
  for (const Row& row : rows) EXPECT_EQ(names(parse_layout(row.copybook, "f")), row.columns) << row.name;
}

constexpr const char* redefined =
    "01 R.\n05 K PIC X.\n05 A PIC X(4).\n05 B REDEFINES A.\n10 C PIC 99.\n10 D PIC XX.\n10 E REDEFINES D PIC 99.\n05 F "
    "REDEFINES A PIC 9(4).\n05 Z PIC X.\n";

TEST(Columns, KnowTheMeaningTheyArePartOf) {
  const Layout layout = parse_layout(redefined, "f");
  const Columns columns = columns_of(layout);
  std::string text;
  for (const Column& column : columns.list) {
    text += column.name;
    for (const MeaningOfArea& meaning : column.meanings) text += fmt::format(" {}.{}", meaning.area, meaning.meaning);
    text += "; ";
  }
  EXPECT_EQ(text, "K; A 0.0; C 0.1; D 0.1 1.0; E 0.1 1.1; F 0.2; Z; ");
  ASSERT_EQ(columns.areas.size(), 2u);
  ASSERT_EQ(columns.areas[1].within.size(), 1u);
  EXPECT_EQ(columns.areas[1].within[0].meaning, 1u);
}

TEST(Columns, OfOneMeaningAlone) {
  const Layout layout = parse_layout(redefined, "f");
  EXPECT_EQ(names(layout, {"", true}), "K@0 A@1 Z@5");
  EXPECT_EQ(names(layout, {"b", false}), "K@0 C@1 D@3 E@3 Z@5");
  EXPECT_EQ(names(layout, {"E", false}), "K@0 C@1 E@3 Z@5");
  EXPECT_EQ(names(layout, {"r", true}), "K@0 A@1 Z@5");
  EXPECT_THROW(names(layout, {"NOBODY", false}), CopybookError);
  const Layout fillers = parse_layout("01 R.\n05 FILLER.\n10 FILLER PIC X(2).\n01 S REDEFINES R.\n05 A PIC XX.\n", "f");
  EXPECT_EQ(names(fillers), "A@0");
  EXPECT_TRUE(columns_of(fillers).areas.empty());
}

constexpr const char* variable =
    "01 R.\n05 N PIC 9.\n05 T OCCURS 0 TO 3 DEPENDING ON N.\n10 M PIC 9.\n10 U PIC XX OCCURS 1 TO 2 DEPENDING ON "
    "M.\n05 Z PIC X.\n";

// The record's bytes, and the columns found in them.
std::string slid(const Layout& layout, const std::string& record, bool shift) {
  const Columns columns = columns_of(layout);
  Slide slide(columns, shift);
  const VariableTable* wrong = slide.take([&](const VariableTable&, std::size_t offset) -> std::optional<std::size_t> {
    if (offset >= record.size() || record[offset] < '0' || record[offset] > '9') return std::nullopt;
    return static_cast<std::size_t>(record[offset] - '0');
  });
  if (wrong != nullptr) return "wrong count of " + wrong->item->name;
  std::string text = std::to_string(slide.length_of(layout.records.front()));
  for (const Column& column : columns.list)
    if (const auto offset = slide.offset_of(column))
      text += fmt::format(" {}={}", column.name, record.substr(*offset, column.item->length));
  return text;
}

TEST(Columns, MoveWithTheTablesBeforeThem) {
  const Layout layout = parse_layout(variable, "f");
  EXPECT_EQ(layout.records.front().length, 17u);
  EXPECT_EQ(layout.records.front().min_length, 2u);
  EXPECT_FALSE(columns_of(layout).cannot_shift);
  EXPECT_EQ(slid(layout, "0z", true), "2 N=0 Z=z");
  EXPECT_EQ(slid(layout, "21aa2bbccz", true), "10 N=2 M_1=1 U_1_1=aa M_2=2 U_2_1=bb U_2_2=cc Z=z");
  EXPECT_EQ(slid(layout, "32aabb2ccdd2eeffz", true),
            "17 N=3 M_1=2 U_1_1=aa U_1_2=bb M_2=2 U_2_1=cc U_2_2=dd M_3=2 U_3_1=ee U_3_2=ff Z=z");
  EXPECT_EQ(slid(layout, "11aa--,,,,,.....z", false), "17 N=1 M_1=1 U_1_1=aa Z=z");
  EXPECT_EQ(slid(layout, "4zzzzzzzzzzzzzzzz", true), "wrong count of T");
  EXPECT_EQ(slid(layout, "10zzz", true), "wrong count of U");
  EXPECT_EQ(slid(layout, "xzz", true), "wrong count of T");
}

TEST(Columns, SayWhyTheyCannotMove) {
  constexpr std::pair<const char*, const char*> rows[] = {
      {"01 R.\n05 T PIC X OCCURS 1 TO 3 DEPENDING ON N.\n05 N PIC 9.\n", "N stands after T, which depends on it"},
      {"01 R.\n05 T PIC X OCCURS 1 TO 3 DEPENDING ON ELSEWHERE.\n",
       "ELSEWHERE, on which T depends, is not in the record"},
      {"01 R.\n05 N PIC 9.\n05 A PIC X(3).\n05 B REDEFINES A.\n10 T PIC X OCCURS 1 TO 3 DEPENDING ON N.\n05 Z PIC X.\n",
       "T is part of B, one meaning of several"},
  };
  for (const auto& [copybook, message] : rows) {
    const Layout layout = parse_layout(copybook, "f");
    const Columns columns = columns_of(layout);
    ASSERT_TRUE(columns.cannot_shift) << copybook;
    EXPECT_EQ(columns.cannot_shift->message, message);
  }
}

TEST(Columns, HaveIndicators) {
  const Layout layout = parse_layout(
      "01 R.\n05 T OCCURS 2.\n10 A-NULL PIC X.\n10 A PIC 99. *>@ indicator=A-NULL null=zeros\n05 I PIC X OCCURS 2.\n05 "
      "B PIC X OCCURS 2. *>@ indicator=I\n",
      "f");
  const Columns columns = columns_of(layout);
  std::string text;
  for (const Column& column : columns.list)
    text += fmt::format("{}@{} by {} ", column.name, column.offset, columns.indicators.at(column.indicator).offset);
  EXPECT_EQ(text, "A_1@1 by 0 A_2@4 by 3 B_1@8 by 6 B_2@9 by 7 ");
  constexpr const char* wrong[] = {
      "01 R.\n05 A PIC X. *>@ indicator=B\n",
      "01 R.\n05 B PIC XX.\n05 A PIC X. *>@ indicator=B\n",
      "01 R.\n05 B PIC X.\n05 A PIC X. *>@ indicator=B\n05 C PIC X. *>@ indicator=B\n",
      "01 R.\n05 B PIC X OCCURS 2.\n05 A PIC X. *>@ indicator=B\n",
      "01 R.\n05 A PIC X. *>@ column=a\n05 B PIC X. *>@ column=A\n",
      "01 R.\n05 A PIC X OCCURS 100001.\n",
  };
  for (const char* copybook : wrong) {
    const Layout refused = parse_layout(copybook, "f");
    EXPECT_THROW(columns_of(refused), CopybookError) << copybook;
  }
}

TEST(Columns, HaveTypesOfPostgresql) {
  const Layout layout = parse_layout(
      "01 R.\n05 A PIC X(20).\n05 B PIC S9(7)V99 COMP-3.\n05 C PIC S9(4) COMP.\n05 D PIC 9(4) COMP.\n05 E PIC "
      "9(18).\n05 F PIC ZZ9.99.\n05 G COMP-1.\n05 H PIC N(3).\n05 I PIC 99PPP.\n05 J PIC VPP9.\n05 K PIC S9(9)V9 "
      "BINARY.\n",
      "f");
  std::string text;
  for (const Column& column : columns_of(layout).list)
    text += fmt::format("{} {}; ", column.name, postgresql_type(column));
  EXPECT_EQ(text,
            "A varchar(20); B numeric(9,2); C smallint; D integer; E bigint; F numeric(5,2); G real; H varchar(3); I "
            "integer; J numeric(3,3); K numeric(20,1); ");
  EXPECT_EQ(create_table_for_postgresql(columns_of(parse_layout("01 R.\n05 A PIC X.\n05 B PIC 9.\n", "f")), "a \"b\""),
            "CREATE TABLE \"a \"\"b\"\"\" (\n  \"A\" varchar(1),\n  \"B\" smallint\n);\n");
}

}  // namespace
