// Cells into fields, a column at a time.
//
// Cells of a table stand one after the other in any length; the fastest plans take values at equal distances. Short cells
// are therefore gathered into slots first, some rows at a time, so that the slots stay in the processor's first cache:
//
//   cells   ANNA | MILLER | NORTH ...        a start and a length each
//   slots   ANNA.... MILLER.. NORTH...       what the plan takes, with the same lengths
//
// A cell that is longer than its slot goes straight from where it stands, through a plan of any length.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "records/codec/field.h"
#include "records/files/failure.h"

namespace zvrt::records {
namespace {

constexpr std::size_t gathered_rows = 256;
constexpr std::size_t least_slot = 8;
constexpr std::size_t widest_slot = 64;

// Some rows of a column.
CellColumn rows_from(CellColumn cells, std::size_t first) {
  if (cells.starts != nullptr)
    cells.starts += first;
  else if (first != 0)
    cells.data += static_cast<std::int64_t>(first) * cells.stride;
  cells.lengths += first;
  return cells;
}

}  // namespace

// Whether short cells are gathered for this field, and a plan for them.
void Field::make_gathering() {
  const bool is_text = writes_.kind == ZVRT_KIND_CHAR && (writes_.flags & ZVRT_TYPE_PAD_LEFT) == 0;
  const bool is_number = writes_.kind == ZVRT_KIND_PACKED || writes_.kind == ZVRT_KIND_ZONED ||
                         writes_.kind == ZVRT_KIND_INT || writes_.kind == ZVRT_KIND_UINT;
  if (single_ || writes_.model != nullptr || (!is_text && !is_number)) return;
  const std::size_t usual = is_text ? length() : static_cast<std::size_t>(text_.length);
  gathered_slot_ = std::clamp((usual + least_slot - 1) / least_slot * least_slot, least_slot, widest_slot);
  ZVRTType from = text_;
  from.length = static_cast<std::int32_t>(gathered_slot_);
  gathered_ = make_plan(from, writes_, column_.field);
}

void Field::encode(const CellColumn& cells, const std::uint8_t* chosen, const FieldBytes& bytes,
                   std::vector<Status>& status) const {
  status.assign(bytes.count, ZVRT_RC_OK);
  std::vector<std::uint8_t> written(bytes.count);
  std::size_t values = 0;
  for (std::size_t i = 0; i < bytes.count; ++i) {
    written[i] = (chosen == nullptr || chosen[i] != 0) && !cells.is_null(i) ? 1 : 0;
    values += written[i];
  }
  for (std::size_t i = 0; values != bytes.count && i < bytes.count; ++i) {
    if (written[i] != 0 || (chosen != nullptr && chosen[i] == 0)) continue;
    if (null_form_.empty() && column_.indicator == no_index) status[i] = ZVRT_RC_NULL_REFUSED;
    std::memcpy(bytes.at(i), null_form_.empty() ? empty_.data() : null_form_.data(), length());
  }
  if (values == 0) return;
  encode_plan(cells, values == bytes.count ? nullptr : written.data(), bytes, status);
  const bool may_read_as_null = !null_form_.empty() && column_.indicator == no_index;
  if (!may_read_as_null && !is_any_refused(status)) return;
  for (std::size_t i = 0; i < bytes.count; ++i) {
    if (written[i] == 0) continue;
    if (may_read_as_null && status[i] == ZVRT_RC_OK && std::memcmp(bytes.at(i), null_form_.data(), length()) == 0)
      status[i] = rx_reads_as_null;
    if (status[i] != ZVRT_RC_OK) std::memcpy(bytes.at(i), empty_.data(), length());
  }
}

void Field::encode_plan(const CellColumn& cells, const std::uint8_t* chosen, const FieldBytes& bytes,
                        std::vector<Status>& status) const {
  if (single_) {
    for (std::size_t i = 0; i < bytes.count; ++i)
      if (chosen == nullptr || chosen[i] != 0) status[i] = single_->write(cells.at(i), bytes.at(i));
    return;
  }
  if (!gathered_) return run(*encode_, cells, chosen, bytes, status.data());
  for (std::size_t first = 0; first < bytes.count; first += gathered_rows) {
    const FieldBytes part{bytes.at(first), bytes.stride, std::min(gathered_rows, bytes.count - first)};
    encode_gathered(rows_from(cells, first), chosen == nullptr ? nullptr : chosen + first, part, status.data() + first);
  }
}

void Field::encode_gathered(const CellColumn& cells, const std::uint8_t* chosen, const FieldBytes& bytes,
                            Status* status) const {
  std::array<char, gathered_rows * widest_slot> slots;
  std::array<std::uint8_t, gathered_rows> fits;
  std::array<std::uint8_t, gathered_rows> beyond;
  std::size_t short_cells = 0;
  std::size_t long_cells = 0;
  for (std::size_t i = 0; i < bytes.count; ++i) {
    const bool wanted = chosen == nullptr || chosen[i] != 0;
    const auto size = static_cast<std::size_t>(wanted ? cells.lengths[i] : 0);
    fits[i] = wanted && size <= gathered_slot_ ? 1 : 0;
    beyond[i] = wanted && size > gathered_slot_ ? 1 : 0;
    short_cells += fits[i];
    long_cells += beyond[i];
    // An empty cell may have no address at all.
    if (fits[i] != 0 && size != 0) std::memcpy(slots.data() + i * gathered_slot_, cells.at(i).data(), size);
  }
  const CellColumn gathered{slots.data(), static_cast<std::int64_t>(gathered_slot_), nullptr, cells.lengths};
  if (short_cells != 0) run(*gathered_, gathered, short_cells == bytes.count ? nullptr : fits.data(), bytes, status);
  if (long_cells != 0) run(*encode_, cells, beyond.data(), bytes, status);
}

void Field::run(const ZVRTPlan& plan, const CellColumn& cells, const std::uint8_t* chosen, const FieldBytes& bytes,
                Status* status) const {
  ZVRTArray from = array_of(cells.data, cells.stride);
  from.starts = cells.starts;
  from.lengths = const_cast<std::int32_t*>(cells.lengths);
  from.lengthBytes = sizeof(std::int32_t);
  from.select = chosen;
  ZVRTArray to = array_of(bytes.records, bytes.stride);
  to.status = status;
  const Status result = ZVRTPlanRun(&plan, &from, &to, static_cast<std::int64_t>(bytes.count), nullptr);
  if (result != ZVRT_RC_OK) throw Failure(fmt::format("field {}: {}", column_.field, text_of(result)));
}

}  // namespace zvrt::records
