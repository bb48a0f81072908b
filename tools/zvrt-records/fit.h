// Whether a record file looks as the command line and the layout say: told before the run, so that nobody has to read
// thousands of refusals first.
#ifndef ZVRT_TOOLS_ZVRT_RECORDS_FIT_H
#define ZVRT_TOOLS_ZVRT_RECORDS_FIT_H

#include <optional>
#include <string>
#include <vector>

#include "job.h"
#include "records/inspect/inspect.h"

namespace zvrt::records {

// Of the first `most` bytes after the file's header; nothing for a pipe or a device.
std::optional<FileFindings> findings_of(const Arguments& arguments, const std::string& file, std::size_t most);
// The options that say this form: --record-format V --rdw-order little.
std::string words_of(const Chain& chain);
std::string span_of(const Lengths& lengths);

// A sentence for each thing that cannot be right, with what the file looks like.
std::vector<std::string> fit_warnings(const Job& job);

}  // namespace zvrt::records

#endif
