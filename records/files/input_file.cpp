#include "records/files/input_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "records/files/failure.h"
#include "records/files/interruption.h"

namespace zvrt::records {

InputFile::InputFile(const std::string& path)
    : name_(path == "-" ? "standard input" : path),
      descriptor_(path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
  if (descriptor_ < 0) fail_with_errno(name_);
  struct stat found {};
  if (fstat(descriptor_, &found) == 0 && S_ISREG(found.st_mode)) {
    size_ = static_cast<std::uint64_t>(found.st_size);
    posix_fadvise(descriptor_, 0, 0, POSIX_FADV_SEQUENTIAL);
  }
}

InputFile::~InputFile() {
  if (descriptor_ != STDIN_FILENO) close(descriptor_);
}

std::size_t InputFile::read(char* bytes, std::size_t capacity) {
  std::size_t filled = 0;
  while (filled < capacity) {
    check_interruption();
    const ssize_t count = ::read(descriptor_, bytes + filled, capacity - filled);
    if (count == 0) break;
    if (count > 0) {
      filled += static_cast<std::size_t>(count);
      offset_ += static_cast<std::uint64_t>(count);
    } else if (errno != EINTR) {
      fail_with_errno(fmt::format("{}: cannot be read at byte {}", name_, offset_));
    }
  }
  return filled;
}

}  // namespace zvrt::records
