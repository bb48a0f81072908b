// The shortest decimal that reads back as a float, of several the nearest: Schubfach, the algorithm of Giulietti.
//
// A float is c * 2^q. The decimals that read back as it lie between the halfway points to its neighbours,
//
//   (4c - 2) * 2^(q-2)   4c * 2^(q-2)   (4c + 2) * 2^(q-2)          4c - 1 where the float below is half as far
//
// whose ends count where c is even. Divided by the greatest power of ten 10^k that is not above their distance, the
// three become numbers of at most 18 digits times four, rounded to odd (the last bit says whether anything follows), so
// that integers compare as the exact values do. Between the ends lie at most ten multiples of 10^k, hence at most one of
// 10^(k+1); where there is one it is shorter, else the multiple of 10^k nearest to the float is taken.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

#include "numeric/floating/powers_of_ten.h"
#include "support/wraps.h"

namespace zvrt::columns {

// digits * 10^-scale, without zeros at the end.
struct Shortest {
  std::uint64_t digits;
  std::int32_t scale;
};

template <class Float>
struct Format;
template <>
struct Format<float> {
  using Bits = std::uint32_t;
  static constexpr std::int32_t fraction_bits = 23;
  static constexpr std::int32_t max_field = 0xFF;
};
template <>
struct Format<double> {
  using Bits = std::uint64_t;
  static constexpr std::int32_t fraction_bits = 52;
  static constexpr std::int32_t max_field = 0x7FF;
};

namespace schubfach {

// floor(log10(3/4 * 2^e)): the distance between the ends where the float below is half as far.
constexpr std::int32_t log10_of_three_quarters(std::int32_t e) { return (e * 1262611 - 524031) >> 22; }

// number * power / 2^128, its last bit set where anything follows. The power is less than one unit too large, which
// shows in the last two units at most.
ZVRT_WRAPS inline std::uint64_t round_to_odd(const PowerOfTen& power, std::uint64_t number) {
  const Product product = multiply(number, power);
  return product.high | static_cast<std::uint64_t>(product.middle > 1);
}

// The table cuts its powers off; rounded up, unless they are whole.
inline PowerOfTen power_rounded_up(std::int32_t k) {
  const PowerOfTen& power = zvrt::power_of_ten(k);
  const std::uint64_t more = power_is_exact(k) ? 0 : 1;
  const std::uint64_t low = power.low + more;
  return {power.high + (low < more ? 1 : 0), low};
}

inline Shortest without_zeros(std::uint64_t digits, std::int32_t scale) {
  while (digits % 10 == 0) {
    digits /= 10;
    --scale;
  }
  return {digits, scale};
}

}  // namespace schubfach

// Of a finite float, without its sign.
template <class Float>
ZVRT_WRAPS inline Shortest find_shortest(Float value) {
  using F = Format<Float>;
  constexpr std::uint64_t implicit_bit = UINT64_C(1) << F::fraction_bits;
  const auto bits = std::uint64_t{std::bit_cast<typename F::Bits>(std::fabs(value))};
  if (bits == 0) [[unlikely]]
    return {0, 0};
  const auto field = static_cast<std::int32_t>(bits >> F::fraction_bits);
  const std::uint64_t fraction = bits & (implicit_bit - 1);
  const std::uint64_t c = field != 0 ? fraction | implicit_bit : fraction;
  const std::int32_t q = (field != 0 ? field : 1) - F::max_field / 2 - F::fraction_bits;

  const bool is_narrow_below = fraction == 0 && field > 1;
  const std::int32_t k = is_narrow_below ? schubfach::log10_of_three_quarters(q) : log10_of_power_of_two(q);
  const PowerOfTen power = schubfach::power_rounded_up(-k);
  const std::int32_t shift = q + log2_of_power(-k) + 1;
  const auto scaled = [&](std::uint64_t quarters) { return schubfach::round_to_odd(power, quarters << shift); };
  const std::uint64_t middle = scaled(4 * c);
  const std::uint64_t odd = c % 2;
  const std::uint64_t lower = scaled(4 * c - (is_narrow_below ? 1 : 2)) + odd;
  const std::uint64_t upper = scaled(4 * c + 2) - odd;

  const std::uint64_t multiple = middle / 4;
  const bool has_below = lower <= 4 * multiple;
  const bool has_above = 4 * multiple + 4 <= upper;
  const std::uint64_t halfway = 4 * multiple + 2;
  const bool is_nearer_above = middle > halfway || (middle == halfway && multiple % 2 != 0);
  const bool goes_up = has_below != has_above ? has_above : is_nearer_above;
  const std::uint64_t tens = multiple / 10;
  const bool has_tens_below = tens != 0 && lower <= 40 * tens;
  const bool has_tens_above = tens != 0 && 40 * tens + 40 <= upper;
  // Whether there is a shorter one is not predictable: no branch.
  const std::uint64_t is_shorter = has_tens_below != has_tens_above ? 1 : 0;
  const std::uint64_t with_tens = tens + (has_tens_above ? 1 : 0);
  const std::uint64_t without = multiple + (goes_up ? 1 : 0);
  return schubfach::without_zeros(without ^ ((without ^ with_tens) & (0 - is_shorter)),
                                  -k - static_cast<std::int32_t>(is_shorter));
}

}  // namespace zvrt::columns
