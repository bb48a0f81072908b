// Blocks of records as columns of Arrow's types.
//
// Two views of a block are laid over one another. A record plan of the library converts every field at full speed and
// with its type. The codec says what a plan does not know: null forms, indicators, meanings that do not hold, entries that
// a table does not have. It is asked only for the fields that have such a thing, or for all where records have to be
// brought into one form first:
//
//   records ----------------------> record plan --> values, and nulls where a value was refused
//      '--> codec, special fields -> present, null, refused ----------'  more nulls
//
// Edited numbers and binary items of unusual lengths, which no plan reads, are made of the codec's text. Cells that are
// refused are named one by one; their rows are left out, or keep a null there.
#ifndef ZVRT_RECORDS_ARROW_TYPED_RECORDS_H
#define ZVRT_RECORDS_ARROW_TYPED_RECORDS_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "records/arrow/batch.h"
#include "records/arrow/record_stream.h"
#include "records/codec/record_codec.h"
#include "records/formats/record_reader.h"

namespace zvrt::records {

// A cell that was refused, or bytes that are no record.
struct RefusedCell {
  std::uint64_t record = 0;  // from 1
  std::string field;         // empty for bytes that are no record
  std::uint64_t offset = 0;  // in the record; of bytes that are no record in the file
  std::string bytes;
  Status status = ZVRT_RC_OK;
  std::string text;  // one sentence
};

// Some rows of a block, and the numbers of their records.
struct RowsOfBlock {
  const char* data = nullptr;
  std::vector<std::int64_t> starts;
  std::vector<std::int32_t> lengths;
  std::vector<std::uint64_t> numbers;
  std::vector<const Surroundings*> around;  // where they are kept

  std::size_t count() const { return starts.size(); }
  void keep(const std::vector<std::uint8_t>& chosen);
};

class TypedRecords {
 public:
  // `codec` has to outlive it. With `record_numbers` the first column is RECORD_NUMBER. The last columns are those of
  // `kept`, of what the fields do not tell: RECORD_BYTES, BYTES_BEFORE, BYTES_AFTER, BLOCK_NUMBER.
  TypedRecords(const RecordCodec& codec, const CodecOptions& options, bool record_numbers,
               std::vector<std::string> kept = {});

  const std::shared_ptr<const BatchSchema>& schema() const { return schema_; }

  // Adds what is refused to `refused`. With `leave_out` the rows of refused cells are not in the batch. Any number of
  // threads may call it at once.
  SharedBatch convert(RowsOfBlock rows, bool leave_out, std::vector<RefusedCell>& refused) const;

 private:
  struct FieldPlan {
    bool planned = false;            // in the record plan
    std::size_t child = no_index;    // of its array
    std::size_t careful = no_index;  // its place in the careful codec
    Plan from_text;                  // where it is not planned
    std::int32_t width = 0;          // bytes of a value that is made of text
  };
  struct View;  // of one conversion

  void add_field(std::size_t index, std::vector<ZVRTField>& fields, std::vector<std::string>& careful);
  void read_formats();
  void view(const RowsOfBlock& rows, View& view) const;
  void overlay(std::size_t field, const View& view, BatchColumn& column) const;
  void make_of_text(std::size_t field, View& view, BatchColumn& column) const;
  void find_refused(const RowsOfBlock& rows, const View& view, std::vector<std::uint8_t>& good,
                    std::vector<RefusedCell>& refused) const;
  RefusedCell refusal(std::size_t field, std::uint64_t record, const char* at, Status status) const;

  const RecordCodec& codec_;
  std::unique_ptr<RecordCodec> careful_;  // the special fields; null: there are none
  std::vector<FieldPlan> fields_;         // as the codec's
  RecordPlanHolder plan_;
  std::size_t planned_ = 0;
  bool record_numbers_;
  std::vector<std::string> kept_;
  std::shared_ptr<const BatchSchema> schema_;
};

}  // namespace zvrt::records

#endif
