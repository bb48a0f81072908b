// The level of the processor, and the choice among the versions of a kernel.
//
// Each family of kernels keeps its choice in a constant that is initialised when the library is loaded:
//
//   const Kernels& kernels = *choose_version(Versions<const Kernels>{.baseline = &baseline_kernels ZVRT_X86(, .sse41 = &sse41_kernels)});
//
// Every version gives the same results as the baseline on all input; the tests call each version that the machine
// supports.
#pragma once

#include <cstdint>

namespace zvrt {

// What only x86-64 has: `Versions<...>{.portable = &a ZVRT_X86(, .baseline = &b)}`.
#if defined(__x86_64__)
#define ZVRT_X86(...) __VA_ARGS__
#else
#define ZVRT_X86(...)
#endif

enum class CpuLevel : std::uint8_t {
  portable,  // any processor: eight bytes a step in plain registers
  baseline,  // x86-64 with SSE2
  sse41,     // SSSE3, SSE4.1 and population count
  avx2,      // those, AVX2, BMI and BMI2
  avx512,    // those, leading-zero count, FMA, and AVX-512 F, BW, CD, DQ, VL, IFMA, VBMI and VBMI2
};

CpuLevel cpu_level();

// The versions of a kernel or of a table of kernels; a level without its own is served by the next lower one. A baseline
// that needs no SSE2 serves the portable level as well.
template <class Kernel>
struct Versions {
  Kernel* portable = nullptr;
  Kernel* baseline = nullptr;
  Kernel* sse41 = nullptr;
  Kernel* avx2 = nullptr;
  Kernel* avx512 = nullptr;
};

template <class Kernel>
Kernel* choose_version(const Versions<Kernel>& versions, CpuLevel level = cpu_level()) {
  if (level >= CpuLevel::avx512 && versions.avx512 != nullptr) return versions.avx512;
  if (level >= CpuLevel::avx2 && versions.avx2 != nullptr) return versions.avx2;
  if (level >= CpuLevel::sse41 && versions.sse41 != nullptr) return versions.sse41;
  const bool has_baseline =
      versions.baseline != nullptr && (level >= CpuLevel::baseline || versions.portable == nullptr);
  return has_baseline ? versions.baseline : versions.portable;
}

}  // namespace zvrt
