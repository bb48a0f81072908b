// Which column a field becomes: the one table of types, used for schemas and arrays alike.
//
// A column is described twice. `format` is its Arrow type. `cell` is the same thing as a plan sees it: what one element of
// the column's buffer is, so that a plan from the field to the cell fills the buffer, and one from the cell to the
// field empties it. Forms whose buffer is no row of cells (bits, texts with offsets, times of day) say how cells become
// it.
#pragma once

#include <cstdint>

#include "ZVRTColumns.h"
#include "columns/type.h"
#include "core/call.h"

namespace zvrt::arrow {

enum class Form : std::uint8_t {
  cells,        // a buffer of cells
  time_of_day,  // cells are records of hour, minute and second, elements are microseconds
  boolean,      // cells are bytes, elements bits
  text,         // cells are counted texts, elements lie end to end with 32-bit offsets
  large_text,   // ... with 64-bit offsets
};

struct ColumnType {
  Form form = Form::cells;
  char format[16] = {};
  ZVRTType cell = {};
  std::int32_t width = 0;  // bytes of a cell; of a text, the most that one can have
};

constexpr std::int32_t max_decimal128_digits = 38;
constexpr std::int32_t max_int64_digits = 18;  // that every int64 has

// A type of a kind with a slot of so many bytes, nothing else being said.
ZVRTType cell_of(std::uint32_t kind, std::int32_t length = 0);

// The column of a field of a type that was checked, and shows these parts of a date and time. ZVRT_RC_INVALID_PAIR.
Status column_of(const ZVRTType& field, columns::Parts parts, std::uint32_t column_kind, ColumnType& column);

// The field as plans have it.
ZVRTType plan_type(const ZVRTType& field, std::uint32_t column_kind);

}  // namespace zvrt::arrow
