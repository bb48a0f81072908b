// Integers by AVX-512: all digits at once, and no branch that depends on their number.
#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "numeric/integers.h"

namespace zvrt {

namespace {

constexpr std::uint64_t hundred_million = 100'000'000;

__m512i indices() { return _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15); }

// A mask of the first lanes, at most 32.
std::uint32_t first(std::int32_t count) { return _bzhi_u32(~0U, static_cast<std::uint32_t>(count)); }

__mmask16 low_half(std::uint32_t mask) { return static_cast<__mmask16>(mask); }
__mmask16 high_half(std::uint32_t mask) { return static_cast<__mmask16>(mask >> 16); }

// The digits of a number below 10^8, the most significant in the first 64-bit lane.
//
// With f = floor(2^52 / 10^j), (number + 1) * f modulo 2^52 is 2^52 times the fraction of number / 10^j, and
// f - number * (2^52 / 10^j - f) more. For every j from 1 to 8 that excess is not below 0 and is less than 2^52 / 10^j,
// the distance between two such fractions; so ten times it has the digit of 10^(j-1) above its 52nd bit.
__m512i eight_digits(std::uint64_t number) {
  constexpr long long one = 1LL << 52;
  const __m512i fractions = _mm512_setr_epi64(one / 100000000, one / 10000000, one / 1000000, one / 100000, one / 10000,
                                              one / 1000, one / 100, one / 10);
  const __m512i numbers = _mm512_set1_epi64(static_cast<long long>(number));
  const __m512i rest = _mm512_madd52lo_epu64(fractions, numbers, fractions);
  return _mm512_madd52hi_epu64(_mm512_setzero_si512(), rest, _mm512_set1_epi64(10));
}

// Sixteen digits in 32-bit lanes out of twice eight in 64-bit lanes.
__m512i joined(__m512i high, __m512i low) {
  return _mm512_permutex2var_epi32(high, _mm512_setr_epi32(0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30),
                                   low);
}

std::uint32_t nonzero(__m512i lanes) { return _cvtmask16_u32(_mm512_test_epi32_mask(lanes, lanes)); }

__m512i as_characters(__m512i digits) { return _mm512_or_si512(digits, _mm512_set1_epi32('0')); }

// Stores the lanes of a mask.
void store_lanes(void* dst, __mmask16 mask, __m512i characters) { _mm512_mask_storeu_epi32(dst, mask, characters); }

__m512i with_sign(__mmask16 sign, __m512i text) { return _mm512_mask_mov_epi32(text, sign, _mm512_set1_epi32('-')); }

struct Avx512Kernel {
  // Digits are found right-aligned, leading zeros before them. The text starts one before the first of them if there is
  // a sign, and a permutation brings it to the front; lanes behind it are zero, the first of them the terminator.
  static std::int32_t write(std::uint32_t magnitude, bool negative, void* dst, std::int32_t room) {
    const __m512i digits = joined(eight_digits(magnitude / hundred_million), eight_digits(magnitude % hundred_million));
    const auto sign = static_cast<std::int32_t>(negative);
    const std::int32_t start = static_cast<std::int32_t>(_tzcnt_u32(nonzero(digits) | 1U << 16)) - sign;
    const std::int32_t length = 16 - start;
    const __m512i from = _mm512_add_epi32(indices(), _mm512_set1_epi32(start));
    const __m512i text = _mm512_maskz_permutexvar_epi32(low_half(first(length)), from, as_characters(digits));
    store_lanes(dst, low_half(first(length < room ? length + 1 : room)), with_sign(static_cast<__mmask16>(sign), text));
    return length;
  }

  static std::int32_t write(std::uint64_t magnitude, bool negative, void* dst, std::int32_t room) {
    const std::uint64_t upper = magnitude / hundred_million;
    const __m512i high = joined(eight_digits(upper / hundred_million), eight_digits(upper % hundred_million));
    const __m512i low = joined(eight_digits(magnitude % hundred_million), _mm512_setzero_si512());
    const auto sign = static_cast<std::int32_t>(negative);
    const std::int32_t start =
        static_cast<std::int32_t>(_tzcnt_u32(nonzero(high) | nonzero(low) << 16 | 1U << 24)) - sign;
    const std::int32_t length = 24 - start;
    const __m512i from = _mm512_add_epi32(indices(), _mm512_set1_epi32(start));
    const __m512i high_characters = as_characters(high);
    const __m512i low_characters = as_characters(low);
    const std::uint32_t lanes = first(length);
    const __m512i head = _mm512_maskz_permutex2var_epi32(low_half(lanes), high_characters, from, low_characters);
    const __m512i tail = _mm512_maskz_permutexvar_epi32(high_half(lanes), from, low_characters);
    const std::uint32_t stored = first(length < room ? length + 1 : room);
    store_lanes(dst, low_half(stored), with_sign(static_cast<__mmask16>(sign), head));
    store_lanes(static_cast<std::byte*>(dst) + 64, high_half(stored), tail);
    return length;
  }

  template <class Accumulator>
  static Digits read(const void* text) {
    return read_digits(text);
  }
};

}  // namespace

const IntegerConversions avx512_integers = conversions_by<Avx512Kernel>;

}  // namespace zvrt
