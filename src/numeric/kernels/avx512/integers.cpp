// Integers by AVX-512: all digits at once, and no branch that depends on their number.
#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "numeric/integer/integers.h"
#include "support/inlined.h"
#include "support/read_ahead.h"
#include "support/wraps.h"

namespace zvrt {

namespace {

constexpr std::uint64_t hundred_million = 100'000'000;

struct Constants {
  // Reading: characters less zero are digits if not above nine; digits fold into numbers by pairs.
  alignas(64) std::uint32_t zero[16];
  alignas(64) std::uint32_t nine[16];
  alignas(32) std::uint16_t to_two_digits[16];
  alignas(32) std::uint32_t to_four_digits[8];
  alignas(32) std::uint32_t to_eight_digits[8];
  // Moves a given number of digits out of the 32-bit lanes of two vectors (127 is a zero byte) to the end of 32 bytes,
  // or 16 further on to the end of 16.
  alignas(64) std::uint8_t to_the_right[128];

  // Writing.
  alignas(64) std::uint64_t fraction[8];
  alignas(64) std::uint64_t ten[8];
  alignas(64) std::uint64_t digit_character[8];
  alignas(64) std::uint32_t minus[16];
  alignas(32) std::uint8_t positions[32];
  // Windows on 16 and on 24 digits, from any of them on: lanes of two vectors, the second with eight digits in 64-bit
  // lanes, the first with eight likewise or with sixteen in 32-bit lanes. Zeros follow the last digit.
  alignas(64) std::uint32_t of_sixteen[48];
  alignas(64) std::uint32_t of_twenty_four[56];
};

constexpr Constants all_constants = [] {
  Constants all{};
  std::uint64_t power = hundred_million;
  for (unsigned lane = 0; lane < 8; ++lane, power /= 10) {
    all.fraction[lane] = (std::uint64_t{1} << 52) / power;
    all.ten[lane] = 10;
    all.digit_character[lane] = '0';
    all.to_four_digits[lane] = 100 | 1U << 16;
    all.to_eight_digits[lane] = 10000 | 1U << 16;
  }
  for (unsigned lane = 0; lane < 16; ++lane) {
    all.zero[lane] = '0';
    all.nine[lane] = 9;
    all.minus[lane] = '-';
    all.to_two_digits[lane] = 10 | 1U << 8;
  }
  for (unsigned at = 0; at < 32; ++at) all.positions[at] = static_cast<std::uint8_t>(at);
  for (unsigned at = 0; at < 128; ++at) {
    all.to_the_right[at] = static_cast<std::uint8_t>(at < 32 ? 127 : (at - 32) * 4 % 128);
  }
  constexpr std::uint32_t second = 16;
  for (unsigned digit = 0; digit < 48; ++digit) {
    all.of_sixteen[digit] = digit < 8 ? digit * 2 : digit < 16 ? second + (digit - 8) * 2 : second + 1;
  }
  for (unsigned digit = 0; digit < 56; ++digit) {
    all.of_twenty_four[digit] = digit < 16 ? digit : digit < 24 ? second + (digit - 16) * 2 : second + 1;
  }
  return all;
}();

// The constants in memory: seen through, a compiler builds the uniform ones anew in each call by way of a general
// register.
const Constants& constants() {
  const Constants* hidden = &all_constants;
  __asm__("" : "+r"(hidden));
  return *hidden;
}

__m512i load_block(const void* at) { return _mm512_loadu_si512(at); }
__m256i load_half(const void* at) { return _mm256_loadu_si256(static_cast<const __m256i*>(at)); }
__m128i load_quarter(const void* at) { return _mm_loadu_si128(static_cast<const __m128i*>(at)); }

// ---- writing -------------------------------------------------------------------------------------------------------

// The digit characters of a number below 10^8, the most significant in the first 64-bit lane.
//
// With f = floor(2^52 / 10^j), (number + 1) * f modulo 2^52 is 2^52 times the fraction of number / 10^j, and
// f - number * (2^52 / 10^j - f) more. For every j from 1 to 8 that excess is not below 0 and is less than 2^52 / 10^j,
// the distance between two such fractions; so ten times it has the digit of 10^(j-1) above its 52nd bit.
__m512i eight_digits(const Constants& all, std::uint64_t number) {
  const __m512i fraction = load_block(all.fraction);
  const __m512i numbers = _mm512_set1_epi64(static_cast<long long>(number));
  const __m512i rest = _mm512_madd52lo_epu64(fraction, numbers, fraction);
  return _mm512_madd52hi_epu64(load_block(all.digit_character), rest, load_block(all.ten));
}

// The same as eight bytes.
__m128i eight_bytes(const Constants& all, std::uint64_t number) {
  return _mm512_cvtepi64_epi8(eight_digits(all, number));
}

// A mask of the lanes to store: the text and its terminator, as far as they fit.
std::uint32_t stored_lanes(std::int32_t length, std::int32_t capacity) {
  return _bzhi_u32(~0U, static_cast<std::uint32_t>(length < capacity ? length + 1 : capacity));
}

// ---- reading -------------------------------------------------------------------------------------------------------

std::uint32_t non_digits(const Constants& all, __m512i digits) {
  return _cvtmask16_u32(_mm512_cmpgt_epu32_mask(digits, load_block(all.nine)));
}

// The lanes of sixteen that stand before the limit.
__mmask16 lanes_within(std::size_t limit) {
  return static_cast<__mmask16>(_bzhi_u32(0xFFFF, static_cast<std::uint32_t>(limit < 16 ? limit : 16)));
}

// Where digits end: at the first lane of another character, or before it at the limit. Without either, beyond all lanes.
std::size_t end_of_digits(std::uint32_t others, std::size_t limit) {
  const std::size_t end = _tzcnt_u32(others);
  return limit < end ? limit : end;
}

Reading reading_up_to(const void* text, std::size_t at) {
  return load<Wide>(text, at) == 0 ? Reading::complete : Reading::invalid_character;
}

// The number that sixteen digits make, the most significant first: by pairs, quads and octets.
std::uint64_t join_sixteen(const Constants& all, __m128i digits) {
  const __m128i pairs = _mm_maddubs_epi16(digits, load_quarter(all.to_two_digits));
  const __m128i quads = _mm_madd_epi16(pairs, load_quarter(all.to_four_digits));
  const __m128i octets = _mm_madd_epi16(_mm_packus_epi32(quads, quads), load_quarter(all.to_eight_digits));
  const auto halves = static_cast<std::uint64_t>(_mm_cvtsi128_si64(octets));
  return (halves & 0xFFFFFFFF) * hundred_million + (halves >> 32);
}

// Of 32 digits, modulo 2^64; the first eight are zero.
ZVRT_WRAPS std::uint64_t join_thirty_two(const Constants& all, __m256i digits) {
  const __m256i pairs = _mm256_maddubs_epi16(digits, load_half(all.to_two_digits));
  const __m256i quads = _mm256_madd_epi16(pairs, load_half(all.to_four_digits));
  const __m256i octets = _mm256_madd_epi16(_mm256_packus_epi32(quads, quads), load_half(all.to_eight_digits));
  const auto upper = static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm256_castsi256_si128(octets)));
  const auto lower = static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm256_extracti128_si256(octets, 1)));
  return ((upper >> 32) * hundred_million + (lower & 0xFFFFFFFF)) * hundred_million + (lower >> 32);
}

