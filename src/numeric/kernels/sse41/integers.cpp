// Integers by SSE4.1: sixteen digits at once, those before them apart. What is read of more digits, or too little to fill
// a block, is left to the definition.
#include <cstddef>
#include <cstdint>

#include "numeric/integer/integers.h"
#include "simd/sse2.h"
#include "simd/sse41.h"
#include "support/read_ahead.h"
#include "support/wraps.h"

namespace zvrt {

namespace {

using namespace sse41;

constexpr std::uint64_t ten_million = 10'000'000;
constexpr std::uint64_t hundred_million = 100'000'000;

// ---- writing -------------------------------------------------------------------------------------------------------

// The characters of a number below 10^8, zeros following them.
Block eight_digits(std::uint64_t number) {
  const std::uint64_t upper = number / 10'000;
  const std::uint64_t quads = upper | (number - upper * 10'000) << 32;
  const Block zeros = _mm_set_epi64x(0, 0x3030303030303030);
  return _mm_or_si128(sse2::split_quads(_mm_cvtsi64_si128(static_cast<long long>(quads))), zeros);
}

// The characters of a number below 10^16.
Block sixteen_digits(std::uint64_t number) {
  const std::uint64_t upper = number / hundred_million;
  return sse2::digit_characters(sse2::sixteen_digits(upper, number - upper * hundred_million));
}

// Writes a number of at most `digits` digits and a zero, at most `max_lanes` lanes, in pieces of two or four. The last
// pieces may overlap: none reaches beyond the lanes to store, and their number does not depend on the number of digits.
template <std::int32_t digits, std::int32_t max_lanes, std::int32_t piece>
[[gnu::always_inline]] inline std::int32_t write_digits(std::uint64_t magnitude, bool negative, void* dst,
                                                        std::int32_t capacity) {
  const Block characters = digits == 8 ? eight_digits(magnitude) : sixteen_digits(magnitude);
  const std::int32_t count = count_digits(magnitude);  // beside the digits, not waiting for them
  const std::int32_t sign = negative ? 1 : 0;
  const std::int32_t lanes = min(count + 1, capacity - sign);
  if (lanes < piece) [[unlikely]]
    return write_decimal(magnitude, negative, dst, capacity);
  store(dst, 0, Wide{'-'});  // stays if there is a sign
  auto* const out = static_cast<std::byte*>(dst) + sign * 4;
  const std::ptrdiff_t skipped = digits - std::ptrdiff_t{count};
  const std::ptrdiff_t last = lanes - piece;
  for (std::ptrdiff_t at = 0; at < max_lanes; at += piece) {
    const std::ptrdiff_t from = min(at, last);
    const Block bytes = _mm_cvtepu8_epi32(shift_down(characters, skipped + from));
    if constexpr (piece == 4) {
      _mm_storeu_si128(reinterpret_cast<Block*>(out + from * 4), bytes);
    } else {
      _mm_storel_epi64(reinterpret_cast<Block*>(out + from * 4), bytes);
    }
  }
  return count + sign;
}

// Writes a number of 17 digits or more: the first one to four, and over what follows them the other sixteen.
std::int32_t write_long(std::uint64_t magnitude, bool negative, void* dst, std::int32_t capacity) {
  constexpr std::uint64_t sixteen_zeros = hundred_million * hundred_million;
  const std::int32_t sign = negative ? 1 : 0;
  const std::int32_t count = count_digits(magnitude);
  if (count + sign >= capacity) [[unlikely]]
    return write_decimal(magnitude, negative, dst, capacity);
  store(dst, 0, Wide{'-'});  // stays if there is a sign
  auto* const out = static_cast<std::byte*>(dst) + sign * 4;
  auto* const last_sixteen = out + (std::ptrdiff_t{count} - 16) * 4;
  const std::uint64_t top = magnitude / sixteen_zeros;
  store_block(out, _mm_cvtepu8_epi32(shift_down(eight_digits(top), 24 - std::ptrdiff_t{count})));
  const Block low = sixteen_digits(magnitude - top * sixteen_zeros);
  store_block(last_sixteen, _mm_cvtepu8_epi32(low));
  store_block(last_sixteen + 16, _mm_cvtepu8_epi32(_mm_srli_si128(low, 4)));
  store_block(last_sixteen + 32, _mm_cvtepu8_epi32(_mm_srli_si128(low, 8)));
  store_block(last_sixteen + 48, _mm_cvtepu8_epi32(_mm_srli_si128(low, 12)));
  store(out, static_cast<std::size_t>(count), Wide{0});
  return count + sign;
}

// Writes the digits from `digits` - `count` on as bytes, and a zero, in pieces of two or eight that may overlap; there are
// at least as many bytes to write as a piece has.
template <std::int32_t digits, std::int32_t max_bytes, std::int32_t piece>
[[gnu::always_inline]] inline void store_digits(Block characters, std::int32_t count, char* out) {
  const std::ptrdiff_t skipped = digits - std::ptrdiff_t{count};
  const std::ptrdiff_t last = std::ptrdiff_t{count} + 1 - piece;
  for (std::ptrdiff_t at = 0; at < max_bytes; at += piece) {
    const std::ptrdiff_t from = min(at, last);
    const Block bytes = shift_down(characters, skipped + from);
    if constexpr (piece == 8) {
      _mm_storel_epi64(reinterpret_cast<Block*>(out + from), bytes);
    } else {
      store(out + from, 0, static_cast<std::uint16_t>(_mm_cvtsi128_si32(bytes)));
    }
  }
}

// ---- reading -------------------------------------------------------------------------------------------------------

// Eight characters less zero, saturated, so that what is not a digit stays none.
Block eight_characters(Block first, Block second) {
  const Block zero = _mm_set1_epi32('0');
  return _mm_packs_epi32(_mm_sub_epi32(first, zero), _mm_sub_epi32(second, zero));
}
Block eight_characters(const std::byte* text) { return eight_characters(load_block(text), load_block(text + 16)); }

// How many of sixteen bytes are digits before the first that is none.
std::int32_t count_leading_digits(Block bytes) {
  const Block others = _mm_cmpeq_epi8(_mm_max_epu8(bytes, _mm_set1_epi8(10)), bytes);
  return __builtin_ctz(static_cast<unsigned>(_mm_movemask_epi8(others)) | 1U << 16);
}

// The number that the first `count` digits make.
std::uint64_t join_leading_digits(Block digits, std::int32_t count) {
  return join_digits(shift_down(digits, std::ptrdiff_t{static_cast<std::uint32_t>(count)} - 16));
}

template <class Unit>
Digits digits_up_to(const void* text, std::uint64_t value, std::int32_t count, std::size_t limit = no_limit) {
  const auto end = static_cast<std::size_t>(count);
  const bool complete = end == limit || load<Unit>(text, end) == 0;
  return {value, count, complete ? Reading::complete : Reading::invalid_character};
}

constexpr Digits not_attempted{0, 0, Reading::not_attempted};

// A number with up to seven digits more, modulo 2^64.
ZVRT_WRAPS std::uint64_t with_tail(std::uint64_t head, std::uint64_t tail, std::int32_t count) {
  static constexpr std::uint64_t powers[] = {1, 10, 100, 1'000, 10'000, 100'000, 1'000'000, 10'000'000};
  return head * powers[count] + tail;
}

// Up to fifteen digits of sixteen characters.
template <class Unit>
Digits digits_within(const void* text, Block digits, std::size_t limit) {
  const std::int32_t found = count_leading_digits(digits);
  const auto count = static_cast<std::int32_t>(min(static_cast<std::size_t>(found), limit));
  if (count >= 16) [[unlikely]]
    return not_attempted;
  return digits_up_to<Unit>(text, join_leading_digits(digits, count), count, limit);
}

// The 17th digit and up to six more.
Digits read_on(const std::byte* text, std::uint64_t head) {
  if (!may_read_ahead(text + 64, 32)) [[unlikely]]
    return not_attempted;
  const Block tail = eight_characters(text + 64);
  const Block digits = _mm_packs_epi16(tail, tail);
  const std::int32_t count = count_leading_digits(digits);
  if (count >= 8) [[unlikely]]
    return not_attempted;
  return digits_up_to<Wide>(text, with_tail(head, join_leading_digits(digits, count), count), 16 + count);
}

struct Sse41Kernel {
  // Keys have a few digits and numbers of any size many: a predictable branch sets them apart.
  static std::int32_t write(std::uint32_t magnitude, bool negative, void* dst, std::int32_t capacity) {
    if (magnitude < ten_million) return write_digits<8, 8, 2>(magnitude, negative, dst, capacity);
    return write_digits<16, 11, 4>(magnitude, negative, dst, capacity);
  }

  static std::int32_t write(std::uint64_t magnitude, bool negative, void* dst, std::int32_t capacity) {
    if (magnitude < ten_million) return write_digits<8, 8, 2>(magnitude, negative, dst, capacity);
    if (magnitude >= hundred_million * hundred_million) return write_long(magnitude, negative, dst, capacity);
    return write_digits<16, 17, 4>(magnitude, negative, dst, capacity);
  }

  static std::int32_t write_bytes(std::uint64_t magnitude, bool negative, char* dst, std::int32_t capacity) {
    const std::int32_t sign = negative ? 1 : 0;
    const std::int32_t count = count_digits(magnitude);
    if (count == 0 || count + sign >= capacity) [[unlikely]]
      return write_decimal_bytes(magnitude, negative, dst, capacity);
    dst[0] = '-';  // stays if there is a sign
    char* const out = dst + sign;
    if (magnitude < hundred_million) {
      store_digits<8, 10, 2>(eight_digits(magnitude), count, out);
    } else if (magnitude < hundred_million * hundred_million) {
      store_digits<16, 24, 8>(sixteen_digits(magnitude), count, out);
    } else {
      const std::uint64_t top = magnitude / (hundred_million * hundred_million);
      store_digits<8, 6, 2>(eight_digits(top), count - 16, out);
      const Block low = sixteen_digits(magnitude - top * hundred_million * hundred_million);
      _mm_storeu_si128(reinterpret_cast<Block*>(out + count - 16), low);
      out[count] = 0;
    }
    return count + sign;
  }

  template <class Accumulator>
  static Digits read_bytes(const char* text) {
    if (!may_read_ahead(text, 32)) [[unlikely]]
      return not_attempted;
    const Block zero = _mm_set1_epi8('0');
    const Block digits = _mm_sub_epi8(load_block(text), zero);
    const std::int32_t count = count_leading_digits(digits);
    if (count < 16) return digits_up_to<char>(text, join_leading_digits(digits, count), count);
    const Block more = _mm_sub_epi8(load_block(text + 16), zero);
    const std::int32_t following = count_leading_digits(more);
    if (following >= 8) return not_attempted;
    const std::uint64_t value =
        with_tail(join_leading_digits(digits, count), join_leading_digits(more, following), following);
    return digits_up_to<char>(text, value, count + following);
  }
  static Digits read_bytes_within(const char* text, std::size_t limit) {
    if (!may_read_ahead(text, 16)) [[unlikely]]
      return not_attempted;
    return digits_within<char>(text, _mm_sub_epi8(load_bytes(text, limit), _mm_set1_epi8('0')), limit);
  }

  template <class Accumulator>
  static Digits read(const void* src) {
    const auto* const text = static_cast<const std::byte*>(src);
    if (!may_read_ahead(text, 64)) [[unlikely]]
      return not_attempted;
    const Block digits = _mm_packs_epi16(eight_characters(text), eight_characters(text + 32));
    const std::int32_t count = count_leading_digits(digits);
    if (count < 16) return digits_up_to<Wide>(text, join_leading_digits(digits, count), count);
    if constexpr (sizeof(Accumulator) == 8) {
      return read_on(text, join_leading_digits(digits, count));
    } else {
      return not_attempted;
    }
  }
  static Digits read_within(const void* src, std::size_t limit) {
    if (!may_read_ahead(src, 64)) [[unlikely]]
      return not_attempted;
    const Units units = load_units(static_cast<const char*>(src), limit);
    const Block low = eight_characters(units.quads[0], units.quads[1]);
    const Block high = eight_characters(units.quads[2], units.quads[3]);
    return digits_within<Wide>(src, _mm_packs_epi16(low, high), limit);
  }
};

}  // namespace

const IntegerConversions integers_sse41 = conversions_by<Sse41Kernel>;

}  // namespace zvrt
