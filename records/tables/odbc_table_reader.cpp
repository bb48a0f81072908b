// The rows of a table over ODBC, a set of rows at a time, in arrays that the driver fills column by column.
//
// Text comes as UTF-16, which a plan brings into the block; floats as doubles; bytes as they are; everything else as the
// driver's own text, which of exact numbers and dates is exact. A value that is longer than its slot is fetched once more
// by itself. Drivers that can do that in sets of one row only are asked for single rows.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstring>

#include "records/files/failure.h"
#include "records/files/interruption.h"
#include "records/tables/formats.h"
#include "records/tables/hexadecimal.h"
#include "records/tables/odbc_table_connection.h"
#include "records/tables/odbc_table_secrets.h"
#include "records/tables/odbc_table_text.h"

namespace zvrt::records {
namespace {

constexpr std::size_t rows_in_block = 1000;
constexpr std::size_t set_bytes = 1 << 20;  // of all arrays of a set
constexpr std::size_t longest_slot = 4096;
constexpr std::size_t number_slot = 64;
constexpr std::size_t utf8_of_unit = 3;  // bytes at most

// A column of the result and its array.
struct ResultColumn {
  SQLSMALLINT bound_as = SQL_C_CHAR;
  std::size_t slot = number_slot;
  std::size_t terminator = 1;  // bytes of it, for which a slot has room
  std::vector<char> data;
  std::vector<SQLLEN> lengths;
  OdbcPlan to_utf8;

  explicit ResultColumn(const OdbcColumn& described);
  const char* at(std::size_t row) const { return data.data() + row * slot; }
  bool is_cut(std::size_t row) const {
    return lengths[row] == SQL_NO_TOTAL ||
           (lengths[row] > 0 && static_cast<std::size_t>(lengths[row]) + terminator > slot);
  }
};

ResultColumn::ResultColumn(const OdbcColumn& described) {
  switch (described.type) {
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE:
      bound_as = SQL_C_DOUBLE;
      slot = sizeof(double);
      terminator = 0;
      return;
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY:
      bound_as = SQL_C_BINARY;
      slot = std::clamp<std::size_t>(described.size, number_slot, longest_slot);
      terminator = 0;
      return;
    case SQL_CHAR:
    case SQL_VARCHAR:
    case SQL_LONGVARCHAR:
    case SQL_WCHAR:
    case SQL_WVARCHAR:
    case SQL_WLONGVARCHAR: {
      bound_as = SQL_C_WCHAR;
      terminator = sizeof(SQLWCHAR);
      // A character may take two units.
      const std::size_t units = std::min<std::size_t>(described.size, longest_slot / sizeof(SQLWCHAR));
      slot = std::clamp((2 * units + 1) * sizeof(SQLWCHAR), number_slot, longest_slot);
      to_utf8 = odbc_plan(odbc_type(ZVRT_KIND_UTF16, slot),
                          odbc_type(ZVRT_KIND_CHAR, slot / sizeof(SQLWCHAR) * utf8_of_unit), described.name);
      return;
    }
    default: return;
  }
}

class OdbcReader final : public TableReader {
 public:
  OdbcReader(const TableName& name, const std::vector<TableColumn>& columns, const TableOptions& options)
      : connection_(name.file), table_(connection_.quoted_table(name.table)), rows_(connection_.statement()) {
    std::vector<OdbcColumn> found;
    std::string why;
    if (!connection_.describe(table_, found, why))
      throw Failure(fmt::format("{}: table {} cannot be read: {}", connection_.shown(), table_, why));
    std::string selected;
    for (const TableColumn& column : columns) {
      const std::size_t at = find_column(found, column.name);
      is_there_.push_back(at != found.size());
      if (!is_there_.back() && !column.may_lack)
        throw Failure(fmt::format("{}: table {} has no column '{}'", connection_.shown(), table_, column.name));
      if (is_there_.back()) selected.append(selected.empty() ? "" : ", ").append(selected_as(found[at]));
    }
    std::string sql = fmt::format("SELECT {} FROM {}", selected, table_);
    if (!options.order_by.empty()) {
      const std::size_t at = find_column(found, options.order_by);
      if (at == found.size())
        throw Failure(fmt::format("{}: table {} has no column '{}'", connection_.shown(), table_, options.order_by));
      sql += " ORDER BY " + connection_.quoted(found[at].name);
    }
    const SQLULEN cursor = connection_.fetches_long_in_sets() ? SQL_CURSOR_STATIC : SQL_CURSOR_FORWARD_ONLY;
    odbc_manager().SQLSetStmtAttrW(rows_.get(), SQL_ATTR_CURSOR_TYPE, std::bit_cast<SQLPOINTER>(cursor), 0);
    connection_.execute_directly(rows_, sql);
    bind();
  }

