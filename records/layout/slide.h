// Where the fields of one record stand whose tables are shorter than they can be.
//
// Places of the columns are told for tables of their greatest size. The entries that a record does not have are cuts in
// that picture; a field after them stands as many bytes earlier as were cut before it:
//
//   offset   0   1   3   5   7          count 1 of 3
//   layout   n | e1| e2| e3| trailer    cut [3, 7)
//   record   n | e1| trailer            trailer at 7 - 4 = 3
#ifndef ZVRT_RECORDS_LAYOUT_SLIDE_H
#define ZVRT_RECORDS_LAYOUT_SLIDE_H

#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

#include "records/layout/columns.h"

namespace zvrt::records {

class Slide {
 public:
  // Reads the count of a table at an offset of the record; nothing if it is none.
  using ReadCount = std::function<std::optional<std::size_t>(const VariableTable& table, std::size_t offset)>;

  // Whether items move (`shift`), or only are there or not. `columns` has to outlive it.
  Slide(const Columns& columns, bool shift) : columns_(columns), shift_(shift) {}

  // Takes a record's counts, outer and earlier tables first. Returns the table whose count is none or out of range, and
  // takes that table as one of its greatest size.
  const VariableTable* take(const ReadCount& read);

  // Of a column or an indicator; nothing where the record does not have it.
  std::optional<std::size_t> offset_of(const Column& column) const;
  // The record's length, if it is `record`.
  std::size_t length_of(const Record& record) const;

 private:
  struct Cut {
    std::size_t begin = 0;
    std::size_t end = 0;
    const Item* scope = nullptr;
  };

  bool has(const std::vector<EntryOfTable>& entries) const;
  std::size_t moved(std::size_t offset, const Item& item) const;

  const Columns& columns_;
  const bool shift_;
  std::vector<std::size_t> counts_;
  std::vector<Cut> cuts_;
};

}  // namespace zvrt::records

#endif
