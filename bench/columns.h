// Plans over columns beside the functions for single values, on the same values in one run.
//
// A set is a column of values, the plan that converts it, and a loop over the functions that do the same. Three runs of the
// plan are timed: over the whole column; by blocks, which an array of starts forces; and by runs of 32 rows. Before
// anything is timed, each leaves what the loop leaves, to the last byte of every value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "ZVRTColumns.h"
#include "inputs.h"

namespace zvrt_bench {

// Values at one stride; `lengths` is empty where their slots tell them.
struct Column {
  std::vector<std::byte> bytes;
  std::int64_t stride = 0;
  std::vector<std::int64_t> lengths;
  std::int64_t rows = 0;

  const std::byte* at(std::int64_t row) const { return bytes.data() + row * stride; }
};

// What a column becomes.
struct Target {
  std::vector<std::byte> bytes;
  std::vector<std::int64_t> lengths;
  std::int64_t stride;

  Target(std::int64_t rows, std::int64_t slot)
      : bytes(static_cast<std::size_t>(rows * slot)), lengths(static_cast<std::size_t>(rows)), stride(slot) {}
  std::byte* at(std::int64_t row) { return bytes.data() + row * stride; }
};

// Converts `count` rows from `first` on into the first slots of the target.
using Loop = std::function<void(const Column&, std::int64_t first, std::int64_t count, Target&)>;

struct Comparison {
  std::string conversion;  // rows of one conversion are counted together
  std::string values;
  double at_least;  // the gain that the conversion is held to with AVX-512; 0: none
  ZVRTType from;
  ZVRTType to;
  std::uint32_t options;
  Column column;
  Loop single_calls;
  bool is_compared = true;  // false where the plan writes a form of its own
};

// The loop over one value's calls: `convert(value, bytes, slot)` returns the bytes of the result.
template <class Convert>
Loop each_value(Convert convert) {
  return [convert](const Column& column, std::int64_t first, std::int64_t count, Target& target) {
    for (std::int64_t i = 0; i < count; ++i) {
      const std::int64_t row = first + i;
      const std::int64_t bytes = column.lengths.empty() ? 0 : column.lengths[static_cast<std::size_t>(row)];
      target.lengths[static_cast<std::size_t>(i)] = convert(column.at(row), bytes, target.at(i));
    }
  };
}

std::vector<Comparison> hot_sets();
std::vector<Comparison> block_sets();

}  // namespace zvrt_bench
