// Integers in plain registers, for any processor: eight digits are made at once, one byte each, and stored two at a time;
// eight characters are read at once and their digits joined.
//
// No branch depends on the number of digits below 10^8, neither way: the last pieces that are stored overlap, and digits
// that are fewer than eight are shifted to the end of the register, zeros leading.
#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "numeric/integer/integers.h"
#include "simd/portable.h"
#include "support/read_ahead.h"
#include "support/wraps.h"

namespace zvrt {

namespace {

using namespace portable;

constexpr std::uint64_t hundred_million = 100'000'000;

// ---- writing -------------------------------------------------------------------------------------------------------

// The characters of a number below 10^8, the first lowest.
std::uint64_t eight_characters(std::uint64_t number) { return eight_digits(number) | each_byte * '0'; }

// The two lowest characters.
template <class Unit>
void store_two(std::byte* at, std::uint64_t characters) {
  if constexpr (sizeof(Unit) == sizeof(Wide)) {
    store_pair(at, (characters & 0xFF) | (characters & 0xFF00) << 24);
  } else {
    store(at, 0, static_cast<std::uint8_t>(characters));
    store(at, 1, static_cast<std::uint8_t>(characters >> 8));
  }
}

// The last `count` of eight characters, at least one and at most `max_count`, and a zero.
template <class Unit, std::int32_t max_count>
void store_last(std::byte* out, std::uint64_t characters, std::int32_t count) {
  characters >>= 8 * (8 - count);
  for (std::int32_t piece = 0; piece <= max_count; piece += 2) {
    const auto at = static_cast<std::uint32_t>(std::min(piece, count - 1));
    store_two<Unit>(out + at * sizeof(Unit), characters >> 8 * at);
  }
}

template <class Unit>
void store_eight(std::byte* out, std::uint64_t characters) {
  for (std::size_t at = 0; at < 8; at += 2) store_two<Unit>(out + at * sizeof(Unit), characters >> 8 * at);
}

// A number of at least 10^8 in parts of eight digits; the first part has the `count` - 8 or - 16 digits above them.
template <class Unit, bool may_have_three>
void store_parts(std::byte* out, std::uint64_t magnitude, std::int32_t count) {
  const std::uint64_t upper = magnitude / hundred_million;
  auto* const last = out + static_cast<std::ptrdiff_t>(count - 8) * std::ptrdiff_t{sizeof(Unit)};
  if (!may_have_three) {
    store_last<Unit, 2>(out, eight_characters(upper), count - 8);
  } else if (upper < hundred_million) {
    store_last<Unit, 8>(out, eight_characters(upper), count - 8);
  } else {
    const std::uint64_t top = upper / hundred_million;
    store_last<Unit, 4>(out, eight_characters(top), count - 16);
    store_eight<Unit>(last - 8 * sizeof(Unit), eight_characters(upper - top * hundred_million));
  }
  store_eight<Unit>(last, eight_characters(magnitude - upper * hundred_million));
  store(last, 8, Unit{0});
}

// False, and nothing written, where the text and its terminator do not fit, and for zero.
template <class Unit, class Magnitude>
bool write_text(Magnitude magnitude, bool negative, std::int32_t count, void* dst, std::int32_t capacity) {
  const std::int32_t sign = negative ? 1 : 0;
  if (magnitude == 0 || count + sign >= capacity) [[unlikely]]
    return false;
  store(dst, 0, Unit{'-'});  // stays if there is a sign
  auto* const out = static_cast<std::byte*>(dst) + static_cast<std::size_t>(sign) * sizeof(Unit);
  if (magnitude < hundred_million) {
    store_last<Unit, 8>(out, eight_characters(magnitude), count);
  } else {
    store_parts<Unit, sizeof(Magnitude) == 8>(out, magnitude, count);
  }
  return true;
}

// ---- reading -------------------------------------------------------------------------------------------------------

[[gnu::noinline]] std::uint64_t load_eight_of_any(const std::byte* text) { return pack_eight_marked(text); }

// Eight characters of a text as bytes, the first lowest; no digits come from characters above FF.
template <class Unit>
std::uint64_t load_eight(const std::byte* text) {
  if constexpr (sizeof(Unit) == 1) return load_bytes(text);
  std::uint64_t bytes;
  if (pack_eight(text, bytes)) [[likely]]
    return bytes;
  return load_eight_of_any(text);
}

// Reads on eight by eight; false where eight more may not be read, or fewer stand before the limit.
template <class Unit, bool is_limited>
ZVRT_WRAPS bool read_text(const std::byte* text, Digits& digits, std::size_t limit) {
  std::uint64_t value = 0;
  for (std::size_t read = 0;; read += 8, text += 8 * sizeof(Unit)) {
    const std::size_t left = is_limited ? limit - read : no_limit;
    if (left < 8 || !may_read_ahead(text, 8 * sizeof(Unit))) [[unlikely]]
      return false;
    const std::uint64_t characters = load_eight<Unit>(text);
    const std::uint64_t values = characters ^ each_byte * '0';
    const std::uint64_t others = other_than_digits(characters);
    if (others == 0) {
      value = value * hundred_million + join_eight(values);
      if (left > 8) continue;
      digits = {value, static_cast<std::int64_t>(limit), Reading::complete};
      return true;
    }
    const auto count = static_cast<std::uint32_t>(std::countr_zero(others)) / 8;
    const std::uint64_t tail = join_eight(values << 8 << 8 * (7 - count));
    const bool complete = load<Unit>(text, count) == 0;
    digits = {value * decimal_powers[count] + tail, static_cast<std::int64_t>(read + count),
              complete ? Reading::complete : Reading::invalid_character};
    return true;
  }
}

struct PortableKernel {
  template <class Magnitude>
  static std::int32_t write(Magnitude magnitude, bool negative, void* dst, std::int32_t capacity) {
    const std::int32_t count = count_digits(magnitude);
    return write_text<Wide>(magnitude, negative, count, dst, capacity)
               ? count + (negative ? 1 : 0)
               : write_decimal(magnitude, negative, dst, capacity);
  }
  template <class Magnitude>
  static std::int32_t write_bytes(Magnitude magnitude, bool negative, char* dst, std::int32_t capacity) {
    const std::int32_t count = count_digits(magnitude);
    return write_text<char>(magnitude, negative, count, dst, capacity)
               ? count + (negative ? 1 : 0)
               : write_decimal_bytes(magnitude, negative, dst, capacity);
  }

  template <class Accumulator>
  static Digits read(const void* text) {
    Digits digits;
    return read_text<Wide, false>(static_cast<const std::byte*>(text), digits, no_limit) ? digits : read_digits(text);
  }
  static Digits read_within(const void* text, std::size_t limit) {
    Digits digits;
    return read_text<Wide, true>(static_cast<const std::byte*>(text), digits, limit) ? digits
                                                                                     : read_digits(text, limit);
  }
  template <class Accumulator>
  static Digits read_bytes(const char* text) {
    Digits digits;
    return read_text<char, false>(reinterpret_cast<const std::byte*>(text), digits, no_limit) ? digits
                                                                                              : read_digit_bytes(text);
  }
  static Digits read_bytes_within(const char* text, std::size_t limit) {
    Digits digits;
    const auto* const bytes = reinterpret_cast<const std::byte*>(text);
    return read_text<char, true>(bytes, digits, limit) ? digits : read_digit_bytes(text, limit);
  }
};

}  // namespace

const IntegerConversions integers_portable = conversions_by<PortableKernel>;

}  // namespace zvrt
