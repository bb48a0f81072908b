// Which record belongs to which segment, by the value of the segment's field.
#ifndef ZVRT_TOOLS_ZVRT_RECORDS_ROUTING_H
#define ZVRT_TOOLS_ZVRT_RECORDS_ROUTING_H

#include "job.h"
#include "records/formats/record_reader.h"

namespace zvrt::records {

struct Routed {
  std::vector<std::vector<std::size_t>> rows;  // of each segment
  std::vector<std::size_t> unknown;
};

// One form for each number: no leading zeros, none at the end of a fraction, no sign of zero.
std::string plain_number(std::string_view text);
// A value as --segment gives it or as the field holds it: 01 and 1 are one number.
std::string segment_value(const Field& field, std::string_view value);
// The segment that a record belongs to, or no_index.
std::size_t segment_of(const std::vector<Segment>& segments, std::string_view record);

class Router {
 public:
  explicit Router(const Job& job) : job_(job) {}
  Routed route(const RecordBlock& block) const { return route(block, 0, block.count()); }
  // Of the rows from `begin` to `end` only.
  Routed route(const RecordBlock& block, std::size_t begin, std::size_t end) const;

 private:
  const Job& job_;
};

}  // namespace zvrt::records

#endif
