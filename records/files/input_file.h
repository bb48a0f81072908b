// What records are read from, once, from its start to its end: a file or a pipe, a part of a file, bytes in memory.
#ifndef ZVRT_RECORDS_FILES_INPUT_FILE_H
#define ZVRT_RECORDS_FILES_INPUT_FILE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace zvrt::records {

class Input {
 public:
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;
  virtual ~Input() = default;

  // As many bytes as there are, `capacity` at most; fewer only at the end.
  virtual std::size_t read(char* bytes, std::size_t capacity) = 0;
  // Of the next byte, from the start of the whole.
  std::uint64_t offset() const { return offset_; }
  const std::string& name() const { return name_; }

 protected:
  explicit Input(std::string name, std::uint64_t offset = 0) : name_(std::move(name)), offset_(offset) {}
  void advance(std::size_t count) { offset_ += count; }

 private:
  std::string name_;
  std::uint64_t offset_;
};

// The bytes of a file to read.
struct Extent {
  std::uint64_t offset = 0;
  std::uint64_t bytes = ~std::uint64_t{0};  // at most
};

class InputFile final : public Input {
 public:
  // `-` is standard input, which has no other extent than all of it.
  explicit InputFile(const std::string& path, Extent extent = {});
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;
  ~InputFile() override;

  std::size_t read(char* bytes, std::size_t capacity) override;
  // Of a regular file.
  std::optional<std::uint64_t> size() const { return size_; }

 private:
  int descriptor_;
  std::uint64_t left_;
  std::optional<std::uint64_t> size_;
};

// All of a file that people write, such as a copybook. Throws a Failure if it cannot be read, or has more than 64 MiB.
std::string text_of_file(const std::string& path);

// Bytes that outlive the input.
class InputBytes final : public Input {
 public:
  InputBytes(std::string name, std::string_view bytes, Extent extent = {});
  std::size_t read(char* bytes, std::size_t capacity) override;

 private:
  std::string_view left_;
};

}  // namespace zvrt::records

#endif
