#include "columns/arrow/column_type.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace zvrt::arrow {
namespace {

struct Digits {
  std::int32_t precision;
  std::int32_t scale;
};

bool is_text(std::uint32_t kind) { return kind >= ZVRT_KIND_CHAR && kind <= ZVRT_KIND_UTF16_SZ; }
bool is_number(std::uint32_t kind) { return kind >= ZVRT_KIND_INT && kind <= ZVRT_KIND_NUMERIC; }

// Numbers whose scale travels with each value: without a declared one they have no decimal type.
bool has_floating_scale(const ZVRTType& field) {
  return (field.kind == ZVRT_KIND_VARNUM || field.kind == ZVRT_KIND_NUMERIC) && field.precision == 0 &&
         field.scale == 0;
}

// Digits that a field of a kind has by its size.
std::int32_t natural_precision(const ZVRTType& field) {
  // By the bytes of an integer.
  static constexpr std::int32_t of_integers[] = {0, 3, 5, 0, 10, 0, 0, 0, 19};
  switch (field.kind) {
    case ZVRT_KIND_INT: return of_integers[field.length];
    case ZVRT_KIND_UINT: return field.length == 8 ? 20 : of_integers[field.length];
    case ZVRT_KIND_PACKED: return field.length * 2 - ((field.flags & ZVRT_TYPE_NO_SIGN) != 0 ? 0 : 1);
    case ZVRT_KIND_ZONED: return field.length - ((field.flags & ZVRT_TYPE_SIGN_SEPARATE) != 0 ? 1 : 0);
    default: return max_decimal128_digits;
  }
}

// What readers of decimals expect: a scale from 0 to the precision, and at most 38 digits.
Digits digits_of(const ZVRTType& field) {
  Digits digits = {field.precision > 0 ? field.precision : natural_precision(field), field.scale};
  if (digits.scale < 0 && digits.precision - digits.scale <= max_decimal128_digits) {
    digits = {digits.precision - digits.scale, 0};
  }
  digits.precision = std::min(std::max(digits.precision, digits.scale), max_decimal128_digits);
  return digits;
}

void set_format(ColumnType& column, const char* format) { std::memcpy(column.format, format, std::strlen(format) + 1); }

Status cells(ColumnType& column, const char* format, const ZVRTType& cell, std::int32_t width) {
  column.form = Form::cells;
  set_format(column, format);
  column.cell = cell;
  column.width = width;
  return ZVRT_RC_OK;
}

Status decimals(ColumnType& column, Digits digits) {
  ZVRTType cell = cell_of(ZVRT_KIND_DECIMAL);
  cell.precision = static_cast<std::int16_t>(digits.precision);
  cell.scale = static_cast<std::int16_t>(digits.scale);
  char format[sizeof column.format];
  std::snprintf(format, sizeof format, "d:%d,%d", digits.precision, digits.scale);
  return cells(column, format, cell, 16);
}

Status doubles(ColumnType& column) { return cells(column, "g", cell_of(ZVRT_KIND_FLOAT, 8), 8); }

Status integers(ColumnType& column, const ZVRTType& field) {
  static constexpr const char* formats[] = {"", "c", "s", "", "i", "", "", "", "l"};
  static constexpr const char* unsigned_formats[] = {"", "C", "S", "", "I", "", "", "", "L"};
  const bool is_unsigned = field.kind == ZVRT_KIND_UINT;
  return cells(column, is_unsigned ? unsigned_formats[field.length] : formats[field.length],
               cell_of(field.kind, field.length), field.length);
}

Status numbers(const ZVRTType& field, std::uint32_t column_kind, ColumnType& column) {
  if (column_kind == ZVRT_COLUMN_DOUBLE) return doubles(column);
  const Digits digits = digits_of(field);
  const bool as_integer = column_kind == ZVRT_COLUMN_DEFAULT && digits.scale == 0;
  switch (field.kind) {
    case ZVRT_KIND_INT:
    case ZVRT_KIND_UINT:
      if (as_integer && field.scale == 0) return integers(column, field);
      break;
    case ZVRT_KIND_PACKED:
    case ZVRT_KIND_ZONED:
      if (as_integer && digits.precision <= max_int64_digits) {
        return cells(column, "l", cell_of(ZVRT_KIND_INT, 8), 8);
      }
      break;
    case ZVRT_KIND_FLOAT:
    case ZVRT_KIND_HEX_FLOAT:
      if (column_kind == ZVRT_COLUMN_DECIMAL128) return ZVRT_RC_INVALID_PAIR;
      // A hexadecimal float of 4 bytes reaches 10^75, far above a binary one.
      if (field.kind == ZVRT_KIND_HEX_FLOAT || field.length == 8) return doubles(column);
      return cells(column, "f", cell_of(ZVRT_KIND_FLOAT, 4), 4);
    default: break;
  }
  return decimals(column, digits);
}

// Bytes of UTF-8 that the text of a slot can become: at most 4 for a unit of any encoding (a byte of a code page may
// stand for a character outside the basic plane, two bytes for two of them). Numbers have at most 40 digits and 126
// zeros, or an exponent.
std::int32_t max_utf8_bytes(const ZVRTType& field) {
  constexpr std::int32_t of_numbers = 256;
  const std::int64_t bytes = is_text(field.kind) ? 4 * std::int64_t{field.length} : of_numbers;
  return static_cast<std::int32_t>(std::min<std::int64_t>(bytes, INT32_MAX));
}

Status texts(ColumnType& column, const char* format, const char* large_format, std::uint32_t kind,
             std::int32_t max_bytes, bool large) {
  column.form = large ? Form::large_text : Form::text;
  set_format(column, large ? large_format : format);
  column.cell = cell_of(kind, max_bytes);
  column.width = max_bytes;
  return ZVRT_RC_OK;
}

Status dates(columns::Parts parts, ColumnType& column) {
  switch (parts) {
    case columns::Parts::date: return cells(column, "tdD", cell_of(ZVRT_KIND_DAYS), 4);
    case columns::Parts::both: return cells(column, "tsu:", cell_of(ZVRT_KIND_MICROS), 8);
    case columns::Parts::time:
      column.form = Form::time_of_day;
      set_format(column, "ttu");
      column.cell = cell_of(ZVRT_KIND_TIME);
      column.width = static_cast<std::int32_t>(sizeof(ZVRTTime));
      return ZVRT_RC_OK;
    case columns::Parts::none: break;
  }
  return ZVRT_RC_INVALID_TYPE;
}

}  // namespace

