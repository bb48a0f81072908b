// Integers to and from text: one driver each way for all types, over a kernel that handles digits only. Driver and
// kernel are compiled together for each level, so that a call costs one indirect jump.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "core/call.h"
#include "numeric/integer/decimal_text.h"
#include "support/units.h"
#include "support/wraps.h"

namespace zvrt {

// What a version consists of; 8- and 16-bit integers are served as 32-bit ones.
//
//   struct Kernel {
//     // As write_decimal(), for 32 and 64 bits.
//     static std::int32_t write(std::uint32_t magnitude, bool negative, void* dst, std::int32_t capacity);
//     static std::int32_t write(std::uint64_t magnitude, bool negative, void* dst, std::int32_t capacity);
//     // As read_digits(), but the value only modulo 2^width of the Accumulator, 32 or 64 bits; a text may be not_attempted.
//     template <class Accumulator> static Digits read(const void* text);
//     // The same two over bytes; texts of more than `max_decimal_length` + 1 digits may be not_attempted.
//     static std::int32_t write_bytes(std::uint32_t magnitude, bool negative, char* dst, std::int32_t capacity);
//     static std::int32_t write_bytes(std::uint64_t magnitude, bool negative, char* dst, std::int32_t capacity);
//     template <class Accumulator> static Digits read_bytes(const char* text);
//     // The same two of at most `limit` units, one or more, modulo 2^32.
//     static Digits read_within(const void* text, std::size_t limit);
//     static Digits read_bytes_within(const char* text, std::size_t limit);
//   };

// The digits that a field begins with; none where a version leaves it to the definition.
struct LeadingDigits {
  std::uint32_t value;  // modulo 2^32
  std::uint32_t count;
};

// The conversions of all types in one version.
struct IntegerConversions {
  // Digits only, into at least the bytes of the integer; false, and nothing written, for any other text, which then
  // goes through wide text.
  using ParseBytes = bool(const char* text, std::int32_t* srcLen, void* dst, std::uint32_t* outLen);
  // A number within a text, as ZVRTCnvWVarcharSzToInt2(); `end_pos` may be null.
  using ParseRun = Status(const wchar_t* text, std::int32_t* end_pos, std::int32_t* value, std::int32_t start,
                          std::int32_t max_chars);
  // A field of bytes: digits, and a '-' before them, up to its end or a terminator. False, and nothing written, for any
  // other, as with ParseBytes.
  using ParseField = bool(const char* field, std::size_t length, std::int32_t* dst);
  // The field has at least one byte.
  using TakeDigits = LeadingDigits(const char* field, std::size_t length);

