// The types that a column of somebody else's may have: Arrow's format words, read strictly.
#pragma once

#include <cstdint>

namespace zvrt::arrow {

enum class Storage : std::uint8_t {
  none,            // all rows are null, no buffers
  bits,            // booleans
  signed_integer,  // of `width` bytes, with a scale: decimals of 32 and 64 bits too
  unsigned_integer,
  binary_float,
  decimal128,
  decimal256,
  days,
  date_millis,
  time_of_day,   // `units` to the second, in `width` bytes
  microseconds,  // timestamps
  timestamp,     // ... of other units
  text32,        // end to end, with 32-bit offsets
  text64,
  text_views,  // 16 bytes each: the text itself, or a prefix, a buffer and an offset
  binary32,
  binary64,
  binary_views,
  fixed_binary,  // `width` bytes each
};

struct ArrowType {
  Storage storage = Storage::none;
  std::int32_t width = 0;  // bytes of an element, where all have the same
  std::int32_t scale = 0;  // of decimals
  std::int64_t units = 0;  // to a second
  bool zoned = false;
};

// False for what is no format, or not one of these.
bool parse_format(const char* format, ArrowType& type);

constexpr bool has_offsets(Storage s) {
  return s == Storage::text32 || s == Storage::text64 || s == Storage::binary32 || s == Storage::binary64;
}
constexpr bool has_views(Storage s) { return s == Storage::text_views || s == Storage::binary_views; }
constexpr bool has_wide_offsets(Storage s) { return s == Storage::text64 || s == Storage::binary64; }

}  // namespace zvrt::arrow
