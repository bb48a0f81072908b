// All records of a file's bytes, as a reader brings them.
#ifndef ZVRT_TESTS_RECORDS_FORMATS_READ_ALL_H
#define ZVRT_TESTS_RECORDS_FORMATS_READ_ALL_H

#include <string>
#include <vector>

#include "records/files/work_folder.h"
#include "records/formats/record_reader.h"

namespace zvrt::records::testing {

struct Found {
  std::vector<std::string> records;
  std::vector<Surroundings> surroundings;
  std::vector<Damage> damages;
};

inline Found read_all(const std::vector<std::string>& files, const FormatOptions& options) {
  Found found;
  RecordReader reader(files, options);
  RecordBlock block;
  while (reader.next(block)) {
    for (std::size_t i = 0; i < block.count(); ++i)
      found.records.emplace_back(block.bytes.data() + block.starts[i], static_cast<std::size_t>(block.lengths[i]));
    found.damages.insert(found.damages.end(), block.damages.begin(), block.damages.end());
    found.surroundings.insert(found.surroundings.end(), block.surroundings.begin(), block.surroundings.end());
  }
  return found;
}

inline Found read_bytes(const std::string& bytes, const FormatOptions& options) {
  const WorkFolder folder;
  return read_all({folder.write("records", bytes)}, options);
}

}  // namespace zvrt::records::testing

#endif
