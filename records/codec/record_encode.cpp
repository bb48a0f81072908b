// Cells to records: which cells changed, which meaning of an area is written, and what a record is made of.
#include <algorithm>
#include <charconv>

#include "records/codec/record_codec.h"

namespace zvrt::records {
namespace {

constexpr std::int64_t longest_record = 1 << 24;

bool same_cell(const CellColumn& one, const CellColumn& other, std::size_t row) {
  if (one.is_null(row) || other.is_null(row)) return one.is_null(row) && other.is_null(row);
  return one.at(row) == other.at(row);
}

}  // namespace

void RecordCodec::find_changes(const std::vector<CellColumn>& cells, const DecodedRecords& old, std::size_t count,
                               Masks& changed) const {
  for (std::size_t i = 0; i < fields_.size(); ++i)
    for (std::size_t row = 0; row < count; ++row)
      changed[i][row] = same_cell(cells[i], old.fields[i].cells(), row) ? 0 : 1;
}

// Of an area the first meaning is written that is not null; from given bytes, the one that changed.
void RecordCodec::choose_meanings(const std::vector<CellColumn>& cells, std::size_t count, const Masks& changed,
                                  Masks& chosen, EncodedRecords& encoded) const {
  for (std::size_t at = 0; at < columns_.areas.size(); ++at) {
    std::vector<std::vector<std::size_t>> parts(columns_.areas[at].meanings.size());
    for (std::size_t i = 0; i < fields_.size(); ++i)
      for (const MeaningOfArea& meaning : fields_[i]->column().meanings)
        if (meaning.area == at) parts[meaning.meaning].push_back(i);
    for (std::size_t row = 0; row < count; ++row) {
      std::size_t taken = no_index;
      for (std::size_t m = 0; m < parts.size(); ++m) {
        const bool is_told = std::any_of(parts[m].begin(), parts[m].end(), [&](std::size_t i) {
          return changed.empty() ? !cells[i].is_null(row) : changed[i][row] != 0;
        });
        if (!is_told) continue;
        if (taken == no_index) taken = m;
        if (taken != m && !changed.empty()) encoded.status[parts[m].front()][row] = rx_two_meanings;
      }
      if (taken == no_index) taken = 0;
      for (std::size_t m = 0; m < parts.size(); ++m)
        for (const std::size_t i : parts[m])
          if (m != taken) chosen[i][row] = 0;
    }
  }
}

const Record& RecordCodec::record_of(std::size_t row, const Masks& chosen) const {
  if (columns_.records.size() > 1)
    for (std::size_t i = 0; i < fields_.size(); ++i) {
      const auto& meanings = fields_[i]->column().meanings;
      if (!meanings.empty() && meanings[0].area == 0 && chosen[i][row] != 0) {
        const Item* const root = columns_.areas[0].meanings[meanings[0].meaning];
        for (const Record* record : columns_.records)
          if (record->root.get() == root) return *record;
      }
    }
  return *columns_.records.front();
}

// Nulls that no bytes can say, at a record's end: the record ends before them.
std::size_t RecordCodec::cut_nulls(const std::vector<CellColumn>& cells, std::size_t row, std::size_t length,
                                   EncodedRecords& encoded) const {
  std::size_t end = 0;
  for (std::size_t i = 0; i < fields_.size(); ++i)
    if (!cells[i].is_null(row) || encoded.status[i][row] != ZVRT_RC_NULL_REFUSED)
      end = std::max(end, fields_[i]->column().offset + fields_[i]->length());
  bool cut = false;
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    Status& status = encoded.status[i][row];
    if (status != ZVRT_RC_NULL_REFUSED || fields_[i]->column().offset < end) continue;
    status = ZVRT_RC_OK;
    cut = true;
  }
  return cut ? std::min(end, length) : length;
}

// The record is as long as its field says where no value stands beyond that, as it was when it was read.
void RecordCodec::fit_length(const std::vector<CellColumn>& cells, std::size_t row, const Slide& slide,
                             std::string& record, EncodedRecords& encoded) const {
  if (length_field_ == no_index || cells[length_field_].is_null(row)) return;
  const std::string_view text = cells[length_field_].at(row);
  std::int64_t length = 0;
  std::from_chars(text.data(), text.data() + text.size(), length);
  length += options_.length_adjust;
  if (length <= 0 || length > longest_record) return;
  const auto end = static_cast<std::size_t>(length);
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    if (cells[i].is_null(row)) continue;
    const auto offset = slide.offset_of(fields_[i]->column());
    if (offset && *offset + fields_[i]->length() > end) return;
  }
  record.resize(end, blank_);
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    const auto offset = slide.offset_of(fields_[i]->column());
    Status& status = encoded.status[i][row];
    if (offset && *offset >= end && status == ZVRT_RC_NULL_REFUSED) status = ZVRT_RC_OK;
  }
}

