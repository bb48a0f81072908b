// The kinds of tables, each in a file of its own.
#ifndef ZVRT_RECORDS_TABLES_FORMATS_H
#define ZVRT_RECORDS_TABLES_FORMATS_H

#include "records/tables/table.h"

namespace zvrt::records {

std::unique_ptr<TableReader> open_csv(const std::string& file, const std::vector<TableColumn>& columns,
                                      const TableOptions& options);
std::unique_ptr<TableWriter> make_csv(const std::string& file, const std::vector<TableColumn>& columns,
                                      const TableOptions& options, Existing existing);
std::unique_ptr<TableReader> open_json_lines(const std::string& file, const std::vector<TableColumn>& columns);
std::unique_ptr<TableWriter> make_json_lines(const std::string& file, const std::vector<TableColumn>& columns,
                                             Existing existing);
std::unique_ptr<TableReader> open_sqlite(const TableName& name, const std::vector<TableColumn>& columns,
                                         const TableOptions& options);
std::unique_ptr<TableWriter> make_sqlite(const TableName& name, const std::vector<TableColumn>& columns,
                                         Existing existing, const TableWriter* beside);
std::unique_ptr<TableReader> open_odbc(const TableName& name, const std::vector<TableColumn>& columns,
                                       const TableOptions& options);
std::unique_ptr<TableWriter> make_odbc(const TableName& name, const std::vector<TableColumn>& columns,
                                       const TableOptions& options, Existing existing, const TableWriter* beside);

}  // namespace zvrt::records

#endif
