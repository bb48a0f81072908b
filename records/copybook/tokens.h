// The words of a copybook: what an entry is made of, with the place of each.
//
//   05  NAME  PIC X(20)  VALUE 'A', 1.5.        word 05, word NAME, word PIC, picture X(20), word VALUE, literal A,
//                                               word 1.5, period
//
// Commas and semicolons before a blank mean nothing. A period ends an entry where a blank or the end of the line follows;
// elsewhere it is part of its word, as in 1.5 and ZZ9.99.
#ifndef ZVRT_RECORDS_COPYBOOK_TOKENS_H
#define ZVRT_RECORDS_COPYBOOK_TOKENS_H

#include <string>
#include <vector>

#include "records/copybook/source.h"

namespace zvrt::records {

struct Token {
  enum class Kind { word, picture, literal, period, note };
  Kind kind = Kind::word;
  std::string text;   // words and pictures in upper case; a literal's characters; the key of a note
  std::string value;  // of a note: what follows =
  Place place;
  Place end;                 // of its last character
  bool begins_line = false;  // the first of its line

  bool is(std::string_view word) const { return kind == Kind::word && text == word; }
};

std::vector<Token> tokens_of(const std::vector<LogicalLine>& lines, const std::string& file);

}  // namespace zvrt::records

#endif
