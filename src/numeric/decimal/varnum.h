// VARNUM to wide text and text to VARNUM, between buffers only, without the calling convention.
#pragma once

#include <cstdint>

#include "core/call.h"
#include "numeric/decimal/base100.h"
#include "numeric/decimal/packed_decimal.h"
#include "support/units.h"

namespace zvrt {

// The longest text, of the smallest exponent and a full mantissa: the point, the zeros and the digits after it.
constexpr std::int32_t max_varnum_text_length = 1 + 2 * (-min_varnum_exponent - 1 + Base100::max_digits);

// The text of a value that is not negative. A negative or malformed value writes nothing and gives ZVRT_RC_ERROR.
using RenderVarnum = Rendered(const std::uint8_t* value, void* dst, std::int32_t capacity);

// The positions of a well-formed value's digits and point in its text.
struct VarnumText {
  std::int32_t digits;   // decimal digits of the mantissa
  std::int32_t skipped;  // leading zeros of them that are not written; negative: zeros written before them
  std::int32_t point;    // position of the point; without a fraction, the end of the text
  std::int32_t length;
};

// Static, since each kernel compiles it for its own level.
static inline VarnumText lay_out(const std::uint8_t* value) {
  const std::int32_t count = value[0] - 1;
  if (count == 0) return {0, 0, 1, 1};
  const std::int32_t integer_digits = value[1] - positive_exponent + 1;  // base-100 digits before the point
  VarnumText text;
  text.digits = 2 * count;
  text.skipped = integer_digits > 0 ? (value[varnum_header] <= 10 ? 1 : 0) : 2 * integer_digits;
  text.point = 2 * integer_digits - text.skipped;
  text.length = count > integer_digits ? text.digits - text.skipped + 1 : text.point;
  return text;
}

struct EncodedVarnum {
  std::int64_t length;  // characters of the text
  std::int32_t
      size;  // bytes that the value needs, 0 if the text is not a number; above the capacity: nothing was written
};

// Terminated text to a value in `capacity` bytes; the empty text is zero.
using EncodeVarnum = EncodedVarnum(const void* text, std::uint8_t* dst, std::int32_t capacity);

// The definitions; the kernels call them for what is outside their fast path.
Rendered render_varnum(const std::uint8_t* value, void* dst, std::int32_t capacity);
template <class Unit>
EncodedVarnum encode_varnum(const void* text, std::uint8_t* dst, std::int32_t capacity);

}  // namespace zvrt
