#include "columns/floats.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "columns/arena.h"
#include "columns/nearest.h"
#include "columns/shortest.h"

namespace zvrt::columns {

namespace {

// --- IEEE 754, taken apart and put together ---

template <class Float>
Binary to_binary(Float value) {
  using F = Format<Float>;
  const auto bits = std::uint64_t{std::bit_cast<typename F::Bits>(value)};
  const auto field = static_cast<std::int32_t>(bits >> F::fraction_bits) & F::max_field;
  const std::uint64_t fraction = bits & ((UINT64_C(1) << F::fraction_bits) - 1);
  Binary binary{fraction, 0, std::signbit(value), Binary::Class::finite};
  if (field == F::max_field) {
    binary.what = fraction == 0 ? Binary::Class::infinite : Binary::Class::nan;
    return binary;
  }
  if (field != 0) binary.significand |= UINT64_C(1) << F::fraction_bits;
  binary.exponent = std::max(field, 1) - F::max_field / 2 - F::fraction_bits;
  return binary;
}

// The nearest float; above the greatest one infinity.
template <class Float>
Float to_float(const Binary& value, bool& is_exact) {
  using F = Format<Float>;
  is_exact = true;
  if (value.what == Binary::Class::nan) return std::numeric_limits<Float>::quiet_NaN();
  Float result = std::numeric_limits<Float>::infinity();
  if (value.what == Binary::Class::finite) {
    const std::int32_t top_bit = top_bit_of(value);
    constexpr std::int32_t least_unit = 1 - F::max_field / 2 - F::fraction_bits;
    const std::int32_t unit = std::max(top_bit - F::fraction_bits, least_unit);
    // A significand of few bits stays as it is: shifting it up says nothing more.
    const Shifted rounded = unit <= value.exponent ? Shifted{value.significand, true}
                                                   : round_shift(value.significand, unit - value.exponent);
    is_exact = rounded.is_exact;
    const double wide = std::ldexp(static_cast<double>(rounded.value), std::max(unit, value.exponent));
    result = wide > static_cast<double>(std::numeric_limits<Float>::max()) ? std::numeric_limits<Float>::infinity()
                                                                           : static_cast<Float>(wide);
  }
  return value.negative ? -result : result;
}

// --- Decimals to the nearest float ---

// Digits and an exponent, read by the language's own reader.
template <class Float>
Float read_digits(const char* digits, std::int32_t count, std::int32_t scale) {
  char text[840];
  char* at = std::copy_n(digits, count, text);
  *at++ = 'e';
  at = std::to_chars(at, text + sizeof text, -scale).ptr;
  Float value = 0;
  const auto result = std::from_chars(text, at, value);
  if (result.ec == std::errc::result_out_of_range) {
    return count > scale ? std::numeric_limits<Float>::infinity() : Float{0};
  }
  return value;
}

template <class Float>
Float nearest_float(const LongNumber& number) {
  return number.count() == 0 ? Float{0} : read_digits<Float>(number.digits(), number.count(), number.scale());
}

template <class Float>
Float nearest_float(const Decimal& number) {
  if (number.magnitude.is_zero()) return 0;
  Float nearest = 0;
  const bool is_word = number.magnitude.is_word() && number.tail == Tail::zero;
  if (is_word && find_nearest_float(number.magnitude.word(), number.scale, nearest)) return nearest;
  char digits[max_digits];
  return read_digits<Float>(digits, write_digits(number.magnitude, digits), number.scale);
}

LongNumber lengthen(const Decimal& number) {
  LongNumber result;
  char digits[max_digits];
  const std::int32_t count = write_digits(number.magnitude, digits);
  for (std::int32_t i = 0; i < count; ++i) result.add(static_cast<std::uint32_t>(digits[i] - '0'));
  result.finish(number.negative, number.scale);
  return result;
}

// --- Floats to the shortest decimal ---

template <class Float>
Decimal shortest_ieee(Float value) {
  const Shortest shortest = find_shortest(value);
  return {{shortest.digits, 0}, shortest.scale, value < 0, Tail::zero};
}

constexpr std::int32_t hex_digits(const Type& type) { return type.length == 4 ? 6 : 14; }

bool is_same(const Decimal& a, const Decimal& b) {
  Decimal left = a;
  Decimal right = b;
  strip_zeros(left);
  strip_zeros(right);
  return left.magnitude == right.magnitude && left.scale == right.scale && left.tail == right.tail;
}

// A float of the target that has been found, unless it is refused. A zero has no sign.
template <class Float>
Status accept(Float found, bool negative, Binary& value) {
  if (std::isinf(found)) return ZVRT_RC_OUT_OF_RANGE;
  value = to_binary(found);
  value.negative = negative && found != 0;
  return ZVRT_RC_OK;
}

Status find_nearest(const Type& type, const Decimal& number, Binary& value) {
  if (type.kind == ZVRT_KIND_HEX_FLOAT) {
    const bool is_integer = number.scale == 0 && number.magnitude.is_word();
    const Binary whole{number.magnitude.word(), 0, number.negative, Binary::Class::finite};
    const Nearest nearest =
        is_integer ? nearest_hex(whole, hex_digits(type)) : nearest_hex(lengthen(number), hex_digits(type));
    value = nearest.value;
    return nearest.status;
  }
  return type.length == 4 ? accept(nearest_float<float>(number), number.negative, value)
                          : accept(nearest_float<double>(number), number.negative, value);
}

Status find_nearest(const Type& type, const LongNumber& number, Binary& value) {
  if (type.kind == ZVRT_KIND_HEX_FLOAT) {
    const Nearest nearest = nearest_hex(number, hex_digits(type));
    value = nearest.value;
    return nearest.status;
  }
  return type.length == 4 ? accept(nearest_float<float>(number), number.is_negative(), value)
                          : accept(nearest_float<double>(number), number.is_negative(), value);
}

// What an exact target asks of the float that was found.
Status check_reading(const Type& type, const Decimal& number, const Binary& value) {
  if ((type.options & ZVRT_PLAN_EXACT_FLOAT) == 0) return ZVRT_RC_OK;
  return is_same(shortest_decimal(type, value), number) ? ZVRT_RC_OK : ZVRT_RC_INEXACT_FLOAT;
}

std::uint32_t swap_bytes(std::uint32_t bits) { return __builtin_bswap32(bits); }
std::uint64_t swap_bytes(std::uint64_t bits) { return __builtin_bswap64(bits); }

template <class Float>
void read_floats(const Type& type, Block& block) {
  using Bits = typename Format<Float>::Bits;
  const bool swapped = type.is_swapped();
  for_each(block, [&](std::int32_t i) {
    const auto bits = load<Bits>(block.source[i].at);
    block.binary[i] = to_binary(std::bit_cast<Float>(swapped ? swap_bytes(bits) : bits));
  });
}

template <class Float>
void write_floats(const Type& type, Block& block) {
  using Bits = typename Format<Float>::Bits;
  const bool swapped = type.is_swapped();
  const bool exact = (type.options & ZVRT_PLAN_EXACT_FLOAT) != 0;
  for_each(block, [&](std::int32_t i) {
    const Binary& value = block.binary[i];
    bool is_exact = false;
    const auto result = to_float<Float>(value, is_exact);
    if (std::isinf(result) && value.what == Binary::Class::finite) return block.refuse(i, ZVRT_RC_OUT_OF_RANGE);
    if (exact && !is_exact) return block.refuse(i, ZVRT_RC_INEXACT_FLOAT);
    const auto bits = std::bit_cast<Bits>(result);
    store<Bits>(block.slot[i], 0, swapped ? swap_bytes(bits) : bits);
    block.length[i] = sizeof(Float);
  });
}

// Refuses what is no number; whether it did.
bool refuse_special(Block& block, std::int32_t i) {
  if (block.binary[i].what == Binary::Class::finite) return false;
  block.refuse(i, ZVRT_RC_NOT_FINITE);
  return true;
}

}  // namespace

Decimal shortest_decimal(const Type& type, const Binary& value) {
  bool is_exact = false;
  if (type.kind == ZVRT_KIND_HEX_FLOAT) return shortest_hex(value, hex_digits(type));
  return type.length == 4 ? shortest_ieee(to_float<float>(value, is_exact))
                          : shortest_ieee(to_float<double>(value, is_exact));
}

void read_float(const Type& type, Block& block) {
  type.length == 4 ? read_floats<float>(type, block) : read_floats<double>(type, block);
}

void write_float(const Type& type, Block& block) {
  type.length == 4 ? write_floats<float>(type, block) : write_floats<double>(type, block);
}

// Big endian always: 1 bit of sign, 7 of exponent, then the fraction.
void read_hex_float(const Type& type, Block& block) {
  const std::int32_t digits = hex_digits(type);
  for_each(block, [&](std::int32_t i) {
    std::uint64_t bits = 0;
    for (std::int32_t k = 0; k < type.length; ++k) bits = bits << 8 | static_cast<std::uint64_t>(block.source[i].at[k]);
    const std::uint64_t fraction = bits & ((UINT64_C(1) << (4 * digits)) - 1);
    const auto head = static_cast<std::int32_t>(bits >> (4 * digits));
    const bool negative = head >= 0x80 && fraction != 0;
    block.binary[i] = {fraction, 4 * ((head & 0x7F) - 64 - digits), negative, Binary::Class::finite};
  });
}

void write_hex_float(const Type& type, Block& block) {
  const std::int32_t digits = hex_digits(type);
  const bool exact = (type.options & ZVRT_PLAN_EXACT_FLOAT) != 0;
  for_each(block, [&](std::int32_t i) {
    if (refuse_special(block, i)) return;
    const Nearest nearest = nearest_hex(block.binary[i], digits);
    if (nearest.status != ZVRT_RC_OK) return block.refuse(i, nearest.status);
    if (exact && !nearest.is_exact) return block.refuse(i, ZVRT_RC_INEXACT_FLOAT);
    std::uint64_t bits = nearest.value.significand;
    if (bits != 0) {
      const std::int32_t head = nearest.value.exponent / 4 + digits + 64 + (nearest.value.negative ? 0x80 : 0);
      bits |= static_cast<std::uint64_t>(head) << (4 * digits);
    }
    for (std::int32_t k = type.length - 1; k >= 0; --k, bits >>= 8) block.slot[i][k] = static_cast<std::byte>(bits);
    block.length[i] = type.length;
  });
}

void step_binary_to_decimal(const Type& from, const Type& /*to*/, Block& block) {
  for_each(block, [&](std::int32_t i) {
    if (refuse_special(block, i)) return;
    const Binary value = block.binary[i];
    block.decimal[i] = shortest_decimal(from, value);
  });
}

void step_decimal_to_binary(const Type& /*from*/, const Type& to, Block& block) {
  for_each(block, [&](std::int32_t i) {
    const Decimal number = block.decimal[i];
    Binary value{};
    Status status = find_nearest(to, number, value);
    if (status == ZVRT_RC_OK) status = check_reading(to, number, value);
    if (status != ZVRT_RC_OK) return block.refuse(i, status);
    block.binary[i] = value;
  });
}

void step_text_to_binary(const Type& /*from*/, const Type& to, Block& block) {
  for_each(block, [&](std::int32_t i) {
    const Text text = block.text[i];
    Decimal number;
    Fault fault;
    Binary value{};
    Status status = parse_number(text, number, fault);
    if (status == ZVRT_RC_OK) {
      status = number.tail == Tail::zero ? find_nearest(to, number, value)
                                         : find_nearest(to, parse_long_number(text), value);
    }
    if (status == ZVRT_RC_OK) status = check_reading(to, number, value);
    if (status != ZVRT_RC_OK) return block.refuse(i, status, fault);
    block.binary[i] = value;
  });
}

}  // namespace zvrt::columns
