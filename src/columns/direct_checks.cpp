// Strict checks of packed fields and VARNUMs in plain registers, for ZVRTCheck(): which leading rows hold a number.
//
// Packed: a half-byte is above 9 where its 8 is set, and its 4 or its 2. In a signed field that must be so of the last
// half-byte, the sign, and of no other. Some rows are tested by one branch: what any of them shows is gathered with OR,
// what all of them show with AND. Two words that overlap hold a field; the places of its digits and of its sign come from
// fields of known content by the same loads, so the order of bytes does not matter.
//
//   |d d|d d|d s|   above 9:   0 0 0 0 0 1
//
// VARNUM: three words hold its 22 bytes. Digits are d + 1 or 101 - d, from `least` 1 or 2 to `least` + 99: byte by byte,
// bit 7 of (b | 0x80) - least is set from `least` on, and bit 7 of b + 28 - least is clear up to `least` + 99.
#include <algorithm>
#include <array>
#include <cstring>

#include "columns/direct.h"
#include "numeric/decimal/base100.h"
#include "support/wraps.h"

namespace zvrt::columns {

namespace {

// --- packed decimals ---

constexpr std::size_t most_packed_bytes = 16;
constexpr std::int32_t rows_a_branch = 8;

struct FieldWords {
  std::uint64_t first;
  std::uint64_t last;
};

// A field of so many bytes; both words are the same up to eight.
template <std::size_t bytes>
ZVRT_INLINED FieldWords load_words(const std::byte* at) {
  if constexpr (bytes >= 8) return {load<std::uint64_t>(at), load<std::uint64_t>(at + bytes - 8)};
  std::uint64_t word = 0;
  if constexpr (bytes >= 4) {
    word = std::uint64_t{load<std::uint32_t>(at)} << 32 | load<std::uint32_t>(at + bytes - 4);
  } else if constexpr (bytes >= 2) {
    word = std::uint64_t{load<std::uint16_t>(at)} << 32 | load<std::uint16_t>(at + bytes - 2);
  } else {
    word = static_cast<std::uint64_t>(*at);
  }
  return {word, word};
}

// Bit 3 of each half-byte above 9; the other bits say nothing. Additions shift, as more of them go side by side.
ZVRT_WRAPS ZVRT_INLINED std::uint64_t above_9(std::uint64_t word) {
  const std::uint64_t bit_1_or_2 = word | (word + word);
  return word & (bit_1_or_2 + bit_1_or_2);
}

// What is asked of each half-byte of a field.
struct PackedRule {
  FieldWords digits{};  // bit 3: a digit
  FieldWords sign{};    // bit 3: a sign
  FieldWords lost{};    // all bits: a digit that the precision leaves no room for
  bool is_unsigned = false;
};

template <std::size_t bytes>
PackedRule rule_of(const Type& type) {
  const bool has_sign = !type.has(ZVRT_TYPE_NO_SIGN);
  const std::int32_t digits = 2 * type.length - (has_sign ? 1 : 0);
  std::byte lost[bytes] = {};
  for (std::int32_t i = 0; i < digits - type.precision; ++i) lost[i / 2] |= std::byte{0xF0} >> 4 * (i % 2);
  std::byte places[bytes];
  std::byte sign[bytes] = {};
  std::fill_n(places, bytes, std::byte{0x88});
  if (has_sign) {
    places[bytes - 1] = std::byte{0x80};
    sign[bytes - 1] = std::byte{0x08};
  }
  return {load_words<bytes>(places), load_words<bytes>(sign), load_words<bytes>(lost), type.has(ZVRT_TYPE_UNSIGNED)};
}

// What some rows show: a half-byte above 9 or a digit that is lost in any of them, a sign in all.
template <std::size_t bytes>
struct Findings {
  FieldWords above{};
  FieldWords always{~std::uint64_t{0}, ~std::uint64_t{0}};
  FieldWords held{};
  bool has_minus = false;

  ZVRT_INLINED void add(const std::byte* at, const PackedRule& rule) {
    const FieldWords field = load_words<bytes>(at);
    const std::uint64_t last = above_9(field.last);
    above.last |= last;
    always.last &= last;
    held.last |= field.last;
    if constexpr (bytes > 8) {
      above.first |= above_9(field.first);
      held.first |= field.first;
    }
    if (!rule.is_unsigned) return;
    const auto sign = static_cast<std::uint32_t>(at[bytes - 1]) & 0xF;
    has_minus |= sign == 0xB || sign == 0xD;
  }

