// The text kernels for processors with AVX-512.
#include "encoding/kernels/avx512/text.h"

namespace zvrt {

const TextKernels text_kernels_avx512{
    avx512::decode,        avx512::decode_terminated, avx512::encode,      avx512::encode_terminated,
    avx512::count_decoded, avx512::count_encoded,     avx512::copy_narrow, avx512::copy_wide,
};

}  // namespace zvrt
