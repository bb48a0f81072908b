#include "routing.h"

namespace zvrt::records {

std::size_t Router::segment_of(std::string_view record) const {
  for (std::size_t s = 0; s < job_.segments.size(); ++s) {
    const Segment& segment = job_.segments[s];
    const Field& field = *segment.codec->fields()[segment.codec->find(segment.field)];
    if (record.size() < field.column().offset + field.length()) continue;
    DecodedCells cell;
    field.decode({const_cast<char*>(record.data()) + field.column().offset, 0, 1}, nullptr, cell);
    if (cell.lengths[0] != null_cell && segment.values.contains(std::string(cell.cells().at(0)))) return s;
  }
  return no_index;
}

Routed Router::route(const RecordBlock& block, std::size_t begin, std::size_t end) const {
  Routed routed;
  routed.rows.resize(job_.segments.size());
  for (std::size_t row = begin; row < end; ++row) {
    const std::size_t segment =
        job_.has_segments()
            ? segment_of({block.bytes.data() + block.starts[row], static_cast<std::size_t>(block.lengths[row])})
            : 0;
    if (segment == no_index)
      routed.unknown.push_back(row);
    else
      routed.rows[segment].push_back(row);
  }
  return routed;
}

}  // namespace zvrt::records
