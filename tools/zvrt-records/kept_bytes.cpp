#include "kept_bytes.h"

#include <fmt/format.h>

#include <charconv>

#include "records/files/failure.h"
#include "records/tables/hexadecimal.h"

namespace zvrt::records {
namespace {

// All of `text`, a number. False where it is none.
bool from_digits(std::string_view text, std::uint64_t& number) {
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  return read.ec == std::errc{} && read.ptr == text.data() + text.size();
}

}  // namespace

// RECORD_BYTES cannot be null.
bool KeptBytes::take_cell(std::string_view name, const CellColumn& cells, std::size_t row) {
  if (cells.is_null(row)) return name != "RECORD_BYTES";
  if (name == "RECORD_BYTES") return from_hexadecimal(cells.at(row), records[row]);
  if (name == "BYTES_BEFORE") return from_hexadecimal(cells.at(row), around[row].before);
  if (name == "BYTES_AFTER") return from_hexadecimal(cells.at(row), around[row].after);
  return name != "BLOCK_NUMBER" || from_digits(cells.at(row), around[row].block);
}

std::uint64_t record_number(std::string_view table, const CellColumn& numbers, std::size_t row, std::uint64_t shown,
                            std::uint64_t before) {
  const std::string_view text = numbers.is_null(row) ? std::string_view() : numbers.at(row);
  std::uint64_t number = 0;
  if (!from_digits(text, number))
    throw Failure(fmt::format("{}: RECORD_NUMBER '{}' of row {} is no number", table, text, shown));
  if (number < before) throw Failure(fmt::format("{}: RECORD_NUMBER {} stands after {}", table, number, before));
  return number;
}

}  // namespace zvrt::records
