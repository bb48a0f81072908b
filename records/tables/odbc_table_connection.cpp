#include "records/tables/odbc_table_connection.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "records/files/failure.h"
#include "records/tables/odbc_table_secrets.h"
#include "records/tables/odbc_table_text.h"

namespace zvrt::records {
namespace {

constexpr SQLSMALLINT longest_name = 1024;  // units of a column's name
constexpr int most_words = 4;               // diagnostic records that a message takes

}  // namespace

OdbcHandle::OdbcHandle(SQLSMALLINT kind, SQLHANDLE parent) : kind_(kind) {
  if (!SQL_SUCCEEDED(odbc_manager().SQLAllocHandle(kind, parent, &handle_)))
    throw Failure("the driver manager gives no handle");
}

OdbcHandle::~OdbcHandle() {
  if (handle_ != nullptr) odbc_manager().SQLFreeHandle(kind_, handle_);
}

namespace {

OdbcHandle environment() {
  OdbcHandle made(SQL_HANDLE_ENV, SQL_NULL_HANDLE);
  odbc_manager().SQLSetEnvAttr(made.get(), SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
  return made;
}

// Whether a statement that succeeded warns of text or digits that were cut.
bool lost_something(const OdbcHandle& statement) {
  std::array<SQLWCHAR, 6> state{};
  SQLSMALLINT length = 0;
  for (SQLSMALLINT i = 1; SQL_SUCCEEDED(odbc_manager().SQLGetDiagRecW(statement.kind(), statement.get(), i,
                                                                      state.data(), nullptr, nullptr, 0, &length));
       ++i) {
    const std::string name = from_odbc_text(state.data(), 5);
    if (name == "01004" || name == "01S07" || name.starts_with("22")) return true;
  }
  return false;
}

bool same_letters(std::string_view one, std::string_view other) {
  return std::equal(one.begin(), one.end(), other.begin(), other.end(), [](char a, char b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    return lower(a) == lower(b);
  });
}

}  // namespace

OdbcConnection::OdbcConnection(const std::string& file)
    : shown_(shown_connection(std::string_view(file).substr(odbc_prefix.size()))),
      secrets_(secrets_of(std::string_view(file).substr(odbc_prefix.size()))),
      environment_(environment()),
      connection_(SQL_HANDLE_DBC, environment_.get()) {
  connect(std::string_view(file).substr(odbc_prefix.size()));
  quote_ = text_information(SQL_IDENTIFIER_QUOTE_CHAR);
  if (quote_ == " ") quote_.clear();
  product_ = text_information(SQL_DBMS_NAME);
  fetches_ = number_information(SQL_GETDATA_EXTENSIONS, sizeof(SQLUINTEGER));
}

OdbcConnection::~OdbcConnection() {
  if (!connected_) return;
  if (in_transaction_) odbc_manager().SQLEndTran(SQL_HANDLE_DBC, connection_.get(), SQL_ROLLBACK);
  odbc_manager().SQLDisconnect(connection_.get());
}

void OdbcConnection::connect(std::string_view connection_string) {
  std::vector<SQLWCHAR> text = odbc_text(connection_string);
  const SQLRETURN result = odbc_manager().SQLDriverConnectW(connection_.get(), nullptr, text.data(),
                                                            static_cast<SQLSMALLINT>(text.size() - 1), nullptr, 0,
                                                            nullptr, SQL_DRIVER_NOPROMPT);
  check(result, connection_, "no connection");
  connected_ = true;
}

void OdbcConnection::begin() {
  if (number_information(SQL_TXN_CAPABLE, sizeof(SQLUSMALLINT)) == SQL_TC_NONE)
    throw Failure(fmt::format("{}: the driver has no transactions, without which nothing is written", shown_));
  check(odbc_manager().SQLSetConnectAttrW(connection_.get(), SQL_ATTR_AUTOCOMMIT,
                                          reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_OFF), SQL_IS_UINTEGER),
        connection_, "no transaction");
  in_transaction_ = true;
}

void OdbcConnection::commit() {
  check(odbc_manager().SQLEndTran(SQL_HANDLE_DBC, connection_.get(), SQL_COMMIT), connection_,
        "the end of the transaction is not confirmed, so that all rows or none are there");
  in_transaction_ = false;
}

bool OdbcConnection::run(const std::string& sql, std::string& why) const {
  const OdbcHandle made = statement();
  std::vector<SQLWCHAR> text = odbc_text(sql);
  const SQLRETURN result = odbc_manager().SQLExecDirectW(made.get(), text.data(), SQL_NTS);
  if (SQL_SUCCEEDED(result) || result == SQL_NO_DATA) return true;
  why = words_of(made);
  return false;
}

void OdbcConnection::run(const std::string& sql) const {
  std::string why;
  if (!run(sql, why)) throw Failure(fmt::format("{}: {}", shown_, why));
}

std::optional<std::string> OdbcConnection::value_of(const std::string& sql) const {
  const OdbcHandle made = statement();
  execute_directly(made, sql);
  if (!SQL_SUCCEEDED(odbc_manager().SQLFetch(made.get()))) return std::nullopt;
  std::array<char, 128> cell{};
  SQLLEN length = 0;
  check(odbc_manager().SQLGetData(made.get(), 1, SQL_C_CHAR, cell.data(), cell.size(), &length), made, sql);
  if (length < 0 || static_cast<std::size_t>(length) >= cell.size()) return std::nullopt;
  return std::string(cell.data(), static_cast<std::size_t>(length));
}

bool OdbcConnection::prepare(const OdbcHandle& statement, const std::string& sql, std::string& why) const {
  std::vector<SQLWCHAR> text = odbc_text(sql);
  if (SQL_SUCCEEDED(odbc_manager().SQLPrepareW(statement.get(), text.data(), SQL_NTS))) return true;
  why = words_of(statement);
  return false;
}

bool OdbcConnection::execute(const OdbcHandle& statement, std::string& why) const {
  const SQLRETURN result = odbc_manager().SQLExecute(statement.get());
  if (result == SQL_SUCCESS || result == SQL_NO_DATA) return true;
  if (result == SQL_SUCCESS_WITH_INFO && !lost_something(statement)) return true;
  why = words_of(statement);
  return false;
}

void OdbcConnection::execute_directly(const OdbcHandle& statement, const std::string& sql) const {
  std::vector<SQLWCHAR> text = odbc_text(sql);
  check(odbc_manager().SQLExecDirectW(statement.get(), text.data(), SQL_NTS), statement, "");
}

bool OdbcConnection::describe(const std::string& table, std::vector<OdbcColumn>& columns, std::string& why) const {
  const OdbcHandle made = statement();
  std::vector<SQLWCHAR> text = odbc_text(fmt::format("SELECT * FROM {} WHERE 1 = 0", table));
  if (!SQL_SUCCEEDED(odbc_manager().SQLExecDirectW(made.get(), text.data(), SQL_NTS))) {
    why = words_of(made);
    return false;
  }
  columns = describe_result(made);
  return true;
}

std::vector<OdbcColumn> OdbcConnection::describe_result(const OdbcHandle& statement) const {
  SQLSMALLINT count = 0;
  check(odbc_manager().SQLNumResultCols(statement.get(), &count), statement, "the result has no columns");
  std::vector<OdbcColumn> columns(static_cast<std::size_t>(count));
  std::vector<SQLWCHAR> name(longest_name);
  for (std::size_t i = 0; i < columns.size(); ++i) {
    SQLSMALLINT length = 0;
    SQLSMALLINT nullable = 0;
    OdbcColumn& column = columns[i];
    check(odbc_manager().SQLDescribeColW(statement.get(), static_cast<SQLUSMALLINT>(i + 1), name.data(), longest_name,
                                         &length, &column.type, &column.size, &column.digits, &nullable),
          statement, "a column is not described");
    column.name = from_odbc_text(name.data(), static_cast<std::size_t>(std::clamp<int>(length, 0, longest_name - 1)));
  }
  return columns;
}

std::string OdbcConnection::type_name(SQLSMALLINT type) const {
  const OdbcHandle made = statement();
  std::array<SQLWCHAR, 128> name{};
  SQLLEN length = 0;
  if (!SQL_SUCCEEDED(odbc_manager().SQLGetTypeInfoW(made.get(), type)) ||
      !SQL_SUCCEEDED(odbc_manager().SQLFetch(made.get())) ||
      !SQL_SUCCEEDED(odbc_manager().SQLGetData(made.get(), 1, SQL_C_WCHAR, name.data(), sizeof name, &length)) ||
      length < 0 || static_cast<std::size_t>(length) >= sizeof name)
    return "";
  return from_odbc_text(name.data(), static_cast<std::size_t>(length) / sizeof(SQLWCHAR));
}

std::string OdbcConnection::quoted(std::string_view name) const {
  std::string text = quote_;
  for (const char c : name) text.append(quote_.size() == 1 && c == quote_[0] ? 2 : 1, c);
  return text + quote_;
}

std::string OdbcConnection::quoted_table(std::string_view name) const {
  std::string text;
  while (!name.empty()) {
    const bool stands_in_quotes = quote_.size() == 1 && name[0] == quote_[0];
    const std::size_t end = stands_in_quotes ? name.find(quote_[0], 1) : name.find('.');
    if (stands_in_quotes && end != std::string_view::npos) {
      text += name.substr(0, end + 1);
      name.remove_prefix(end + 1);
    } else {
      text += quoted(name.substr(0, end));
      name.remove_prefix(std::min(end, name.size()));
    }
    if (!name.empty()) {
      text += '.';
      if (name[0] == '.') name.remove_prefix(1);
    }
  }
  return text;
}

bool OdbcConnection::fetches_long_in_sets() const {
  return (fetches_ & SQL_GD_BLOCK) != 0 && (fetches_ & SQL_GD_BOUND) != 0;
}

bool OdbcConnection::fetches_long() const { return (fetches_ & SQL_GD_BOUND) != 0; }

std::string OdbcConnection::text_information(SQLUSMALLINT kind) const {
  std::array<SQLWCHAR, 256> text{};
  SQLSMALLINT bytes = 0;
  if (!SQL_SUCCEEDED(odbc_manager().SQLGetInfoW(connection_.get(), kind, text.data(), sizeof text, &bytes))) return "";
  const auto units = static_cast<std::size_t>(std::max<int>(bytes, 0)) / sizeof(SQLWCHAR);
  return from_odbc_text(text.data(), std::min(units, text.size() - 1));
}

SQLUINTEGER OdbcConnection::number_information(SQLUSMALLINT kind, SQLSMALLINT bytes) const {
  SQLUINTEGER value = 0;
  SQLUSMALLINT small = 0;
  const bool is_small = bytes == sizeof small;
  const SQLRETURN result = is_small ? odbc_manager().SQLGetInfoW(connection_.get(), kind, &small, bytes, nullptr)
                                    : odbc_manager().SQLGetInfoW(connection_.get(), kind, &value, bytes, nullptr);
  if (!SQL_SUCCEEDED(result)) return 0;
  return is_small ? small : value;
}

std::string OdbcConnection::words_of(const OdbcHandle& handle) const {
  std::string words;
  std::array<SQLWCHAR, 1024> text{};
  std::array<SQLWCHAR, 6> state{};
  for (SQLSMALLINT i = 1; i <= most_words; ++i) {
    SQLSMALLINT length = 0;
    SQLINTEGER native = 0;
    if (!SQL_SUCCEEDED(odbc_manager().SQLGetDiagRecW(handle.kind(), handle.get(), i, state.data(), &native, text.data(),
                                                     text.size(), &length)))
      break;
    const auto units = std::min(static_cast<std::size_t>(std::max<int>(length, 0)), text.size() - 1);
    words.append(words.empty() ? "" : "; ").append(from_odbc_text(text.data(), units));
  }
  while (!words.empty() && (words.back() == '\n' || words.back() == ' ')) words.pop_back();
  return words.empty() ? "the driver does not say why" : without_secrets(words, secrets_);
}

void OdbcConnection::check(SQLRETURN result, const OdbcHandle& handle, std::string_view what) const {
  if (SQL_SUCCEEDED(result)) return;
  throw Failure(fmt::format("{}: {}{}{}", shown_, what, what.empty() ? "" : ": ", words_of(handle)));
}

std::size_t find_column(const std::vector<OdbcColumn>& columns, std::string_view name) {
  const auto begin = columns.begin();
  auto found = std::find_if(begin, columns.end(), [&](const OdbcColumn& column) { return column.name == name; });
  if (found == columns.end())
    found =
        std::find_if(begin, columns.end(), [&](const OdbcColumn& column) { return same_letters(column.name, name); });
  return static_cast<std::size_t>(found - begin);
}

}  // namespace zvrt::records
