// What of a connection string may be seen.
//
//   DSN=stock;UID=anna;PWD={a;b}        keywords and values between semicolons; braces around a value, } doubled in it
//
// Shown are DSN, SERVER, SERVERNAME and DATABASE alone: whatever else a driver takes may be a secret, and what is no such
// list may hold one anywhere.
#ifndef ZVRT_RECORDS_TABLES_ODBC_TABLE_SECRETS_H
#define ZVRT_RECORDS_TABLES_ODBC_TABLE_SECRETS_H

#include <string>
#include <string_view>
#include <vector>

#include "records/tables/table.h"

namespace zvrt::records {

// `odbc:` and what may be seen.
std::string shown_connection(std::string_view connection_string);
// The values of keywords that name passwords and keys, the longest first.
std::vector<std::string> secrets_of(std::string_view connection_string);
std::string without_secrets(std::string text, const std::vector<std::string>& secrets);

}  // namespace zvrt::records

#endif
