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

// The digits of a number within the pairs that make it, without zeros at either end. An odd scale puts the point inside a
// pair; all digits are then shifted by one, so that it falls between two pairs.
template <bool shifted>
struct Trimmed {
  static constexpr bool digits_are_free = !shifted;

  Trimmed(const std::uint8_t* given, std::int32_t given_count, std::int32_t scale)
      : pairs(given), pair_count(std::max(given_count, 0)) {
    const std::int32_t end = pair_count > 0 ? pair_count + (shifted ? 1 : 0) : 0;
    std::int32_t last = end;
    while (last > 0 && pair(last - 1) == 0) --last;
    while (first < last && pair(first) == 0) ++first;
    count = std::min(last - first, Base100::max_digits);
    exponent = end - first - (scale + (shifted ? 1 : 0)) / 2 - 1;
  }

  std::uint8_t pair(std::int32_t index) const {
    if (!shifted) return pairs[index];
    const int tens = index > 0 ? pairs[index - 1] % 10 : 0;
    const int ones = index < pair_count ? pairs[index] / 10 : 0;
    return static_cast<std::uint8_t>(tens * 10 + ones);
  }
  std::uint8_t digit(std::int32_t index) const { return pair(first + index); }

  const std::uint8_t* pairs;
  std::int32_t pair_count;
  std::int32_t first = 0;
  std::int32_t count;
  std::int32_t exponent;
};

// Calls `use` with the digits.
template <class Use>
auto with_digits(const std::uint8_t* pairs, std::int32_t count, std::int32_t scale, Use use) {
  if (scale % 2 == 0) return use(Trimmed<false>(pairs, count, scale));
  return use(Trimmed<true>(pairs, count, scale));
}

template <class Number>
std::int32_t write(const Number& number, bool negative, std::uint8_t* dst) {
  if (number.count == 0 || number.exponent < min_varnum_exponent) return write_zero(dst);
  // Digit + 1, or 101 - digit, which is the complement + 102.
  const std::uint8_t flip = negative ? 0xFF : 0;
  const std::uint8_t from = negative ? 102 : 1;
  const auto put = [&](std::int32_t index) {
    dst[varnum_header + index] = static_cast<std::uint8_t>((number.digit(index) ^ flip) + from);
  };
  if constexpr (Number::digits_are_free) {
    // Eight at a time, the last digit repeatedly: up to eight digits their count decides no branch.
    for (std::int32_t at = 0; at < number.count; at += 8) {
      for (std::int32_t i = at; i < at + 8; ++i) put(std::min(i, number.count - 1));
    }
  } else {
    for (std::int32_t i = 0; i < number.count; ++i) put(i);
  }
  std::int32_t size = varnum_header + number.count;
  if (negative && number.count < Base100::max_digits) dst[size++] = negative_end;
  const std::int32_t exponent =
      negative ? negative_exponent - number.exponent : 0x80 | (number.exponent - min_varnum_exponent);
  dst[0] = static_cast<std::uint8_t>(size - 1);
  dst[1] = static_cast<std::uint8_t>(exponent);
  return size;
}

}  // namespace

Base100 normalise(const std::uint8_t* pairs, std::int32_t count, std::int32_t scale) {
  return with_digits(pairs, count, scale, [](const auto& trimmed) {
    Base100 number;
    number.count = trimmed.count;
    number.exponent = trimmed.exponent;
    for (std::int32_t i = 0; i < number.count; ++i) number.digits[i] = trimmed.digit(i);
    return number;
  });
}

std::int32_t write_varnum(const Base100& number, bool negative, std::uint8_t* dst) {
  return write(number, negative, dst);
}

}  // namespace zvrt

int16_t ConvertBCDToOraVarNum(uint8_t* dst, uint8_t* digitPairs, int16_t pairCount, int16_t scale, char sign) {
  zvrt::with_digits(digitPairs, pairCount, scale,
                    [=](const auto& number) { return zvrt::write(number, sign == '-', dst); });
  return 0;
}
