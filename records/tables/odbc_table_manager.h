// The driver manager's functions, loaded when the first table over ODBC is opened: the command starts on a machine that
// has no driver manager.
#ifndef ZVRT_RECORDS_TABLES_ODBC_TABLE_MANAGER_H
#define ZVRT_RECORDS_TABLES_ODBC_TABLE_MANAGER_H

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

namespace zvrt::records {

#define ZVRT_ODBC_FUNCTIONS(each)                                                                        \
  each(SQLAllocHandle) each(SQLBindCol) each(SQLBindParameter) each(SQLDescribeColW) each(SQLDisconnect) \
      each(SQLDriverConnectW) each(SQLEndTran) each(SQLExecDirectW) each(SQLExecute) each(SQLFetch)      \
          each(SQLFreeHandle) each(SQLFreeStmt) each(SQLGetData) each(SQLGetDiagRecW) each(SQLGetInfoW)  \
              each(SQLGetTypeInfoW) each(SQLNumResultCols) each(SQLPrepareW) each(SQLSetConnectAttrW)    \
                  each(SQLSetEnvAttr) each(SQLSetPos) each(SQLSetStmtAttrW)

// Members named as the functions are, and called like them.
struct OdbcManager {
#define ZVRT_ODBC_MEMBER(name) decltype(&::name) name = nullptr;
  ZVRT_ODBC_FUNCTIONS(ZVRT_ODBC_MEMBER)
#undef ZVRT_ODBC_MEMBER
};

// Throws a Failure where there is no driver manager.
const OdbcManager& odbc_manager();

}  // namespace zvrt::records

#endif
