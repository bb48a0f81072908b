// The direct kernels for every processor: a packed field is one word, a text goes byte by byte through a table.
#include "columns/direct.h"

#include <cstring>

#include "columns/kernels/packed_word.h"
#include "support/wraps.h"

namespace zvrt::columns {

namespace {

// --- packed decimals ---

// Eight bytes [hi|lo] of digits to a number: pairs, quads, octets, each step joining neighbours.
ZVRT_INLINED std::uint64_t join_digits(std::uint64_t word) {
  word -= 6 * (word >> 4 & UINT64_C(0x0F0F0F0F0F0F0F0F));
  word = (word & UINT64_C(0x00FF00FF00FF00FF)) + 100 * (word >> 8 & UINT64_C(0x00FF00FF00FF00FF));
  word = (word & UINT64_C(0x0000FFFF0000FFFF)) + 10000 * (word >> 16 & UINT64_C(0x0000FFFF0000FFFF));
  return (word & UINT32_MAX) + 100000000 * (word >> 32);
}

// The value of a field; false where a half-byte is no digit or the sign none.
ZVRT_WRAPS ZVRT_INLINED bool read_field(std::uint64_t word, bool is_unsigned, std::uint64_t& value) {
  const std::uint64_t sign = word & 0xF;
  const std::uint64_t digits = word >> 4;
  const std::uint64_t beyond = digits >> 3 & (digits >> 2 | digits >> 1) & UINT64_C(0x1111111111111111);
  const std::uint64_t negative = sign == 0xD || sign == 0xB ? 1 : 0;
  value = (join_digits(digits) ^ (0 - negative)) + negative;
  return beyond == 0 && sign >= 0xA && (negative == 0 || !is_unsigned);
}

template <std::int32_t bytes, bool is_decimal>
ZVRT_WRAPS std::int32_t convert_packed(const ZVRTPlan& plan, const Rows& rows) {
  const bool is_unsigned = plan.from.type.has(ZVRT_TYPE_UNSIGNED);
  for (std::int32_t i = 0; i < rows.count; ++i) {
    std::uint64_t value;
    if (!read_field(load_field<bytes>(rows.source + i * rows.source_stride), is_unsigned, value)) return i;
    std::byte* const slot = rows.target + i * rows.target_stride;
    if constexpr (is_decimal) {
      store(slot, 0, static_cast<Uint128>(static_cast<Int128>(static_cast<std::int64_t>(value))));
    } else {
      store(slot, 0, value);
    }
  }
  return rows.count;
}

template <bool is_decimal>
std::int32_t convert_any_packed(const ZVRTPlan& plan, const Rows& rows) {
  switch (plan.from.type.length) {
    case 1: return convert_packed<1, is_decimal>(plan, rows);
    case 2: return convert_packed<2, is_decimal>(plan, rows);
    case 3: return convert_packed<3, is_decimal>(plan, rows);
    case 4: return convert_packed<4, is_decimal>(plan, rows);
    case 5: return convert_packed<5, is_decimal>(plan, rows);
    case 6: return convert_packed<6, is_decimal>(plan, rows);
    case 7: return convert_packed<7, is_decimal>(plan, rows);
    default: return convert_packed<8, is_decimal>(plan, rows);
  }
}

// --- texts ---

// The bytes of a source; -1 where a block has to look at it.
std::int32_t source_length(const Type& type, const Rows& rows, const std::byte* at, std::int32_t i) {
  if (type.extent == Extent::terminated) {
    const auto most = static_cast<std::size_t>(type.length < direct_text_bytes ? type.length : direct_text_bytes);
    const void* const end = std::memchr(at, 0, most);
    return end == nullptr ? -1 : static_cast<std::int32_t>(static_cast<const std::byte*>(end) - at);
  }
  const std::int64_t length = rows.source_lengths->at != nullptr ? rows.source_lengths->load(i) : type.length;
  return length < 0 || length > direct_text_bytes || length > type.length ? -1 : static_cast<std::int32_t>(length);
}

// The characters of a text, or their codes in the target's page, each by one table; `marks` gathers them.
struct Characters {
  std::uint8_t at[direct_text_bytes];
  std::int32_t count;
};

template <bool from_page>
bool read_characters(const Type& from, const std::byte* at, std::int32_t length, Characters& text) {
  const bool blanks_lows = from.has(ZVRT_TYPE_LOW_AS_BLANK);
  std::uint32_t all = 0;
  for (std::int32_t k = 0; k < length; ++k) {
    const auto byte = static_cast<std::uint8_t>(at[k]);
    std::uint8_t ascii = from_page ? from.page.tables->ascii_of[byte] : byte;
    if (blanks_lows && ascii == 0) ascii = ' ';
    all |= ascii;
    text.at[k] = ascii;
  }
  if (from.has(ZVRT_TYPE_TRIM)) {
    while (length > 0 && text.at[length - 1] == ' ') --length;
  }
  text.count = length;
  return all < 0x80;
}

template <class Unit, bool into_page>
void store_characters(const ZVRTPlan& plan, const TextSlot& place, const Characters& text, std::byte* slot) {
  const Type& to = plan.to.type;
  std::byte* const at = slot + place.offset;
  for (std::int32_t k = 0; k < text.count; ++k) {
    const std::uint8_t ascii = text.at[k];
    store<Unit>(at, static_cast<std::size_t>(k), into_page ? to.page.tables->code_of_ascii[ascii] : ascii);
  }
  if (place.is_terminated) store<Unit>(at, static_cast<std::size_t>(text.count), 0);
  if (place.is_padded) {
    std::memset(at + text.count, static_cast<int>(to.page.blank[0]),
                static_cast<std::size_t>(place.capacity - text.count));
  }
  if (place.is_prefixed)
    store(slot, 0, static_cast<std::uint16_t>(text.count * static_cast<std::int32_t>(sizeof(Unit))));
}

template <class Unit, bool from_page, bool into_page>
std::int32_t convert_text(const ZVRTPlan& plan, const Rows& rows) {
  const Type& from = plan.from.type;
  const TextSlot place = text_slot(plan.to.type);
  Characters text;
  for (std::int32_t i = 0; i < rows.count; ++i) {
    const std::byte* const at = rows.source + i * rows.source_stride;
    const std::int32_t length = source_length(from, rows, at, i);
    if (length < 0 || !read_characters<from_page>(from, at, length, text)) return i;
    const std::int32_t bytes = text.count * static_cast<std::int32_t>(sizeof(Unit));
    if (bytes > place.capacity) return i;
    const bool has_zero = std::memchr(text.at, 0, static_cast<std::size_t>(text.count)) != nullptr;
    if (place.is_terminated && has_zero) return i;
    store_characters<Unit, into_page>(plan, place, text, rows.target + i * rows.target_stride);
    rows.lengths[i] = bytes;
  }
  return rows.count;
}

}  // namespace

const DirectKernels direct_kernels_baseline{
    .packed_to_int64 = convert_any_packed<false>,
    .packed_to_decimal = convert_any_packed<true>,
    .page_to_narrow = convert_text<std::uint8_t, true, false>,
    .page_to_wide = convert_text<Wide, true, false>,
    .utf8_to_page = convert_text<std::uint8_t, false, true>,
    .utf8_to_wide = convert_text<Wide, false, false>,
    .wide_to_page = nullptr,
};

}  // namespace zvrt::columns
