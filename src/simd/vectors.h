// Vectors of sixteen bytes for code that is not a kernel: by SSE2 where the processor has it and the build is not for the
// level portable, else in plain C++. Both have the same functions with the same results on all input.
#pragma once

#if defined(__SSE2__) && !defined(ZVRT_PORTABLE_VECTORS)
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
