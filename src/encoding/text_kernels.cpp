#include "encoding/text_kernels.h"

#include "support/cpu.h"

namespace zvrt {

const TextKernels text_kernels = *choose_version(Versions<const TextKernels>{
    .portable = &text_kernels_portable ZVRT_X86(, .baseline = &text_kernels_baseline, .sse41 = &text_kernels_sse41,
                                                .avx2 = &text_kernels_avx2, .avx512 = &text_kernels_avx512)});

}  // namespace zvrt
