// In place of the tables over ODBC where the headers of a driver manager were missing when this was built.
#include "records/files/failure.h"
#include "records/tables/formats.h"

namespace zvrt::records {
namespace {

constexpr const char* absent = "this zvrt-records was built without ODBC";

}  // namespace

std::unique_ptr<TableReader> open_odbc(const TableName& /*name*/, const std::vector<TableColumn>& /*columns*/,
                                       const TableOptions& /*options*/) {
  throw Failure(absent);
}

std::unique_ptr<TableWriter> make_odbc(const TableName& /*name*/, const std::vector<TableColumn>& /*columns*/,
                                       const TableOptions& /*options*/, Existing /*existing*/,
                                       const TableWriter* /*beside*/) {
  throw Failure(absent);
}

}  // namespace zvrt::records
