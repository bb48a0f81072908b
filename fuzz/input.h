// A fuzzer's bytes, taken apart. An input that is used up goes on as zeros, so that every input means something.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "support/guarded_buffer.h"

namespace zvrt_fuzz {

class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  bool is_used_up() const { return at_ == size_; }

  template <class Int>
  Int take() {
    std::uint8_t bytes[sizeof(Int)] = {};
    for (std::uint8_t& byte : bytes) {
      if (at_ < size_) byte = data_[at_++];
    }
    Int value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
  }
  bool flag() { return take<std::uint8_t>() % 2 != 0; }
  std::uint32_t below(std::uint32_t limit) {
    return (limit <= 256 ? take<std::uint8_t>() : take<std::uint16_t>()) % limit;
  }
  std::int32_t between(std::int32_t low, std::int32_t high) {
    return low + static_cast<std::int32_t>(below(static_cast<std::uint32_t>(high - low + 1)));
  }
  template <class T, std::size_t count>
  const T& of(const T (&choices)[count]) {
    return choices[below(count)];
  }

  // All that is left, as bytes. A byte 1 repeats the one before it as often as the next byte says, so that a short
  // input reaches the blocks of a kernel; followed by 0 it stands for itself.
  std::string bytes() {
    std::string text;
    while (!is_used_up() && text.size() < longest) {
      const auto byte = take<char>();
      const auto times = byte == 1 ? take<std::uint8_t>() : std::uint8_t{0};
      if (times == 0 || text.empty()) {
        text += byte;
      } else {
        text.append(times % 100U, text.back());
      }
    }
    return text;
  }

  // All that is left, as characters of 32 bits. Most bytes are characters themselves, the others begin a longer one.
  std::vector<std::uint32_t> characters() {
    std::vector<std::uint32_t> text;
    while (!is_used_up() && text.size() < longest) {
      const auto lead = take<std::uint8_t>();
      if (lead < 0xC0) {
        text.push_back(lead);
      } else if (lead == 0xC0 && !text.empty()) {
        text.insert(text.end(), below(100), text.back());
      } else if (lead < 0xE0) {
        text.push_back(take<std::uint16_t>());
      } else if (lead < 0xF0) {
        text.push_back(take<std::uint32_t>() & 0x1FFFFF);
      } else {
        text.push_back(take<std::uint32_t>());
      }
    }
    return text;
  }

  // All that is left, each byte a character of the alphabet.
  std::string text_over(std::string_view alphabet) {
    std::string text;
    while (!is_used_up() && text.size() < longest) text += alphabet[take<std::uint8_t>() % alphabet.size()];
    return text;
  }

 private:
  static constexpr std::size_t longest = 1000;

  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t at_ = 0;
};

// Memory that sources are put into, so that they end where it ends.
class Source {
 public:
  const void* put(const std::string& bytes) {
    unsigned char* const at = page_.tail(bytes.size());
    std::memcpy(at, bytes.data(), bytes.size());
    return at;
  }
  template <class T>
  const T* put_as(const std::string& bytes) {
    return static_cast<const T*>(put(bytes));
  }

 private:
  zvrt_test::GuardedBuffer page_{1 << 16};
};

// What every target defines. It says what is wrong through the test framework's macros, which end the process.
void check(Input input);

}  // namespace zvrt_fuzz