// Up to 15 digits.
ZVRT_INLINED Digits read_block(__m512i characters, const void* text, std::size_t limit) {
  const Constants& all = constants();
  const __m512i digits = _mm512_sub_epi32(characters, load_block(all.zero));
  const std::size_t end = end_of_digits(non_digits(all, digits), limit);
  if (end >= 16) [[unlikely]]
    return {0, 0, Reading::not_attempted};
  const __m128i right_aligned = _mm512_castsi512_si128(
      _mm512_permutex2var_epi8(digits, load_block(all.to_the_right + 16 + end), _mm512_setzero_si512()));
  const Reading reading = end == limit ? Reading::complete : reading_up_to(text, end);
  return {join_sixteen(all, right_aligned), static_cast<std::int64_t>(end), reading};
}

// Up to 23 digits.
ZVRT_WRAPS Digits read_block_and_half(const void* text) {
  const Constants& all = constants();
  const __m512i digits = _mm512_sub_epi32(load_block(text), load_block(all.zero));
  const __m256i more = _mm256_sub_epi32(load_half(static_cast<const std::byte*>(text) + 64), load_half(all.zero));
  const std::uint32_t more_others = _cvtmask8_u32(_mm256_cmpgt_epu32_mask(more, load_half(all.nine)));
  const std::uint32_t others = non_digits(all, digits) | more_others << 16;
  if (others == 0) [[unlikely]]
    return {0, 0, Reading::not_attempted};
  const std::uint32_t end = _tzcnt_u32(others);
  const __m256i right_aligned = _mm512_castsi512_si256(
      _mm512_permutex2var_epi8(digits, load_block(all.to_the_right + end), _mm512_zextsi256_si512(more)));
  return {join_thirty_two(all, right_aligned), end, reading_up_to(text, end)};
}

