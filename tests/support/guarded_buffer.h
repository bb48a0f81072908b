// Memory that cannot be overstepped unnoticed: a buffer flush against a page that cannot be touched, marked so that
// what a function was not to write can be compared afterwards.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <vector>

namespace zvrt_test {

class GuardedBuffer {
 public:
  static constexpr unsigned char mark = 0xA5;

  // `size` bytes that end at the inaccessible page; the bytes before them are marked too.
  explicit GuardedBuffer(std::size_t size) : size_(size) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    mapped_ = (size + page) / page * page + page;
    void* base = mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (base == MAP_FAILED) throw std::bad_alloc();
    base_ = static_cast<unsigned char*>(base);
    begin_ = base_ + mapped_ - page - size;
    mprotect(base_ + mapped_ - page, page, PROT_NONE);
    reset();
  }
  // The same, holding these bytes.
  GuardedBuffer(const void* bytes, std::size_t size) : GuardedBuffer(size) {
    if (size > 0) std::memcpy(begin_, bytes, size);
  }
  ~GuardedBuffer() { munmap(base_, mapped_); }
  GuardedBuffer(const GuardedBuffer&) = delete;
  GuardedBuffer& operator=(const GuardedBuffer&) = delete;

  void reset() { std::memset(base_, mark, static_cast<std::size_t>(begin_ - base_) + size_); }

  template <class T = void>
  T* as() {
    return static_cast<T*>(static_cast<void*>(begin_));
  }
  // The last `size` bytes, for many sizes in one mapping.
  unsigned char* tail(std::size_t size) { return begin_ + size_ - size; }
  std::size_t size() const { return size_; }
  std::string bytes() const { return {reinterpret_cast<const char*>(begin_), size_}; }

  // True when everything from `used` bytes on, and everything before the buffer, still carries the mark.
  bool untouched_from(std::size_t used) const {
    const auto marked = [](unsigned char byte) { return byte == mark; };
    return std::all_of(begin_ + std::min(used, size_), begin_ + size_, marked) && std::all_of(base_, begin_, marked);
  }

 private:
  std::size_t size_;
  std::size_t mapped_ = 0;
  unsigned char* base_ = nullptr;
  unsigned char* begin_ = nullptr;
};

// Wide text as bytes, with or without its terminator, for buffers of any alignment.
inline std::string wide_bytes(const std::u32string& text, bool terminated = true) {
  return {reinterpret_cast<const char*>(text.c_str()), (text.size() + (terminated ? 1 : 0)) * 4};
}

}  // namespace zvrt_test
