// The columns of the table that a record becomes.
//
// Every elementary item but FILLER is a column, every entry of a table one of its own, outermost subscript first; of a
// table of variable length as many as it can have. Where an area has several meanings (REDEFINES, several 01 records)
// each meaning has its columns, and at most one meaning of an area holds in a record.
//
//   01 ORDER.                                       columns
//      05 ITEM-COUNT PIC 9.                         ITEM_COUNT
//      05 ITEMS OCCURS 1 TO 2 DEPENDING ON ITEM-COUNT.
//         10 CODE PIC X.                            CODE_1, CODE_2            entry 1 and 2 of the table
//         10 PRICE PIC 99 OCCURS 2.                 PRICE_1_1, PRICE_1_2, PRICE_2_1, PRICE_2_2
//      05 PAID PIC 9(6).                            PAID                      meaning 0 of area 0
//      05 PAID-BY REDEFINES PAID.                                             meaning 1
//         10 CODE PIC X(6).                         PAID_BY_CODE              since CODE would stand twice
//
// Names: the item's with _ for -, the groups' before it as far as it takes to be the only one, then the subscripts. A
// name from a note (column=) stays as it is.
#ifndef ZVRT_RECORDS_LAYOUT_COLUMNS_H
#define ZVRT_RECORDS_LAYOUT_COLUMNS_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "records/layout/layout.h"

namespace zvrt::records {

inline constexpr std::size_t no_index = ~std::size_t{0};

// One of the meanings of an area.
struct MeaningOfArea {
  std::size_t area = 0;     // into Columns::areas
  std::size_t meaning = 0;  // into Area::meanings
};

// One entry of a table of variable length: it is there where the table's count is `entry` or more.
struct EntryOfTable {
  std::size_t table = 0;  // into Columns::tables
  std::size_t entry = 1;  // from 1
};

struct Column {
  std::string name;   // the table's, the only one of its name whatever the case of its letters
  std::string field;  // as reports show it: PRICE(2,1)
  const Item* item = nullptr;
  std::vector<std::size_t> subscripts;  // from 1, outermost first
  std::size_t offset = 0;               // with all tables at their greatest size
  std::vector<MeaningOfArea> meanings;  // outermost first; the column holds where all of them do
  std::vector<EntryOfTable> entries;    // outermost first; the column is there where all of them are
  std::size_t indicator = no_index;     // into Columns::indicators
};

// Bytes that have several meanings, in one occurrence of the tables around them. Meanings without a column are left out.
struct Area {
  std::vector<const Item*> meanings;  // in the copybook's order; roots of records where several 01 share one area
  std::vector<std::size_t> subscripts;
  std::vector<MeaningOfArea> within;  // the meanings that it is part of, outermost first
};

// A table of variable length, in one occurrence of the tables around it.
struct VariableTable {
  const Item* item = nullptr;
  std::vector<std::size_t> subscripts;  // of the tables around it
  std::size_t offset = 0;               // with all tables at their greatest size, as the next
  std::size_t count_offset = 0;         // of the item that holds the count, item->depends_on
  std::vector<EntryOfTable> entries;    // of the tables around it
  const Item* scope = nullptr;          // the meaning or the record within which items follow it
};

struct Columns {
  std::vector<Column> list;
  std::vector<Column> indicators;      // items that say whether others are null; no columns of the table
  std::vector<Area> areas;             // outer ones before those in them
  std::vector<VariableTable> tables;   // in order of their places in the record
  std::vector<const Record*> records;  // that share the area; one unless several 01 are taken
  std::size_t length = 0;              // of the longest record
  // Whether items may follow the last used entry of a table; else why not: a table of variable length stands within a
  // redefinition that other items follow, or its count is not in the record.
  std::optional<CopybookError> cannot_shift;
};

struct ColumnOptions {
  // A record, or a meaning of an area: then no other meaning of its area is taken. Empty: all records.
  std::string record;
  bool first_meaning_only = false;
};

// `layout` has to outlive what is returned. Throws a CopybookError: an unknown record, a name from a note given twice,
// an indicator that is not one byte of text or that two items share, more than 100,000 columns.
Columns columns_of(const Layout& layout, const ColumnOptions& options = {});

}  // namespace zvrt::records

#endif
