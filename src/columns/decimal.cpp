#include "columns/decimal.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>

#include "ZVRTColumns.h"

namespace zvrt::columns {

namespace {

constexpr std::int32_t word_digits = 19;  // as many as always fit a 64-bit word

constexpr auto word_powers = [] {
  std::array<std::uint64_t, word_digits + 1> powers{1};
  for (std::size_t n = 1; n < powers.size(); ++n) powers[n] = powers[n - 1] * 10;
  return powers;
}();

std::uint64_t word_power(std::int32_t n) { return word_powers[static_cast<std::size_t>(n)]; }

constexpr Uint128 low_word(Uint128 value) { return value & UINT64_MAX; }

// magnitude * factor + addend, of which the lower 160 bits are kept.
constexpr Magnitude multiply_add(const Magnitude& magnitude, std::uint64_t factor, std::uint64_t addend) {
  const Uint128 bottom = low_word(magnitude.low) * factor + addend;
  const Uint128 middle = (magnitude.low >> 64) * factor + (bottom >> 64);
  const std::uint64_t top = magnitude.high * factor + static_cast<std::uint64_t>(middle >> 64);
  return {middle << 64 | low_word(bottom), static_cast<std::uint32_t>(top)};
}

constexpr auto powers = [] {
  std::array<Magnitude, max_digits + 1> all{Magnitude{1, 0}};
  for (std::size_t n = 1; n < all.size(); ++n) all[n] = multiply_add(all[n - 1], 10, 0);
  return all;
}();

// Divides in place and returns the remainder.
std::uint64_t divide(Magnitude& magnitude, std::uint64_t divisor) {
  if (magnitude.is_word()) {
    const std::uint64_t word = magnitude.word();
    magnitude.low = word / divisor;
    return word % divisor;
  }
  const Uint128 top = magnitude.high;
  const Uint128 middle = (top % divisor) << 64 | magnitude.low >> 64;
  const Uint128 bottom = (middle % divisor) << 64 | low_word(magnitude.low);
  magnitude.high = static_cast<std::uint32_t>(top / divisor);
  magnitude.low = (middle / divisor) << 64 | bottom / divisor;
  return static_cast<std::uint64_t>(bottom % divisor);
}

// The digit that decides and whether anything follows it, beside half a unit.
constexpr Tail tail_of(std::uint64_t first_dropped, bool rest) {
  if (first_dropped == 5 && !rest) return Tail::half;
  if (first_dropped >= 5) return Tail::above_half;
  return first_dropped != 0 || rest ? Tail::below_half : Tail::zero;
}

// Drops the last `count` digits, at least one, and says how they compare with half a unit.
Tail drop_digits(Magnitude& magnitude, std::int32_t count, Tail tail) {
  bool rest = tail != Tail::zero;
  if (count > max_digits) {
    rest |= !magnitude.is_zero();
    magnitude = {};
    return tail_of(0, rest);
  }
  for (std::int32_t left = count - 1; left > 0;) {
    const std::int32_t step = std::min(left, word_digits);
    rest |= divide(magnitude, word_power(step)) != 0;
    left -= step;
  }
  return tail_of(divide(magnitude, 10), rest);
}

Status round_magnitude(Magnitude& magnitude, Tail tail, Rounding rule) {
  if (tail == Tail::zero) return ZVRT_RC_OK;
  bool up = false;
  switch (rule) {
    case Rounding::exact: return ZVRT_RC_FRACTION_LOST;
    case Rounding::cut: break;
    case Rounding::half_away: up = tail >= Tail::half; break;
    case Rounding::half_even: up = tail == Tail::above_half || (tail == Tail::half && magnitude.low % 2 != 0); break;
  }
  if (up) magnitude = multiply_add(magnitude, 1, 1);
  return ZVRT_RC_OK;
}

constexpr auto digit_pairs = [] {
  std::array<char, 200> pairs{};
  for (std::size_t i = 0; i < 100; ++i) {
    pairs[2 * i] = static_cast<char>('0' + i / 10);
    pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
  }
  return pairs;
}();
const char* pair(std::uint64_t value) { return digit_pairs.data() + 2 * value; }

// None for 0. The logarithm is one too small at most.
std::int32_t count_word_digits(std::uint64_t word) {
  const std::int32_t bits = 64 - std::countl_zero(word | 1);
  const std::int32_t estimate = bits * 1233 >> 12;
  return estimate + (word >= word_power(estimate) ? 1 : 0);
}

// Exactly 19 digits, with leading zeros.
void write_word(std::uint64_t word, char* digits) {
  for (std::int32_t i = word_digits - 1; i >= 0; --i) {
    digits[i] = static_cast<char>('0' + word % 10);
    word /= 10;
  }
}

}  // namespace

Magnitude power_of_ten(std::int32_t n) { return powers[static_cast<std::size_t>(n)]; }

Status rescale(Decimal& number, std::int32_t scale, Rounding rule) {
  const std::int32_t more = scale - number.scale;
  Magnitude& magnitude = number.magnitude;
  number.scale = scale;
  if (more <= 0) {
    if (more < 0) number.tail = drop_digits(magnitude, -more, number.tail);
    const Tail tail = number.tail;
    number.tail = Tail::zero;
    if (const Status status = round_magnitude(magnitude, tail, rule); status != ZVRT_RC_OK) return status;
    return fits_digits(magnitude, max_digits) ? ZVRT_RC_OK : ZVRT_RC_DIGITS_LOST;
  }
  if (magnitude.is_zero()) return ZVRT_RC_OK;
  if (number.tail != Tail::zero && rule == Rounding::exact && number.finest > scale) return ZVRT_RC_FRACTION_LOST;
  // A number with a tail has its 40 digits already.
  if (more > max_digits || !is_less(magnitude, power_of_ten(max_digits - more))) return ZVRT_RC_DIGITS_LOST;
  for (std::int32_t left = more; left > 0;) {
    const std::int32_t step = std::min(left, word_digits);
    magnitude = multiply_add(magnitude, word_power(step), 0);
    left -= step;
  }
  return ZVRT_RC_OK;
}

void strip_zeros(Decimal& number) {
  if (number.magnitude.is_zero()) {
    number.scale = 0;
    return;
  }
  for (Magnitude next = number.magnitude; divide(next, 10) == 0; number.magnitude = next) --number.scale;
}

// NOLINTNEXTLINE(misc-no-recursion): a magnitude has three words at most
std::int32_t write_digits(const Magnitude& magnitude, char* digits) {
  if (magnitude.is_word()) {
    std::uint64_t word = magnitude.word();
    const std::int32_t count = count_word_digits(word);
    char* at = digits + count;
    for (; word >= 100; word /= 100) at = std::copy_backward(pair(word % 100), pair(word % 100) + 2, at);
    if (word >= 10) {
      std::copy_backward(pair(word), pair(word) + 2, at);
    } else if (word != 0) {
      *--at = static_cast<char>('0' + word);
    }
    return count;
  }
  Magnitude rest = magnitude;
  const std::uint64_t bottom = divide(rest, word_power(word_digits));
  const std::int32_t count = write_digits(rest, digits);
  write_word(bottom, digits + count);
  return count + word_digits;
}

Magnitude append_digits(const Magnitude& magnitude, std::int32_t digits, std::uint64_t value) {
  return multiply_add(magnitude, word_power(digits), value);
}

}  // namespace zvrt::columns
