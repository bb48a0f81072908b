#include "support/cpu.h"

namespace zvrt {

namespace {

#if defined(__x86_64__)
CpuLevel level_of_processor() {
  __builtin_cpu_init();
  const bool sse41 =
      __builtin_cpu_supports("ssse3") && __builtin_cpu_supports("sse4.1") && __builtin_cpu_supports("popcnt");
  if (!sse41) return CpuLevel::baseline;
  const bool avx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2");
  if (!avx2) return CpuLevel::sse41;
  // Machines with AVX-512 have leading-zero count as well.
  const bool avx512 = __builtin_cpu_supports("fma") && __builtin_cpu_supports("avx512f") &&
                      __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512cd") &&
                      __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl") &&
                      __builtin_cpu_supports("avx512ifma") && __builtin_cpu_supports("avx512vbmi") &&
                      __builtin_cpu_supports("avx512vbmi2");
  return avx512 ? CpuLevel::avx512 : CpuLevel::avx2;
}
#else
CpuLevel level_of_processor() { return CpuLevel::portable; }
#endif

}  // namespace

CpuLevel cpu_level() {
  const CpuLevel level = level_of_processor();
  return level < CpuLevel::ZVRT_HIGHEST_LEVEL ? level : CpuLevel::ZVRT_HIGHEST_LEVEL;
}

}  // namespace zvrt
