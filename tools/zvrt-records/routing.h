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

class Router {
 public:
  explicit Router(const Job& job) : job_(job) {}
  Routed route(const RecordBlock& block) const { return route(block, 0, block.count()); }
  // Of the rows from `begin` to `end` only.
  Routed route(const RecordBlock& block, std::size_t begin, std::size_t end) const;

 private:
  std::size_t segment_of(std::string_view record) const;
  const Job& job_;
};

}  // namespace zvrt::records

#endif
