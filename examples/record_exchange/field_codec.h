// One field of a record, both ways, through the library.
#ifndef RECORD_EXCHANGE_FIELD_CODEC_H
#define RECORD_EXCHANGE_FIELD_CODEC_H

#include <memory>
#include <string>

#include "layout.h"
#include "library.h"
#include "table.h"

namespace record_exchange {

class FieldCodec {
 public:
  explicit FieldCodec(const Field& field) : field_(field) {}
  FieldCodec(const FieldCodec&) = delete;
  FieldCodec& operator=(const FieldCodec&) = delete;
  virtual ~FieldCodec() = default;

  // Writes a cell that is not null into the field, which holds its empty form. After ZVRT_RC_TRUNCATED the field holds
  // what fitted where `keeps_part` says so; after any other refusal its content means nothing.
  virtual Status encode(const Cell& cell, char* bytes) = 0;
  // Reads the field; a text goes into `text` and the cell points to it.
  virtual Status decode(const char* bytes, Cell& cell, std::string& text) = 0;
  // The field without a value: blanks or the number zero.
  virtual Status write_empty(char* bytes) = 0;
  // The field full of the digit zero, as a null policy may ask for.
  virtual Status write_zeros(char* bytes) = 0;
  virtual bool keeps_part() const { return false; }
  // Whether two cells are one value in this field: an integer and its text are.
  virtual Status compare(const Cell& expected, const Cell& found) = 0;

 protected:
  const Field& field() const { return field_; }
  std::int32_t length() const { return static_cast<std::int32_t>(field_.length); }

 private:
  const Field& field_;
};

std::unique_ptr<FieldCodec> make_text_codec(const Field& field, CodePage page);
std::unique_ptr<FieldCodec> make_date_codec(const Field& field, CodePage page);
std::unique_ptr<FieldCodec> make_number_codec(const Field& field, CodePage page);

std::unique_ptr<FieldCodec> make_codec(const Field& field, CodePage page);

}  // namespace record_exchange

#endif
