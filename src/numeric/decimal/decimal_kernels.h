// The decimal conversions between buffers in the versions they exist in. Each equals its definition on all input.
#pragma once

#include "numeric/decimal/packed_decimal.h"
#include "numeric/decimal/varnum.h"

namespace zvrt {

struct DecimalKernels {
  RenderPacked* render_packed;
  PackText* pack_text;
  RenderVarnum* render_varnum;
  EncodeVarnum* encode_varnum;       // from narrow text
  EncodeVarnum* encode_varnum_wide;  // from wide text
};

extern const DecimalKernels decimal_kernels_baseline;  // the definitions
extern const DecimalKernels decimal_kernels_sse41;
extern const DecimalKernels decimal_kernels_avx512;

// The versions for this machine, chosen when the library is loaded.
extern const DecimalKernels decimal_kernels;

}  // namespace zvrt
