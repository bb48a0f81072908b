#include "numeric/floating/powers_of_ten.h"

#include <algorithm>
#include <bit>

namespace zvrt {

namespace {

// A number long enough for every power of five of the table, and for the leading bits of their reciprocals.
struct LongNumber {
  static constexpr std::size_t size = 17;
  std::array<std::uint64_t, size> words{};  // the least significant first

  constexpr void multiply_by_five() {
    std::uint64_t carry = 0;
    for (std::uint64_t& word : words) {
      const Uint128 product = static_cast<Uint128>(word) * 5 + carry;
      word = static_cast<std::uint64_t>(product);
      carry = static_cast<std::uint64_t>(product >> 64);
    }
  }

  constexpr void divide_by_five() {
    std::uint64_t remainder = 0;
    for (std::size_t i = size; i-- > 0;) {
      const Uint128 dividend = static_cast<Uint128>(remainder) << 64 | words[i];
      words[i] = static_cast<std::uint64_t>(dividend / 5);
      remainder = static_cast<std::uint64_t>(dividend % 5);
    }
  }

  constexpr std::int32_t bit_length() const {
    std::size_t top = size;
    while (words[top - 1] == 0) --top;
    return static_cast<std::int32_t>(top) * 64 - std::countl_zero(words[top - 1]);
  }

  // The 64 bits from bit `last` down.
  constexpr std::uint64_t word_ending_at(std::int32_t last) const {
    const auto index = static_cast<std::size_t>(last) / 64;
    const std::int32_t missing = 63 - last % 64;
    return missing == 0 ? words[index] : words[index] << missing | words[index - 1] >> (64 - missing);
  }

  constexpr PowerOfTen leading_bits() const {
    const std::int32_t last = bit_length() - 1;
    return {word_ending_at(last), word_ending_at(last - 64)};
  }
};

using Powers = std::array<PowerOfTen, max_power - min_power + 1>;
using DecadeStarts = std::array<std::uint64_t, max_decade - min_decade + 1>;

struct Table {
  Powers powers{};
  bool logarithms_hold = true;
};

consteval Table make_table() {
  Table table;
  constexpr std::int32_t below = 256;  // bits below the units, so that even 5^0 has 128 leading bits
  LongNumber five_power;
  five_power.words[below / 64] = 1;
  for (std::int32_t k = 0; k <= max_power; ++k, five_power.multiply_by_five()) {
    table.powers[static_cast<std::size_t>(k - min_power)] = five_power.leading_bits();
    if (log2_of_power(k) != five_power.bit_length() - 1 - below + k) table.logarithms_hold = false;
  }
  // 2^n / 5^-k: cutting off at every step gives the same as cutting off once.
  constexpr std::int32_t n = static_cast<std::int32_t>(LongNumber::size - 1) * 64;
  LongNumber reciprocal;
  reciprocal.words[LongNumber::size - 1] = 1;
  for (std::int32_t k = -1; k >= min_power; --k) {
    reciprocal.divide_by_five();
    table.powers[static_cast<std::size_t>(k - min_power)] = reciprocal.leading_bits();
    if (log2_of_power(k) != reciprocal.bit_length() - 1 - n + k) table.logarithms_hold = false;
  }
  return table;
}

// 10^f <= 2^e < 10^(f + 1), checked by binary logarithms; the only power of ten that is a power of two is 1.
consteval bool decimal_logarithms_hold() {
  for (std::int32_t e = -1074; e <= 1023; ++e) {
    const std::int32_t f = log10_of_power_of_two(e);
    const bool reaches = log2_of_power(f) < e || (f == 0 && e == 0);
    const bool stays_below = log2_of_power(f + 1) >= e;
    if (!reaches || !stays_below) return false;
  }
  return true;
}

constexpr Table table = make_table();

// Cuts the power off to the bits of a double and goes one up, unless nothing was cut off: 10^0 to 10^22 are doubles.
consteval DecadeStarts make_decade_starts() {
  DecadeStarts starts{};
  for (std::int32_t k = min_decade; k <= max_decade; ++k) {
    const std::int32_t binary_exponent = log2_of_power(k);
    const std::int32_t below_normal = std::max(-1022 - binary_exponent, 0);
    const std::int32_t exponent_field = binary_exponent + below_normal + 1022;
    // The leading bit of a normal significand counts one up in the exponent field.
    const std::uint64_t kept = table.powers[static_cast<std::size_t>(k - min_power)].high >> (11 + below_normal);
    const bool is_double = 0 <= k && k <= 22;
    starts[static_cast<std::size_t>(k - min_decade)] =
        (static_cast<std::uint64_t>(exponent_field) << 52) + kept + (is_double ? 0 : 1);
  }
  return starts;
}

static_assert(table.logarithms_hold);
static_assert(decimal_logarithms_hold());

}  // namespace

constexpr Powers powers_of_ten = table.powers;
constexpr DecadeStarts decade_starts = make_decade_starts();

}  // namespace zvrt
