// Short numbers into binary integers, packed, zoned and base-100 decimals, 128-bit decimals and floats.
//
// Eight digits become bytes of one word, most significant first, by three steps that halve them:
//
//   |    1234   |    5678   |  ->  |  12 |  34 |  56 |  78 |  ->  |1|2|3|4|5|6|7|8|
#include <algorithm>
#include <cstring>
#include <limits>

#include "columns/kernels/packed_word.h"
#include "columns/short_numbers.h"
#include "support/wraps.h"

namespace zvrt::columns {

namespace {

constexpr std::uint64_t ten_8 = 100'000'000;

// Leading rows that fit: `write(slot, value)` stores one.
template <class WriteOne>
std::int32_t write_rows(const Type& to, const ShortRange& range, const Rows& rows, const ShortNumbers& numbers,
                        WriteOne write) {
  for (std::int32_t i = 0; i < rows.count; ++i) {
    std::int64_t value;
    if (!rescale_short(to, range, numbers, i, value)) return i;
    write(rows.target + i * rows.target_stride, value);
  }
  return rows.count;
}

// --- binary ---

template <class Int>
Int in_order(Int value, bool is_swapped) {
  if constexpr (sizeof(Int) == 2) return is_swapped ? __builtin_bswap16(value) : value;
  if constexpr (sizeof(Int) == 4) return is_swapped ? __builtin_bswap32(value) : value;
  if constexpr (sizeof(Int) == 8) return is_swapped ? __builtin_bswap64(value) : value;
  return value;
}

template <class Unsigned>
std::int32_t write_integers(const ZVRTPlan& plan, const Rows& rows, const ShortNumbers& numbers) {
  using Signed = std::make_signed_t<Unsigned>;
  const Type& to = plan.to.type;
  const bool is_signed = to.kind == ZVRT_KIND_INT;
  constexpr auto most_unsigned = static_cast<std::int64_t>(
      std::min<std::uint64_t>(std::numeric_limits<Unsigned>::max(), std::numeric_limits<std::int64_t>::max()));
  ShortRange range{is_signed ? std::numeric_limits<Signed>::min() : 0,
                   is_signed ? std::numeric_limits<Signed>::max() : most_unsigned};
  if (to.declares_precision) {
    const ShortRange digits = range_of_digits(to.precision, is_signed);
    range = {std::max(range.least, digits.least), std::min(range.most, digits.most)};
  }
  const bool is_swapped = to.is_swapped();
  return write_rows(to, range, rows, numbers, [is_swapped](std::byte* slot, std::int64_t value) {
    store<Unsigned>(slot, 0, in_order(static_cast<Unsigned>(value), is_swapped));
  });
}

std::int32_t write_decimals(const ZVRTPlan& plan, const Rows& rows, const ShortNumbers& numbers) {
  const Type& to = plan.to.type;
  const bool is_swapped = to.is_swapped();
  return write_rows(to, range_of_digits(to.precision, true), rows, numbers, [=](std::byte* slot, std::int64_t value) {
    const auto low = static_cast<std::uint64_t>(value);
    const std::uint64_t high = value < 0 ? UINT64_MAX : 0;
    const bool high_first = is_swapped == (std::endian::native == std::endian::little);
    store<std::uint64_t>(slot, high_first ? 1 : 0, in_order(low, is_swapped));
    store<std::uint64_t>(slot, high_first ? 0 : 1, in_order(high, is_swapped));
  });
}

// A number up to 2^53, for a single 2^24, over a power of ten that is a float itself is one division of two exact
// floats, and so the nearest.
template <class Float>
std::int32_t write_floats(const ZVRTPlan& /*plan*/, const Rows& rows, const ShortNumbers& numbers) {
  constexpr std::uint64_t most = UINT64_C(1) << std::numeric_limits<Float>::digits;
  constexpr std::int32_t most_scale = sizeof(Float) == 8 ? most_short_scale : 10;
  constexpr auto powers = [] {
    std::array<Float, most_short_scale + 1> all{};
    for (std::size_t k = 0; k < all.size(); ++k) all[k] = static_cast<Float>(short_powers[k]);
    return all;
  }();
  for (std::int32_t i = 0; i < rows.count; ++i) {
    // A whole number needs no division, and is rounded once.
    const bool is_exact = magnitude_of(numbers.value[i]) <= most && numbers.scale[i] <= most_scale;
    if (!is_exact && numbers.scale[i] != 0) return i;
    const Float value = static_cast<Float>(numbers.value[i]) / powers[static_cast<std::size_t>(numbers.scale[i])];
    store<Float>(rows.target + i * rows.target_stride, 0, value);
  }
  return rows.count;
}

// --- digits ---

// Eight digits, a byte each, the first one highest.
ZVRT_WRAPS std::uint64_t spread_digits(std::uint64_t number) {
  const std::uint64_t quads = (number / 10000) << 32 | number % 10000;
  const std::uint64_t hundreds = quads * 5243 >> 19 & UINT64_C(0x0000007F0000007F);
  const std::uint64_t pairs = hundreds << 16 | (quads - hundreds * 100);
  const std::uint64_t tens = pairs * 103 >> 10 & UINT64_C(0x000F000F000F000F);
  return tens << 8 | (pairs - tens * 10);
}

// ... a half-byte each.
std::uint64_t join_nibbles(std::uint64_t digits) {
  digits = (digits | digits >> 4) & UINT64_C(0x00FF00FF00FF00FF);
  digits = (digits | digits >> 8) & UINT64_C(0x0000FFFF0000FFFF);
  return (digits | digits >> 16) & UINT32_MAX;
}

// A magnitude's 24 digits in groups of eight.
struct Groups {
  std::uint64_t upper, middle, lower;

