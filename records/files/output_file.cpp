#include "records/files/output_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <vector>

#include "records/files/failure.h"
#include "records/files/interruption.h"

namespace zvrt::records {
namespace {

constexpr std::size_t longest_name = 200;  // a name takes 255 bytes at most, the temporary's additions included
constexpr std::size_t copy_bytes = 1 << 20;
constexpr int attempts = 16;

// Links followed, so that a link goes on pointing to the file that is written.
std::string real_path(const std::string& path) {
  std::error_code error;
  const std::filesystem::path real = std::filesystem::weakly_canonical(path, error);
  if (error) throw Failure(path + ": " + error.message());
  return real.string();
}

std::string temporary_name(const std::filesystem::path& path) {
  const std::string name = path.filename().string();
  const std::string stem = name.size() <= longest_name ? name : fmt::format("{:016x}", std::hash<std::string>{}(name));
  return (path.parent_path() / fmt::format(".{}.zvrt-tmp", stem)).string();
}

bool same_file(int descriptor, const std::string& path) {
  struct stat open {};
  struct stat named {};
  return fstat(descriptor, &open) == 0 && lstat(path.c_str(), &named) == 0 && open.st_dev == named.st_dev &&
         open.st_ino == named.st_ino;
}

// Of some file systems, and of pipes: they know nothing to synchronise.
bool is_synchronised(int descriptor) { return fsync(descriptor) == 0 || errno == EINVAL || errno == EROFS; }

// Removes what a killed run left. Fails if it belongs to a run that still lives.
void remove_left_over(const std::string& temporary) {
  const int descriptor = open(temporary.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) {
    if (errno == ENOENT) return;
    fail_with_errno(temporary);
  }
  struct stat found {};
  const bool regular = fstat(descriptor, &found) == 0 && S_ISREG(found.st_mode);
  const bool idle = regular && flock(descriptor, LOCK_EX | LOCK_NB) == 0;
  if (idle && same_file(descriptor, temporary)) unlink(temporary.c_str());
  close(descriptor);
  if (!regular) throw Failure(temporary + ": stands where a temporary file is to be");
  if (!idle) throw Failure(temporary + ": another run is writing this file");
}

}  // namespace

Temporary::Temporary(const std::string& path, Existing existing) : existing_(existing) {
  check_place(path, existing);
  path_ = real_path(path);
  folder_ = std::filesystem::path(path_).parent_path().string();
  temporary_ = temporary_name(path_);
  take();
}

// Makes the file and its lock; tries again where another run cleaned up in between.
void Temporary::take() {
  struct stat old {};
  replaces_ = stat(path_.c_str(), &old) == 0;
  for (int attempt = 0; attempt < attempts; ++attempt) {
    descriptor_ = open(temporary_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (descriptor_ < 0 && errno == EEXIST) {
      remove_left_over(temporary_);
      continue;
    }
    if (descriptor_ < 0) fail_with_errno(path_ + ": cannot be written");
    if (flock(descriptor_, LOCK_EX | LOCK_NB) == 0 && same_file(descriptor_, temporary_)) {
      if (replaces_) {
        // The permissions of the old file; its owner too where that is allowed.
        if (fchown(descriptor_, old.st_uid, old.st_gid) != 0 && errno != EPERM) fail_with_errno(temporary_);
        if (fchmod(descriptor_, old.st_mode & 07777) != 0) fail_with_errno(temporary_);
      }
      return;
    }
    close(descriptor_);
    descriptor_ = -1;
  }
  throw Failure(temporary_ + ": another run is writing this file");
}

Temporary::~Temporary() { release(); }

void Temporary::release() noexcept {
  if (descriptor_ < 0) return;
  if (!renamed_ && same_file(descriptor_, temporary_)) unlink(temporary_.c_str());
  close(descriptor_);
  descriptor_ = -1;
}

void Temporary::synchronise() const {
  if (!is_synchronised(descriptor_)) fail_with_errno(path_ + ": cannot be written");
}

void Temporary::rename() {
  if (existing_ != Existing::refuse) check_place(path_, existing_);
  const bool may_replace = existing_ != Existing::refuse;
  int result = may_replace ? std::rename(temporary_.c_str(), path_.c_str())
                           : renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, path_.c_str(), RENAME_NOREPLACE);
  // A file system without that flag: a second name never replaces anything either.
  if (result != 0 && !may_replace && (errno == EINVAL || errno == ENOSYS)) {
    result = link(temporary_.c_str(), path_.c_str());
    if (result == 0) unlink(temporary_.c_str());
  }
  if (result != 0) fail_with_errno(path_ + ": cannot be written");
  renamed_ = true;
  const int folder = open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const bool lasting = folder < 0 || is_synchronised(folder);  // a folder that may not be read cannot be synchronised
  if (folder >= 0) close(folder);
  if (!lasting) fail_with_errno(folder_ + ": cannot be synchronised");
}

void OutputFile::write_to(int descriptor, std::string_view bytes, const std::string& name) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
    if (count < 0) {
      if (errno == EINTR) {
        check_interruption();
        continue;
      }
      fail_with_errno(fmt::format("{}: cannot be written at byte {}", name, written_));
    }
    written_ += static_cast<std::uint64_t>(count);
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

RegularOutput::RegularOutput(const std::string& path, Existing existing) : file_(path, existing) {
  if (existing == Existing::append && file_.replaces()) copy();
}

void RegularOutput::copy() {
  const int source = open(file_.path().c_str(), O_RDONLY | O_CLOEXEC);
  if (source < 0) fail_with_errno(file_.path());
  std::vector<char> buffer(copy_bytes);
  try {
    for (ssize_t count = 1; count != 0;) {
      check_interruption();
      count = read(source, buffer.data(), buffer.size());
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) fail_with_errno(fmt::format("{}: cannot be read at byte {}", file_.path(), written()));
      write({buffer.data(), static_cast<std::size_t>(count)});
    }
  } catch (...) {
    close(source);
    throw;
  }
  close(source);
  copied_ = written();
}

void RegularOutput::write(std::string_view bytes) { write_to(file_.descriptor(), bytes, file_.path()); }

void RegularOutput::finish() { file_.synchronise(); }

void StandardOutput::write(std::string_view bytes) { write_to(STDOUT_FILENO, bytes, "standard output"); }

void StandardOutput::finish() {
  if (!is_synchronised(STDOUT_FILENO)) fail_with_errno("standard output cannot be written");
}

}  // namespace zvrt::records
