// A prefix of a value is good while some ending makes a value of it; the first unit that leaves no such ending offends.
// Endings are tried: those of a few good values, or the few that a kind's grammar knows.
#include "fault.h"

#include <algorithm>
#include <functional>
#include <vector>

#include "dates.h"
#include "encodings.h"
#include "value.h"
#include "write.h"

namespace zvrt_reference {
namespace {

using Status = std::uint32_t;
using Endings = std::vector<std::u32string>;

// In the byte order of this machine.
std::uint32_t member_at(const std::string& slot, std::size_t at, std::size_t size) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < size; ++i)
    value = value << 8 | static_cast<unsigned char>(slot[at + (native_big ? i : size - 1 - i)]);
  return value;
}

bool is_structure(std::uint32_t kind) { return is_moment(kind) && kind != ZVRT_KIND_DAYS && kind != ZVRT_KIND_MICROS; }

// A length that no value has.
bool is_lying(const Given& given) { return given.length && *given.length < 0 && *given.length != ZVRT_TERMINATED; }

// --- Values of one size: the rest of a good value after a prefix ---

std::vector<std::string> good_values(const ZVRTType& type) {
  std::vector<std::string> values;
  const std::size_t size = slot_bytes(type);
  if (type.kind == ZVRT_KIND_VARNUM) {
    for (std::size_t count = 0; count <= 20; ++count) {
      for (const int exponent : {0x80, 0xC1, 0x3E}) {
        std::string value(1, static_cast<char>(count + 1));
        value += static_cast<char>(exponent);
        value += std::string(count, '\x02');
        value.resize(22, '\0');
        if (count + 2 <= size) values.push_back(value.substr(0, size));
      }
    }
    return values;
  }
  Value zero;
  zero.form = is_moment(type.kind) ? Form::moment : type.kind == ZVRT_KIND_BOOL ? Form::boolean : Form::number;
  zero.has_date = zero.has_time = true;
  Result written{.slot = std::string(size, '\0')};
  write(type, 0, zero, written);
  return {written.slot};
}

bool is_good(const ZVRTType& type, const std::string& slot) { return check(type, Given{.slot = slot}).status == 0; }

// Prefixes end between members or bytes. What is no digit is looked for before what is too many.
Fault find_in_slot(ZVRTType type, const std::string& slot, Status status) {
  if (status != ZVRT_RC_DIGITS_LOST) type.precision = 0;
  type.flags &= ~(ZVRT_TYPE_NULL_BLANKS | ZVRT_TYPE_NULL_ZEROS | ZVRT_TYPE_NULL_LOW | ZVRT_TYPE_NULL_HIGH);
  type.model = nullptr;
  const std::vector<std::string> good = good_values(type);
  const std::size_t step = is_structure(type.kind)                                        ? 2
                           : type.kind == ZVRT_KIND_DAYS || type.kind == ZVRT_KIND_MICROS ? slot.size()
                                                                                          : 1;
  const std::size_t fraction =
      type.kind == ZVRT_KIND_TIMESTAMP || type.kind == ZVRT_KIND_CLI_TIMESTAMP ? 12 : slot.size();
  Fault fault;
  for (std::size_t at = 0; at < slot.size(); at += step) {
    if (at > fraction || (type.kind == ZVRT_KIND_NUMERIC && at > 3)) break;
    if (std::none_of(good.begin(), good.end(),
                     [&](const std::string& value) { return is_good(type, slot.substr(0, at) + value.substr(at)); }))
      break;
    fault.offset = static_cast<std::int64_t>(at);
    const std::size_t unit = at == fraction ? 4 : is_structure(type.kind) ? 2 : 1;
    fault.unit = member_at(slot, at, unit);
  }
  return fault;
}

// --- A date in the digits of a packed or zoned field: the element's first digit ---

