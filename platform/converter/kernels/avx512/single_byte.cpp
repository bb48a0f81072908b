// Single-byte pages by AVX-512: 64 bytes to characters, or 16 characters to bytes, a step.
//
// A page is a table of 256 entries. Four registers hold 256 bytes, and VPERMI2B looks up 64 indices in two of them at
// once; the top bit of an index chooses between the lower and the upper pair. Characters have two such tables, of their
// low and of their high bytes, FF and FF together being a byte that the page does not define:
// [b0 ... b63] -> [l0 ... l63] and [h0 ... h63] -> four times [l|h 00] in lanes of 32 bits.
//
// The other way, a page's characters lie in U+0000 to U+00FF but for one other window of 256, which the table names. Both
// are looked up, the character's upper bits choose, and a code of 0 means none, but for U+0000.
#include <cstddef>

#include "page_data.h"
#include "simd/avx512.h"
#include "single_byte_kernels.h"

namespace zvrt {

namespace {

using namespace avx512;

// 256 bytes in registers, looked up by 64 at once.
struct Lookup {
  Vector from_00, from_40, from_80, from_c0;

  explicit Lookup(const unsigned char (&table)[256])
      : from_00(_mm512_load_si512(table)),
        from_40(_mm512_load_si512(table + 64)),
        from_80(_mm512_load_si512(table + 128)),
        from_c0(_mm512_load_si512(table + 192)) {}

  Vector operator[](Vector indices) const {
    const Vector lower = _mm512_permutex2var_epi8(from_00, indices, from_40);
    const Vector upper = _mm512_permutex2var_epi8(from_80, indices, from_c0);
    return _mm512_mask_blend_epi8(_mm512_movepi8_mask(indices), lower, upper);
  }
};

template <int quarter>
void store_quarter(unsigned char* to, Vector low, Vector high, Mask lanes) {
  const Vector units =
      _mm512_or_si512(_mm512_cvtepu8_epi32(_mm512_extracti32x4_epi32(low, quarter)),
                      _mm512_slli_epi32(_mm512_cvtepu8_epi32(_mm512_extracti32x4_epi32(high, quarter)), 8));
  _mm512_mask_storeu_epi32(to + 64 * quarter, lanes_of(lanes, quarter), units);
}

std::size_t read(const Page& page, const unsigned char* from, std::size_t count, unsigned char* to) {
  const SingleByteTables& tables = zvrt_singles[page.single_byte];
  const Lookup low_half(tables.low_half);
  const Lookup high_half(tables.high_half);
  for (std::size_t done = 0; done < count; done += 64) {
    const Mask wanted = first(min(count - done, std::size_t{64}));
    const Vector bytes = _mm512_maskz_loadu_epi8(wanted, from + done);
    const Vector low = low_half[bytes];
    const Vector high = high_half[bytes];
    const Mask undefined = _mm512_mask_cmpeq_epi8_mask(wanted, _mm512_and_si512(low, high), repeat8(0xFF));
    const Mask lanes = wanted & below(undefined);
    unsigned char* const target = to + done * wide_size;
    store_quarter<0>(target, low, high, lanes);
    if (count > 16) store_quarter<1>(target, low, high, lanes);
    if (lanes >> 32 != 0) {  // one branch: a second store without lanes costs less than a wrong guess
      store_quarter<2>(target, low, high, lanes);
      store_quarter<3>(target, low, high, lanes);
    }
    if (undefined != 0) return done + lowest_bit(undefined);
  }
  return count;
}

std::size_t write(const Page& page, const unsigned char* from, std::size_t count, unsigned char* to) {
  const SingleByteTables& tables = zvrt_singles[page.single_byte];
  const Lookup first_window(tables.first_window);
  const Lookup other_window(tables.other_window);
  const Vector number = repeat32(page.other_window);
  for (std::size_t done = 0; done < count; done += 16) {
    const auto wanted = first16(count - done);
    const Vector characters = _mm512_maskz_loadu_epi32(wanted, from + done * wide_size);
    const Vector window = _mm512_srli_epi32(characters, 8);
    const __mmask16 in_first = _mm512_testn_epi32_mask(window, window);
    const __mmask16 in_other = _mm512_cmpeq_epi32_mask(window, number);
    const Vector indices = _mm512_castsi128_si512(_mm512_cvtepi32_epi8(characters));
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
