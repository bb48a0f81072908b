// Text that grows at its end. Memory for it is not cleared first, as a string's is.
#ifndef ZVRT_RECORDS_TABLES_TEXT_BUFFER_H
#define ZVRT_RECORDS_TABLES_TEXT_BUFFER_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

namespace zvrt::records {

class TextBuffer {
 public:
  // Where the next bytes go; `bytes` of them have room there.
  char* room(std::size_t bytes) {
    if (capacity_ - size_ < bytes) grow(bytes);
    return memory_.get() + size_;
  }
  // Ends the text where writing at room() ended.
  void end_at(const char* end) { size_ = static_cast<std::size_t>(end - memory_.get()); }
  void append(std::string_view more) {
    if (more.empty()) return;
    char* const at = room(more.size());
    std::memcpy(at, more.data(), more.size());
    end_at(at + more.size());
  }
  TextBuffer& operator+=(std::string_view more) {
    append(more);
    return *this;
  }
  TextBuffer& operator+=(char c) {
    append({&c, 1});
    return *this;
  }

  std::string_view text() const { return {memory_.get(), size_}; }
  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  void clear() { size_ = 0; }

 private:
  void grow(std::size_t bytes) {
    const std::size_t capacity = std::max(capacity_ * 2, size_ + bytes);
    std::unique_ptr<char[]> memory(new char[capacity]);
    if (size_ != 0) std::memcpy(memory.get(), memory_.get(), size_);
    memory_ = std::move(memory);
    capacity_ = capacity;
  }

  std::unique_ptr<char[]> memory_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace zvrt::records

#endif
