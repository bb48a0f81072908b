// A record's layout: where each field stands, what it holds, and which column of the table it belongs to.
#ifndef RECORD_EXCHANGE_LAYOUT_H
#define RECORD_EXCHANGE_LAYOUT_H

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "library.h"

namespace record_exchange {

enum class Usage { text, date, zoned, packed, binary, number };
enum class NullPolicy { refused, blanks, zeros, low_values, indicator };

struct Field {
  std::string name;     // the copybook's, with subscripts: PHONE(2)
  std::string column;   // the table's
  std::string picture;  // as a report shows it: S9(7)V99 COMP-3
  Usage usage = Usage::text;
  std::size_t offset = 0;
  std::size_t length = 0;  // bytes
  bool has_sign = false;
  std::size_t digits = 0;
  std::size_t scale = 0;  // digits behind the implied point
  NullPolicy null_policy = NullPolicy::refused;
  std::size_t indicator_offset = 0;             // with NullPolicy::indicator
  std::shared_ptr<const DateModel> date;        // of the record
  std::shared_ptr<const DateModel> table_date;  // of the table

  bool is_numeric() const { return usage != Usage::text && usage != Usage::date; }
  // Whether the column holds integers of 64 bits; other numbers are kept as exact decimal text.
  bool is_integer() const { return is_numeric() && usage != Usage::number && scale == 0 && digits <= 18; }
};

struct Layout {
  std::string name;
  CodePage page;
  std::size_t record_length = 0;
  std::vector<Field> fields;
};

// Throws a Failure whose message begins with file:line:column.
Layout read_layout(const std::string& path);
Layout parse_layout(std::string_view text, const std::string& file);

// A code page by number (1047) or name (IBM-1047, cp037, windows-1252, ISO-8859-15, UTF-8).
std::optional<std::uint32_t> code_page_number(std::string_view name);

}  // namespace record_exchange

#endif
