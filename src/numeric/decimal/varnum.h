// VARNUM to wide text and text to VARNUM, between buffers alone: nothing here knows of out-lengths.
#pragma once

#include <cstdint>

#include "core/call.h"
#include "numeric/decimal/base100.h"
#include "numeric/decimal/packed_decimal.h"
#include "support/units.h"

namespace zvrt {

// The longest text, of a least exponent and a full mantissa: the point, the zeros and the digits behind it.
constexpr std::int32_t max_varnum_text_length = 1 + 2 * (-min_varnum_exponent - 1 + Base100::max_digits);

// The text of a value that is not negative; of any other, and of a malformed one, nothing and ZVRT_RC_ERROR.
using RenderVarnum = Rendered(const std::uint8_t* value, void* dst, std::int32_t capacity);

// Where a well-formed value's digits and the point stand in its text.
struct VarnumText {
  std::int32_t digits;   // decimal digits of the mantissa
  std::int32_t skipped;  // of them, zeros at the front that are not written; below 0, zeros written before them
  std::int32_t point;    // where the point stands; without a fraction, where the text ends
  std::int32_t length;
};

// Of internal linkage, since kernels compile it for other processors than the rest.
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

struct Encoded {
  std::int64_t length;  // characters of the text
  std::int32_t size;  // bytes that the value needs, 0 when the text is no number; beyond the room: nothing was written
};

// Terminated text to a value in `capacity` bytes; the empty text is zero.
using EncodeVarnum = Encoded(const void* text, std::uint8_t* dst, std::int32_t capacity);

// The definitions, and what other versions fall back on outside their ordinary cases.
RenderVarnum render_varnum;
template <class Unit>
EncodeVarnum encode_varnum;

}  // namespace zvrt
