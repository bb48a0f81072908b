#include "numeric/plain_numbers.h"

#include "frame/cpu.h"

namespace zvrt {

const PlainReader read_plain_number = cpu_level() >= CpuLevel::avx512 ? read_plain_avx512 : nullptr;

}  // namespace zvrt
