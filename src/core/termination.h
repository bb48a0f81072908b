// The end of a destination: where the terminator goes and what status the length earns. Pure, for all families.
#pragma once

#include <cstdint>

#include "core/call.h"

namespace zvrt {

// The rules agree on shorter and longer text; their names say what becomes of text that fills the room exactly.
enum class Finish : std::uint8_t {
  wide,           // the last character gives way to the terminator, truncated
  narrow,         // no terminator, and that is no truncation
  narrow_strict,  // no terminator, truncated
  fixed,          // there never is a terminator
};

constexpr std::int32_t no_terminator = -1;

struct Ending {
  std::int32_t terminator;  // position of the terminator in units, or no_terminator
  Status status;
};

constexpr Ending finish(Finish rule, std::int64_t length, std::int32_t capacity) {
  if (length < capacity) return {rule == Finish::fixed ? no_terminator : static_cast<std::int32_t>(length), ZVRT_RC_OK};
  if (length > capacity) return {no_terminator, ZVRT_RC_TRUNCATED};
  switch (rule) {
    case Finish::wide: return {capacity - 1, ZVRT_RC_TRUNCATED};  // without any room this is no_terminator
    case Finish::narrow_strict: return {no_terminator, ZVRT_RC_TRUNCATED};
    case Finish::narrow:
    case Finish::fixed: return {no_terminator, ZVRT_RC_OK};
  }
  return {no_terminator, ZVRT_RC_ERROR};
}

}  // namespace zvrt
