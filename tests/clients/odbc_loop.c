/* The yardstick of zvrt-records over ODBC: a loop that does no more than fill the same arrays and run the same statement.
 *
 *   odbc_loop write|array|read CONNECTION-STRING TABLE ROWS
 *
 * `write` inserts by statements of 128 rows, `array` by parameter sets of 1000; both in one transaction, after a DELETE.
 * `read` fetches sets of 1000 rows. Prints the rows a second. The table has ID, NAME, BALANCE and VISITS. */
#include <sql.h>
#include <sqlext.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

enum { statement_rows = 128, set_rows = 1000, name_units = 64, text_bytes = 32 };

static struct {
  SQLBIGINT id[set_rows], visits[set_rows];
  SQLWCHAR name[set_rows][name_units];
  char balance[set_rows][text_bytes];
  SQLLEN id_length[set_rows], name_length[set_rows], balance_length[set_rows], visits_length[set_rows];
} rows;

static void check(SQLRETURN result, SQLSMALLINT kind, SQLHANDLE handle) {
  SQLCHAR state[6] = "";
  SQLCHAR text[512] = "";
  if (SQL_SUCCEEDED(result) || result == SQL_NO_DATA) return;
  SQLGetDiagRec(kind, handle, 1, state, NULL, text, sizeof text, NULL);
  fprintf(stderr, "%s %s\n", (const char*)state, (const char*)text);
  exit(1);
}

static double now(void) {
  struct timespec time;
  timespec_get(&time, TIME_UTC);
  return (double)time.tv_sec + (double)time.tv_nsec * 1e-9;
}

static void fill(long first, int count) {
  for (int i = 0; i < count; ++i) {
    char name[name_units];
    const int length = snprintf(name, sizeof name, "Name %ld", (first + i) * 7919 % 1000003);
    for (int at = 0; at < length; ++at) rows.name[i][at] = (SQLWCHAR)name[at];
    rows.name_length[i] = (SQLLEN)sizeof(SQLWCHAR) * length;
    rows.id[i] = first + i;
    rows.visits[i] = (first + i) % 9999;
    rows.balance_length[i] =
        snprintf(rows.balance[i], text_bytes, "%ld.%02ld", (first + i) % 100000000, (first + i) % 100);
    rows.id_length[i] = rows.visits_length[i] = sizeof(SQLBIGINT);
  }
}

static void bind_row(SQLHSTMT statement, int row) {
  const SQLUSMALLINT first = (SQLUSMALLINT)(4 * row + 1);
  SQLBindParameter(statement, first, SQL_PARAM_INPUT, SQL_C_SBIGINT, SQL_BIGINT, 8, 0, &rows.id[row], 8,
                   &rows.id_length[row]);
  SQLBindParameter(statement, first + 1, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, name_units, 0, rows.name[row],
                   sizeof rows.name[row], &rows.name_length[row]);
  SQLBindParameter(statement, first + 2, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_VARCHAR, text_bytes, 0, rows.balance[row],
                   text_bytes, &rows.balance_length[row]);
  SQLBindParameter(statement, first + 3, SQL_PARAM_INPUT, SQL_C_SBIGINT, SQL_INTEGER, 8, 0, &rows.visits[row], 8,
                   &rows.visits_length[row]);
}

static void run(SQLHSTMT statement, char* sql) {
  check(SQLExecDirect(statement, (SQLCHAR*)sql, SQL_NTS), SQL_HANDLE_STMT, statement);
  SQLFreeStmt(statement, SQL_CLOSE);
}

