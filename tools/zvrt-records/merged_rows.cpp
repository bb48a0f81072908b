#include "merged_rows.h"

#include "read_ahead.h"

namespace zvrt::records {

MergedRows::MergedRows(const Job& job, bool encodes, bool ahead)
    : job_(job), encodes_(encodes), keeps_(job.arguments.keep_bytes), sources_(job.segments.size()) {
  for (std::size_t s = 0; s < sources_.size(); ++s) {
    sources_[s].segment = &job.segments[s];
    sources_[s].reader = open_table(job.segments[s].table, job.segments[s].columns, job.table);
    if (ahead) sources_[s].reader = std::make_unique<ReadAhead>(std::move(sources_[s].reader));
    load(sources_[s]);
    if (!sources_[s].ended) find_number(sources_[s]);
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
}

void MergedRows::encode(Source& source) const {
  const std::size_t rows = source.block.rows;
  const Segment& segment = *source.segment;
  if (!keeps_) return segment.codec->encode(source.fields, rows, nullptr, source.encoded);
  source.kept.emplace(rows);
  for (std::size_t i = segment.first_field + segment.codec->fields().size(); i < segment.columns.size(); ++i)
    source.kept->take(segment.columns[i].name, source.block.column(i), [](std::size_t) { return true; });
  segment.codec->encode(source.fields, rows, &source.kept->records, source.encoded);
}

void MergedRows::find_number(Source& source) const {
  const std::uint64_t row = source.block.first + source.at;
  source.number = job_.has_segments() ? record_number(source.segment->table.shown(), source.block.column(0), source.at,
                                                      row, source.number)
                                      : row;
}

MergedRows::Source* MergedRows::next() {
  if (last_ != nullptr) {
    if (++last_->at == last_->block.rows) load(*last_);
    if (!last_->ended) find_number(*last_);
  }
  last_ = nullptr;
  for (Source& source : sources_)
    if (!source.ended && (last_ == nullptr || source.number < last_->number)) last_ = &source;
  return last_;
}

}  // namespace zvrt::records
