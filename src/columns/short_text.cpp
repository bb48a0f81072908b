// Short numbers to and from text, in plain code.
//
// To text, digits go from the last one on straight into the slot, two at a time, once their count is known to fit. From
// text, an optional sign and at most 18 digits, among them perhaps a point.
#include <algorithm>
#include <bit>
#include <cstring>

#include "columns/joined.h"
#include "columns/short_numbers.h"
#include "numeric/integer/integers.h"
#include "support/wraps.h"

namespace zvrt::columns {

namespace {

// At least one.
std::int32_t count_digits(std::uint64_t word) {
  const std::int32_t estimate = (64 - std::countl_zero(word | 1)) * 1233 >> 12;
  return estimate + (word >= short_powers[static_cast<std::size_t>(estimate)] || estimate == 0 ? 1 : 0);
}

// A text's slot, and what its characters are.
template <class Unit>
struct Sink {
  TextSlot place;
  Unit minus, point, zero, blank;
  std::array<Unit, 200> pairs{};

  explicit Sink(const Type& to) : place(text_slot(to)) {
    const auto code = [&to](char ascii) {
      const bool is_tabled = sizeof(Unit) == 1 && to.page.how == PageKind::table;
      return static_cast<Unit>(is_tabled ? to.page.tables->code_of_ascii[static_cast<unsigned char>(ascii)] : ascii);
    };
    minus = code('-');
    point = code('.');
    zero = code('0');
    blank = sizeof(Unit) == 1 ? static_cast<Unit>(to.page.blank[0]) : static_cast<Unit>(' ');
    for (std::size_t i = 0; i < 100; ++i) {
      pairs[2 * i] = code(static_cast<char>('0' + i / 10));
      pairs[2 * i + 1] = code(static_cast<char>('0' + i % 10));
    }
  }

  // Exactly `count` digits.
  void put_digits(std::byte* at, std::uint64_t word, std::int32_t count) const {
    std::byte* end = at + static_cast<std::size_t>(count) * sizeof(Unit);
    for (; count >= 2; count -= 2, word /= 100) {
      end -= 2 * sizeof(Unit);
      std::memcpy(end, pairs.data() + 2 * (word % 100), 2 * sizeof(Unit));
    }
    if (count == 1) store<Unit>(at, 0, pairs[2 * (word % 10) + 1]);
  }

  // The bytes of the text; -1 where it does not fit.
  std::int64_t put(std::byte* slot, std::int64_t value, std::int32_t scale) const {
    constexpr auto unit = static_cast<std::int32_t>(sizeof(Unit));
    const std::uint64_t magnitude = magnitude_of(value);
    const std::int32_t sign = value < 0 ? 1 : 0;
    const std::int32_t digits = std::max(count_digits(magnitude), scale + 1);
    const std::int32_t bytes = (sign + digits + (scale > 0 ? 1 : 0)) * unit;
    if (bytes > place.capacity) return -1;
    std::byte* const text = slot + place.offset;
    if (sign != 0) store<Unit>(text, 0, minus);
    std::byte* const at = text + sign * unit;
    if (scale == 0) {
      put_digits(at, magnitude, digits);
    } else {
      const std::uint64_t one = short_powers[static_cast<std::size_t>(scale)];
      const std::int32_t whole = digits - scale;
      put_digits(at, magnitude / one, whole);
      store<Unit>(at, static_cast<std::size_t>(whole), point);
      put_digits(at + (whole + 1) * unit, magnitude % one, scale);
    }
    if (place.is_terminated) store<Unit>(text + bytes, 0, 0);
    if (place.is_prefixed) store(slot, 0, static_cast<std::uint16_t>(bytes));
    for (std::int32_t k = bytes; place.is_padded && k < place.capacity; k += unit) store<Unit>(text + k, 0, blank);
    return bytes;
  }
};

// Terminated wide text with room for the longest of the values is what the kernels for single values write, but for
// zero, which they leave out.
bool suits_kernel(const TextSlot& place, std::int64_t value, std::int32_t scale) {
  constexpr std::int32_t longest = 20;
  return scale == 0 && value != 0 && place.is_terminated && place.capacity >= longest * std::int32_t{sizeof(Wide)};
}
std::int64_t put_by_kernel(const TextSlot& place, std::int64_t value, std::byte* slot) {
  std::uint32_t length = 0;
  const std::int32_t room = place.capacity + std::int32_t{sizeof(Wide)};
  integers.render[type_index<std::int64_t>](&value, nullptr, slot, room, &length, nullptr);
  return std::int64_t{length} * std::int64_t{sizeof(Wide)};
}

template <class Unit>
std::int32_t write_units(const Type& to, const Rows& rows, const ShortNumbers& numbers) {
  const Sink<Unit> sink(to);
  for (std::int32_t i = 0; i < rows.count; ++i) {
    std::byte* const slot = rows.target + i * rows.target_stride;
    if (sizeof(Unit) == sizeof(Wide) && suits_kernel(sink.place, numbers.value[i], numbers.scale[i])) {
      rows.lengths[i] = put_by_kernel(sink.place, numbers.value[i], slot);
      continue;
    }
    rows.lengths[i] = sink.put(slot, numbers.value[i], numbers.scale[i]);
    if (rows.lengths[i] < 0) return i;
  }
  return rows.count;
}

std::int32_t write_text(const ZVRTPlan& plan, const Rows& rows, const ShortNumbers& numbers) {
  const Type& to = plan.to.type;
  return to.unit == 4 ? write_units<Wide>(to, rows, numbers) : write_units<std::uint8_t>(to, rows, numbers);
}

void join_text(const ZVRTPlan& plan, const ShortNumbers& numbers, std::int32_t count, JoinedTexts& texts) {
  const Sink<std::uint8_t> sink(plan.to.type);
  for (std::int32_t i = 0; i < count; ++i) {
    texts.add(static_cast<std::int32_t>(sink.put(texts.at, numbers.value[i], numbers.scale[i])));
  }
}

// Fields become integers some at a time.
std::int32_t write_packed(const ZVRTPlan& plan, const Rows& rows) {
  ShortNumbers numbers;
  std::fill_n(numbers.scale, short_rows, plan.from.type.scale);
  for (std::int32_t done = 0; done < rows.count;) {
    Entries lengths;
    Rows part = rows_after(rows, done, lengths);
    part.count = std::min(part.count, short_rows);
    Rows values = part;
    values.target = reinterpret_cast<std::byte*>(numbers.value);
    values.target_stride = sizeof numbers.value[0];
    const std::int32_t wanted = part.count;
    part.count = direct_kernels().packed_to_int64(plan, values);
    const std::int32_t written = write_text(plan, part, numbers);
    done += written;
    if (written < wanted) return done;
  }
  return rows.count;
}

// Where a text's units come from.
template <class Unit>
struct Source {
  const std::uint8_t* ascii_of;  // of a page; else null

