// The entries of a copybook: a level, a name and clauses each, before they have a place in a record.
#ifndef ZVRT_RECORDS_COPYBOOK_ENTRY_H
#define ZVRT_RECORDS_COPYBOOK_ENTRY_H

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "records/copybook/error.h"
#include "records/copybook/tokens.h"

namespace zvrt::records {

enum class Usage {
  group,            // no usage: the item has parts
  display,          // characters; a number is zoned
  binary,           // COMP, COMP-4, BINARY: big endian, holds what the picture says
  comp_1,           // float of 4 bytes
  comp_2,           // float of 8 bytes
  packed,           // COMP-3, PACKED-DECIMAL
  native,           // COMP-5 and BINARY-CHAR, -SHORT, -LONG, -DOUBLE: the machine's byte order, its whole range
  unsigned_packed,  // COMP-6: packed without a sign nibble
  comp_x,           // COMP-X: big endian, its whole range, as few bytes as its digits need
  national,         // two bytes a character (UTF-16); a number is national digits
  dbcs,             // DISPLAY-1: two bytes a character of the page's double-byte set
  pointer,          // POINTER, PROCEDURE-POINTER, FUNCTION-POINTER
  index,            // INDEX
};

// A literal of a VALUE clause. A figurative constant's text is its name as written: SPACES, ZERO, LOW-VALUES.
struct Literal {
  enum class Kind { text, number, figurative };
  Kind kind = Kind::text;
  std::string text;  // without quotes, doubled quotes made one; a hexadecimal literal as X'..'
  bool all = false;  // ALL "-"
};

// Both ends belong to the range; a single value is a range from itself to itself.
using ValueRange = std::pair<Literal, Literal>;

// What a copybook cannot say stands in structured comments: `*>@ null=zeros`, one or more `key=value`, after the entry.
struct Note {
  std::string value;
  Place place;
};

// Of an item. Values are as written; who uses them checks them and names their place.
struct ItemNotes {
  std::optional<Note> column;      // the table's column
  std::optional<Note> null_form;   // `null`: what stands for a null, as blanks
  std::optional<Note> indicator;   // the name of a PIC X item: 00 a value, FF a null
  std::optional<Note> date;        // the record's date model
  std::optional<Note> table_date;  // the table's date model
  std::optional<Note> number;      // PIC X(22) that holds a VARNUM
};

// Of the file: they stand before or after the first entry.
struct FileNotes {
  std::optional<Note> page;     // number or name of the code page
  std::optional<Note> newline;  // nel or lf
};

// A name with its qualifiers, innermost first: CODE OF LINE-ITEM OF ORDER.
struct Reference {
  std::string name;
  std::vector<std::string> qualifiers;
  Place place;
};

struct OccursClause {
  std::size_t least = 1;
  std::size_t most = 1;
  std::optional<Reference> depends_on;
  Place place;
};

struct SignClause {
  bool leading = false;
  bool separate = false;
  Place place;
};

struct UsageClause {
  Usage usage = Usage::display;
  std::string word;       // its usual short form: COMP-3 for PACKED-DECIMAL
  std::size_t bytes = 0;  // where the usage alone gives them: BINARY-LONG, COMP-1, POINTER
  bool is_signed = false;
  Place place;
};

struct PictureClause {
  std::string text;
  Place place;
};

struct Entry {
  unsigned level = 0;  // 1 to 49, 66, 77, 88
  std::string name;    // FILLER where there is none
  Place place;
  std::optional<PictureClause> picture;
  std::optional<UsageClause> usage;
  std::optional<OccursClause> occurs;
  std::optional<SignClause> sign;
  std::optional<Reference> redefines;
  std::optional<Reference> renames_from;
  std::optional<Reference> renames_through;
  bool justified = false;
  bool blank_when_zero = false;
  bool synchronized = false;
  std::vector<ValueRange> values;
  ItemNotes notes;
};

struct Entries {
  std::vector<Entry> list;
  FileNotes notes;
  std::vector<std::string> files;  // Place::source is an index into them

  // Where the note of a key belongs: to the file or to the last entry; null if it has no such note.
  std::optional<Note>* note_slot(const std::string& key);
};

Entries entries_of(const std::vector<Token>& tokens, const std::string& file);

}  // namespace zvrt::records

#endif
