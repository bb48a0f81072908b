#include "records/codec/record_codec.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <utility>

#include "records/files/failure.h"

namespace zvrt::records {
namespace {

constexpr char indicates_value = '\x00';
constexpr char indicates_null = '\xFF';

}  // namespace

RecordCodec::RecordCodec(Columns columns, const CodecOptions& codec, RecordOptions options,
                         const std::vector<std::string>& names)
    : columns_(std::move(columns)),
      options_(std::move(options)),
      blank_(codec.page.blank),
      empty_(columns_.length, codec.page.blank) {
  for (const Column& column : columns_.list) {
    const bool wanted = names.empty() || std::find(names.begin(), names.end(), column.name) != names.end();
    if (wanted) fields_.push_back(std::make_unique<Field>(column, codec));
  }
  for (const std::string& name : names)
    if (find(name) == no_index) throw Failure(fmt::format("there is no column '{}'", name));
  if (fields_.empty()) throw Failure("the layout has no columns");
  if (!options_.length_field.empty()) length_field_ = find(options_.length_field);
  for (const VariableTable& table : columns_.tables) {
    Column count;
    count.name = count.field = table.item->depends_on_name;
    if (table.item->depends_on == nullptr)
      throw Failure(
          fmt::format("the count {} of table {} is not in the record", table.item->depends_on_name, table.item->name));
    count.item = table.item->depends_on;
    counts_.push_back(std::make_unique<Field>(count, codec));
  }
  // Later meanings first, so that the first one's zeros stand in the end.
  // NOLINTNEXTLINE(modernize-loop-convert): clang 14 does not know the library's reversed views
  for (auto field = fields_.rbegin(); field != fields_.rend(); ++field)
    empty_.replace((*field)->column().offset, (*field)->length(), (*field)->empty());
  for (const Column& indicator : columns_.indicators) empty_[indicator.offset] = indicates_value;
}

std::size_t RecordCodec::find(const std::string& name) const {
  for (std::size_t i = 0; i < fields_.size(); ++i)
    if (fields_[i]->column().name == name || fields_[i]->column().item->name == name) return i;
  return no_index;
}

std::optional<std::size_t> RecordCodec::count_of(std::size_t table, const char* bytes) const {
  DecodedCells cell;
  counts_[table]->decode({const_cast<char*>(bytes), 0, 1}, nullptr, cell);
  if (cell.status[0] != ZVRT_RC_OK || cell.lengths[0] == null_cell) return std::nullopt;
  std::size_t count = 0;
  const char* const end = cell.slots.data() + cell.lengths[0];
  const auto read = std::from_chars(cell.slots.data(), end, count);
  return read.ec == std::errc{} && read.ptr == end ? std::optional(count) : std::nullopt;
}

std::optional<std::size_t> RecordCodec::own_length(const char* bytes, std::size_t available, std::string& why) const {
  Slide slide(columns_, true);
  bool more = false;
  const VariableTable* const wrong =
      slide.take([&](const VariableTable& table, std::size_t offset) -> std::optional<std::size_t> {
        more = more || offset + table.item->depends_on->length > available;
        return more ? 0 : count_of(static_cast<std::size_t>(&table - columns_.tables.data()), bytes + offset);
      });
  if (more) return std::nullopt;
  if (wrong != nullptr)
    why = fmt::format("the count {} of table {} is no number in its range", wrong->item->depends_on_name,
                      wrong->item->name);
  return slide.length_of(*columns_.records.front());
}

bool RecordCodec::in_one_form(const RecordSource& source) const {
  return columns_.tables.empty() && source.stride != 0 &&
         source.lengths[0] >= static_cast<std::int32_t>(columns_.length);
}

void RecordCodec::copy_record(const Slide& slide, std::string_view record, std::size_t row, DecodedRecords& decoded,
                              Masks& present) const {
  char* const form = decoded.form.data() + static_cast<std::int64_t>(row) * decoded.stride;
  for (const Column& indicator : columns_.indicators)
    if (const auto offset = slide.offset_of(indicator); offset && *offset < record.size())
      form[indicator.offset] = record[*offset];
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    const Field& field = *fields_[i];
    const auto offset = slide.offset_of(field.column());
    present[i][row] = offset ? 1 : 0;
    if (!offset) continue;
    const std::size_t there = *offset < record.size() ? std::min(field.length(), record.size() - *offset) : 0;
    // An empty record may have no address at all.
    if (there != 0) std::memcpy(form + field.column().offset, record.data() + *offset, there);
    if (there == field.length()) continue;
    const bool is_text = field.table_column().type == TableColumn::Type::text;
    const bool is_edited = there != 0 && field.column().item->picture.category == Category::numeric_edited;
    const bool padded = options_.pads_blanks && (is_text || is_edited);
    std::memset(form + field.column().offset + there, blank_, field.length() - there);
    if (padded) continue;
    present[i][row] = 0;
    if (there != 0) decoded.fields[i].status[row] = rx_cut_field;
  }
}

