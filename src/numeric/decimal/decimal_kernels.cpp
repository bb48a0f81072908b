#include "numeric/decimal/decimal_kernels.h"

#include <cstdint>

#include "support/cpu.h"

namespace zvrt {

namespace {

Rendered leave_packed(const std::uint8_t*, std::int64_t, void*, std::int32_t) { return not_rendered; }
Packed leave_text(const void*, std::uint8_t*, std::int32_t) { return not_packed; }
Rendered leave_varnum(const std::uint8_t*, void*, std::int32_t) { return not_rendered; }

}  // namespace

const DecimalKernels decimal_kernels_baseline = {render_packed,       pack_text,    render_varnum, encode_varnum<char>,
                                                 encode_varnum<Wide>, leave_packed, leave_text,    leave_varnum};

const DecimalKernels decimal_kernels = *choose_version(
    Versions<const DecimalKernels>{.baseline = &decimal_kernels_baseline ZVRT_X86(, .sse41 = &decimal_kernels_sse41,
                                                                                  .avx512 = &decimal_kernels_avx512)});

}  // namespace zvrt
