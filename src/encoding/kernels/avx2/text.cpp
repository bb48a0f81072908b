// The text kernels for processors with AVX2. Counting is by SSE4.1; copies of terminated wide text are the C library's.
#include "encoding/kernels/avx2/text.h"
#include "encoding/kernels/baseline/text.h"
#include "encoding/kernels/sse41/text.h"

namespace zvrt {

namespace {

Progress copy_wide(const void* src, void* dst, std::size_t capacity) {
  return text_kernels_baseline.copy_wide(src, dst, capacity);
}

}  // namespace

const TextKernels text_kernels_avx2{
    .decode = avx2::decode,
    .decode_terminated = avx2::decode_terminated,
    .encode = avx2::encode,
    .encode_terminated = avx2::encode_terminated,
    .decode_within = decode_measured<avx2::decode>,
    .encode_within = encode_measured<avx2::encode>,
    .utf8_to_utf16 = avx2::utf8_to_utf16,
    .utf16_to_utf8 = avx2::utf16_to_utf8,
    .utf16_to_utf32 = avx2::utf16_to_utf32,
    .utf32_to_utf16 = avx2::utf32_to_utf16,
    .count_decoded = sse41::count_decoded,
    .count_encoded = sse41::count_encoded,
    .copy = avx2::copy_narrow,
    .copy_wide = copy_wide,
    .copy_counted = avx2::copy_counted,
    .drop_blanks = baseline::drop_blanks,
    .leading_blanks = baseline::leading_blanks,
    .trailing_blanks = baseline::trailing_blanks,
};

}  // namespace zvrt
