// CSV files: what can be read is rows of as many cells as columns are asked for, and is read again as it is written.
#include <memory>
#include <stdexcept>

#include "input.h"
#include "memory_file.h"
#include "records/tables/csv_format.h"
#include "records/tables/formats.h"

namespace {

using namespace zvrt::records;
using Cell = std::optional<std::string>;

void require(bool condition) {
  if (!condition) std::abort();
}

const std::vector<TableColumn>& columns() {
  static const std::vector<TableColumn> made{{"A", TableColumn::Type::text, true},
                                             {"B", TableColumn::Type::text, false},
                                             {"LONG NAME", TableColumn::Type::text, true}};
  return made;
}

std::vector<std::vector<Cell>> rows_of(const std::string& file, const TableOptions& options) {
  std::vector<std::vector<Cell>> rows;
  const auto reader = open_csv(file, columns(), options);
  CellBlock block;
  while (reader->next(block)) {
    require(block.rows != 0 && block.first == rows.size() + 1);
    for (std::size_t row = 0; row < block.rows; ++row) {
      std::vector<Cell> cells;
      for (std::size_t column = 0; column < columns().size(); ++column) {
        const CellColumn each = block.column(column);
        cells.push_back(each.is_null(row) ? Cell() : Cell(each.at(row)));
      }
      rows.push_back(std::move(cells));
    }
  }
  return rows;
}

std::string written(const std::vector<std::vector<Cell>>& rows, const TableOptions& options) {
  CellBlock block;
  block.columns.resize(columns().size());
  block.rows = rows.size();
  RowBlock out;
  for (const auto& row : rows) {
    out.rows.push_back(static_cast<std::uint32_t>(out.rows.size()));
    for (std::size_t column = 0; column < row.size(); ++column)
      if (row[column])
        block.add(column, *row[column]);
      else
        block.add_null(column);
  }
  for (std::size_t column = 0; column < columns().size(); ++column) out.columns.push_back(block.column(column));
  const CsvFormat format(columns(), options);
  TextBuffer text;
  format.header(text);
  format.rows(out, text);
  return std::string(text.text());
}

}  // namespace

void zvrt_fuzz::check(Input input) {
  static const MemoryFile file;
  TableOptions options;
  constexpr char delimiters[] = {',', ';', '\t', '|'};
  options.delimiter = input.of(delimiters);
  if (input.flag()) options.null_text = input.flag() ? "NULL" : "\\N";
  std::string text;
  if (input.flag()) text = std::string("A") + options.delimiter + "B" + options.delimiter + "LONG NAME\n";
  text += input.bytes();
  std::vector<std::vector<Cell>> rows;
  try {
    rows = rows_of(file.hold(text), options);
  } catch (const std::runtime_error&) {
    return;
  }
  require(rows_of(file.hold(written(rows, options)), options) == rows);
}