  bool has(std::size_t column) const override { return is_there_[column]; }

  Progress progress() override {
    if (!total_) {
      const auto count = connection_.value_of("SELECT count(*) FROM " + table_);
      std::uint64_t rows = 0;
      if (count) std::from_chars(count->data(), count->data() + count->size(), rows);
      total_ = rows;
    }
    return {done_, total_};
  }

  bool next(CellBlock& block) override {
    check_interruption();
    block.columns.resize(is_there_.size());
    block.clear();
    block.first = done_ + 1;
    while (!ended_ && block.rows + set_ <= std::max(rows_in_block, set_)) {
      const SQLRETURN result = odbc_manager().SQLFetch(rows_.get());
      ended_ = result == SQL_NO_DATA;
      if (ended_) break;
      connection_.check(result, rows_, "the rows cannot be read");
      take(block);
      block.rows += fetched_;
      done_ += fetched_;
    }
    return block.rows != 0;
  }

 private:
  // SQLite's driver cuts floats at 15 digits; SQLite itself does not.
  std::string selected_as(const OdbcColumn& column) const {
    std::string name = connection_.quoted(column.name);
    if (!connection_.is_sqlite() || (column.type != SQL_DOUBLE && column.type != SQL_REAL && column.type != SQL_FLOAT))
      return name;
    return fmt::format("CASE typeof({0}) WHEN 'real' THEN printf('%!.17g', {0}) ELSE {0} END", name);
  }

  void bind();
  void take(CellBlock& block);
  void take_text(CellBlock& block, std::size_t column, const ResultColumn& result);
  void take_cell(CellBlock& block, std::size_t column, SQLUSMALLINT place, const ResultColumn& result, std::size_t row);
  std::string long_value(SQLUSMALLINT place, const ResultColumn& result, std::size_t row);

