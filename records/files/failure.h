// What ends a run: a file, a table, a layout or a command line that cannot be used. What a single cell runs into is a
// status and ends nothing.
#ifndef ZVRT_RECORDS_FILES_FAILURE_H
#define ZVRT_RECORDS_FILES_FAILURE_H

#include <stdexcept>
#include <string>

namespace zvrt::records {

class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Throws "WHAT: REASON", the reason from errno as it is on entry.
[[noreturn]] void fail_with_errno(const std::string& what);

// The text of an errno value.
std::string reason_of(int error);

}  // namespace zvrt::records

#endif
