// The first records of a file and the first that are refused, field by field.
#ifndef ZVRT_TOOLS_ZVRT_RECORDS_LOOK_H
#define ZVRT_TOOLS_ZVRT_RECORDS_LOOK_H

#include <map>

#include "job.h"
#include "records/formats/record_reader.h"

namespace zvrt::records {

struct SeenField {
  const Field* field = nullptr;
  std::string bytes;
  std::string value;
  bool null = false;
  Status status = ZVRT_RC_OK;
  std::string why;  // of a refused one
};

struct SeenRecord {
  std::uint64_t number = 0;
  std::uint64_t offset = 0;  // in the file
  std::string bytes;
  std::string form;    // the record with its tables at their greatest size
  bool moved = false;  // they are not, and form lacks what no field holds
  std::string segment;
  std::vector<SeenField> fields;
};

struct FieldTally {
  std::uint64_t values = 0;
  std::uint64_t nulls = 0;
  std::uint64_t refused = 0;
  std::map<Status, std::uint64_t> statuses;  // of the refused
};

struct Look {
  std::uint64_t records = 0;
  std::uint64_t refused_records = 0;
  std::uint64_t unknown = 0;  // records of no segment
  std::vector<SeenRecord> first;
  std::vector<SeenRecord> refused;
  std::vector<std::vector<FieldTally>> tallies;  // of each segment and field
  std::vector<Damage> damages;
};

// Reads `most` records or a block more; `shown` of the first and of the refused ones are kept.
Look look_at(const Job& job, std::uint64_t most, std::size_t shown);

}  // namespace zvrt::records

#endif
