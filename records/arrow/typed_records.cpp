#include "records/arrow/typed_records.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include "records/files/failure.h"

namespace zvrt::records {
namespace {

constexpr std::int32_t integer_bytes = 8;
constexpr std::int32_t decimal_bytes = 16;
constexpr int most_digits = 38;
constexpr int integer_digits = 18;  // of what becomes an int64

void check(Status status) {
  if (status == ZVRT_RC_NO_MEMORY) throw std::bad_alloc();
  if (status != ZVRT_RC_OK) throw Failure(fmt::format("{}: {}", name_of(status), text_of(status)));
}

struct ReleaseSchema {
  ArrowSchema it{};
  ReleaseSchema() = default;
  ReleaseSchema(const ReleaseSchema&) = delete;
  ReleaseSchema& operator=(const ReleaseSchema&) = delete;
  ~ReleaseSchema() {
    if (it.release != nullptr) it.release(&it);
  }
};

bool needs_care(const Field& field) {
  const Column& column = field.column();
  return field.record_type() == nullptr || field.has_null_form() || field.refuses_low_values() ||
         column.indicator != no_index || !column.meanings.empty() || !column.entries.empty();
}

std::vector<char> all_valid(std::int64_t rows) {
  std::vector<char> bits(static_cast<std::size_t>((rows + 7) / 8) + 1, '\xFF');
  return bits;
}

// With the stride of records at equal distances, which the codec need not copy.
RecordSource source_of(const RowsOfBlock& rows) {
  RecordSource source{rows.data, 0, rows.starts.data(), rows.lengths.data(), rows.count()};
  if (rows.count() == 0) return source;
  const std::int64_t stride = rows.count() > 1 ? rows.starts[1] - rows.starts[0] : rows.lengths[0];
  for (std::size_t row = 1; row < rows.count(); ++row)
    if (rows.starts[row] - rows.starts[row - 1] != stride || rows.lengths[row] != rows.lengths[0]) return source;
  source.stride = stride;
  return source;
}

// A column of bytes: of each row what `bytes_of` gives.
template <class BytesOf>
BatchColumn bytes_column(std::size_t rows, BytesOf bytes_of) {
  BatchColumn column;
  column.buffer_count = 3;
  column.made.emplace_back((rows + 1) * sizeof(std::int32_t));
  std::vector<char> bytes;
  for (std::size_t row = 0; row < rows; ++row) {
    const std::string_view of_row = bytes_of(row);
    bytes.insert(bytes.end(), of_row.begin(), of_row.end());
    if (bytes.size() > std::numeric_limits<std::int32_t>::max()) throw Failure("a batch has too many bytes");
    const auto end = static_cast<std::int32_t>(bytes.size());
    std::memcpy(column.made[0].data() + (row + 1) * sizeof end, &end, sizeof end);
  }
  bytes.push_back('\0');  // so that it has a place
  column.made.push_back(std::move(bytes));
  column.buffers[1] = column.made[0].data();
  column.buffers[2] = column.made[1].data();
  return column;
}

BatchColumn numbers_column(const std::vector<std::uint64_t>& numbers) {
  BatchColumn column;
  column.made.emplace_back(numbers.size() * sizeof(std::uint64_t) + 1);
  if (!numbers.empty()) std::memcpy(column.made[0].data(), numbers.data(), numbers.size() * sizeof(std::uint64_t));
  column.buffers[1] = column.made[0].data();
  return column;
}

BatchColumn kept_column(const std::string& name, const RowsOfBlock& rows) {
  if (name == "RECORD_BYTES")
    return bytes_column(rows.count(), [&](std::size_t row) {
      return std::string_view(rows.data + rows.starts[row], static_cast<std::size_t>(rows.lengths[row]));
    });
  if (name == "BYTES_BEFORE")
    return bytes_column(rows.count(), [&](std::size_t row) { return std::string_view(rows.around[row]->before); });
  if (name == "BYTES_AFTER")
    return bytes_column(rows.count(), [&](std::size_t row) { return std::string_view(rows.around[row]->after); });
  std::vector<std::uint64_t> blocks;
  for (const Surroundings* const around : rows.around) blocks.push_back(around->block);
  return numbers_column(blocks);
}

void clear_bit(std::vector<char>& bits, std::size_t row) {
  bits[row / 8] = static_cast<char>(static_cast<unsigned char>(bits[row / 8]) & ~(1U << (row % 8)));
}

}  // namespace

void RowsOfBlock::keep(const std::vector<std::uint8_t>& chosen) {
  std::size_t kept = 0;
  for (std::size_t row = 0; row < count(); ++row) {
    if (chosen[row] == 0) continue;
    starts[kept] = starts[row];
    lengths[kept] = lengths[row];
    if (!around.empty()) around[kept] = around[row];
    numbers[kept++] = numbers[row];
  }
  if (!around.empty()) around.resize(kept);
  starts.resize(kept);
  lengths.resize(kept);
  numbers.resize(kept);
}

// The two views of some rows. Without `codec` no field needs care.
struct TypedRecords::View {
  const RecordCodec* codec = nullptr;
  bool all = false;  // it is the whole codec
  DecodedRecords decoded;
  std::vector<ZVRTOutcome> outcomes;
  std::shared_ptr<Batch> batch;

