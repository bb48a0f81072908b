// Columns of any Arrow array as cells of UTF-8 text, which is what the codec writes.
//
// The library converts Arrow columns of every type into records, so the cells are staged in records of its own: for each
// column an indicator and a counted text.
//
//   | indicator | length, text | indicator | length, text | ...        a row
#ifndef ZVRT_RECORDS_ARROW_TEXT_CELLS_H
#define ZVRT_RECORDS_ARROW_TEXT_CELLS_H

#include <cstdint>
#include <string>
#include <vector>

#include "records/arrow/record_stream.h"
#include "records/codec/record_codec.h"

namespace zvrt::records {

// A column that is no field: bytes become hexadecimal digits, as in every other table.
struct OtherColumn {
  std::string name;
  std::int32_t most_bytes = 0;  // of its text
  bool may_lack = false;        // and is null then
};

class TextCells {
 public:
  // Throws a Failure if the schema is no struct, has a column that neither the records nor `others` have, or lacks one that
  // they have; columns of a redefinition and of a table of variable length may lack, and are null. RECORD_NUMBER is passed
  // over where it is none of the others.
  TextCells(const RecordCodec& codec, const ArrowSchema& schema, std::vector<OtherColumn> others = {});

  // How many rows are best taken at a time.
  std::int64_t rows_at_a_time() const { return rows_; }
  // Takes rows of an array of the schema.
  void load(const ArrowSchema& schema, const ArrowArray& array, std::int64_t first, std::int64_t count);
  // Of each field of the codec, then of the others; valid until the next load.
  const std::vector<CellColumn>& cells() const { return cells_; }
  // What became of a cell: one that is no text of the field's length, or no text at all, is null here and refused.
  Status status(std::size_t field, std::int64_t row) const { return status_[field][static_cast<std::size_t>(row)]; }

 private:
  struct Staged {
    std::size_t field = 0;  // or one of the others, counted on
    std::int32_t indicator = 0;
    std::int32_t slot = 0;
    std::int32_t slot_bytes = 0;
    bool terminated = false;
    std::vector<std::int64_t> starts;
    std::vector<std::int32_t> lengths;
  };
  std::size_t columns() const { return codec_.fields().size() + others_.size(); }
  const std::string& name_of_column(std::size_t column) const;
  bool may_lack(std::size_t column) const;
  std::int32_t text_bytes(std::size_t column) const;
  void match(const ArrowSchema& schema);
  void make_plan();
  Status convert(const ArrowSchema& schema, const ArrowArray& array, std::int64_t first, std::int64_t count, char* to,
                 std::vector<ZVRTOutcome>& outcomes) const;
  void find_refused(const ArrowSchema& schema, const ArrowArray& array, std::int64_t first, std::int64_t count);
  void read_cells(std::int64_t count);

  const RecordCodec& codec_;
  std::vector<OtherColumn> others_;
  std::vector<std::size_t> children_;  // of the schema, that are taken
  std::vector<Staged> staged_;
  std::int32_t record_bytes_ = 1;
  std::int64_t rows_ = 1;
  RecordPlanHolder plan_;
  std::vector<char> records_;
  std::vector<CellColumn> cells_;
  std::vector<std::vector<Status>> status_;
  std::vector<std::int32_t> no_lengths_;
  std::vector<std::int64_t> no_starts_;
};

}  // namespace zvrt::records

#endif
