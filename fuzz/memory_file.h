// A file in memory with a name, for readers that take names.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <string_view>

namespace zvrt_fuzz {

class MemoryFile {
 public:
  MemoryFile() : descriptor_(memfd_create("input", 0)) {
    if (descriptor_ < 0) std::abort();
  }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile() { close(descriptor_); }

  // Its name, for a file of these bytes.
  std::string hold(std::string_view bytes) const {
    if (ftruncate(descriptor_, 0) != 0 ||
        pwrite(descriptor_, bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
      std::abort();
    return "/proc/self/fd/" + std::to_string(descriptor_);
  }

 private:
  int descriptor_;
};

}  // namespace zvrt_fuzz
