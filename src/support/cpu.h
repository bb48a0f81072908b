// What the processor can do, for kernels that exist in several versions.
//
// A family of kernels keeps its choice in a constant of its own, made once when the library is loaded:
//
//   const Kernels& kernels = *choose_version(Versions<const Kernels>{.baseline = &baseline_kernels, .sse41 = &sse41_kernels});
//
// and every version equals the baseline on all input. Tests call the versions directly, as far as the machine has them.
#pragma once

#include <cstdint>

namespace zvrt {

enum class CpuLevel : std::uint8_t {
  baseline,  // x86-64 with SSE2
  sse41,     // SSSE3, SSE4.1 and population count
  avx512,    // AVX2, BMI, BMI2, leading-zero count, FMA, and AVX-512 F, BW, CD, DQ, VL, IFMA, VBMI and VBMI2
};

CpuLevel cpu_level();

// A kernel, or a table of kernels, in the versions it exists in; levels left out are served by the next lower one.
template <class Kernel>
struct Versions {
  Kernel* baseline;
  Kernel* sse41 = nullptr;
  Kernel* avx512 = nullptr;
};

template <class Kernel>
Kernel* choose_version(const Versions<Kernel>& versions, CpuLevel level = cpu_level()) {
  if (level >= CpuLevel::avx512 && versions.avx512 != nullptr) return versions.avx512;
  if (level >= CpuLevel::sse41 && versions.sse41 != nullptr) return versions.sse41;
  return versions.baseline;
}

}  // namespace zvrt
