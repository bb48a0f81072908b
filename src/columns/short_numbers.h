// Short numbers: the direct way between any two kinds of numbers, and numbers and text.
//
// Most numbers are a 64-bit integer over a power of ten up to 10^18. Rows pass through an array of them,
//
//   reader of the source kind  ->  values and scales  ->  writer of the target kind
//
// which is what blocks do, in a form that needs no arithmetic of 128 bits. Readers and writers convert the leading rows
// that are such numbers and fit; the row after them goes through a block, which decides all else.
#pragma once

#include <array>
#include <cstdint>

#include "columns/direct.h"
#include "support/inlined.h"

namespace zvrt::columns {

constexpr std::int32_t short_rows = 64;  // at most, a call
constexpr std::int32_t most_short_scale = 18;
constexpr std::int64_t short_digits_read = 18;  // of a text: no word is too small for them

struct ShortNumbers {
  std::int64_t value[short_rows];
  std::int32_t scale[short_rows];  // 0 to 18; 0 of a zero that was read from text
};

constexpr auto short_powers = [] {
  std::array<std::uint64_t, 20> all{1};
  for (std::size_t i = 1; i < all.size(); ++i) all[i] = all[i - 1] * 10;
  return all;
}();

ZVRT_INLINED std::uint64_t magnitude_of(std::int64_t value) {
  const auto bits = static_cast<std::uint64_t>(value);
  return value < 0 ? ~bits + 1 : bits;
}

// The kernel that goes by them.
Direct convert_short_numbers;

// Texts end to end, as many as there are numbers.
using JoinShort = void(const ZVRTPlan& plan, const ShortNumbers& numbers, std::int32_t count, JoinedTexts& texts);

// Those of a plan's sides; null where a type has none.
ReadShort* find_short_reader(const Type& from, std::uint32_t options);
WriteShort* find_short_writer(const Type& to, std::uint32_t options);

// A text that kernels read, or write, numbers of.
bool is_number_text(const Type& type, Role role);

// Of texts: ASCII, pages that have it, wide text.
struct NumberKernels {
  Direct* packed_to_text;
  Direct* text_to_packed;
  ReadShort* read_text;
  WriteShort* write_text;
  WriteShort* write_packed;
  JoinShort* join;
};
WriteShort write_packed_portable;

extern const NumberKernels number_kernels_portable;
extern const NumberKernels number_kernels_avx512;

// Those of this machine.
const NumberKernels& number_kernels();

// What a target holds.
struct ShortRange {
  std::int64_t least;
  std::int64_t most;
};

ZVRT_INLINED ShortRange range_of_digits(std::int32_t digits, bool has_sign) {
  const std::int64_t most =
      digits >= 19 ? INT64_MAX : static_cast<std::int64_t>(short_powers[static_cast<std::size_t>(digits)] - 1);
  return {has_sign ? -most : 0, most};
}

// The value with the target's scale; false where it has no such value, or not this one.
ZVRT_INLINED bool rescale_short(const Type& to, const ShortRange& range, const ShortNumbers& numbers, std::int32_t i,
                                std::int64_t& value) {
  value = numbers.value[i];
  if (numbers.scale[i] != to.scale) {
    const std::int32_t digits = to.scale - numbers.scale[i];
    if (digits < 0 || digits > most_short_scale) return false;
    const auto power = static_cast<std::int64_t>(short_powers[static_cast<std::size_t>(digits)]);
    if (__builtin_mul_overflow(value, power, &value)) return false;
  }
  return value >= range.least && value <= range.most;
}

}  // namespace zvrt::columns
