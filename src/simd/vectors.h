// Vectors of sixteen bytes for code that is not a kernel: by SSE2 where the processor has it, else in plain C++. Both have
// the same functions with the same results on all input.
#pragma once

#if defined(__SSE2__)
#include "simd/sse2.h"
namespace zvrt {
namespace vectors = sse2;
}
#else
#include "simd/portable.h"
namespace zvrt {
namespace vectors = portable;
}
#endif
