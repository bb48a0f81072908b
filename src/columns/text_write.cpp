// The canonical form of text into every encoding, and into its slot.
//
// A text is encoded in full before the slot is touched: over itself where it stands in the arena (no character becomes
// longer than its four bytes), else in the arena's scratch. ASCII, which cannot fail, goes straight into the slot.
#include <algorithm>
#include <cstring>

#include "columns/text.h"
#include "encoding/text_kernels.h"

namespace zvrt::columns {

namespace {

struct Encoded {
  const std::byte* at;
  std::int64_t bytes;
};

// Where a text may be encoded; null for want of memory.
std::byte* encoding_room(Block& block, const Text& text) {
  if (text.is_own) return const_cast<std::byte*>(text.at);  // NOLINT(cppcoreguidelines-pro-type-const-cast)
  return block.arena->scratch(static_cast<std::size_t>(text.count) * (text.is_ascii ? 1 : 4));
}

// Encodes character after character; `put` returns the bytes written, 0 for a character that the target lacks.
template <class Put>
bool encode(Block& block, std::int32_t i, Encoded& encoded, Put put) {
  const Text& text = block.text[i];
  std::byte* const out = encoding_room(block, text);
  if (out == nullptr) {
    block.failure = ZVRT_RC_NO_MEMORY;
    return false;
  }
  std::byte* at = out;
  for (std::int64_t k = 0; k < text.count; ++k) {
    const std::uint32_t character = text[k];
    const std::int32_t length = put(at, character);
    if (length == 0) [[unlikely]] {
      block.refuse(i, ZVRT_RC_NOT_IN_CODE_PAGE, {.character = k, .unit = character});
      return false;
    }
    at += length;
  }
  encoded = {out, at - out};
  return true;
}

std::int32_t put_utf8(std::byte* at, std::uint32_t code) {
  if (code < 0x80) {
    *at = static_cast<std::byte>(code);
    return 1;
  }
  const std::int32_t follow = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
  for (std::int32_t i = follow; i > 0; --i) {
    at[i] = static_cast<std::byte>(0x80 | (code & 0x3F));
    code >>= 6;
  }
  constexpr std::uint32_t marks[] = {0, 0xC0, 0xE0, 0xF0};
  *at = static_cast<std::byte>(marks[follow] | code);
  return follow + 1;
}

template <bool swapped>
std::int32_t put_utf16(std::byte* at, std::uint32_t code) {
  const auto unit = [](std::uint32_t value) {
    const auto native = static_cast<std::uint16_t>(value);
    return swapped ? __builtin_bswap16(native) : native;
  };
  if (code < 0x10000) {
    store<std::uint16_t>(at, 0, unit(code));
    return 2;
  }
  store<std::uint16_t>(at, 0, unit(0xD7C0 + (code >> 10)));
  store<std::uint16_t>(at, 1, unit(0xDC00 + (code & 0x3FF)));
  return 4;
}

// The longest part of an encoded text that ends with a character.
template <std::int32_t unit>
std::int64_t whole_characters(const Type& type, const std::byte* bytes, std::int64_t room) {
  std::int64_t end = room - room % unit;
  if (unit == 1 && type.page.is_utf8()) {
    while (end > 0 && (static_cast<std::uint8_t>(bytes[end]) & 0xC0) == 0x80) --end;
  } else if (unit == 2 && end > 0) {
    const auto last = load<std::uint16_t>(bytes + end - 2);
    const std::uint32_t native = type.is_swapped() ? __builtin_bswap16(last) : last;
    if (native >= 0xD800 && native <= 0xDBFF) end -= 2;
  }
  return end;
}

std::int64_t cut_length(const Type& type, const std::byte* bytes, std::int64_t room) {
  if (type.unit == 2) return whole_characters<2>(type, bytes, room);
  return type.unit == 4 ? whole_characters<4>(type, bytes, room) : whole_characters<1>(type, bytes, room);
}

void write_blank(const Type& type, std::byte* at, std::int64_t bytes) {
  const std::uint16_t narrow = type.is_swapped() ? 0x2000 : 0x20;
  const Wide wide = 0x20;
  std::array<std::byte, 4> blank = type.page.blank;
  std::int64_t length = type.page.blank_bytes;
  if (type.unit > 1) {
    length = type.unit;
    std::memcpy(blank.data(), type.unit == 2 ? static_cast<const void*>(&narrow) : &wide, type.unit);
  }
  if (length == 1) {
    std::memset(at, static_cast<int>(blank[0]), static_cast<std::size_t>(bytes));
    return;
  }
  for (; length > 0 && bytes >= length; bytes -= length, at += length) {
    std::memcpy(at, blank.data(), static_cast<std::size_t>(length));
  }
}

// The part of a value that fits its slot, stored there by `put_bytes(at, bytes)`, and all that stands around it.
template <class Cut, class PutBytes>
void fill_slot(const Type& type, Block& block, std::int32_t i, std::int64_t bytes, Cut cut, PutBytes put_bytes) {
  const Room room = room_of(type, block.slot[i]);
  std::int64_t placed = bytes;
  if (bytes > room.bytes) [[unlikely]] {
    block.refuse(i, ZVRT_RC_TRUNCATED);
    block.length[i] = bytes;
    if ((type.options & ZVRT_PLAN_CUT_TEXT) == 0 || room.bytes < 0) return;
    placed = cut(room.bytes);
  }
  if (type.has(ZVRT_TYPE_PAD_LEFT)) {
    write_blank(type, room.at, room.bytes - placed);
    put_bytes(room.at + (room.bytes - placed), placed);
  } else {
    put_bytes(room.at, placed);
    close_slot(type, block, i, placed);
  }
  block.length[i] = bytes;
}

// ASCII straight into the slot: one unit per character, none of which can fail.
template <class Unit, class UnitOf>
void place_ascii(const Type& type, Block& block, std::int32_t i, UnitOf unit_of) {
  constexpr auto unit = static_cast<std::int64_t>(sizeof(Unit));
  const Text text = block.text[i];
  fill_slot(
      type, block, i, text.count * unit, [](std::int64_t room) { return room - room % unit; },
      [&](std::byte* to, std::int64_t bytes) {
        for (std::int64_t k = 0; k < bytes / unit; ++k) {
          store<Unit>(to, static_cast<std::size_t>(k), unit_of(static_cast<std::uint8_t>(text.at[k])));
        }
      });
}

// Writes value after value until memory is short.
template <class Each>
void write_each(const Type& type, Block& block, Each each) {
  for (std::int32_t i = 0; i < block.count; ++i) {
    if (block.is_refused(i) || refuse_zero(type, block, i)) continue;
    each(i);
    if (block.failure != ZVRT_RC_OK) [[unlikely]] {
      block.count = i;
      return;
    }
  }
}

std::int64_t find_zero(const Text& text) {
  if (text.is_ascii) {
    const void* const found = std::memchr(text.at, 0, static_cast<std::size_t>(text.count));
    return found == nullptr ? -1 : static_cast<const std::byte*>(found) - text.at;
  }
  for (std::int64_t k = 0; k < text.count; ++k) {
    if (text[k] == 0) return k;
  }
  return -1;
}

std::int64_t count_utf8(const Text& text) {
  std::uint32_t extra = 0;
  for (std::int64_t k = 0; k < text.count; ++k) {
    const auto c = load<Wide>(text.at, static_cast<std::size_t>(k));
    extra += static_cast<std::uint32_t>(c > 0x7F) + static_cast<std::uint32_t>(c > 0x7FF) +
             static_cast<std::uint32_t>(c > 0xFFFF);
  }
  return text.count + extra;
}

// Straight into the slot, which holds all of it. The kernel stops before a zero character.
void encode_utf8(const Text& text, std::byte* at, std::int64_t bytes) {
  const Progress progress = text_kernels.encode(text.at, static_cast<std::size_t>(text.count),
                                                reinterpret_cast<char*>(at), static_cast<std::size_t>(bytes));
  at += progress.written;
  for (std::size_t k = progress.read; k < static_cast<std::size_t>(text.count); ++k) {
    at += put_utf8(at, load<Wide>(text.at, k));
  }
}

// The kernel stops before a zero character.
void widen_ascii(const Text& text, std::byte* to) {
  const auto count = static_cast<std::size_t>(text.count);
  const Progress progress = text_kernels.decode(reinterpret_cast<const char*>(text.at), count, to, count);
  for (std::size_t k = progress.read; k < count; ++k) store<Wide>(to, k, static_cast<Wide>(text.at[k]));
}

}  // namespace

bool refuse_zero(const Type& type, Block& block, std::int32_t i) {
  if (type.extent != Extent::terminated) return false;
  const std::int64_t at = find_zero(block.text[i]);
  if (at < 0) return false;
  block.refuse(i, ZVRT_RC_INVALID_VALUE, {.character = at});
  return true;
}

Room room_of(const Type& type, std::byte* slot) {
  constexpr std::int64_t longest_prefixed = 32767;  // readers take the prefix as signed
  const std::int64_t bytes = type.length - overhead(type);
  if (type.extent != Extent::prefixed) return {slot, bytes};
  return {slot + 2, std::min(bytes, longest_prefixed)};
}

void close_slot(const Type& type, Block& block, std::int32_t i, std::int64_t bytes) {
  std::byte* const slot = block.slot[i];
  block.length[i] = bytes;
  if (type.extent == Extent::prefixed) {
    store<std::uint16_t>(slot, 0, static_cast<std::uint16_t>(bytes));
  } else if (type.extent == Extent::terminated) {
    std::memset(slot + bytes, 0, type.unit);
  } else if (type.has(ZVRT_TYPE_PAD)) {
    write_blank(type, slot + bytes, type.length - bytes);
  }
}

void place_text(const Type& type, Block& block, std::int32_t i, const std::byte* bytes, std::int64_t count) {
  fill_slot(
      type, block, i, count, [&](std::int64_t room) { return cut_length(type, bytes, room); },
      [bytes](std::byte* to, std::int64_t placed) { std::memcpy(to, bytes, static_cast<std::size_t>(placed)); });
}

void write_utf8_text(const Type& type, Block& block) {
  write_each(type, block, [&](std::int32_t i) {
    const Text& text = block.text[i];
    if (text.is_ascii) return place_text(type, block, i, text.at, text.count);
    const std::int64_t bytes = count_utf8(text);
    const Room room = room_of(type, block.slot[i]);
    if (bytes <= room.bytes && !type.has(ZVRT_TYPE_PAD_LEFT)) {
      encode_utf8(text, room.at, bytes);
      return close_slot(type, block, i, bytes);
    }
    Encoded encoded{};
    if (encode(block, i, encoded, put_utf8)) place_text(type, block, i, encoded.at, encoded.bytes);
  });
}

void write_table_text(const Type& type, Block& block) {
  const PageTables& tables = *type.page.tables;
  std::uint8_t substitute = 0;
  const bool substitutes =
      (type.options & ZVRT_PLAN_SUBSTITUTE) != 0 && tables.find_code(substitute_character, substitute);
  const auto put = [&](std::byte* at, std::uint32_t character) {
    std::uint8_t code = substitute;
    const bool found = tables.find_code(character, code);
    *at = static_cast<std::byte>(found ? code : substitute);
    return found || substitutes ? 1 : 0;
  };
  write_each(type, block, [&](std::int32_t i) {
    if (block.text[i].is_ascii && tables.has_all_ascii) {
      return place_ascii<std::uint8_t>(type, block, i, [&](std::uint8_t c) { return tables.code_of_ascii[c]; });
    }
    Encoded encoded{};
    if (encode(block, i, encoded, put)) place_text(type, block, i, encoded.at, encoded.bytes);
  });
}

template <bool swapped>
void write_utf16(const Type& type, Block& block) {
  write_each(type, block, [&](std::int32_t i) {
    if (block.text[i].is_ascii) {
      return place_ascii<std::uint16_t>(
          type, block, i, [](std::uint8_t c) { return static_cast<std::uint16_t>(swapped ? c << 8 : c); });
    }
    Encoded encoded{};
    if (encode(block, i, encoded, put_utf16<swapped>)) place_text(type, block, i, encoded.at, encoded.bytes);
  });
}

void write_utf16_text(const Type& type, Block& block) {
  type.is_swapped() ? write_utf16<true>(type, block) : write_utf16<false>(type, block);
}

void write_wide_text(const Type& type, Block& block) {
  write_each(type, block, [&](std::int32_t i) {
    const Text& text = block.text[i];
    const Room room = room_of(type, block.slot[i]);
    if (text.is_ascii && text.count * 4 <= room.bytes && !type.has(ZVRT_TYPE_PAD_LEFT)) {
      widen_ascii(text, room.at);
      return close_slot(type, block, i, text.count * 4);
    }
    if (text.is_ascii) return place_ascii<Wide>(type, block, i, [](std::uint8_t c) { return Wide{c}; });
    place_text(type, block, i, text.at, text.count * 4);
  });
}

Write* text_writer(const Type& type) {
  if (type.unit == 2) return write_utf16_text;
  if (type.unit == 4) return write_wide_text;
  if (type.page.how == PageKind::utf8) return write_utf8_text;
  return type.page.how == PageKind::table ? write_table_text : write_service_text;
}

}  // namespace zvrt::columns
