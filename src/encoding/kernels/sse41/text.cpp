// The text kernels for processors with SSE4.1. Copies are the C library's, UTF-16 is by SSE2.
#include "encoding/kernels/baseline/text.h"
#include "encoding/kernels/sse41/text.h"

namespace zvrt {

namespace {

Progress copy(const void* src, void* dst, std::size_t capacity) {
  return text_kernels_baseline.copy(src, dst, capacity);
}
Progress copy_wide(const void* src, void* dst, std::size_t capacity) {
  return text_kernels_baseline.copy_wide(src, dst, capacity);
}

}  // namespace

const TextKernels text_kernels_sse41{
    .decode = sse41::decode,
    .decode_terminated = sse41::decode_terminated,
    .encode = sse41::encode,
    .encode_terminated = sse41::encode_terminated,
    .decode_within = decode_measured<sse41::decode>,
    .encode_within = encode_measured<sse41::encode>,
    .utf8_to_utf16 = baseline::utf8_to_utf16,
    .utf16_to_utf8 = baseline::utf16_to_utf8,
    .utf16_to_utf32 = baseline::utf16_to_utf32,
    .utf32_to_utf16 = baseline::utf32_to_utf16,
    .count_decoded = sse41::count_decoded,
    .count_encoded = sse41::count_encoded,
    .copy = copy,
    .copy_wide = copy_wide,
    .copy_counted = baseline::copy_counted,
    .drop_blanks = baseline::drop_blanks,
    .leading_blanks = baseline::leading_blanks,
    .trailing_blanks = baseline::trailing_blanks,
};

}  // namespace zvrt
