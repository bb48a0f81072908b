// The rows of a table that Python gives, as records: chunks of its arrays are encoded, and told row by row.
//
//   stream -> array -> chunk of rows -> TextCells -> codec -> records, one status a cell
//
// With segments there is a table for each of them, and RECORD_NUMBER says where its rows stand among the others'.
#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "capsules.h"
#include "job.h"
#include "kept_bytes.h"
#include "records/arrow/text_cells.h"

namespace zvrt::python {

// A stream, or a schema and one array.
struct GivenTable {
  Released<ArrowArrayStream> stream;
  Released<ArrowSchema> schema;
  Released<ArrowArray> array;

  // Takes over what `data` has: a capsule, or a pair of them.
  void take(PyObject* data);
};

class GivenRows {
 public:
  GivenRows(const records::Job& job, const records::Segment& segment, GivenTable& table);

  // Goes on to the next row; false after the last one.
  bool next();

  // Of the row.
  std::uint64_t number() const { return number_; }  // RECORD_NUMBER; without segments how many rows there were so far
  std::string_view record() const { return encoded_.records[static_cast<std::size_t>(row_)]; }
  const records::Surroundings* around() const {
    return kept_ ? &kept_->around[static_cast<std::size_t>(row_)] : nullptr;
  }
  // The column whose bytes cannot be taken; else empty.
  std::string_view broken() const { return kept_ ? kept_->broken[static_cast<std::size_t>(row_)] : std::string_view(); }
  std::uint32_t status(std::size_t field) const;
  bool is_null(std::size_t field) const { return cells_.cells()[field].is_null(static_cast<std::size_t>(row_)); }
  std::string_view text(std::size_t field) const { return cells_.cells()[field].at(static_cast<std::size_t>(row_)); }

  const records::Segment& segment() const { return segment_; }

 private:
  bool load();
  bool next_array();
  void read_kept();
  void find_number();

  const records::Segment& segment_;
  GivenTable& table_;
  bool numbered_;
  bool keeps_;
  records::TextCells cells_;
  std::int64_t first_ = 0;  // row of the array that the chunk begins with
  std::int64_t count_ = 0;  // of the chunk
  std::int64_t row_ = -1;   // in the chunk
  std::uint64_t rows_ = 0;  // so far
  std::uint64_t number_ = 0;
  records::EncodedRecords encoded_;
  std::optional<records::KeptBytes> kept_;
};

}  // namespace zvrt::python
