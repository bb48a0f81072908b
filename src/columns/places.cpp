#include "columns/places.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>

namespace zvrt::columns {

namespace {

bool is_entry_size(std::uint8_t bytes) { return bytes == 2 || bytes == 4 || bytes == 8; }

bool check_entries(void* at, std::int64_t stride, std::uint8_t bytes, Entries& entries) {
  if (at == nullptr) return bytes == 0 || is_entry_size(bytes);
  if (!is_entry_size(bytes)) return false;
  entries = {static_cast<std::byte*>(at), stride == 0 ? bytes : stride, bytes};
  return true;
}

// Bytes up to the terminator, -1 where there is none within `limit`; a limit of 0 is none.
std::int64_t find_end(const std::byte* at, std::int64_t limit, std::size_t unit) {
  const auto* const text = reinterpret_cast<const char*>(at);
  if (unit == 1) {
    const void* const end = limit > 0 ? std::memchr(at, 0, static_cast<std::size_t>(limit)) : std::strchr(text, 0);
    return end == nullptr ? -1 : static_cast<const std::byte*>(end) - at;
  }
  if (unit == 4) {
    if (limit == 0) return std::int64_t{length_of(static_cast<const void*>(at))} * 4;
    const auto units = static_cast<std::int32_t>(limit / 4);
    const std::int32_t found = length_within(static_cast<const void*>(at), units);
    return found == units ? -1 : std::int64_t{found} * 4;
  }
  const std::int64_t units = limit > 0 ? limit / 2 : std::numeric_limits<std::int64_t>::max();
  for (std::int64_t k = 0; k < units; ++k) {
    if (load<std::uint16_t>(at, static_cast<std::size_t>(k)) == 0) return k * 2;
  }
  return -1;
}

Content refuse(Status why, Status& status) {
  status = why;
  return Content::refused;
}

Content measure_terminated(const Type& type, const std::byte* slot, Value& value, Status& status) {
  value = {slot, find_end(slot, type.length, type.unit)};
  return value.bytes < 0 ? refuse(ZVRT_RC_NOT_TERMINATED, status) : Content::value;
}

Content measure_prefixed(const Type& type, const std::byte* slot, Value& value, Status& status) {
  value = {slot + 2, load<std::uint16_t>(slot)};
  const bool is_good = value.bytes <= type.length - 2 && value.bytes <= 32767 && value.bytes % type.unit == 0;
  return is_good ? Content::value : refuse(ZVRT_RC_INVALID_LENGTH, status);
}

Content measure_counted(const Type& type, const std::byte* slot, std::int64_t given, Value& value, Status& status) {
  value = {slot, given == not_given ? type.length : given};
  const bool is_good = (type.length == 0 || value.bytes <= type.length) && value.bytes % type.unit == 0;
  return is_good && value.bytes <= INT32_MAX ? Content::value : refuse(ZVRT_RC_INVALID_LENGTH, status);
}

// A number says its own length.
Content measure_varnum(const Type& type, const std::byte* slot, Value& value, Status& status) {
  value = {slot, static_cast<std::int64_t>(*slot) + 1};
  return value.bytes <= type.length ? Content::value : refuse(ZVRT_RC_INVALID_VALUE, status);
}

// --- Nulls that stand in the slot ---

bool is_filled(const Value& value, std::uint8_t byte) {
  const auto* const end = value.at + value.bytes;
  return std::all_of(value.at, end, [byte](std::byte each) { return each == std::byte{byte}; });
}

// A repeated unit of several bytes; an odd rest makes it none.
bool is_repeated(const Value& value, const std::byte* unit, std::int64_t bytes) {
  if (bytes == 1) return is_filled(value, static_cast<std::uint8_t>(*unit));
  if (value.bytes % bytes != 0) return false;
  for (std::int64_t i = 0; i < value.bytes; i += bytes) {
    if (std::memcmp(value.at + i, unit, static_cast<std::size_t>(bytes)) != 0) return false;
  }
  return true;
}

// A blank or a digit 0 in the slot's encoding.
struct Unit {
  std::byte bytes[4];
  std::int64_t length;
};

Unit wide_unit(const Type& type, std::uint32_t character) {
  Unit unit{{}, type.unit};
  if (type.unit == 4) {
    std::memcpy(unit.bytes, &character, 4);
  } else {
    const auto narrow = static_cast<std::uint16_t>(character);
    const std::uint16_t stored = type.is_swapped() ? __builtin_bswap16(narrow) : narrow;
    std::memcpy(unit.bytes, &stored, 2);
  }
  return unit;
}

Unit blank_of(const Type& type) {
  if (type.unit > 1) return wide_unit(type, 0x20);
  Unit unit{{}, std::max<std::int64_t>(type.page.blank_bytes, 1)};
  std::memcpy(unit.bytes, type.page.blank.data(), 4);
  return unit;
}

Unit zero_of(const Type& type) {
  if (type.unit > 1) return wide_unit(type, '0');
  Unit unit{{std::byte{'0'}}, 1};
  if (type.page.how == PageKind::table) unit.bytes[0] = static_cast<std::byte>(type.page.tables->code_of_ascii['0']);
  if (type.page.how != PageKind::service) return unit;
  unit.length = std::max<std::int64_t>(type.page.zero_bytes, 1);
  std::memcpy(unit.bytes, type.page.zero.data(), 4);
  return unit;
}

// The digits of a number that is zero, its sign whatever it is.
bool is_zero_number(const Type& type, const Value& value) {
  const auto byte = [&value](std::int64_t i) { return static_cast<std::uint32_t>(value.at[i]); };
  const std::int64_t last = value.bytes - 1;
  if (type.kind == ZVRT_KIND_PACKED && !type.has(ZVRT_TYPE_NO_SIGN)) {
    return is_filled({value.at, last}, 0) && byte(last) >> 4 == 0 && (byte(last) & 0xF) > 9;
  }
  if (type.kind != ZVRT_KIND_ZONED) return is_filled(value, 0);
  const bool leads = type.has(ZVRT_TYPE_SIGN_LEADING);
  const std::int64_t sign = leads ? 0 : last;
  const auto zero = std::byte{static_cast<std::uint8_t>(type.has(ZVRT_TYPE_ASCII) ? 0x30 : 0xF0)};
  for (std::int64_t i = 0; i < value.bytes; ++i) {
    if (i == sign && type.has(ZVRT_TYPE_SIGN_SEPARATE)) {
      const bool is_sign =
          type.has(ZVRT_TYPE_ASCII) ? byte(i) == 0x2B || byte(i) == 0x2D : byte(i) == 0x4E || byte(i) == 0x60;
      if (!is_sign) return false;
      continue;
    }
    const std::uint32_t zone = byte(i) & 0xF0;
    const bool is_signed_zero = type.has(ZVRT_TYPE_ASCII) ? zone == 0x30 || zone == 0x70 : zone >= 0xA0;
    if (i == sign ? (byte(i) & 0xF) != 0 || !is_signed_zero : value.at[i] != zero) return false;
  }
  return true;
}

bool is_zeros(const Type& type, const Value& value) {
  if (type.form != Form::text) return is_zero_number(type, value);
  const Unit zero = zero_of(type);
  return is_repeated(value, zero.bytes, zero.length);
}

bool is_null_form(const Type& type, const Value& value) {
  if (value.bytes == 0) return false;
  if (type.has(ZVRT_TYPE_NULL_LOW) && is_filled(value, 0)) return true;
  if (type.has(ZVRT_TYPE_NULL_HIGH) && is_filled(value, 0xFF)) return true;
  if (type.has(ZVRT_TYPE_NULL_ZEROS) && is_zeros(type, value)) return true;
  if (!type.has(ZVRT_TYPE_NULL_BLANKS)) return false;
  const Unit blank = blank_of(type);
  return is_repeated(value, blank.bytes, blank.length);
}

void fill_units(std::byte* slot, std::int64_t bytes, const Unit& unit) {
  for (std::int64_t i = 0; i + unit.length <= bytes; i += unit.length) {
    std::memcpy(slot + i, unit.bytes, static_cast<std::size_t>(unit.length));
  }
}

void write_zero(const Type& type, std::byte* slot) {
  const auto length = static_cast<std::size_t>(type.length);
  if (type.form == Form::text) return fill_units(slot, type.length, zero_of(type));
  const bool is_unsigned = type.has(ZVRT_TYPE_UNSIGNED);
  if (type.kind == ZVRT_KIND_ZONED) {
    const bool is_ascii = type.has(ZVRT_TYPE_ASCII);
    std::memset(slot, is_ascii ? 0x30 : 0xF0, length);
    std::byte& sign = slot[type.has(ZVRT_TYPE_SIGN_LEADING) ? 0 : length - 1];
    if (type.has(ZVRT_TYPE_SIGN_SEPARATE)) {
      sign = std::byte{static_cast<std::uint8_t>(is_ascii ? 0x2B : 0x4E)};
    } else if (!is_ascii && !is_unsigned) {
      sign = std::byte{0xC0};
    }
    return;
  }
  std::memset(slot, 0, length);
  if (type.kind == ZVRT_KIND_PACKED && !type.has(ZVRT_TYPE_NO_SIGN)) {
    slot[length - 1] = std::byte{static_cast<std::uint8_t>(is_unsigned ? 0x0F : 0x0C)};
  }
}

}  // namespace

void Entries::store(std::int64_t row, std::int64_t value) const {
  std::byte* const entry = at + row * stride;
  switch (bytes) {
    case 2:
      return zvrt::store<std::int16_t>(entry, 0, static_cast<std::int16_t>(std::min<std::int64_t>(value, INT16_MAX)));
    case 4:
      return zvrt::store<std::int32_t>(entry, 0, static_cast<std::int32_t>(std::min<std::int64_t>(value, INT32_MAX)));
    default: return zvrt::store<std::int64_t>(entry, 0, value);
  }
}

Entries status_entries(const ZVRTArray& array) {
  constexpr std::int32_t bytes = sizeof(Status);
  if (array.status == nullptr) return {};
  return {reinterpret_cast<std::byte*>(array.status), array.statusStride == 0 ? bytes : array.statusStride, bytes};
}

Status check_places(const ZVRTArray& array, const Type& type, Role role, std::int64_t count, Places& places) {
  if (count < 0) return ZVRT_RC_INVALID_LENGTH;
  if (array.reserved[0] != 0 || array.reserved[1] != 0) return ZVRT_RC_INVALID_TYPE;
  if (!check_entries(array.lengths, array.lengthStride, array.lengthBytes, places.lengths)) return ZVRT_RC_INVALID_TYPE;
  if (!check_entries(array.indicators, array.indicatorStride, array.indicatorBytes, places.indicators)) {
    return ZVRT_RC_INVALID_TYPE;
  }
  if (array.data == nullptr && count > 0) return ZVRT_RC_ERROR;
  places.data = static_cast<std::byte*>(array.data);
  places.stride = array.stride;
  places.starts = array.starts;
  places.is_one_array = array.lengths != nullptr && array.lengths == array.indicators;
  if (role == Role::source) {
    places.select = array.select;
    // Nothing else bounds a counted value without a length of its own.
    const bool is_bounded = type.length > 0 || type.extent != Extent::counted || array.lengths != nullptr;
    return is_bounded ? ZVRT_RC_OK : ZVRT_RC_INVALID_TYPE;
  }
  places.status = status_entries(array);
  if (array.stride == 0 && array.starts == nullptr && count > 1) return ZVRT_RC_INVALID_TYPE;
  // Lengths that an entry cannot hold would be told wrong.
  return places.lengths.bytes == 2 && type.length > INT16_MAX ? ZVRT_RC_INVALID_TYPE : ZVRT_RC_OK;
}

Content measure(const Type& type, const std::byte* slot, std::int64_t given, Value& value, Status& status) {
  if (given < 0 && given != not_given && given != ZVRT_TERMINATED) return refuse(ZVRT_RC_INVALID_LENGTH, status);
  switch (type.extent) {
    case Extent::fixed: value = {slot, type.length}; return Content::value;
    case Extent::prefixed: return measure_prefixed(type, slot, value, status);
    case Extent::varnum: return measure_varnum(type, slot, value, status);
    case Extent::terminated:
      return given < 0 ? measure_terminated(type, slot, value, status)
                       : measure_counted(type, slot, given, value, status);
    case Extent::counted: break;
  }
  return given == ZVRT_TERMINATED ? measure_terminated(type, slot, value, status)
                                  : measure_counted(type, slot, given, value, status);
}

Content find_null_form(const Type& type, const Value& value) {
  return type.has_null_form() && is_null_form(type, value) ? Content::null : Content::value;
}

void find_null_starts(const Type& type, FirstBytes& bytes) {
  const auto add = [&bytes](std::byte byte) { bytes[static_cast<std::size_t>(byte)] = true; };
  bytes.fill(type.has(ZVRT_TYPE_NULL_ZEROS) && type.form != Form::text);
  if (type.has(ZVRT_TYPE_NULL_ZEROS)) add(zero_of(type).bytes[0]);
  if (type.has(ZVRT_TYPE_NULL_LOW)) add(std::byte{0});
  if (type.has(ZVRT_TYPE_NULL_HIGH)) add(std::byte{0xFF});
  if (type.has(ZVRT_TYPE_NULL_BLANKS)) add(blank_of(type).bytes[0]);
}

Content find_value(const Type& type, const Places& places, std::int64_t row, Value& value, Status& status) {
  std::int64_t given = not_given;
  if (places.lengths.at != nullptr) {
    given = places.lengths.load(row);
    if (given == ZVRT_NULL_DATA) return Content::null;
  }
  if (places.indicators.at != nullptr && !places.is_one_array && places.indicators.load(row) < 0) return Content::null;
  const Content content = measure(type, places.slot(row), given, value, status);
  return content == Content::value ? find_null_form(type, value) : content;
}

void write_null_form(const Type& type, std::byte* slot) {
  if (type.has(ZVRT_TYPE_NULL_BLANKS)) return fill_units(slot, type.length, blank_of(type));
  if (type.has(ZVRT_TYPE_NULL_ZEROS)) return write_zero(type, slot);
  std::memset(slot, type.has(ZVRT_TYPE_NULL_LOW) ? 0 : 0xFF, static_cast<std::size_t>(type.length));
}

}  // namespace zvrt::columns
