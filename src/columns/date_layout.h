// Where the digits of a date stand in a text of fixed widths, and the kernels for such texts.
#pragma once

#include <array>
#include <cstdint>

#include "columns/direct.h"

namespace zvrt::columns {

constexpr std::int32_t longest_date = 64;  // characters
constexpr std::int32_t part_count = 7;     // year, month, day, hour, minute, second, fraction

// Where the parts stand in a text.
struct Layout {
  std::array<std::int32_t, part_count> at{-1, -1, -1, -1, -1, -1, -1};
  std::int32_t count = 0;
  std::int32_t fraction_digits = 0;
  std::array<std::uint8_t, longest_date> least{};  // the first character of the range
  std::array<std::uint8_t, longest_date> span{};   // how far it goes
};

// False for a model of other elements, or without some of the first six.
bool lay_out(const DateModel& model, Layout& layout);

std::uint32_t power_of(std::int32_t digits);

// The plans are those of direct_dates.cpp. The kernels for AVX-512 are for texts of at most 31 characters with at most 8
// digits after the second.
struct DateKernels {
  Direct* record_to_text;
  Direct* text_to_record;
};
extern const DateKernels date_kernels_portable;
extern const DateKernels date_kernels_avx512;

}  // namespace zvrt::columns
