// Integers by AVX-512: all digits at once, and no branch that depends on their number.
#include <immintrin.h>

#include <array>
#include <cstddef>
#include <cstdint>

#include "frame/read_ahead.h"
#include "numeric/integers.h"

namespace zvrt {

namespace {

constexpr std::uint64_t hundred_million = 100'000'000;

__m512i load_block(const void* at) { return _mm512_loadu_si512(at); }

// A mask of the first lanes, at most 32.
std::uint32_t first(std::int32_t count) { return _bzhi_u32(~0U, static_cast<std::uint32_t>(count)); }

// Values of one bit length have at most one power of ten among them: how many digits those below it have, and it.
struct DigitCount {
  std::uint64_t power;
  std::uint64_t below;
};

constexpr std::array<DigitCount, 65> digit_counts = [] {
  std::array<DigitCount, 65> counts{};
  for (unsigned zeros = 0; zeros <= 64; ++zeros) {
    const std::uint64_t most = zeros == 64 ? 0 : ~std::uint64_t{0} >> zeros;
    const std::uint64_t least = most - most / 2;
    std::uint64_t power = 1;
    std::uint64_t digits = 0;
    for (; power <= least && digits < 19; power *= 10) ++digits;
    // Here 10^(digits - 1) <= least: the values have that many digits below the next power, if that is among them.
    if (power <= least) {
      counts[zeros] = {~std::uint64_t{0}, 20};
    } else {
      counts[zeros] = {power, digits};
    }
  }
  return counts;
}();

std::int32_t count_digits(std::uint64_t magnitude) {
  const DigitCount& count = digit_counts[_lzcnt_u64(magnitude)];
  return static_cast<std::int32_t>(count.below + (magnitude >= count.power ? 1 : 0));
}

// The digit characters of a number below 10^8, the most significant in the first 64-bit lane.
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
  return _mm512_madd52hi_epu64(_mm512_set1_epi64('0'), rest, _mm512_set1_epi64(10));
}

// Where digits stand among the 32-bit lanes of two vectors, the second of which holds eight in its 64-bit lanes, and a
// zero behind each. A window of 16 from some digit on moves that digit to the front; zeros follow the last one.
template <std::size_t digits_in_first, std::size_t step_in_first>
constexpr auto windows = [] {
  std::array<std::uint32_t, digits_in_first + 8 + 32> lanes{};
  for (std::size_t digit = 0; digit < lanes.size(); ++digit) {
    const std::size_t in_second = digit - digits_in_first;
    lanes[digit] = static_cast<std::uint32_t>(digit < digits_in_first ? digit * step_in_first
                                              : in_second < 8         ? 16 + in_second * 2
                                                                      : 17);
  }
  return lanes;
}();

// Stores the lanes of a mask, a '-' in the first one if there is a sign.
void store_text(void* dst, std::uint32_t mask, __m512i characters, std::int32_t sign) {
  const __m512i text = _mm512_mask_mov_epi32(characters, static_cast<__mmask16>(sign), _mm512_set1_epi32('-'));
  _mm512_mask_storeu_epi32(dst, static_cast<__mmask16>(mask), text);
}

// For a window of bytes: the lowest bytes of 32-bit lanes, from 32 bytes with zero before them.
constexpr std::array<std::uint8_t, 128> digit_bytes = [] {
  std::array<std::uint8_t, 128> bytes{};
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    bytes[at] = static_cast<std::uint8_t>(at < 32 ? 127 : (at - 32) * 4 % 128);
  }
  return bytes;
}();

__m512i digits_from(const void* characters) { return _mm512_sub_epi32(load_block(characters), _mm512_set1_epi32('0')); }

std::uint32_t strays_in(__m512i digits) {
  return _cvtmask16_u32(_mm512_cmpgt_epu32_mask(digits, _mm512_set1_epi32(9)));
}

struct Avx512Kernel {
  static std::int32_t write(std::uint32_t magnitude, bool negative, void* dst, std::int32_t room) {
    const __m512i high = eight_digits(magnitude / hundred_million);
    const __m512i low = eight_digits(magnitude % hundred_million);
    const auto sign = static_cast<std::int32_t>(negative);
    const std::int32_t length = count_digits(magnitude) + sign;
    const __m512i from = load_block(&windows<8, 2>[static_cast<std::size_t>(16 - length)]);
    store_text(dst, first(length < room ? length + 1 : room), _mm512_permutex2var_epi32(high, from, low), sign);
    return length;
  }

