// Natural numbers of up to 6,400 bits, for floats whose digits fit no word: as much as 800 decimal digits and the powers
// of ten and two that they are compared with.
#pragma once

#include <bit>
#include <cstdint>

namespace zvrt::columns {

class Bignum {
 public:
  explicit Bignum(std::uint64_t value = 0) {
    for (; value != 0; value >>= 32) words_[count_++] = static_cast<std::uint32_t>(value);
  }

  void multiply_add(std::uint32_t factor, std::uint32_t addend) {
    std::uint64_t carry = addend;
    for (std::int32_t i = 0; i < count_; ++i) {
      carry += static_cast<std::uint64_t>(words_[i]) * factor;
      words_[i] = static_cast<std::uint32_t>(carry);
      carry >>= 32;
    }
    if (carry != 0) words_[count_++] = static_cast<std::uint32_t>(carry);
  }
  void multiply_power_of_ten(std::int32_t n) {
    for (; n >= 9; n -= 9) multiply_add(1'000'000'000, 0);
    for (; n > 0; --n) multiply_add(10, 0);
  }
  void shift_left(std::int32_t bits) {
    if (count_ == 0) return;
    const std::int32_t words = bits / 32;
    for (std::int32_t i = count_ - 1; i >= 0; --i) words_[i + words] = words_[i];
    for (std::int32_t i = 0; i < words; ++i) words_[i] = 0;
    count_ += words;
    if (bits % 32 != 0) multiply_add(UINT32_C(1) << (bits % 32), 0);
  }
  void shift_right_one() {
    for (std::int32_t i = 0; i < count_; ++i) {
      const std::uint32_t above = i + 1 < count_ ? words_[i + 1] : 0;
      words_[i] = words_[i] >> 1 | above << 31;
    }
    trim();
  }
  // Of a number that is not greater.
  void subtract(const Bignum& other) {
    std::int64_t borrow = 0;
    for (std::int32_t i = 0; i < count_; ++i) {
      std::int64_t word = static_cast<std::int64_t>(words_[i]) + borrow;
      if (i < other.count_) word -= other.words_[i];
      words_[i] = static_cast<std::uint32_t>(word);
      borrow = word >> 32;
    }
    trim();
  }
  void add(const Bignum& other) {
    std::uint64_t carry = 0;
    const std::int32_t count = count_ > other.count_ ? count_ : other.count_;
    for (std::int32_t i = 0; i < count; ++i) {
      carry += static_cast<std::uint64_t>(i < count_ ? words_[i] : 0) + (i < other.count_ ? other.words_[i] : 0);
      words_[i] = static_cast<std::uint32_t>(carry);
      carry >>= 32;
    }
    count_ = count;
    if (carry != 0) words_[count_++] = static_cast<std::uint32_t>(carry);
  }

  bool is_zero() const { return count_ == 0; }
  std::int32_t bits() const { return count_ == 0 ? 0 : 32 * count_ - std::countl_zero(words_[count_ - 1]); }

  // Below, at or above 0 as the number is below, at or above the other.
  std::int32_t compare(const Bignum& other) const {
    if (count_ != other.count_) return count_ < other.count_ ? -1 : 1;
    for (std::int32_t i = count_ - 1; i >= 0; --i) {
      if (words_[i] != other.words_[i]) return words_[i] < other.words_[i] ? -1 : 1;
    }
    return 0;
  }

 private:
  void trim() {
    while (count_ > 0 && words_[count_ - 1] == 0) --count_;
  }

  std::uint32_t words_[200];
  std::int32_t count_ = 0;
};

}  // namespace zvrt::columns
