// Short decimals by SSE4.1: sixteen characters are classified at once as bytes, and one shuffle aligns the digits to the
// right, those before the point by one place more: [1 2 . 3 4 0 ...] -> [0 ... 0 1 2 3 4].
#include <cstddef>
#include <cstdint>

#include "numeric/floating/short_decimals.h"
#include "simd/sse41.h"
#include "support/read_ahead.h"
#include "support/units.h"
#include "support/wraps.h"

namespace zvrt {

namespace {

using namespace sse41;

constexpr std::uint32_t lanes = block_bytes;
constexpr Bytes positions([](unsigned i) { return i; });

ZVRT_WRAPS ShortDecimal read(const void* text) {
  constexpr ShortDecimal none{0, 0};
  if (!may_read_ahead(text, lanes * sizeof(Wide))) [[unlikely]]
    return none;
  const auto four = [text](std::uint32_t index) {
    return load_block(static_cast<const std::byte*>(text) + index * 16);
  };
  // Characters above FF become 0 or FF; the end is checked to be a real terminator below.
  const Block bytes = _mm_packus_epi16(_mm_packus_epi32(four(0), four(1)), _mm_packus_epi32(four(2), four(3)));
  const Block values = _mm_sub_epi8(bytes, _mm_set1_epi8('0'));
  const Block is_digit = _mm_cmpeq_epi8(_mm_min_epu8(values, _mm_set1_epi8(9)), values);
  const std::uint32_t ends = equal(bytes, 0);
  const std::uint32_t inside = ~ends & (ends - 1);
  const std::uint32_t point = equal(bytes, '.') & inside;
  const Wide first = load<Wide>(text);
  const bool negative = first == '-';
  const std::uint32_t sign = negative || first == '+' ? 1 : 0;
  const bool is_short_decimal =
      ends != 0 && inside != 0 && (sign_bits(is_digit) & inside) + point + sign == inside && (point & (point - 1)) == 0;
  if (!is_short_decimal) return none;
  const auto end = lowest_bit(ends);
  if (load<Wide>(text, end) != 0) return none;

  // The digits are aligned to the right. Those before the point move by one place more, over the point.
  const std::uint32_t after_point = point == 0 ? end : end - lowest_bit(point) - 1;
  const std::uint32_t shift_of_integer_digits = point == 0 ? 0 : lanes - after_point;
  const std::ptrdiff_t to_the_right = std::ptrdiff_t{end} - std::ptrdiff_t{lanes};
  const Block before = _mm_cmpgt_epi8(_mm_set1_epi8(static_cast<char>(shift_of_integer_digits)), positions.block());
  const Block order = _mm_blendv_epi8(shift_order(to_the_right), shift_order(to_the_right - 1), before);
  const Block joined = _mm_shuffle_epi8(_mm_and_si128(values, is_digit), order);
  const auto significand = static_cast<std::int64_t>(join_digits(joined));
  return {negative ? -significand : significand, point == 0 ? 0 : static_cast<std::int64_t>(after_point)};
}

}  // namespace

const ShortDecimalKernels short_decimals_sse41 = {read};

}  // namespace zvrt