  const DecodedCells* cells(const FieldPlan& field, std::size_t index) const {
    const std::size_t at = all ? index : field.careful;
    return codec == nullptr || at == no_index ? nullptr : &decoded.fields[at];
  }
};

TypedRecords::TypedRecords(const RecordCodec& codec, const CodecOptions& options, bool record_numbers,
                           std::vector<std::string> kept)
    : codec_(codec), fields_(codec.fields().size()), record_numbers_(record_numbers), kept_(std::move(kept)) {
  std::vector<ZVRTField> fields;
  std::vector<std::string> careful;
  for (std::size_t i = 0; i < fields_.size(); ++i) add_field(i, fields, careful);
  if (!careful.empty()) careful_ = std::make_unique<RecordCodec>(codec.columns(), options, codec.options(), careful);
  planned_ = fields.size();
  ZVRTRecordPlan* plan = nullptr;
  ZVRTProblem why{};
  why.size = sizeof why;
  const Status status = ZVRTRecordPlanCreate(fields.data(), static_cast<std::int32_t>(fields.size()),
                                             static_cast<std::int32_t>(codec.columns().length), 0, &plan, &why);
  if (status != ZVRT_RC_OK) throw Failure(fmt::format("{}: {}", name_of(status), static_cast<const char*>(why.text)));
  plan_.reset(plan);
  read_formats();
}

void TypedRecords::add_field(std::size_t index, std::vector<ZVRTField>& fields, std::vector<std::string>& careful) {
  const Field& field = *codec_.fields()[index];
  FieldPlan& made = fields_[index];
  if (needs_care(field)) {
    made.careful = careful.size();
    careful.push_back(field.column().name);
  }
  if (field.record_type() != nullptr) {
    made.planned = true;
    made.child = fields.size();
    fields.push_back({sizeof(ZVRTField), static_cast<std::int32_t>(field.column().offset), -1, ZVRT_COLUMN_DEFAULT,
                      field.column().name.c_str(), field.record_type()});
    return;
  }
  const Item& item = *field.column().item;
  const bool edited = item.picture.category == Category::numeric_edited;
  const bool integer = edited ? item.scale <= 0 && item.digits - item.scale <= integer_digits
                              : field.table_column().type == TableColumn::Type::integer;
  ZVRTType text{};
  text.size = sizeof text;
  text.kind = ZVRT_KIND_CHAR;
  ZVRTType number{};
  number.size = sizeof number;
  number.kind = integer ? ZVRT_KIND_INT : ZVRT_KIND_DECIMAL;
  made.width = number.length = integer ? integer_bytes : decimal_bytes;
  if (!integer) {
    number.precision = most_digits;
    number.scale = static_cast<std::int16_t>(std::max(item.scale, 0));
  }
  made.from_text = make_plan(text, number, field.column().field);
}

void TypedRecords::read_formats() {
  ReleaseSchema planned;
  check(ZVRTRecordSchema(plan_.get(), &planned.it));
  auto schema = std::make_shared<BatchSchema>();
  if (record_numbers_) schema->push_back({"RECORD_NUMBER", "l"});
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    const Column& column = codec_.fields()[i]->column();
    std::string format = "l";
    if (fields_[i].planned)
      format = planned.it.children[fields_[i].child]->format;
    else if (fields_[i].width == decimal_bytes)
      format = fmt::format("d:{},{}", most_digits, std::max(column.item->scale, 0));
    schema->push_back({column.name, format});
  }
  for (const std::string& name : kept_) schema->push_back({name, name == "BLOCK_NUMBER" ? "l" : "z"});
  schema_ = std::move(schema);
}

