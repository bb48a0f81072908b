#include "columns/arrow/field_writer.h"

#include <algorithm>
#include <cstring>

#include "columns/arrow/staged_cells.h"

namespace zvrt::arrow {

// Rows `first` to `first + count` as a plan's source: an element a row, and where its cell is.
struct FieldWriter::Block {
  std::int64_t first;
  std::int64_t count;
  std::int64_t elements[max_block];  // -1 for null
  std::int64_t starts[max_block];
  std::int64_t lengths[max_block];
  std::int16_t indicators[max_block];
  std::uint8_t select[max_block];
  std::byte staged[max_block * max_staged_bytes];
  ZVRTArray from;
  ZVRTOutcome refused;  // rows that have no cell
};

namespace {

constexpr bool is_binary(Storage s) {
  return s == Storage::binary32 || s == Storage::binary64 || s == Storage::binary_views || s == Storage::fixed_binary;
}

// What an element, or the cell made of it, is to a plan. A column of nulls counts as text: text goes into everything.
ZVRTType cell_type(const ArrowType& type) {
  ZVRTType cell = cell_of(staged_kind(type.storage));
  cell.scale = static_cast<std::int16_t>(type.scale);
  if (cell.kind != 0) return cell;
  cell.kind = is_binary(type.storage) ? ZVRT_KIND_BYTES : ZVRT_KIND_CHAR;
  switch (type.storage) {
    case Storage::signed_integer: cell.kind = ZVRT_KIND_INT; break;
    case Storage::unsigned_integer: cell.kind = ZVRT_KIND_UINT; break;
    case Storage::binary_float: cell.kind = ZVRT_KIND_FLOAT; break;
    case Storage::decimal128: cell.kind = ZVRT_KIND_DECIMAL; return cell;
    case Storage::days: cell.kind = ZVRT_KIND_DAYS; return cell;
    case Storage::microseconds: cell.kind = ZVRT_KIND_MICROS; return cell;
    default: return cell;
  }
  cell.length = type.width;
  return cell;
}

// A record has no other place for the length of a counted text.
ZVRTType padded(ZVRTType type) {
  const bool is_counted = type.kind == ZVRT_KIND_CHAR || type.kind == ZVRT_KIND_WCHAR || type.kind == ZVRT_KIND_UTF16 ||
                          type.kind == ZVRT_KIND_BYTES;
  if (is_counted) type.flags |= ZVRT_TYPE_PAD;
  return type;
}

}  // namespace

Status FieldWriter::open(const ZVRTRecordPlan& plan, const Field& field, const ArrowSchema& schema,
                         const ArrowArray& array, const Rows& rows) {
  field_ = &field;
  record_bytes_ = plan.record_bytes;
  rows_ = rows;
  cut_ = (plan.options & ZVRT_PLAN_CUT_FRACTION) != 0;
  const Status status = column_.open(schema, array, rows.first, rows.count);
  if (status != ZVRT_RC_OK) return status;
  if (column_.type().zoned && (plan.options & ZVRT_PLAN_ZONED_TIME_AS_UTC) == 0) return ZVRT_RC_INVALID_ARROW;
  const Status made = make_plan(cell_type(column_.type()), padded(field.type), plan.options, plan_, nullptr);
  return made == ZVRT_RC_INVALID_TYPE ? ZVRT_RC_INVALID_PAIR : made;
}

// Rows whose element has no cell are left out of the run and counted here.
void FieldWriter::stage_cells(Block& block) {
  for (std::int64_t i = 0; i < block.count; ++i) {
    if (block.elements[i] < 0) continue;
    const Status status = stage(column_, block.elements[i], cut_, block.staged + i * max_staged_bytes);
    block.select[i] = status == ZVRT_RC_OK;
    if (status == ZVRT_RC_OK) continue;
    if (block.refused.refused++ > 0) continue;
    block.refused.firstRefused = i;
    block.refused.firstStatus = status;
  }
  block.from.data = block.staged;
  block.from.stride = max_staged_bytes;
  block.from.select = block.select;
}

void FieldWriter::place_cells(Block& block) const {
  for (std::int64_t i = 0; i < block.count; ++i) {
    block.starts[i] = std::max<std::int64_t>(block.elements[i], 0) * column_.type().width;
    block.lengths[i] = column_.type().width;
  }
  block.from.data = const_cast<std::byte*>(column_.values());
}

void FieldWriter::place_texts(Block& block) const {
  for (std::int64_t i = 0; i < block.count; ++i) {
    const std::int64_t element = block.elements[i];
    block.starts[i] = element < 0 ? 0 : column_.offset(element);
    block.lengths[i] = element < 0 ? 0 : column_.offset(element + 1) - block.starts[i];
  }
  block.from.data = const_cast<std::byte*>(column_.texts());
}

// Texts of several buffers are copied together: a plan's slots belong to one.
Status FieldWriter::place_views(Block& block) {
  std::int64_t bytes = 0;
  for (std::int64_t i = 0; i < block.count; ++i) {
    block.starts[i] = bytes;
    block.lengths[i] = block.elements[i] < 0 ? 0 : column_.view(block.elements[i]).bytes;
    bytes += block.lengths[i];
  }
  if (!gathered_.reserve(bytes)) return ZVRT_RC_NO_MEMORY;
  for (std::int64_t i = 0; i < block.count; ++i) {
    if (block.lengths[i] == 0) continue;
    std::memcpy(gathered_.data() + block.starts[i], column_.view(block.elements[i]).at,
                static_cast<std::size_t>(block.lengths[i]));
  }
  block.from.data = gathered_.data();
  return ZVRT_RC_OK;
}

Status FieldWriter::gather(Block& block) {
  const Storage storage = column_.type().storage;
  block.from = {};
  block.from.size = sizeof block.from;
  block.refused = no_outcome();
  for (std::int64_t i = 0; i < block.count; ++i) {
    const std::int64_t row = block.first + i;
    block.elements[i] = rows_.validity[rows_.first + row] ? column_.element(row) : -1;
    block.indicators[i] = block.elements[i] < 0 ? ZVRT_NULL_DATA : 0;
    block.select[i] = 1;
  }
  block.from.indicators = block.indicators;
  block.from.indicatorBytes = sizeof *block.indicators;
  if (staged_kind(storage) != 0) {
    stage_cells(block);
    return ZVRT_RC_OK;
  }
  block.from.starts = block.starts;
  const bool is_counted = has_offsets(storage) || has_views(storage) || is_binary(storage) || storage == Storage::none;
  if (is_counted) {
    block.from.lengths = block.lengths;
    block.from.lengthBytes = sizeof *block.lengths;
  }
  if (has_views(storage)) return place_views(block);
  if (has_offsets(storage)) {
    place_texts(block);
  } else {
    place_cells(block);
  }
  // All nulls, or all empty: there need not be any memory, and none is read.
  if (block.from.data == nullptr) block.from.data = block.staged;
  return ZVRT_RC_OK;
}

Status FieldWriter::write(std::byte* records) {
  Block block;
  for (block.first = 0; block.first < rows_.count; block.first += block.count) {
    block.count = std::min(max_block, rows_.count - block.first);
    if (const Status status = gather(block); status != ZVRT_RC_OK) return status;
    std::byte* const base = records + block.first * record_bytes_;
    ZVRTArray to{};
    to.size = sizeof to;
    to.data = base + field_->offset;
    to.stride = record_bytes_;
    if (field_->indicator_offset >= 0) {
      to.indicators = base + field_->indicator_offset;
      to.indicatorBytes = sizeof(std::int16_t);
      to.indicatorStride = record_bytes_;
    }
    ZVRTOutcome outcome = no_outcome();
    const Status status = ZVRTPlanRun(plan_.get(), &block.from, &to, block.count, &outcome);
    if (status != ZVRT_RC_OK) return status;
    const ZVRTOutcome& staged = block.refused;
    outcome.refused += staged.refused;
    const bool staged_first = outcome.firstRefused < 0 || staged.firstRefused < outcome.firstRefused;
    if (staged.firstRefused >= 0 && staged_first) {
      outcome.firstRefused = staged.firstRefused;
      outcome.firstStatus = staged.firstStatus;
    }
    add(outcome_, outcome, block.first);
  }
  return ZVRT_RC_OK;
}

}  // namespace zvrt::arrow
