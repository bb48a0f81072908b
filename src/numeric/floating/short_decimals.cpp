#include "numeric/floating/short_decimals.h"

#include "support/cpu.h"

namespace zvrt {

const ShortDecimalReader read_short_decimal =
    ZVRT_X86(cpu_level() >= CpuLevel::sse41 ? read_short_decimal_sse41 :) nullptr;

}  // namespace zvrt