  OdbcConnection connection_;
  std::string table_;
  OdbcHandle rows_;
  std::vector<bool> is_there_;
  std::vector<ResultColumn> results_;  // of the columns that are there
  std::size_t set_ = 1;                // rows in a set
  SQLULEN fetched_ = 0;
  std::vector<std::uint32_t> status_;
  std::array<char, 32> digits_{};
  std::uint64_t done_ = 0;
  std::optional<std::uint64_t> total_;
  bool ended_ = false;
};

void OdbcReader::bind() {
  std::size_t bytes = 1;
  for (const OdbcColumn& described : connection_.describe_result(rows_)) {
    results_.emplace_back(described);
    bytes += results_.back().slot;
  }
  if (connection_.fetches_long_in_sets()) set_ = std::clamp<std::size_t>(set_bytes / bytes, 1, rows_in_block);
  const auto set = [&](SQLINTEGER attribute, SQLPOINTER value) {
    connection_.check(odbc_manager().SQLSetStmtAttrW(rows_.get(), attribute, value, 0), rows_, "no set of rows");
  };
  set(SQL_ATTR_ROW_ARRAY_SIZE, std::bit_cast<SQLPOINTER>(set_));
  set(SQL_ATTR_ROWS_FETCHED_PTR, &fetched_);
  SQLUSMALLINT place = 0;
  for (ResultColumn& result : results_) {
    result.data.resize(result.slot * set_);
    result.lengths.resize(set_);
    connection_.check(odbc_manager().SQLBindCol(rows_.get(), ++place, result.bound_as, result.data.data(),
                                                static_cast<SQLLEN>(result.slot), result.lengths.data()),
                      rows_, "a column is not bound");
  }
}

void OdbcReader::take(CellBlock& block) {
  SQLUSMALLINT place = 0;
  for (std::size_t column = 0; column < is_there_.size(); ++column) {
    if (!is_there_[column]) {
      for (std::size_t row = 0; row < fetched_; ++row) block.add_null(column);
      continue;
    }
    const ResultColumn& result = results_[place++];
    bool is_cut = false;
    for (std::size_t row = 0; row < fetched_; ++row) is_cut = is_cut || result.is_cut(row);
    if (result.to_utf8 && !is_cut) {
      take_text(block, column, result);
    } else {
      for (std::size_t row = 0; row < fetched_; ++row) take_cell(block, column, place, result, row);
    }
  }
}

// The plan writes into the block: a slot of 3 bytes a unit for each value.
void OdbcReader::take_text(CellBlock& block, std::size_t column, const ResultColumn& result) {
  CellBlock::Cells& cells = block.columns[column];
  const std::size_t before = cells.starts.size();
  const std::size_t slot = result.slot / sizeof(SQLWCHAR) * utf8_of_unit;
  const std::size_t start = block.text.size();
  char* const at = block.text.room(slot * fetched_);
  block.text.end_at(at + slot * fetched_);
  cells.starts.resize(before + fetched_);
  cells.lengths.resize(before + fetched_);
  status_.assign(fetched_, ZVRT_RC_OK);
  for (std::size_t row = 0; row < fetched_; ++row)
    cells.starts[before + row] = static_cast<std::int64_t>(start + row * slot);
  ZVRTArray from{};
  from.size = sizeof from;
  from.data = const_cast<char*>(result.data.data());
  from.stride = static_cast<std::int64_t>(result.slot);
  from.lengths = const_cast<SQLLEN*>(result.lengths.data());
  from.lengthBytes = sizeof(SQLLEN);
  ZVRTArray to{};
  to.size = sizeof to;
  to.data = at;
  to.stride = static_cast<std::int64_t>(slot);
  to.lengths = to.indicators = cells.lengths.data() + before;
  to.lengthBytes = to.indicatorBytes = sizeof(std::int32_t);
  to.status = status_.data();
  ZVRTOutcome outcome{};
  outcome.size = sizeof outcome;
  ZVRTPlanRun(result.to_utf8.get(), &from, &to, static_cast<std::int64_t>(fetched_), &outcome);
  if (outcome.refused != 0)
    throw Failure(fmt::format("{}: row {} of {}: {}", connection_.shown(),
                              done_ + static_cast<std::uint64_t>(outcome.firstRefused) + 1, table_,
                              ZVRTStatusText(outcome.firstStatus)));
}

void OdbcReader::take_cell(CellBlock& block, std::size_t column, SQLUSMALLINT place, const ResultColumn& result,
                           std::size_t row) {
  if (result.lengths[row] == SQL_NULL_DATA) return block.add_null(column);
  if (result.bound_as == SQL_C_DOUBLE) {
    double value = 0;
    std::memcpy(&value, result.at(row), sizeof value);
    const auto end = std::to_chars(digits_.data(), digits_.data() + digits_.size(), value).ptr;
    return block.add(column, {digits_.data(), static_cast<std::size_t>(end - digits_.data())});
  }
  const std::string whole = result.is_cut(row)
                                ? long_value(place, result, row)
                                : std::string(result.at(row), static_cast<std::size_t>(result.lengths[row]));
  if (result.bound_as == SQL_C_BINARY) return block.add(column, hexadecimal(whole));
  if (result.bound_as == SQL_C_CHAR) return block.add(column, whole);
  std::vector<SQLWCHAR> units(whole.size() / sizeof(SQLWCHAR));
  std::memcpy(units.data(), whole.data(), units.size() * sizeof(SQLWCHAR));
  block.add(column, exact_from_odbc_text(units.data(), units.size()));
}

std::string OdbcReader::long_value(SQLUSMALLINT place, const ResultColumn& result, std::size_t row) {
  if (!connection_.fetches_long())
    throw Failure(fmt::format("{}: row {} of {}: column {} is longer than the driver says", connection_.shown(),
                              done_ + row + 1, table_, place));
  if (set_ > 1)
    connection_.check(odbc_manager().SQLSetPos(rows_.get(), row + 1, SQL_POSITION, SQL_LOCK_NO_CHANGE), rows_,
                      "a long value cannot be reached");
  std::string whole;
  std::vector<char> part(std::size_t{1} << 16);
  while (true) {
    SQLLEN length = 0;
    const SQLRETURN got = odbc_manager().SQLGetData(rows_.get(), place, result.bound_as, part.data(),
                                                    static_cast<SQLLEN>(part.size()), &length);
    if (got == SQL_NO_DATA) break;
    connection_.check(got, rows_, "a long value cannot be read");
    const std::size_t room = part.size() - result.terminator;
    const bool is_more = length == SQL_NO_TOTAL || static_cast<std::size_t>(length) > room;
    whole.append(part.data(), is_more ? room : static_cast<std::size_t>(length));
    if (!is_more) break;
  }
  return whole;
}

}  // namespace

std::unique_ptr<TableReader> open_odbc(const TableName& name, const std::vector<TableColumn>& columns,
                                       const TableOptions& options) {
  if (name.table.empty()) throw Failure(name.shown() + ": --table is needed for a table over ODBC");
  return std::make_unique<OdbcReader>(name, columns, options);
}

}  // namespace zvrt::records
