// Readers and writers of exact numbers, and the steps between numbers and text.
#pragma once

#include "columns/block.h"
#include "columns/type.h"

namespace zvrt::columns {

Read read_integer, read_bool, read_decimal, read_packed, read_zoned, read_numeric, read_varnum;
Write write_integer, write_bool, write_decimal, write_packed, write_zoned, write_numeric, write_varnum;

// The number as the type's scale and digits have it, by the plan's rule; the status that refuses it.
Status fit(const Type& type, Decimal& number);

// Runs `store_number(i, number)` over the values that fit their type; it returns a status too. `bytes` is the length of
// every value.
template <class Store>
void write_numbers(const Type& type, Block& block, Store store_number) {
  for_each(block, [&](std::int32_t i) {
    Decimal number = block.decimal[i];
    Status status = fit(type, number);
    if (status == ZVRT_RC_OK) status = store_number(i, number);
    if (status != ZVRT_RC_OK) [[unlikely]]
      return block.refuse(i, status);
    block.length[i] = type.length;
  });
}

// A number as text: see ZVRTColumns.h for its form.
Status parse_number(const Text& text, Decimal& number, Fault& fault);

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
