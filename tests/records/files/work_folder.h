// A folder of its own for a test, and what stands in it.
#ifndef ZVRT_TESTS_RECORDS_FILES_WORK_FOLDER_H
#define ZVRT_TESTS_RECORDS_FILES_WORK_FOLDER_H

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>

namespace zvrt::records::testing {

class WorkFolder {
 public:
  explicit WorkFolder(const std::filesystem::path& parent = std::filesystem::temp_directory_path())
      : path_((parent / "zvrt-records-test.XXXXXX").string()) {
    if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no folder for the test");
  }
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;
  ~WorkFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  const std::string& path() const { return path_; }
  std::string file(const std::string& name) const { return path_ + "/" + name; }

  std::string write(const std::string& name, const std::string& content) const {
    std::ofstream(file(name), std::ios::binary) << content;
    return file(name);
  }
  std::string read(const std::string& name) const {
    std::ifstream in(file(name), std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
  }
  // Every name below the folder with its content; other than regular files by their kind.
  std::map<std::string, std::string> content() const {
    std::map<std::string, std::string> found;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(path_)) {
      const std::string name = entry.path().lexically_relative(path_).string();
      const auto status = entry.symlink_status();
      if (std::filesystem::is_regular_file(status))
        found[name] = read(name);
      else
        found[name] = std::filesystem::is_directory(status) ? "a folder"
                      : std::filesystem::is_symlink(status) ? "a link"
                                                            : "something else";
    }
    return found;
  }

 private:
  std::string path_;
};

}  // namespace zvrt::records::testing

#endif