// Records that have every field where the layout says so stand as they are; others are copied into one form.
void TypedRecords::view(const RowsOfBlock& rows, View& view) const {
  const auto needed = static_cast<std::int32_t>(codec_.columns().length);
  view.all = !codec_.columns().tables.empty() || std::any_of(rows.lengths.begin(), rows.lengths.end(),
                                                             [&](std::int32_t length) { return length < needed; });
  view.codec = view.all ? &codec_ : careful_.get();
  if (view.codec != nullptr) view.codec->decode(source_of(rows), view.decoded);
  view.batch = std::make_shared<Batch>();
  Batch& batch = *view.batch;
  batch.schema = schema_;
  batch.rows = static_cast<std::int64_t>(rows.count());
  view.outcomes.assign(planned_, ZVRTOutcome{sizeof(ZVRTOutcome), 0, 0, 0, 0, 0, 0});
  check(ZVRTRecordsToArrow(plan_.get(), view.all ? view.decoded.records : rows.data,
                           view.all ? nullptr : rows.starts.data(), batch.rows, &batch.array,
                           planned_ == 0 ? nullptr : view.outcomes.data()));
  if (record_numbers_) batch.columns.push_back(numbers_column(rows.numbers));
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    BatchColumn& column = batch.columns.emplace_back();
    if (!fields_[i].planned) {
      make_of_text(i, view, column);
      continue;
    }
    const ArrowArray& child = *batch.array.children[fields_[i].child];
    column.null_count = child.null_count;
    column.buffer_count = static_cast<int>(child.n_buffers);
    for (int b = 0; b < column.buffer_count; ++b) column.buffers[static_cast<std::size_t>(b)] = child.buffers[b];
    overlay(i, view, column);
  }
  for (const std::string& name : kept_) batch.columns.push_back(kept_column(name, rows));
}

// The nulls that the codec knows of beside those of the plan.
void TypedRecords::overlay(std::size_t field, const View& view, BatchColumn& column) const {
  const DecodedCells* const cells = view.cells(fields_[field], field);
  if (cells == nullptr) return;
  std::vector<char> bits;
  std::int64_t nulls = column.null_count;
  const auto rows = static_cast<std::size_t>(view.batch->rows);
  for (std::size_t row = 0; row < rows; ++row) {
    if (cells->lengths[row] != null_cell || column.is_null(static_cast<std::int64_t>(row))) continue;
    if (bits.empty()) {
      bits = all_valid(view.batch->rows);
      if (column.buffers[0] != nullptr) std::memcpy(bits.data(), column.buffers[0], (rows + 7) / 8);
    }
    clear_bit(bits, row);
    ++nulls;
  }
  if (!bits.empty()) column.set_validity(std::move(bits), nulls);
}

