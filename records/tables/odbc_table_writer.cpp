// Rows into a table over ODBC: INSERT statements of many rows, prepared once for each number of rows and bound to the
// arrays of OdbcParameters.
//
// All of it is one transaction. A block of rows has a savepoint. If a statement of it fails, the block is taken back and
// sent again in parts with a savepoint each, and a part that fails again by halves, until the rows that are refused stand
// alone:
//
//   block  [................x...............]   savepoint, fails: taken back
//   parts  [........] [........x] [.........]   the second fails
//   halves            [....][..x]               and so on, down to x, whose refusal is told in the driver's words
//
// Where a connection is lost the savepoint cannot be taken back either: that ends the run, and the server's transaction
// with it.
#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "records/codec/status.h"
#include "records/files/failure.h"
#include "records/files/interruption.h"
#include "records/tables/formats.h"
#include "records/tables/odbc_table_parameters.h"

namespace zvrt::records {
namespace {

constexpr std::size_t most_rows = 128;         // of a statement
constexpr std::size_t most_parameters = 8192;  // likewise; servers take 65535, SQLite 32766
constexpr std::size_t most_bytes = 1 << 22;    // of the slots of a statement's rows
constexpr std::size_t most_statements = 32;    // that are kept prepared
constexpr const char* savepoint = "zvrt_rows";

std::string literal(std::string_view text) {
  std::string made = "'";
  for (const char c : text) made.append(c == '\'' ? 2 : 1, c);
  return made + "'";
}

// What the tables of a run share: one connection and one transaction, which the last of its writers ends.
class OdbcTarget final : public SharedDatabase {
 public:
  explicit OdbcTarget(const std::string& file) : connection_(file) {}
  OdbcConnection& connection() { return connection_; }
  void add_writer() { ++writers_; }
  void commit() {
    if (++committed_ == writers_) connection_.commit();
  }

 private:
  OdbcConnection connection_;
  int writers_ = 0;
  int committed_ = 0;
};

class OdbcWriter final : public TableWriter {
 public:
  OdbcWriter(const TableName& name, const std::vector<TableColumn>& columns, const TableOptions& options,
             Existing existing, std::shared_ptr<OdbcTarget> target)
      : columns_(columns), target_(std::move(target)), connection_(target_->connection()) {
    target_->add_writer();
    table_ = connection_.quoted_table(name.table);
    prepare_table(options.create, existing);
    most_ = std::clamp<std::size_t>(most_parameters / columns.size(), 1, most_rows);
    for (std::size_t i = 0; i < columns.size(); ++i)
      parameters_.emplace_back(columns[i], described_[i], most_,
                               fmt::format("{}: column {} of {}", connection_.shown(), described_[i].name, table_));
  }

  void write(const RowBlock& rows) override {
    refused_.clear();
    if (rows.rows.empty()) return;
    block_ = &rows;
    settle(rows.rows.size());
    block_ = nullptr;
  }

  std::vector<RefusedRow> refused() const override {
    std::vector<RefusedRow> rows;
    for (const auto& [row, refused] : refused_) rows.push_back(refused);
    return rows;
  }

  void finish() override {
    statements_.clear();
    check_interruption();
  }
  void commit() override { target_->commit(); }
  std::shared_ptr<SharedDatabase> database() const override { return target_; }

 private:
  struct Insert {
    OdbcHandle statement;
    int bound = 0;  // the state of the slots that it is bound to
  };

  void prepare_table(bool create, Existing existing);
  void create_table();
  void describe(const std::vector<OdbcColumn>& found);
  void settle_precision(OdbcColumn& column) const;
  Insert* insert_of(std::size_t rows);
  std::string insert_statement(std::size_t rows) const;
  void bind(Insert& insert, std::size_t rows);

  void settle(std::size_t count);
  bool attempt(std::size_t first, std::size_t count);
  bool send(std::span<const std::uint32_t> rows);
  std::vector<std::uint32_t> take(std::span<const std::uint32_t> rows);
  bool send_piece(std::span<const std::uint32_t> rows);
  std::size_t rows_at_once(std::span<const std::uint32_t> rows) const;

