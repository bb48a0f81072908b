// Direct kernels between numbers and text.
//
// To text: a number is a word of at most 20 digits, a sign and a scale. Digits go from the last one on straight into the
// slot, two at a time, once their count is known to fit.
//
// From text: an optional sign and at most 18 digits, which no 64-bit word is too small for, among them a point where the
// target is a double. A double of a number up to 2^53 over a power of ten up to 10^22 is one division of two exact
// doubles, and so the nearest.
//
// A double whose decimal of at most 15 digits reads back as itself has no shorter one, nor another of that length.
// Everything else goes through a block.
#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

#include "columns/direct.h"
#include "numeric/integer/integers.h"
#include "support/wraps.h"

namespace zvrt::columns {

namespace {

constexpr auto powers = [] {
  std::array<std::uint64_t, 20> all{1};
  for (std::size_t i = 1; i < all.size(); ++i) all[i] = all[i - 1] * 10;
  return all;
}();

template <class Unit>
constexpr auto digit_pairs = [] {
  std::array<Unit, 200> pairs{};
  for (std::size_t i = 0; i < 100; ++i) {
    pairs[2 * i] = static_cast<Unit>('0' + i / 10);
    pairs[2 * i + 1] = static_cast<Unit>('0' + i % 10);
  }
  return pairs;
}();

// A magnitude over a power of ten.
struct Short {
  std::uint64_t magnitude;
  std::int32_t scale;  // 0 to 18
  bool negative;
};

// At least one.
std::int32_t count_digits(std::uint64_t word) {
  const std::int32_t estimate = (64 - std::countl_zero(word | 1)) * 1233 >> 12;
  return estimate + (word >= powers[static_cast<std::size_t>(estimate)] || estimate == 0 ? 1 : 0);
}

// Exactly `count` digits.
template <class Unit>
void put_digits(std::byte* at, std::uint64_t word, std::int32_t count) {
  const Unit* const pairs = digit_pairs<Unit>.data();
  std::byte* end = at + static_cast<std::size_t>(count) * sizeof(Unit);
  for (; count >= 2; count -= 2, word /= 100) {
    end -= 2 * sizeof(Unit);
    std::memcpy(end, pairs + 2 * (word % 100), 2 * sizeof(Unit));
  }
  if (count == 1) store<Unit>(at, 0, static_cast<Unit>('0' + word % 10));
}

// The bytes of the text; -1 where it does not fit.
template <class Unit>
std::int64_t put_number(const TextSlot& place, std::byte* slot, const Short& number) {
  constexpr auto unit = static_cast<std::int32_t>(sizeof(Unit));
  const std::int32_t sign = number.negative ? 1 : 0;
  const std::int32_t digits = std::max(count_digits(number.magnitude), number.scale + 1);
  const std::int32_t bytes = (sign + digits + (number.scale > 0 ? 1 : 0)) * unit;
  if (bytes > place.capacity) return -1;
  std::byte* const text = slot + place.offset;
  if (number.negative) store<Unit>(text, 0, '-');
  std::byte* const at = text + sign * unit;
  if (number.scale == 0) {
    put_digits<Unit>(at, number.magnitude, digits);
  } else {
    const std::uint64_t one = powers[static_cast<std::size_t>(number.scale)];
    const std::int32_t whole = digits - number.scale;
    put_digits<Unit>(at, number.magnitude / one, whole);
    store<Unit>(at, static_cast<std::size_t>(whole), '.');
    put_digits<Unit>(at + (whole + 1) * unit, number.magnitude % one, number.scale);
  }
  if (place.is_terminated) store<Unit>(text + bytes, 0, 0);
  if (place.is_prefixed) store(slot, 0, static_cast<std::uint16_t>(bytes));
  return bytes;
}

// --- sources ---

Short short_of(std::int64_t value, std::int32_t scale) {
  const auto bits = static_cast<std::uint64_t>(value);
  return {value < 0 ? ~bits + 1 : bits, scale, value < 0};
}

template <class Int>
struct IntegerSource {
  static bool read(const std::byte* at, Short& number) {
    const auto value = load<Int>(at);
    number = std::is_signed_v<Int> ? short_of(static_cast<std::int64_t>(value), 0)
                                   : Short{static_cast<std::uint64_t>(value), 0, false};
    return true;
  }
};

// 15 digits at most, with two digits after the point or six.
struct DoubleSource {
  static bool read(const std::byte* at, Short& number) {
    const auto value = load<double>(at);
    const double magnitude = std::fabs(value);
    if (!(magnitude < 1e9)) return false;
    if (!find(magnitude, 100, 2, number) && !find(magnitude, 1e6, 6, number)) return false;
    while (number.scale > 0 && number.magnitude % 10 == 0) {
      number.magnitude /= 10;
      --number.scale;
    }
    number.negative = value < 0;
    return true;
  }

