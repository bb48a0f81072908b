#include "records/files/failure.h"

#include <cerrno>
#include <system_error>

namespace zvrt::records {

std::string reason_of(int error) { return std::generic_category().message(error); }

void fail_with_errno(const std::string& what) {
  const int error = errno;
  throw Failure(what + ": " + reason_of(error));
}

}  // namespace zvrt::records
