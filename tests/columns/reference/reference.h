// What a plan does to one value, written from what the header promises and from nothing else: slowly, in strings and
// numbers of any size. Tests and fuzzers compare the library with it, byte by byte.
//
// A value is read into what it is (a text of code points, a number, a point in time ...), turned into the form that the
// target needs, and written. Every step says its status; the first that is not 0 is the value's.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "ZVRTColumns.h"

namespace zvrt_reference {

// A source value: the bytes of its slot, the length that `lengths` says and whether the indicator says null.
struct Given {
  std::string slot{};
  std::optional<std::int64_t> length{};
  bool null = false;
};

struct Result {
  std::uint32_t status = 0;
  std::string slot{};  // after the run, of what it was before
  std::optional<std::int64_t> length{};
  std::optional<std::int64_t> indicator{};
  bool null = false;
  bool empty = false;
};

// `before` is what the target's slot holds; `shows_null` whether there is an indicator.
Result convert(const ZVRTType& from, const ZVRTType& to, std::uint32_t options, const Given& given, std::string before,
               bool shows_null);

}  // namespace zvrt_reference
