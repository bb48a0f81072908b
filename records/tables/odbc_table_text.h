// Text as the driver manager takes and gives it: UTF-16; and the plans between it and UTF-8.
#ifndef ZVRT_RECORDS_TABLES_ODBC_TABLE_TEXT_H
#define ZVRT_RECORDS_TABLES_ODBC_TABLE_TEXT_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ZVRTColumns.h"
#include "records/tables/odbc_table_manager.h"

namespace zvrt::records {

struct DestroyOdbcPlan {
  void operator()(ZVRTPlan* plan) const { ZVRTPlanDestroy(plan); }
};
using OdbcPlan = std::unique_ptr<ZVRTPlan, DestroyOdbcPlan>;

ZVRTType odbc_type(std::uint32_t kind, std::size_t length = 0, std::uint32_t flags = 0);
// `what` is named where there is no such plan.
OdbcPlan odbc_plan(const ZVRTType& from, const ZVRTType& to, const std::string& what, std::uint32_t options = 0);

// With a zero unit after it.
std::vector<SQLWCHAR> odbc_text(std::string_view text);
// Names and messages, in which half a surrogate pair becomes U+FFFD.
std::string from_odbc_text(const SQLWCHAR* units, std::size_t count);
// A value; throws a Failure where it is no text.
std::string exact_from_odbc_text(const SQLWCHAR* units, std::size_t count);

}  // namespace zvrt::records

#endif
