// Direct kernels between timestamp records and text by a model of digits of fixed widths, such as the ISO form.
//
// Each character of such a text lies in a range: '0' to '9' for a digit, one character for a literal. So a text is read
// by one subtraction and one comparison per character, and written as the literals with digits put between them. Neither
// needs days since 1970. A month may be three letters where text is read. Everything else goes through a block.
//
// Days and micro-seconds since 1970 are counted from records that were read beside each other.
#include <algorithm>
#include <array>
#include <cstring>

#include "columns/date_layout.h"
#include "columns/direct.h"
#include "columns/moments.h"
#include "support/cpu.h"
#include "support/wraps.h"

namespace zvrt::columns {

namespace {

std::int32_t part_of(DateElement element) {
  switch (element) {
    case DateElement::year: return 0;
    case DateElement::month:
    case DateElement::month_abbreviation: return 1;
    case DateElement::day: return 2;
    case DateElement::hour_24: return 3;
    case DateElement::minute: return 4;
    case DateElement::second: return 5;
    case DateElement::fraction: return 6;
    default: return -1;
  }
}

const DateKernels& kernels = *choose_version(
    Versions<const DateKernels>{.baseline = &date_kernels_portable ZVRT_X86(, .avx512 = &date_kernels_avx512)});

// --- a record: six members of two bytes, the fraction in four ---

constexpr std::int32_t record_bytes = 16;

Fields load_record(const std::byte* at, std::uint32_t& fraction) {
  Fields fields;
  fields.year = load<std::int16_t>(at, 0);
  fields.month = load<std::uint16_t>(at, 1);
  fields.day = load<std::uint16_t>(at, 2);
  fields.hour = load<std::uint16_t>(at, 3);
  fields.minute = load<std::uint16_t>(at, 4);
  fields.second = load<std::uint16_t>(at, 5);
  fraction = load<std::uint32_t>(at, 3);
  return fields;
}

void store_record(const Fields& fields, std::uint32_t fraction, std::byte* at, std::int32_t length) {
  for (std::int32_t k = record_bytes; k < length; ++k) at[k] = std::byte{0};
  store(at, 0, static_cast<std::uint16_t>(fields.year));
  store(at, 1, static_cast<std::uint16_t>(fields.month));
  store(at, 2, static_cast<std::uint16_t>(fields.day));
  store(at, 3, static_cast<std::uint16_t>(fields.hour));
  store(at, 4, static_cast<std::uint16_t>(fields.minute));
  store(at, 5, static_cast<std::uint16_t>(fields.second));
  store(at, 3, fraction);
}

// --- to text ---

template <class Unit>
void put_pair(Unit* text, std::int32_t at, std::uint32_t value) {
  text[at] = static_cast<Unit>('0' + value / 10);
  text[at + 1] = static_cast<Unit>('0' + value % 10);
}

template <class Unit>
void put_parts(const Layout& layout, const Fields& fields, std::uint32_t fraction, Unit* text) {
  const auto year = static_cast<std::uint32_t>(fields.year);
  put_pair(text, layout.at[0], year / 100);
  put_pair(text, layout.at[0] + 2, year % 100);
  put_pair(text, layout.at[1], fields.month);
  put_pair(text, layout.at[2], fields.day);
  put_pair(text, layout.at[3], fields.hour);
  put_pair(text, layout.at[4], fields.minute);
  put_pair(text, layout.at[5], fields.second);
  for (std::int32_t k = layout.fraction_digits - 1; k >= 0; --k, fraction /= 10) {
    text[layout.at[6] + k] = static_cast<Unit>('0' + fraction % 10);
  }
}

template <class Unit>
std::int32_t write_records_as_text(const ZVRTPlan& plan, const Rows& rows) {
  const TextSlot place = text_slot(plan.to.type);
  Layout layout;
  lay_out(*plan.to.type.model, layout);
  const auto bytes = static_cast<std::size_t>(layout.count) * sizeof(Unit);
  if (bytes > static_cast<std::size_t>(place.capacity)) return 0;
  std::array<Unit, longest_date + 1> text{};
  std::copy_n(layout.least.begin(), layout.count, text.begin());
  const std::int32_t digits = plan.from.type.date_digits;
  const std::uint32_t most = power_of(digits);
  const std::uint32_t unit = power_of(layout.fraction_digits - digits);
  for (std::int32_t i = 0; i < rows.count; ++i) {
    std::uint32_t fraction = 0;
    const Fields fields = load_record(rows.source + i * rows.source_stride, fraction);
    if (fraction >= most || check_fields(fields) != ZVRT_RC_OK) return i;
    put_parts(layout, fields, fraction * unit, text.data());
    std::byte* const slot = rows.target + i * rows.target_stride;
    std::memcpy(slot + place.offset, text.data(), bytes + (place.is_terminated ? sizeof(Unit) : 0));
    if (place.is_prefixed) store(slot, 0, static_cast<std::uint16_t>(bytes));
    rows.lengths[i] = static_cast<std::int64_t>(bytes);
  }
  return rows.count;
}

// --- from text ---

// What each character is above the first one of its range; false where one lies outside. `ascii_of` is a page's, or null.
template <class Unit>
ZVRT_WRAPS bool read_ranges(const Layout& layout, const std::byte* at, const std::uint8_t* ascii_of,
                            std::uint8_t* found) {
  Unit high = 0;
  std::uint8_t bad = 0;
  for (std::size_t k = 0; k < static_cast<std::size_t>(layout.count); ++k) {
    const auto stored = load<Unit>(at, k);
    const Unit unit = ascii_of != nullptr ? Unit{ascii_of[static_cast<std::uint8_t>(stored)]} : stored;
    high |= unit;
    found[k] = static_cast<std::uint8_t>(unit - layout.least[k]);
    bad |= static_cast<std::uint8_t>(found[k] > layout.span[k]);
  }
  return bad == 0 && high < 0x80;
}

Fields join_parts(const Layout& layout, const std::uint8_t* digits, std::uint32_t& fraction) {
  const auto pair = [digits](std::int32_t at) -> std::uint32_t { return digits[at] * 10U + digits[at + 1]; };
  const std::uint8_t* const month = digits + layout.at[1];
  Fields fields;
  fields.year = static_cast<std::int32_t>(pair(layout.at[0]) * 100 + pair(layout.at[0] + 2));
  fields.month = layout.has_month_letters
                     ? find_month(month[0] | std::uint32_t{month[1]} << 8 | std::uint32_t{month[2]} << 16)
                     : pair(layout.at[1]);
  fields.day = pair(layout.at[2]);
  fraction = 0;
  if (layout.at[3] < 0) return fields;
  fields.hour = pair(layout.at[3]);
  fields.minute = pair(layout.at[4]);
  fields.second = pair(layout.at[5]);
  for (std::int32_t k = 0; k < layout.fraction_digits; ++k) fraction = fraction * 10 + digits[layout.at[6] + k];
  return fields;
}

template <class Unit>
std::int32_t read_records_from_text(const ZVRTPlan& plan, const Rows& rows) {
  const Type& from = plan.from.type;
  Layout layout;
  lay_out(*from.model, layout);
  const std::int64_t bytes = std::int64_t{layout.count} * std::int64_t{sizeof(Unit)};
  const bool is_terminated = from.extent == Extent::terminated;
  const bool gives_lengths = rows.source_lengths->at != nullptr && !is_terminated;
  if (bytes + (is_terminated ? std::int64_t{sizeof(Unit)} : 0) > from.length) return 0;
  const std::uint32_t unit = power_of(plan.to.type.date_digits - layout.fraction_digits);
  const std::uint8_t* const ascii_of = from.has_table() ? from.page.tables->ascii_of.data() : nullptr;
  for (std::int32_t i = 0; i < rows.count; ++i) {
    const std::byte* const at = rows.source + i * rows.source_stride;
    if (is_terminated ? load<Unit>(at + bytes) != 0
                      : (gives_lengths ? rows.source_lengths->load(i) : from.length) != bytes)
      return i;
    std::uint8_t found[longest_date];
    if (!read_ranges<Unit>(layout, at, ascii_of, found)) return i;
    std::uint32_t fraction = 0;
    const Fields fields = join_parts(layout, found, fraction);
    if (check_fields(fields) != ZVRT_RC_OK) return i;
    store_record(fields, fraction * unit, rows.target + i * rows.target_stride, plan.to.type.length);
  }
  return rows.count;
}

// --- which ---

bool is_record(const Type& type) {
  return (type.kind == ZVRT_KIND_TIMESTAMP || type.kind == ZVRT_KIND_CLI_TIMESTAMP) && type.flags == 0 &&
         type.parts == Parts::both;
}

// Text of a record's parts; written without letters.
bool is_written_date(const Type& type) {
  Layout layout;
  return type.form == Form::text && type.flags == 0 && type.model != nullptr &&
         (type.unit == 4 || (type.unit == 1 && type.page.is_utf8())) && lay_out(*type.model, layout) &&
         layout.at[3] >= 0 && !layout.has_month_letters;
}

// Of text that is trimmed the last character must be none that is trimmed.
bool is_read_date(const Type& type) {
  Layout layout;
  return type.form == Form::text && (type.flags & ~(ZVRT_TYPE_TRIM | Type::null_forms)) == 0 && type.model != nullptr &&
         type.extent != Extent::prefixed && type.unit != 2 && (type.page.is_utf8() || type.has_table()) &&
         lay_out(*type.model, layout) &&
         (!type.has(ZVRT_TYPE_TRIM) || layout.least[static_cast<std::size_t>(layout.count) - 1] != ' ');
}

std::int32_t write_text(const ZVRTPlan& plan, const Rows& rows) {
  return plan.to.type.unit == 4 ? write_records_as_text<Wide>(plan, rows) : write_records_as_text<char>(plan, rows);
}
std::int32_t read_text(const ZVRTPlan& plan, const Rows& rows) {
  return plan.from.type.unit == 4 ? read_records_from_text<Wide>(plan, rows)
                                  : read_records_from_text<std::uint8_t>(plan, rows);
}

// Fields that were read, their fraction in micro-seconds, as days or micro-seconds since 1970.
template <class Count>
void count_records(const std::byte* records, const Rows& rows) {
  for (std::int32_t i = 0; i < rows.count; ++i) {
    std::uint32_t fraction = 0;
    const Fields fields = load_record(records + i * record_bytes, fraction);
    std::int64_t count = days_of_date(fields.year, fields.month, fields.day);
    if constexpr (sizeof(Count) == 8) {
      const std::int64_t seconds = (std::int64_t{fields.hour} * 60 + fields.minute) * 60 + fields.second;
      count = (count * 86'400 + seconds) * 1'000'000 + fraction;
    }
    store(rows.target + i * rows.target_stride, 0, static_cast<Count>(count));
  }
}

std::int32_t count_text(Direct* text_to_record, const ZVRTPlan& plan, const Rows& rows) {
  constexpr std::int32_t most = 256;
  std::byte records[most * record_bytes];
  for (std::int32_t done = 0; done < rows.count;) {
    Entries lengths;
    Rows part = rows_after(rows, done, lengths);
    const std::int32_t wanted = std::min(part.count, most);
    Rows read = part;
    read.target = records;
    read.target_stride = record_bytes;
    read.count = wanted;
    part.count = text_to_record(plan, read);
    if (plan.to.type.kind == ZVRT_KIND_DAYS) {
      count_records<std::int32_t>(records, part);
    } else {
      count_records<std::int64_t>(records, part);
    }
    done += part.count;
    if (part.count < wanted) return done;
  }
  return rows.count;
}

// Those that know the model.
const DateKernels& kernels_for(const DateModel& model) {
  constexpr std::int32_t longest = 31;
  Layout layout;
  const bool is_usual = lay_out(model, layout) && layout.count <= longest && layout.fraction_digits <= 8;
  return is_usual ? kernels : date_kernels_portable;
}

}  // namespace

const DateKernels date_kernels_portable{
    .record_to_text = write_text,
    .text_to_record = read_text,
    .text_to_count = count_text_portable,
};

std::int32_t count_text_portable(const ZVRTPlan& plan, const Rows& rows) { return count_text(read_text, plan, rows); }
ZVRT_X86(std::int32_t count_text_avx512(const ZVRTPlan& plan, const Rows& rows) {
  return count_text(date_kernels_avx512.text_to_record, plan, rows);
})

bool lay_out(const DateModel& model, Layout& layout) {
  for (std::int32_t i = 0; i < model.count; ++i) {
    const DateItem& item = model.items[static_cast<std::size_t>(i)];
    const bool is_literal = item.element == DateElement::literal;
    const std::int32_t part = part_of(item.element);
    const std::int32_t width = is_literal ? 1 : item.width;
    if (layout.count + width > longest_date || (is_literal ? item.literal >= 0x80 : part < 0)) return false;
    if (!is_literal) layout.at[static_cast<std::size_t>(part)] = layout.count;
    const bool is_letter = item.element == DateElement::month_abbreviation;
    layout.has_month_letters |= is_letter;
    for (std::int32_t k = 0; k < width; ++k, ++layout.count) {
      const auto place = static_cast<std::size_t>(layout.count);
      layout.least[place] = is_letter ? 0 : is_literal ? static_cast<std::uint8_t>(item.literal) : '0';
      layout.span[place] = is_letter ? UINT8_MAX : is_literal ? 0 : 9;
    }
  }
  layout.fraction_digits = model.fraction_digits;
  const auto is_there = [](std::int32_t at) { return at >= 0; };
  const auto time = layout.at.begin() + 3;
  return std::all_of(layout.at.begin(), time, is_there) &&
         std::all_of(time, layout.at.end() - 1, [&](std::int32_t at) { return is_there(at) == is_there(*time); });
}

std::uint32_t power_of(std::int32_t digits) {
  std::uint32_t power = 1;
  for (; digits > 0; --digits) power *= 10;
  return power;
}

Direct* find_direct_date(const ZVRTPlan& plan) {
  const Type& from = plan.from.type;
  const Type& to = plan.to.type;
  if (is_record(from) && is_written_date(to) && to.model->fraction_digits >= from.date_digits) {
    return kernels_for(*to.model).record_to_text;
  }
  if (!is_read_date(from) || from.model->fraction_digits > to.date_digits) return nullptr;
  const DateKernels& usable = kernels_for(*from.model);
  if (is_record(to)) return usable.text_to_record;
  const bool is_count = (to.kind == ZVRT_KIND_DAYS || to.kind == ZVRT_KIND_MICROS) && to.flags == 0;
  return is_count && to.parts == from.model->parts ? usable.text_to_count : nullptr;
}

}  // namespace zvrt::columns
