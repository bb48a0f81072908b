#include "records/files/file_roles.h"

#include <fmt/format.h>

#include <cerrno>
#include <filesystem>

#include "records/files/failure.h"

namespace zvrt::records {
namespace {

std::string folder_of(const std::string& path) {
  const std::string folder = std::filesystem::path(path).parent_path().string();
  return folder.empty() ? "." : folder;
}

// False where nothing stands; a link to nothing is an error, since writing through it makes a file somewhere else.
bool status_of(const std::string& path, struct stat& found) {
  if (path.empty()) throw Failure("a file name is empty");
  if (stat(path.c_str(), &found) == 0) return true;
  if (errno != ENOENT) fail_with_errno(path);
  struct stat link {};
  if (lstat(path.c_str(), &link) == 0) throw Failure(path + ": is a link to a file that does not exist");
  return false;
}

}  // namespace

std::string kind_of(mode_t mode) {
  if (S_ISDIR(mode)) return "a folder";
  if (S_ISFIFO(mode)) return "a pipe";
  if (S_ISSOCK(mode)) return "a socket";
  if (S_ISCHR(mode) || S_ISBLK(mode)) return "a device";
  return "not a regular file";
}

void check_place(const std::string& path, Existing existing) {
  struct stat found {};
  if (!status_of(path, found)) return;
  if (!S_ISREG(found.st_mode))
    throw Failure(fmt::format("{}: is {}, and only regular files are written{}", path, kind_of(found.st_mode),
                              S_ISDIR(found.st_mode) ? "" : "; '-' is standard output"));
  if (existing == Existing::refuse) throw Failure(path + ": exists already; --replace replaces it");
}

void FileRoles::remember(const std::string& path, const std::string& role) {
  struct stat found {};
  Known file{path, role, 0, 0, {}};
  if (!status_of(path, found)) {
    if (stat(folder_of(path).c_str(), &found) != 0) fail_with_errno(folder_of(path));
    file.name = std::filesystem::path(path).filename().string();
  }
  file.device = found.st_dev;
  file.inode = found.st_ino;
  known_.push_back(std::move(file));
}

void FileRoles::reads(const std::string& path, const std::string& role) {
  struct stat found {};
  if (stat(path.c_str(), &found) != 0) fail_with_errno(path.empty() ? "a file name is empty" : path);
  if (S_ISDIR(found.st_mode)) throw Failure(path + ": is a folder");
  remember(path, role);
}

void FileRoles::writes(const std::string& path, const std::string& role, Existing existing) {
  check_place(path, existing);
  remember(path, role);
}

void FileRoles::writes_into(const std::string& folder, const std::string& role) {
  struct stat found {};
  if (status_of(folder, found) && !S_ISDIR(found.st_mode)) throw Failure(folder + ": is not a folder");
  remember(folder, role);
}

void FileRoles::standard(int descriptor, const std::string& role) {
  struct stat found {};
  if (fstat(descriptor, &found) == 0 && S_ISREG(found.st_mode))
    known_.push_back({role, role, found.st_dev, found.st_ino, {}});
}

bool FileRoles::Known::same_as(const Known& other) const {
  return device == other.device && inode == other.inode && name == other.name;
}

void FileRoles::check() const {
  for (std::size_t i = 0; i < known_.size(); ++i)
    for (std::size_t j = i + 1; j < known_.size(); ++j)
      if (known_[i].same_as(known_[j]))
        throw Failure(fmt::format("{} ({}) and {} ({}) are the same file", known_[i].path, known_[i].role,
                                  known_[j].path, known_[j].role));
}

std::string free_name(const std::string& path) {
  const std::filesystem::path whole(path);
  std::string name = path;
  struct stat ignored {};
  for (unsigned number = 2; lstat(name.c_str(), &ignored) == 0; ++number)
    name = (whole.parent_path() / fmt::format("{}.{}{}", whole.stem().string(), number, whole.extension().string()))
               .string();
  return name;
}

}  // namespace zvrt::records
