// Numbers to packed fields by AVX-512, a row a step.
//
// One permutation (VPERMB) takes the field's half-bytes out of the 32 bytes of digits, a byte each, and its sign; one
// VPMADDUBSW joins neighbours, and VPMOVWB makes bytes of them:
//
//   digits   [s 0 ... 0 0 1 2 3 4 5]
//   field    [1|2|3|4|5|s]  ->  [12|34|5s]
#include "columns/kernels/avx512/number_vectors.h"
#include "support/wraps.h"

namespace zvrt::columns {

namespace {

using namespace avx512;

constexpr std::int32_t most_bytes = 16;  // of a field whose half-bytes a vector has; before them zeros

// Where the half-bytes of a field come from: the sign stands in byte 0, a zero in byte 1.
Bytes field_order(std::int32_t bytes, bool has_sign) {
  alignas(32) std::array<std::uint8_t, lanes> order;
  order.fill(1);
  const std::int32_t nibbles = 2 * bytes;
  for (std::int32_t k = 0; k < nibbles; ++k) {
    const std::int32_t after = nibbles - 1 - k;  // half-bytes that follow
    const std::int32_t from = has_sign ? lanes - after : lanes - 1 - after;
    const bool is_sign = has_sign && after == 0;
    // The first eight bytes of the digits are no digits.
    order[static_cast<std::size_t>(k)] = static_cast<std::uint8_t>(is_sign ? 0 : from < 8 ? 1 : from);
  }
  return _mm256_load_si256(reinterpret_cast<const Bytes*>(order.data()));
}

// The signs of values at least 0 and below.
struct Signs {
  std::int32_t plus;
  std::int32_t minus;
};

template <bool is_long>
ZVRT_INLINED std::int32_t put_fields(const Type& to, const Signs& signs, const ShortRange& range, const Rows& rows,
                                     const ShortNumbers& numbers) {
  const std::int32_t leading = to.length > most_bytes ? to.length - most_bytes : 0;
  const std::int32_t bytes = to.length - leading;
  const Bytes order = field_order(bytes, signs.plus != 0);
  const auto stored = static_cast<__mmask16>(first(bytes));
  const Bytes factors = _mm256_set1_epi16(1 << 8 | 16);
  for (std::int32_t i = 0; i < rows.count; ++i) {
    std::int64_t value;
    if (!rescale_short(to, range, numbers, i, value)) [[unlikely]]
      return i;
    const std::int32_t sign = value < 0 ? signs.minus : signs.plus;
    const Bytes digits =
        _mm256_or_si256(digits_of<is_long>(magnitude_of(value)), _mm256_zextsi128_si256(_mm_cvtsi32_si128(sign)));
    const Bytes pairs = _mm256_maddubs_epi16(_mm256_permutexvar_epi8(order, digits), factors);
    std::byte* const slot = rows.target + i * rows.target_stride;
    for (std::int32_t k = 0; k < leading; ++k) slot[k] = std::byte{0};
    _mm_mask_storeu_epi8(slot + leading, stored, _mm256_cvtepi16_epi8(pairs));
  }
  return rows.count;
}

}  // namespace

std::int32_t write_packed_avx512(const ZVRTPlan& plan, const Rows& rows, const ShortNumbers& numbers) {
  const Type& to = plan.to.type;
  const bool has_sign = !to.has(ZVRT_TYPE_NO_SIGN);
  const bool is_signed = has_sign && !to.has(ZVRT_TYPE_UNSIGNED);
  const Signs signs = is_signed ? Signs{0xC, 0xD} : has_sign ? Signs{0xF, 0xF} : Signs{0, 0};
  const ShortRange range = range_of_digits(to.precision, is_signed);
  return range.most < static_cast<std::int64_t>(ten_8 * ten_8) ? put_fields<false>(to, signs, range, rows, numbers)
                                                               : put_fields<true>(to, signs, range, rows, numbers);
}

}  // namespace zvrt::columns
