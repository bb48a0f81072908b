#include "look.h"

#include "routing.h"

namespace zvrt::records {
namespace {

class Looker {
 public:
  Looker(const Job& job, std::size_t shown) : job_(job), router_(job), shown_(shown) {
    for (const Segment& segment : job.segments) look.tallies.emplace_back(segment.codec->fields().size());
  }

  void take(const RecordBlock& block) {
    look.damages.insert(look.damages.end(), block.damages.begin(), block.damages.end());
    const Routed routed = router_.route(block);
    look.records += block.count();
    look.unknown += routed.unknown.size();
    segment_of_.assign(block.count(), {no_index, 0});
    std::vector<DecodedRecords> decoded(job_.segments.size());
    for (std::size_t s = 0; s < job_.segments.size(); ++s) decode(s, block, routed.rows[s], decoded[s]);
    for (std::size_t row = 0; row < block.count(); ++row) {
      const auto [s, at] = segment_of_[row];
      const bool refused = s != no_index && decoded[s].refused[at] != 0;
      if (refused) ++look.refused_records;
      if (look.first.size() < shown_) look.first.push_back(seen(block, row, decoded));
      if (refused && look.refused.size() < shown_) look.refused.push_back(seen(block, row, decoded));
    }
  }

  Look look;

 private:
  void decode(std::size_t s, const RecordBlock& block, const std::vector<std::size_t>& rows, DecodedRecords& decoded) {
    if (rows.empty()) return;
    std::vector<std::int64_t> starts;
    std::vector<std::int32_t> lengths;
    for (const std::size_t row : rows) {
      segment_of_[row] = {s, starts.size()};
      starts.push_back(block.starts[row]);
      lengths.push_back(block.lengths[row]);
    }
    job_.segments[s].codec->decode({block.bytes.data(), 0, starts.data(), lengths.data(), rows.size()}, decoded);
    for (std::size_t i = 0; i < decoded.fields.size(); ++i)
      for (std::size_t row = 0; row < rows.size(); ++row) {
        FieldTally& tally = look.tallies[s][i];
        const Status status = decoded.fields[i].status[row];
        if (status != ZVRT_RC_OK)
          ++tally.refused, ++tally.statuses[status];
        else
          ++(decoded.fields[i].lengths[row] == null_cell ? tally.nulls : tally.values);
      }
  }

  SeenRecord seen(const RecordBlock& block, std::size_t row, const std::vector<DecodedRecords>& decoded) const {
    SeenRecord record;
    record.number = block.first + row;
    record.offset = block.offset + static_cast<std::uint64_t>(block.starts[row]);
    record.bytes.assign(block.bytes.data() + block.starts[row], static_cast<std::size_t>(block.lengths[row]));
    const auto [s, at] = segment_of_[row];
    if (s == no_index) return record;
    const Columns& columns = job_.segments[s].codec->columns();
    record.moved = !columns.tables.empty();
    record.form = record.bytes;
    if (record.moved)
      record.form.assign(decoded[s].records + static_cast<std::int64_t>(at) * decoded[s].stride, columns.length);
    record.segment = job_.segments[s].name;
    const auto& fields = job_.segments[s].codec->fields();
    for (std::size_t i = 0; i < fields.size(); ++i) {
      SeenField field;
      field.field = fields[i].get();
      const DecodedCells& cells = decoded[s].fields[i];
      field.bytes.assign(decoded[s].records + static_cast<std::int64_t>(at) * decoded[s].stride +
                             static_cast<std::int64_t>(fields[i]->column().offset),
                         fields[i]->length());
      field.status = cells.status[at];
      field.null = cells.lengths[at] == null_cell;
      if (!field.null) field.value = cells.cells().at(at);
      if (field.status != ZVRT_RC_OK) field.why = fields[i]->explain_decode(field.bytes, field.status);
      record.fields.push_back(std::move(field));
    }
    return record;
  }

  const Job& job_;
  Router router_;
  std::size_t shown_;
  std::vector<std::pair<std::size_t, std::size_t>> segment_of_;  // of each row, and its place among the segment's
};

}  // namespace

Look look_at(const Job& job, std::uint64_t most, std::size_t shown) {
  RecordReader reader(job.arguments.records, job.format);
  Looker looker(job, shown);
  RecordBlock block;
  while (looker.look.records < most && reader.next(block)) looker.take(block);
  return std::move(looker.look);
}

}  // namespace zvrt::records
