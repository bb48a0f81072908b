// One column of a record: its bytes and its text, a block of records at a time.
//
// A field is a pair of plans between its form in the record and UTF-8 text; edited numbers and binary items of unusual
// lengths, which plans do not know, are a value at a time. Null forms stand above both: a field that holds its null form
// is null, a null writes it, and a value that would write it is refused.
#ifndef ZVRT_RECORDS_CODEC_FIELD_H
#define ZVRT_RECORDS_CODEC_FIELD_H

#include <memory>
#include <vector>

#include "ZVRTColumns.h"
#include "records/codec/codec_options.h"
#include "records/codec/status.h"
#include "records/layout/columns.h"
#include "records/tables/table.h"

namespace zvrt::records {

// A column of text that is being made, and how each of its values fared.
struct DecodedCells {
  std::vector<char> slots;
  std::vector<std::int32_t> lengths;
  std::vector<Status> status;
  std::size_t slot = 0;

  void resize(std::size_t count, std::size_t slot_bytes);
  CellColumn cells() const { return {slots.data(), static_cast<std::int64_t>(slot), nullptr, lengths.data()}; }
};

// Where a field's values stand: in records at equal distances.
struct FieldBytes {
  char* records = nullptr;
  std::int64_t stride = 0;
  std::size_t count = 0;
  char* at(std::size_t i) const { return records + static_cast<std::int64_t>(i) * stride; }
};

// What plans do not convert.
class SingleValue {
 public:
  SingleValue() = default;
  SingleValue(const SingleValue&) = delete;
  SingleValue& operator=(const SingleValue&) = delete;
  virtual ~SingleValue() = default;
  virtual Status read(const char* bytes, std::string& text) const = 0;
  virtual Status write(std::string_view text, char* bytes) const = 0;
};

struct DestroyPlan {
  void operator()(ZVRTPlan* plan) const { ZVRTPlanDestroy(plan); }
};
using Plan = std::unique_ptr<ZVRTPlan, DestroyPlan>;
// Throws a Failure that names the field.
Plan make_plan(const ZVRTType& from, const ZVRTType& to, const std::string& field);
// Places at equal distances, as plans take them.
ZVRTArray array_of(const char* data, std::int64_t stride);
// One value: `length` is the source's, or null where it fills its slot; `written` receives the target's, or is null.
Status convert_one(const ZVRTPlan& plan, const char* from, const std::int32_t* length, char* to, std::int32_t* written);

class Field {
 public:
  Field(const Column& column, const CodecOptions& options);

  const Column& column() const { return column_; }
  const TableColumn& table_column() const { return table_column_; }
  std::size_t length() const { return column_.item->length; }
  // Bytes that a cell takes while it is being made.
  std::size_t slot() const { return static_cast<std::size_t>(text_.length); }
  bool has_null_form() const { return !null_form_.empty(); }
  bool refuses_low_values() const { return refuses_low_; }
  // What it is in the record, for plans of others; null where no plan converts it.
  const ZVRTType* record_type() const { return single_ ? nullptr : &reads_; }
  // The date model of its text in a table; null where it is no date.
  const wchar_t* table_model() const { return text_.model; }

  // `present`: one byte a record, 0 where the record does not have the field; or null.
  void decode(const FieldBytes& bytes, const std::uint8_t* present, DecodedCells& cells) const;
  // Writes the cells for which `chosen` is not 0; those refused leave the empty form.
  void encode(const CellColumn& cells, const std::uint8_t* chosen, const FieldBytes& bytes,
              std::vector<Status>& status) const;
  std::string explain_decode(std::string_view bytes, Status status) const;
  std::string explain_encode(std::string_view text, Status status) const;
  // The bytes of blanks, or zero.
  const std::string& empty() const { return empty_; }

 private:
  void make_types(const CodecOptions& options);
  void make_text(const CodecOptions& options);
  void make_number(const CodecOptions& options);
  void fit_slot();
  void make_date(const CodecOptions& options);
  void make_null(const CodecOptions& options);
  void make_gathering();
  void decode_plan(const FieldBytes& bytes, const std::uint8_t* chosen, DecodedCells& cells) const;
  void encode_plan(const CellColumn& cells, const std::uint8_t* chosen, const FieldBytes& bytes,
                   std::vector<Status>& status) const;
  void encode_gathered(const CellColumn& cells, const std::uint8_t* chosen, const FieldBytes& bytes,
                       Status* status) const;
  void run(const ZVRTPlan& plan, const CellColumn& cells, const std::uint8_t* chosen, const FieldBytes& bytes,
           Status* status) const;
  std::string encoded(std::string_view text) const;
  std::string repeated(char first, char second) const;
  bool holds_low_value(const char* bytes) const;

  Column column_;
  TableColumn table_column_;
  ZVRTType reads_{};   // in the record
  ZVRTType writes_{};  // in the record
  ZVRTType text_{};    // in the table
  std::wstring model_;
  std::wstring table_model_;
  Plan decode_;
  Plan encode_;    // from text of any length
  Plan gathered_;  // from text in slots; null: cells are not gathered
  std::size_t gathered_slot_ = 0;
  std::unique_ptr<SingleValue> single_;
  std::string null_form_;
  std::string blanks_;
  std::string empty_;
  bool refuses_low_ = false;
};

std::unique_ptr<SingleValue> make_edited(const Column& column, const CodecOptions& options);
std::unique_ptr<SingleValue> make_graphic(const Column& column, const CodecOptions& options);
std::unique_ptr<SingleValue> make_national_number(const Column& column);
std::unique_ptr<SingleValue> make_odd_binary(const Column& column, bool big_endian, bool whole_range);

}  // namespace zvrt::records

#endif
