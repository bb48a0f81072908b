// Tables of SQLite databases.
//
// A database that exists is changed in one transaction, in which an old table goes and the new one comes: whatever ends
// the run before the commit, SQLite's journal brings the old state back. A database that does not exist is made in a
// temporary, which gets its name when it is complete.
#include <fmt/format.h>
#include <sqlite3.h>

#include <array>
#include <charconv>
#include <cmath>
#include <filesystem>

#include "records/files/failure.h"
#include "records/files/interruption.h"
#include "records/files/output_file.h"
#include "records/tables/formats.h"
#include "records/tables/hexadecimal.h"

namespace zvrt::records {
namespace {

constexpr std::size_t rows_in_block = 1000;
constexpr int wait_milliseconds = 5000;  // for another program's transaction

struct CloseDatabase {
  void operator()(sqlite3* database) const { sqlite3_close(database); }
};
struct CloseStatement {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, CloseStatement>;

class Database {
 public:
  // One thread at a time uses it, so that it needs no lock of its own.
  // An absolute name has none of the meanings that `:memory:` or an empty one have.
  Database(const std::string& file, int flags, std::string shown) : shown_(std::move(shown)) {
    sqlite3* opened = nullptr;
    const int result =
        sqlite3_open_v2(std::filesystem::absolute(file).c_str(), &opened, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    database_.reset(opened);
    if (result != SQLITE_OK) fail();
    sqlite3_busy_timeout(opened, wait_milliseconds);
  }

  Statement prepare(const std::string& sql) const {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database_.get(), sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) fail();
    return Statement(statement);
  }

  // True for a row, false at the end.
  bool step(const Statement& statement) const {
    const int result = sqlite3_step(statement.get());
    if (result != SQLITE_ROW && result != SQLITE_DONE) fail();
    return result == SQLITE_ROW;
  }

  void run(const std::string& sql) const {
    const Statement statement = prepare(sql);
    while (step(statement)) {
    }
  }

  void close() { database_.reset(); }

  [[noreturn]] void fail() const { throw Failure(fmt::format("{}: {}", shown_, sqlite3_errmsg(database_.get()))); }

 private:
  std::string shown_;
  std::unique_ptr<sqlite3, CloseDatabase> database_;
};

std::string sql_name(std::string_view name) {
  std::string text = "\"";
  for (const char c : name) text.append(c == '"' ? 2 : 1, c);
  return text += '"';
}

std::string joined(const std::vector<TableColumn>& columns, const auto& part) {
  std::string text;
  for (const TableColumn& column : columns) text.append(text.empty() ? "" : ", ").append(part(column));
  return text;
}

// A name in double quotes that is no column is a string to SQLite, so the columns are looked up first.
bool has_column(const Database& database, const std::string& table, const std::string& column) {
  const Statement look = database.prepare("SELECT 1 FROM pragma_table_xinfo(?1) WHERE name = ?2 COLLATE NOCASE");
  sqlite3_bind_text(look.get(), 1, table.c_str(), -1, SQLITE_TRANSIENT);
  sqlite3_bind_text(look.get(), 2, column.c_str(), -1, SQLITE_TRANSIENT);
  return database.step(look);
}

bool has_table(const Database& database, const std::string& table) {
  const Statement look = database.prepare("SELECT 1 FROM pragma_table_info(?1)");
  sqlite3_bind_text(look.get(), 1, table.c_str(), -1, SQLITE_TRANSIENT);
  return database.step(look);
}

class SqliteReader final : public TableReader {
 public:
  SqliteReader(const TableName& name, const std::vector<TableColumn>& columns, const TableOptions& options)
      : name_(name), database_(name.file, SQLITE_OPEN_READWRITE, name.file) {
    // Opened for writing, so that what a killed run left is rolled back; nothing is written beside that.
    database_.run("PRAGMA query_only=1");
    if (!has_table(database_, name.table))
      throw Failure(fmt::format("{}: there is no table '{}'", name.file, name.table));
    std::string selected;
    for (const TableColumn& column : columns) {
      is_there_.push_back(has_column(database_, name.table, column.name));
      if (!is_there_.back() && !column.may_lack)
        throw Failure(fmt::format("{}: table {} has no column '{}'", name.file, name.table, column.name));
      selected.append(selected.empty() ? "" : ", ").append(is_there_.back() ? sql_name(column.name) : "NULL");
    }
    if (!options.order_by.empty() && !has_column(database_, name.table, options.order_by))
      throw Failure(fmt::format("{}: table {} has no column '{}'", name.file, name.table, options.order_by));
    rows_ = database_.prepare(fmt::format("SELECT {} FROM {}{}", selected, sql_name(name.table),
                                          options.order_by.empty() ? "" : " ORDER BY " + sql_name(options.order_by)));
  }