// Blanks at a line's end are no part of it beyond the line that it was, but for fields in which they mean something else.
void RecordCodec::drop_blanks(const Slide& slide, const std::string* base, std::string& record) const {
  std::size_t end = base != nullptr ? base->size() : 0;
  for (const auto& field : fields_) {
    if (field->table_column().type == TableColumn::Type::text) continue;
    if (const auto offset = slide.offset_of(field->column())) end = std::max(end, *offset + field->length());
  }
  while (record.size() > end && record.back() == blank_) record.pop_back();
}

void RecordCodec::compose(const std::vector<CellColumn>& cells, std::size_t row, const char* form,
                          const std::string* base, const Masks& chosen, std::string& record,
                          EncodedRecords& encoded) const {
  Slide slide(columns_, options_.shift);
  const VariableTable* const wrong =
      slide.take([&](const VariableTable& table, std::size_t) -> std::optional<std::size_t> {
        return count_of(static_cast<std::size_t>(&table - columns_.tables.data()), form + table.count_offset);
      });
  if (wrong != nullptr) {
    const std::size_t count = find(wrong->item->depends_on->name);
    const bool as_it_was = base != nullptr && (count == no_index || chosen[count][row] == 0);
    if (!as_it_was) encoded.status[count == no_index ? 0 : count][row] = rx_count;
  }
  bool moved = false;  // a count changed, and with it the places of what follows
  for (const VariableTable& table : columns_.tables)
    if (const std::size_t count = find(table.item->depends_on->name); count != no_index)
      moved = moved || chosen[count][row] != 0;
  record.clear();
  const bool keeps = base != nullptr && !(moved && options_.shift);
  if (keeps) {
    record = *base;
  } else {
    std::size_t length = columns_.length;
    if (options_.lengths_vary || options_.shift) length = slide.length_of(record_of(row, chosen));
    if (!options_.shift) record.assign(form, std::min(length, columns_.length));
    record.resize(length, blank_);
    if (options_.may_be_short && columns_.tables.empty()) record.resize(cut_nulls(cells, row, length, encoded));
    if (!options_.lengths_vary && !options_.shift && options_.record_length > record.size())
      record.resize(options_.record_length, blank_);
  }
  // Where no field moves all stand there already.
  if (keeps || options_.shift || !columns_.tables.empty())
    place_fields(cells, row, form, slide, {keeps, base != nullptr}, chosen, record, encoded);
  if (!keeps) fit_length(cells, row, slide, record, encoded);
  if (options_.pads_blanks) drop_blanks(slide, base, record);
}

// Whether a record that grows gives no other field bytes that its null is not.
bool RecordCodec::may_grow(const std::vector<CellColumn>& cells, std::size_t row, const Slide& slide, std::size_t from,
                           std::size_t to) const {
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    if (!cells[i].is_null(row)) continue;
    const auto begin = slide.offset_of(fields_[i]->column());
    if (!begin) continue;
    const std::size_t end = *begin + fields_[i]->length();
    if (*begin < to && end > from) return false;
  }
  return true;
}

void RecordCodec::place_fields(const std::vector<CellColumn>& cells, std::size_t row, const char* form,
                               const Slide& slide, Base base, const Masks& chosen, std::string& record,
                               EncodedRecords& encoded) const {
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    const Column& column = fields_[i]->column();
    const auto offset = slide.offset_of(column);
    if (!offset) {
      encoded.status[i][row] = cells[i].is_null(row) ? Status{ZVRT_RC_OK} : Status{rx_not_there};
      continue;
    }
    const bool written = base.kept ? chosen[i][row] != 0 : options_.shift && (base.given || chosen[i][row] != 0);
    if (!written) continue;
    const std::size_t end = *offset + fields_[i]->length();
    if (base.kept && record.size() < end) {
      if (!may_grow(cells, row, slide, record.size(), end)) {
        encoded.status[i][row] = rx_cut_field;
        continue;
      }
      record.resize(end, blank_);
    }
    if (*offset + fields_[i]->length() <= record.size())
      record.replace(*offset, fields_[i]->length(), form + column.offset, fields_[i]->length());
    if (column.indicator != no_index)
      if (const auto at = slide.offset_of(columns_.indicators[column.indicator]); at && *at < record.size())
        record[*at] = form[columns_.indicators[column.indicator].offset];
  }
}

