// Binary and hexadecimal floats, and the steps between them and the other forms.
//
// Between floats a value is carried as it is, significand and exponent, and rounded once. To everything else a float is
// the shortest decimal that reads back as it; from everything else the nearest float is taken, ties to even.
#pragma once

#include <bit>

#include "columns/block.h"
#include "columns/numbers.h"
#include "columns/type.h"

namespace zvrt::columns {

Read read_float, read_hex_float;
Write write_float, write_hex_float;

void step_binary_to_decimal(const Type& from, const Type& to, Block& block);
void step_decimal_to_binary(const Type& from, const Type& to, Block& block);
void step_text_to_binary(const Type& from, const Type& to, Block& block);
void step_binary_to_text(const Type& from, const Type& to, Block& block);

// The shortest decimal that reads back as a finite float of the type.
Decimal shortest_decimal(const Type& type, const Binary& value);

// A target's float nearest to a number; ZVRT_RC_OUT_OF_RANGE above the greatest. `is_exact` tells whether it is the
// number itself.
struct Nearest {
  Binary value;
  Status status;
  bool is_exact;
};

// Hexadecimal floats of `digits` hexadecimal digits, 6 or 14: significand * 16^(exponent / 4) with the exponent a
// multiple of 4, the least one where the value is so small.
Nearest nearest_hex(const Binary& value, std::int32_t digits);
Nearest nearest_hex(const LongNumber& number, std::int32_t digits);
// The shortest decimal that reads back as a finite hexadecimal float; of several the nearest.
Decimal shortest_hex(const Binary& value, std::int32_t digits);

// The exponent of the highest bit of a significand other than 0.
inline std::int32_t top_bit_of(const Binary& value) {
  return 63 - std::countl_zero(value.significand) + value.exponent;
}

// A significand cut by `shift` bits and rounded, ties to even.
struct Shifted {
  std::uint64_t value;
  bool is_exact;
};
Shifted round_shift(std::uint64_t significand, std::int32_t shift);

}  // namespace zvrt::columns
