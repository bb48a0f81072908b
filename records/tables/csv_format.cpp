// A row's greatest length is known from its cells' lengths, so that its text is written without looking at the room.
#include "records/tables/csv_format.h"

#include <algorithm>
#include <cstring>

#include "records/files/failure.h"

namespace zvrt::records {

CsvFormat::CsvFormat(const TableOptions& options)
    : delimiter_(options.delimiter), null_(options.null_text.value_or("")), empty_is_null_(!options.null_text) {}

// Without branches inside, so that the compiler makes vectors of the loop.
bool CsvFormat::needs_quotes(std::string_view cell) const {
  if (cell.empty()) return empty_is_null_;
  if (cell.front() == ' ' || cell.back() == ' ' || cell.front() == '\t' || cell.back() == '\t') return true;
  bool special = false;
  for (const char c : cell) special |= (c == delimiter_) | (c == '"') | (c == '\n') | (c == '\r');
  return special;
}

char* CsvFormat::put(char* at, std::string_view cell) const {
  if (!needs_quotes(cell)) {
    std::memcpy(at, cell.data(), cell.size());
    return at + cell.size();
  }
  *at++ = '"';
  for (const char c : cell) {
    *at++ = c;
    if (c == '"') *at++ = c;
  }
  *at++ = '"';
  return at;
}

void CsvFormat::header(const std::vector<TableColumn>& columns, std::string& text) const {
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (i != 0) text += delimiter_;
    std::string cell(2 * columns[i].name.size() + 2, '\0');
    cell.resize(static_cast<std::size_t>(put(cell.data(), columns[i].name) - cell.data()));
    text += cell;
  }
  text += newline_;
}

char* CsvFormat::put_row(char* at, const RowBlock& block, std::size_t row) const {
  bool first = true;
  for (const CellColumn& column : block.columns) {
    if (!first) *at++ = delimiter_;
    first = false;
    if (column.is_null(row)) {
      std::memcpy(at, null_.data(), null_.size());
      at += null_.size();
    } else {
      at = put(at, column.at(row));
    }
  }
  std::memcpy(at, newline_.data(), newline_.size());
  return at + newline_.size();
}

void CsvFormat::rows(const RowBlock& block, std::string& text) const {
  const std::size_t fixed = block.columns.size() * (3 + null_.size()) + newline_.size();
  std::size_t used = text.size();
  for (const std::uint32_t row : block.rows) {
    std::size_t room = fixed;
    for (const CellColumn& column : block.columns)
      room += column.is_null(row) ? 0 : 2 * static_cast<std::size_t>(column.lengths[row]);
    if (text.size() - used < room) text.resize(std::max(text.size() * 2, used + room));
    if (block.columns.size() == 1 && empty_is_null_ && block.columns[0].is_null(row))
      throw Failure("a CSV file of one column cannot hold a null; --null-text gives nulls a text");
    used = static_cast<std::size_t>(put_row(text.data() + used, block, row) - text.data());
  }
  text.resize(used);
}

}  // namespace zvrt::records
