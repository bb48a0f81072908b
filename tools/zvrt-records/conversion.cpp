#include "conversion.h"

#include <fmt/format.h>

#include <algorithm>

#include "records/tables/hexadecimal.h"

namespace zvrt::records {
namespace {

constexpr std::size_t batch_bytes = 1 << 18;  // of cells: half of a usual second-level cache and less
constexpr std::size_t wide_bytes = 1 << 21;   // where rows are so long that few would fit
constexpr std::size_t few_rows = 16;

std::size_t rows_in_batch(const Job& job) {
  std::size_t row = 1;
  for (const Segment& segment : job.segments) {
    std::size_t bytes = segment.codec->columns().length;
    for (const auto& field : segment.codec->fields()) bytes += field->slot() + sizeof(std::int32_t) + sizeof(Status);
    row = std::max(row, bytes);
  }
  return std::max({batch_bytes / row, std::min(few_rows, wide_bytes / row), std::size_t{1}});
}

Refusal refusal_of(const Damage& damage) {
  return {
      damage.record, "",
      damage.offset, damage.first,
      rx_damage,     fmt::format("{}, byte {}: {}; {} bytes", damage.file, damage.offset, damage.why, damage.bytes)};
}

std::string_view bytes_of(const RecordBlock& records, std::size_t row) {
  return {records.bytes.data() + records.starts[row], static_cast<std::size_t>(records.lengths[row])};
}

}  // namespace

Conversion::Conversion(const Job& job, const Tables& tables)
    : job_(job),
      tables_(tables),
      router_(job),
      keeps_batches_(!tables.empty() && !tables.front()->is_text()),
      rows_in_batch_(rows_in_batch(job)) {}

void Conversion::convert(BlockOfImport& block) const {
  const RecordBlock& records = block.records;
  block.longer = 0;
  block.findings.begin(job_);
  block.used = 0;
  block.texts.resize(job_.segments.size());
  for (TextBuffer& text : block.texts) text.clear();
  std::size_t begin =
      records.first < job_.first ? std::min<std::uint64_t>(job_.first - records.first, records.count()) : 0;
  const std::size_t end =
      records.first > job_.last() ? 0 : std::min<std::uint64_t>(job_.last() - records.first + 1, records.count());
  auto damage = records.damages.begin();
  do {
    const std::size_t next = std::max(begin, std::min(begin + rows_in_batch_, end));
    std::vector<Refusal> refusals;
    for (; damage != records.damages.end() && (next >= end || damage->record < records.first + next); ++damage) {
      if (damage->record < job_.first) continue;
      ++block.findings.left_out;
      refusals.push_back(refusal_of(*damage));
    }
    if (begin < next) convert_batch(block, begin, next, refusals);
    std::stable_sort(refusals.begin(), refusals.end(),
                     [](const Refusal& one, const Refusal& other) { return one.record < other.record; });
    for (const Refusal& refusal : refusals) block.findings.refuse(refusal);
    begin = next;
  } while (begin < end);
}

void Conversion::convert_batch(BlockOfImport& block, std::size_t begin, std::size_t end,
                               std::vector<Refusal>& refusals) const {
  const RecordBlock& records = block.records;
  block.findings.read += end - begin;
  const Routed routed = router_.route(records, begin, end);
  for (const std::size_t row : routed.unknown) {
    ++block.findings.left_out;
    refusals.push_back({records.first + row, job_.segments.front().field, 0, bytes_of(records, row), rx_unknown_segment,
                        text_of(rx_unknown_segment)});
  }
  for (std::size_t s = 0; s < job_.segments.size(); ++s)
    if (!routed.rows[s].empty())
      convert_segment(s, routed.rows[s], routed.rows[s].size() == end - begin, block, refusals);
}

Batch& Conversion::next_batch(std::size_t segment, BlockOfImport& block) const {
  const std::size_t place = keeps_batches_ ? block.used++ : segment;
  while (place >= block.batches.size()) block.batches.push_back(std::make_unique<Batch>());
  return *block.batches[place];
}

void Conversion::convert_segment(std::size_t segment, const Rows& rows, bool all, BlockOfImport& block,
                                 std::vector<Refusal>& refusals) const {
  const RecordBlock& records = block.records;
  const RecordCodec& codec = *job_.segments[segment].codec;
  std::vector<std::int64_t> starts;
  std::vector<std::int32_t> lengths;
  starts.reserve(rows.size());
  lengths.reserve(rows.size());
  for (const std::size_t row : rows) {
    starts.push_back(records.starts[row]);
    lengths.push_back(records.lengths[row]);
    if (static_cast<std::size_t>(lengths.back()) > codec.length()) ++block.longer;
  }
  Batch& batch = next_batch(segment, block);
  batch.segment = segment;
  batch.records = rows;
  codec.decode({records.bytes.data(), all ? records.stride : 0, starts.data(), lengths.data(), rows.size()},
               batch.decoded);
  refuse_null_texts(batch.decoded, rows.size());
  count(batch, rows, block, refusals);
  batch.rows.rows.clear();
  for (std::size_t row = 0; row < rows.size(); ++row)
    if (batch.decoded.refused[row] == 0 || job_.arguments.on_reject == OnReject::keep)
      batch.rows.rows.push_back(static_cast<std::uint32_t>(row));
  block.findings.carried += batch.rows.rows.size();
  block.findings.left_out += rows.size() - batch.rows.rows.size();
  if (tables_.empty()) return;
  add_extras(batch, rows, records);
  if (!keeps_batches_) tables_[segment]->format(batch.rows, block.texts[segment]);
}

// A text that stands for a null in the CSV file cannot be a value there.
void Conversion::refuse_null_texts(DecodedRecords& decoded, std::size_t count) const {
  if (!job_.table.null_text) return;
  for (DecodedCells& cells : decoded.fields)
    for (std::size_t row = 0; row < count; ++row)
      if (cells.lengths[row] != null_cell && cells.cells().at(row) == *job_.table.null_text) {
        cells.status[row] = rx_reads_as_null;
        cells.lengths[row] = null_cell;
        decoded.refused[row] = 1;
      }
}

void Conversion::count(const Batch& batch, const Rows& rows, BlockOfImport& block,
                       std::vector<Refusal>& refusals) const {
  const DecodedRecords& decoded = batch.decoded;
  const auto& fields = job_.segments[batch.segment].codec->fields();
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const DecodedCells& cells = decoded.fields[i];
    FieldCounts& counts = block.findings.fields[batch.segment][i];
    Status any = ZVRT_RC_OK;
    std::uint64_t nulls = 0;
    for (std::size_t row = 0; row < rows.size(); ++row) {
      any |= cells.status[row];
      nulls += cells.lengths[row] == null_cell ? 1U : 0U;
    }
    std::uint64_t refused = 0;
    for (std::size_t row = 0; any != ZVRT_RC_OK && row < rows.size(); ++row) {
      if (cells.status[row] == ZVRT_RC_OK) continue;
      ++refused;
      ++counts.refused[cells.status[row]];
      const char* const at = decoded.records + static_cast<std::int64_t>(row) * decoded.stride +
                             static_cast<std::int64_t>(fields[i]->column().offset);
      const std::string_view bytes(at, fields[i]->length());
      refusals.push_back({block.records.first + rows[row], fields[i]->column().field, fields[i]->column().offset, bytes,
                          cells.status[row], fields[i]->explain_decode(bytes, cells.status[row])});
    }
    std::uint64_t unreadable = 0;
    for (const std::uint8_t each : decoded.unreadable[i]) unreadable += each;
    counts.converted += rows.size() - nulls;
    counts.unreadable += unreadable;
    counts.nulls += nulls - refused - unreadable;
  }
}

