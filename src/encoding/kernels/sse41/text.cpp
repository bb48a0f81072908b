// The text kernels for processors with SSE4.1. Copies are the C library's.
#include "encoding/kernels/sse41/text.h"

namespace zvrt {

namespace {

Run copy(const void* src, void* dst, std::size_t room) { return text_kernels_baseline.copy(src, dst, room); }
Run copy_wide(const void* src, void* dst, std::size_t room) { return text_kernels_baseline.copy_wide(src, dst, room); }

}  // namespace

const TextKernels text_kernels_sse41{
    sse41::decode,        sse41::decode_terminated, sse41::encode, sse41::encode_terminated,
    sse41::count_decoded, sse41::count_encoded,     copy,          copy_wide,
};

}  // namespace zvrt
