// Records to cells and back, a block at a time.
//
// Every record is brought into one form, in which all fields stand where they stand with tables of their greatest size:
// records of one length are in it already, shorter ones and those whose fields move are copied into it field by field.
// So each column is one run of a plan over records at equal distances.
//
//   record    n=1 | e1 | trailer                     variable tables, fields shifted
//   block     n=1 | e1 | .. | .. | trailer           one form; the column of e2 has no value here
#ifndef ZVRT_RECORDS_CODEC_RECORD_CODEC_H
#define ZVRT_RECORDS_CODEC_RECORD_CODEC_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "records/codec/field.h"
#include "records/layout/slide.h"

namespace zvrt::records {

struct RecordOptions {
  bool shift = false;             // items after a variable table follow its last used entry
  bool pads_blanks = false;       // lines: what is missing at a record's end is blanks, which are not written
  bool may_be_short = false;      // nulls at a record's end may be left out
  bool lengths_vary = false;      // V, VB, D: a record is as long as the one of several that it is
  std::size_t record_length = 0;  // of fixed records that are longer than the layout; 0: the layout's
  std::string length_field = {};  // the field or column that says how long its record is
  int length_adjust = 0;          // added to what it says
};

struct RecordSource {
  const char* data = nullptr;
  std::int64_t stride = 0;  // 0: the starts tell
  const std::int64_t* starts = nullptr;
  const std::int32_t* lengths = nullptr;
  std::size_t count = 0;
  std::string_view record(std::size_t i) const { return {data + starts[i], static_cast<std::size_t>(lengths[i])}; }
};

struct DecodedRecords {
  std::vector<DecodedCells> fields;
  std::vector<std::vector<std::uint8_t>> unreadable;  // of a meaning that does not hold: null, and counted
  std::vector<std::uint8_t> refused;                  // a row with a cell that was refused
  std::vector<char> form;                             // the records in one form, if they had to be copied
  const char* records = nullptr;
  std::int64_t stride = 0;
};

// Records one after the other.
class RecordList {
 public:
  void clear() {
    bytes_.clear();
    ends_.clear();
  }
  void add(std::string_view record) {
    bytes_.append(record);
    ends_.push_back(bytes_.size());
  }
  // Where the first of them stands.
  char* data() { return bytes_.data(); }
  std::size_t size() const { return ends_.size(); }
  std::string_view operator[](std::size_t row) const {
    const std::size_t begin = row == 0 ? 0 : ends_[row - 1];
    return {bytes_.data() + begin, ends_[row] - begin};
  }

 private:
  std::string bytes_;
  std::vector<std::size_t> ends_;
};

struct EncodedRecords {
  RecordList records;
  std::vector<std::vector<Status>> status;  // of each field
  std::vector<std::uint8_t> refused;
};

class RecordCodec {
 public:
  // `columns` names those to take; empty: all.
  RecordCodec(Columns columns, const CodecOptions& codec, RecordOptions options, const std::vector<std::string>& names);

  const std::vector<std::unique_ptr<Field>>& fields() const { return fields_; }
  const Columns& columns() const { return columns_; }
  const RecordOptions& options() const { return options_; }
  std::size_t length() const { return options_.record_length != 0 ? options_.record_length : columns_.length; }
  // The field of an item's or a column's name, or no_index.
  std::size_t find(const std::string& name) const;

  void decode(const RecordSource& source, DecodedRecords& decoded) const;
  // `bases`: records to start from, which keep every byte of fields whose cells say what they say; may be null.
  void encode(const std::vector<CellColumn>& cells, std::size_t count, const std::vector<std::string>* bases,
              EncodedRecords& encoded) const;
  // The length of the record that begins here by the counts of its tables; see LengthOfRecord.
  std::optional<std::size_t> own_length(const char* bytes, std::size_t available, std::string& why) const;

 private:
  using Masks = std::vector<std::vector<std::uint8_t>>;
  std::optional<std::size_t> count_of(std::size_t table, const char* bytes) const;
  bool in_one_form(const RecordSource& source) const;
  void copy_into_form(const RecordSource& source, DecodedRecords& decoded, Masks& present) const;
  void copy_record(const Slide& slide, std::string_view record, std::size_t row, DecodedRecords& decoded,
                   Masks& present) const;
  void apply_indicators(const DecodedRecords& decoded, std::size_t count, Masks& present,
                        std::vector<DecodedCells>& fields) const;
  void settle_meanings(std::size_t count, DecodedRecords& decoded) const;
  void choose_meanings(const std::vector<CellColumn>& cells, std::size_t count, const Masks& changed, Masks& chosen,
                       EncodedRecords& encoded) const;
  void find_changes(const std::vector<CellColumn>& cells, const DecodedRecords& old, std::size_t count,
                    Masks& changed) const;
  void write_indicators(const std::vector<CellColumn>& cells, std::size_t count, const Masks& chosen, char* form) const;
  bool stands_in_form() const;
  void encode_in_form(const std::vector<CellColumn>& cells, std::size_t count, EncodedRecords& encoded) const;
  void encode_apart(const std::vector<CellColumn>& cells, std::size_t count, const std::vector<std::string>* bases,
                    EncodedRecords& encoded) const;
  void encode_fields(const std::vector<CellColumn>& cells, std::size_t count, const Masks& chosen, char* form,
                     EncodedRecords& encoded) const;
  void compose(const std::vector<CellColumn>& cells, std::size_t row, const char* form, const std::string* base,
               const Masks& chosen, std::string& record, EncodedRecords& encoded) const;
  std::size_t cut_nulls(const std::vector<CellColumn>& cells, std::size_t row, std::size_t length,
                        EncodedRecords& encoded) const;
  // Bytes to start from: whether there are some, and whether the fields stand in the record where they stood in them.
  struct Base {
    bool kept = false;
    bool given = false;
  };
  void place_fields(const std::vector<CellColumn>& cells, std::size_t row, const char* form, const Slide& slide,
                    Base base, const Masks& chosen, std::string& record, EncodedRecords& encoded) const;
  bool may_grow(const std::vector<CellColumn>& cells, std::size_t row, const Slide& slide, std::size_t from,
                std::size_t to) const;
  void fit_length(const std::vector<CellColumn>& cells, std::size_t row, const Slide& slide, std::string& record,
                  EncodedRecords& encoded) const;
  void drop_blanks(const Slide& slide, const std::string* base, std::string& record) const;
  const Record& record_of(std::size_t row, const Masks& chosen) const;

  Columns columns_;
  RecordOptions options_;
  char blank_;
  std::size_t length_field_ = no_index;
  std::vector<std::unique_ptr<Field>> fields_;
  std::vector<std::unique_ptr<Field>> counts_;  // of columns_.tables
  std::string empty_;                           // a record of blanks and zeros
};

}  // namespace zvrt::records

#endif
