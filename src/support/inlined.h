// ZVRT_INLINED: inlined at every level of optimisation. Kernels of several levels share such functions; an out-of-line
// copy compiled for a higher level could be linked into code for every processor.
#pragma once

#define ZVRT_INLINED [[gnu::always_inline]] inline
