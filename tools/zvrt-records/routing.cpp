#include "routing.h"

#include <algorithm>

namespace zvrt::records {

std::string plain_number(std::string_view text) {
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  std::string digits(text);
  if (digits.find_first_not_of("0123456789.") != std::string::npos) return std::string(negative ? 1 : 0, '-') + digits;
  if (digits.find('.') != std::string::npos) {
    digits.erase(digits.find_last_not_of('0') + 1);
    if (digits.back() == '.') digits.pop_back();
  }
  digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
  if (digits.empty()) return "0";
  if (digits.front() == '.') digits.insert(0, 1, '0');
  return std::string(negative ? 1 : 0, '-') + digits;
}

std::string segment_value(const Field& field, std::string_view value) {
  const bool text = field.table_column().type == TableColumn::Type::text;
  return text ? std::string(value) : plain_number(value);
}

std::size_t segment_of(const std::vector<Segment>& segments, std::string_view record) {
  for (std::size_t s = 0; s < segments.size(); ++s) {
    const Segment& segment = segments[s];
    if (segment.selector == nullptr) return s;
    const Field& field = *segment.selector;
    if (record.size() < field.column().offset + field.length()) continue;
    DecodedCells cell;
    field.decode({const_cast<char*>(record.data()) + field.column().offset, 0, 1}, nullptr, cell);
    if (cell.lengths[0] != null_cell && segment.values.contains(segment_value(field, cell.cells().at(0)))) return s;
  }
  return no_index;
}

Routed Router::route(const RecordBlock& block, std::size_t begin, std::size_t end) const {
  Routed routed;
  routed.rows.resize(job_.segments.size());
  for (std::size_t row = begin; row < end; ++row) {
    const std::size_t segment = job_.has_segments()
                                    ? segment_of(job_.segments, {block.bytes.data() + block.starts[row],
                                                                 static_cast<std::size_t>(block.lengths[row])})
                                    : 0;
    if (segment == no_index)
      routed.unknown.push_back(row);
    else
      routed.rows[segment].push_back(row);
  }
  return routed;
}

}  // namespace zvrt::records
