#include "records/layout/ddl.h"

#include <fmt/format.h>

#include <algorithm>

namespace zvrt::records {
namespace {

std::string quoted(const std::string& name) {
  std::string text = "\"";
  for (const char c : name) {
    text += c;
    if (c == '"') text += c;
  }
  return text + "\"";
}

// Digits of the greatest number of so many bytes.
int digits_of_bytes(std::size_t bytes) {
  constexpr double digits_a_byte = 2.4082;
  return static_cast<int>(static_cast<double>(bytes) * digits_a_byte) + 1;
}

bool is_binary(Usage usage) {
  return usage == Usage::binary || usage == Usage::native || usage == Usage::comp_x || usage == Usage::pointer ||
         usage == Usage::index;
}

std::string whole_number(int digits) {
  if (digits <= 4) return "smallint";
  if (digits <= 9) return "integer";
  return digits <= 18 ? "bigint" : fmt::format("numeric({})", digits);
}

// A binary item may hold more than its picture says: the type is that of its bytes.
std::string binary_number(const Item& item) {
  const int digits = std::max(item.digits, digits_of_bytes(item.length));
  if (item.scale > 0) return fmt::format("numeric({},{})", std::max(digits, item.scale), item.scale);
  if (item.scale < 0) return whole_number(digits - item.scale);
  if (item.is_signed && item.length <= 8)
    return item.length <= 2 ? "smallint" : item.length <= 4 ? "integer" : "bigint";
  return item.length == 1   ? "smallint"
         : item.length <= 3 ? "integer"
         : item.length <= 7 ? "bigint"
                            : whole_number(digits);
}

std::string text_type(const Item& item) {
  const bool wide = item.usage == Usage::national || item.usage == Usage::dbcs;
  return fmt::format("varchar({})", wide ? item.length / 2 : item.length);
}

}  // namespace

std::string postgresql_type(const Column& column) {
  const Item& item = *column.item;
  if (item.notes.date) return item.notes.table_date ? "text" : "date";
  if (item.notes.number) return "numeric";
  if (item.usage == Usage::comp_1) return "real";
  if (item.usage == Usage::comp_2 || item.picture.category == Category::external_float) return "double precision";
  if (is_binary(item.usage)) return binary_number(item);
  if (item.digits == 0) return text_type(item);
  if (item.scale > 0) return fmt::format("numeric({},{})", std::max(item.digits, item.scale), item.scale);
  return whole_number(item.digits - item.scale);
}

std::string create_table_for_postgresql(const Columns& columns, const std::string& table) {
  std::string text = fmt::format("CREATE TABLE {} (", quoted(table));
  for (const Column& column : columns.list)
    text += fmt::format("{}\n  {} {}", text.back() == '(' ? "" : ",", quoted(column.name), postgresql_type(column));
  return text + "\n);\n";
}

}  // namespace zvrt::records
