// The three directions: a table into a record file, a record file into a table, and both compared.
#ifndef RECORD_EXCHANGE_EXCHANGE_H
#define RECORD_EXCHANGE_EXCHANGE_H

#include <string>

#include "journal.h"
#include "record_codec.h"
#include "table.h"

namespace record_exchange {

struct Job {
  const Layout& layout;
  TableName table;
  std::string records;
  std::string rejects;
  OnReject on_reject = OnReject::skip;
  Existing existing = Existing::refuse;
};

Counts export_table(const Job& job);
Counts import_records(const Job& job);
// Reads both again, so that it proves what stands in the file. A row that export leaves out is expected to be missing.
Counts verify_records(const Job& job);
// Compares two tables cell by cell; rows that the layout refuses are expected to be missing in the second one.
Counts compare_tables(const Job& job, const TableName& second);

// Copies a table into another one, numbers becoming what the layout says they are.
std::uint64_t copy_table(const Layout& layout, const TableName& from, const TableName& into);

}  // namespace record_exchange

#endif
