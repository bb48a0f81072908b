// Direct kernels between floats and text, a row a step.
//
// Numbers of few digits go by short numbers (short_numbers.h), some rows at once. The rows that those leave have 17 digits
// or an exponent, and the ones after them are like them: each is converted by itself, and only after some of them short
// numbers are tried again.
//
//   to text     the shortest digits by two words of a power of ten (shortest.h), or the 17 of the single functions
//   from text   digits into a word, eight at a time, and one product with a power of ten (nearest.h)
#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#include "columns/float_text.h"
#include "columns/kernels/packed_word.h"
#include "columns/nearest.h"
#include "columns/short_numbers.h"
#include "numeric/floating/float_text.h"
#include "simd/portable.h"
#include "simd/vectors.h"
#include "support/wraps.h"

namespace zvrt::columns {

namespace {

constexpr std::int32_t row_by_row = 32;  // rows that are not tried as short numbers first

// --- to text ---

template <class Float>
Float load_float(const Type& type, const std::byte* at) {
  using Bits = typename Format<Float>::Bits;
  auto bits = load<Bits>(at);
  if (type.is_swapped()) {
    if constexpr (sizeof(Bits) == 4) bits = __builtin_bswap32(bits);
    if constexpr (sizeof(Bits) == 8) bits = __builtin_bswap64(bits);
  }
  return std::bit_cast<Float>(bits);
}

// ASCII into a slot, with what ends or fills it; false where it does not fit.
template <class Unit>
bool put_text(const Type& to, const TextSlot& place, const char* text, std::int32_t count, std::byte* slot) {
  constexpr auto unit = static_cast<std::int32_t>(sizeof(Unit));
  const std::int32_t bytes = count * unit;
  if (bytes > place.capacity) return false;
  std::byte* const at = slot + place.offset;
  if constexpr (unit == 4) {
    std::array<Wide, 32> wide;  // no text is longer
    for (std::size_t k = 0; k < wide.size(); k += 16) {
      vectors::store_sixteen_wide(&wide[k], vectors::load_block(text + k));
    }
    std::memcpy(at, wide.data(), static_cast<std::size_t>(bytes));
  } else if (to.page.how == PageKind::table) {
    const auto& codes = to.page.tables->code_of_ascii;
    std::transform(text, text + count, at,
                   [&codes](char c) { return static_cast<std::byte>(codes[static_cast<unsigned char>(c)]); });
  } else {
    std::memcpy(at, text, static_cast<std::size_t>(bytes));
  }
  if (place.is_terminated) store<Unit>(at + bytes, 0, 0);
  if (place.is_prefixed) store(slot, 0, static_cast<std::uint16_t>(bytes));
  const Unit blank = unit == 1 ? static_cast<Unit>(to.page.blank[0]) : static_cast<Unit>(' ');
  for (std::int32_t k = bytes; place.is_padded && k < place.capacity; k += unit) store<Unit>(at + k, 0, blank);
  return true;
}

bool put_any(const Type& to, const TextSlot& place, const char* text, std::int32_t count, std::byte* slot) {
  return to.unit == 4 ? put_text<Wide>(to, place, text, count, slot)
                      : put_text<std::uint8_t>(to, place, text, count, slot);
}

// The single function's own kernel writes terminated wide text straight into its slot.
bool put_single_form(const Type& to, const TextSlot& place, double value, std::byte* slot, std::int64_t& length) {
  if (to.unit == sizeof(Wide) && place.is_terminated) {
    const ScientificText<17> text{DoubleBits(value)};
    length = text.length() * std::int64_t{sizeof(Wide)};
    if (length > place.capacity) return false;
    text.write(slot);
    return true;
  }
  char text[max_float_text];
  const std::int32_t count = format_single_form(value, text);
  length = std::int64_t{count} * to.unit;
  return put_any(to, place, text, count, slot);
}

template <class Float>
std::int32_t write_single_forms(const ZVRTPlan& plan, const TextSlot& place, const Rows& rows) {
  for (std::int32_t i = 0; i < rows.count; ++i) {
    const auto value = load_float<Float>(plan.from.type, rows.source + i * rows.source_stride);
    std::byte* const slot = rows.target + i * rows.target_stride;
    if (!std::isfinite(value) ||
        !put_single_form(plan.to.type, place, static_cast<double>(value), slot, rows.lengths[i]))
      return i;
  }
  return rows.count;
}

// Step by step over all rows: what a step stores is in the cache when the next one loads it in other widths.
template <class Float>
std::int32_t write_shortest(const ZVRTPlan& plan, const TextSlot& place, const Rows& rows) {
  const Type& to = plan.to.type;
  Shortest numbers[row_by_row];
  bool is_negative[row_by_row];
  std::int32_t finite = 0;
  for (; finite < rows.count; ++finite) {
    const auto value = load_float<Float>(plan.from.type, rows.source + finite * rows.source_stride);
    if (!std::isfinite(value)) break;
    numbers[finite] = find_shortest(value);
    is_negative[finite] = value < 0;
  }
  char texts[row_by_row][max_float_text];
  std::int32_t counts[row_by_row];
  for (std::int32_t i = 0; i < finite; ++i) counts[i] = format_shortest(numbers[i], is_negative[i], texts[i]);
  for (std::int32_t i = 0; i < finite; ++i) {
    if (!put_any(to, place, texts[i], counts[i], rows.target + i * rows.target_stride)) return i;
    rows.lengths[i] = std::int64_t{counts[i]} * to.unit;
  }
  return finite;
}

// --- from text ---

// The units of a text in its slot; those after its end are 0.
template <class Unit, bool from_page>
struct Units {
  const std::byte* at;
  std::int64_t count;
  const std::uint8_t* ascii_of;

