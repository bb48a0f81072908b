#include "record_file.h"

#include <filesystem>

#include "library.h"

namespace record_exchange {
namespace {
constexpr std::size_t buffer_bytes = 1 << 18;
}

RecordFile::RecordFile(const std::string& name, Mode mode, std::size_t record_length)
    : name_(name), record_length_(record_length), file_(std::fopen(name.c_str(), mode == Mode::read ? "rb" : "wb")) {
  if (!file_) throw Failure(name + (mode == Mode::read ? ": cannot be read" : ": cannot be written"));
  std::setvbuf(file_.get(), nullptr, _IOFBF, buffer_bytes);
}

std::size_t RecordFile::read(char* record) {
  const std::size_t count = std::fread(record, 1, record_length_, file_.get());
  if (std::ferror(file_.get()) != 0) throw Failure(name_ + ": cannot be read");
  return count;
}

void RecordFile::write(const char* record) {
  if (std::fwrite(record, 1, record_length_, file_.get()) != record_length_)
    throw Failure(name_ + ": cannot be written");
}

void RecordFile::finish() {
  if (std::fflush(file_.get()) != 0) throw Failure(name_ + ": cannot be written");
}

std::uint64_t RecordFile::records() const {
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(name_, error);
  return error ? 0 : size / record_length_;
}

}  // namespace record_exchange
