// Plain numbers by AVX-512: sixteen characters are classified at once, and one permutation puts the digits side by side.
#include <immintrin.h>

#include <cstdint>

#include "frame/read_ahead.h"
#include "frame/units.h"
#include "frame/wraps.h"
#include "numeric/plain_numbers.h"

namespace zvrt {

namespace {

constexpr std::uint32_t lanes = 16;

// What characters are less '0'.
constexpr std::uint32_t end_value = 0U - '0';
constexpr std::uint32_t point_value = '.' - std::uint32_t{'0'};
constexpr std::uint32_t minus_value = '-' - std::uint32_t{'0'};
constexpr std::uint32_t plus_value = '+' - std::uint32_t{'0'};

struct Constants {
  alignas(64) std::uint32_t zero[lanes];
  alignas(64) std::uint32_t nine[lanes];
  alignas(64) std::uint32_t point[lanes];
  alignas(64) std::uint32_t end[lanes];
  alignas(16) std::uint16_t to_two_digits[8];
  alignas(16) std::uint32_t to_four_digits[4];
  alignas(16) std::uint32_t to_eight_digits[4];
  // From its count of lanes on, the lowest bytes of the lanes before it, moved to the end of sixteen; zeros before them.
  std::uint8_t to_the_right[2 * lanes];
};

constexpr Constants all_constants = [] {
  Constants all{};
  for (std::uint32_t lane = 0; lane < lanes; ++lane) {
    all.zero[lane] = '0';
    all.nine[lane] = 9;
    all.point[lane] = point_value;
    all.end[lane] = end_value;
    all.to_the_right[lane] = 127;
    all.to_the_right[lanes + lane] = static_cast<std::uint8_t>(lane * 4);
  }
  for (std::uint16_t& weights : all.to_two_digits) weights = 10 | 1U << 8;
  for (std::uint32_t& weights : all.to_four_digits) weights = 100 | 1U << 16;
  for (std::uint32_t& weights : all.to_eight_digits) weights = 10000 | 1U << 16;
  return all;
}();

// In memory: seen through, a compiler builds the uniform ones anew in each call by way of a general register.
const Constants& constants() {
  const Constants* hidden = &all_constants;
  __asm__("" : "+r"(hidden));
  return *hidden;
}

__m512i load_block(const void* at) { return _mm512_loadu_si512(at); }
__m128i load_quarter(const void* at) { return _mm_loadu_si128(static_cast<const __m128i*>(at)); }

std::uint64_t join_digits(const Constants& all, __m128i digits) {
  constexpr std::uint64_t hundred_million = 100'000'000;
  const __m128i twos = _mm_maddubs_epi16(digits, load_quarter(all.to_two_digits));
  const __m128i fours = _mm_madd_epi16(twos, load_quarter(all.to_four_digits));
  const __m128i eights = _mm_madd_epi16(_mm_packus_epi32(fours, fours), load_quarter(all.to_eight_digits));
  const auto halves = static_cast<std::uint64_t>(_mm_cvtsi128_si64(eights));
  return (halves & 0xFFFFFFFF) * hundred_million + (halves >> 32);
}

}  // namespace

ZVRT_WRAPS PlainNumber read_plain_avx512(const void* text) {
  constexpr PlainNumber none{0, 0};
  if (!may_read_ahead(text, sizeof(__m512i))) [[unlikely]]
    return none;
  const Constants& all = constants();
  const __m512i values = _mm512_sub_epi32(load_block(text), load_block(all.zero));
  const __mmask16 digits = _mm512_cmple_epu32_mask(values, load_block(all.nine));
  const std::uint32_t ends = _cvtmask16_u32(_mm512_cmpeq_epi32_mask(values, load_block(all.end)));
  const std::uint32_t inside = ~ends & (ends - 1);
  const std::uint32_t point = _cvtmask16_u32(_mm512_cmpeq_epi32_mask(values, load_block(all.point))) & inside;
  const std::uint32_t first = load<Wide>(text) - '0';
  const bool negative = first == minus_value;
  const std::uint32_t sign = negative || first == plus_value ? 1 : 0;
  const bool is_plain = ends != 0 && inside != 0 && (_cvtmask16_u32(digits) & inside) + point + sign == inside &&
                        (point & (point - 1)) == 0;
  if (!is_plain) return none;

  // Before the point the digits move by one place more, in its stead. Without one, no digit does.
  const std::uint32_t end = _tzcnt_u32(ends);
  const std::uint32_t behind_point = point == 0 ? end : end - _tzcnt_u32(point) - 1;
  const std::uint32_t before_point = point == 0 ? 0 : lanes - behind_point;
  const std::uint8_t* const moved = all.to_the_right + end;
  const auto moved_on = static_cast<__mmask16>(_bzhi_u32(~0U, before_point));
  const __m128i order = _mm_mask_loadu_epi8(load_quarter(moved), moved_on, moved - 1);
  const __m512i only_digits = _mm512_maskz_mov_epi32(digits, values);
  const __m128i joined = _mm512_castsi512_si128(
      _mm512_permutex2var_epi8(only_digits, _mm512_castsi128_si512(order), _mm512_setzero_si512()));
  const auto significand = static_cast<std::int64_t>(join_digits(all, joined));
  return {negative ? -significand : significand, point == 0 ? 0 : static_cast<std::int64_t>(behind_point)};
}

}  // namespace zvrt
