// What --keep-bytes put beside a row: the record as it was, and what stood around it in its file.
#ifndef ZVRT_TOOLS_ZVRT_RECORDS_KEPT_BYTES_H
#define ZVRT_TOOLS_ZVRT_RECORDS_KEPT_BYTES_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "records/codec/record_codec.h"
#include "records/formats/record_reader.h"

namespace zvrt::records {

struct KeptBytes {
  std::vector<std::string> records;
  std::vector<Surroundings> around;
  std::vector<std::string_view> broken;  // the column a row's bytes cannot be taken from; else empty

  explicit KeptBytes(std::size_t rows) : records(rows), around(rows), broken(rows) {}

  // Takes the column `name`. `is_there` tells of a row whether its cell is as it was given.
  template <class IsThere>
  void take(std::string_view name, const CellColumn& cells, IsThere is_there) {
    for (std::size_t row = 0; row < records.size(); ++row)
      if (!(is_there(row) && take_cell(name, cells, row)) && broken[row].empty()) broken[row] = name;
  }

 private:
  bool take_cell(std::string_view name, const CellColumn& cells, std::size_t row);
};

// The number in the column RECORD_NUMBER of a segment's `table`, whose numbers rise: `before` is the last one. `shown` is
// the row's own number, for the message of the Failure where it is none.
std::uint64_t record_number(std::string_view table, const CellColumn& numbers, std::size_t row, std::uint64_t shown,
                            std::uint64_t before);

}  // namespace zvrt::records

#endif
