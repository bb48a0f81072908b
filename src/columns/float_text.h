// Floats as text, in the shortest form and in the form of 17 digits.
#pragma once

#include <cstdint>

#include "columns/shortest.h"

namespace zvrt::columns {

// Room for either form; fixed numbers of bytes are copied, which may be more than the text has.
constexpr std::int32_t max_float_text = 64;

// Digits laid out as float_text.cpp tells. Returns the length. A zero has no sign.
std::int32_t format_shortest(const Shortest& number, bool negative, char* out);

// The form of 17 digits. Returns the length.
std::int32_t format_single_form(double value, char* out);

}  // namespace zvrt::columns
