// Short numbers to packed fields by AVX-512, a row a step.
#include "columns/kernels/avx512/number_vectors.h"
#include "columns/kernels/avx512/packed_field.h"

namespace zvrt::columns {

namespace {

using namespace avx512;

template <bool is_long>
ZVRT_INLINED std::int32_t put_fields(const Type& to, const ShortRange& range, const Rows& rows,
                                     const ShortNumbers& numbers) {
  const PackedField field(to);
  for (std::int32_t i = 0; i < rows.count; ++i) {
    std::int64_t value;
    if (!rescale_short(to, range, numbers, i, value)) [[unlikely]]
      return i;
    const Mask is_minus = value < 0 ? 1 : 0;
    field.store(digits_of<is_long>(magnitude_of(value)), 0, is_minus, rows.target + i * rows.target_stride);
  }
  return rows.count;
}

}  // namespace

std::int32_t write_packed_avx512(const ZVRTPlan& plan, const Rows& rows, const ShortNumbers& numbers) {
  const Type& to = plan.to.type;
  const ShortRange range = range_of_digits(to.precision, !to.has(ZVRT_TYPE_NO_SIGN | ZVRT_TYPE_UNSIGNED));
  return range.most < static_cast<std::int64_t>(ten_8 * ten_8) ? put_fields<false>(to, range, rows, numbers)
                                                               : put_fields<true>(to, range, rows, numbers);
}

}  // namespace zvrt::columns
