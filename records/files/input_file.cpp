#include "records/files/input_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "records/files/failure.h"
#include "records/files/interruption.h"

namespace zvrt::records {

InputFile::InputFile(const std::string& path, Extent extent)
    : Input(path == "-" ? "standard input" : path, extent.offset),
      descriptor_(path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)),
      left_(extent.bytes) {
  if (descriptor_ < 0) fail_with_errno(name());
  struct stat found {};
  if (fstat(descriptor_, &found) == 0 && S_ISREG(found.st_mode)) {
    size_ = static_cast<std::uint64_t>(found.st_size);
    posix_fadvise(descriptor_, 0, 0, POSIX_FADV_SEQUENTIAL);
  }
  if (extent.offset != 0 && lseek(descriptor_, static_cast<off_t>(extent.offset), SEEK_SET) < 0) {
    const int error = errno;
    if (descriptor_ != STDIN_FILENO) close(descriptor_);
    throw Failure(fmt::format("{}: cannot be read from byte {} on: {}", name(), extent.offset, reason_of(error)));
  }
}

InputFile::~InputFile() {
  if (descriptor_ != STDIN_FILENO) close(descriptor_);
}

std::size_t InputFile::read(char* bytes, std::size_t capacity) {
  capacity = static_cast<std::size_t>(std::min<std::uint64_t>(capacity, left_));
  std::size_t filled = 0;
  while (filled < capacity) {
    check_interruption();
    const ssize_t count = ::read(descriptor_, bytes + filled, capacity - filled);
    if (count == 0) break;
    if (count > 0) {
      filled += static_cast<std::size_t>(count);
      left_ -= static_cast<std::uint64_t>(count);
      advance(static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      fail_with_errno(fmt::format("{}: cannot be read at byte {}", name(), offset()));
    }
  }
  return filled;
}

std::string text_of_file(const std::string& path) {
  constexpr std::size_t most = std::size_t{1} << 26;
  constexpr std::size_t step = std::size_t{1} << 16;
  InputFile file(path == "-" ? "./-" : path);
  std::string text;
  for (std::size_t got = step; got == step;) {
    const std::size_t size = text.size();
    if (size > most) throw Failure(path + ": has more than 64 MiB, so it is no text");
    text.resize(size + step);
    got = file.read(text.data() + size, step);
    text.resize(size + got);
  }
  return text;
}

InputBytes::InputBytes(std::string name, std::string_view bytes, Extent extent)
    : Input(std::move(name), extent.offset),
      left_(bytes.substr(std::min<std::uint64_t>(extent.offset, bytes.size()), extent.bytes)) {}

std::size_t InputBytes::read(char* bytes, std::size_t capacity) {
  const std::size_t count = std::min(capacity, left_.size());
  left_.copy(bytes, count);
  left_.remove_prefix(count);
  advance(count);
  return count;
}

}  // namespace zvrt::records
