#include "records/arrow/text_cells.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <set>

#include "records/files/failure.h"

namespace zvrt::records {
namespace {

constexpr std::int32_t prefix_bytes = 2;
constexpr std::int32_t number_bytes = 176;  // the longest number as text
constexpr std::int32_t most_varchar_bytes = 32767;
constexpr std::int64_t staging_bytes = 1 << 20;
constexpr std::string_view record_number = "RECORD_NUMBER";

}  // namespace

TextCells::TextCells(const RecordCodec& codec, const ArrowSchema& schema, std::vector<OtherColumn> others)
    : codec_(codec), others_(std::move(others)), cells_(columns()), status_(columns()) {
  match(schema);
  make_plan();
  rows_ = std::max<std::int64_t>(staging_bytes / record_bytes_, 1);
}

const std::string& TextCells::name_of_column(std::size_t column) const {
  const std::size_t fields = codec_.fields().size();
  return column < fields ? codec_.fields()[column]->column().name : others_[column - fields].name;
}

bool TextCells::may_lack(std::size_t column) const {
  const std::size_t fields = codec_.fields().size();
  if (column >= fields) return others_[column - fields].may_lack;
  return !codec_.fields()[column]->column().meanings.empty() || !codec_.fields()[column]->column().entries.empty();
}

// Bytes of the longest text that the column may take: three a character are enough for what has a byte in a page.
std::int32_t TextCells::text_bytes(std::size_t column) const {
  const std::size_t fields = codec_.fields().size();
  if (column >= fields) return others_[column - fields].most_bytes;
  return std::max(number_bytes, static_cast<std::int32_t>(3 * codec_.fields()[column]->length()));
}

void TextCells::match(const ArrowSchema& schema) {
  if (schema.format == nullptr || std::string_view(schema.format) != "+s")
    throw Failure("the data is no table: a struct of columns is wanted");
  std::set<std::size_t> told;
  for (std::int64_t i = 0; i < schema.n_children; ++i) {
    const ArrowSchema* const child = schema.children == nullptr ? nullptr : schema.children[i];
    if (child == nullptr) throw Failure("the data's schema is malformed");
    const std::string name = child->name == nullptr ? "" : child->name;
    std::size_t field = 0;
    while (field < columns() && name_of_column(field) != name) ++field;
    if (field == columns() && name == record_number) continue;
    if (field == columns()) throw Failure(fmt::format("the layout has no column '{}'", name));
    if (!told.insert(field).second) throw Failure(fmt::format("the data has two columns '{}'", name));
    children_.push_back(static_cast<std::size_t>(i));
    staged_.emplace_back().field = field;
  }
  for (std::size_t field = 0; field < columns(); ++field)
    if (!told.contains(field) && !may_lack(field))
      throw Failure(fmt::format("the data has no column '{}'", name_of_column(field)));
}

void TextCells::make_plan() {
  std::int64_t offset = 0;
  std::vector<ZVRTType> types(staged_.size());
  std::vector<ZVRTField> fields;
  for (std::size_t i = 0; i < staged_.size(); ++i) {
    Staged& staged = staged_[i];
    const std::int32_t longest = text_bytes(staged.field);
    staged.terminated = longest > most_varchar_bytes;
    staged.indicator = static_cast<std::int32_t>(offset);
    staged.slot = staged.indicator + prefix_bytes;
    staged.slot_bytes = longest + (staged.terminated ? 1 : prefix_bytes);
    offset += prefix_bytes + staged.slot_bytes;
    if (offset > std::numeric_limits<std::int32_t>::max()) throw Failure("the records are too long to be written");
    types[i].size = sizeof(ZVRTType);
    types[i].kind = staged.terminated ? ZVRT_KIND_VARCHAR_SZ : ZVRT_KIND_VARCHAR;
    types[i].length = staged.slot_bytes;
    if (staged.field < codec_.fields().size()) types[i].model = codec_.fields()[staged.field]->table_model();
    fields.push_back({sizeof(ZVRTField), staged.slot, staged.indicator, ZVRT_COLUMN_DEFAULT,
                      name_of_column(staged.field).c_str(), &types[i]});
  }
  record_bytes_ = std::max(static_cast<std::int32_t>(offset), 1);
  ZVRTRecordPlan* plan = nullptr;
  ZVRTProblem why{};
  why.size = sizeof why;
  const Status status =
      ZVRTRecordPlanCreate(fields.data(), static_cast<std::int32_t>(fields.size()), record_bytes_, 0, &plan, &why);
  if (status != ZVRT_RC_OK) throw Failure(fmt::format("{}: {}", name_of(status), static_cast<const char*>(why.text)));
  plan_.reset(plan);
}

// Of the columns that are fields, without a copy of them.
Status TextCells::convert(const ArrowSchema& schema, const ArrowArray& array, std::int64_t first, std::int64_t count,
                          char* to, std::vector<ZVRTOutcome>& outcomes) const {
  std::vector<ArrowSchema*> types;
  std::vector<ArrowArray*> columns;
  for (const std::size_t child : children_) {
    types.push_back(schema.children[child]);
    columns.push_back(array.children[child]);
  }
  ArrowSchema wanted = schema;
  wanted.n_children = static_cast<std::int64_t>(types.size());
  wanted.children = types.data();
  ArrowArray rows = array;
  rows.n_children = wanted.n_children;
  rows.children = columns.data();
  rows.offset += first;
  rows.length = count;
  rows.null_count = -1;
  outcomes.assign(staged_.size(), ZVRTOutcome{sizeof(ZVRTOutcome), 0, 0, 0, 0, 0, 0});
  return ZVRTArrowToRecords(plan_.get(), &wanted, &rows, to, outcomes.empty() ? nullptr : outcomes.data());
}

void TextCells::load(const ArrowSchema& schema, const ArrowArray& array, std::int64_t first, std::int64_t count) {
  if (array.n_children != schema.n_children || first < 0 || count < 0 || first > array.length - count ||
      (array.n_children != 0 && array.children == nullptr))
    throw Failure("the data's array is malformed");
  for (std::int64_t i = 0; i < array.n_children; ++i)
    if (array.children[i] == nullptr) throw Failure("the data's array is malformed");
  records_.assign(static_cast<std::size_t>(count * record_bytes_), '\0');
  for (std::vector<Status>& status : status_) status.assign(static_cast<std::size_t>(count), ZVRT_RC_OK);
  std::vector<ZVRTOutcome> outcomes;
  const Status status = convert(schema, array, first, count, records_.data(), outcomes);
  if (status == ZVRT_RC_NO_MEMORY) throw std::bad_alloc();
  if (status != ZVRT_RC_OK) throw Failure(fmt::format("{}: {}", name_of(status), text_of(status)));
  if (std::any_of(outcomes.begin(), outcomes.end(), [](const ZVRTOutcome& outcome) { return outcome.refused != 0; }))
    find_refused(schema, array, first, count);
  read_cells(count);
}

// Row by row: an outcome names the first refused value only.
void TextCells::find_refused(const ArrowSchema& schema, const ArrowArray& array, std::int64_t first,
                             std::int64_t count) {
  std::vector<char> record(static_cast<std::size_t>(record_bytes_));
  std::vector<ZVRTOutcome> outcomes;
  for (std::int64_t row = 0; row < count; ++row) {
    if (convert(schema, array, first + row, 1, record.data(), outcomes) != ZVRT_RC_OK) continue;
    for (std::size_t i = 0; i < staged_.size(); ++i)
      if (outcomes[i].refused != 0) status_[staged_[i].field][static_cast<std::size_t>(row)] = outcomes[i].firstStatus;
  }
}

void TextCells::read_cells(std::int64_t count) {
  no_lengths_.assign(static_cast<std::size_t>(count), null_cell);
  no_starts_.assign(static_cast<std::size_t>(count), 0);
  for (CellColumn& cells : cells_) cells = {records_.data(), 0, no_starts_.data(), no_lengths_.data()};
  for (Staged& staged : staged_) {
    staged.starts.resize(static_cast<std::size_t>(count));
    staged.lengths.resize(static_cast<std::size_t>(count));
    for (std::size_t row = 0; row < staged.starts.size(); ++row) {
      const std::size_t record = row * static_cast<std::size_t>(record_bytes_);
      const char* const slot = records_.data() + record + staged.slot;
      std::int16_t indicator = 0;
      std::int16_t prefix = 0;
      std::memcpy(&indicator, records_.data() + record + staged.indicator, sizeof indicator);
      std::memcpy(&prefix, slot, sizeof prefix);
      const bool is_null = indicator < 0 || status_[staged.field][row] != ZVRT_RC_OK;
      const std::size_t length = staged.terminated ? strnlen(slot, static_cast<std::size_t>(staged.slot_bytes))
                                                   : static_cast<std::size_t>(prefix);
      staged.starts[row] = static_cast<std::int64_t>(record) + staged.slot + (staged.terminated ? 0 : prefix_bytes);
      staged.lengths[row] = is_null ? null_cell : static_cast<std::int32_t>(length);
    }
    cells_[staged.field] = {records_.data(), 0, staged.starts.data(), staged.lengths.data()};
  }
}

}  // namespace zvrt::records