// RECORD_NUMBER, RECORD_BYTES and what stands around the record.
void Conversion::add_extras(Batch& batch, const Rows& rows, const RecordBlock& records) const {
  const Segment& segment = job_.segments[batch.segment];
  const std::size_t after = segment.first_field + batch.decoded.fields.size();
  CellBlock& extras = batch.extras;
  extras.columns.resize(segment.columns.size() - batch.decoded.fields.size());
  extras.clear();
  for (std::size_t i = 0; i < extras.columns.size(); ++i) {
    const std::string& name = segment.columns[i < segment.first_field ? i : after + i - segment.first_field].name;
    for (const std::size_t row : rows) {
      if (name == "RECORD_NUMBER") extras.add(i, std::to_string(records.first + row));
      if (name == "RECORD_BYTES") extras.add(i, hexadecimal(bytes_of(records, row)));
      if (name == "BYTES_BEFORE") extras.add(i, hexadecimal(records.surroundings[row].before));
      if (name == "BYTES_AFTER") extras.add(i, hexadecimal(records.surroundings[row].after));
      if (name == "BLOCK_NUMBER") extras.add(i, std::to_string(records.surroundings[row].block));
    }
  }
  batch.rows.columns.clear();
  for (std::size_t i = 0; i < segment.first_field; ++i) batch.rows.columns.push_back(extras.column(i));
  for (const DecodedCells& cells : batch.decoded.fields) batch.rows.columns.push_back(cells.cells());
  for (std::size_t i = segment.first_field; i < extras.columns.size(); ++i)
    batch.rows.columns.push_back(extras.column(i));
}

}  // namespace zvrt::records
