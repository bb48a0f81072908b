// The end of a destination: where the terminator goes and what status the length earns. One rule for all families.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ZVRTDataCnvLib.h"
#include "core/call.h"
#include "support/units.h"

namespace zvrt {

// The rules agree on shorter and longer text; they differ for text that fills the capacity exactly.
enum class TerminatorRule : std::uint8_t {
  wide,           // the last character gives way to the terminator, truncated
  narrow,         // no terminator, not truncated
  narrow_strict,  // no terminator, truncated
  fixed,          // never a terminator
};

constexpr std::int32_t no_terminator = -1;

struct Termination {
  std::int32_t terminator;  // position of the terminator in units, or no_terminator
  Status status;
};

constexpr Termination termination(TerminatorRule rule, std::int64_t length, std::int32_t capacity) {
  if (length < capacity) {
    return {rule == TerminatorRule::fixed ? no_terminator : static_cast<std::int32_t>(length), ZVRT_RC_OK};
  }
  if (length > capacity) return {no_terminator, ZVRT_RC_TRUNCATED};
  switch (rule) {
    case TerminatorRule::wide: return {capacity - 1, ZVRT_RC_TRUNCATED};  // without any capacity this is no_terminator
    case TerminatorRule::narrow_strict: return {no_terminator, ZVRT_RC_TRUNCATED};
    case TerminatorRule::narrow:
    case TerminatorRule::fixed: return {no_terminator, ZVRT_RC_OK};
  }
  return {no_terminator, ZVRT_RC_ERROR};
}

// Writes the terminator, if the rule has one for a text of this length, and returns the status.
template <class Unit>
inline Status terminate(TerminatorRule rule, void* dst, std::int64_t length, std::int32_t capacity) {
  const auto [terminator, status] = termination(rule, length, capacity);
  if (terminator != no_terminator) store(dst, static_cast<std::size_t>(terminator), Unit{0});
  return status;
}

}  // namespace zvrt
