// The level of the processor, and the choice among the versions of a kernel.
//
// Each family of kernels keeps its choice in a constant that is initialised when the library is loaded:
//
//   const Kernels& kernels = *choose_version(Versions<const Kernels>{.baseline = &baseline_kernels, .sse41 = &sse41_kernels});
//
// Every version gives the same results as the baseline on all input; the tests call each version that the machine
// supports.
#pragma once

#include <cstdint>

namespace zvrt {

enum class CpuLevel : std::uint8_t {
  baseline,  // x86-64 with SSE2
  sse41,     // SSSE3, SSE4.1 and population count
  avx512,    // AVX2, BMI, BMI2, leading-zero count, FMA, and AVX-512 F, BW, CD, DQ, VL, IFMA, VBMI and VBMI2
};

CpuLevel cpu_level();

// The versions of a kernel or of a table of kernels; a level without its own is served by the next lower one.
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
