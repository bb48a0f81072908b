#include "numeric/decimal/base100.h"

#include <algorithm>

#include "ZVRTDataCnvLib.h"

namespace zvrt {

namespace {

// Ends a short negative mantissa: above every digit, so that bytewise comparison orders numbers.
constexpr std::uint8_t negative_end = 102;

std::int32_t write_zero(std::uint8_t* dst) {
  dst[0] = 1;
  dst[1] = zero_exponent;
  return varnum_header;
}

}  // namespace

Base100 normalise(const std::uint8_t* pairs, std::int32_t count, std::int32_t scale) {
  // An odd scale puts the point inside a pair; all digits are then shifted by one, so that it falls between two pairs.
  const bool shifted = scale % 2 != 0;
  const auto digit = [=](std::int32_t index) {
    if (!shifted) return pairs[index];
    const int tens = index > 0 ? pairs[index - 1] % 10 : 0;
    const int ones = index < count ? pairs[index] / 10 : 0;
    return static_cast<std::uint8_t>(tens * 10 + ones);
  };
  const std::int32_t end = count > 0 ? count + (shifted ? 1 : 0) : 0;
  std::int32_t last = end;
  while (last > 0 && digit(last - 1) == 0) --last;
  std::int32_t first = 0;
  while (first < last && digit(first) == 0) ++first;

  Base100 number;
  number.count = std::min(last - first, Base100::max_digits);
  number.exponent = end - first - (scale + (shifted ? 1 : 0)) / 2 - 1;
  for (std::int32_t i = 0; i < number.count; ++i) number.digits[i] = digit(first + i);
  return number;
}

std::int32_t write_varnum(const Base100& number, bool negative, std::uint8_t* dst) {
  if (number.count == 0 || number.exponent < min_varnum_exponent) return write_zero(dst);
  for (std::int32_t i = 0; i < number.count; ++i) {
    const int digit = number.digits[i];
    dst[varnum_header + i] = static_cast<std::uint8_t>(negative ? 101 - digit : digit + 1);
  }
  std::int32_t size = varnum_header + number.count;
  if (negative && number.count < Base100::max_digits) dst[size++] = negative_end;
  const std::int32_t exponent =
      negative ? negative_exponent - number.exponent : 0x80 | (number.exponent - min_varnum_exponent);
  dst[0] = static_cast<std::uint8_t>(size - 1);
  dst[1] = static_cast<std::uint8_t>(exponent);
  return size;
}

}  // namespace zvrt

int16_t ConvertBCDToOraVarNum(uint8_t* dst, uint8_t* digitPairs, int16_t pairCount, int16_t scale, char sign) {
  zvrt::write_varnum(zvrt::normalise(digitPairs, pairCount, scale), sign == '-', dst);
  return 0;
}
