// Zoned decimal: one digit per byte, a zone in its upper half.
//
//   EBCDIC  |F d|F d|s d|    s: C, A, E, F positive; D, B negative; written C and D, F where the type is unsigned
//   ASCII   |3 d|3 d|s d|    s: 3 positive, 7 negative
//
// The sign stands in the zone of the last digit, or of the first one; a separate sign is a character of its own there.
#include "columns/numbers.h"

namespace zvrt::columns {

namespace {

// Where the digits and the sign of a field stand.
struct Layout {
  std::int32_t length;
  std::int32_t first_digit;
  std::int32_t digits;
  std::int32_t sign;  // the byte that tells it
  bool is_separate;
  bool is_ascii;
  bool is_unsigned;

  explicit Layout(const Type& type)
      : length(type.length),
        is_separate(type.has(ZVRT_TYPE_SIGN_SEPARATE)),
        is_ascii(type.has(ZVRT_TYPE_ASCII)),
        is_unsigned(type.has(ZVRT_TYPE_UNSIGNED)) {
    const bool leads = type.has(ZVRT_TYPE_SIGN_LEADING);
    digits = type.length - (is_separate ? 1 : 0);
    first_digit = is_separate && leads ? 1 : 0;
    sign = leads ? 0 : type.length - 1;
  }
  std::uint32_t zone() const { return is_ascii ? 0x30 : 0xF0; }
  std::uint32_t plus() const { return is_ascii ? 0x2B : 0x4E; }
  std::uint32_t minus() const { return is_ascii ? 0x2D : 0x60; }
};

std::uint32_t byte_at(const std::byte* field, std::int32_t i) { return static_cast<std::uint32_t>(field[i]); }

bool read_punched_sign(const Layout& layout, std::uint32_t zone, bool& negative) {
  negative = layout.is_ascii ? zone == 0x70 : zone == 0xD0 || zone == 0xB0;
  return negative || (layout.is_ascii ? zone == 0x30 : zone >= 0xA0);
}

bool read_sign(const Layout& layout, std::uint32_t byte, bool& negative) {
  if (!layout.is_separate) return read_punched_sign(layout, byte & 0xF0, negative);
  negative = byte == layout.minus();
  return negative || byte == layout.plus();
}

// The first byte that is none of a number decides: a leading sign is looked at before the digits after it.
Status read_field(const Layout& layout, const std::byte* field, Decimal& number, Fault& fault) {
  constexpr std::int32_t chunk_size = 18;
  std::uint64_t chunk = 0;
  std::int32_t chunk_digits = 0;
  for (std::int32_t at = 0; at < layout.length; ++at) {
    const std::uint32_t byte = byte_at(field, at);
    const bool has_sign = at == layout.sign;
    const bool has_digit = !(has_sign && layout.is_separate);
    fault = {.offset = at, .unit = byte};
    if (has_digit && ((byte & 0xF) > 9 || (!has_sign && (byte & 0xF0) != layout.zone()))) return ZVRT_RC_INVALID_DIGIT;
    if (has_sign && !read_sign(layout, byte, number.negative)) return ZVRT_RC_INVALID_SIGN;
    if (!has_digit) continue;
    chunk = chunk * 10 + (byte & 0xF);
    if (++chunk_digits == chunk_size) {
      number.magnitude = append_digits(number.magnitude, chunk_digits, chunk);
      chunk = 0;
      chunk_digits = 0;
    }
  }
  number.magnitude = append_digits(number.magnitude, chunk_digits, chunk);
  // An unsigned type has no negative values; a negative zero is none.
  const bool is_refused = layout.is_unsigned && number.negative && !number.magnitude.is_zero();
  fault = {.offset = layout.sign, .unit = byte_at(field, layout.sign)};
  return is_refused ? ZVRT_RC_INVALID_SIGN : ZVRT_RC_OK;
}

void write_field(const Layout& layout, std::byte* field, const Decimal& number, bool negative) {
  char digits[max_digits];
  const std::int32_t count = write_digits(number.magnitude, digits);
  for (std::int32_t i = 0; i < layout.digits; ++i) {
    const std::int32_t at = count - layout.digits + i;
    const std::uint32_t digit = at >= 0 ? static_cast<std::uint32_t>(digits[at] - '0') : 0;
    field[layout.first_digit + i] = static_cast<std::byte>(layout.zone() | digit);
  }
  if (layout.is_separate) {
    field[layout.sign] = static_cast<std::byte>(negative ? layout.minus() : layout.plus());
  } else if (!layout.is_unsigned) {
    const std::uint32_t zone = layout.is_ascii ? (negative ? 0x70 : 0x30) : (negative ? 0xD0 : 0xC0);
    field[layout.sign] = static_cast<std::byte>(zone | (byte_at(field, layout.sign) & 0xF));
  }
}

}  // namespace

void read_zoned(const Type& type, Block& block) {
  const Layout layout(type);
  for_each(block, [&](std::int32_t i) {
    Decimal number{{}, type.scale, false, Tail::zero};
    Fault fault;
    const std::byte* const at = block.source[i].at;
    const Status status = read_field(layout, at, number, fault);
    if (status != ZVRT_RC_OK) return block.refuse(i, status, fault);
    if (type.precision < layout.digits && !fits_digits(number.magnitude, type.precision)) {
      std::int32_t first = layout.first_digit;
      while ((byte_at(at, first) & 0xF) == 0) ++first;
      return block.refuse(i, ZVRT_RC_DIGITS_LOST, {.offset = first, .unit = byte_at(at, first)});
    }
    block.decimal[i] = number;
  });
}

void write_zoned(const Type& type, Block& block) {
  const Layout layout(type);
  write_numbers(type, block, [&](std::int32_t i, const Decimal& number) {
    const bool negative = number.negative && !number.magnitude.is_zero();
    if (negative && layout.is_unsigned) return ZVRT_RC_INVALID_SIGN;
    if (!fits_digits(number.magnitude, type.precision)) return ZVRT_RC_DIGITS_LOST;
    write_field(layout, block.slot[i], number, negative);
    return ZVRT_RC_OK;
  });
}

}  // namespace zvrt::columns
