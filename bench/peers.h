// What peers have to do besides their own conversion to do the same work as ours: measure, widen or narrow, terminate.
#pragma once

#include <array>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

namespace zvrt_bench {

inline wchar_t* wide(std::byte* output) { return reinterpret_cast<wchar_t*>(output); }
inline char* narrow(std::byte* output) { return reinterpret_cast<char*>(output); }

// Terminates the text; its length in bytes.
inline std::size_t terminated(wchar_t* text, std::size_t length) {
  text[length] = L'\0';
  return length * sizeof(wchar_t);
}
inline std::size_t terminated(char* text, std::size_t length) {
  text[length] = '\0';
  return length;
}

// ASCII to wide characters.
inline std::size_t widen(std::string_view text, wchar_t* destination) {
  for (std::size_t i = 0; i < text.size(); ++i)
    destination[i] = static_cast<wchar_t>(static_cast<unsigned char>(text[i]));
  return terminated(destination, text.size());
}

// Wide characters, known to be ASCII and few, for a peer that reads narrow text.
class Narrowed {
 public:
  explicit Narrowed(const wchar_t* text) {
    for (; text[length_] != L'\0' && length_ + 1 < text_.size(); ++length_)
      text_[length_] = static_cast<char>(text[length_]);
    text_[length_] = '\0';
  }
  const char* begin() const { return text_.data(); }
  char* begin() { return text_.data(); }  // for readers that take what they may write
  const char* end() const { return text_.data() + length_; }
  std::size_t size() const { return length_; }

 private:
  std::array<char, 96> text_;
  std::size_t length_ = 0;
};

// A value's own bytes as the result.
template <class Value>
std::size_t stored(const Value& value, std::byte* output) {
  std::memcpy(output, &value, sizeof value);
  return sizeof value;
}

}  // namespace zvrt_bench
