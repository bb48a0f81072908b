// Readers and writers of exact numbers, and the steps between numbers and text.
#pragma once

#include "columns/block.h"
#include "columns/type.h"

namespace zvrt::columns {

Read read_integer, read_bool, read_decimal, read_packed, read_zoned, read_numeric, read_varnum;
Write write_integer, write_bool, write_decimal, write_packed, write_zoned, write_numeric, write_varnum;
Read read_bytes;
Write write_bytes;

// The number as the type's scale and digits have it, by the plan's rule; the status that refuses it.
Status fit(const Type& type, Decimal& number);

// Runs `store_number(i, number)` over the values that fit their type; it returns a status too. `bytes` is the length of
// every value.
template <class Store>
void write_numbers(const Type& type, Block& block, Store store_number) {
  const bool has_sign = !type.has(ZVRT_TYPE_UNSIGNED | ZVRT_TYPE_NO_SIGN);
  for_each(block, [&](std::int32_t i) {
    Decimal number = block.decimal[i];
    // Most numbers have the target's scale already.
    const bool fits = number.scale == type.scale && number.tail == Tail::zero && (has_sign || !number.negative);
    Status status = fits ? ZVRT_RC_OK : fit(type, number);
    if (status == ZVRT_RC_OK) status = store_number(i, number);
    if (status != ZVRT_RC_OK) [[unlikely]]
      return block.refuse(i, status);
    block.length[i] = type.length;
  });
}

// A number as text: see ZVRTColumns.h for its form.
Status parse_number(const Text& text, Decimal& number, Fault& fault);

// The digits of a text that has more than 40, for floats: halfway points between doubles have up to 767 of them. An odd
// one after those kept stands for the others, so that no halfway point is mistaken.
class LongNumber {
 public:
  void add(std::uint32_t digit) {
    if (count_ == 0 && digit == 0) return;
    if (count_ < max_kept) {
      digits_[count_++] = static_cast<char>('0' + digit);
      return;
    }
    ++dropped_;
    rest_ |= digit != 0;
  }
  std::int64_t dropped() const { return dropped_; }
  void finish(bool negative, std::int32_t scale) {
    negative_ = negative;
    scale_ = scale;
    if (!rest_) return;
    digits_[count_++] = '1';
    ++scale_;
  }

  bool is_negative() const { return negative_; }
  std::int32_t scale() const { return scale_; }
  std::int32_t count() const { return count_; }
  const char* digits() const { return digits_; }

 private:
  static constexpr std::int32_t max_kept = 800;

  char digits_[max_kept + 1];
  std::int32_t count_ = 0;
  std::int32_t scale_ = 0;
  std::int64_t dropped_ = 0;
  bool rest_ = false;
  bool negative_ = false;
};

// Of text that parse_number() takes.
LongNumber parse_long_number(const Text& text);

// At most so many characters: a sign, "0.", the zeros and digits of the smallest number.
constexpr std::int32_t longest_number_text = 320;
// Digits and a point, by the number's scale; returns the length.
std::int32_t format_number(const Decimal& number, char* out);

// Steps between canonical forms.
void step_text_to_decimal(const Type& from, const Type& to, Block& block);
void step_decimal_to_text(const Type& from, const Type& to, Block& block);
void step_text_to_bool(const Type& from, const Type& to, Block& block);
void step_bool_to_text(const Type& from, const Type& to, Block& block);
void step_text_to_bytes(const Type& from, const Type& to, Block& block);
void step_bytes_to_text(const Type& from, const Type& to, Block& block);

}  // namespace zvrt::columns
