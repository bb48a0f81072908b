// Where the digits of a date stand in a text of fixed widths, and the kernels for such texts.
#pragma once

#include <array>
#include <cstdint>

#include "columns/direct.h"
#include "support/cpu.h"
#include "support/inlined.h"

namespace zvrt::columns {

constexpr std::int32_t longest_date = 64;  // characters
constexpr std::int32_t part_count = 7;     // year, month, day, hour, minute, second, fraction

// Where the parts stand in a text; -1 where it has none.
struct Layout {
  std::array<std::int32_t, part_count> at{-1, -1, -1, -1, -1, -1, -1};
  std::int32_t count = 0;
  std::int32_t fraction_digits = 0;
  bool has_month_letters = false;                  // three of them, any characters to the ranges
  std::array<std::uint8_t, longest_date> least{};  // the first character of the range
  std::array<std::uint8_t, longest_date> span{};   // how far it goes
};

// False for a model of other elements, without a date, or with half a time of day.
bool lay_out(const DateModel& model, Layout& layout);

// --- months by three letters ---

// [a|b|c|0], the first letter lowest, in capitals. A factor puts the twelve into places of their own.
constexpr std::uint32_t month_place(std::uint32_t letters) {
  return static_cast<std::uint32_t>(std::uint64_t{letters} * 0x67D1 >> 28 & 0xF);
}

struct MonthLetters {
  std::array<std::uint32_t, 16> letters{};
  std::array<std::uint8_t, 16> month{};
};
inline constexpr MonthLetters month_letters = [] {
  constexpr const char* names = "JANFEBMARAPRMAYJUNJULAUGSEPOCTNOVDEC";
  MonthLetters all;
  for (std::uint32_t month = 1; month <= 12; ++month) {
    const char* const at = names + (month - 1) * 3;
    const std::uint32_t letters = static_cast<std::uint32_t>(at[0]) | static_cast<std::uint32_t>(at[1]) << 8 |
                                  static_cast<std::uint32_t>(at[2]) << 16;
    all.letters[month_place(letters)] = letters;
    all.month[month_place(letters)] = static_cast<std::uint8_t>(month);
  }
  return all;
}();

// The month of letters in any case; 0 for those of none. Only letters become capitals when a bit is cleared.
ZVRT_INLINED std::uint32_t find_month(std::uint32_t letters) {
  const std::uint32_t capitals = letters & 0x00DFDFDF;
  const std::uint32_t place = month_place(capitals);
  return month_letters.letters[place] == capitals ? month_letters.month[place] : 0;
}

std::uint32_t power_of(std::int32_t digits);

// The plans are those of direct_dates.cpp. The kernels for AVX-512 are for texts of at most 31 characters with at most 8
// digits after the second.
struct DateKernels {
  Direct* record_to_text;
  Direct* text_to_record;
  Direct* text_to_count;  // days or micro-seconds since 1970
};
// Counts from the records of one level's kernel.
Direct count_text_portable ZVRT_X86(, count_text_avx512);
extern const DateKernels date_kernels_portable;
extern const DateKernels date_kernels_avx512;

}  // namespace zvrt::columns
