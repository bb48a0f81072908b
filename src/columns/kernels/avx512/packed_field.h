// Digits to packed fields by AVX-512.
//
// One permutation (VPERMI2B) takes the field's half-bytes out of the 32 bytes of digits, a byte each, and its sign; one
// VPMADDUBSW joins neighbours, and VPMOVWB makes bytes of them:
//
//   digits   [0 ... 0 0 1 2 3 4 5]     second vector  [0 ... 0 s]
//   field    [1|2|3|4|5|s]  ->  [12|34|5s]
//
// Zeros after the digits are places further on in the permutation: past the end of the first vector the second is zero.
#pragma once

#include "columns/kernels/avx512/number_vectors.h"

namespace zvrt::columns::avx512 {

struct PackedField {
  static constexpr std::int32_t most_bytes = 16;  // whose half-bytes a vector has; before them zeros

  bool is_signed;
  bool has_sign;
  std::int32_t leading;
  __mmask16 stored;
  Mask digit_places;
  Bytes order;

  ZVRT_INLINED explicit PackedField(const Type& to)
      : is_signed(!to.has(ZVRT_TYPE_NO_SIGN | ZVRT_TYPE_UNSIGNED)),
        has_sign(!to.has(ZVRT_TYPE_NO_SIGN)),
        leading(to.length > most_bytes ? to.length - most_bytes : 0) {
    const std::int32_t nibbles = 2 * (to.length - leading);
    stored = static_cast<__mmask16>(first(nibbles / 2));
    digit_places = first(nibbles - (has_sign ? 1 : 0));
    alignas(32) std::uint8_t places[lanes] = {};
    for (std::int32_t k = 0; k < nibbles; ++k) {
      const std::int32_t after = nibbles - 1 - k - (has_sign ? 1 : 0);  // digits that follow; -1: the sign
      places[k] = static_cast<std::uint8_t>(after < 0 ? 2 * lanes - 1 : lanes - 1 - after);
    }
    order = _mm256_load_si256(reinterpret_cast<const Bytes*>(places));
  }

  // `zeros`, at most 30, follow the digits; `is_minus` is 1 below zero.
  ZVRT_INLINED void store(Bytes digits, std::int32_t zeros, Mask is_minus, std::byte* slot) const {
    const std::uint32_t sign = !has_sign ? 0 : is_signed ? 0xC + is_minus : 0xF;
    const Bytes second = _mm256_maskz_set1_epi8(Mask{1} << (lanes - 1), static_cast<char>(sign));
    const Bytes from = _mm256_mask_add_epi8(order, digit_places, order, repeat(zeros));
    const Bytes nibbles = _mm256_permutex2var_epi8(digits, from, second);
    const Bytes pairs = _mm256_maddubs_epi16(nibbles, _mm256_set1_epi16(1 << 8 | 16));
    for (std::int32_t k = 0; k < leading; ++k) slot[k] = std::byte{0};
    _mm_mask_storeu_epi8(slot + leading, stored, _mm256_cvtepi16_epi8(pairs));
  }
};

}  // namespace zvrt::columns::avx512
