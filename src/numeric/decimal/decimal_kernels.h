// The decimal conversions between buffers, one table per level. Every version equals the definition on all input.
#pragma once

#include "numeric/decimal/packed_decimal.h"
#include "numeric/decimal/varnum.h"

namespace zvrt {

// The conversions to and from wide text have forms over bytes of ASCII. Those do the usual case only: a valid value whose
// text fits with its terminator, a text that fits into its field. They return a length, or size, of 0 and write nothing
// where they leave the value to the way by wide text.
using RenderPackedBytes = RenderPacked;
using PackBytes = PackText;
using RenderVarnumBytes = RenderVarnum;

struct DecimalKernels {
  RenderPacked* render_packed;
  PackText* pack_text;
  RenderVarnum* render_varnum;
  EncodeVarnum* encode_varnum;       // from narrow text
  EncodeVarnum* encode_varnum_wide;  // from wide text
  RenderPackedBytes* render_packed_bytes;
  PackBytes* pack_bytes;
  RenderVarnumBytes* render_varnum_bytes;
};

// A value that a form over bytes leaves alone.
constexpr Rendered not_rendered{0, ZVRT_RC_ERROR};
constexpr Packed not_packed{0, 0};

extern const DecimalKernels decimal_kernels_baseline;  // the definitions
extern const DecimalKernels decimal_kernels_sse41;
extern const DecimalKernels decimal_kernels_avx512;

// The versions for this machine, chosen when the library is loaded.
extern const DecimalKernels decimal_kernels;

}  // namespace zvrt
