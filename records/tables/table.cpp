#include "records/tables/table.h"

#include <algorithm>

#include "records/files/failure.h"
#include "records/tables/formats.h"
#include "records/tables/odbc_table_secrets.h"

namespace zvrt::records {
namespace {

bool ends_in(std::string_view text, std::string_view end) {
  if (text.size() < end.size()) return false;
  return std::equal(
      end.begin(), end.end(), text.end() - static_cast<std::ptrdiff_t>(end.size()),
      [](char wanted, char found) { return wanted == (found >= 'A' && found <= 'Z' ? found + 32 : found); });
}

}  // namespace

void CellBlock::clear() {
  text.clear();
  for (Cells& cells : columns) {
    cells.starts.clear();
    cells.lengths.clear();
  }
  rows = 0;
}

CellColumn CellBlock::column(std::size_t index) const {
  // Empty cells alone are no bytes, but a place all the same.
  return {text.empty() ? "" : text.text().data(), 0, columns[index].starts.data(), columns[index].lengths.data()};
}

TableName::Kind TableName::kind() const {
  if (file.starts_with(odbc_prefix)) return Kind::odbc;
  if (file == "-" || ends_in(file, ".csv")) return Kind::csv;
  if (ends_in(file, ".jsonl")) return Kind::json_lines;
  return Kind::sqlite;
}

std::string TableName::shown() const {
  return kind() == Kind::odbc ? shown_connection(std::string_view(file).substr(odbc_prefix.size())) : file;
}

std::unique_ptr<TableReader> open_table(const TableName& name, const std::vector<TableColumn>& columns,
                                        const TableOptions& options) {
  switch (name.kind()) {
    case TableName::Kind::csv: return open_csv(name.file, columns, options);
    case TableName::Kind::json_lines: return open_json_lines(name.file, columns);
    case TableName::Kind::odbc: return open_odbc(name, columns, options);
    case TableName::Kind::sqlite: break;
  }
  return open_sqlite(name, columns, options);
}

std::unique_ptr<TableWriter> make_table(const TableName& name, const std::vector<TableColumn>& columns,
                                        const TableOptions& options, Existing existing, const TableWriter* beside) {
  switch (name.kind()) {
    case TableName::Kind::csv: return make_csv(name.file, columns, options, existing);
    case TableName::Kind::json_lines: return make_json_lines(name.file, columns, existing);
    case TableName::Kind::odbc: return make_odbc(name, columns, options, existing, beside);
    case TableName::Kind::sqlite: break;
  }
  return make_sqlite(name, columns, existing, beside);
}

}  // namespace zvrt::records
