#include "merged_rows.h"

#include <fmt/format.h>

#include <algorithm>

#include "kept_bytes.h"
#include "read_ahead.h"
#include "records/files/failure.h"

namespace zvrt::records {

MergedRows::MergedRows(const Job& job, bool encodes, bool ahead)
    : job_(job), encodes_(encodes), keeps_(job.arguments.keep_bytes), sources_(job.segments.size()) {
  for (std::size_t s = 0; s < sources_.size(); ++s) {
    sources_[s].segment = &job.segments[s];
    sources_[s].reader = open_table(job.segments[s].table, job.segments[s].columns, job.table);
    if (ahead) sources_[s].reader = std::make_unique<ReadAhead>(std::move(sources_[s].reader));
    load(sources_[s]);
  }
}

void MergedRows::load(Source& source) {
  source.at = 0;
  source.ended = !source.reader->next(source.block);
  if (source.ended) return;
  source.fields.clear();
  const std::size_t count = source.segment->codec->fields().size();
  for (std::size_t i = 0; i < count; ++i) source.fields.push_back(source.block.column(source.segment->first_field + i));
  if (encodes_) encode(source);
  find_number(source);
}

void MergedRows::encode(Source& source) const {
  const std::size_t rows = source.block.rows;
  const RecordCodec& codec = *source.segment->codec;
  source.broken.assign(rows, {});
  if (!keeps_) return codec.encode(source.fields, rows, nullptr, source.encoded);
  std::vector<std::string> bases;
  read_kept_bytes(source, bases);
  codec.encode(source.fields, rows, &bases, source.encoded);
}

// The columns after the fields: the record as it was, and what stood around it in its file.
void MergedRows::read_kept_bytes(Source& source, std::vector<std::string>& records) {
  const std::size_t rows = source.block.rows;
  records.assign(rows, {});
  source.around.assign(rows, {});
  const Segment& segment = *source.segment;
  for (std::size_t i = segment.first_field + segment.codec->fields().size(); i < segment.columns.size(); ++i) {
    const std::string_view name = segment.columns[i].name;
    const CellColumn cells = source.block.column(i);
    for (std::size_t row = 0; row < rows; ++row) {
      const bool is_read = take_kept(name, cells, row, records[row], source.around[row]);
      if (!is_read && source.broken[row].empty()) source.broken[row] = name;
    }
  }
}

void MergedRows::find_number(Source& source) const {
  if (!job_.has_segments()) {
    source.number = source.block.first + source.at;
    return;
  }
  const CellColumn numbers = source.block.column(0);
  const std::string text(numbers.is_null(source.at) ? "" : numbers.at(source.at));
  if (!from_digits(text, source.number))
    throw Failure(fmt::format("{}: RECORD_NUMBER '{}' of row {} is no number", source.segment->table.shown(), text,
                              source.block.first + source.at));
}

MergedRows::Source* MergedRows::next() {
  if (last_ != nullptr) {
    const std::uint64_t before = last_->number;
    if (++last_->at == last_->block.rows) load(*last_);
    if (!last_->ended) find_number(*last_);
    if (!last_->ended && last_->number < before)
      throw Failure(
          fmt::format("{}: RECORD_NUMBER {} stands after {}", last_->segment->table.shown(), last_->number, before));
  }
  last_ = nullptr;
  for (Source& source : sources_)
    if (!source.ended && (last_ == nullptr || source.number < last_->number)) last_ = &source;
  return last_;
}

}  // namespace zvrt::records