void RecordCodec::encode_fields(const std::vector<CellColumn>& cells, std::size_t count, const Masks& chosen,
                                char* form, EncodedRecords& encoded) const {
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    const FieldBytes bytes{form + fields_[i]->column().offset, static_cast<std::int64_t>(columns_.length), count};
    fields_[i]->encode(cells[i], chosen.empty() ? nullptr : chosen[i].data(), bytes, encoded.status[i]);
  }
  write_indicators(cells, count, chosen, form);
}

// Whether every record made without a base is one of the form itself: nothing moves, and nothing has other lengths.
bool RecordCodec::stands_in_form() const {
  const bool may_differ = options_.shift || options_.pads_blanks || options_.may_be_short || options_.lengths_vary;
  return !may_differ && columns_.tables.empty() && columns_.areas.empty() && length_field_ == no_index &&
         options_.record_length <= columns_.length;
}

// The fields are written where the records stand.
void RecordCodec::encode_in_form(const std::vector<CellColumn>& cells, std::size_t count,
                                 EncodedRecords& encoded) const {
  for (std::size_t row = 0; row < count; ++row) encoded.records.add(empty_);
  encode_fields(cells, count, {}, encoded.records.data(), encoded);
}

// The fields are written into a form beside the records, which are composed of it one by one.
void RecordCodec::encode_apart(const std::vector<CellColumn>& cells, std::size_t count,
                               const std::vector<std::string>* bases, EncodedRecords& encoded) const {
  std::vector<char> form;
  for (auto& status : encoded.status) status.assign(count, ZVRT_RC_OK);
  Masks chosen(fields_.size(), std::vector<std::uint8_t>(count, 1));
  Masks changed;
  if (bases != nullptr) {
    std::vector<char> bytes;
    std::vector<std::int64_t> starts;
    std::vector<std::int32_t> lengths;
    for (const std::string& base : *bases) {
      starts.push_back(static_cast<std::int64_t>(bytes.size()));
      lengths.push_back(static_cast<std::int32_t>(base.size()));
      bytes.insert(bytes.end(), base.begin(), base.end());
    }
    DecodedRecords old;
    decode({bytes.data(), 0, starts.data(), lengths.data(), count}, old);
    find_changes(cells, old, count, chosen);
    form = std::move(old.form);
    changed = chosen;
  } else {
    form.reserve(count * columns_.length);
    for (std::size_t row = 0; row < count; ++row) form.insert(form.end(), empty_.begin(), empty_.end());
  }
  choose_meanings(cells, count, changed, chosen, encoded);
  std::vector<std::vector<Status>> conflicts;
  if (!columns_.areas.empty()) conflicts = encoded.status;
  encode_fields(cells, count, chosen, form.data(), encoded);
  for (std::size_t i = 0; i < conflicts.size(); ++i)
    for (std::size_t row = 0; row < count; ++row)
      if (conflicts[i][row] != ZVRT_RC_OK) encoded.status[i][row] = conflicts[i][row];
  std::string record;
  for (std::size_t row = 0; row < count; ++row) {
    compose(cells, row, form.data() + row * columns_.length, bases != nullptr ? &(*bases)[row] : nullptr, chosen,
            record, encoded);
    encoded.records.add(record);
  }
}

void RecordCodec::encode(const std::vector<CellColumn>& cells, std::size_t count, const std::vector<std::string>* bases,
                         EncodedRecords& encoded) const {
  encoded.records.clear();
  encoded.status.resize(fields_.size());
  if (bases == nullptr && stands_in_form())
    encode_in_form(cells, count, encoded);
  else
    encode_apart(cells, count, bases, encoded);
  encoded.refused.assign(count, 0);
  for (const auto& status : encoded.status) {
    if (!is_any_refused(status)) continue;
    for (std::size_t row = 0; row < count; ++row)
      if (status[row] != ZVRT_RC_OK) encoded.refused[row] = 1;
  }
}

}  // namespace zvrt::records