  // Of an unsigned type a minus may be that of a zero: a block knows.
  ZVRT_INLINED bool keep(const PackedRule& rule) const {
    const std::uint64_t wrong = (above.last & rule.digits.last) | (above.first & rule.digits.first) |
                                (held.last & rule.lost.last) | (held.first & rule.lost.first) |
                                (rule.sign.last & ~always.last);
    return wrong == 0 && !has_minus;
  }
};

template <std::size_t bytes>
std::int32_t check_packed(const ZVRTPlan& plan, const Rows& rows) {
  const PackedRule rule = rule_of<bytes>(plan.from.type);
  const auto keep = [&](std::int32_t first, std::int32_t count) {
    Findings<bytes> findings;
    const std::byte* at = rows.source + first * rows.source_stride;
    for (std::int32_t i = 0; i < count; ++i, at += rows.source_stride) findings.add(at, rule);
    return findings.keep(rule);
  };
  std::int32_t i = 0;
  while (i + rows_a_branch <= rows.count && keep(i, rows_a_branch)) i += rows_a_branch;
  while (i < rows.count && keep(i, 1)) ++i;
  return i;
}

template <std::size_t... index>
constexpr std::array<Direct*, sizeof...(index)> packed_checks(std::index_sequence<index...> /*all*/) {
  return {check_packed<index + 1>...};
}

constexpr auto checks_of_length = packed_checks(std::make_index_sequence<most_packed_bytes>{});

// --- VARNUM ---

constexpr std::uint64_t every_byte = 0x0101010101010101;
constexpr std::uint64_t every_high_bit = 0x80 * every_byte;
constexpr std::uint32_t negative_end = 102;

struct ValueWords {
  std::uint64_t words[3];
};

ZVRT_INLINED ValueWords load_value(const void* at) {
  const auto* const bytes = static_cast<const std::byte*>(at);
  return {
      {load<std::uint64_t>(bytes), load<std::uint64_t>(bytes + 8), load<std::uint64_t>(bytes + max_varnum_size - 8)}};
}

using ValueBytes = std::array<std::uint8_t, max_varnum_size>;

// Bit 7 of each byte that holds one of so many digits.
constexpr std::array<ValueBytes, Base100::max_digits + 1> make_places_of_digits() {
  std::array<ValueBytes, Base100::max_digits + 1> places{};
  for (std::size_t count = 0; count < places.size(); ++count) {
    for (std::size_t i = 0; i < count; ++i) places[count][varnum_header + i] = 0x80;
  }
  return places;
}

constexpr auto places_of_digits = make_places_of_digits();

ZVRT_WRAPS ZVRT_INLINED bool is_varnum(const std::byte* at) {
  const auto after = static_cast<std::int32_t>(at[0]);
  const auto exponent = static_cast<std::uint32_t>(at[1]);
  if (after <= 1 || after >= max_varnum_size) return after == 1 && exponent == zero_exponent;
  const bool negative = exponent < zero_exponent;
  const bool has_end = negative && static_cast<std::uint32_t>(at[after]) == negative_end;
  const std::int32_t count = after - 1 - (has_end ? 1 : 0);
  const std::uint64_t least = negative ? 2 : 1;
  const ValueWords value = load_value(at);
  const ValueWords digits = load_value(places_of_digits[static_cast<std::size_t>(count)].data());
  std::uint64_t wrong = 0;
  for (std::size_t k = 0; k < 3; ++k) {
    const std::uint64_t word = value.words[k];
    const std::uint64_t not_below = (word | every_high_bit) - least * every_byte;
    const std::uint64_t above = (word & ~every_high_bit) + (28 - least) * every_byte;
    wrong |= (word | above | ~not_below) & digits.words[k];
  }
  return wrong == 0 && count > 0;
}

std::int32_t check_varnums(const ZVRTPlan& /*plan*/, const Rows& rows) {
  std::int32_t i = 0;
  while (i < rows.count && is_varnum(rows.source + i * rows.source_stride)) ++i;
  return i;
}

}  // namespace

Direct* find_direct_check(const Type& type) {
  if (type.model != nullptr) return nullptr;
  if (type.kind == ZVRT_KIND_VARNUM && type.length == max_varnum_size) return check_varnums;
  if (type.kind != ZVRT_KIND_PACKED || static_cast<std::size_t>(type.length) > most_packed_bytes) return nullptr;
  return checks_of_length[static_cast<std::size_t>(type.length - 1)];
}

}  // namespace zvrt::columns
