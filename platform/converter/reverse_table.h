// From a character to the one or two bytes that a page writes for it: a compact table in two stages.
#ifndef ZVRT_CONVERTER_REVERSE_TABLE_H
#define ZVRT_CONVERTER_REVERSE_TABLE_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

namespace zvrt {

// A code is one byte, or two of which the first is the lower half and the second is not 0: stored as it is, it is the
// character's bytes in order. Blocks of 64 neighbouring characters stand in
// `codes_`; block 0 holds no character and stands for every block of which the page has none.
class ReverseTable {
 public:
  static constexpr std::uint16_t no_code = 0xFFFF;

  // The code of a character, or no_code.
  std::uint16_t operator[](char32_t character) const {
    const std::size_t block = character < limit ? block_of_[character / block_size] : 0;
    return codes_[block * block_size + character % block_size];
  }

  static constexpr std::size_t length_of(std::uint16_t code) { return code > 0xFF ? 2 : 1; }

  // False when the table cannot hold it: no memory, or bytes that are no code.
  bool add(char32_t character, unsigned char lead, unsigned char trail) {
    return trail != 0 && add(character, static_cast<std::uint16_t>(lead | trail << 8));
  }
  bool add(char32_t character, std::uint16_t code) {
    if (character >= limit || code == no_code) return false;
    std::uint16_t& block = block_of_[character / block_size];
    if (block == 0) {
      if (!grow()) return false;
      block = static_cast<std::uint16_t>(blocks_ - 1);
    }
    codes_[block * block_size + character % block_size] = code;
    return true;
  }

  // To be called once before anything else: block 0.
  bool prepare() { return grow(); }

 private:
  static constexpr std::size_t block_size = 64;
  static constexpr char32_t limit = 0x30000;  // the planes in which byte pages have characters

  bool grow() {
    std::unique_ptr<std::uint16_t[]> wider(new (std::nothrow) std::uint16_t[(blocks_ + 1) * block_size]);
    if (wider == nullptr) return false;
    if (blocks_ > 0) std::memcpy(wider.get(), codes_.get(), blocks_ * block_size * sizeof(std::uint16_t));
    std::memset(wider.get() + blocks_ * block_size, 0xFF, block_size * sizeof(std::uint16_t));
    codes_ = std::move(wider);
    ++blocks_;
    return true;
  }

  std::uint16_t block_of_[limit / block_size]{};
  std::unique_ptr<std::uint16_t[]> codes_;
  std::size_t blocks_ = 0;
};

}  // namespace zvrt

#endif