void RecordCodec::copy_into_form(const RecordSource& source, DecodedRecords& decoded, Masks& present) const {
  decoded.stride = static_cast<std::int64_t>(columns_.length);
  decoded.form.assign(source.count * columns_.length, blank_);
  decoded.records = decoded.form.data();
  present.assign(fields_.size(), std::vector<std::uint8_t>(source.count, 1));
  for (std::size_t row = 0; row < source.count; ++row) {
    const std::string_view record = source.record(row);
    Slide slide(columns_, options_.shift);
    const VariableTable* const wrong =
        slide.take([&](const VariableTable& table, std::size_t offset) -> std::optional<std::size_t> {
          if (offset + table.item->depends_on->length > record.size()) return std::nullopt;
          return count_of(static_cast<std::size_t>(&table - columns_.tables.data()), record.data() + offset);
        });
    copy_record(slide, record, row, decoded, present);
    if (wrong == nullptr) continue;
    const std::size_t count = find(wrong->item->depends_on->name);
    decoded.fields[count == no_index ? 0 : count].status[row] = rx_count;
  }
}

void RecordCodec::apply_indicators(const DecodedRecords& decoded, std::size_t count, Masks& present,
                                   std::vector<DecodedCells>& fields) const {
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    const std::size_t indicator = fields_[i]->column().indicator;
    if (indicator == no_index) continue;
    if (present.empty()) present.resize(fields_.size());
    if (present[i].empty()) present[i].assign(count, 1);
    for (std::size_t row = 0; row < count; ++row) {
      const char said = decoded.records[static_cast<std::int64_t>(row) * decoded.stride +
                                        static_cast<std::int64_t>(columns_.indicators[indicator].offset)];
      if (said == indicates_value) continue;
      present[i][row] = 0;
      if (said != indicates_null) fields[i].status[row] = rx_broken_indicator;
    }
  }
}

// No masks: all fields are written.
void RecordCodec::write_indicators(const std::vector<CellColumn>& cells, std::size_t count, const Masks& chosen,
                                   char* form) const {
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    const std::size_t indicator = fields_[i]->column().indicator;
    if (indicator == no_index) continue;
    char* at = form + columns_.indicators[indicator].offset;
    for (std::size_t row = 0; row < count; ++row, at += columns_.length)
      if (chosen.empty() || chosen[i][row] != 0) *at = cells[i].is_null(row) ? indicates_null : indicates_value;
  }
}

// A meaning holds where all its cells could be read; one that does not is null. Where none holds, the first is refused.
void RecordCodec::settle_meanings(std::size_t count, DecodedRecords& decoded) const {
  decoded.unreadable.assign(fields_.size(), {});
  for (std::size_t at = columns_.areas.size(); at-- > 0;) {
    std::vector<std::vector<std::size_t>> parts(columns_.areas[at].meanings.size());
    for (std::size_t i = 0; i < fields_.size(); ++i)
      for (const MeaningOfArea& meaning : fields_[i]->column().meanings)
        if (meaning.area == at) parts[meaning.meaning].push_back(i);
    for (std::size_t row = 0; row < count; ++row) {
      std::vector<bool> holds(parts.size());
      bool any = false;
      for (std::size_t m = 0; m < parts.size(); ++m) {
        holds[m] = std::all_of(parts[m].begin(), parts[m].end(),
                               [&](std::size_t i) { return decoded.fields[i].status[row] == ZVRT_RC_OK; });
        any = any || (holds[m] && !parts[m].empty());
      }
      for (std::size_t m = 0; m < parts.size(); ++m) {
        if (holds[m] || (!any && m == 0)) continue;
        for (const std::size_t i : parts[m]) {
          if (decoded.unreadable[i].empty()) decoded.unreadable[i].assign(count, 0);
          decoded.unreadable[i][row] = decoded.fields[i].status[row] != ZVRT_RC_OK ? 1 : 0;
          decoded.fields[i].status[row] = ZVRT_RC_OK;
          decoded.fields[i].lengths[row] = null_cell;
        }
      }
    }
  }
}

void RecordCodec::decode(const RecordSource& source, DecodedRecords& decoded) const {
  Masks present;
  decoded.fields.resize(fields_.size());
  for (DecodedCells& cells : decoded.fields) cells.status.assign(source.count, ZVRT_RC_OK);
  if (in_one_form(source)) {
    decoded.records = source.data + source.starts[0];
    decoded.stride = source.stride;
  } else {
    copy_into_form(source, decoded, present);
  }
  apply_indicators(decoded, source.count, present, decoded.fields);
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    const bool masked = !present.empty() && !present[i].empty();
    const std::vector<Status> before = masked ? decoded.fields[i].status : std::vector<Status>();
    const FieldBytes bytes{const_cast<char*>(decoded.records) + fields_[i]->column().offset, decoded.stride,
                           source.count};
    fields_[i]->decode(bytes, masked ? present[i].data() : nullptr, decoded.fields[i]);
    for (std::size_t row = 0; row < before.size(); ++row)
      if (before[row] != ZVRT_RC_OK) decoded.fields[i].status[row] = before[row];
  }
  settle_meanings(source.count, decoded);
  decoded.refused.assign(source.count, 0);
  for (const DecodedCells& cells : decoded.fields)
    for (std::size_t row = 0; row < source.count; ++row)
      if (cells.status[row] != ZVRT_RC_OK) decoded.refused[row] = 1;
}

}  // namespace zvrt::records
