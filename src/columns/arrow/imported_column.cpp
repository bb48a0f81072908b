#include "columns/arrow/imported_column.h"

#include "support/units.h"

namespace zvrt::arrow {
namespace {

// A view is 16 bytes: the text's length, then the text itself if it has up to 12 bytes, else its first 4 bytes, the index
// of its buffer and its offset there.
constexpr std::int64_t view_bytes = 16;
constexpr std::int32_t max_inline_view = 12;

struct View {
  std::int32_t length;
  std::int32_t prefix;
  std::int32_t buffer;
  std::int32_t offset;
};
static_assert(sizeof(View) == view_bytes);

// Buffers before those that a type with views may have any number of, and one after them: their sizes.
constexpr std::int64_t view_buffers_before = 2;
constexpr std::int64_t view_buffers = 3;

std::int64_t buffer_count(Storage storage) {
  if (storage == Storage::none) return 0;
  return has_offsets(storage) ? 3 : 2;
}

const std::byte* buffer(const ArrowArray& array, std::int64_t index) {
  return static_cast<const std::byte*>(array.buffers[index]);
}

bool has_buffers(const ArrowType& type, const ArrowArray& array) {
  const bool count_fits =
      has_views(type.storage) ? array.n_buffers >= view_buffers : array.n_buffers == buffer_count(type.storage);
  return count_fits && (array.buffers != nullptr || array.n_buffers == 0);
}

// The rows that an array has itself, its offset apart.
bool has_validity(const ArrowArray& array, Validity& validity) {
  if (array.n_buffers > 0) validity.bits = buffer(array, 0);
  return validity.bits != nullptr || array.null_count <= 0;
}

}  // namespace

bool is_sound(const ArrowSchema& schema, const ArrowArray& array, std::int64_t first, std::int64_t rows) {
  if (schema.release == nullptr || schema.format == nullptr || array.release == nullptr) return false;
  if (array.length < 0 || array.offset < 0 || array.null_count < -1 || array.null_count > array.length) return false;
  if (first < 0 || rows < 0 || first > array.length || rows > array.length - first) return false;
  // No row of it lies so far out that counting its bytes could overflow.
  constexpr std::int64_t most = INT64_MAX / 64;
  if (array.length > most || array.offset > most) return false;
  if (schema.n_children < 0 || schema.n_children != array.n_children) return false;
  if (schema.n_children > 0 && (schema.children == nullptr || array.children == nullptr)) return false;
  return (schema.dictionary == nullptr) == (array.dictionary == nullptr);
}

Status ImportedColumn::open(const ArrowSchema& schema, const ArrowArray& array, std::int64_t first, std::int64_t rows) {
  const bool opened = schema.dictionary == nullptr ? open_values(schema, array, first, rows)
                                                   : open_dictionary(schema, array, first, rows);
  return opened ? ZVRT_RC_OK : ZVRT_RC_INVALID_ARROW;
}

bool ImportedColumn::open_values(const ArrowSchema& schema, const ArrowArray& array, std::int64_t first,
                                 std::int64_t rows) {
  if (!is_sound(schema, array, first, rows) || schema.n_children != 0 || schema.dictionary != nullptr) return false;
  if (!parse_format(schema.format, type_) || !has_buffers(type_, array)) return false;
  if (type_.storage == Storage::fixed_binary && array.length + array.offset > INT64_MAX / type_.width) return false;
  array_ = &array;
  first_ = first + array.offset;
  if (type_.storage == Storage::none || rows == 0) return true;
  if (!has_validity(array, validity_)) return false;
  values_ = buffer(array, 1);
  if (values_ == nullptr) return false;
  if (has_views(type_.storage)) return check_views(rows);
  if (!has_offsets(type_.storage)) return true;
  texts_ = buffer(array, 2);
  return check_offsets(rows);
}

// The dictionary may hold anything but another dictionary; every index that is not null lies within it.
bool ImportedColumn::open_dictionary(const ArrowSchema& schema, const ArrowArray& array, std::int64_t first,
                                     std::int64_t rows) {
  if (!is_sound(schema, array, first, rows) || schema.n_children != 0) return false;
  if (!parse_format(schema.format, index_type_) || !has_buffers(index_type_, array)) return false;
  const bool is_signed = index_type_.storage == Storage::signed_integer;
  if (!is_signed && index_type_.storage != Storage::unsigned_integer) return false;
  if (*schema.format == 'd') return false;
  const std::int64_t entries = array.dictionary->length;
  if (!open_values(*schema.dictionary, *array.dictionary, 0, entries)) return false;
  has_dictionary_ = true;
  first_index_ = first + array.offset;
  if (rows == 0) return true;
  if (!has_validity(array, index_validity_)) return false;
  indices_ = buffer(array, 1);
  if (indices_ == nullptr) return false;
  for (std::int64_t row = 0; row < rows; ++row) {
    if (!index_validity_[first_index_ + row]) continue;
    const std::int64_t entry = index(row);
    if (entry < 0 || entry >= entries) return false;
  }
  return true;
}

// A 64-bit index above 2^63 is negative here, and lies outside as well.
std::int64_t ImportedColumn::index(std::int64_t row) const {
  const auto at = static_cast<std::size_t>(first_index_ + row);
  const bool is_signed = index_type_.storage == Storage::signed_integer;
  switch (index_type_.width) {
    case 1: return is_signed ? load<std::int8_t>(indices_, at) : std::int64_t{load<std::uint8_t>(indices_, at)};
    case 2: return is_signed ? load<std::int16_t>(indices_, at) : std::int64_t{load<std::uint16_t>(indices_, at)};
    case 4: return is_signed ? load<std::int32_t>(indices_, at) : std::int64_t{load<std::uint32_t>(indices_, at)};
    default: return load<std::int64_t>(indices_, at);
  }
}

std::int64_t ImportedColumn::element(std::int64_t row) const {
  if (type_.storage == Storage::none) return -1;
  std::int64_t element = first_ + row;
  if (has_dictionary_) {
    if (!index_validity_[first_index_ + row]) return -1;
    element = first_ + index(row);
  }
  return validity_[element] ? element : -1;
}

std::int64_t ImportedColumn::offset(std::int64_t element) const {
  const auto at = static_cast<std::size_t>(element);
  return has_wide_offsets(type_.storage) ? load<std::int64_t>(values_, at) : load<std::int32_t>(values_, at);
}

bool ImportedColumn::check_offsets(std::int64_t rows) const {
  std::int64_t before = offset(first_);
  if (before < 0) return false;
  const std::int64_t begin = before;
  for (std::int64_t row = 1; row <= rows; ++row) {
    const std::int64_t next = offset(first_ + row);
    if (next < before) return false;
    before = next;
  }
  return texts_ != nullptr || before == begin;
}

bool ImportedColumn::check_views(std::int64_t rows) const {
  const std::int64_t buffers = array_->n_buffers - view_buffers;
  const std::byte* const sizes = buffer(*array_, array_->n_buffers - 1);
  if (buffers > 0 && sizes == nullptr) return false;
  for (std::int64_t row = 0; row < rows; ++row) {
    if (!validity_[first_ + row]) continue;
    const auto view = load<View>(values_, static_cast<std::size_t>(first_ + row));
    if (view.length < 0) return false;
    if (view.length <= max_inline_view) continue;
    if (view.buffer < 0 || view.buffer >= buffers || view.offset < 0) return false;
    const auto size = load<std::int64_t>(sizes, static_cast<std::size_t>(view.buffer));
    if (size < view.length || view.offset > size - view.length) return false;
    if (buffer(*array_, view_buffers_before + view.buffer) == nullptr) return false;
  }
  return true;
}

ImportedColumn::Text ImportedColumn::view(std::int64_t element) const {
  const std::byte* const at = values_ + element * view_bytes;
  const auto view = load<View>(at);
  if (view.length <= max_inline_view) return {at + offsetof(View, prefix), view.length};
  return {buffer(*array_, view_buffers_before + view.buffer) + view.offset, view.length};
}

}  // namespace zvrt::arrow
