// The text kernels for processors with AVX-512.
#include "encoding/kernels/avx512/text.h"

namespace zvrt {

const TextKernels text_kernels_avx512{
    .decode = avx512::decode,
    .decode_terminated = avx512::decode_terminated,
    .encode = avx512::encode,
    .encode_terminated = avx512::encode_terminated,
    .decode_within = avx512::decode_within,
    .encode_within = avx512::encode_within,
    .utf8_to_utf16 = avx512::utf8_to_utf16,
    .utf16_to_utf8 = avx512::utf16_to_utf8,
    .utf16_to_utf32 = avx512::utf16_to_utf32,
    .utf32_to_utf16 = avx512::utf32_to_utf16,
    .count_decoded = avx512::count_decoded,
    .count_encoded = avx512::count_encoded,
    .copy = avx512::copy_narrow,
    .copy_wide = avx512::copy_wide,
    .copy_counted = avx512::copy_counted,
    .drop_blanks = avx512::drop_blanks,
    .leading_blanks = avx512::leading_blanks,
    .trailing_blanks = avx512::trailing_blanks,
};

}  // namespace zvrt