void TypedRecords::make_of_text(std::size_t field, View& view, BatchColumn& column) const {
  const FieldPlan& plan = fields_[field];
  DecodedCells& cells = view.decoded.fields[view.all ? field : plan.careful];
  const std::size_t rows = cells.lengths.size();
  column.made.emplace_back(rows * static_cast<std::size_t>(plan.width) + 1);
  column.buffers[1] = column.made[0].data();
  if (rows == 0) return;
  std::vector<Status> status(rows, ZVRT_RC_OK);
  std::vector<std::uint8_t> chosen(rows);
  for (std::size_t row = 0; row < rows; ++row) chosen[row] = cells.lengths[row] != null_cell ? 1 : 0;
  ZVRTArray from{};
  from.size = sizeof from;
  from.data = cells.slots.data();
  from.stride = static_cast<std::int64_t>(cells.slot);
  from.lengths = cells.lengths.data();
  from.lengthBytes = sizeof(std::int32_t);
  from.select = chosen.data();
  ZVRTArray to{};
  to.size = sizeof to;
  to.data = column.made[0].data();
  to.stride = plan.width;
  to.status = status.data();
  check(ZVRTPlanRun(plan.from_text.get(), &from, &to, static_cast<std::int64_t>(rows), nullptr));
  std::vector<char> bits = all_valid(static_cast<std::int64_t>(rows));
  std::int64_t nulls = 0;
  for (std::size_t row = 0; row < rows; ++row) {
    if (chosen[row] != 0 && status[row] != ZVRT_RC_OK) {
      cells.status[row] = status[row];
      cells.lengths[row] = null_cell;
    }
    if (cells.lengths[row] != null_cell) continue;
    clear_bit(bits, row);
    ++nulls;
  }
  if (nulls != 0) column.set_validity(std::move(bits), nulls);
}

RefusedCell TypedRecords::refusal(std::size_t field, std::uint64_t record, const char* at, Status status) const {
  const Field& of = *codec_.fields()[field];
  const std::string bytes(at + of.column().offset, of.length());
  return {record, of.column().field, of.column().offset, bytes, status, of.explain_decode(bytes, status)};
}

// A cell is refused where the codec says so, and where the plan has no value for one that the codec does not call null.
void TypedRecords::find_refused(const RowsOfBlock& rows, const View& view, std::vector<std::uint8_t>& good,
                                std::vector<RefusedCell>& refused) const {
  DecodedRecords exact;  // made once a plan alone refused something: it says why
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    const DecodedCells* const cells = view.cells(fields_[i], i);
    const ZVRTOutcome* const outcome = fields_[i].planned ? &view.outcomes[fields_[i].child] : nullptr;
    if (cells == nullptr && (outcome == nullptr || outcome->refused == 0)) continue;
    const BatchColumn& column = view.batch->columns[i + (record_numbers_ ? 1 : 0)];
    for (std::size_t row = 0; row < rows.count(); ++row) {
      Status status = cells != nullptr ? cells->status[row] : Status{ZVRT_RC_OK};
      if (status == ZVRT_RC_OK) {
        const bool has_value = cells == nullptr || cells->lengths[row] != null_cell;
        if (!has_value || !column.is_null(static_cast<std::int64_t>(row))) continue;
        if (exact.fields.empty()) codec_.decode(source_of(rows), exact);
        status = exact.fields[i].status[row];
        if (status == ZVRT_RC_OK) status = outcome != nullptr ? outcome->firstStatus : Status{ZVRT_RC_OUT_OF_RANGE};
      }
      good[row] = 0;
      const char* const at = view.codec != nullptr && view.all
                                 ? view.decoded.records + static_cast<std::int64_t>(row) * view.decoded.stride
                                 : rows.data + rows.starts[row];
      refused.push_back(refusal(i, rows.numbers[row], at, status));
    }
  }
}

SharedBatch TypedRecords::convert(RowsOfBlock rows, bool leave_out, std::vector<RefusedCell>& refused) const {
  View first;
  view(rows, first);
  std::vector<std::uint8_t> good(rows.count(), 1);
  const std::size_t before = refused.size();
  find_refused(rows, first, good, refused);
  if (refused.size() == before) return first.batch;
  if (!leave_out) return first.batch;
  rows.keep(good);
  View rest;
  view(rows, rest);
  return rest.batch;
}

}  // namespace zvrt::records
