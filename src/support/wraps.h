// Arithmetic of unsigned integers that is meant to lose its upper bits.
#pragma once

// Before a function in which values wrap around on purpose: clang's integer sanitizer watches everything else.
#if defined(__clang__)
#define ZVRT_WRAPS [[clang::no_sanitize("unsigned-integer-overflow", "unsigned-shift-base")]]
#else
#define ZVRT_WRAPS
#endif
