#include "numeric/kernels/decimal_vectors.h"

namespace zvrt {

namespace {

// A vector of repeated values of `size` bytes, the lowest first.
constexpr Bytes64 repeat(std::uint32_t value, unsigned size) {
  Bytes64 vector{};
  for (unsigned i = 0; i < 64; ++i) vector.at[i] = static_cast<std::uint8_t>(value >> 8 * (i % size));
  return vector;
}

constexpr Bytes64 repeat(std::uint8_t byte) { return repeat(byte, 1); }

constexpr Bytes64 numbered() {
  Bytes64 vector{};
  for (unsigned i = 0; i < 64; ++i) vector.at[i] = static_cast<std::uint8_t>(i);
  return vector;
}

constexpr Bytes64 lanes(unsigned first) {
  Bytes64 vector = repeat(63);
  for (unsigned i = 0; i < 16; ++i) vector.at[4 * i] = static_cast<std::uint8_t>(first + i);
  return vector;
}

constexpr Bytes64 signed_zeros() {
  Bytes64 vector = repeat('0', 4);
  vector.at[0] = '-';
  return vector;
}

}  // namespace

constexpr DecimalVectors decimal_vectors = {
    .positions = numbered(),
    .digit_lanes = {lanes(0), lanes(16), lanes(32), lanes(48)},
    .wide_zeros = {repeat('0', 4), signed_zeros()},
    .zeros = repeat('0'),
    .points = repeat('.'),
    .low_halves = repeat(0x0F),
    .ones = repeat(1),
    .nines = repeat(9),
    .ninety_nines = repeat(99),
    .minus_ones = repeat(0xFF),
    .signs = {repeat(0xC), repeat(0xD)},
    .by_16_and_1 = repeat(0x0110, 2),
    .by_10_and_1 = repeat(0x010A, 2),
    .tenths = repeat(6554, 2),
    .ones_less_tens = repeat(1 - 10 * 256 + 65536, 2),
    .sixteens = repeat(16),
    .wide_bytes = repeat(0xFF, 4),
};

}  // namespace zvrt
