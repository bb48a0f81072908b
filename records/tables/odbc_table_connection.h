// A connection to a database over ODBC, its statements, and what the driver says of tables.
//
// All text goes to and comes from the driver manager as UTF-16. Nothing of a connection string is ever shown but the
// values of DSN, SERVER, SERVERNAME and DATABASE; a password that a driver repeats in a message is taken out of it.
#ifndef ZVRT_RECORDS_TABLES_ODBC_TABLE_CONNECTION_H
#define ZVRT_RECORDS_TABLES_ODBC_TABLE_CONNECTION_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "records/tables/odbc_table_manager.h"

namespace zvrt::records {

// An environment, connection or statement of ODBC.
class OdbcHandle {
 public:
  OdbcHandle(SQLSMALLINT kind, SQLHANDLE parent);
  OdbcHandle(OdbcHandle&& other) noexcept : kind_(other.kind_), handle_(other.handle_) { other.handle_ = nullptr; }
  OdbcHandle(const OdbcHandle&) = delete;
  OdbcHandle& operator=(const OdbcHandle&) = delete;
  OdbcHandle& operator=(OdbcHandle&&) = delete;
  ~OdbcHandle();

  SQLSMALLINT kind() const { return kind_; }
  SQLHANDLE get() const { return handle_; }

 private:
  SQLSMALLINT kind_;
  SQLHANDLE handle_ = nullptr;
};

// A column as the driver describes it.
struct OdbcColumn {
  std::string name;
  SQLSMALLINT type = SQL_UNKNOWN_TYPE;
  SQLULEN size = 0;        // characters, bytes or digits; 0: not known
  SQLSMALLINT digits = 0;  // after the decimal point
};

class OdbcConnection {
 public:
  // `file` is `odbc:` and a connection string.
  explicit OdbcConnection(const std::string& file);
  OdbcConnection(const OdbcConnection&) = delete;
  OdbcConnection& operator=(const OdbcConnection&) = delete;
  // Takes back what was not committed.
  ~OdbcConnection();

  // From here on nothing is kept before commit().
  void begin();
  void commit();
  bool in_transaction() const { return in_transaction_; }

  OdbcHandle statement() const { return {SQL_HANDLE_STMT, connection_.get()}; }
  // Runs a statement that has no result. False, and the driver's words in `why`, if it fails.
  bool run(const std::string& sql, std::string& why) const;
  void run(const std::string& sql) const;
  // The first cell of a statement's result; nothing where there is none.
  std::optional<std::string> value_of(const std::string& sql) const;
  bool prepare(const OdbcHandle& statement, const std::string& sql, std::string& why) const;
  // False, and the driver's words in `why`, if it fails.
  bool execute(const OdbcHandle& statement, std::string& why) const;
  void execute_directly(const OdbcHandle& statement, const std::string& sql) const;

  // A table's columns; false, and the driver's words in `why`, if there is no such table.
  bool describe(const std::string& table, std::vector<OdbcColumn>& columns, std::string& why) const;
  std::vector<OdbcColumn> describe_result(const OdbcHandle& statement) const;
  // The driver's name of a type, or nothing if it has none.
  std::string type_name(SQLSMALLINT type) const;
  std::string quoted(std::string_view name) const;
  // A table's name: parts between points each stand in quotes, unless they do already.
  std::string quoted_table(std::string_view name) const;

  // Whether values longer than their slots can be fetched from a row set of several rows, or of one.
  bool fetches_long_in_sets() const;
  bool fetches_long() const;
  bool is_sqlite() const { return product_ == "SQLite"; }
  bool is_postgresql() const { return product_ == "PostgreSQL"; }
  const std::string& shown() const { return shown_; }

  // What the driver says of the last call.
  std::string words_of(const OdbcHandle& handle) const;
  // SQL_SUCCESS or SQL_SUCCESS_WITH_INFO, or it throws.
  void check(SQLRETURN result, const OdbcHandle& handle, std::string_view what) const;

 private:
  void connect(std::string_view connection_string);
  std::string text_information(SQLUSMALLINT kind) const;
  SQLUINTEGER number_information(SQLUSMALLINT kind, SQLSMALLINT bytes) const;

  std::string shown_;
  std::vector<std::string> secrets_;
  OdbcHandle environment_;
  OdbcHandle connection_;
  bool connected_ = false;
  bool in_transaction_ = false;
  std::string quote_;
  std::string product_;
  SQLUINTEGER fetches_ = 0;
};

// The place of the column of this name: as it stands, else whatever the case of its letters; or the count.
std::size_t find_column(const std::vector<OdbcColumn>& columns, std::string_view name);

}  // namespace zvrt::records

#endif