  std::vector<TableColumn> columns_;
  std::shared_ptr<OdbcTarget> target_;
  OdbcConnection& connection_;
  std::string table_;
  std::vector<OdbcColumn> described_;  // in the order of columns_
  std::vector<OdbcParameters> parameters_;
  std::map<std::size_t, Insert> statements_;
  std::size_t most_ = 1;
  int slots_ = 1;  // counts up when slots move
  const RowBlock* block_ = nullptr;
  std::map<std::uint32_t, RefusedRow> refused_;
  std::string why_;
};

void OdbcWriter::prepare_table(bool create, Existing existing) {
  std::vector<OdbcColumn> found;
  std::string why;
  bool exists = connection_.describe(table_, found, why);
  if (!exists && !create)
    throw Failure(
        fmt::format("{}: table {} cannot be used: {}; --create makes a table", connection_.shown(), table_, why));
  if (exists) describe(found);
  if (!connection_.in_transaction()) connection_.begin();
  if (!exists) {
    create_table();
    if (!connection_.describe(table_, found, why)) throw Failure(fmt::format("{}: {}", connection_.shown(), why));
    describe(found);
  } else if (existing == Existing::replace) {
    connection_.run("DELETE FROM " + table_);
  } else if (existing == Existing::refuse && connection_.value_of("SELECT count(*) FROM " + table_) != "0") {
    throw Failure(fmt::format("{}: table {} holds rows already; --replace replaces them, --append adds to them",
                              connection_.shown(), table_));
  }
}

void OdbcWriter::create_table() {
  std::string text;
  for (const TableColumn& column : columns_) {
    std::string type = column.sql_type;
    if (connection_.is_sqlite())
      type = sqlite_type(column.type);
    else if (column.type == TableColumn::Type::bytes)
      type = connection_.type_name(SQL_LONGVARBINARY);
    else if (type.empty())
      type = column.type == TableColumn::Type::integer ? "bigint" : connection_.type_name(SQL_LONGVARCHAR);
    text += fmt::format("{}{} {}", text.empty() ? "" : ", ", connection_.quoted(column.name), type);
  }
  connection_.run(fmt::format("CREATE TABLE {} ({})", table_, text));
}

void OdbcWriter::describe(const std::vector<OdbcColumn>& found) {
  for (const TableColumn& column : columns_) {
    const std::size_t at = find_column(found, column.name);
    if (at == found.size())
      throw Failure(fmt::format("{}: table {} has no column '{}'", connection_.shown(), table_, column.name));
    described_.push_back(found[at]);
    if (connection_.is_postgresql()) settle_precision(described_.back());
  }
}

// The driver describes a `numeric` without a precision as it does a `numeric(28,6)`.
void OdbcWriter::settle_precision(OdbcColumn& column) const {
  if (column.type != SQL_NUMERIC || column.size != 28 || column.digits != 6) return;
  const auto modifier = connection_.value_of(
      fmt::format("SELECT atttypmod FROM pg_attribute WHERE attrelid = {}::regclass AND attname = {}", literal(table_),
                  literal(column.name)));
  if (modifier == "-1") column.size = 0;
}

std::string OdbcWriter::insert_statement(std::size_t rows) const {
  std::string names;
  std::string marks;
  for (const OdbcColumn& column : described_) {
    names.append(names.empty() ? "" : ", ").append(connection_.quoted(column.name));
    marks.append(marks.empty() ? "(?" : ",?");
  }
  std::string text = fmt::format("INSERT INTO {} ({}) VALUES ", table_, names);
  for (std::size_t row = 0; row < rows; ++row) text.append(row == 0 ? "" : ",").append(marks).append(")");
  return text;
}

// Null, and why_, if the driver does not take a statement of so many rows.
OdbcWriter::Insert* OdbcWriter::insert_of(std::size_t rows) {
  auto found = statements_.find(rows);
  if (found == statements_.end()) {
    if (statements_.size() == most_statements) statements_.clear();
    Insert made{connection_.statement()};
    if (!connection_.prepare(made.statement, insert_statement(rows), why_)) {
      if (rows > 1) return nullptr;
      throw Failure(fmt::format("{}: {}", connection_.shown(), why_));
    }
    found = statements_.emplace(rows, std::move(made)).first;
  }
  if (found->second.bound != slots_) bind(found->second, rows);
  return &found->second;
}

void OdbcWriter::bind(Insert& insert, std::size_t rows) {
  std::size_t parameter = 0;
  for (std::size_t row = 0; row < rows; ++row)
    for (OdbcParameters& column : parameters_)
      connection_.check(column.bind(insert.statement, ++parameter, row), insert.statement, "a parameter is not bound");
  insert.bound = slots_;
}

// Sends the rows, and those that are refused go to refused_.
void OdbcWriter::settle(std::size_t count) {
  struct Range {
    std::size_t first, count;
  };
  std::vector<Range> open{{0, count}};  // the next one last
  std::size_t failed = 0;               // rows of the shortest statement that failed as a whole
  bool is_any_refused = false;
  while (!open.empty()) {
    check_interruption();
    const Range range = open.back();
    open.pop_back();
    if (attempt(range.first, range.count)) continue;
    if (range.count == 1) {
      const std::uint32_t row = block_->rows[range.first];
      refused_[row] = {row, "", rx_table, why_};
      is_any_refused = true;
      continue;
    }
    if (range.count <= most_) failed = failed == 0 ? range.count : std::min(failed, range.count);
    const std::size_t part = range.count > most_ ? most_ : (range.count + 1) / 2;
    for (std::size_t at = (range.count - 1) / part * part + part; at != 0; at -= part)
      open.push_back({range.first + at - part, std::min(part, range.count - (at - part))});
  }
  // All rows are in, but not at once: the driver or the server takes no statements of so many.
  if (failed != 0 && !is_any_refused) most_ = std::max<std::size_t>(1, failed / 2);
}

// All of the rows but those that no plan takes, or none of them.
bool OdbcWriter::attempt(std::size_t first, std::size_t count) {
  connection_.run(fmt::format("SAVEPOINT {}", savepoint));
  if (send(std::span(block_->rows).subspan(first, count))) {
    connection_.run(fmt::format("RELEASE SAVEPOINT {}", savepoint));
    return true;
  }
  std::string why;
  if (!connection_.run(fmt::format("ROLLBACK TO SAVEPOINT {}", savepoint), why))
    throw Failure(fmt::format("{}: {}; the transaction is lost: {}", connection_.shown(), why_, why));
  connection_.run(fmt::format("RELEASE SAVEPOINT {}", savepoint));
  return false;
}

bool OdbcWriter::send(std::span<const std::uint32_t> rows) {
  while (!rows.empty()) {
    const std::size_t count = rows_at_once(rows);
    if (!send_piece(rows.first(count))) return false;
    rows = rows.subspan(count);
  }
  return true;
}

// Fewer where cells are long.
std::size_t OdbcWriter::rows_at_once(std::span<const std::uint32_t> rows) const {
  std::size_t count = std::min(rows.size(), most_);
  for (const CellColumn& cells : block_->columns)
    for (std::size_t i = 0; i < count; ++i) {
      const std::int32_t length = cells.lengths[rows[i]];
      while (count > 1 && length > 0 && static_cast<std::size_t>(length) * 2 * count > most_bytes) count /= 2;
    }
  return count;
}

// Puts the rows into the slots. Those that no plan refuses; the others are told.
std::vector<std::uint32_t> OdbcWriter::take(std::span<const std::uint32_t> rows) {
  std::vector<std::uint32_t> status(rows.size(), ZVRT_RC_OK);
  std::vector<bool> is_refused(rows.size());
  for (std::size_t i = 0; i < parameters_.size(); ++i) {
    std::fill(status.begin(), status.end(), ZVRT_RC_OK);
    if (parameters_[i].take(block_->columns[i], rows, status)) ++slots_;
    for (std::size_t row = 0; row < rows.size(); ++row) {
      if (status[row] == ZVRT_RC_OK || is_refused[row]) continue;
      is_refused[row] = true;
      refused_[rows[row]] = {rows[row], columns_[i].name, status[row], text_of(status[row])};
    }
  }
  std::vector<std::uint32_t> taken;
  for (std::size_t row = 0; row < rows.size(); ++row)
    if (!is_refused[row]) taken.push_back(rows[row]);
  return taken;
}

bool OdbcWriter::send_piece(std::span<const std::uint32_t> rows) {
  const std::vector<std::uint32_t> taken = take(rows);
  if (taken.empty()) return true;
  if (taken.size() < rows.size()) take(taken);
  const Insert* const insert = insert_of(taken.size());
  return insert != nullptr && connection_.execute(insert->statement, why_);
}

}  // namespace

std::unique_ptr<TableWriter> make_odbc(const TableName& name, const std::vector<TableColumn>& columns,
                                       const TableOptions& options, Existing existing, const TableWriter* beside) {
  if (name.table.empty()) throw Failure(name.shown() + ": --table is needed for a table over ODBC");
  auto target = beside != nullptr ? std::static_pointer_cast<OdbcTarget>(beside->database())
                                  : std::make_shared<OdbcTarget>(name.file);
  return std::make_unique<OdbcWriter>(name, columns, options, existing, std::move(target));
}

}  // namespace zvrt::records
