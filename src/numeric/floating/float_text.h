// A rounded floating-point value as wide text: sign, digit, point, digits, exponent.
#pragma once

#include <emmintrin.h>

#include <array>
#include <cstdint>

#include "numeric/floating/float_digits.h"
#include "support/units.h"

namespace zvrt {

// The end of the text with its terminator, by the exponent: "+dd\0" or "ddd\0".
constexpr std::int32_t min_decimal_exponent = -324;
constexpr std::int32_t max_decimal_exponent = 308;
[[gnu::visibility("hidden")]] extern const std::array<std::uint32_t, max_decimal_exponent - min_decimal_exponent + 1>
    exponent_tails;

// Sixteen digits of two numbers below 10^8, leading zeros included, a byte each: all lanes are split by 10^4, then by
// 100, then by 10, the quotients by reciprocals that are exact for the numbers that occur.
inline __m128i sixteen_digits(std::uint32_t upper, std::uint32_t lower) {
  const __m128i octets = _mm_set_epi32(0, static_cast<int>(lower), 0, static_cast<int>(upper));
  const __m128i by_10000 = _mm_srli_epi64(_mm_mul_epu32(octets, _mm_set1_epi32(static_cast<int>(0xD1B71759))), 45);
  const __m128i after_10000 = _mm_sub_epi32(octets, _mm_mul_epu32(by_10000, _mm_set1_epi32(10000)));
  const __m128i quads = _mm_or_si128(by_10000, _mm_slli_epi64(after_10000, 32));
  const __m128i by_100 = _mm_srli_epi16(_mm_mulhi_epu16(quads, _mm_set1_epi16(5243)), 3);
  const __m128i after_100 = _mm_sub_epi16(quads, _mm_mullo_epi16(by_100, _mm_set1_epi16(100)));
  const __m128i pairs = _mm_or_si128(by_100, _mm_slli_epi32(after_100, 16));
  const __m128i by_10 = _mm_mulhi_epu16(pairs, _mm_set1_epi16(6554));
  const __m128i after_10 = _mm_sub_epi16(pairs, _mm_mullo_epi16(by_10, _mm_set1_epi16(10)));
  return _mm_or_si128(by_10, _mm_slli_epi16(after_10, 8));
}

inline void store_block(std::byte* at, __m128i block) { _mm_storeu_si128(reinterpret_cast<__m128i*>(at), block); }

// Eight bytes, the lower half of the vector, as wide characters.
inline void store_eight_wide(std::byte* at, __m128i bytes) {
  const __m128i words = _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
  store_block(at, _mm_unpacklo_epi16(words, _mm_setzero_si128()));
  store_block(at + 16, _mm_unpackhi_epi16(words, _mm_setzero_si128()));
}

inline bool has_long_exponent(std::int32_t exponent) { return exponent <= -100 || exponent >= 100; }

inline void store_pair(std::byte* at, char first, char second) {
  store<std::uint64_t>(at, 0, static_cast<std::uint64_t>(first) | static_cast<std::uint64_t>(second) << 32);
}

// "E+dd" or "E+ddd" and the terminator.
inline void write_exponent(std::byte* at, std::int32_t exponent) {
  store_pair(at, 'E', exponent < 0 ? '-' : '+');
  at += (has_long_exponent(exponent) ? 2 : 1) * sizeof(Wide);
  const std::uint32_t tail = exponent_tails[static_cast<std::size_t>(exponent - min_decimal_exponent)];
  const __m128i words = _mm_unpacklo_epi8(_mm_cvtsi32_si128(static_cast<int>(tail)), _mm_setzero_si128());
  store_block(at, _mm_unpacklo_epi16(words, _mm_setzero_si128()));
}

// A finite value's text with the count of digits that columns are written with.
template <std::int32_t digits>
struct ScientificText {
  static_assert(digits == 8 || digits == 17);
  static constexpr std::int32_t max_length = digits + 7;  // sign, point, E, sign of the exponent, three digits

  bool negative;
  Decimal value;

  explicit ScientificText(DoubleBits finite) : negative(finite.negative()), value(round_to_digits<digits>(finite)) {}

  std::int32_t length() const { return digits + 5 + (negative ? 1 : 0) + (has_long_exponent(value.exponent) ? 1 : 0); }

  // Writes length() characters and a terminator, and nothing beyond it. What is written first may be overwritten, so
  // that no step depends on the form of the text.
  void write(std::byte* at) const {
    store<Wide>(at, 0, '-');
    if (negative) at += sizeof(Wide);
    write_digits(at);
    write_exponent(at + (digits + 1) * sizeof(Wide), value.exponent);
  }

 private:
  void write_digits(std::byte* at) const {
    const __m128i zero_digits = _mm_set1_epi8('0');
    if constexpr (digits == 17) {
      const auto upper_nine = static_cast<std::uint32_t>(value.significand / ten_to_the(8));
      const auto lower_eight = static_cast<std::uint32_t>(value.significand % ten_to_the(8));
      const std::uint32_t first = upper_nine / ten_to_the(8);
      const __m128i bytes = _mm_or_si128(sixteen_digits(upper_nine % ten_to_the(8), lower_eight), zero_digits);
      store_pair(at, static_cast<char>('0' + first), '.');
      store_eight_wide(at + 2 * sizeof(Wide), bytes);
      store_eight_wide(at + 10 * sizeof(Wide), _mm_unpackhi_epi64(bytes, bytes));
    } else {
      const __m128i bytes = _mm_or_si128(sixteen_digits(static_cast<std::uint32_t>(value.significand), 0), zero_digits);
      store_eight_wide(at + sizeof(Wide), bytes);
      store_pair(at, static_cast<char>(_mm_cvtsi128_si32(bytes)), '.');  // the point replaces the first digit
    }
  }
};

// The same with any count of digits.
class ExactScientificText {
 public:
  ExactScientificText(DoubleBits finite, std::int32_t places)
      : negative_(finite.negative()), places_(places), value_(finite, places + 1) {}

  std::int32_t length() const {
    return places_ + 6 + (negative_ ? 1 : 0) + (has_long_exponent(value_.exponent()) ? 1 : 0);
  }
  void write(std::byte* at) const;

 private:
  bool negative_;
  std::int32_t places_;
  ExactDecimal value_;
};

}  // namespace zvrt