  ZVRTConversion* render[8];
  ZVRTConversion* parse[8];
  // Of ASCII; for the types that narrow text is converted from and to.
  ZVRTConversion* render_bytes[8];
  ParseBytes* parse_bytes[8];
  ParseRun* parse_run;
  ParseField* parse_field;
  TakeDigits* take_digits;
};

// A type's place in the tables.
template <class Int>
constexpr std::size_t type_index = static_cast<std::size_t>(std::countr_zero(sizeof(Int))) * 2 + std::is_signed_v<Int>;

// The version that takes every text and runs on every processor, and the faster ones.
extern const IntegerConversions integers_baseline;
extern const IntegerConversions integers_portable;
extern const IntegerConversions integers_sse41;
extern const IntegerConversions integers_avx512;

// Text that fills the capacity or exceeds it: the rare case, compiled for every processor.
Status terminate_full(void* dst, std::int32_t length, std::int32_t capacity);
// A number within a text, whatever the text: likewise.
IntegerConversions::ParseRun parse_any_run;

template <class Int, class Kernel>
ZVRT_WRAPS Status render_by(const void* src, std::int32_t* srcLen, void* dst, std::int32_t dstSize,
                            std::uint32_t* outLen, const FldDef* /*fldDef*/) {
  using Magnitude = std::conditional_t<sizeof(Int) == 8, std::uint64_t, std::uint32_t>;
  const Int value = load<Int>(src);
  const bool negative = value < 0;
  const auto bits = static_cast<Magnitude>(+value);  // its sign, if any, extended
  const std::int32_t capacity = units_in<Wide>(dstSize);
  const std::int32_t length = Kernel::write(negative ? 0 - bits : bits, negative, dst, capacity);
  *outLen = static_cast<std::uint32_t>(length);
  store_if_zero(srcLen, sizeof(Int));
  if (length >= capacity) [[unlikely]]
    return terminate_full(dst, length, capacity);
  return length > 0 ? ZVRT_RC_OK : ZVRT_RC_EMPTY_RESULT;
}

template <class Int, class Kernel>
ZVRT_WRAPS Status render_bytes_by(const void* src, std::int32_t* srcLen, void* dst, std::int32_t dstSize,
                                  std::uint32_t* outLen, const FldDef* /*fldDef*/) {
  using Magnitude = std::conditional_t<sizeof(Int) == 8, std::uint64_t, std::uint32_t>;
  const Int value = load<Int>(src);
  const bool negative = value < 0;
  const auto bits = static_cast<Magnitude>(+value);
  const std::int32_t capacity = units_in<char>(dstSize);
  const std::int32_t length =
      Kernel::write_bytes(negative ? 0 - bits : bits, negative, static_cast<char*>(dst), capacity);
  *outLen = static_cast<std::uint32_t>(length);
  store_if_zero(srcLen, sizeof(Int));
  if (length > capacity) [[unlikely]]
    return ZVRT_RC_TRUNCATED;
  return length > 0 ? ZVRT_RC_OK : ZVRT_RC_EMPTY_RESULT;
}

// The way by wide text takes a work area of one character more than the longest text.
template <class Int>
constexpr std::int32_t max_text_length = sizeof(Int) == 8 ? 21 : 11;

template <class Int, class Kernel>
bool parse_bytes_by(const char* text, std::int32_t* srcLen, void* dst, std::uint32_t* outLen) {
  const Digits digits = Kernel::template read_bytes<Int>(text);
  if (digits.reading != Reading::complete || digits.count == 0 || digits.count > max_text_length<Int>) [[unlikely]]
    return false;
  store(dst, 0, static_cast<Int>(digits.value));
  *outLen = sizeof(Int);
  store_if_zero(srcLen, digits.count);
  return true;
}

template <class Int, class Kernel>
ZVRT_WRAPS Status parse_by(const void* src, std::int32_t* srcLen, void* dst, std::int32_t dstSize,
                           std::uint32_t* outLen, const FldDef* fldDef) {
  using Accumulator = std::conditional_t<sizeof(Int) == 8, std::uint64_t, std::uint32_t>;
  constexpr std::int32_t size = sizeof(Int);
  if (dstSize < size) [[unlikely]] {
    *outLen = size;
    return ZVRT_RC_TRUNCATED;
  }
  const bool negative = std::is_signed_v<Int> && load<Wide>(src) == '-';
  const std::uint32_t sign = negative ? 1 : 0;
  const Digits digits = Kernel::template read<Accumulator>(static_cast<const std::byte*>(src) + sign * sizeof(Wide));
  if (digits.reading != Reading::complete) [[unlikely]] {
    if (digits.reading == Reading::invalid_character) return ZVRT_RC_INVALID_INTEGER;
    return integers_baseline.parse[type_index<Int>](src, srcLen, dst, dstSize, outLen, fldDef);
  }
  // Negated without a branch, which mixed signs would make unpredictable.
  const auto magnitude = static_cast<Accumulator>(digits.value);
  store(dst, 0, static_cast<Int>((magnitude ^ (Accumulator{0} - sign)) + sign));
  *outLen = size;
  store_if_zero(srcLen, (digits.count + sign) * 4);
  return ZVRT_RC_OK;
}

// The usual number within a text: digits, and a '-' before them, up to the terminator or the limit.
template <class Kernel, class Unit>
ZVRT_WRAPS Digits read_plain_run(const Unit* text, std::size_t limit) {
  if (limit == 0) [[unlikely]]
    return {0, 0, Reading::not_attempted};
  // A '-' alone is no sign: nothing after it may be looked at.
  const Unit first = limit > 1 ? load<Unit>(text) : Unit{0};
  const std::size_t sign = first == '-' ? 1 : 0;
  Digits digits;
  if constexpr (sizeof(Unit) == 1) {
    digits = Kernel::read_bytes_within(text + sign, limit - sign);
  } else {
    digits = Kernel::read_within(text + sign, limit - sign);
  }
  return {(digits.value ^ (0 - sign)) + sign, digits.count + static_cast<std::int64_t>(sign), digits.reading};
}

template <class Kernel>
Status parse_run_by(const wchar_t* text, std::int32_t* end_pos, std::int32_t* value, std::int32_t start,
                    std::int32_t max_chars) {
  const std::size_t limit = max_chars > 0 ? static_cast<std::size_t>(max_chars) : 0;
  const Digits run = read_plain_run<Kernel>(text + start, limit);
  if (run.reading != Reading::complete) [[unlikely]]
    return parse_any_run(text, end_pos, value, start, max_chars);
  *value = static_cast<std::int32_t>(run.value);
  if (end_pos != nullptr) *end_pos = static_cast<std::int32_t>(start + run.count);
  return ZVRT_RC_OK;
}

template <class Kernel>
bool parse_field_by(const char* field, std::size_t length, std::int32_t* dst) {
  const Digits run = read_plain_run<Kernel>(field, length);
  if (run.reading != Reading::complete || run.count == 0) [[unlikely]]
    return false;
  store(dst, 0, static_cast<std::int32_t>(run.value));
  return true;
}

template <class Kernel>
LeadingDigits take_digits_by(const char* field, std::size_t length) {
  const Digits digits = Kernel::read_bytes_within(field, length);
  return {static_cast<std::uint32_t>(digits.value), static_cast<std::uint32_t>(digits.count)};
}

template <class Kernel, class... Ints>
constexpr IntegerConversions conversions_of(std::type_identity<Ints>...) {
  IntegerConversions conversions{};
  ((conversions.render[type_index<Ints>] = render_by<Ints, Kernel>), ...);
  ((conversions.parse[type_index<Ints>] = parse_by<Ints, Kernel>), ...);
  return conversions;
}

template <class Kernel, class... Ints>
constexpr IntegerConversions with_bytes(IntegerConversions conversions, std::type_identity<Ints>...) {
  ((conversions.render_bytes[type_index<Ints>] = render_bytes_by<Ints, Kernel>), ...);
  conversions.parse_bytes[type_index<std::uint32_t>] = parse_bytes_by<std::uint32_t, Kernel>;
  conversions.parse_bytes[type_index<std::uint64_t>] = parse_bytes_by<std::uint64_t, Kernel>;
  conversions.parse_run = parse_run_by<Kernel>;
  conversions.parse_field = parse_field_by<Kernel>;
  conversions.take_digits = take_digits_by<Kernel>;
  return conversions;
}

// The Kernel has internal linkage, so that everything instantiated for its level has too.
template <class Kernel>
constexpr IntegerConversions conversions_by = with_bytes<Kernel, std::uint32_t, std::int32_t, std::uint64_t>(
    conversions_of<Kernel, std::uint8_t, std::int8_t, std::uint16_t, std::int16_t, std::uint32_t, std::int32_t,
                   std::uint64_t, std::int64_t>({}, {}, {}, {}, {}, {}, {}, {}),
    {}, {}, {});

// The types with an entry for bytes, as conversions_by lists them.
template <class Int>
constexpr bool is_rendered_to_bytes =
    std::is_same_v<Int, std::uint32_t> || std::is_same_v<Int, std::int32_t> || std::is_same_v<Int, std::uint64_t>;

// The version for this processor.
extern const IntegerConversions integers;

template <class Int>
Status render(const Call& call) {
  return integers.render[type_index<Int>](call.src, call.srcLen, call.dst, call.dstSize, call.outLen, call.fldDef);
}

// To narrow text in ASCII.
template <class Int>
Status render_bytes(const Call& call) {
  static_assert(is_rendered_to_bytes<Int>, "conversions_by has no entry for this type");
  return integers.render_bytes[type_index<Int>](call.src, call.srcLen, call.dst, call.dstSize, call.outLen,
                                                call.fldDef);
}

template <class Int>
bool parse_bytes(const Call& call) {
  return integers.parse_bytes[type_index<Int>](static_cast<const char*>(call.src), call.srcLen, call.dst, call.outLen);
}

template <class Int>
Status parse(const Call& call) {
  return integers.parse[type_index<Int>](call.src, call.srcLen, call.dst, call.dstSize, call.outLen, call.fldDef);
}

}  // namespace zvrt
