// A copybook's records: each item with its place, its form and its parts.
//
// A Layout holds Records (the 01 entries), a Record a tree of Items. Places are those of a record whose tables all have
// their greatest size; `slide` of the columns says how they move where a table is shorter.
//
//   01 CUSTOMER.                                         record CUSTOMER, length 27
//      05 COUNT-OF-LINES  PIC 9.                         offset 0  length 1
//      05 LINES-OF OCCURS 0 TO 5 DEPENDING ON COUNT-OF-LINES.    1         5   occurs 5, occurs_min 0
//         10 CODE         PIC X(2).                              1         2
//         10 AMOUNT       PIC S9(5) COMP-3.                      3         3
//      05 TRAILER         PIC X.                                26         1
//
// Items point to each other (parent, redefines, depends_on), so they stand in memory of their own and a Layout can be
// moved but not copied. Reading either gives a Layout that is right or throws a CopybookError: nothing is guessed.
#ifndef ZVRT_RECORDS_LAYOUT_LAYOUT_H
#define ZVRT_RECORDS_LAYOUT_LAYOUT_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "records/copybook/copybook.h"
#include "records/copybook/error.h"
#include "records/copybook/picture.h"

namespace zvrt::records {

// Level 88: the item is in this condition where it holds one of the values.
struct Condition {
  std::string name;
  std::vector<ValueRange> values;
  Place place;
};

struct Item {
  unsigned level = 0;  // 1 to 49, 66, 77
  std::string name;    // in upper case; FILLER also where there is none
  std::string path;    // CUSTOMER.ACCOUNT.BALANCE, the record's name first
  Place place;         // of the level number
  Item* parent = nullptr;
  std::vector<std::unique_ptr<Item>> children;  // in the copybook's order, redefinitions and level 66 included

  // Form. An edited picture is one whose category says so; `picture.runs` has its symbols.
  Picture picture;
  Usage usage = Usage::group;
  std::string usage_word;  // as the layout prints it: DISPLAY, COMP, COMP-3, BINARY-LONG; empty for a group
  int digits = 0;          // of a number, as the picture says; of an item without picture what its bytes hold
  int scale = 0;           // digits after the decimal point; negative for 99PPP
  bool is_signed = false;
  bool sign_leading = false;   // over or before the first digit, else the last one
  bool sign_separate = false;  // a character of its own, + or -; counted in `length`
  bool justified = false;
  bool blank_when_zero = false;
  bool synchronized = false;

  // Place, in bytes.
  std::size_t offset = 0;        // from the start of the record, of the first occurrence
  std::size_t length = 0;        // of one occurrence, slack bytes at its end included: the distance to the next one
  std::size_t slack_before = 0;  // slack bytes between the item before and this one
  std::size_t slack_after = 0;   // slack bytes at the end of each occurrence
  std::size_t occurs = 1;        // greatest number of occurrences
  std::size_t occurs_min = 1;    // least number; less than or equal to `occurs`
  bool is_table = false;         // has an OCCURS clause, be it OCCURS 1

  // DEPENDING ON: the name as written without qualifiers, and the item where it stands in the same record.
  std::string depends_on_name;
  const Item* depends_on = nullptr;

  // REDEFINES: the item whose place this one takes, and which redefines nothing itself.
  Item* redefines = nullptr;
  std::string redefines_name;  // as written: of several redefinitions one may name the other

  // Level 66: the first and the last item; the last is the first one without THROUGH.
  const Item* renames_from = nullptr;
  const Item* renames_through = nullptr;

  std::vector<Condition> conditions;
  ItemNotes notes;

  bool is_group() const { return usage == Usage::group; }
  bool is_filler() const { return name == "FILLER"; }
  bool is_renames() const { return level == 66; }
  bool varies() const { return !depends_on_name.empty(); }
  // Bytes that all its occurrences take where tables have their greatest size.
  std::size_t total_length() const { return length * occurs; }
};

struct Record {
  std::string name;
  // Without an 01 entry the top items stand one after the other under a root that the copybook does not have.
  bool has_entry = true;
  std::unique_ptr<Item> root;  // level 1, or 77
  std::size_t length = 0;      // its greatest length, redefinitions that are longer included
  std::size_t min_length = 0;  // with every variable table at its least
};

struct Layout {
  std::string file;                // as given
  std::vector<std::string> files;  // and those that it copies: Place::source is an index into them
  std::vector<Record> records;
  FileNotes notes;
};

enum class BinarySizes {
  b2_4_8,    // 1-4 digits 2 bytes, 5-9 digits 4, 10-18 digits 8, more as few as hold the digits and a sign
  b1_2_4_8,  // the same, but 1-2 digits 1 byte
  b1_to_8,   // as few bytes as the digits need
};

struct LayoutOptions {
  CopybookOptions copybook;
  BinarySizes binary_sizes = BinarySizes::b2_4_8;
  unsigned sync_boundary = 4;  // of binary items of 10 to 18 digits: 4 or 8
};

// Both throw a CopybookError; `file` names the text in messages, and a record without 01 after its last part. Copybooks
// that the file asks for are looked for beside it and in `folders`, unless the options say how they are found.
Layout read_layout(const std::string& path, LayoutOptions options = {}, std::vector<std::string> folders = {});
Layout parse_layout(std::string_view text, const std::string& file, const LayoutOptions& options = {});

}  // namespace zvrt::records

#endif