 private:
  static bool find(double magnitude, double power, std::int32_t scale, Short& number) {
    // NOLINTNEXTLINE(bugprone-incorrect-roundings): a wrong digit shows in the division below
    const auto digits = static_cast<std::int64_t>(magnitude * power + 0.5);
    number = {static_cast<std::uint64_t>(digits), scale, false};
    return static_cast<double>(digits) / power == magnitude;
  }
};

template <class Unit, class Source>
std::int32_t write_numbers_as_text(const ZVRTPlan& plan, const Rows& rows) {
  const TextSlot place = text_slot(plan.to.type);
  for (std::int32_t i = 0; i < rows.count; ++i) {
    Short number{};
    if (!Source::read(rows.source + i * rows.source_stride, number)) return i;
    rows.lengths[i] = put_number<Unit>(place, rows.target + i * rows.target_stride, number);
    if (rows.lengths[i] < 0) return i;
  }
  return rows.count;
}

// Terminated wide text with room for the longest of the values is what the kernels for single values write, but for
// zero, which they leave out.
bool suits_kernel(const TextSlot& place, std::int32_t longest) {
  return place.is_terminated && place.capacity >= longest * std::int32_t{sizeof(Wide)};
}
template <class Int>
std::int64_t put_by_kernel(const TextSlot& place, const std::byte* at, std::byte* slot) {
  if (load<Int>(at) == 0) {
    store<Wide>(slot, 0, '0');
    store<Wide>(slot, 1, 0);
    return sizeof(Wide);
  }
  std::uint32_t length = 0;
  const std::int32_t room = place.capacity + std::int32_t{sizeof(Wide)};
  integers.render[type_index<Int>](at, nullptr, slot, room, &length, nullptr);
  return std::int64_t{length} * std::int64_t{sizeof(Wide)};
}

template <class Int>
std::int32_t write_integers_as_wide(const ZVRTPlan& plan, const Rows& rows) {
  constexpr std::int32_t longest_integer = std::numeric_limits<Int>::digits10 + 2;
  const TextSlot place = text_slot(plan.to.type);
  if (!suits_kernel(place, longest_integer)) return write_numbers_as_text<Wide, IntegerSource<Int>>(plan, rows);
  for (std::int32_t i = 0; i < rows.count; ++i) {
    rows.lengths[i] =
        put_by_kernel<Int>(place, rows.source + i * rows.source_stride, rows.target + i * rows.target_stride);
  }
  return rows.count;
}

template <class Unit, class Int>
constexpr Direct* write_integers = sizeof(Unit) == sizeof(Wide) ? write_integers_as_wide<Int>
                                                                : write_numbers_as_text<Unit, IntegerSource<Int>>;

// Fields become integers some at a time.
template <class Unit>
std::int32_t write_packed_as_text(const ZVRTPlan& plan, const Rows& rows) {
  constexpr std::int32_t most = 64;
  const TextSlot place = text_slot(plan.to.type);
  const bool by_kernel =
      sizeof(Unit) == sizeof(Wide) && plan.from.type.scale == 0 && suits_kernel(place, 2 * plan.from.type.length);
  for (std::int32_t done = 0; done < rows.count;) {
    std::int64_t values[most];
    Entries lengths;
    Rows part = rows_after(rows, done, lengths);
    part.target = reinterpret_cast<std::byte*>(values);
    part.target_stride = sizeof values[0];
    part.count = std::min(part.count, most);
    const std::int32_t read = direct_kernels().packed_to_int64(plan, part);
    for (std::int32_t i = 0; i < read; ++i, ++done) {
      std::byte* const slot = rows.target + done * rows.target_stride;
      if (by_kernel) {
        rows.lengths[done] = put_by_kernel<std::int64_t>(place, reinterpret_cast<const std::byte*>(values + i), slot);
        continue;
      }
      rows.lengths[done] = put_number<Unit>(place, slot, short_of(values[i], plan.from.type.scale));
      if (rows.lengths[done] < 0) return done;
    }
    if (read < part.count) return done;
  }
  return rows.count;
}

// --- targets ---

// False for a text that a block has to look at.
template <class Unit, bool takes_point>
ZVRT_WRAPS bool parse_short(const std::byte* at, std::int64_t units, bool is_terminated, Short& number) {
  constexpr std::int64_t max_digits_read = 18;
  const auto unit = [&](std::int64_t k) -> std::uint32_t {
    return k < units ? static_cast<std::uint32_t>(load<Unit>(at, static_cast<std::size_t>(k))) : 0;
  };
  const std::uint32_t sign = unit(0);
  number.negative = sign == '-';
  std::int64_t k = number.negative || sign == '+' ? 1 : 0;
  const std::int64_t last = std::min(units, k + max_digits_read + 2);
  std::int64_t digits = -k;
  std::int64_t point = -1;
  std::uint64_t value = 0;
  for (; k < last; ++k) {
    const std::uint32_t c = unit(k);
    if (c - '0' <= 9) {
      value = value * 10 + (c - '0');
    } else if (takes_point && c == '.' && point < 0) {
      point = k;
    } else {
      break;
    }
  }
  digits += k - (point >= 0 ? 1 : 0);
  const bool is_whole = is_terminated ? k < units && unit(k) == 0 : k == units;
  if (!is_whole || digits < 1 || digits > max_digits_read) return false;
  number.magnitude = value;
  number.scale = static_cast<std::int32_t>(point >= 0 ? k - point - 1 : 0);
  return true;
}

template <class Int>
struct IntegerTarget {
  static constexpr bool takes_point = false;
  ZVRT_WRAPS static bool write(const Short& number, std::byte* slot) {
    constexpr auto most = static_cast<std::uint64_t>(std::numeric_limits<Int>::max());
    if (number.magnitude > most) return false;
    if (std::is_unsigned_v<Int> && number.negative && number.magnitude != 0) return false;
    const std::uint64_t bits = number.negative ? ~number.magnitude + 1 : number.magnitude;
    store<Int>(slot, 0, static_cast<Int>(bits));
    return true;
  }
};

struct DoubleTarget {
  static constexpr bool takes_point = true;
  static bool write(const Short& number, std::byte* slot) {
    if (number.magnitude > UINT64_C(1) << 53) return false;
    const double value =
        static_cast<double>(number.magnitude) / static_cast<double>(powers[static_cast<std::size_t>(number.scale)]);
    store<double>(slot, 0, number.negative && value != 0 ? -value : value);
    return true;
  }
};

template <class Unit, class Target>
std::int32_t read_numbers_from_text(const ZVRTPlan& plan, const Rows& rows) {
  const Type& from = plan.from.type;
  const bool is_terminated = from.extent == Extent::terminated;
  const bool gives_lengths = rows.source_lengths->at != nullptr;
  for (std::int32_t i = 0; i < rows.count; ++i) {
    const std::int64_t bytes = gives_lengths && !is_terminated ? rows.source_lengths->load(i) : from.length;
    if (bytes < 0 || bytes > from.length || (!is_terminated && bytes % std::int64_t{sizeof(Unit)} != 0)) return i;
    Short number{};
    const std::byte* const at = rows.source + i * rows.source_stride;
    const std::int64_t units = bytes / static_cast<std::int64_t>(sizeof(Unit));
    if (!parse_short<Unit, Target::takes_point>(at, units, is_terminated, number)) return i;
    if (!Target::write(number, rows.target + i * rows.target_stride)) return i;
  }
  return rows.count;
}

// --- which ---

template <class Unit>
Direct* find_to_text(const Type& from) {
  const bool is_signed = from.kind == ZVRT_KIND_INT;
  if (from.kind == ZVRT_KIND_PACKED) return write_packed_as_text<Unit>;
  if (from.kind == ZVRT_KIND_FLOAT) return write_numbers_as_text<Unit, DoubleSource>;
  switch (from.length) {
    case 2: return is_signed ? write_integers<Unit, std::int16_t> : nullptr;
    case 4: return is_signed ? write_integers<Unit, std::int32_t> : nullptr;
    case 8: return is_signed ? write_integers<Unit, std::int64_t> : write_integers<Unit, std::uint64_t>;
    default: return nullptr;
  }
}

template <class Unit>
Direct* find_from_text(const Type& to) {
  const bool is_signed = to.kind == ZVRT_KIND_INT;
  if (to.kind == ZVRT_KIND_FLOAT) return read_numbers_from_text<Unit, DoubleTarget>;
  switch (to.length) {
    case 2: return is_signed ? read_numbers_from_text<Unit, IntegerTarget<std::int16_t>> : nullptr;
    case 4: return is_signed ? read_numbers_from_text<Unit, IntegerTarget<std::int32_t>> : nullptr;
    case 8:
      return is_signed ? read_numbers_from_text<Unit, IntegerTarget<std::int64_t>>
                       : read_numbers_from_text<Unit, IntegerTarget<std::uint64_t>>;
    default: return nullptr;
  }
}

// A text of ASCII in bytes or of wide characters.
bool is_number_text(const Type& type) {
  return is_plain_text(type, 0) && (type.unit == 4 || (type.unit == 1 && type.page.is_utf8()));
}

bool is_plain_number(const Type& type, std::uint32_t options) {
  if (type.model != nullptr || type.is_swapped()) return false;
  if (type.kind == ZVRT_KIND_FLOAT) {
    return type.length == 8 && (options & (ZVRT_PLAN_SINGLE_FORM | ZVRT_PLAN_EXACT_FLOAT)) == 0;
  }
  if (type.kind == ZVRT_KIND_PACKED) return is_short_packed(type) && type.scale >= 0 && type.scale <= 18;
  return (type.kind == ZVRT_KIND_INT || type.kind == ZVRT_KIND_UINT) && type.scale == 0 && !type.declares_precision;
}

}  // namespace

Direct* find_direct_number(const ZVRTPlan& plan) {
  const Type& from = plan.from.type;
  const Type& to = plan.to.type;
  if (is_plain_number(from, plan.options) && is_number_text(to)) {
    return to.unit == 4 ? find_to_text<Wide>(from) : find_to_text<char>(from);
  }
  const bool is_read = is_number_text(from) && from.extent != Extent::prefixed && is_plain_number(to, plan.options);
  if (!is_read || to.kind == ZVRT_KIND_PACKED) return nullptr;
  return from.unit == 4 ? find_from_text<Wide>(to) : find_from_text<std::uint8_t>(to);
}

}  // namespace zvrt::columns
