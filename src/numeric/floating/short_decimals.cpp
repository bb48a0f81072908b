#include "numeric/floating/short_decimals.h"

#include "support/cpu.h"

namespace zvrt {

const ShortDecimalKernels short_decimals_baseline = {[](const void*) { return ShortDecimal{0, 0}; }};

const ShortDecimalKernels short_decimals = *choose_version(Versions<const ShortDecimalKernels>{
    .baseline = &short_decimals_baseline ZVRT_X86(, .sse41 = &short_decimals_sse41)});

}  // namespace zvrt
