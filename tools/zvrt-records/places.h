// Where a run reads and writes, checked before anything is opened.
#ifndef ZVRT_TOOLS_ZVRT_RECORDS_PLACES_H
#define ZVRT_TOOLS_ZVRT_RECORDS_PLACES_H

#include <string>

#include "job.h"

namespace zvrt::records {

// A folder that was made for the tables of segments; it goes again if the run fails.
class MadeFolder {
 public:
  explicit MadeFolder(std::string path = {}) : path_(std::move(path)) {}
  MadeFolder(MadeFolder&& other) noexcept : path_(std::move(other.path_)) { other.path_.clear(); }
  MadeFolder(const MadeFolder&) = delete;
  MadeFolder& operator=(const MadeFolder&) = delete;
  MadeFolder& operator=(MadeFolder&&) = delete;
  ~MadeFolder();
  void keep() const { kept_ = true; }

 private:
  std::string path_;
  mutable bool kept_ = false;
};

// Names the reject file, and throws a Failure if any two files are the same or one may not be written.
MadeFolder check_places(Job& job);

}  // namespace zvrt::records

#endif
