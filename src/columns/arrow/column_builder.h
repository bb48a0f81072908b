// One column of an array, built block by block from the records' fields.
#pragma once

#include <cstddef>
#include <cstdint>

#include "columns/arrow/direct_rows.h"
#include "columns/arrow/owned_array.h"
#include "columns/arrow/record_plan.h"

namespace zvrt::arrow {

class ColumnBuilder {
 public:
  explicit ColumnBuilder(const Field& field) : field_(field) {}

  Status build(const Records& records, std::int64_t rows, ArrowArray& array);
  const ZVRTOutcome& outcome() const { return outcome_; }

 private:
  static constexpr std::int64_t max_block = 256;
  struct Block;

  bool is_text() const { return field_.column.form == Form::text || field_.column.form == Form::large_text; }
  std::int64_t block_rows() const;
  bool reserve(std::int64_t rows);
  Status build_directly(const Records& records, std::int64_t first, std::int64_t rows, std::int64_t& done);
  Status build_block(const Records& records, Block& block);
  Status convert(const Records& records, Block& block);
  Status append(Block& block);
  Status append_texts(const Block& block);
  bool mark_rows(std::int64_t first, std::int64_t count, std::int64_t invalid);
  bool mark_block(const Block& block);
  bool mark_direct(std::int64_t first, const DirectRows& direct, std::int32_t count);
  bool finish(std::int64_t rows, ArrowArray& array);
  void set_offset(std::int64_t row, std::int64_t offset);

  const Field& field_;
  std::int64_t rows_ = 0;
  ZVRTOutcome outcome_ = no_outcome();
  Buffer validity_;  // there is none up to the first row that is not valid
  Buffer values_;    // of texts the offsets
  Buffer texts_;
  std::int64_t text_bytes_ = 0;
};

}  // namespace zvrt::arrow
