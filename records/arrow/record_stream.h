// Record files as a stream of Arrow arrays: one array for each block of records that a reader delivers.
//
//   files -> RecordReader -> block -> ZVRTRecordsToArrow() -> array
//
// The stream owns the reader and the plan. It belongs to one thread at a time, as the interface has it; its arrays and
// schemas are their receivers' alone.
#ifndef ZVRT_RECORDS_ARROW_RECORD_STREAM_H
#define ZVRT_RECORDS_ARROW_RECORD_STREAM_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ZVRTColumns.h"
#include "records/arrow/stream.h"
#include "records/formats/record_reader.h"

namespace zvrt::records {

struct RecordPlanCloser {
  void operator()(ZVRTRecordPlan* plan) const { ZVRTRecordPlanDestroy(plan); }
};
using RecordPlanHolder = std::unique_ptr<ZVRTRecordPlan, RecordPlanCloser>;

// What became of a block: the outcome of every field, its rows counted from the block's first record.
using ReportBlock = std::function<void(const RecordBlock& block, const std::vector<ZVRTOutcome>& outcomes)>;

// A stream over the records of files, all of at least the plan's length; a shorter record, or bytes that belong to none,
// end the stream with an error, for an array cannot say where rows are missing. `report` may be empty.
void make_record_stream(std::vector<std::string> files, FormatOptions options, RecordPlanHolder plan,
                        std::size_t fields, std::size_t record_bytes, ReportBlock report, ArrowArrayStream& stream);

}  // namespace zvrt::records

#endif
