// Where a record file can be cut into parts that are read by themselves.
//
// Records of one length are counted by the file's size. Of all others the file is read once, for its length words or line
// ends: a part begins where a record does, in files of blocks where a block does. A part that is read alone gives the same
// records as the whole file read at once, as long as the file is not damaged.
#ifndef ZVRT_RECORDS_FORMATS_CUTS_H
#define ZVRT_RECORDS_FORMATS_CUTS_H

#include <cstdint>
#include <memory>
#include <vector>

#include "records/files/input_file.h"
#include "records/formats/format.h"

namespace zvrt::records {

struct Cut {
  std::uint64_t first = 1;  // number of its first record
  std::uint64_t count = 0;  // of its records
  Extent extent;            // of the file: without header and trailer
};

// Cuts `input`, of `size` bytes in all, into at most `parts` of about one size. Throws a Failure where a length word leads
// nowhere: the file has no parts then.
std::vector<Cut> cut_records(std::unique_ptr<Input> input, std::uint64_t size, const FormatOptions& options,
                             std::size_t parts);

}  // namespace zvrt::records

#endif
