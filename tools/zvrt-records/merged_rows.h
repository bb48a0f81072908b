// The rows of all segments' tables in the order of their record numbers; of one table in its own order.
#ifndef ZVRT_TOOLS_ZVRT_RECORDS_MERGED_ROWS_H
#define ZVRT_TOOLS_ZVRT_RECORDS_MERGED_ROWS_H

#include <optional>

#include "job.h"
#include "kept_bytes.h"

namespace zvrt::records {

class MergedRows {
 public:
  struct Source {
    const Segment* segment = nullptr;
    std::unique_ptr<TableReader> reader;
    CellBlock block;
    std::vector<CellColumn> fields;  // of the block
    EncodedRecords encoded;          // of the block, if records are made of it
    std::optional<KeptBytes> kept;   // of the block, if its table keeps them
    std::size_t at = 0;
    std::uint64_t number = 0;  // of the row that is next
    bool ended = false;

    // Of the row that is next.
    std::string_view broken() const { return kept ? kept->broken[at] : std::string_view(); }
    const Surroundings* around() const { return kept ? &kept->around[at] : nullptr; }
  };

  // `ahead`: tables are read in threads of their own.
  MergedRows(const Job& job, bool encodes, bool ahead = false);
  // The source whose row is next, at its `at`; null after the last one. The row stays until the next call.
  Source* next();
  const std::vector<Source>& sources() const { return sources_; }
  TableReader::Progress progress() { return sources_.front().reader->progress(); }

 private:
  void load(Source& source);
  void find_number(Source& source) const;
  void encode(Source& source) const;

  const Job& job_;
  bool encodes_;
  bool keeps_;
  std::vector<Source> sources_;
  Source* last_ = nullptr;
};

}  // namespace zvrt::records

#endif
