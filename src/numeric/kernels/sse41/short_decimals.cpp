// Plain numbers by SSE4.1: sixteen characters are classified at once as bytes, and one shuffle puts the digits side by
// side.
#include <smmintrin.h>

#include <cstdint>

#include "numeric/floating/short_decimals.h"
#include "numeric/kernels/sse41/digits.h"
#include "support/read_ahead.h"
#include "support/units.h"
#include "support/wraps.h"

namespace zvrt {

namespace {

using Block = __m128i;

constexpr std::uint32_t lanes = 16;

struct Constants {
  // From its count of lanes on, the lanes before it, moved to the end of sixteen; zeros before them.
  std::uint8_t to_the_right[2 * lanes];
  alignas(16) std::uint8_t positions[lanes];
};

constexpr Constants constants = [] {
  Constants all{};
  for (std::uint32_t lane = 0; lane < lanes; ++lane) {
    all.to_the_right[lane] = 0x80;
    all.to_the_right[lanes + lane] = static_cast<std::uint8_t>(lane);
    all.positions[lane] = static_cast<std::uint8_t>(lane);
  }
  return all;
}();

Block load_block(const void* at) { return _mm_loadu_si128(static_cast<const Block*>(at)); }
std::uint32_t bits_of(Block bytes) { return static_cast<std::uint32_t>(_mm_movemask_epi8(bytes)); }
std::uint32_t equal(Block bytes, char value) { return bits_of(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(value))); }

}  // namespace

ZVRT_WRAPS ShortDecimal read_short_decimal_sse41(const void* text) {
  constexpr ShortDecimal none{0, 0};
  if (!may_read_ahead(text, lanes * sizeof(Wide))) [[unlikely]]
    return none;
  const auto four = [text](std::uint32_t index) {
    return load_block(static_cast<const std::byte*>(text) + index * 16);
  };
  // What is no byte becomes zero or FF: a number ends at a zero that is one.
  const Block bytes = _mm_packus_epi16(_mm_packus_epi32(four(0), four(1)), _mm_packus_epi32(four(2), four(3)));
  const Block values = _mm_sub_epi8(bytes, _mm_set1_epi8('0'));
  const Block is_digit = _mm_cmpeq_epi8(_mm_min_epu8(values, _mm_set1_epi8(9)), values);
  const std::uint32_t ends = equal(bytes, 0);
  const std::uint32_t inside = ~ends & (ends - 1);
  const std::uint32_t point = equal(bytes, '.') & inside;
  const Wide first = load<Wide>(text);
  const bool negative = first == '-';
  const std::uint32_t sign = negative || first == '+' ? 1 : 0;
  const bool is_plain =
      ends != 0 && inside != 0 && (bits_of(is_digit) & inside) + point + sign == inside && (point & (point - 1)) == 0;
  if (!is_plain) return none;
  const auto end = static_cast<std::uint32_t>(__builtin_ctz(ends));
  if (load<Wide>(text, end) != 0) return none;

  // Before the point the digits move by one place more, in its stead. Without one, no digit does.
  const std::uint32_t after_point = point == 0 ? end : end - static_cast<std::uint32_t>(__builtin_ctz(point)) - 1;
  const std::uint32_t shift_of_integer_digits = point == 0 ? 0 : lanes - after_point;
  const std::uint8_t* const right_aligned = constants.to_the_right + end;
  const Block before =
      _mm_cmpgt_epi8(_mm_set1_epi8(static_cast<char>(shift_of_integer_digits)), load_block(constants.positions));
  const Block order = _mm_blendv_epi8(load_block(right_aligned), load_block(right_aligned - 1), before);
  const Block joined = _mm_shuffle_epi8(_mm_and_si128(values, is_digit), order);
  const auto significand = static_cast<std::int64_t>(sse41::join_digits(joined));
  return {negative ? -significand : significand, point == 0 ? 0 : static_cast<std::int64_t>(after_point)};
}

}  // namespace zvrt
