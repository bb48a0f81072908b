// How a row stands in a CSV file: cells of text in quotes only where they need them, so that an empty cell without
// quotes can be a null and "" an empty text.
#ifndef ZVRT_RECORDS_TABLES_CSV_FORMAT_H
#define ZVRT_RECORDS_TABLES_CSV_FORMAT_H

#include "records/tables/table.h"

namespace zvrt::records {

class CsvFormat {
 public:
  CsvFormat(const std::vector<TableColumn>& columns, const TableOptions& options);

  void header(TextBuffer& text) const;
  void rows(const RowBlock& block, TextBuffer& text) const;
  void set_newline(std::string newline) { newline_ = std::move(newline); }

 private:
  // Both write at `at`, where there is room for the longest form, and return the end.
  char* put(char* at, std::string_view cell) const;
  char* put_row(char* at, const RowBlock& block, std::size_t row) const;

  std::vector<std::string> names_;
  char delimiter_;
  std::string null_;
  bool empty_is_null_;
  std::string newline_ = "\r\n";
};

}  // namespace zvrt::records

#endif
