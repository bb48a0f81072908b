// The CREATE TABLE of a record's columns for PostgreSQL, whose types say more than those of SQLite.
#ifndef ZVRT_RECORDS_LAYOUT_DDL_H
#define ZVRT_RECORDS_LAYOUT_DDL_H

#include <string>

#include "records/layout/columns.h"

namespace zvrt::records {

// As `varchar(20)` or `numeric(9,2)`: wide enough for whatever the field's bytes can hold.
std::string postgresql_type(const Column& column);

std::string create_table_for_postgresql(const Columns& columns, const std::string& table);

}  // namespace zvrt::records

#endif
