#include "numeric/decimal/decimal_kernels.h"

#include "support/cpu.h"

namespace zvrt {

const DecimalKernels decimal_kernels_baseline = {render_packed, pack_text, render_varnum, encode_varnum<char>,
                                                 encode_varnum<Wide>};

const DecimalKernels decimal_kernels = *choose_version(Versions<const DecimalKernels>{
    .baseline = &decimal_kernels_baseline, .sse41 = &decimal_kernels_sse41, .avx512 = &decimal_kernels_avx512});

}  // namespace zvrt
