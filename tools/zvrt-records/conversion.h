// Blocks of records on their way to tables: split by segment, decoded column by column, and written as rows.
//
// A block is converted some hundred records at a time, so that the cells of one batch stay in the processor's cache. Of a
// table that is text (CSV, JSON lines) the batch becomes text at once, and its cells' memory serves the next one; for any
// other table all batches of a block are kept until they are written.
#ifndef ZVRT_TOOLS_ZVRT_RECORDS_CONVERSION_H
#define ZVRT_TOOLS_ZVRT_RECORDS_CONVERSION_H

#include "journal.h"
#include "records/formats/record_reader.h"
#include "routing.h"

namespace zvrt::records {

using Tables = std::vector<std::unique_ptr<TableWriter>>;  // of each segment; none in a dry run

// Rows of a segment's table.
struct Batch {
  std::size_t segment = 0;
  DecodedRecords decoded;
  CellBlock extras;  // the columns that are no fields
  RowBlock rows;
  std::vector<std::size_t> records;  // of each row, whether it is to be written or not: its place in the block
};

struct BlockOfImport {
  RecordBlock records;
  std::uint64_t bytes_read = 0;  // of all files, this block included
  std::uint64_t longer = 0;      // records that are longer than their layout
  Findings findings;
  std::vector<TextBuffer> texts;                // of each segment's table
  std::vector<std::unique_ptr<Batch>> batches;  // memory for batches
  std::size_t used = 0;                         // of batches
};

class Conversion {
 public:
  // Both have to outlive it.
  Conversion(const Job& job, const Tables& tables);
  // Any number of threads may ask at once, of blocks of their own.
  void convert(BlockOfImport& block) const;

 private:
  using Rows = std::vector<std::size_t>;
  void convert_batch(BlockOfImport& block, std::size_t begin, std::size_t end, std::vector<Refusal>& refusals) const;
  void convert_segment(std::size_t segment, const Rows& rows, bool all, BlockOfImport& block,
                       std::vector<Refusal>& refusals) const;
  Batch& next_batch(std::size_t segment, BlockOfImport& block) const;
  void refuse_null_texts(DecodedRecords& decoded, std::size_t count) const;
  void count(const Batch& batch, const Rows& rows, BlockOfImport& block, std::vector<Refusal>& refusals) const;
  void add_extras(Batch& batch, const Rows& rows, const RecordBlock& records) const;

  const Job& job_;
  const Tables& tables_;
  Router router_;
  bool keeps_batches_;
  std::size_t rows_in_batch_;
};

}  // namespace zvrt::records

#endif
