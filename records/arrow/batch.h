// Columns of some rows in Arrow's form, shared by everyone who looks at them.
//
// A Batch never changes once it is made, and lives as long as its last holder: each array that is exported, and each
// child of it, holds the batch by itself, so that receivers release them in any thread and in any order.
#ifndef ZVRT_RECORDS_ARROW_BATCH_H
#define ZVRT_RECORDS_ARROW_BATCH_H

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "columns/arrow/abi.h"
#include "records/arrow/stream.h"

namespace zvrt::records {

// A column's name and Arrow format; every column may have nulls.
struct BatchColumnType {
  std::string name;
  std::string format;
};
using BatchSchema = std::vector<BatchColumnType>;

// The buffers of one column: validity, then values, or offsets and bytes. They belong to `made` or to the batch's array.
struct BatchColumn {
  std::int64_t null_count = 0;
  int buffer_count = 2;
  std::array<const void*, 3> buffers{};  // buffers[0] null: no nulls
  std::vector<std::vector<char>> made;

  bool is_null(std::int64_t row) const {
    const auto* const bits = static_cast<const std::uint8_t*>(buffers[0]);
    return bits != nullptr && (bits[row / 8] >> (row % 8) & 1) == 0;
  }
  // Takes over a bitmap that may say more nulls than there were.
  void set_validity(std::vector<char> bits, std::int64_t nulls);
};

struct Batch {
  Batch() = default;
  Batch(const Batch&) = delete;
  Batch& operator=(const Batch&) = delete;
  ~Batch() {
    if (array.release != nullptr) array.release(&array);
  }

  std::shared_ptr<const BatchSchema> schema;
  std::int64_t rows = 0;
  std::vector<BatchColumn> columns;
  ArrowArray array{};  // what the library made, whose buffers the columns share
};
using SharedBatch = std::shared_ptr<const Batch>;

// A struct of all columns, or one column. What is written is released by its receiver.
void export_schema(const BatchSchema& columns, ArrowSchema& schema);
void export_schema(const BatchColumnType& column, ArrowSchema& schema);
void export_array(const SharedBatch& batch, ArrowArray& array);
void export_array(const SharedBatch& batch, std::size_t column, ArrowArray& array);

// A stream of what `next` returns until that is null. `next` is called by the stream's receiver, in any of its threads but
// one at a time; what it throws becomes the stream's error.
using NextBatch = std::function<SharedBatch()>;
void make_batch_stream(std::shared_ptr<const BatchSchema> schema, NextBatch next, ArrowArrayStream& stream);

}  // namespace zvrt::records

#endif
