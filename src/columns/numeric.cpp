// The call interface's numeric structure: 19 bytes, its digits and scale in each value.
#include <cstring>

#include "columns/numbers.h"

namespace zvrt::columns {

namespace {

constexpr std::int32_t most_digits = 38;

// Least significant byte first on every machine.
Uint128 load_little(const std::uint8_t* bytes) {
  Uint128 value = 0;
  for (std::int32_t i = 15; i >= 0; --i) value = value << 8 | bytes[i];
  return value;
}

void store_little(std::uint8_t* bytes, Uint128 value) {
  for (std::int32_t i = 0; i < 16; ++i, value >>= 8) bytes[i] = static_cast<std::uint8_t>(value);
}

// The offset of the first member that no number has, or -1.
std::int64_t find_fault(const ZVRTNumeric& value, const Magnitude& magnitude) {
  if (value.precision < 1 || value.precision > most_digits) return offsetof(ZVRTNumeric, precision);
  if (value.sign > 1) return offsetof(ZVRTNumeric, sign);
  return fits_digits(magnitude, most_digits) ? -1 : static_cast<std::int64_t>(offsetof(ZVRTNumeric, value));
}

}  // namespace

void read_numeric(const Type& /*type*/, Block& block) {
  for_each(block, [&](std::int32_t i) {
    const auto value = load<ZVRTNumeric>(block.source[i].at);
    const Magnitude magnitude{load_little(value.value), 0};
    if (const std::int64_t offset = find_fault(value, magnitude); offset >= 0) {
      const auto unit = static_cast<std::uint32_t>(block.source[i].at[offset]);
      return block.refuse(i, ZVRT_RC_INVALID_VALUE, {.offset = offset, .unit = unit});
    }
    block.decimal[i] = {magnitude, value.scale, value.sign == 0, Tail::zero};
  });
}

void write_numeric(const Type& type, Block& block) {
  write_numbers(type, block, [&](std::int32_t i, const Decimal& number) {
    if (!fits_digits(number.magnitude, type.precision)) return ZVRT_RC_DIGITS_LOST;
    ZVRTNumeric value{};
    value.precision = static_cast<std::uint8_t>(type.precision);
    value.scale = static_cast<std::int8_t>(type.scale);
    value.sign = number.negative && !number.magnitude.is_zero() ? 0 : 1;
    store_little(value.value, number.magnitude.low);
    store(block.slot[i], 0, value);
    return ZVRT_RC_OK;
  });
}

}  // namespace zvrt::columns