Fault find_in_digits(const ZVRTType& type, const std::string& slot, Status status) {
  const bool packed = type.kind == ZVRT_KIND_PACKED, leads = (type.flags & ZVRT_TYPE_SIGN_LEADING) != 0;
  if (!packed && type.kind != ZVRT_KIND_ZONED) return {};
  std::vector<std::pair<std::size_t, int>> digits;  // byte and value of each
  const bool separate = (type.flags & ZVRT_TYPE_SIGN_SEPARATE) != 0, signs = (type.flags & ZVRT_TYPE_NO_SIGN) == 0;
  for (std::size_t i = 0; i < slot.size(); ++i) {
    if (separate && i == (leads ? 0 : slot.size() - 1)) continue;
    if (packed) digits.emplace_back(i, static_cast<unsigned char>(slot[i]) >> 4);
    if (!packed || !signs || i + 1 < slot.size()) digits.emplace_back(i, slot[i] & 15);
  }
  const std::size_t width = digits_of(type.model), extra = digits.size() > width ? digits.size() - width : 0;
  std::size_t at = leads ? 0 : slot.size() - 1;  // the sign
  if (status == ZVRT_RC_INVALID_DATETIME) {
    const auto first = std::find_if(digits.begin(), digits.end(), [](const auto& digit) { return digit.second != 0; });
    if (first < digits.begin() + static_cast<std::ptrdiff_t>(extra)) at = first->first;
  } else {
    std::u32string text;
    for (const auto& digit : digits) text += U'0' + static_cast<char32_t>(digit.second);
    text.erase(0, extra);
    const std::size_t missing = width - text.size();
    Value value;
    std::size_t stopped = 0;
    read_date(type, type.model, std::u32string(missing, U'0') + text, value, &stopped);
    at = digits[extra + std::max(stopped, missing) - missing].first;
  }
  return {.offset = static_cast<std::int64_t>(at), .unit = member_at(slot, at, 1)};
}

// --- Text ---

Read decode(ZVRTType type, const std::string& bytes, bool substitutes) {
  type.kind = unit_of(type.kind) == 1 ? ZVRT_KIND_CHAR : unit_of(type.kind) == 2 ? ZVRT_KIND_UTF16 : ZVRT_KIND_WCHAR;
  type.length = static_cast<std::int32_t>(bytes.size());
  type.flags &= ZVRT_TYPE_BIG_ENDIAN | ZVRT_TYPE_LITTLE_ENDIAN | ZVRT_TYPE_LOW_AS_BLANK;
  return read_text(type, bytes, static_cast<std::int64_t>(bytes.size()), substitutes);
}

// The longest prefix that `holds`, in bytes.
std::size_t longest_prefix(const ZVRTType& type, const std::string& bytes,
                           const std::function<bool(const std::string&)>& holds) {
  const std::size_t unit = unit_of(type.kind);
  std::size_t longest = 0;
  for (std::size_t size = 0; size <= bytes.size(); size += unit) {
    if (holds(bytes.substr(0, size))) longest = size;
  }
  return longest;
}

std::uint32_t unit_at(const ZVRTType& type, const std::string& bytes, std::size_t at) {
  if (at >= bytes.size()) return 0;
  const std::uint32_t unit = member_at(bytes, at, unit_of(type.kind));
  const bool swapped = unit_of(type.kind) == 2 && is_big_endian(type) != native_big;
  return swapped ? (unit & 0xFF) << 8 | unit >> 8 : unit;
}

// Bytes before the given character of the text that remains after trimming.
Fault find_character(const ZVRTType& type, const std::string& bytes, bool substitutes, std::size_t character,
                     const std::u32string& text) {
  const std::u32string all = decode(type, bytes, substitutes).value.text;
  const std::u32string blanks = (type.flags & ZVRT_TYPE_TRIM_WIDE) != 0 ? U" \u3000" : U" ";
  std::size_t before = character;
  if ((type.flags & ZVRT_TYPE_TRIM_LEFT) != 0) before += std::min(all.find_first_not_of(blanks), all.size());
  const std::size_t at = longest_prefix(type, bytes, [&](const std::string& prefix) {
    const Read read = decode(type, prefix, substitutes);
    return read.status == 0 && read.value.text.size() <= before;
  });
  return {.offset = static_cast<std::int64_t>(at), .unit = character < text.size() ? text[character] : 0};
}

// The first character after which no ending makes the text good.
std::size_t first_stray(const std::u32string& text, const Endings& endings,
                        const std::function<bool(const std::u32string&)>& is_good_text) {
  for (std::size_t count = 1; count <= text.size(); ++count) {
    const auto makes_good = [&](const std::u32string& ending) { return is_good_text(text.substr(0, count) + ending); };
    if (std::none_of(endings.begin(), endings.end(), makes_good)) return count - 1;
  }
  return text.size();
}

// What the text converts into, alone in UTF-32 and with room for everything.
bool converts(const std::u32string& text, ZVRTType to, std::uint32_t options) {
  ZVRTType from{};
  from.size = sizeof from;
  from.kind = ZVRT_KIND_WCHAR;
  const std::string bytes(reinterpret_cast<const char*>(text.data()), text.size() * 4);
  if (to.kind == ZVRT_KIND_BYTES) to.length = 1 << 16;
  const Result result =
      convert(from, to, options, Given{.slot = bytes, .length = static_cast<std::int64_t>(bytes.size())},
              std::string(slot_bytes(to), '\0'), false);
  return result.status != ZVRT_RC_INVALID_NUMBER && result.status != ZVRT_RC_INVALID_VALUE;
}

