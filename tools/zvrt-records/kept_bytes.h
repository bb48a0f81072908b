// What --keep-bytes put beside a row: the record as it was, and what stood around it in its file.
#ifndef ZVRT_TOOLS_ZVRT_RECORDS_KEPT_BYTES_H
#define ZVRT_TOOLS_ZVRT_RECORDS_KEPT_BYTES_H

#include <cstdint>
#include <string>
#include <string_view>

#include "records/codec/record_codec.h"
#include "records/formats/record_reader.h"

namespace zvrt::records {

// All of `text`, a number. False where it is none.
bool from_digits(std::string_view text, std::uint64_t& number);

// Takes a cell of the column `name` into the record or its surroundings. False where it cannot be read; RECORD_BYTES
// cannot be null.
bool take_kept(std::string_view name, const CellColumn& cells, std::size_t row, std::string& record,
               Surroundings& around);

}  // namespace zvrt::records

#endif