  static std::int32_t write(std::uint64_t magnitude, bool negative, void* dst, std::int32_t room) {
    const std::uint64_t upper = magnitude / hundred_million;
    const std::uint64_t top = magnitude / (hundred_million * hundred_million);
    const __m512i low = eight_digits(magnitude - upper * hundred_million);
    const __m512i high = _mm512_permutex2var_epi32(eight_digits(top), load_block(&windows<8, 2>[0]),
                                                   eight_digits(upper - top * hundred_million));
    const auto sign = static_cast<std::int32_t>(negative);
    const std::int32_t length = count_digits(magnitude) + sign;
    const std::uint32_t* const from = &windows<16, 1>[static_cast<std::size_t>(24 - length)];
    const std::uint32_t stored = first(length < room ? length + 1 : room);
    store_text(dst, stored, _mm512_permutex2var_epi32(high, load_block(from), low), sign);
    _mm512_mask_storeu_epi32(static_cast<std::byte*>(dst) + 64, static_cast<__mmask16>(stored >> 16),
                             _mm512_permutexvar_epi32(load_block(from + 16), low));
    return length;
  }

  template <class Accumulator>
  static Digits read(const void* text) {
    constexpr std::size_t lanes = sizeof(Accumulator) == 8 ? 24 : 16;
    if (!may_read_ahead(text, lanes * 4)) [[unlikely]]
      return read_digits(text);
    const __m512i head = digits_from(text);
    const auto* const bytes = reinterpret_cast<const char*>(digit_bytes.data());
    if constexpr (lanes == 16) {
      const std::uint32_t strays = strays_in(head);
      if (strays == 0) [[unlikely]]
        return read_digits(text);
      const std::uint32_t end = _tzcnt_u32(strays);
      const __m512i aligned = _mm512_permutex2var_epi8(head, load_block(bytes + 16 + end), _mm512_setzero_si512());
      const __m128i pairs = _mm_maddubs_epi16(_mm512_castsi512_si128(aligned), _mm_set1_epi16(10 | 1 << 8));
      const __m128i fours = _mm_madd_epi16(pairs, _mm_set1_epi32(100 | 1 << 16));
      const __m128i eights = _mm_madd_epi16(_mm_packus_epi32(fours, fours), _mm_set1_epi32(10000 | 1 << 16));
      const auto halves = static_cast<std::uint64_t>(_mm_cvtsi128_si64(eights));
      return {(halves & 0xFFFFFFFF) * hundred_million + (halves >> 32), end, load<Wide>(text, end) == 0};
    } else {
      const __m512i tail = _mm512_zextsi256_si512(_mm256_sub_epi32(
          _mm256_loadu_si256(reinterpret_cast<const __m256i*>(static_cast<const std::byte*>(text) + 64)),
          _mm256_set1_epi32('0')));
      const std::uint32_t strays = strays_in(head) | static_cast<std::uint32_t>(_cvtmask8_u32(_mm256_cmpgt_epu32_mask(
                                                         _mm512_castsi512_si256(tail), _mm256_set1_epi32(9))))
                                                         << 16;
      if (strays == 0) [[unlikely]]
        return read_digits(text);
      const std::uint32_t end = _tzcnt_u32(strays);
      const __m256i aligned = _mm512_castsi512_si256(_mm512_permutex2var_epi8(head, load_block(bytes + end), tail));
      const __m256i pairs = _mm256_maddubs_epi16(aligned, _mm256_set1_epi16(10 | 1 << 8));
      const __m256i fours = _mm256_madd_epi16(pairs, _mm256_set1_epi32(100 | 1 << 16));
      const __m256i eights = _mm256_madd_epi16(_mm256_packus_epi32(fours, fours), _mm256_set1_epi32(10000 | 1 << 16));
      const auto upper = static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm256_castsi256_si128(eights)));
      const auto lower = static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm256_extracti128_si256(eights, 1)));
      const std::uint64_t value =
          ((upper >> 32) * hundred_million + (lower & 0xFFFFFFFF)) * hundred_million + (lower >> 32);
      return {value, end, load<Wide>(text, end) == 0};
    }
  }
};

}  // namespace

const IntegerConversions avx512_integers = conversions_by<Avx512Kernel>;

}  // namespace zvrt
