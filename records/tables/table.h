// Rows of a table, wherever the table is, a block at a time and column by column.
//
// Every cell is UTF-8 text or null: numbers are exact decimal text, so that no table makes binary fractions of them
// unless a column is one (TableColumn::Type::real). A column's cells stand where a start and a stride, or an array of starts,
// say; that is how the conversion plans write and read them.
#ifndef ZVRT_RECORDS_TABLES_TABLE_H
#define ZVRT_RECORDS_TABLES_TABLE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "records/files/failure.h"
#include "records/files/file_roles.h"
#include "records/tables/text_buffer.h"

namespace zvrt::records {

constexpr std::int32_t null_cell = -1;
inline constexpr const char* cell_too_long = "a cell is longer than 2 GiB";
inline constexpr std::string_view odbc_prefix = "odbc:";  // of a table name: a connection string follows

struct TableColumn {
  enum class Type {
    text,
    number,   // exact decimal text; JSON writes it as a number
    integer,  // a number that always fits into 64 bits
    real,     // a float whose shortest text reads back as it
    bytes,    // hexadecimal digits; a BLOB in SQLite
  };
  std::string name;
  Type type = Type::text;
  bool may_lack = false;      // reading: a table without it has nulls there
  std::string sql_type = {};  // for a table made over ODBC: a type of standard SQL; none: by `type`
};

struct CellColumn {
  const char* data = nullptr;
  std::int64_t stride = 0;
  const std::int64_t* starts = nullptr;   // in place of the stride
  const std::int32_t* lengths = nullptr;  // null_cell: a null

  bool is_null(std::size_t row) const { return lengths[row] == null_cell; }
  std::string_view at(std::size_t row) const {
    const std::int64_t start = starts != nullptr ? starts[row] : static_cast<std::int64_t>(row) * stride;
    return {data + start, static_cast<std::size_t>(lengths[row])};
  }
};

struct RowBlock {
  std::vector<CellColumn> columns;
  std::vector<std::uint32_t> rows;  // those to write
};

// A row that a table refused: its index in the block's columns, and why.
struct RefusedRow {
  std::uint32_t row = 0;
  std::string column;  // that is to blame, where that is known
  std::uint32_t status = 0;
  std::string why;
};

// What the tables of one database share while they are written.
class SharedDatabase {
 public:
  SharedDatabase() = default;
  SharedDatabase(const SharedDatabase&) = delete;
  SharedDatabase& operator=(const SharedDatabase&) = delete;
  virtual ~SharedDatabase() = default;
};

class TableWriter {
 public:
  TableWriter() = default;
  TableWriter(const TableWriter&) = delete;
  TableWriter& operator=(const TableWriter&) = delete;
  virtual ~TableWriter() = default;

  // A table that is text (CSV, JSON lines): the rows as they stand in it. Any number of threads may ask at once.
  virtual bool is_text() const { return false; }
  virtual void format(const RowBlock& /*rows*/, TextBuffer& /*text*/) const {}
  // Rows of such a table that were formatted before.
  virtual void write_text(std::string_view /*text*/) {}
  virtual void write(const RowBlock& rows) = 0;
  // Those of the rows of the last write() that the table does not hold.
  virtual std::vector<RefusedRow> refused() const { return {}; }
  // Everything is on the disk but for commit(), after which the table stands in its place.
  virtual void finish() = 0;
  virtual void commit() = 0;
  // The file that holds the table between finish() and commit(); empty where there is none of its own.
  virtual std::string temporary() const { return {}; }
  // What further tables of the same database share: one transaction, so that all of them come or none.
  virtual std::shared_ptr<SharedDatabase> database() const { return nullptr; }
};

// Cells of some rows, in memory of their own.
struct CellBlock {
  struct Cells {
    std::vector<std::int64_t> starts;
    std::vector<std::int32_t> lengths;
  };
  TextBuffer text;
  std::vector<Cells> columns;
  std::size_t rows = 0;
  std::uint64_t first = 0;  // number of the first row, from 1

  void clear();
  void add(std::size_t column, std::string_view cell) {
    if (cell.size() > INT32_MAX) throw Failure(cell_too_long);
    put(column, static_cast<std::int32_t>(cell.size()));
    text.append(cell);
  }
  void add_null(std::size_t column) { put(column, null_cell); }
  CellColumn column(std::size_t index) const;

  // A place at the end of the text.
  void put(std::size_t column, std::int32_t length) {
    Cells& cells = columns[column];
    cells.starts.push_back(static_cast<std::int64_t>(text.size()));
    cells.lengths.push_back(length);
  }
};

class TableReader {
 public:
  TableReader() = default;
  TableReader(const TableReader&) = delete;
  TableReader& operator=(const TableReader&) = delete;
  virtual ~TableReader() = default;

  // False after the last row; never a block without rows.
  virtual bool next(CellBlock& block) = 0;
  // Whether a column that may lack is there.
  virtual bool has(std::size_t column) const = 0;
  // How much of the table was read, for a progress line: a part of `total`, or nothing where that is not known.
  struct Progress {
    std::uint64_t done = 0;
    std::optional<std::uint64_t> total;
  };
  virtual Progress progress() = 0;
};

struct TableOptions {
  char delimiter = ',';
  std::optional<std::string> null_text;  // CSV: a cell without quotes of this text is null; else an empty one
  bool byte_order_mark = false;          // CSV: written; one that stands there is always skipped
  std::string order_by;                  // a database, reading: a column
  bool create = false;                   // ODBC: a table that is not there is made
};

// What a file name says: `odbc:` and a connection string, `.csv` or `-`, `.jsonl`, else an SQLite database; `table` is
// looked for in the database.
struct TableName {
  enum class Kind { csv, json_lines, sqlite, odbc };
  std::string file;
  std::string table;
  Kind kind() const;
  bool is_in_database() const { return kind() == Kind::sqlite || kind() == Kind::odbc; }
  // For messages: of a connection string only what is no secret.
  std::string shown() const;
};

std::unique_ptr<TableReader> open_table(const TableName& name, const std::vector<TableColumn>& columns,
                                        const TableOptions& options);
std::unique_ptr<TableWriter> make_table(const TableName& name, const std::vector<TableColumn>& columns,
                                        const TableOptions& options, Existing existing,
                                        const TableWriter* beside = nullptr);
// SQLite's type for a column, and the statement that makes the table in SQLite.
const char* sqlite_type(TableColumn::Type type);
std::string create_statement(const std::string& table, const std::vector<TableColumn>& columns);

}  // namespace zvrt::records

#endif
