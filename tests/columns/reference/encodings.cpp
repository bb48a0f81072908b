#include "encodings.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>

#include "platform/icu_pages.h"
#include "platform/icu_reference.h"

namespace zvrt_reference {
namespace {

using zvrt_test::IcuReference;

constexpr char32_t replacement = 0xFFFD;
constexpr char shift_out = '\x0E', shift_in = '\x0F';

const IcuReference& page_of(const ZVRTType& type) {
  static std::map<std::pair<std::uint32_t, char>, std::unique_ptr<IcuReference>> pages;
  std::unique_ptr<IcuReference>& page = pages[{type.codePage, type.codePageKind}];
  if (page == nullptr) {
    const auto found =
        std::find_if(std::begin(zvrt_test::icu_pages), std::end(zvrt_test::icu_pages),
                     [&](const auto& p) { return p.number == type.codePage && p.kind == type.codePageKind; });
    page = std::make_unique<IcuReference>(found->icu);
  }
  return *page;
}

// A page whose characters of two bytes stand between shifts.
bool has_shifts(const ZVRTType& type) { return page_of(type).encode(U"\u3042").value_or("").starts_with(shift_out); }

// Character by character, by the fewest bytes that are one; what is none becomes U+FFFD.
std::u32string decode_mending(const ZVRTType& type, const std::string& bytes) {
  std::u32string text;
  const bool shifts = has_shifts(type);
  bool shifted = false;
  for (std::size_t at = 0; at < bytes.size();) {
    if (shifts && (bytes[at] == shift_out || bytes[at] == shift_in)) {
      shifted = bytes[at++] == shift_out;
      continue;
    }
    const std::size_t left = bytes.size() - at;
    std::u32string found;
    std::size_t size = 1;
    for (; size <= std::min<std::size_t>(left, 4); ++size) {
      found = page_of(type).decode((shifted ? std::string(1, shift_out) : "") + bytes.substr(at, size)).value_or(U"");
      if (!found.empty()) break;
    }
    if (found.empty()) size = shifted ? std::min<std::size_t>(left, 2) : 1;
    text += found.empty() ? std::u32string(1, replacement) : found;
    at += size;
  }
  return text;
}

// One step of decoding: the bytes taken, and the character or why there is none.
struct Step {
  std::size_t taken;
  char32_t character;
  std::uint32_t status = 0;
};

// A malformed sequence ends before the first byte that cannot continue it.
Step utf8_step(const std::string& bytes, std::size_t at) {
  const auto byte = [&](std::size_t i) {
    return at + i < bytes.size() ? static_cast<unsigned char>(bytes[at + i]) : 0U;
  };
  const unsigned lead = byte(0);
  if (lead < 0x80) return {1, lead};
  const std::size_t size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4) return {1, replacement, ZVRT_RC_MALFORMED_UTF8};
  char32_t character = lead & (0xFFU >> (size + 1));
  for (std::size_t i = 1; i < size; ++i) {
    unsigned least = 0x80, most = 0xBF;
    if (i == 1 && lead == 0xE0) least = 0xA0;
    if (i == 1 && lead == 0xED) most = 0x9F;
    if (i == 1 && lead == 0xF0) least = 0x90;
    if (i == 1 && lead == 0xF4) most = 0x8F;
    if (byte(i) < least || byte(i) > most) return {i, replacement, ZVRT_RC_MALFORMED_UTF8};
    character = character << 6 | (byte(i) & 0x3F);
  }
  return {size, character};
}

Step utf16_step(const ZVRTType& type, const std::string& bytes, std::size_t at) {
  const auto unit = [&](std::size_t i) {
    const bool big = is_big_endian(type);
    const auto first = static_cast<unsigned char>(bytes[at + 2 * i]),
               second = static_cast<unsigned char>(bytes[at + 2 * i + 1]);
    return static_cast<char32_t>(big ? first << 8 | second : second << 8 | first);
  };
  const char32_t first = unit(0);
  if (first < 0xD800 || first > 0xDFFF) return {2, first};
  if (first < 0xDC00 && at + 4 <= bytes.size() && unit(1) >= 0xDC00 && unit(1) <= 0xDFFF) {
    return {4, 0x10000 + ((first - 0xD800) << 10) + (unit(1) - 0xDC00)};
  }
  return {2, replacement, ZVRT_RC_UNPAIRED_SURROGATE};
}

Step utf32_step(const std::string& bytes, std::size_t at) {
  char32_t character;
  std::memcpy(&character, bytes.data() + at, 4);
  if (character > 0x10FFFF) return {4, replacement, ZVRT_RC_INVALID_CODE_POINT};
  if (character >= 0xD800 && character <= 0xDFFF) return {4, replacement, ZVRT_RC_UNPAIRED_SURROGATE};
  return {4, character};
}

bool is_utf8(const ZVRTType& type) { return type.codePage == 0 || type.codePage == 1208 || type.codePage == 65001; }

bool is_terminated(std::uint32_t kind) {
  return kind == ZVRT_KIND_VARCHAR_SZ || kind == ZVRT_KIND_WVARCHAR_SZ || kind == ZVRT_KIND_UTF16_SZ;
}

Read decode(const ZVRTType& type, const std::string& bytes, bool substitutes) {
  Read result;
  result.value.form = Form::text;
  if (unit_of(type.kind) == 1 && !is_utf8(type)) {
    const std::optional<std::u32string> text = page_of(type).decode(bytes);
    if (text) result.value.text = *text;
    if (!text && !substitutes) result.status = ZVRT_RC_MALFORMED_TEXT;
    if (!text && substitutes) result.value.text = decode_mending(type, bytes);
    return result;
  }
  for (std::size_t at = 0; at < bytes.size();) {
    const Step step = unit_of(type.kind) == 1   ? utf8_step(bytes, at)
                      : unit_of(type.kind) == 2 ? utf16_step(type, bytes, at)
                                                : utf32_step(bytes, at);
    if (step.status != 0 && !substitutes) return {step.status};
    result.value.text += step.character;
    at += step.taken;
  }
  return result;
}

std::string encode_character(const ZVRTType& type, char32_t c, bool& known) {
  std::string bytes;
  const auto add = [&bytes](char32_t byte) { bytes += static_cast<char>(byte); };
  known = true;
  if (unit_of(type.kind) == 4) return {reinterpret_cast<const char*>(&c), 4};
  if (unit_of(type.kind) == 2) {
    const char32_t units[] = {c < 0x10000 ? c : 0xD800 + ((c - 0x10000) >> 10), 0xDC00 + ((c - 0x10000) & 0x3FF)};
    for (std::size_t i = 0; i < (c < 0x10000 ? 1U : 2U); ++i) {
      const bool big = is_big_endian(type);
      add(big ? units[i] >> 8 & 0xFF : units[i] & 0xFF);
      add(big ? units[i] & 0xFF : units[i] >> 8 & 0xFF);
    }
    return bytes;
  }
  if (!is_utf8(type)) {
    const std::optional<std::string> found = encode_exactly(page_of(type), std::u32string(1, c));
    known = found.has_value();
    return found.value_or("");
  }
  const int more = c < 0x80 ? 0 : c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
  constexpr char32_t marks[] = {0, 0xC0, 0xE0, 0xF0};
  add(marks[more] | c >> (6 * more));
  for (int i = more - 1; i >= 0; --i) add(0x80 | (c >> (6 * i) & 0x3F));
  return bytes;
}

}  // namespace