// A zero where one ends the target, or a character that its page lacks.
bool is_refused(const ZVRTType& to, char32_t character, Status status) {
  if (status == ZVRT_RC_INVALID_VALUE) return character == 0;
  return encode(to, std::u32string(1, character), false).status == status;
}

Endings endings_of(const ZVRTType& to) {
  if (to.kind != ZVRT_KIND_BOOL) return {U"", U"0"};
  return {U"", U"true", U"rue", U"ue", U"e", U"alse", U"lse", U"se"};
}

Fault find_in_text(const ZVRTType& from, const ZVRTType& to, std::uint32_t options, const Given& given, Status status) {
  const bool prefixed = from.kind == ZVRT_KIND_VARCHAR || from.kind == ZVRT_KIND_WVARCHAR;
  const bool substitutes = (options & ZVRT_PLAN_SUBSTITUTE) != 0;
  if (status == ZVRT_RC_INVALID_LENGTH && prefixed && !is_lying(given)) {
    return {.offset = 0, .unit = member_at(given.slot, 0, 2)};
  }
  std::string bytes;
  if (find_text(from, given.slot, given.length, bytes) != 0) return {};
  const std::int64_t start = prefixed ? 2 : 0;
  const auto in_slot = [&](Fault fault) {
    fault.offset += start;
    return fault;
  };
  if (const Read read = decode(from, bytes, substitutes); read.status != 0) {
    const std::size_t at =
        longest_prefix(from, bytes, [&](const std::string& prefix) { return decode(from, prefix, false).status == 0; });
    return in_slot({.offset = static_cast<std::int64_t>(at), .unit = unit_at(from, bytes, at)});
  }
  const std::u32string text = read_text(from, given.slot, given.length, substitutes).value.text;
  std::size_t character = text.size();
  const bool is_date = from.model != nullptr || to.model != nullptr || is_moment(to.kind);
  if (is_date) {
    Value value;
    const std::wstring model = from.model != nullptr ? from.model : iso_model(to);
    if (read_date(from, model, text, value, &character) == 0) return {};
  } else if (is_text(to.kind)) {
    const auto refused = std::find_if(text.begin(), text.end(), [&](char32_t c) { return is_refused(to, c, status); });
    character = static_cast<std::size_t>(refused - text.begin());
    if (refused == text.end()) return {};
  } else {
    if (converts(text, to, options)) return {};
    character = first_stray(text, endings_of(to), [&](const std::u32string& t) { return converts(t, to, options); });
  }
  return in_slot(find_character(from, bytes, substitutes, character, text));
}

bool is_about_source(const ZVRTType& from, const Given& given) { return check(from, given).status != 0; }

}  // namespace

Fault find_fault(const ZVRTType& from, const ZVRTType& to, std::uint32_t options, const Given& given) {
  const std::string room(slot_bytes(to), '\0');
  const Result result = convert(from, to, options, given, room, false);
  Fault fault;
  if (result.status == ZVRT_RC_TRUNCATED) {
    const bool prefixed = to.kind == ZVRT_KIND_VARCHAR || to.kind == ZVRT_KIND_WVARCHAR;
    const bool terminated =
        to.kind == ZVRT_KIND_VARCHAR_SZ || to.kind == ZVRT_KIND_WVARCHAR_SZ || to.kind == ZVRT_KIND_UTF16_SZ;
    fault.needed =
        static_cast<std::uint32_t>(*result.length) + (prefixed     ? 2
                                                      : terminated ? static_cast<std::uint32_t>(unit_of(to.kind))
                                                                   : 0);
  } else if (result.status != 0 && result.status != ZVRT_RC_NULL_REFUSED) {
    if (is_text(from.kind)) {
      fault = find_in_text(from, to, options, given, result.status);
    } else if (from.kind != ZVRT_KIND_BYTES && !is_lying(given) && is_about_source(from, given)) {
      ZVRTType plain = from;
      plain.model = nullptr;
      const bool in_digits = from.model != nullptr && !is_about_source(plain, given);
      fault =
          in_digits ? find_in_digits(from, given.slot, result.status) : find_in_slot(from, given.slot, result.status);
    }
  }
  fault.status = result.status;
  return fault;
}

}  // namespace zvrt_reference