  std::uint32_t operator[](std::int64_t k) const {
    if (k >= count) return 0;
    const auto stored = static_cast<std::uint32_t>(load<Unit>(at, static_cast<std::size_t>(k)));
    return from_page ? ascii_of[stored] : stored;
  }
  // Eight digits, if they are such.
  bool read_eight(std::int64_t k, std::uint32_t& number) const {
    if (from_page || k + 8 > count) return false;
    const std::byte* const text = at + k * static_cast<std::int64_t>(sizeof(Unit));
    if constexpr (sizeof(Unit) == 4) return vectors::read_eight_digits(text, number);
    const std::uint64_t characters = portable::load_bytes(text);
    if (portable::other_than_digits(characters) != 0) return false;
    number = static_cast<std::uint32_t>(portable::join_eight(characters ^ portable::each_byte * '0'));
    return true;
  }
};

// digits * 10^-scale.
struct Read {
  std::uint64_t digits;
  std::int64_t scale;
  bool negative;
};

template <class Text>
class TextReader {
 public:
  explicit TextReader(const Text& text) : text_(text) {}

  // False for a text of more than 19 digits, and for one that is no number.
  bool run(bool is_terminated, Read& number) {
    const std::uint32_t sign = text_[0];
    number.negative = sign == '-';
    if (sign == '-' || sign == '+') k_ = 1;
    const std::int64_t start = k_;
    skip_zeros();
    std::int64_t count = read_digits(false);
    bool has_digits = k_ > start;
    if (text_[k_] == '.') {
      const std::int64_t point = ++k_;
      if (count == 0) skip_zeros();
      count += read_digits(true);
      number.scale = k_ - point;
      has_digits |= number.scale > 0;
    }
    if (!has_digits || count > 19) return false;
    std::int64_t exponent = 0;
    if ((text_[k_] | 0x20) == 'e' && !read_exponent(exponent)) return false;
    number.digits = digits_;
    number.scale -= exponent;
    return is_terminated ? k_ < text_.count && text_[k_] == 0 : k_ == text_.count;
  }

 private:
  ZVRT_WRAPS std::int64_t read_digits(bool are_many) {
    const std::int64_t start = k_;
    for (std::uint32_t eight = 0; are_many && text_.read_eight(k_, eight); k_ += 8)
      digits_ = digits_ * 100000000 + eight;
    for (std::uint32_t digit; (digit = text_[k_] - '0') <= 9; ++k_) digits_ = digits_ * 10 + digit;
    return k_ - start;
  }
  void skip_zeros() {
    while (text_[k_] == '0') ++k_;
  }
  // Of at most four digits: no number has more.
  ZVRT_WRAPS bool read_exponent(std::int64_t& exponent) {
    ++k_;
    const std::uint32_t sign = text_[k_];
    if (sign == '-' || sign == '+') ++k_;
    const std::int64_t start = k_;
    for (std::uint32_t digit; (digit = text_[k_] - '0') <= 9 && k_ < start + 4; ++k_) exponent = exponent * 10 + digit;
    if (sign == '-') exponent = -exponent;
    return k_ > start;
  }

