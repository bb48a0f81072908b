// Text of every encoding into the canonical form.
#include <algorithm>
#include <cstring>

#include "columns/text.h"
#include "columns/utf_read.h"
#include "encoding/text_kernels.h"

namespace zvrt::columns {

namespace {

bool is_ascii(const std::byte* at, std::int64_t count) {
  std::uint64_t all = 0;
  std::int64_t i = 0;
  for (; i + 8 <= count; i += 8) all |= load<std::uint64_t>(at + i);
  for (; i < count; ++i) all |= static_cast<std::uint64_t>(at[i]);
  return (all & UINT64_C(0x8080808080808080)) == 0;
}

bool substitutes(const Type& type) { return (type.options & ZVRT_PLAN_SUBSTITUTE) != 0; }

// Character by character into UTF-32, at most one per unit of the source. False: the block ends before the value.
template <class Next>
bool decode(const Type& type, Block& block, std::int32_t i, Status malformed, Next next) {
  const Value& value = block.source[i];
  std::byte* const out = room_for(block, i, static_cast<std::size_t>(value.bytes / type.unit) * sizeof(Wide));
  if (out == nullptr) return false;
  std::size_t count = 0;
  for (std::int64_t at = 0; at < value.bytes;) {
    const Character character = next(value.at + at, value.bytes - at);
    if (!character.is_valid && !substitutes(type)) [[unlikely]] {
      block.refuse(i, malformed, {.offset = at, .unit = character.code});
      return true;
    }
    store<Wide>(out, count++, character.is_valid ? character.code : replacement_character);
    at += character.length;
  }
  block.arena->keep(out, count * sizeof(Wide));
  block.text[i] = {out, static_cast<std::int64_t>(count), false, true};
  return tidy_text(type, block, i);
}

template <bool swapped>
bool decode_utf16(const Type& type, Block& block, std::int32_t i) {
  const Value& value = block.source[i];
  const std::int64_t units = value.bytes / 2;
  std::byte* const out = room_for(block, i, static_cast<std::size_t>(units));
  if (out == nullptr) return false;
  std::uint32_t all = 0;
  for (std::int64_t k = 0; k < units; ++k) {
    const auto unit = load<std::uint16_t>(value.at, static_cast<std::size_t>(k));
    const std::uint16_t native = swapped ? __builtin_bswap16(unit) : unit;
    all |= native;
    out[k] = static_cast<std::byte>(native);
  }
  if (all < 0x80) {
    block.text[i] = {out, units, true, true};
    return tidy_text(type, block, i);
  }
  block.arena->keep(out, 0);
  return decode(type, block, i, ZVRT_RC_UNPAIRED_SURROGATE, read_utf16<swapped>);
}

// Reads value after value until the block's end moves before one.
template <class Each>
void read_each(Block& block, Each each) {
  for (std::int32_t i = 0; i < block.count; ++i) {
    if (!block.is_refused(i) && !each(i)) return;
  }
}

// Characters beyond ASCII by a page's tables; the mark of an undefined one is a bit that no character has.
bool decode_wide_table(const Type& type, Block& block, std::int32_t i) {
  const PageTables& tables = *type.page.tables;
  const Value& value = block.source[i];
  std::byte* const out = room_for(block, i, static_cast<std::size_t>(value.bytes) * sizeof(Wide));
  if (out == nullptr) return false;
  std::uint32_t all = 0;
  for (std::int64_t k = 0; k < value.bytes; ++k) {
    const std::uint32_t character = tables.character_of[static_cast<std::size_t>(value.at[k])];
    all |= character;
    store<Wide>(out, static_cast<std::size_t>(k), character);
  }
  if ((all & undefined_character) == 0) {
    block.text[i] = {out, value.bytes, false, true};
    return tidy_text(type, block, i);
  }
  block.arena->keep(out, 0);
  return decode(type, block, i, ZVRT_RC_MALFORMED_TEXT, [&tables](const std::byte* at, std::int64_t) -> Character {
    const std::uint32_t character = tables.character_of[static_cast<std::size_t>(*at)];
    if (character == undefined_character) return {static_cast<std::uint32_t>(*at), 1, false};
    return {character, 1, true};
  });
}

// Of a page's tables: ASCII where all of it is.
bool decode_table(const Type& type, Block& block, std::int32_t i) {
  const PageTables& tables = *type.page.tables;
  const Value& value = block.source[i];
  std::byte* const out = room_for(block, i, static_cast<std::size_t>(value.bytes));
  if (out == nullptr) return false;
  std::uint32_t all = 0;
  for (std::int64_t k = 0; k < value.bytes; ++k) {
    const std::uint8_t ascii = tables.ascii_of[static_cast<std::size_t>(value.at[k])];
    all |= ascii;
    out[k] = static_cast<std::byte>(ascii);
  }
  if (all < 0x80) [[likely]] {
    block.text[i] = {out, value.bytes, true, true};
    return tidy_text(type, block, i);
  }
  block.arena->keep(out, 0);
  return decode_wide_table(type, block, i);
}

bool is_wide_ascii(const std::byte* at, std::int64_t count) {
  std::uint32_t all = 0;
  for (std::int64_t k = 0; k < count; ++k) all |= load<Wide>(at, static_cast<std::size_t>(k));
  return all < 0x80;
}

// Characters at once, without a branch per character: whether one is none, and what they are in UTF-8.
struct Survey {
  std::int64_t utf8_bytes;  // of text that is well-formed
  bool is_valid;
};

Survey survey(const std::byte* at, std::int64_t count) {
  std::uint32_t bad = 0;
  std::uint32_t extra = 0;
  for (std::int64_t k = 0; k < count; ++k) {
    const auto c = load<Wide>(at, static_cast<std::size_t>(k));
    bad |= static_cast<std::uint32_t>((c & 0xFFFFF800) == 0xD800) | static_cast<std::uint32_t>(c > 0x10FFFF);
    extra += static_cast<std::uint32_t>(c > 0x7F) + static_cast<std::uint32_t>(c > 0x7FF) +
             static_cast<std::uint32_t>(c > 0xFFFF);
  }
  return {count + extra, bad == 0};
}

// The transcoding kernels take overlong forms, surrogates and what lies above Unicode as well. Text without any of them
// comes back with characters that are valid and take as many bytes as were read.
bool decode_utf8_at_once(const Type& type, Block& block, std::int32_t i, bool& goes_on) {
  const Value& value = block.source[i];
  const auto count = static_cast<std::size_t>(value.bytes);
  std::byte* const out = block.arena->take(count * sizeof(Wide));
  if (out == nullptr) return false;
  const Progress progress = text_kernels.decode(reinterpret_cast<const char*>(value.at), count, out, count);
  const auto written = static_cast<std::int64_t>(progress.written);
  const Survey found = survey(out, written);
  const bool is_good = progress.read == count && found.is_valid && found.utf8_bytes == value.bytes;
  block.arena->keep(out, is_good ? progress.written * sizeof(Wide) : 0);
  if (!is_good) return false;
  block.text[i] = {out, written, false, true};
  goes_on = tidy_text(type, block, i);
  return true;
}

bool decode_utf8(const Type& type, Block& block, std::int32_t i) {
  bool goes_on = true;
  if (decode_utf8_at_once(type, block, i, goes_on)) return goes_on;
  return decode(type, block, i, ZVRT_RC_MALFORMED_UTF8, read_utf8);
}

// ASCII in four bytes each to one byte each.
bool narrow_ascii(const Type& type, Block& block, std::int32_t i, std::int64_t count) {
  std::byte* const out = room_for(block, i, static_cast<std::size_t>(count));
  if (out == nullptr) return false;
  const std::byte* const at = block.source[i].at;
  for (std::int64_t k = 0; k < count; ++k) {
    out[k] = static_cast<std::byte>(load<Wide>(at, static_cast<std::size_t>(k)));
  }
  block.text[i] = {out, count, true, true};
  return tidy_text(type, block, i);
}

// Wide text stays where it is: it needs checking only.
bool check_wide(const Type& type, Block& block, std::int32_t i) {
  const Value& value = block.source[i];
  const std::int64_t count = value.bytes / 4;
  if (is_wide_ascii(value.at, count)) return narrow_ascii(type, block, i, count);
  if (survey(value.at, count).is_valid) {
    block.text[i] = {value.at, count, false, false};
    return tidy_text(type, block, i);
  }
  for (std::int64_t k = 0; k < count; ++k) {
    const Character character = read_utf32(value.at + k * 4, 4);
    if (character.is_valid) [[likely]]
      continue;
    const Status status = character.code > 0x10FFFF ? ZVRT_RC_INVALID_CODE_POINT : ZVRT_RC_UNPAIRED_SURROGATE;
    if (substitutes(type)) return decode(type, block, i, status, read_utf32);
    block.refuse(i, status, {.offset = k * 4, .unit = character.code});
    return true;
  }
  return true;
}

bool is_blank(const Type& type, std::uint32_t character) {
  return character == 0x20 || (character == 0x3000 && type.has(ZVRT_TYPE_TRIM_WIDE));
}

void trim(const Type& type, Text& text) {
  if (type.has(ZVRT_TYPE_TRIM)) {
    while (text.count > 0 && is_blank(type, text[text.count - 1])) --text.count;
  }
  if (type.has(ZVRT_TYPE_TRIM_LEFT)) {
    std::int64_t first = 0;
    while (first < text.count && is_blank(type, text[first])) ++first;
    text.at += first * (text.is_ascii ? 1 : 4);
    text.count -= first;
  }
}

bool has_zero(const Text& text) {
  if (text.is_ascii) return std::memchr(text.at, 0, static_cast<std::size_t>(text.count)) != nullptr;
  for (std::int64_t k = 0; k < text.count; ++k) {
    if (text[k] == 0) return true;
  }
  return false;
}

// Low-values become blanks, in a copy where the text is still the caller's.
bool blank_zeros(Block& block, std::int32_t i) {
  Text& text = block.text[i];
  const std::size_t unit = text.is_ascii ? 1 : sizeof(Wide);
  const std::size_t bytes = static_cast<std::size_t>(text.count) * unit;
  const std::byte* const from = text.at;
  std::byte* const out = room_for(block, i, bytes);
  if (out == nullptr) return false;
  std::memcpy(out, from, bytes);
  for (std::int64_t k = 0; k < text.count; ++k) {
    if (text[k] != 0) continue;
    if (text.is_ascii) {
      out[k] = std::byte{0x20};
    } else {
      store<Wide>(out, static_cast<std::size_t>(k), 0x20);
    }
  }
  text.at = out;
  text.is_own = true;
  return true;
}

}  // namespace

bool tidy_text(const Type& type, Block& block, std::int32_t i) {
  if (type.has(ZVRT_TYPE_LOW_AS_BLANK) && has_zero(block.text[i]) && !blank_zeros(block, i)) return false;
  trim(type, block.text[i]);
  return true;
}

void read_utf8_text(const Type& type, Block& block) {
  read_each(block, [&](std::int32_t i) {
    const Value& value = block.source[i];
    if (!is_ascii(value.at, value.bytes)) return decode_utf8(type, block, i);
    block.text[i] = {value.at, value.bytes, true, false};
    return tidy_text(type, block, i);
  });
}

void read_table_text(const Type& type, Block& block) {
  read_each(block, [&](std::int32_t i) { return decode_table(type, block, i); });
}

void read_utf16_text(const Type& type, Block& block) {
  const bool swapped = type.is_swapped();
  read_each(block, [&](std::int32_t i) {
    return swapped ? decode_utf16<true>(type, block, i) : decode_utf16<false>(type, block, i);
  });
}

void read_wide_text(const Type& type, Block& block) {
  read_each(block, [&](std::int32_t i) { return check_wide(type, block, i); });
}

Read* text_reader(const Type& type) {
  if (type.unit == 2) return read_utf16_text;
  if (type.unit == 4) return read_wide_text;
  if (type.page.how == PageKind::utf8) return read_utf8_text;
  return type.page.how == PageKind::table ? read_table_text : read_service_text;
}

}  // namespace zvrt::columns
