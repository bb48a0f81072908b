// Rows of a column by its plan's direct kernel (columns/direct.h), which writes elements where they belong.
//
// A kernel takes rows at strides, none of them null. Where nulls stand among the rows, or the records stand anywhere, the
// fields are copied together first, each null as a copy of a field that is none:
//
//   records   ..field 0....null....field 2..   ->   | field 0 | field 0 | field 2 |   ->   kernel
//
// and a null's element is cleared after the kernel. A null text has no bytes: the kernel is given its length.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "columns/arrow/record_plan.h"
#include "columns/direct.h"
#include "columns/joined.h"

namespace zvrt::arrow {

// Where records stand.
struct Records {
  const std::byte* data;
  std::int64_t stride;
  const std::int64_t* starts;  // in place of the stride, or null

  const std::byte* at(std::int64_t row) const { return data + (starts != nullptr ? starts[row] : row * stride); }
};

class DirectRows {
 public:
  static constexpr std::int32_t most_rows = columns::direct_rows;

  // Whether the field's column has a kernel that knows where its values are.
  static bool suits(const Field& field);

  explicit DirectRows(const Field& field) : field_(field), type_(field.to_column->from.type) {}

  // Converts leading rows of at most so many, above 0, to where elements stand, or after the texts there, which have
  // text_room(); returns how many.
  std::int32_t convert(const Records& records, std::int64_t first, std::int64_t most, std::byte* elements,
                       columns::JoinedTexts& texts);

  std::int32_t nulls() const { return nulls_; }  // among the rows converted
  bool is_null(std::int32_t i) const { return nulls_ > 0 && is_null_[i]; }
  // Bits of eight rows from row i on, lowest first, where there are nulls: 1 for a value.
  std::byte eight_valid(std::int32_t i) const;

  // For as many of the texts as are converted at a time.
  std::int64_t text_room(std::int64_t rows) const {
    return std::min(rows, joined_rows()) * columns::joined_bytes(type_) + columns::joined_slack;
  }

 private:
  static constexpr std::int32_t staged_bytes = 8192;

  // Those of long texts are few: their room is what all of them could need.
  std::int64_t joined_rows() const {
    constexpr std::int64_t room = std::int64_t{256} << 10;
    return std::clamp<std::int64_t>(room / columns::joined_bytes(type_), 1, most_rows);
  }
  std::int32_t find_nulls(const Records& records, std::int64_t first, std::int32_t count);
  void find_null_forms(const Records& records, std::int64_t first, std::int32_t count);
  template <std::int32_t length>
  void find_null_words(const Records& records, std::int64_t first, std::int32_t count);
  std::byte only_null_byte() const;
  template <class Length>
  void stage(const Records& records, std::int64_t first, std::int32_t count, Length length);
  void clear_nulls(std::int32_t count, std::byte* elements) const;
  std::int32_t run_kernel(const Records& records, std::int64_t first, std::int32_t count, std::byte* elements,
                          columns::JoinedTexts& texts);

  const Field& field_;
  const columns::Type& type_;
  std::int32_t nulls_ = 0;
  bool is_null_[most_rows];
  std::int32_t text_lengths_[most_rows];
  std::byte staged_[staged_bytes];
};

}  // namespace zvrt::arrow