ZVRTType cell_of(std::uint32_t kind, std::int32_t length) {
  ZVRTType cell{};
  cell.size = sizeof cell;
  cell.kind = kind;
  cell.length = length;
  return cell;
}

Status column_of(const ZVRTType& field, columns::Parts parts, std::uint32_t column_kind, ColumnType& column) {
  if (column_kind > ZVRT_COLUMN_BINARY) return ZVRT_RC_INVALID_PAIR;
  const bool is_date = parts != columns::Parts::none;
  const bool is_utf8 = !is_date && (is_text(field.kind) || has_floating_scale(field));
  const bool is_large = column_kind == ZVRT_COLUMN_LARGE_UTF8;

  if (column_kind == ZVRT_COLUMN_BINARY || field.kind == ZVRT_KIND_BYTES) {
    if (column_kind != ZVRT_COLUMN_BINARY && column_kind != ZVRT_COLUMN_DEFAULT) return ZVRT_RC_INVALID_PAIR;
    return texts(column, "z", "Z", ZVRT_KIND_BYTES, field.length, false);
  }
  if (is_utf8 && (is_large || column_kind == ZVRT_COLUMN_DEFAULT)) {
    return texts(column, "u", "U", ZVRT_KIND_CHAR, max_utf8_bytes(field), is_large);
  }
  if (!is_date && is_number(field.kind) && !is_large) return numbers(field, column_kind, column);
  if (column_kind != ZVRT_COLUMN_DEFAULT) return ZVRT_RC_INVALID_PAIR;
  if (is_date) return dates(parts, column);
  column.form = Form::boolean;
  set_format(column, "b");
  column.cell = cell_of(ZVRT_KIND_BOOL);
  column.width = 1;
  return ZVRT_RC_OK;
}

ZVRTType plan_type(const ZVRTType& field, std::uint32_t column_kind) {
  if (column_kind == ZVRT_COLUMN_BINARY) return cell_of(ZVRT_KIND_BYTES, field.length);
  return field;
}

}  // namespace zvrt::arrow
