#include <immintrin.h>

#include "page_data.h"
#include "single_byte_kernels.h"

namespace zvrt {

namespace {

// 256 bytes in registers, looked up by 64 at once.
struct Lookup {
  __m512i from_00, from_40, from_80, from_c0;

  explicit Lookup(const unsigned char (&table)[256])
      : from_00(_mm512_load_si512(table)),
        from_40(_mm512_load_si512(table + 64)),
        from_80(_mm512_load_si512(table + 128)),
        from_c0(_mm512_load_si512(table + 192)) {}

  __m512i operator[](__m512i indices) const {
    const __m512i lower = _mm512_permutex2var_epi8(from_00, indices, from_40);
    const __m512i upper = _mm512_permutex2var_epi8(from_80, indices, from_c0);
    return _mm512_mask_blend_epi8(_mm512_movepi8_mask(indices), lower, upper);
  }
};

__mmask64 first_lanes(std::size_t count) { return _bzhi_u64(~0ULL, count < 64 ? static_cast<unsigned>(count) : 64U); }

template <int quarter>
void store_quarter(unsigned char* to, __m512i low, __m512i high, __mmask64 lanes) {
  const __m512i units =
      _mm512_or_si512(_mm512_cvtepu8_epi32(_mm512_extracti32x4_epi32(low, quarter)),
                      _mm512_slli_epi32(_mm512_cvtepu8_epi32(_mm512_extracti32x4_epi32(high, quarter)), 8));
  _mm512_mask_storeu_epi32(to + 64 * quarter, static_cast<__mmask16>(lanes >> (16 * quarter)), units);
}

std::size_t read(const Page& page, const unsigned char* from, std::size_t count, unsigned char* to) {
  const SingleByteTables& tables = zvrt_singles[page.single_byte];
  const Lookup low_half(tables.low_half);
  const Lookup high_half(tables.high_half);
  for (std::size_t done = 0; done < count; done += 64) {
    const __mmask64 wanted = first_lanes(count - done);
    const __m512i bytes = _mm512_maskz_loadu_epi8(wanted, from + done);
    const __m512i low = low_half[bytes];
    const __m512i high = high_half[bytes];
    const __mmask64 undefined = _mm512_mask_cmpeq_epi8_mask(wanted, _mm512_and_si512(low, high), _mm512_set1_epi8(-1));
    const __mmask64 lanes = wanted & _blsmsk_u64(undefined) & ~undefined;
    unsigned char* const target = to + done * wide_size;
    store_quarter<0>(target, low, high, lanes);
    if (count > 16) store_quarter<1>(target, low, high, lanes);
    if (lanes >> 32 != 0) {  // one branch: a second store without lanes costs less than a wrong guess
      store_quarter<2>(target, low, high, lanes);
      store_quarter<3>(target, low, high, lanes);
    }
    if (undefined != 0) return done + _tzcnt_u64(undefined);
  }
  return count;
}

std::size_t write(const Page& page, const unsigned char* from, std::size_t count, unsigned char* to) {
  const SingleByteTables& tables = zvrt_singles[page.single_byte];
  const Lookup first_window(tables.first_window);
  const Lookup other_window(tables.other_window);
  const __m512i number = _mm512_set1_epi32(static_cast<int>(page.other_window));
  for (std::size_t done = 0; done < count; done += 16) {
    const auto wanted = static_cast<__mmask16>(first_lanes(count - done));
    const __m512i characters = _mm512_maskz_loadu_epi32(wanted, from + done * wide_size);
    const __m512i window = _mm512_srli_epi32(characters, 8);
    const __mmask16 in_first = _mm512_testn_epi32_mask(window, window);
    const __mmask16 in_other = _mm512_cmpeq_epi32_mask(window, number);
    const __m512i indices = _mm512_castsi128_si512(_mm512_cvtepi32_epi8(characters));
    const __m128i codes = _mm_mask_blend_epi8(in_other, _mm512_castsi512_si128(first_window[indices]),
                                              _mm512_castsi512_si128(other_window[indices]));
    const __mmask16 coded = _mm_test_epi8_mask(codes, codes) | _mm512_testn_epi32_mask(characters, characters);
    const unsigned without = wanted & ~((in_first | in_other) & coded) & 0xFFFFU;
    const auto lanes = static_cast<__mmask16>(wanted & _blsmsk_u32(without) & ~without);
    _mm_mask_storeu_epi8(to + done, lanes, codes);
    if (without != 0) return done + _tzcnt_u32(without);
  }
  return count;
}

}  // namespace

const SingleByteKernels single_byte_avx512 = {read, write};

}  // namespace zvrt
