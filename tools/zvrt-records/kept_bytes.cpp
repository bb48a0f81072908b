#include "kept_bytes.h"

#include <charconv>

#include "records/tables/hexadecimal.h"

namespace zvrt::records {

bool from_digits(std::string_view text, std::uint64_t& number) {
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  return read.ec == std::errc{} && read.ptr == text.data() + text.size();
}

bool take_kept(std::string_view name, const CellColumn& cells, std::size_t row, std::string& record,
               Surroundings& around) {
  if (cells.is_null(row)) return name != "RECORD_BYTES";
  if (name == "RECORD_BYTES") return from_hexadecimal(cells.at(row), record);
  if (name == "BYTES_BEFORE") return from_hexadecimal(cells.at(row), around.before);
  if (name == "BYTES_AFTER") return from_hexadecimal(cells.at(row), around.after);
  return name != "BLOCK_NUMBER" || from_digits(cells.at(row), around.block);
}

}  // namespace zvrt::records
