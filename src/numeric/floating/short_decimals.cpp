#include "numeric/floating/short_decimals.h"

#include "support/cpu.h"

namespace zvrt {

const PlainReader read_plain_number = cpu_level() >= CpuLevel::sse41 ? read_plain_sse41 : nullptr;

}  // namespace zvrt
