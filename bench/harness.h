// Comparisons: one conversion of ours beside its peers, on the same values and in the same run.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ZVRTDataCnvLib.h"

namespace zvrt_bench {

// The bytes that every contender has for one value's result; no value of any set needs as much.
inline constexpr std::size_t output_size = 64 * 1024;
alignas(64) inline std::array<std::byte, output_size> result_area;

// What is compared, and the most that our time may be of the fastest peer's; 0 where no figure is set.
struct Operation {
  const char* name;
  double at_most;
};

// One way of converting a set of values. `result` is what becomes of one value, in the form in which contenders are
// compared; `run` is what is timed.
struct Contender {
  const char* name;
  std::size_t values;
  std::function<std::string(std::size_t)> result;
  std::function<void(benchmark::State&)> run;
};

// The result as the bytes that were written.
struct AsWritten {
  std::string operator()(const std::byte* written, std::size_t bytes) const {
    return {reinterpret_cast<const char*>(written), bytes};
  }
};

// `convert(value, destination)` converts one value and returns the bytes of its result. The values come in whatever
// form the contender takes them, in the same order for all. A contender that writes a form of its own brings
// `canonical`, which renders that form as the others' results are and is never timed.
template <class Values, class Convert, class Canonical = AsWritten>
Contender contender(const char* name, std::shared_ptr<const Values> values, Convert convert, Canonical canonical = {}) {
  const auto result = [values, convert, canonical](std::size_t index) -> std::string {
    const std::size_t bytes = convert((*values)[index], result_area.data());
    return canonical(result_area.data(), bytes);
  };
  const auto run = [values, convert](benchmark::State& state) {
    for ([[maybe_unused]] auto pass : state) {
      for (const auto& value : *values) {
        benchmark::DoNotOptimize(convert(value, result_area.data()));
        benchmark::ClobberMemory();
      }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(values->size()));
  };
  return {name, values->size(), result, run};
}

// Ours, as a caller calls it through the shared library: no source length, an out-length in units of `unit` bytes.
template <auto conversion, std::size_t unit>
std::size_t call(const void* source, std::byte* destination, const FldDef* field = nullptr) {
  std::uint32_t length = 0;
  conversion(source, nullptr, destination, static_cast<std::int32_t>(output_size), &length, field);
  return length * unit;
}

// Compares all results with those of the first contender, which is ours, ends the program where they differ, and
// registers every contender for timing.
void compete(Operation operation, const std::string& variant, std::vector<Contender> contenders);

// Runs what was registered and prints the ratios, those that miss their figure first; with `every_time` the contenders'
// times as well.
void run_and_report(bool every_time);

// The families, each in its own source: they register their comparisons.
void register_text();
void register_counted();
void register_transforms();
void register_code_pages();
void register_integers();
void register_narrow_numbers();
void register_floats();
void register_timestamps();
void register_decimals();
void register_siblings();
void register_date_siblings();
void register_plain_loops();

}  // namespace zvrt_bench