  explicit Source(const Type& from)
      : ascii_of(sizeof(Unit) == 1 && from.page.how == PageKind::table ? from.page.tables->ascii_of.data() : nullptr) {}
  std::uint32_t unit(const std::byte* at, std::int64_t k) const {
    const auto stored = static_cast<std::uint32_t>(load<Unit>(at, static_cast<std::size_t>(k)));
    return ascii_of == nullptr ? stored : ascii_of[stored];
  }
};

// False for a text that a block has to look at.
template <class Unit>
ZVRT_WRAPS bool parse(const Source<Unit>& source, const std::byte* at, std::int64_t units, bool is_terminated,
                      std::int64_t& value, std::int32_t& scale) {
  const auto unit = [&](std::int64_t k) -> std::uint32_t { return k < units ? source.unit(at, k) : 0; };
  const std::uint32_t sign = unit(0);
  std::int64_t k = sign == '-' || sign == '+' ? 1 : 0;
  const std::int64_t last = std::min(units, k + short_digits_read + 2);
  std::int64_t digits = -k;
  std::int64_t point = -1;
  std::uint64_t magnitude = 0;
  for (; k < last; ++k) {
    const std::uint32_t c = unit(k);
    if (c - '0' <= 9) {
      magnitude = magnitude * 10 + (c - '0');
    } else if (c == '.' && point < 0) {
      point = k;
    } else {
      break;
    }
  }
  digits += k - (point >= 0 ? 1 : 0);
  const bool is_whole = is_terminated ? k < units && unit(k) == 0 : k == units;
  if (!is_whole || digits < 1 || digits > short_digits_read) return false;
  value = static_cast<std::int64_t>(sign == '-' ? 0 - magnitude : magnitude);
  scale = static_cast<std::int32_t>(point >= 0 && magnitude != 0 ? k - point - 1 : 0);
  return true;
}

template <class Unit>
std::int32_t read_units(const Type& from, const Rows& rows, ShortNumbers& numbers) {
  constexpr auto size = static_cast<std::int64_t>(sizeof(Unit));
  const Source<Unit> source(from);
  const bool is_terminated = from.extent == Extent::terminated;
  const std::int32_t prefix = from.extent == Extent::prefixed ? 2 : 0;
  const bool trims = from.has(ZVRT_TYPE_TRIM);
  for (std::int32_t i = 0; i < rows.count; ++i) {
    const std::byte* const slot = rows.source + i * rows.source_stride;
    std::int64_t bytes = from.length;
    if (prefix > 0) {
      bytes = load<std::int16_t>(slot);
    } else if (rows.source_lengths->at != nullptr && !is_terminated) {
      bytes = rows.source_lengths->load(i);
    }
    if (bytes < 0 || bytes > from.length - prefix || (!is_terminated && bytes % size != 0)) return i;
    const std::byte* const at = slot + prefix;
    std::int64_t units = bytes / size;
    while (trims && !is_terminated && units > 0 && source.unit(at, units - 1) == ' ') --units;
    if (!parse(source, at, units, is_terminated, numbers.value[i], numbers.scale[i])) return i;
  }
  return rows.count;
}

std::int32_t read_text(const ZVRTPlan& plan, const Rows& rows, ShortNumbers& numbers) {
  const Type& from = plan.from.type;
  return from.unit == 4 ? read_units<Wide>(from, rows, numbers) : read_units<std::uint8_t>(from, rows, numbers);
}

}  // namespace

const NumberKernels number_kernels_portable{
    .packed_to_text = write_packed,
    .text_to_packed = convert_short_numbers,
    .read_text = read_text,
    .write_text = write_text,
    .write_packed = write_packed_portable,
    .join = join_text,
};

}  // namespace zvrt::columns
