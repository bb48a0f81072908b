#include "record_codec.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "status.h"

namespace record_exchange {
namespace {

constexpr char value_present = '\x00';
constexpr char value_null = '\xFF';

void expect_ok(const Field& field, Status status) {
  if (status != ZVRT_RC_OK)
    throw Failure(fmt::format("the field {} cannot be written in this code page: {}", field.name, describe(status)));
}

}  // namespace

bool is_refused(Status outcome) { return outcome != ZVRT_RC_OK && outcome != rx_null; }

bool any_refused(const Outcomes& outcomes) { return std::any_of(outcomes.begin(), outcomes.end(), is_refused); }

RecordCodec::RecordCodec(const Layout& layout) : layout_(layout), empty_record_(layout.record_length, ' ') {
  const FldDef page = descriptor(layout.page);
  const Status status =
      InitializeCharBufferWithSpaces(empty_record_.data(), static_cast<std::int32_t>(empty_record_.size()), &page);
  if (status != ZVRT_RC_OK) throw Failure(fmt::format("code page {}: {}", layout.page.number, describe(status)));
  items_.reserve(layout.fields.size());
  for (const Field& field : layout.fields) {
    Item& item = items_.emplace_back(Item{field, make_codec(field, layout.page), std::string(field.length, '\0'), {}});
    expect_ok(field, item.codec->write_empty(item.empty.data()));
    item.null = null_form(item);
    item.empty.copy(empty_record_.data() + field.offset, field.length);
    if (field.null_policy == NullPolicy::indicator) empty_record_[field.indicator_offset] = value_present;
  }
}

std::string RecordCodec::null_form(Item& item) const {
  const Field& field = item.field;
  std::string form(field.length, '\0');
  const FldDef page = descriptor(layout_.page);
  switch (field.null_policy) {
    case NullPolicy::refused: return {};
    case NullPolicy::indicator: return item.empty;
    case NullPolicy::low_values: return form;
    case NullPolicy::zeros: expect_ok(field, item.codec->write_zeros(form.data())); return form;
    case NullPolicy::blanks:
      expect_ok(field, InitializeCharBufferWithSpaces(form.data(), static_cast<std::int32_t>(form.size()), &page));
      return form;
  }
  return {};
}

void RecordCodec::encode(const Row& row, char* record, Outcomes& outcomes) {
  std::memcpy(record, empty_record_.data(), empty_record_.size());
  outcomes.resize(items_.size());
  for (std::size_t i = 0; i < items_.size(); ++i) {
    Item& item = items_[i];
    const Status status = encode_cell(item, row.cells[i], record);
    outcomes[i] = status;
    const bool part_stays = status == ZVRT_RC_TRUNCATED && item.codec->keeps_part();
    if (!is_refused(status) || part_stays) continue;
    std::memcpy(record + item.field.offset, item.empty.data(), item.empty.size());
    if (!item.null.empty()) write_null(item, record);
  }
}

Status RecordCodec::encode_cell(Item& item, const Cell& cell, char* record) {
  if (cell.kind == Cell::Kind::null) {
    if (item.null.empty()) return rx_null_not_allowed;
    write_null(item, record);
    return rx_null;
  }
  char* const bytes = record + item.field.offset;
  const Status status = item.codec->encode(cell, bytes);
  const bool in_band = !item.null.empty() && item.field.null_policy != NullPolicy::indicator;
  if (status == ZVRT_RC_OK && in_band && std::memcmp(bytes, item.null.data(), item.null.size()) == 0)
    return rx_reads_as_null;
  return status;
}

void RecordCodec::write_null(const Item& item, char* record) const {
  std::memcpy(record + item.field.offset, item.null.data(), item.null.size());
  if (item.field.null_policy == NullPolicy::indicator) record[item.field.indicator_offset] = value_null;
}

void RecordCodec::decode(const char* record, Row& row, Outcomes& outcomes) {
  outcomes.resize(items_.size());
  for (std::size_t i = 0; i < items_.size(); ++i) {
    outcomes[i] = decode_cell(items_[i], record, row.cells[i], row.texts[i]);
    if (outcomes[i] != ZVRT_RC_OK) row.cells[i] = Cell::of_null();
  }
}

Status RecordCodec::decode_cell(Item& item, const char* record, Cell& cell, std::string& text) {
  const char* const bytes = record + item.field.offset;
  if (item.field.null_policy == NullPolicy::indicator) {
    const char indicator = record[item.field.indicator_offset];
    if (indicator == value_null) return rx_null;
    if (indicator != value_present) return rx_broken_indicator;
  } else if (!item.null.empty() && std::memcmp(bytes, item.null.data(), item.null.size()) == 0) {
    return rx_null;
  }
  return item.codec->decode(bytes, cell, text);
}

Status RecordCodec::compare(std::size_t field, const Cell& expected, const Cell& found) {
  const bool null = expected.kind == Cell::Kind::null;
  if (null || found.kind == Cell::Kind::null)
    return null && found.kind == Cell::Kind::null ? Status{rx_null} : Status{rx_different};
  return items_[field].codec->compare(expected, found);
}

}  // namespace record_exchange
