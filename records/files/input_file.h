// A file or pipe that is read once, from its start to its end.
#ifndef ZVRT_RECORDS_FILES_INPUT_FILE_H
#define ZVRT_RECORDS_FILES_INPUT_FILE_H

#include <cstdint>
#include <optional>
#include <string>

namespace zvrt::records {

class InputFile {
 public:
  // `-` is standard input.
  explicit InputFile(const std::string& path);
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;
  ~InputFile();

  // As many bytes as there are, `capacity` at most; fewer only at the end of the file.
  std::size_t read(char* bytes, std::size_t capacity);
  std::uint64_t offset() const { return offset_; }
  const std::string& name() const { return name_; }
  // Of a regular file.
  std::optional<std::uint64_t> size() const { return size_; }

 private:
  std::string name_;
  int descriptor_;
  std::uint64_t offset_ = 0;
  std::optional<std::uint64_t> size_;
};

}  // namespace zvrt::records

#endif