// Up to 15 digits of bytes.
ZVRT_WRAPS ZVRT_INLINED Digits read_byte_quarter(__m128i characters, const char* text, std::size_t limit) {
  const Constants& all = constants();
  const __m128i digits = _mm_sub_epi8(characters, _mm_set1_epi8('0'));
  const std::size_t end = end_of_digits(_mm_cmpgt_epu8_mask(digits, _mm_set1_epi8(9)), limit);
  if (end >= 16) return {0, 0, Reading::not_attempted};
  const auto used = static_cast<__mmask16>(0xFFFF0000U >> end);
  const __m128i from = _mm_add_epi8(load_quarter(all.positions), _mm_set1_epi8(static_cast<char>(end)));
  const __m128i right_aligned = _mm_maskz_permutexvar_epi8(used, from, digits);
  const Reading reading = end == limit || text[end] == 0 ? Reading::complete : Reading::invalid_character;
  return {join_sixteen(all, right_aligned), static_cast<std::int64_t>(end), reading};
}

// The bytes of a text that ends within 15 or 31 of them, less the character 0.
template <class Accumulator>
ZVRT_WRAPS ZVRT_INLINED Digits read_byte_block(const char* text) {
  const Constants& all = constants();
  if constexpr (sizeof(Accumulator) == 4) {
    return read_byte_quarter(load_quarter(text), text, no_limit);
  } else {
    const __m256i digits = _mm256_sub_epi8(load_half(text), _mm256_set1_epi8('0'));
    const std::uint32_t end = _tzcnt_u32(_cvtmask32_u32(_mm256_cmpgt_epu8_mask(digits, _mm256_set1_epi8(9))));
    if (end > max_decimal_length + 1) return {0, 0, Reading::not_attempted};
    const auto used = static_cast<__mmask32>(0xFFFFFFFF00000000U >> end);
    const __m256i from = _mm256_add_epi8(load_half(all.positions), _mm256_set1_epi8(static_cast<char>(end)));
    const __m256i right_aligned = _mm256_maskz_permutexvar_epi8(used, from, digits);
    return {join_thirty_two(all, right_aligned), end, text[end] == 0 ? Reading::complete : Reading::invalid_character};
  }
}

struct Avx512Kernel {
  // The text begins at its first digit, or one before it where its sign goes.
  static std::int32_t write(std::uint32_t magnitude, bool negative, void* dst, std::int32_t capacity) {
    const Constants& all = constants();
    const auto sign = static_cast<__mmask16>(negative);
    const std::int32_t length = count_digits(magnitude) + sign;
    const __m512i window = load_block(all.of_sixteen + (16 - length));
    const __m512i text = _mm512_permutex2var_epi32(eight_digits(all, magnitude / hundred_million), window,
                                                   eight_digits(all, magnitude % hundred_million));
    _mm512_mask_storeu_epi32(dst, static_cast<__mmask16>(stored_lanes(length, capacity)),
                             _mm512_mask_mov_epi32(text, sign, load_block(all.minus)));
    return length;
  }

  static std::int32_t write(std::uint64_t magnitude, bool negative, void* dst, std::int32_t capacity) {
    const Constants& all = constants();
    const auto sign = static_cast<__mmask16>(negative);
    const std::uint64_t upper = magnitude / hundred_million;
    const std::uint64_t top = magnitude / (hundred_million * hundred_million);  // of its own: no waiting for `upper`
    const __m512i high = _mm512_permutex2var_epi32(eight_digits(all, top), load_block(all.of_sixteen),
                                                   eight_digits(all, upper - top * hundred_million));
    const __m512i low = eight_digits(all, magnitude - upper * hundred_million);
    const std::int32_t length = count_digits(magnitude) + sign;
    const std::uint32_t* const window = all.of_twenty_four + (24 - length);
    const __m512i head = _mm512_permutex2var_epi32(high, load_block(window), low);
    const __m512i tail = _mm512_permutexvar_epi32(load_block(window + 16), low);
    const std::uint32_t stored = stored_lanes(length, capacity);
    _mm512_mask_storeu_epi32(dst, static_cast<__mmask16>(stored),
                             _mm512_mask_mov_epi32(head, sign, load_block(all.minus)));
    _mm512_mask_storeu_epi32(static_cast<std::byte*>(dst) + 64, static_cast<__mmask16>(stored >> 16), tail);
    return length;
  }

