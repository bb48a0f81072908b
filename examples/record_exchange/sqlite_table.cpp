#include <fmt/format.h>
#include <sqlite3.h>

#include "table.h"

namespace record_exchange {
namespace {

constexpr std::uint64_t batch_rows = 10000;

struct CloseDatabase {
  void operator()(sqlite3* database) const { sqlite3_close(database); }
};
struct CloseStatement {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, CloseStatement>;

class Database {
 public:
  Database(const std::string& file, int flags) : file_(file) {
    sqlite3* opened = nullptr;
    const int result = sqlite3_open_v2(file.c_str(), &opened, flags, nullptr);
    database_.reset(opened);
    if (result != SQLITE_OK) fail();
  }

  Statement prepare(const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database_.get(), sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) fail();
    return Statement(statement);
  }

  // True for a row, false at the end.
  bool step(const Statement& statement) {
    const int result = sqlite3_step(statement.get());
    if (result != SQLITE_ROW && result != SQLITE_DONE) fail();
    return result == SQLITE_ROW;
  }

  void run(const std::string& sql) { step(prepare(sql)); }

  [[noreturn]] void fail() const { throw Failure(fmt::format("{}: {}", file_, sqlite3_errmsg(database_.get()))); }

 private:
  std::string file_;
  std::unique_ptr<sqlite3, CloseDatabase> database_;
};

std::string quoted(std::string_view name) {
  std::string text = "\"";
  for (const char c : name) text.append(c == '"' ? 2 : 1, c);
  return text += '"';
}

std::string joined(const Layout& layout, const auto& part) {
  std::string text;
  for (const Field& field : layout.fields) text.append(text.empty() ? "" : ", ").append(part(field));
  return text;
}

// A name in double quotes that is no column is a string to SQLite, so the columns are looked up first.
void check_columns(Database& database, const TableName& name, const Layout& layout) {
  const Statement look = database.prepare("SELECT 1 FROM pragma_table_xinfo(?1) WHERE name = ?2 COLLATE NOCASE");
  for (const Field& field : layout.fields) {
    sqlite3_reset(look.get());
    sqlite3_bind_text(look.get(), 1, name.table.c_str(), -1, SQLITE_TRANSIENT);
    sqlite3_bind_text(look.get(), 2, field.column.c_str(), -1, SQLITE_TRANSIENT);
    if (!database.step(look))
      throw Failure(fmt::format("{}: table {} has no column '{}'", name.file, name.table, field.column));
  }
}

class SqliteSource final : public RowSource {
 public:
  SqliteSource(const TableName& name, const Layout& layout) : name_(name), database_(name.file, SQLITE_OPEN_READONLY) {
    check_columns(database_, name, layout);
    rows_ = database_.prepare(fmt::format("SELECT {} FROM {}",
                                          joined(layout, [](const Field& field) { return quoted(field.column); }),
                                          quoted(name.table)));
  }

  bool next(Row& row) override {
    if (!database_.step(rows_)) return false;
    for (std::size_t i = 0; i < row.cells.size(); ++i) row.cells[i] = cell(static_cast<int>(i));
    return true;
  }

  std::optional<std::uint64_t> expected_rows() override {
    const Statement count = database_.prepare("SELECT count(*) FROM " + quoted(name_.table));
    if (!database_.step(count)) return std::nullopt;
    return static_cast<std::uint64_t>(sqlite3_column_int64(count.get(), 0));
  }

 private:
  Cell cell(int column) {
    sqlite3_stmt* const at = rows_.get();
    switch (sqlite3_column_type(at, column)) {
      case SQLITE_INTEGER: return Cell::of_integer(sqlite3_column_int64(at, column));
      case SQLITE_FLOAT: return {Cell::Kind::real, 0, sqlite3_column_double(at, column), {}};
      case SQLITE_TEXT: return {Cell::Kind::text, 0, 0, bytes(sqlite3_column_text(at, column), column)};
      case SQLITE_BLOB: return {Cell::Kind::blob, 0, 0, bytes(sqlite3_column_blob(at, column), column)};
      default: return Cell::of_null();
    }
  }
  std::string_view bytes(const void* data, int column) {
    return {static_cast<const char*>(data), static_cast<std::size_t>(sqlite3_column_bytes(rows_.get(), column))};
  }

  TableName name_;
  Database database_;
  Statement rows_;
};

class SqliteSink final : public RowSink {
 public:
  SqliteSink(const TableName& name, const Layout& layout, Existing existing)
      : database_(name.file, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE) {
    const std::string table = quoted(name.table);
    if (existing == Existing::replace) database_.run("DROP TABLE IF EXISTS " + table);
    if (existing != Existing::append || !exists(name.table))
      database_.run(fmt::format("CREATE TABLE {} ({})", table, joined(layout, column_definition)));
    check_columns(database_, name, layout);
    insert_ = database_.prepare(fmt::format("INSERT INTO {} ({}) VALUES ({})", table,
                                            joined(layout, [](const Field& field) { return quoted(field.column); }),
                                            joined(layout, [](const Field&) { return std::string("?"); })));
    database_.run("BEGIN");
  }

  void write(const Row& row) override {
    for (std::size_t i = 0; i < row.cells.size(); ++i) bind(static_cast<int>(i) + 1, row.cells[i]);
    database_.step(insert_);
    sqlite3_reset(insert_.get());
    if (++written_ % batch_rows == 0) {
      database_.run("COMMIT");
      database_.run("BEGIN");
    }
  }

  void finish() override { database_.run("COMMIT"); }

 private:
  // Decimals and numbers stand as exact text: a column of another affinity would turn them into binary fractions.
  static std::string column_definition(const Field& field) {
    const char* const type = field.is_integer() ? " INTEGER" : field.usage == Usage::number ? "" : " TEXT";
    return quoted(field.column) + type;
  }

  bool exists(const std::string& table) {
    const Statement look = database_.prepare("SELECT 1 FROM pragma_table_info(?1)");
    sqlite3_bind_text(look.get(), 1, table.c_str(), -1, SQLITE_TRANSIENT);
    return database_.step(look);
  }

  void bind(int at, const Cell& cell) {
    sqlite3_stmt* const insert = insert_.get();
    const auto size = static_cast<sqlite3_uint64>(cell.text.size());
    int result = SQLITE_OK;
    switch (cell.kind) {
      case Cell::Kind::null: result = sqlite3_bind_null(insert, at); break;
      case Cell::Kind::integer: result = sqlite3_bind_int64(insert, at, cell.integer); break;
      case Cell::Kind::real: result = sqlite3_bind_double(insert, at, cell.real); break;
      case Cell::Kind::text:
        // A null pointer would bind a null in place of an empty text.
        result = sqlite3_bind_text64(insert, at, cell.text.empty() ? "" : cell.text.data(), size, SQLITE_STATIC,
                                     SQLITE_UTF8);
        break;
      case Cell::Kind::blob: result = sqlite3_bind_blob64(insert, at, cell.text.data(), size, SQLITE_STATIC); break;
    }
    if (result != SQLITE_OK) database_.fail();
  }

  Database database_;
  Statement insert_;
  std::uint64_t written_ = 0;
};

}  // namespace

std::unique_ptr<RowSource> open_sqlite_source(const TableName& name, const Layout& layout) {
  return std::make_unique<SqliteSource>(name, layout);
}

std::unique_ptr<RowSink> open_sqlite_sink(const TableName& name, const Layout& layout, Existing existing) {
  return std::make_unique<SqliteSink>(name, layout, existing);
}

}  // namespace record_exchange
