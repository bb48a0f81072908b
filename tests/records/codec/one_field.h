// A record of one field, and what its bytes say.
#pragma once

#include <string>
#include <string_view>

#include "records/codec/field.h"

namespace zvrt_records_test {

using namespace zvrt::records;

// The conversions work between these two calls.
class Library {
 public:
  Library() { ZVRTInitDataConversion(); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
  ~Library() { ZVRTTermDataConversion(); }
};

inline std::string hex(std::string_view bytes) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string text;
  for (const char byte : bytes) {
    text += digits[static_cast<unsigned char>(byte) >> 4];
    text += digits[static_cast<unsigned char>(byte) & 15];
  }
  return text;
}

inline std::string unhex(std::string_view text) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2)
    bytes += static_cast<char>(std::stoi(std::string(text.substr(i, 2)), nullptr, 16));
  return bytes;
}

inline CodecOptions options_of(std::uint32_t page) {
  CodecOptions options;
  options.page = code_page(page, '\0');
  options.native_big = options.ibm_floats = options.page.ebcdic;
  return options;
}

class OneField {
 public:
  OneField(const std::string& clauses, const CodecOptions& options)
      : layout_(parse_layout("       01 R.\n          05 F " + clauses + ".\n", "f")),
        columns_(columns_of(layout_)),
        field_(columns_.list.front(), options) {}

  const Field& field() const { return field_; }
  std::size_t length() const { return field_.length(); }

  // The cell, "null", or the name of a status.
  std::string read(std::string bytes) const {
    DecodedCells cells;
    field_.decode({bytes.data(), static_cast<std::int64_t>(bytes.size()), 1}, nullptr, cells);
    if (cells.status[0] != ZVRT_RC_OK) return name_of(cells.status[0]);
    return cells.lengths[0] == null_cell ? "null" : std::string(cells.cells().at(0));
  }

  // The bytes in hexadecimal, or the name of a status.
  std::string written(std::string_view text) const {
    std::string bytes(length(), '\xEE');
    std::vector<Status> status(1);
    const auto size = static_cast<std::int32_t>(text.size());
    const std::int64_t start = 0;
    field_.encode({text.data(), 0, &start, &size}, nullptr, {bytes.data(), 0, 1}, status);
    return status[0] != ZVRT_RC_OK ? name_of(status[0]) : hex(bytes);
  }

 private:
  Layout layout_;
  Columns columns_;
  Field field_;
};

}  // namespace zvrt_records_test