std::size_t unit_of(std::uint32_t kind) {
  if (kind == ZVRT_KIND_UTF16 || kind == ZVRT_KIND_UTF16_SZ) return 2;
  return kind == ZVRT_KIND_WCHAR || kind == ZVRT_KIND_WVARCHAR || kind == ZVRT_KIND_WVARCHAR_SZ ? 4 : 1;
}

std::size_t terminator_at(const std::string& bytes, std::size_t unit) {
  for (std::size_t i = 0; i + unit <= bytes.size(); i += unit) {
    if (bytes.compare(i, unit, std::string(unit, '\0')) == 0) return i;
  }
  return bytes.size();
}

std::string blank_of(const ZVRTType& type) {
  bool known = false;
  return encode_character(type, U' ', known);
}

std::uint32_t find_text(const ZVRTType& type, const std::string& slot, std::optional<std::int64_t> length,
                        std::string& bytes) {
  const std::size_t unit = unit_of(type.kind);
  if (length && *length < 0 && *length != ZVRT_TERMINATED) return ZVRT_RC_INVALID_LENGTH;
  if (type.kind == ZVRT_KIND_VARCHAR || type.kind == ZVRT_KIND_WVARCHAR) {
    std::uint16_t count;
    std::memcpy(&count, slot.data(), 2);
    if (count > slot.size() - 2 || count % unit != 0) return ZVRT_RC_INVALID_LENGTH;
    bytes = slot.substr(2, count);
    return 0;
  }
  if (length == ZVRT_TERMINATED || (is_terminated(type.kind) && !length)) {
    const std::size_t end = terminator_at(slot, unit);
    bytes = slot.substr(0, end);
    return end < slot.size() ? 0 : ZVRT_RC_NOT_TERMINATED;
  }
  const std::int64_t count = length.value_or(static_cast<std::int64_t>(slot.size()));
  if (static_cast<std::size_t>(count) > slot.size() || static_cast<std::size_t>(count) % unit != 0) {
    return ZVRT_RC_INVALID_LENGTH;
  }
  bytes = slot.substr(0, static_cast<std::size_t>(count));
  return 0;
}

Read read_text(const ZVRTType& type, const std::string& slot, std::optional<std::int64_t> length, bool substitutes) {
  std::string bytes;
  if (const std::uint32_t status = find_text(type, slot, length, bytes); status != 0) return {status};
  Read result = decode(type, bytes, substitutes);
  if (result.status != 0) return result;
  std::u32string& text = result.value.text;
  if ((type.flags & ZVRT_TYPE_LOW_AS_BLANK) != 0) std::replace(text.begin(), text.end(), U'\0', U' ');
  const bool wide = (type.flags & ZVRT_TYPE_TRIM_WIDE) != 0;
  const std::u32string blanks = wide ? U" \u3000" : U" ";
  if ((type.flags & ZVRT_TYPE_TRIM) != 0) text.erase(text.find_last_not_of(blanks) + 1);
  if ((type.flags & ZVRT_TYPE_TRIM_LEFT) != 0) text.erase(0, std::min(text.find_first_not_of(blanks), text.size()));
  return result;
}

Encoded encode(const ZVRTType& type, const std::u32string& text, bool substitutes, std::optional<std::size_t> limit) {
  Encoded result;
  const bool shifts = unit_of(type.kind) == 1 && !is_utf8(type) && has_shifts(type);
  std::u32string kept;
  for (char32_t character : text) {
    bool known = false;
    std::string bytes = encode_character(type, character, known);
    if (!known && !substitutes) return {ZVRT_RC_NOT_IN_CODE_PAGE};
    if (!known) character = 0x1A;
    if (!known) bytes = encode_character(type, character, known);
    kept += character;
    // Between shifts, and after the last one, a text is more than its characters.
    bytes = shifts ? page_of(type).encode(kept).value_or("") : result.bytes + bytes;
    if (limit && bytes.size() > *limit) break;
    result.bytes = bytes;
  }
  result.blank = blank_of(type);
  return result;
}

}  // namespace zvrt_reference
