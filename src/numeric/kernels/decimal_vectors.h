// Constant vectors of the decimal kernels. They have a source of their own so that they are loaded: values that a
// compiler knows are built in general registers and moved over, and those moves are what the kernels wait for.
#pragma once

#include <cstdint>

namespace zvrt {

struct alignas(64) Bytes64 {
  std::uint8_t at[64];
};

struct DecimalVectors {
  Bytes64 positions;       // 0 to 63
  Bytes64 digit_lanes[4];  // 0 to 15, 16 to 31 and so on, each before three times 63
  Bytes64 wide_zeros[2];   // the character 0 in 32 bits; a - in place of the first
  Bytes64 zeros;           // the character 0
  Bytes64 points;
  Bytes64 low_halves;
  Bytes64 ones;
  Bytes64 nines;
  Bytes64 ninety_nines;
  Bytes64 minus_ones;
  Bytes64 signs[2];        // of positive and negative packed decimals
  Bytes64 by_16_and_1;     // weights of two half-bytes
  Bytes64 by_10_and_1;     // and of two digits
  Bytes64 tenths;          // of 65536, rounded up: digits of 0 to 99 come out right
  Bytes64 ones_less_tens;  // 1 - 10 * 256
  Bytes64 sixteens;
  Bytes64 wide_bytes;  // the greatest byte in 32 bits
};

extern const DecimalVectors decimal_vectors;

}  // namespace zvrt
