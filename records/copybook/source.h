// The text of a copybook as logical lines: what is code, what is a structured comment, and where each character stands.
//
// In the fixed form columns 1 to 6 number a line or tag it, column 7 says what it is, and the text ends in column 72;
// what follows is a tag again. In the free form the whole line is text. Files that keep to neither begin their text in
// column 7 or let it run beyond column 72.
//
//   000100*  a comment: * or / in column 7, D for a debugging line; or an asterisk that begins the line      INIT0001
//   000200 01  CUSTOMER.                                                                                     INIT0001
//   000300     05  NAME-OF-A-CUSTOMER-WHO-CAL
//   000400-        LED   PIC X(20).   the word goes on; in a literal the rest of line 000300 belongs to it
//   000500 >>SOURCE FORMAT IS FREE    from here on the other form; so does $SET SOURCEFORMAT"FREE"
//
// A logical line is a line with those that continue it. Its characters keep their line and column for messages.
#ifndef ZVRT_RECORDS_COPYBOOK_SOURCE_H
#define ZVRT_RECORDS_COPYBOOK_SOURCE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "records/copybook/error.h"

namespace zvrt::records {

enum class Reading {
  fixed,
  shifted,  // fixed, but text may begin in column 7
  wide,     // shifted, and lines end where they end
  free,
};

struct Cell {
  char c = 0;
  std::uint32_t line = 0;
  std::uint32_t column = 0;
  std::uint32_t source = 0;  // as of Place

  Place place() const { return {line, column, source}; }
};
using Cells = std::vector<Cell>;

struct LogicalLine {
  Cells code;
  Cells note;  // what follows `*>@`
};

// Throws a CopybookError where a line cannot be of this form.
std::vector<LogicalLine> logical_lines(std::string_view text, Reading reading, const std::string& file);

// Most lines of the fixed form have one of its marks in column 7; of the free form they hardly do.
bool looks_free(std::string_view text);

bool is_blank(char c);
bool is_digit(char c);
char upper(char c);
std::string upper(std::string_view text);

}  // namespace zvrt::records

#endif
