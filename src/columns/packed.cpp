// Packed decimal: two digits per byte, the sign in the last half-byte unless the type has none.
//
//   |d d|d d|d s|     s: C, A, E, F positive; D, B negative; written C and D, F where the type is unsigned
//
// Up to 16 half-bytes are worked on in one word, most significant first: neighbours are joined to numbers of two, four,
// eight and sixteen digits.
#include "columns/kernels/packed_word.h"
#include "columns/numbers.h"

namespace zvrt::columns {

namespace {

constexpr std::int32_t word_nibbles = 16;

// `bytes` bytes, most significant first, at most 8.
std::uint64_t load_big(const std::byte* at, std::int32_t bytes) {
  if (bytes == 8) return load_big_endian<std::uint64_t>(at);
  std::uint64_t word = 0;
  for (std::int32_t i = 0; i < bytes; ++i) word = word << 8 | static_cast<std::uint64_t>(at[i]);
  return word;
}

// A bit in each half-byte above 9: 8 and one of 4 and 2.
std::uint64_t find_non_digits(std::uint64_t word) {
  return word >> 3 & (word >> 2 | word >> 1) & UINT64_C(0x1111111111111111);
}

std::uint64_t join_digits(std::uint64_t word) {
  word = (word & UINT64_C(0x0F0F0F0F0F0F0F0F)) + 10 * (word >> 4 & UINT64_C(0x0F0F0F0F0F0F0F0F));
  word = (word & UINT64_C(0x00FF00FF00FF00FF)) + 100 * (word >> 8 & UINT64_C(0x00FF00FF00FF00FF));
  word = (word & UINT64_C(0x0000FFFF0000FFFF)) + 10000 * (word >> 16 & UINT64_C(0x0000FFFF0000FFFF));
  return (word & UINT32_MAX) + 100000000 * (word >> 32);
}

// The first half-byte above `most`: no digit at all, or of too many digits the first that is one.
Fault find_above(std::uint32_t most, const std::byte* at, std::int32_t nibbles) {
  for (std::int32_t i = 0; i < nibbles; ++i) {
    const auto byte = static_cast<std::uint32_t>(at[i / 2]);
    if ((i % 2 == 0 ? byte >> 4 : byte & 0xF) > most) return {.offset = i / 2, .unit = byte};
  }
  return {};
}

// A field of four to eight bytes by two loads: what both hold falls into the same place.
std::uint64_t load_field(const std::byte* at, std::int32_t bytes) {
  const auto upper = load_big_endian<std::uint32_t>(at);
  const auto lower = load_big_endian<std::uint32_t>(at + bytes - 4);
  return upper << 8 * (bytes - 4) | lower;
}

// Digits as a number; false where a half-byte is none.
bool read_digits(const std::byte* at, std::int32_t nibbles, Magnitude& magnitude) {
  const std::int32_t bytes = (nibbles + 1) / 2;
  if (bytes >= 4 && bytes <= 8) {
    const std::uint64_t word = load_field(at, bytes) >> (nibbles % 2 != 0 ? 4 : 0);
    magnitude = {join_digits(word), 0};
    return find_non_digits(word) == 0;
  }
  // An odd last one is the upper half of a byte that holds the sign too.
  std::int32_t taken = 0;
  while (taken < nibbles) {
    const std::int32_t step = std::min(nibbles - taken, word_nibbles);
    std::uint64_t word = load_big(at + taken / 2, (step + 1) / 2);
    if (step % 2 != 0) word >>= 4;
    if (find_non_digits(word) != 0) return false;
    const std::uint64_t value = join_digits(word);
    magnitude = taken == 0 ? Magnitude{value, 0} : append_digits(magnitude, step, value);
    taken += step;
  }
  return true;
}

// An unsigned type has no negative values; a negative zero is none.
Status read_sign(const Type& type, std::uint32_t nibble, Decimal& number) {
  number.negative = nibble == 0xD || nibble == 0xB;
  const bool is_refused = number.negative && !number.magnitude.is_zero() && type.has(ZVRT_TYPE_UNSIGNED);
  return nibble < 0xA || is_refused ? ZVRT_RC_INVALID_SIGN : ZVRT_RC_OK;
}

// The digits from the last one on; half-bytes before the first are 0.
void write_nibbles(std::byte* at, std::int32_t bytes, std::uint32_t sign, bool has_sign, const Decimal& number) {
  char digits[max_digits];
  std::int32_t left = write_digits(number.magnitude, digits);
  const auto next = [&]() -> std::uint32_t { return left > 0 ? static_cast<std::uint32_t>(digits[--left] - '0') : 0; };
  for (std::int32_t i = bytes - 1; i >= 0; --i) {
    const std::uint32_t low = has_sign && i == bytes - 1 ? sign : next();
    at[i] = static_cast<std::byte>(next() << 4 | low);
  }
}

}  // namespace

void read_packed(const Type& type, Block& block) {
  const bool has_sign = !type.has(ZVRT_TYPE_NO_SIGN);
  const std::int32_t nibbles = 2 * type.length - (has_sign ? 1 : 0);
  for_each(block, [&](std::int32_t i) {
    const std::byte* const at = block.source[i].at;
    Decimal number{{}, type.scale, false, Tail::zero};
    if (!read_digits(at, nibbles, number.magnitude)) {
      return block.refuse(i, ZVRT_RC_INVALID_DIGIT, find_above(9, at, nibbles));
    }
    const auto last = static_cast<std::uint32_t>(at[type.length - 1]);
    const Status status = has_sign ? read_sign(type, last & 0xF, number) : ZVRT_RC_OK;
    if (status != ZVRT_RC_OK) return block.refuse(i, status, {.offset = type.length - 1, .unit = last});
    if (type.precision < nibbles && !fits_digits(number.magnitude, type.precision)) {
      return block.refuse(i, ZVRT_RC_DIGITS_LOST, find_above(0, at, nibbles));
    }
    block.decimal[i] = number;
  });
}

void write_packed(const Type& type, Block& block) {
  const bool has_sign = !type.has(ZVRT_TYPE_NO_SIGN);
  const bool is_unsigned = type.has(ZVRT_TYPE_UNSIGNED);
  write_numbers(type, block, [&](std::int32_t i, const Decimal& number) {
    const bool negative = number.negative && !number.magnitude.is_zero();
    if (negative && (is_unsigned || !has_sign)) return ZVRT_RC_INVALID_SIGN;
    if (!fits_digits(number.magnitude, type.precision)) return ZVRT_RC_DIGITS_LOST;
    write_nibbles(block.slot[i], type.length, is_unsigned ? 0xF : negative ? 0xD : 0xC, has_sign, number);
    return ZVRT_RC_OK;
  });
}

}  // namespace zvrt::columns
