// Short numbers out of binary integers, packed, zoned and base-100 decimals, 128-bit decimals and doubles.
#include <algorithm>
#include <cmath>
#include <type_traits>

#include "columns/kernels/packed_word.h"
#include "columns/short_numbers.h"
#include "support/wraps.h"

namespace zvrt::columns {

namespace {

// Leading rows that `read(at, value, scale)` takes. The scale is the type's unless it is set.
template <class ReadOne>
std::int32_t read_rows(const ZVRTPlan& plan, const Rows& rows, ShortNumbers& numbers, ReadOne read) {
  std::fill_n(numbers.scale, rows.count, plan.from.type.scale);
  for (std::int32_t i = 0; i < rows.count; ++i) {
    if (!read(rows.source + i * rows.source_stride, numbers.value[i], numbers.scale[i])) return i;
  }
  return rows.count;
}

template <class Int>
Int swapped_bytes(Int value) {
  if constexpr (sizeof(Int) == 2) return static_cast<Int>(__builtin_bswap16(static_cast<std::uint16_t>(value)));
  if constexpr (sizeof(Int) == 4) return static_cast<Int>(__builtin_bswap32(static_cast<std::uint32_t>(value)));
  if constexpr (sizeof(Int) == 8) return static_cast<Int>(__builtin_bswap64(static_cast<std::uint64_t>(value)));
  return value;
}

template <class Int>
std::int32_t read_integers(const ZVRTPlan& plan, const Rows& rows, ShortNumbers& numbers) {
  const bool is_swapped = plan.from.type.is_swapped();
  return read_rows(plan, rows, numbers, [is_swapped](const std::byte* at, std::int64_t& value, std::int32_t&) {
    const auto stored = load<Int>(at);
    const Int native = is_swapped ? swapped_bytes(stored) : stored;
    value = static_cast<std::int64_t>(native);  // NOLINT(bugprone-signed-char-misuse,cert-str34-c): a number
    return std::is_signed_v<Int> || value >= 0;
  });
}

std::int32_t read_packed(const ZVRTPlan& plan, const Rows& rows, ShortNumbers& numbers) {
  Rows values = rows;
  values.target = reinterpret_cast<std::byte*>(numbers.value);
  values.target_stride = sizeof numbers.value[0];
  std::fill_n(numbers.scale, rows.count, plan.from.type.scale);
  return direct_kernels().packed_to_int64(plan, values);
}

// Digits with one zone, a byte each, most significant first; false where one is none.
bool join_zoned(const std::byte* at, std::int32_t count, std::uint64_t zone, std::uint64_t& number) {
  for (std::int32_t k = 0; k < count; ++k) {
    const std::uint64_t digit = static_cast<std::uint64_t>(at[k]) ^ zone;
    if (digit > 9) return false;
    number = number * 10 + digit;
  }
  return true;
}

// The sign over the last digit, or none that is told apart.
std::int32_t read_zoned(const ZVRTPlan& plan, const Rows& rows, ShortNumbers& numbers) {
  const Type& from = plan.from.type;
  const bool is_ascii = from.has(ZVRT_TYPE_ASCII);
  const std::uint64_t zone = is_ascii ? 0x30 : 0xF0;
  const bool is_unsigned = from.has(ZVRT_TYPE_UNSIGNED);
  const std::int32_t last = from.length - 1;
  return read_rows(plan, rows, numbers, [=](const std::byte* at, std::int64_t& value, std::int32_t&) {
    std::uint64_t number = 0;
    const auto end = static_cast<std::uint64_t>(at[last]);
    const std::uint64_t sign = end & 0xF0;
    const bool negative = is_ascii ? sign == 0x70 : sign == 0xD0 || sign == 0xB0;
    const bool is_sign = negative || (is_ascii ? sign == 0x30 : sign >= 0xA0);
    if (!join_zoned(at, last, zone, number) || (end & 0xF) > 9 || !is_sign || (negative && is_unsigned)) return false;
    number = number * 10 + (end & 0xF);
    value = static_cast<std::int64_t>(negative ? ~number + 1 : number);
    return true;
  });
}

std::int32_t read_decimals(const ZVRTPlan& plan, const Rows& rows, ShortNumbers& numbers) {
  const bool is_swapped = plan.from.type.is_swapped();
  return read_rows(plan, rows, numbers, [is_swapped](const std::byte* at, std::int64_t& value, std::int32_t&) {
    const auto bits = load<Uint128>(at);
    const auto low = static_cast<std::uint64_t>(bits);
    const auto high = static_cast<std::uint64_t>(bits >> 64);
    value = static_cast<std::int64_t>(is_swapped ? __builtin_bswap64(high) : low);
    const auto rest = static_cast<std::int64_t>(is_swapped ? __builtin_bswap64(low) : high);
    return rest == (value < 0 ? -1 : 0);
  });
}

// Base-100 digits from a weight on that leaves a scale of 0 to 18.
ZVRT_WRAPS bool read_varnum(const std::byte* at, std::int32_t most, std::int64_t& value, std::int32_t& scale) {
  constexpr std::int32_t most_pairs = 9;
  const auto byte = [at](std::int32_t i) { return static_cast<std::uint32_t>(at[i]); };
  const auto after = static_cast<std::int32_t>(byte(0));
  if (after == 1 && most > 1 && byte(1) == 128) {
    value = scale = 0;
    return true;
  }
  if (after < 2 || after > 2 + most_pairs || after >= most) return false;
  const std::uint32_t exponent_byte = byte(1);
  const bool negative = exponent_byte < 128;
  const std::int32_t pairs = after - 1 - (negative && byte(after) == 102 ? 1 : 0);
  const auto exponent = static_cast<std::int32_t>(negative ? 62 - exponent_byte : exponent_byte - 193);
  if (pairs < 1 || pairs > most_pairs || exponent < pairs - 1 - most_short_scale / 2 || exponent >= most_pairs) {
    return false;
  }
  std::uint64_t number = 0;
  std::uint32_t bad = 0;
  for (std::int32_t k = 0; k < pairs; ++k) {
    const std::uint32_t digit = negative ? 101 - byte(2 + k) : byte(2 + k) - 1;
    bad |= static_cast<std::uint32_t>(digit > 99);
    number = number * 100 + digit;
  }
  scale = 2 * (pairs - 1 - exponent);
  for (; scale < 0; scale += 2) number *= 100;
  while (scale > 0 && number % 10 == 0) {
    number /= 10;
    --scale;
  }
  value = static_cast<std::int64_t>(negative ? 0 - number : number);
  return bad == 0 && number != 0;
}

std::int32_t read_varnums(const ZVRTPlan& plan, const Rows& rows, ShortNumbers& numbers) {
  const std::int32_t most = plan.from.type.length;
  return read_rows(plan, rows, numbers, [most](const std::byte* at, std::int64_t& value, std::int32_t& scale) {
    return read_varnum(at, most, value, scale);
  });
}

// A double whose decimal of at most 15 digits reads back as itself has no shorter one, nor another of that length:
// looked for with two digits after the point, then with six.
bool find_decimal(double magnitude, double power, std::int32_t places, std::int64_t& value, std::int32_t& scale) {
  // NOLINTNEXTLINE(bugprone-incorrect-roundings): a wrong digit shows in the division below
  value = static_cast<std::int64_t>(magnitude * power + 0.5);
  scale = places;
  return static_cast<double>(value) / power == magnitude;
}

bool read_double(const std::byte* at, std::int64_t& value, std::int32_t& scale) {
  const auto number = load<double>(at);
  const double magnitude = std::fabs(number);
  if (!(magnitude < 1e9)) return false;
  if (!find_decimal(magnitude, 100, 2, value, scale) && !find_decimal(magnitude, 1e6, 6, value, scale)) return false;
  while (scale > 0 && value % 10 == 0) {
    value /= 10;
    --scale;
  }
  if (number < 0) value = -value;
  return true;
}

std::int32_t read_doubles(const ZVRTPlan& plan, const Rows& rows, ShortNumbers& numbers) {
  return read_rows(plan, rows, numbers, read_double);
}

ReadShort* find_integer_reader(const Type& from) {
  const bool is_signed = from.kind == ZVRT_KIND_INT;
  switch (from.length) {
    case 1: return is_signed ? read_integers<std::int8_t> : read_integers<std::uint8_t>;
    case 2: return is_signed ? read_integers<std::int16_t> : read_integers<std::uint16_t>;
    case 4: return is_signed ? read_integers<std::int32_t> : read_integers<std::uint32_t>;
    default: return is_signed ? read_integers<std::int64_t> : read_integers<std::uint64_t>;
  }
}

bool has_plain_sign(const Type& from) {
  return !from.has(ZVRT_TYPE_SIGN_LEADING | ZVRT_TYPE_SIGN_SEPARATE) && from.length <= 18 &&
         from.precision >= from.length;
}

}  // namespace

ReadShort* find_short_reader(const Type& from, std::uint32_t options) {
  if (from.model != nullptr) return nullptr;
  if (from.form == Form::text) return is_number_text(from, Role::source) ? number_kernels().read_text : nullptr;
  if (from.scale < 0 || from.scale > most_short_scale) return nullptr;
  switch (from.kind) {
    case ZVRT_KIND_INT:
    case ZVRT_KIND_UINT: return find_integer_reader(from);
    case ZVRT_KIND_PACKED: return is_short_packed(from) ? read_packed : nullptr;
    case ZVRT_KIND_ZONED: return has_plain_sign(from) ? read_zoned : nullptr;
    case ZVRT_KIND_DECIMAL: return read_decimals;
    case ZVRT_KIND_VARNUM: return read_varnums;
    case ZVRT_KIND_FLOAT:
      return from.length == 8 && (options & ZVRT_PLAN_SINGLE_FORM) == 0 && !from.is_swapped() ? read_doubles : nullptr;
    default: return nullptr;
  }
}

}  // namespace zvrt::columns
