// Integers of 1 to 16 bytes and booleans.
#include "columns/numbers.h"

namespace zvrt::columns {

namespace {

template <class Unsigned>
Unsigned load_integer(const std::byte* at, bool swapped) {
  const auto value = load<Unsigned>(at);
  if constexpr (sizeof(Unsigned) == 2) return swapped ? __builtin_bswap16(value) : value;
  if constexpr (sizeof(Unsigned) == 4) return swapped ? __builtin_bswap32(value) : value;
  if constexpr (sizeof(Unsigned) == 8) return swapped ? __builtin_bswap64(value) : value;
  return value;
}

template <class Unsigned>
void store_integer(std::byte* at, std::uint64_t wide, bool swapped) {
  auto value = static_cast<Unsigned>(wide);
  if constexpr (sizeof(Unsigned) == 2) value = swapped ? __builtin_bswap16(value) : value;
  if constexpr (sizeof(Unsigned) == 4) value = swapped ? __builtin_bswap32(value) : value;
  if constexpr (sizeof(Unsigned) == 8) value = swapped ? __builtin_bswap64(value) : value;
  store<Unsigned>(at, 0, value);
}

template <class Unsigned>
void read_integers(const Type& type, Block& block) {
  const bool is_signed = type.kind == ZVRT_KIND_INT;
  const bool swapped = type.is_swapped();
  for_each(block, [&](std::int32_t i) {
    const auto bits = load_integer<Unsigned>(block.source[i].at, swapped);
    const bool negative = is_signed && bits >> (sizeof(Unsigned) * 8 - 1) != 0;
    const auto magnitude = static_cast<Unsigned>(negative ? Unsigned{0} - bits : bits);
    block.decimal[i] = {{magnitude, 0}, type.scale, negative, Tail::zero};
  });
}

template <class Unsigned>
void write_integers(const Type& type, Block& block) {
  constexpr std::uint64_t all{static_cast<Unsigned>(~Unsigned{0})};
  const bool is_signed = type.kind == ZVRT_KIND_INT;
  const bool swapped = type.is_swapped();
  write_numbers(type, block, [&](std::int32_t i, const Decimal& number) {
    const bool negative = number.negative && !number.magnitude.is_zero();
    const std::uint64_t most = is_signed ? all / 2 + (negative ? 1 : 0) : negative ? 0 : all;
    if (type.declares_precision && !fits_digits(number.magnitude, type.precision)) return ZVRT_RC_DIGITS_LOST;
    if (!number.magnitude.is_word() || number.magnitude.word() > most) return ZVRT_RC_OUT_OF_RANGE;
    const std::uint64_t word = number.magnitude.word();
    store_integer<Unsigned>(block.slot[i], negative ? ~word + 1 : word, swapped);
    return ZVRT_RC_OK;
  });
}

constexpr Uint128 swap_bytes(Uint128 value) {
  const auto low = static_cast<std::uint64_t>(value);
  const auto high = static_cast<std::uint64_t>(value >> 64);
  return static_cast<Uint128>(__builtin_bswap64(low)) << 64 | __builtin_bswap64(high);
}

}  // namespace

void read_integer(const Type& type, Block& block) {
  switch (type.length) {
    case 1: return read_integers<std::uint8_t>(type, block);
    case 2: return read_integers<std::uint16_t>(type, block);
    case 4: return read_integers<std::uint32_t>(type, block);
    default: return read_integers<std::uint64_t>(type, block);
  }
}

void write_integer(const Type& type, Block& block) {
  switch (type.length) {
    case 1: return write_integers<std::uint8_t>(type, block);
    case 2: return write_integers<std::uint16_t>(type, block);
    case 4: return write_integers<std::uint32_t>(type, block);
    default: return write_integers<std::uint64_t>(type, block);
  }
}

void read_decimal(const Type& type, Block& block) {
  const bool swapped = type.is_swapped();
  for_each(block, [&](std::int32_t i) {
    const auto stored = load<Uint128>(block.source[i].at);
    const Uint128 bits = swapped ? swap_bytes(stored) : stored;
    const bool negative = bits >> 127 != 0;
    block.decimal[i] = {{negative ? ~bits + 1 : bits, 0}, type.scale, negative, Tail::zero};
  });
}

void write_decimal(const Type& type, Block& block) {
  const bool swapped = type.is_swapped();
  write_numbers(type, block, [&](std::int32_t i, const Decimal& number) {
    if (!fits_digits(number.magnitude, type.precision)) return ZVRT_RC_DIGITS_LOST;
    const Uint128 bits = number.negative ? ~number.magnitude.low + 1 : number.magnitude.low;
    store<Uint128>(block.slot[i], 0, swapped ? swap_bytes(bits) : bits);
    return ZVRT_RC_OK;
  });
}

void read_bool(const Type& /*type*/, Block& block) {
  for_each(block, [&](std::int32_t i) {
    const auto byte = static_cast<std::uint8_t>(*block.source[i].at);
    if (byte > 1) return block.refuse(i, ZVRT_RC_INVALID_VALUE, {.offset = 0, .unit = byte});
    block.decimal[i] = {{byte, 0}, 0, false, Tail::zero};
  });
}

void write_bool(const Type& type, Block& block) {
  write_numbers(type, block, [&](std::int32_t i, const Decimal& number) {
    const bool is_one = number.magnitude == Magnitude{1, 0} && !number.negative;
    if (!is_one && !number.magnitude.is_zero()) return ZVRT_RC_OUT_OF_RANGE;
    *block.slot[i] = static_cast<std::byte>(is_one ? 1 : 0);
    return ZVRT_RC_OK;
  });
}

Status fit(const Type& type, Decimal& number) {
  const Status status = rescale(number, type.scale, type.rounding);
  if (status == ZVRT_RC_FRACTION_LOST) return status;
  const bool negative = number.negative && !number.magnitude.is_zero();
  if (negative && type.has(ZVRT_TYPE_UNSIGNED | ZVRT_TYPE_NO_SIGN)) return ZVRT_RC_INVALID_SIGN;
  const bool is_binary_range = type.kind == ZVRT_KIND_INT || type.kind == ZVRT_KIND_UINT || type.kind == ZVRT_KIND_BOOL;
  return status == ZVRT_RC_DIGITS_LOST && is_binary_range && !type.declares_precision ? ZVRT_RC_OUT_OF_RANGE : status;
}

}  // namespace zvrt::columns
