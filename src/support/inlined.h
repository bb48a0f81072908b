// Marks what is inlined at every level of optimisation. Kernels for several processors share such functions, and no copy
// that was compiled for one of them may be left to link.
#pragma once

#define ZVRT_INLINED [[gnu::always_inline]] inline