  explicit Groups(std::uint64_t magnitude)
      : upper(magnitude / (ten_8 * ten_8)), middle(magnitude / ten_8 % ten_8), lower(magnitude % ten_8) {}
};

void store_big_endian(std::byte* at, std::uint64_t word) {
  store<std::uint64_t>(at, 0, in_order(word, std::endian::native == std::endian::little));
}

// A field with its sign as the last half-byte of 128 bits. Stores of eight bytes overlap where they can.
void store_packed(std::byte* slot, std::int32_t bytes, std::uint64_t upper, std::uint64_t lower) {
  if (bytes >= 8) {
    std::memset(slot, 0, static_cast<std::size_t>(std::max(bytes - 16, 0)));
    std::byte* const at = slot + std::max(bytes - 16, 0);
    const std::int32_t left = std::min(bytes, 16);
    if (left < 16) upper = left == 8 ? lower : upper << (8 * (16 - left)) | lower >> (8 * (left - 8));
    store_big_endian(at, upper);
    return store_big_endian(at + left - 8, lower);
  }
  for (std::int32_t k = bytes - 1; k >= 0; --k, lower >>= 8) slot[k] = static_cast<std::byte>(lower);
}

// The sign over the last digit, or none.
std::int32_t write_zoned(const ZVRTPlan& plan, const Rows& rows, const ShortNumbers& numbers) {
  const Type& to = plan.to.type;
  const bool is_ascii = to.has(ZVRT_TYPE_ASCII);
  const bool is_unsigned = to.has(ZVRT_TYPE_UNSIGNED);
  const std::uint64_t zones = is_ascii ? UINT64_C(0x3030303030303030) : UINT64_C(0xF0F0F0F0F0F0F0F0);
  const std::int32_t bytes = to.length;
  return write_rows(
      to, range_of_digits(to.precision, !is_unsigned), rows, numbers, [=](std::byte* slot, std::int64_t value) {
        const Groups groups(magnitude_of(value));
        std::byte text[24];
        store_big_endian(text, spread_digits(groups.upper) | zones);
        store_big_endian(text + 8, spread_digits(groups.middle) | zones);
        store_big_endian(text + 16, spread_digits(groups.lower) | zones);
        const std::int32_t before = std::max(bytes - 24, 0);
        std::memset(slot, static_cast<int>(zones & 0xFF), static_cast<std::size_t>(before));
        const std::int32_t shown = bytes - before;
        std::memcpy(slot + before, text + 24 - shown, static_cast<std::size_t>(shown));
        if (is_unsigned) return;
        const std::uint8_t sign = is_ascii ? (value < 0 ? 0x70 : 0x30) : (value < 0 ? 0xD0 : 0xC0);
        slot[bytes - 1] = static_cast<std::byte>(sign | (static_cast<std::uint8_t>(slot[bytes - 1]) & 0xF));
      });
}

// Pairs of digits around the point, without zeros at either end. Returns the bytes.
std::int32_t put_varnum(std::byte* slot, std::int32_t room, std::int64_t value, std::int32_t scale) {
  std::uint64_t number = magnitude_of(value);
  std::byte pairs[11];
  std::int32_t count = 0;
  if (scale % 2 != 0) {
    pairs[count++] = static_cast<std::byte>(number % 10 * 10);
    number /= 10;
    ++scale;
  }
  for (; number != 0; number /= 100) pairs[count++] = static_cast<std::byte>(number % 100);
  std::int32_t last = 0;
  while (last < count && pairs[last] == std::byte{0}) ++last;
  const bool negative = value < 0;
  const std::int32_t bytes = last == count ? 2 : 2 + count - last + (negative ? 1 : 0);
  if (bytes > room) return -1;
  const std::int32_t exponent = count - 1 - scale / 2;
  slot[0] = static_cast<std::byte>(bytes - 1);
  slot[1] = static_cast<std::byte>(last == count ? 128 : negative ? 62 - exponent : 193 + exponent);
  std::byte* at = slot + 2;
  for (std::int32_t k = count - 1; k >= last; --k) {
    const auto pair = static_cast<std::int32_t>(pairs[k]);
    *at++ = static_cast<std::byte>(negative ? 101 - pair : pair + 1);
  }
  if (negative && last < count) *at = std::byte{102};
  return bytes;
}

std::int32_t write_varnums(const ZVRTPlan& plan, const Rows& rows, const ShortNumbers& numbers) {
  const std::int32_t room = plan.to.type.length;
  for (std::int32_t i = 0; i < rows.count; ++i) {
    rows.lengths[i] = put_varnum(rows.target + i * rows.target_stride, room, numbers.value[i], numbers.scale[i]);
    if (rows.lengths[i] < 0) return i;
  }
  return rows.count;
}

WriteShort* find_integer_writer(const Type& to) {
  switch (to.length) {
    case 1: return write_integers<std::uint8_t>;
    case 2: return write_integers<std::uint16_t>;
    case 4: return write_integers<std::uint32_t>;
    default: return write_integers<std::uint64_t>;
  }
}

}  // namespace

std::int32_t write_packed_portable(const ZVRTPlan& plan, const Rows& rows, const ShortNumbers& numbers) {
  const Type& to = plan.to.type;
  const bool has_sign = !to.has(ZVRT_TYPE_NO_SIGN);
  const bool is_signed = has_sign && !to.has(ZVRT_TYPE_UNSIGNED);
  const std::int32_t bytes = to.length;
  return write_rows(to, range_of_digits(to.precision, is_signed), rows, numbers,
                    [=](std::byte* slot, std::int64_t value) {
                      const Groups groups(magnitude_of(value));
                      std::uint64_t upper = join_nibbles(spread_digits(groups.upper));
                      std::uint64_t lower =
                          join_nibbles(spread_digits(groups.middle)) << 32 | join_nibbles(spread_digits(groups.lower));
                      if (has_sign) {
                        const std::uint64_t sign = !is_signed ? 0xF : value < 0 ? 0xD : 0xC;
                        upper = upper << 4 | lower >> 60;
                        lower = lower << 4 | sign;
                      }
                      store_packed(slot, bytes, upper, lower);
                    });
}

WriteShort* find_short_writer(const Type& to, std::uint32_t options) {
  if (to.model != nullptr) return nullptr;
  if (to.form == Form::text) return is_number_text(to, Role::target) ? number_kernels().write_text : nullptr;
  const bool has_plain_sign = !to.has(ZVRT_TYPE_SIGN_LEADING | ZVRT_TYPE_SIGN_SEPARATE);
  switch (to.kind) {
    case ZVRT_KIND_INT:
    case ZVRT_KIND_UINT: return find_integer_writer(to);
    case ZVRT_KIND_PACKED: return number_kernels().write_packed;
    case ZVRT_KIND_ZONED: return has_plain_sign ? write_zoned : nullptr;
    case ZVRT_KIND_DECIMAL: return write_decimals;
    case ZVRT_KIND_VARNUM: return to.declares_precision ? nullptr : write_varnums;
    case ZVRT_KIND_FLOAT:
      if ((options & ZVRT_PLAN_EXACT_FLOAT) != 0 || to.is_swapped()) return nullptr;
      return to.length == 8 ? write_floats<double> : write_floats<float>;
    default: return nullptr;
  }
}

}  // namespace zvrt::columns
