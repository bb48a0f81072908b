/* A driver's fetch into host variables: two columns of a result come over ODBC as UTF-16 and decimal text, a row set at a
 * time, and go by plans into all six text kinds, packed decimal and VARNUM.
 *
 *   odbc_columns CONNECTION-STRING QUERY      the query's columns: a text, a number with at most two decimals
 *
 * ODBC's arrays are bound straight into the plans: its 8-byte lengths are lengths and indicators in one, -1 for a null.
 */
#include <ZVRTColumns.h>
#include <sql.h>
#include <sqlext.h>
#include <stdio.h>
#include <wchar.h>

enum { rows_at_once = 64, text_units = 32, kinds = 8 };

/* The host variables of a row. */
typedef struct Host {
  char fixed[12];
  struct {
    uint16_t length;
    char bytes[24];
  } varchar;
  char terminated[25];
  wchar_t wide[12];
  unsigned char wide_varchar[2 + 12 * sizeof(wchar_t)];
  wchar_t wide_terminated[13];
  unsigned char packed[5];
  unsigned char varnum[22];
} Host;

/* What a host variable is, where it stands in a row, and which of the two columns it takes. */
typedef struct Variable {
  const char* name;
  uint32_t kind;
  int32_t length;
  uint32_t flags;
  int16_t precision, scale;
  size_t offset;
  int column;
} Variable;

static const Variable variables[kinds] = {
    {"CHAR", ZVRT_KIND_CHAR, 12, ZVRT_TYPE_PAD, 0, 0, offsetof(Host, fixed), 0},
    {"VARCHAR", ZVRT_KIND_VARCHAR, sizeof(((Host*)0)->varchar), 0, 0, 0, offsetof(Host, varchar), 0},
    {"VARCHAR_SZ", ZVRT_KIND_VARCHAR_SZ, 25, 0, 0, 0, offsetof(Host, terminated), 0},
    {"WCHAR", ZVRT_KIND_WCHAR, 12 * sizeof(wchar_t), ZVRT_TYPE_PAD, 0, 0, offsetof(Host, wide), 0},
    {"WVARCHAR", ZVRT_KIND_WVARCHAR, 2 + 12 * sizeof(wchar_t), 0, 0, 0, offsetof(Host, wide_varchar), 0},
    {"WVARCHAR_SZ", ZVRT_KIND_WVARCHAR_SZ, 13 * sizeof(wchar_t), 0, 0, 0, offsetof(Host, wide_terminated), 0},
    {"PACKED", ZVRT_KIND_PACKED, 5, 0, 9, 2, offsetof(Host, packed), 1},
    {"VARNUM", ZVRT_KIND_VARNUM, 22, 0, 0, 0, offsetof(Host, varnum), 1},
};

/* A column of the result as the driver manager fills it. */
typedef struct Column {
  SQLWCHAR units[rows_at_once][text_units];
  SQLLEN lengths[rows_at_once];
} Column;

static int fail(SQLSMALLINT kind, SQLHANDLE handle, const char* what) {
  SQLCHAR state[6] = "", text[256] = "no message";
  SQLGetDiagRec(kind, handle, 1, state, NULL, text, sizeof text, NULL);
  fprintf(stderr, "%s: %s %s\n", what, (const char*)state, (const char*)text);
  return 1;
}

static int make_plans(ZVRTPlan* plans[kinds]) {
  const ZVRTType utf16 = {.size = sizeof utf16, .kind = ZVRT_KIND_UTF16, .length = sizeof(SQLWCHAR) * text_units};
  for (int i = 0; i < kinds; ++i) {
    const Variable* v = &variables[i];
    const ZVRTType to = {.size = sizeof to,
                         .kind = v->kind,
                         .length = v->length,
                         .flags = v->flags,
                         .precision = v->precision,
                         .scale = v->scale};
    ZVRTProblem why = {.size = sizeof why};
    if (ZVRTPlanCreate(&utf16, &to, 0, &plans[i], &why) == ZVRT_RC_OK) continue;
    fprintf(stderr, "%s: %s\n", v->name, why.text);
    return 1;
  }
  return 0;
}

