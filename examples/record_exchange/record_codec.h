// A whole record: its fields, their nulls and what fills the places between them.
#ifndef RECORD_EXCHANGE_RECORD_CODEC_H
#define RECORD_EXCHANGE_RECORD_CODEC_H

#include <memory>
#include <string>
#include <vector>

#include "field_codec.h"
#include "layout.h"
#include "table.h"

namespace record_exchange {

// What becomes of a row with a cell that is refused.
enum class OnReject {
  skip,  // it is left out
  keep,  // it is carried on: a text too long with what fitted, any other refused cell as null, or empty
  stop,  // the run ends
};

// How each cell of one row fared: ZVRT_RC_OK, rx_null or the status that refused it.
using Outcomes = std::vector<Status>;

bool is_refused(Status outcome);
bool any_refused(const Outcomes& outcomes);

class RecordCodec {
 public:
  explicit RecordCodec(const Layout& layout);

  const Layout& layout() const { return layout_; }

  // Writes the whole record; refused cells stand as OnReject::keep says.
  void encode(const Row& row, char* record, Outcomes& outcomes);
  // Reads the whole record; refused cells are null.
  void decode(const char* record, Row& row, Outcomes& outcomes);
  // ZVRT_RC_OK, or how the two cells differ.
  Status compare(std::size_t field, const Cell& expected, const Cell& found);

 private:
  struct Item {
    const Field& field;
    std::unique_ptr<FieldCodec> codec;
    std::string empty;  // the field without a value
    std::string null;   // what stands for null; empty where nothing does
  };

  Status encode_cell(Item& item, const Cell& cell, char* record);
  void write_null(const Item& item, char* record) const;
  Status decode_cell(Item& item, const char* record, Cell& cell, std::string& text);
  std::string null_form(Item& item) const;

  const Layout& layout_;
  std::vector<Item> items_;
  std::string empty_record_;
};

}  // namespace record_exchange

#endif