static void write_rows(SQLHSTMT statement, const char* table, long count, int by_array) {
  static char sql[statement_rows * 10 + 200];
  const int at_once = by_array ? set_rows : statement_rows;
  SQLULEN done = 0;
  int length = snprintf(sql, sizeof sql, "INSERT INTO %s (\"ID\",\"NAME\",\"BALANCE\",\"VISITS\") VALUES ", table);
  for (int row = 0; row < (by_array ? 1 : statement_rows); ++row)
    length += snprintf(sql + length, sizeof sql - (size_t)length, "%s(?,?,?,?)", row == 0 ? "" : ",");
  check(SQLPrepare(statement, (SQLCHAR*)sql, SQL_NTS), SQL_HANDLE_STMT, statement);
  if (by_array) SQLSetStmtAttr(statement, SQL_ATTR_PARAMSET_SIZE, (SQLPOINTER)(SQLULEN)set_rows, 0);
  if (by_array) SQLSetStmtAttr(statement, SQL_ATTR_PARAMS_PROCESSED_PTR, &done, 0);
  for (int row = 0; row < (by_array ? 1 : statement_rows); ++row) bind_row(statement, row);
  for (long first = 0; first + at_once <= count; first += at_once) {
    fill(first, at_once);
    check(SQLExecute(statement), SQL_HANDLE_STMT, statement);
  }
}

static void read_rows(SQLHSTMT statement, const char* table) {
  char sql[200];
  SQLULEN fetched = 0;
  snprintf(sql, sizeof sql, "SELECT \"ID\",\"NAME\",\"BALANCE\",\"VISITS\" FROM %s", table);
  SQLSetStmtAttr(statement, SQL_ATTR_ROW_ARRAY_SIZE, (SQLPOINTER)(SQLULEN)set_rows, 0);
  SQLSetStmtAttr(statement, SQL_ATTR_ROWS_FETCHED_PTR, &fetched, 0);
  check(SQLExecDirect(statement, (SQLCHAR*)sql, SQL_NTS), SQL_HANDLE_STMT, statement);
  SQLBindCol(statement, 1, SQL_C_SBIGINT, rows.id, 8, rows.id_length);
  SQLBindCol(statement, 2, SQL_C_WCHAR, rows.name, sizeof rows.name[0], rows.name_length);
  SQLBindCol(statement, 3, SQL_C_CHAR, rows.balance, text_bytes, rows.balance_length);
  SQLBindCol(statement, 4, SQL_C_SBIGINT, rows.visits, 8, rows.visits_length);
  SQLRETURN result;
  while (SQL_SUCCEEDED(result = SQLFetch(statement))) continue;
  check(result, SQL_HANDLE_STMT, statement);
}

int main(int argc, char** argv) {
  if (argc != 5) return fprintf(stderr, "usage: odbc_loop write|array|read CONNECTION-STRING TABLE ROWS\n"), 2;
  const long count = strtol(argv[4], NULL, 10);
  char sql[200];
  SQLHENV environment;
  SQLHDBC connection;
  SQLHSTMT statement;
  const double start = now();
  SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment);
  SQLSetEnvAttr(environment, SQL_ATTR_ODBC_VERSION, (SQLPOINTER)SQL_OV_ODBC3, 0);
  SQLAllocHandle(SQL_HANDLE_DBC, environment, &connection);
  check(SQLDriverConnect(connection, NULL, (SQLCHAR*)argv[2], SQL_NTS, NULL, 0, NULL, 0), SQL_HANDLE_DBC, connection);
  SQLSetConnectAttr(connection, SQL_ATTR_AUTOCOMMIT, (SQLPOINTER)SQL_AUTOCOMMIT_OFF, 0);
  SQLAllocHandle(SQL_HANDLE_STMT, connection, &statement);
  if (strcmp(argv[1], "read") == 0) {
    read_rows(statement, argv[3]);
  } else {
    snprintf(sql, sizeof sql, "DELETE FROM %s", argv[3]);
    run(statement, sql);
    write_rows(statement, argv[3], count, strcmp(argv[1], "array") == 0);
    check(SQLEndTran(SQL_HANDLE_DBC, connection, SQL_COMMIT), SQL_HANDLE_DBC, connection);
  }
  printf("%.0f\n", (double)count / (now() - start));
  SQLFreeHandle(SQL_HANDLE_STMT, statement);
  SQLDisconnect(connection);
  SQLFreeHandle(SQL_HANDLE_DBC, connection);
  SQLFreeHandle(SQL_HANDLE_ENV, environment);
  return 0;
}
