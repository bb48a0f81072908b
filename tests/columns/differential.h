// The library and the reference over the same values: anywhere in memory, in any binding, with everything compared that
// the run may have written and everything that it may not.
#pragma once

#include <random>
#include <string>
#include <vector>

#include "ZVRTColumns.h"
#include "columns/reference/reference.h"

namespace zvrt_test {

using Random = std::mt19937_64;
using zvrt_reference::Given;

// Types, options and values worth trying: ordinary ones, limits, and bytes of no meaning.
ZVRTType any_type(Random& random);
ZVRTType any_type_of(std::uint32_t kind, Random& random);
std::uint32_t any_options(Random& random);
Given any_value(const ZVRTType& type, Random& random);
// 1 to 100 of them, nulls among them or not.
std::vector<Given> any_values(const ZVRTType& type, Random& random);

std::string describe(const ZVRTType& type);

// Runs the values through a plan of the pair in a binding chosen at random. Returns what differs, or nothing. A pair that
// has no plan has no difference either; `made` counts those that have.
std::string find_difference(const ZVRTType& from, const ZVRTType& to, std::uint32_t options,
                            const std::vector<Given>& values, Random& random, int* made = nullptr);

// The same for records of one field with the values, and perhaps its indicator, as a column of an Arrow array.
std::string find_array_difference(const ZVRTType& from, std::uint32_t options, std::vector<Given> values,
                                  Random& random, int* made = nullptr);

// What differs between the plan's reasons for the value and the slow search for them, or nothing.
std::string find_wrong_reason(const ZVRTPlan* plan, const ZVRTType& from, const ZVRTType& to, std::uint32_t options,
                              const Given& value);

}  // namespace zvrt_test
