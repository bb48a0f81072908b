#include "columns/arrow/column_builder.h"

#include <algorithm>
#include <cstring>

#include "support/units.h"

namespace zvrt::arrow {

// Rows `first` to `first + count` on their way: where their cells are, and what the plan said of each.
struct ColumnBuilder::Block {
  std::int64_t first;
  std::int64_t count;
  std::byte* cells = nullptr;
  std::int16_t indicators[max_block];
  std::uint32_t status[max_block];
  std::int32_t lengths[max_block];
  std::byte staged[max_block * sizeof(ZVRTTime)];  // cells that are not yet the column's elements
  bool complete = false;                           // neither a null nor a refused value

  bool valid(std::int64_t i) const { return complete || (status[i] == ZVRT_RC_OK && indicators[i] >= 0); }
};

namespace {

constexpr std::int64_t bits_per_byte = 8;
constexpr std::int64_t bitmap_bytes(std::int64_t rows) { return (rows + bits_per_byte - 1) / bits_per_byte; }

void set_bit(std::byte* bitmap, std::int64_t row) {
  bitmap[row / bits_per_byte] |= std::byte{1} << static_cast<unsigned>(row % bits_per_byte);
}

void set_bits(std::byte* bitmap, std::int64_t row, std::int64_t count) {
  for (; count > 0 && row % bits_per_byte != 0; ++row, --count) set_bit(bitmap, row);
  std::memset(bitmap + row / bits_per_byte, 0xFF, static_cast<std::size_t>(count / bits_per_byte));
  for (row += count / bits_per_byte * bits_per_byte, count %= bits_per_byte; count > 0; ++row, --count) {
    set_bit(bitmap, row);
  }
}

std::int64_t microseconds(const std::byte* time) {
  const auto field = [time](std::size_t offset) { return std::int64_t{load<std::uint16_t>(time + offset)}; };
  const std::int64_t minutes = field(offsetof(ZVRTTime, hour)) * 60 + field(offsetof(ZVRTTime, minute));
  return (minutes * 60 + field(offsetof(ZVRTTime, second))) * 1'000'000;
}

// A source of the rows' fields. Indicators step with the records, so those of scattered records are gathered.
ZVRTArray field_array(const Field& field, const Records& records, std::int64_t first, std::int64_t count,
                      std::int16_t* gathered) {
  ZVRTArray array{};
  array.size = sizeof array;
  const std::byte* const base = records.starts != nullptr ? records.data : records.data + first * records.stride;
  array.data = const_cast<std::byte*>(base + field.offset);
  array.stride = records.stride;
  array.starts = records.starts != nullptr ? records.starts + first : nullptr;
  if (field.indicator_offset < 0) return array;
  const std::byte* const indicator = base + field.indicator_offset;
  for (std::int64_t i = 0; i < count; ++i) {
    const std::int64_t start = array.starts != nullptr ? array.starts[i] : i * records.stride;
    gathered[i] = load<std::int16_t>(indicator + start);
  }
  array.indicators = gathered;
  array.indicatorBytes = sizeof *gathered;
  return array;
}

}  // namespace

// Cells of long texts are few to a block; their reserve is what the longest of them could need.
std::int64_t ColumnBuilder::block_rows() const {
  constexpr std::int64_t reserve = std::int64_t{256} << 10;
  return is_text() ? std::clamp<std::int64_t>(reserve / std::max(field_.column.width, 1), 1, max_block) : max_block;
}

bool ColumnBuilder::reserve(std::int64_t rows) {
  constexpr std::int64_t most = INT64_MAX / 64;
  if (rows >= most) return false;
  switch (field_.column.form) {
    case Form::cells: return values_.reserve(rows * field_.column.width);
    case Form::time_of_day: return values_.reserve(rows * 8);
    case Form::boolean:
      if (!values_.reserve(bitmap_bytes(rows))) return false;
      std::memset(values_.data(), 0, static_cast<std::size_t>(bitmap_bytes(rows)));
      return true;
    case Form::text: return values_.reserve((rows + 1) * 4);
    case Form::large_text: return values_.reserve((rows + 1) * 8);
  }
  return false;
}

void ColumnBuilder::set_offset(std::int64_t row, std::int64_t offset) {
  if (field_.column.form == Form::text) {
    values_.as<std::int32_t>()[row] = static_cast<std::int32_t>(offset);
  } else {
    values_.as<std::int64_t>()[row] = offset;
  }
}

Status ColumnBuilder::convert(const Records& records, Block& block) {
  std::int16_t gathered[max_block];
  const ZVRTArray from = field_array(field_, records, block.first, block.count, gathered);
  ZVRTArray to{};
  to.size = sizeof to;
  to.data = block.cells;
  to.stride = field_.column.width;
  to.indicators = block.indicators;
  to.indicatorBytes = sizeof *block.indicators;
  to.status = block.status;
  if (is_text()) {
    to.lengths = block.lengths;
    to.lengthBytes = sizeof *block.lengths;
  }
  ZVRTOutcome outcome = no_outcome();
  const Status status = ZVRTPlanRun(field_.to_column.get(), &from, &to, block.count, &outcome);
  if (status != ZVRT_RC_OK) return status;
  add(outcome_, outcome, block.first);
  block.complete = outcome.refused == 0 && outcome.nulls == 0;
  return ZVRT_RC_OK;
}

// Marks rows that follow those marked so far: all of them, or where some are invalid none as yet. False without memory.
bool ColumnBuilder::mark_rows(std::int64_t first, std::int64_t count, std::int64_t invalid) {
  if (validity_.data() == nullptr) {
    if (invalid == 0) return true;
    if (!validity_.reserve(bitmap_bytes(rows_))) return false;
    std::memset(validity_.data(), 0, static_cast<std::size_t>(bitmap_bytes(rows_)));
    set_bits(validity_.data(), 0, first);
  }
  if (invalid == 0) set_bits(validity_.data(), first, count);
  return true;
}

bool ColumnBuilder::mark_block(const Block& block) {
  if (!mark_rows(block.first, block.count, block.complete ? 0 : 1)) return false;
  for (std::int64_t i = 0; i < block.count && !block.complete; ++i) {
    if (block.valid(i)) set_bit(validity_.data(), block.first + i);
  }
  return true;
}

bool ColumnBuilder::mark_direct(std::int64_t first, const DirectRows& direct, std::int32_t count) {
  if (!mark_rows(first, count, direct.nulls())) return false;
  if (direct.nulls() == 0) return true;
  std::int32_t i = 0;
  for (; first % bits_per_byte == 0 && i + bits_per_byte <= count; i += bits_per_byte) {
    validity_.data()[(first + i) / bits_per_byte] = direct.eight_valid(i);
  }
  for (; i < count; ++i) {
    if (!direct.is_null(i)) set_bit(validity_.data(), first + i);
  }
  return true;
}

// Texts were written a slot each, as long as the longest could be; they move together, nulls to nothing. A short one moves
// in whole chunks, with what stands after it, where that ends before the next slot begins:
//
//   text so far | chunk | ...gap... | slot i | slot i + 1
Status ColumnBuilder::append_texts(const Block& block) {
  constexpr std::int64_t chunk = 32;
  const std::int64_t width = field_.column.width;
  const std::byte* const end = block.cells + block.count * width;
  for (std::int64_t i = 0; i < block.count; ++i) {
    const std::int64_t length = block.valid(i) ? block.lengths[i] : 0;
    std::byte* to = texts_.data() + text_bytes_;
    const std::byte* from = block.cells + i * width;
    const std::int64_t moved = (length + chunk - 1) / chunk * chunk;
    if (moved <= 2 * chunk && end - from >= moved && from + width - to >= moved) {
      for (const std::byte* const last = from + moved; from != last; from += chunk, to += chunk) {
        std::byte held[chunk];
        std::memcpy(held, from, sizeof held);
        std::memcpy(to, held, sizeof held);
      }
    } else {
      std::memmove(to, from, static_cast<std::size_t>(length));
    }
    text_bytes_ += length;
    set_offset(block.first + i + 1, text_bytes_);
  }
  return field_.column.form == Form::text && text_bytes_ > INT32_MAX ? ZVRT_RC_OUT_OF_RANGE : ZVRT_RC_OK;
}

// The block's cells become elements; those of nulls are zero.
Status ColumnBuilder::append(Block& block) {
  const std::int64_t width = field_.column.width;
  if (!mark_block(block)) return ZVRT_RC_NO_MEMORY;
  if (is_text()) return append_texts(block);
  if (block.complete && field_.column.form == Form::cells) return ZVRT_RC_OK;
  for (std::int64_t i = 0; i < block.count; ++i) {
    std::byte* const cell = block.cells + i * width;
    if (!block.valid(i)) std::memset(cell, 0, static_cast<std::size_t>(width));
    if (field_.column.form == Form::time_of_day) {
      values_.as<std::int64_t>()[block.first + i] = microseconds(cell);
    } else if (field_.column.form == Form::boolean && *cell != std::byte{0}) {
      set_bit(values_.data(), block.first + i);
    }
  }
  return ZVRT_RC_OK;
}

bool ColumnBuilder::finish(std::int64_t rows, ArrowArray& array) {
  Buffer no_bitmap;
  const std::int64_t null_count = outcome_.nulls + outcome_.refused;
  if (null_count > 0) validity_.clear_tail(bitmap_bytes(rows));
  texts_.clear_tail(text_bytes_);
  Buffer* const buffers[] = {null_count > 0 ? &validity_ : &no_bitmap, &values_, &texts_};
  return make_array(rows, null_count, buffers, is_text() ? 3 : 2, array);
}

// Leading rows of those from `first` on that the plan's kernel converts. Ends of 32 bits are the offsets.
Status ColumnBuilder::build_directly(const Records& records, std::int64_t first, std::int64_t rows,
                                     std::int64_t& done) {
  DirectRows direct(field_);
  std::int32_t ends[DirectRows::most_rows];
  const bool is_large = field_.column.form == Form::large_text;
  for (done = 0; done < rows;) {
    const std::int64_t row = first + done;
    if (is_text() && !texts_.reserve(text_bytes_ + direct.text_room(rows - done), text_bytes_))
      return ZVRT_RC_NO_MEMORY;
    std::byte* const elements = is_text() ? texts_.data() + text_bytes_ : values_.data() + row * field_.column.width;
    columns::JoinedTexts texts{elements, is_large ? 0 : static_cast<std::uint32_t>(text_bytes_),
                               is_large || !is_text() ? ends : values_.as<std::int32_t>() + row + 1};
    const std::int32_t count = direct.convert(records, row, rows - done, elements, texts);
    if (count == 0) break;
    done += count;
    outcome_.done += count;
    outcome_.nulls += direct.nulls();
    if (!mark_direct(row, direct, count)) return ZVRT_RC_NO_MEMORY;
    if (!is_text()) continue;
    for (std::int32_t i = 0; is_large && i < count; ++i) set_offset(row + i + 1, text_bytes_ + ends[i]);
    text_bytes_ += texts.at - elements;
    outcome_.empty += texts.empty - direct.nulls();
    if (!is_large && text_bytes_ > INT32_MAX) return ZVRT_RC_OUT_OF_RANGE;
  }
  return ZVRT_RC_OK;
}

Status ColumnBuilder::build_block(const Records& records, Block& block) {
  if (field_.column.form == Form::cells) {
    block.cells = values_.data() + block.first * field_.column.width;
  } else if (is_text()) {
    if (!texts_.reserve(text_bytes_ + block.count * field_.column.width, text_bytes_)) return ZVRT_RC_NO_MEMORY;
    block.cells = texts_.data() + text_bytes_;
  } else {
    block.cells = block.staged;
  }
  const Status status = convert(records, block);
  return status == ZVRT_RC_OK ? append(block) : status;
}

// Rows that no kernel takes go by blocks; those after a few of them are tried by the kernel again.
Status ColumnBuilder::build(const Records& records, std::int64_t rows, ArrowArray& array) {
  rows_ = rows;
  if (!reserve(rows)) return ZVRT_RC_NO_MEMORY;
  if (is_text()) set_offset(0, 0);
  if (is_text() && !texts_.reserve(0)) return ZVRT_RC_NO_MEMORY;
  const bool is_direct = DirectRows::suits(field_);
  const std::int64_t most = is_direct ? std::min<std::int64_t>(block_rows(), columns::block_size) : block_rows();
  Status status = rows > 0 ? columns::find_services(*field_.to_column) : ZVRT_RC_OK;
  Block block;
  for (block.first = 0; block.first < rows && status == ZVRT_RC_OK; block.first += block.count) {
    if (is_direct) {
      std::int64_t done = 0;
      status = build_directly(records, block.first, rows - block.first, done);
      block.first += done;
    }
    block.count = std::min(most, rows - block.first);
    if (status == ZVRT_RC_OK && block.count > 0) status = build_block(records, block);
  }
  if (status != ZVRT_RC_OK) return status;
  return finish(rows, array) ? ZVRT_RC_OK : ZVRT_RC_NO_MEMORY;
}

}  // namespace zvrt::arrow