  const Text& text_;
  std::int64_t k_ = 0;
  std::uint64_t digits_ = 0;
};

// The bytes of a text in its slot after the prefix, all of them where a zero ends it; -1 where a block has to look at it.
std::int64_t find_bytes(const Type& from, const Rows& rows, const std::byte* slot, std::int32_t i) {
  if (from.extent == Extent::terminated) return from.length - from.length % from.unit;
  std::int64_t bytes = from.length;
  std::int64_t most = from.length;
  if (from.extent == Extent::prefixed) {
    bytes = load<std::int16_t>(slot);
    most -= 2;
  } else if (rows.source_lengths->at != nullptr) {
    bytes = rows.source_lengths->load(i);
  }
  return bytes >= 0 && bytes <= most && bytes % from.unit == 0 ? bytes : -1;
}

template <class Unit, bool from_page>
bool read_row(const Type& from, const Rows& rows, std::int32_t i, Read& number) {
  const std::byte* const slot = rows.source + i * rows.source_stride;
  const std::int64_t bytes = find_bytes(from, rows, slot, i);
  if (bytes < 0) return false;
  Units<Unit, from_page> text{slot + (from.extent == Extent::prefixed ? 2 : 0),
                              bytes / static_cast<std::int64_t>(sizeof(Unit)),
                              from_page ? from.page.tables->ascii_of.data() : nullptr};
  while (from.has(ZVRT_TYPE_TRIM) && text.count > 0 && text[text.count - 1] == ' ') --text.count;
  return TextReader(text).run(from.extent == Extent::terminated, number);
}

template <class Float, class Unit, bool from_page>
std::int32_t read_rows(const ZVRTPlan& plan, const TextSlot& /*place*/, const Rows& rows) {
  for (std::int32_t i = 0; i < rows.count; ++i) {
    Read number{};
    if (!read_row<Unit, from_page>(plan.from.type, rows, i, number)) return i;
    Float nearest = 0;
    if (number.digits != 0 && !find_nearest_float(number.digits, number.scale, nearest)) return i;
    if (std::isinf(nearest)) return i;
    // A zero has no sign.
    if (number.negative && nearest != 0) nearest = -nearest;
    store<Float>(rows.target + i * rows.target_stride, 0, nearest);
  }
  return rows.count;
}

// --- rows ---

// Of at most `row_by_row` rows.
using Part = std::int32_t(const ZVRTPlan& plan, const TextSlot& place, const Rows& rows);

template <Part* convert_part>
std::int32_t convert(const ZVRTPlan& plan, const Rows& rows) {
  const bool has_short = plan.read_short != nullptr && plan.write_short != nullptr;
  const TextSlot place = text_slot(plan.to.type);
  for (std::int32_t done = 0; done < rows.count;) {
    Entries lengths;
    if (has_short) done += convert_short_numbers(plan, rows_after(rows, done, lengths));
    Rows part = rows_after(rows, done, lengths);
    const std::int32_t wanted = std::min(part.count, row_by_row);
    part.count = wanted;
    const std::int32_t converted = convert_part(plan, place, part);
    done += converted;
    if (converted < wanted) return done;
  }
  return rows.count;
}

template <class Float>
Direct* find_writer(bool is_single_form) {
  return is_single_form ? convert<write_single_forms<Float>> : convert<write_shortest<Float>>;
}
template <class Float>
Direct* find_reader(const Type& from) {
  if (from.unit == 4) return convert<read_rows<Float, Wide, false>>;
  return from.page.is_utf8() ? convert<read_rows<Float, std::uint8_t, false>>
                             : convert<read_rows<Float, std::uint8_t, true>>;
}

}  // namespace

Direct* find_direct_float(const ZVRTPlan& plan) {
  const Type& from = plan.from.type;
  const Type& to = plan.to.type;
  if (from.kind == ZVRT_KIND_FLOAT && is_number_text(to, Role::target)) {
    const bool is_single_form = (plan.options & ZVRT_PLAN_SINGLE_FORM) != 0;
    return from.length == 4 ? find_writer<float>(is_single_form) : find_writer<double>(is_single_form);
  }
  const bool reads = to.kind == ZVRT_KIND_FLOAT && !to.is_swapped() && (plan.options & ZVRT_PLAN_EXACT_FLOAT) == 0 &&
                     is_number_text(from, Role::source);
  if (!reads) return nullptr;
  return to.length == 4 ? find_reader<float>(from) : find_reader<double>(from);
}

}  // namespace zvrt::columns
