// The parts of a large file that are done: a file of JSON lines, to which any number of processes append, here and on
// other machines that share the folder.
//
//   {"range":"1:1000000","read":1000000,"rows":999998,"left_out":2,"refused":2,"bytes":204000000,
//    "job":"8f3c...","files":[{"file":"part-1.csv","xxh128":"5a01..."}]}
//
// A part's line is written and synchronised when its files are whole but still have their temporary names. A run that is
// killed in between leaves a line whose files do not exist; so a part counts as done only where a line of the same job
// names its files and all of them have the hashes of the line. `job` is the hash of all that the output depends on beside
// the range: the options, the copybook, the record files' names, sizes and times of change.
#ifndef ZVRT_TOOLS_ZVRT_RECORDS_MANIFEST_H
#define ZVRT_TOOLS_ZVRT_RECORDS_MANIFEST_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "job.h"

namespace zvrt::records {

struct PartFile {
  std::string file;
  std::string hash;
};

struct DonePart {
  std::uint64_t read = 0;
  std::uint64_t rows = 0;
  std::uint64_t left_out = 0;
  std::uint64_t refused = 0;
  std::uint64_t bytes = 0;
  std::vector<PartFile> files;
};

class Manifest {
 public:
  explicit Manifest(const Job& job);
  // The job's range, if it is done.
  std::optional<DonePart> find() const;
  void add(const DonePart& part) const;

 private:
  const Job& job_;
  std::string fingerprint_;
};

// 32 hexadecimal digits. Throws a Failure where the file cannot be read.
std::string hash_of_file(const std::string& path);

}  // namespace zvrt::records

#endif