  template <class Accumulator>
  static Digits read(const void* text) {
    constexpr bool is_wide = sizeof(Accumulator) == 8;
    if (!may_read_ahead(text, is_wide ? 96 : 64)) [[unlikely]]
      return {0, 0, Reading::not_attempted};
    return is_wide ? read_block_and_half(text) : read_block(load_block(text), text, no_limit);
  }

  static Digits read_within(const void* text, std::size_t limit) {
    if (!may_read_ahead(text, 64)) [[unlikely]]
      return {0, 0, Reading::not_attempted};
    return read_block(_mm512_maskz_loadu_epi32(lanes_within(limit), text), text, limit);
  }

  // Eight digits narrow to the lower half of 16 bytes; a window from the first digit, or from the sign before it.
  static std::int32_t write_bytes(std::uint32_t magnitude, bool negative, char* dst, std::int32_t capacity) {
    const Constants& all = constants();
    const std::int32_t length = count_digits(magnitude) + (negative ? 1 : 0);
    const __m128i digits = _mm_unpacklo_epi64(eight_bytes(all, magnitude / hundred_million),
                                              eight_bytes(all, magnitude % hundred_million));
    const __m128i from = _mm_add_epi8(load_quarter(all.positions), _mm_set1_epi8(static_cast<char>(16 - length)));
    const auto used = static_cast<__mmask16>(_bzhi_u32(~0U, static_cast<std::uint32_t>(length)));
    const __m128i text = _mm_maskz_permutexvar_epi8(used, from, digits);
    _mm_mask_storeu_epi8(dst, static_cast<__mmask16>(stored_lanes(length, capacity)),
                         _mm_mask_mov_epi8(text, static_cast<__mmask16>(negative), _mm_set1_epi8('-')));
    return length;
  }

  static std::int32_t write_bytes(std::uint64_t magnitude, bool negative, char* dst, std::int32_t capacity) {
    const Constants& all = constants();
    const std::uint64_t upper = magnitude / hundred_million;
    const std::uint64_t top = magnitude / (hundred_million * hundred_million);
    const std::int32_t length = count_digits(magnitude) + (negative ? 1 : 0);
    const __m128i high = _mm_unpacklo_epi64(eight_bytes(all, top), eight_bytes(all, upper - top * hundred_million));
    const __m256i digits = _mm256_set_m128i(eight_bytes(all, magnitude - upper * hundred_million), high);
    const __m256i from = _mm256_add_epi8(load_half(all.positions), _mm256_set1_epi8(static_cast<char>(24 - length)));
    const __m256i text =
        _mm256_maskz_permutexvar_epi8(_bzhi_u32(~0U, static_cast<std::uint32_t>(length)), from, digits);
    _mm256_mask_storeu_epi8(dst, stored_lanes(length, capacity),
                            _mm256_mask_mov_epi8(text, static_cast<__mmask32>(negative), _mm256_set1_epi8('-')));
    return length;
  }

  template <class Accumulator>
  static Digits read_bytes(const char* text) {
    if (!may_read_ahead(text, sizeof(Accumulator) == 8 ? 32 : 16)) [[unlikely]]
      return {0, 0, Reading::not_attempted};
    return read_byte_block<Accumulator>(text);
  }

  static Digits read_bytes_within(const char* text, std::size_t limit) {
    if (!may_read_ahead(text, 16)) [[unlikely]]
      return {0, 0, Reading::not_attempted};
    return read_byte_quarter(_mm_maskz_loadu_epi8(lanes_within(limit), text), text, limit);
  }
};

}  // namespace

const IntegerConversions integers_avx512 = conversions_by<Avx512Kernel>;

}  // namespace zvrt