  bool has(std::size_t column) const override { return is_there_[column]; }

  Progress progress() override {
    if (!total_) {
      const Statement count = database_.prepare("SELECT count(*) FROM " + sql_name(name_.table));
      total_ = database_.step(count) ? static_cast<std::uint64_t>(sqlite3_column_int64(count.get(), 0)) : 0;
    }
    return {done_, total_};
  }

  bool next(CellBlock& block) override {
    check_interruption();
    block.columns.resize(is_there_.size());
    block.clear();
    block.first = done_ + 1;
    while (!ended_ && block.rows < rows_in_block) {
      ended_ = !database_.step(rows_);
      if (ended_) break;
      for (std::size_t i = 0; i < is_there_.size(); ++i) cell(block, i);
      ++block.rows;
    }
    done_ += block.rows;
    return block.rows != 0;
  }

 private:
  void cell(CellBlock& block, std::size_t column) {
    const int at = static_cast<int>(column);
    switch (sqlite3_column_type(rows_.get(), at)) {
      case SQLITE_NULL: block.add_null(column); break;
      case SQLITE_FLOAT: block.add(column, shortest(sqlite3_column_double(rows_.get(), at))); break;
      case SQLITE_BLOB: block.add(column, hexadecimal(bytes(sqlite3_column_blob(rows_.get(), at), at))); break;
      default: block.add(column, bytes(sqlite3_column_text(rows_.get(), at), at)); break;
    }
  }

  std::string_view shortest(double value) {
    const auto end = std::to_chars(digits_.data(), digits_.data() + digits_.size(), value).ptr;
    return {digits_.data(), static_cast<std::size_t>(end - digits_.data())};
  }

  std::string_view bytes(const void* data, int column) {
    return {static_cast<const char*>(data), static_cast<std::size_t>(sqlite3_column_bytes(rows_.get(), column))};
  }

  TableName name_;
  Database database_;
  Statement rows_;
  std::vector<bool> is_there_;
  std::array<char, 32> digits_{};
  std::uint64_t done_ = 0;
  std::optional<std::uint64_t> total_;
  bool ended_ = false;
};

}  // namespace

// The database that tables are written into, in one transaction; the last of its writers ends it.
class SqliteTarget final : public SharedDatabase {
 public:
  explicit SqliteTarget(const std::string& file)
      // The analysis does not know that the members made so far end with a constructor that throws.
      // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks)
      : made_(made_anew(file)), database_(made_ ? made_->temporary() : file, SQLITE_OPEN_READWRITE, file) {
    if (made_) {
      for (const char* const pragma : {"journal_mode=OFF", "synchronous=OFF", "locking_mode=EXCLUSIVE"})
        database_.run(fmt::format("PRAGMA {}", pragma));
    }
    database_.run("BEGIN IMMEDIATE");
  }

  const Database& database() const { return database_; }
  void add_writer() { ++writers_; }
  std::string temporary() const { return made_ ? made_->temporary() : std::string(); }

  // Of a new database all is done here but for its name.
  void finish() {
    if (++finished_ != writers_ || !made_) return;
    database_.run("COMMIT");
    database_.close();
    made_->synchronise();
  }

  void commit() {
    if (++committed_ != writers_) return;
    if (made_)
      made_->rename();
    else
      database_.run("COMMIT");
  }

 private:
  static std::unique_ptr<Temporary> made_anew(const std::string& file) {
    check_place(file, Existing::append);
    return std::filesystem::exists(file) ? nullptr : std::make_unique<Temporary>(file, Existing::refuse);
  }

  std::unique_ptr<Temporary> made_;
  Database database_;
  int writers_ = 0;
  int finished_ = 0;
  int committed_ = 0;
};

namespace {

class SqliteWriter final : public TableWriter {
 public:
  SqliteWriter(const TableName& name, const std::vector<TableColumn>& columns, Existing existing,
               std::shared_ptr<SqliteTarget> target)
      : columns_(columns), target_(std::move(target)), database_(target_->database()) {
    target_->add_writer();
    const bool exists = has_table(database_, name.table);
    if (exists && existing == Existing::refuse)
      throw Failure(fmt::format("{}: table {} exists already; --replace replaces it, --append adds to it", name.file,
                                name.table));
    if (exists && existing == Existing::replace) database_.run("DROP TABLE " + sql_name(name.table));
    if (!exists || existing == Existing::replace) database_.run(create_statement(name.table, columns));
    for (const TableColumn& column : columns)
      if (!has_column(database_, name.table, column.name))
        throw Failure(fmt::format("{}: table {} has no column '{}'", name.file, name.table, column.name));
    insert_ =
        database_.prepare(fmt::format("INSERT INTO {} ({}) VALUES ({})", sql_name(name.table),
                                      joined(columns, [](const TableColumn& column) { return sql_name(column.name); }),
                                      joined(columns, [](const TableColumn&) { return std::string("?"); })));
  }

