// ZVRT_WRAPS: a function with unsigned arithmetic that wraps around on purpose.
#pragma once

// clang's integer sanitizer checks everything else.
#if defined(__clang__)
#define ZVRT_WRAPS [[clang::no_sanitize("unsigned-integer-overflow", "unsigned-shift-base")]]
#else
#define ZVRT_WRAPS
#endif
