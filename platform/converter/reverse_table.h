// From Unicode: a two-level trie from a character to the bytes that a page writes for it.
#ifndef ZVRT_CONVERTER_REVERSE_TABLE_H
#define ZVRT_CONVERTER_REVERSE_TABLE_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <new>
#include <utility>

namespace zvrt {

// One, two or four bytes, the first one lowest. The last byte of a longer code is not 0, so the value gives the length.
using Code = std::uint32_t;
inline constexpr Code no_code = 0xFFFFFFFF;

constexpr std::size_t length_of(Code code) { return code <= 0xFF ? 1 : code <= 0xFFFF ? 2 : 4; }

// The first level has an entry per 64 characters: where their block begins in `codes`. Block 0 is empty and shared by
// all 64s of which the page has no character.
class ReverseTable {
 public:
  // What a lookup needs; valid until the next character is added.
  struct View {
    static constexpr std::size_t block_size = 64;
    static constexpr char32_t limit = 0x30000;  // the planes in which byte pages have characters

    const std::uint32_t* block_of;  // where in `codes` the block begins
    const Code* codes;

    Code operator[](char32_t character) const {
      const std::size_t block = character < limit ? block_of[character / block_size] : 0;
      return codes[block + character % block_size];
    }
  };

  View view() const { return {begin_of_, codes_.get()}; }
  Code operator[](char32_t character) const { return view()[character]; }

  // False when the table cannot hold it: no memory, or the bytes are not a code.
  bool add(char32_t character, std::initializer_list<unsigned char> bytes) {
    Code code = 0;
    unsigned shift = 0;
    for (const unsigned char byte : bytes) {
      code |= static_cast<Code>(byte) << shift;
      shift += 8;
    }
    if (character >= View::limit || code == no_code || length_of(code) != bytes.size()) return false;
    std::uint32_t& begin = begin_of_[character / View::block_size];
    if (begin == 0) {
      if (!add_block()) return false;
      begin = static_cast<std::uint32_t>(used_ - View::block_size);
    }
    codes_[begin + character % View::block_size] = code;
    return true;
  }

  // To be called once before anything else: block 0.
  bool prepare() { return add_block(); }

 private:
  bool add_block() {
    if (used_ == capacity_ && !grow()) return false;
    std::memset(codes_.get() + used_, 0xFF, View::block_size * sizeof(Code));
    used_ += View::block_size;
    return true;
  }

  bool grow() {
    const std::size_t wider = capacity_ == 0 ? 8 * View::block_size : 2 * capacity_;
    std::unique_ptr<Code[]> codes(new (std::nothrow) Code[wider]);
    if (codes == nullptr) return false;
    if (used_ > 0) std::memcpy(codes.get(), codes_.get(), used_ * sizeof(Code));
    codes_ = std::move(codes);
    capacity_ = wider;
    return true;
  }

  std::uint32_t begin_of_[View::limit / View::block_size]{};
  std::unique_ptr<Code[]> codes_;
  std::size_t used_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace zvrt

#endif
