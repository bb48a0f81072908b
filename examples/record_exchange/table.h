// Rows of a table, wherever the table is: read one after the other, written one after the other.
#ifndef RECORD_EXCHANGE_TABLE_H
#define RECORD_EXCHANGE_TABLE_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "layout.h"

namespace record_exchange {

struct Cell {
  enum class Kind { null, integer, real, text, blob };
  Kind kind = Kind::null;
  std::int64_t integer = 0;
  double real = 0;
  std::string_view text;  // of a text or a blob; lives until the row is read or written again

  static Cell of_null() { return {}; }
  static Cell of_integer(std::int64_t value) { return {Kind::integer, value, 0, {}}; }
  static Cell of_text(std::string_view value) { return {Kind::text, 0, 0, value}; }
};

// A row's cells in the order of the layout's fields, with room for the texts that no one else owns.
struct Row {
  explicit Row(std::size_t fields) : cells(fields), texts(fields) {}
  Row(const Row&) = delete;
  Row& operator=(const Row&) = delete;

  std::vector<Cell> cells;
  std::vector<std::string> texts;
};

class RowSource {
 public:
  RowSource() = default;
  RowSource(const RowSource&) = delete;
  RowSource& operator=(const RowSource&) = delete;
  virtual ~RowSource() = default;

  // False behind the last row.
  virtual bool next(Row& row) = 0;
  // For a progress bar; nothing where it is not known beforehand.
  virtual std::optional<std::uint64_t> expected_rows() { return std::nullopt; }
};

class RowSink {
 public:
  RowSink() = default;
  RowSink(const RowSink&) = delete;
  RowSink& operator=(const RowSink&) = delete;
  virtual ~RowSink() = default;

  virtual void write(const Row& row) = 0;
  // Makes what was written lasting; without it nothing more than full batches remains.
  virtual void finish() = 0;
};

// A table by file name: CSV where the name ends in .csv, else an SQLite database and a table in it.
struct TableName {
  std::string file;
  std::string table;
  bool is_csv() const;
};

enum class Existing { refuse, replace, append };

std::unique_ptr<RowSource> open_source(const TableName& name, const Layout& layout);
std::unique_ptr<RowSink> open_sink(const TableName& name, const Layout& layout, Existing existing);

std::unique_ptr<RowSource> open_csv_source(const std::string& file, const Layout& layout);
std::unique_ptr<RowSink> open_csv_sink(const std::string& file, const Layout& layout, Existing existing);
std::unique_ptr<RowSource> open_sqlite_source(const TableName& name, const Layout& layout);
std::unique_ptr<RowSink> open_sqlite_sink(const TableName& name, const Layout& layout, Existing existing);

}  // namespace record_exchange

#endif