/* One column of a row set into one host variable of every row. */
static void convert(const ZVRTPlan* plan, const Variable* v, Column* column, Host* host, SQLLEN* indicators,
                    int64_t count, ZVRTOutcome* sum) {
  const ZVRTArray from = {.size = sizeof from,
                          .data = column->units,
                          .stride = sizeof column->units[0],
                          .lengths = column->lengths,
                          .lengthBytes = sizeof(SQLLEN)};
  const ZVRTArray to = {.size = sizeof to,
                        .data = (char*)host + v->offset,
                        .stride = sizeof *host,
                        .indicators = indicators,
                        .indicatorBytes = sizeof(SQLLEN)};
  ZVRTOutcome outcome = {.size = sizeof outcome};
  ZVRTPlanRun(plan, &from, &to, count, &outcome);
  sum->done += outcome.done;
  sum->nulls += outcome.nulls;
  sum->refused += outcome.refused;
  if (sum->firstStatus == 0) sum->firstStatus = outcome.firstStatus;
}

static void show(const Host* host) {
  printf("first row: [%.12s] [%.*s] [%s] %d wide characters, packed ", host->fixed, host->varchar.length,
         host->varchar.bytes, host->terminated, (int)wcslen(host->wide_terminated));
  for (int i = 0; i < 5; ++i) printf("%02X", host->packed[i]);
  printf(" varnum ");
  for (int i = 0; i <= host->varnum[0]; ++i) printf("%02X", host->varnum[i]);
  printf("\n");
}

int main(int argc, char** argv) {
  if (argc != 3) return fprintf(stderr, "usage: odbc_columns CONNECTION-STRING QUERY\n"), 2;
  static Column columns[2];
  static Host host[rows_at_once];
  static SQLLEN indicators[rows_at_once];
  ZVRTPlan* plans[kinds];
  ZVRTOutcome sums[kinds] = {{0}};
  SQLHENV environment;
  SQLHDBC connection;
  SQLHSTMT statement;
  SQLULEN fetched = 0;
  if (make_plans(plans) != 0) return 1;
  SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment);
  SQLSetEnvAttr(environment, SQL_ATTR_ODBC_VERSION, (SQLPOINTER)SQL_OV_ODBC3, 0);
  SQLAllocHandle(SQL_HANDLE_DBC, environment, &connection);
  if (!SQL_SUCCEEDED(SQLDriverConnect(connection, NULL, (SQLCHAR*)argv[1], SQL_NTS, NULL, 0, NULL, 0)))
    return fail(SQL_HANDLE_DBC, connection, "connect");
  SQLAllocHandle(SQL_HANDLE_STMT, connection, &statement);
  SQLSetStmtAttr(statement, SQL_ATTR_ROW_ARRAY_SIZE, (SQLPOINTER)(SQLULEN)rows_at_once, 0);
  SQLSetStmtAttr(statement, SQL_ATTR_ROWS_FETCHED_PTR, &fetched, 0);
  for (SQLUSMALLINT i = 0; i < 2; ++i)
    SQLBindCol(statement, (SQLUSMALLINT)(i + 1), SQL_C_WCHAR, columns[i].units, sizeof columns[i].units[0],
               columns[i].lengths);
  if (!SQL_SUCCEEDED(SQLExecDirect(statement, (SQLCHAR*)argv[2], SQL_NTS)))
    return fail(SQL_HANDLE_STMT, statement, "query");
  SQLRETURN code;
  for (int64_t sets = 0; SQL_SUCCEEDED(code = SQLFetch(statement)); ++sets) {
    for (int i = 0; i < kinds; ++i)
      convert(plans[i], &variables[i], &columns[variables[i].column], host, indicators, (int64_t)fetched, &sums[i]);
    if (sets == 0) show(&host[0]);
  }
  if (code != SQL_NO_DATA) return fail(SQL_HANDLE_STMT, statement, "fetch");
  for (int i = 0; i < kinds; ++i) {
    printf("%-12s %7lld values, %lld null, %lld refused%s%s\n", variables[i].name, (long long)sums[i].done,
           (long long)sums[i].nulls, (long long)sums[i].refused, sums[i].firstStatus ? ", the first as " : "",
           sums[i].firstStatus ? ZVRTStatusName(sums[i].firstStatus) : "");
    ZVRTPlanDestroy(plans[i]);
  }
  SQLFreeHandle(SQL_HANDLE_STMT, statement);
  SQLDisconnect(connection);
  SQLFreeHandle(SQL_HANDLE_DBC, connection);
  SQLFreeHandle(SQL_HANDLE_ENV, environment);
  return 0;
}