  void write(const RowBlock& rows) override {
    check_interruption();
    for (const std::uint32_t row : rows.rows) {
      for (std::size_t i = 0; i < columns_.size(); ++i) bind(i, rows.columns[i], row);
      database_.step(insert_);
      sqlite3_reset(insert_.get());
    }
  }

  void finish() override {
    insert_.reset();
    target_->finish();
  }
  void commit() override { target_->commit(); }
  std::string temporary() const override { return target_->temporary(); }
  std::shared_ptr<SharedDatabase> database() const override { return target_; }

 private:
  void bind(std::size_t column, const CellColumn& cells, std::size_t row) {
    sqlite3_stmt* const insert = insert_.get();
    const int at = static_cast<int>(column) + 1;
    if (cells.is_null(row)) return check(sqlite3_bind_null(insert, at));
    const std::string_view cell = cells.at(row);
    switch (columns_[column].type) {
      case TableColumn::Type::integer: {
        std::int64_t value = 0;
        const auto read = std::from_chars(cell.data(), cell.data() + cell.size(), value);
        if (read.ec == std::errc{} && read.ptr == cell.data() + cell.size())
          return check(sqlite3_bind_int64(insert, at, value));
        break;
      }
      case TableColumn::Type::real: {
        double value = 0;
        const auto read = std::from_chars(cell.data(), cell.data() + cell.size(), value);
        if (read.ec == std::errc{} && std::isfinite(value)) return check(sqlite3_bind_double(insert, at, value));
        break;
      }
      case TableColumn::Type::bytes: {
        std::string bytes;
        if (from_hexadecimal(cell, bytes))
          return check(sqlite3_bind_blob64(insert, at, bytes.data(), bytes.size(), SQLITE_TRANSIENT));
        break;
      }
      case TableColumn::Type::text:
      case TableColumn::Type::number: break;
    }
    check(sqlite3_bind_text64(insert, at, cell.data(), cell.size(), SQLITE_STATIC, SQLITE_UTF8));
  }

  void check(int result) const {
    if (result != SQLITE_OK) database_.fail();
  }

  std::vector<TableColumn> columns_;
  std::shared_ptr<SqliteTarget> target_;
  const Database& database_;
  Statement insert_;
};

}  // namespace

const char* sqlite_type(TableColumn::Type type) {
  switch (type) {
    case TableColumn::Type::integer: return "INTEGER";
    case TableColumn::Type::real: return "REAL";
    case TableColumn::Type::bytes: return "BLOB";
    case TableColumn::Type::text:
    case TableColumn::Type::number: break;
  }
  return "TEXT";  // of a decimal too: a column of another kind would make a binary fraction of it
}

std::string create_statement(const std::string& table, const std::vector<TableColumn>& columns) {
  return fmt::format("CREATE TABLE {} (\n  {}\n)", sql_name(table), [&] {
    std::string text;
    for (const TableColumn& column : columns)
      text.append(text.empty() ? "" : ",\n  ")
          .append(sql_name(column.name))
          .append(" ")
          .append(sqlite_type(column.type));
    return text;
  }());
}

std::unique_ptr<TableReader> open_sqlite(const TableName& name, const std::vector<TableColumn>& columns,
                                         const TableOptions& options) {
  if (name.table.empty()) throw Failure(name.file + ": --table is needed for an SQLite database");
  return std::make_unique<SqliteReader>(name, columns, options);
}

std::unique_ptr<TableWriter> make_sqlite(const TableName& name, const std::vector<TableColumn>& columns,
                                         Existing existing, const TableWriter* beside) {
  if (name.table.empty()) throw Failure(name.file + ": --table is needed for an SQLite database");
  auto target = beside != nullptr ? std::static_pointer_cast<SqliteTarget>(beside->database())
                                  : std::make_shared<SqliteTarget>(name.file);
  return std::make_unique<SqliteWriter>(name, columns, existing, std::move(target));
}

}  // namespace zvrt::records
