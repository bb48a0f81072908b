#include "numeric/decimal/varnum.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "ZVRTDataCnvLib.h"
#include "core/termination.h"
#include "encoding/code_page.h"
#include "numeric/decimal/decimal_kernels.h"
#include "strings/through_wide.h"
#include "support/wraps.h"

namespace zvrt {

namespace {

constexpr std::int32_t max_digit_characters = 266;

ZVRT_WRAPS bool is_digit(Wide character) { return character - '0' <= 9; }

// The position of the point, and whether the text has only digits and at most one point, and no more digits than
// allowed.
struct Layout {
  std::int32_t point;  // digits before the point
  bool valid;
};

template <class Unit>
Wide character_at(const void* text, std::int32_t index) {
  return static_cast<std::make_unsigned_t<Unit>>(load<Unit>(text, static_cast<std::size_t>(index)));
}

template <class Unit>
Layout survey(const void* text, std::int32_t length) {
  if (length > max_digit_characters + 1) return {0, false};
  std::int32_t point = length;
  for (std::int32_t i = 0; i < length; ++i) {
    const Wide character = character_at<Unit>(text, i);
    if (is_digit(character)) continue;
    if (character != '.' || point != length) return {0, false};
    point = i;
  }
  const std::int32_t digits = length - (point < length ? 1 : 0);
  return {point, digits <= max_digit_characters};
}

// Pairs the digits so that the point falls between two pairs: a zero is added at the far end of each side where needed.
template <class Unit>
Base100 pair_up(const void* text, std::int32_t length, std::int32_t point) {
  std::uint8_t pairs[max_digit_characters / 2 + 1];
  std::int32_t count = 0;
  const auto digit = [text](std::int32_t index) {
    return static_cast<std::uint8_t>(character_at<Unit>(text, index) - '0');
  };
  std::int32_t at = 0;
  if (point % 2 != 0) pairs[count++] = digit(at++);
  for (; at < point; at += 2) pairs[count++] = static_cast<std::uint8_t>(digit(at) * 10 + digit(at + 1));
  const std::int32_t integer_pairs = count;
  for (at = point + 1; at < length; at += 2) {
    const int ones = at + 1 < length ? digit(at + 1) : 0;
    pairs[count++] = static_cast<std::uint8_t>(digit(at) * 10 + ones);
  }
  return normalise(pairs, count, 2 * (count - integer_pairs));
}

template <class Unit>
std::int32_t measure(const void* text) {
  if constexpr (sizeof(Unit) == 1) {
    return length_of(static_cast<const char*>(text));
  } else {
    return length_of(text);
  }
}

template <class Unit>
Status to_varnum(const Call& call) {
  static constexpr Unit empty{};
  const void* text = call.src == nullptr ? &empty : call.src;
  EncodeVarnum* const encode = sizeof(Unit) == 1 ? decimal_kernels.encode_varnum : decimal_kernels.encode_varnum_wide;
  const EncodedVarnum value = encode(text, static_cast<std::uint8_t*>(call.dst), std::max(call.dstSize, 0));
  // A length of 0 is not stored.
  if (value.length > 0 && call.srcLen != nullptr) *call.srcLen = static_cast<std::int32_t>(value.length);
  if (value.size == 0) return ZVRT_RC_ERROR;
  *call.outLen = static_cast<std::uint32_t>(value.size);
  return value.size > call.dstSize ? ZVRT_RC_TRUNCATED : ZVRT_RC_OK;
}

void report_size(const Call& call) {
  if (call.srcLen != nullptr) *call.srcLen = *static_cast<const std::uint8_t*>(call.src) + 1;
}

Status from_varnum(const Call& call) {
  report_size(call);
  const auto* value = static_cast<const std::uint8_t*>(call.src);
  const Rendered text = decimal_kernels.render_varnum(value, call.dst, units_in<Wide>(call.dstSize));
  *call.outLen = static_cast<std::uint32_t>(text.length);
  return text.status;
}

Status from_varnum_narrow(const Call& call) {
  report_size(call);
  if (is_utf8(call.fldDef)) [[likely]] {
    const auto* bytes = static_cast<const std::uint8_t*>(call.src);
    const Rendered text = decimal_kernels.render_varnum_bytes(bytes, call.dst, call.dstSize);
    if (text.length > 0) [[likely]] {
      *call.outLen = static_cast<std::uint32_t>(text.length);
      return ZVRT_RC_OK;
    }
  }
  Wide text[max_varnum_text_length + 1];
  const auto* value = static_cast<const std::uint8_t*>(call.src);
  const Rendered rendered = decimal_kernels.render_varnum(value, text, max_varnum_text_length + 1);
  return rendered.status == ZVRT_RC_OK ? complete_wide_to_destination<VarcharSz>(call, text) : rendered.status;
}

bool is_well_formed(const std::uint8_t* value) {
  const int follow = value[0];
  if (follow == 1) return value[1] == zero_exponent;
  if (follow < 1 || follow >= max_varnum_size || value[1] < 0x80) return false;
  return std::all_of(value + varnum_header, value + follow + 1, [](int byte) { return byte >= 1 && byte <= 100; });
}

}  // namespace

template <class Unit>
EncodedVarnum encode_varnum(const void* text, std::uint8_t* dst, std::int32_t capacity) {
  const std::int32_t length = measure<Unit>(text);
  const Layout layout = survey<Unit>(text, length);
  if (!layout.valid) return {length, 0};
  const Base100 number = pair_up<Unit>(text, length, layout.point);
  if (number.count > 0 && number.exponent > max_varnum_exponent) return {length, 0};
  std::uint8_t value[max_varnum_size];
  const std::int32_t size = write_varnum(number, false, value);
  if (size <= capacity) std::memcpy(dst, value, static_cast<std::size_t>(size));
  return {length, size};
}

template EncodedVarnum encode_varnum<char>(const void* text, std::uint8_t* dst, std::int32_t capacity);
template EncodedVarnum encode_varnum<Wide>(const void* text, std::uint8_t* dst, std::int32_t capacity);

Rendered render_varnum(const std::uint8_t* value, void* dst, std::int32_t capacity) {
  if (!is_well_formed(value)) return {0, ZVRT_RC_ERROR};
  const VarnumText layout = lay_out(value);
  const auto digit_at = [value, &layout](std::int32_t index) -> Wide {
    if (index < 0 || index >= layout.digits) return '0';
    const unsigned digit = value[varnum_header + index / 2] - 1U;
    return '0' + (index % 2 == 0 ? digit / 10 : digit % 10);
  };
  const std::int32_t written = std::min(layout.length, capacity);
  for (std::int32_t i = 0; i < written; ++i) {
    const Wide character = i < layout.point   ? digit_at(i + layout.skipped)
                           : i > layout.point ? digit_at(i + layout.skipped - 1)
                                              : Wide{'.'};
    store(dst, static_cast<std::size_t>(i), character);
  }
  return {layout.length, terminate<Wide>(TerminatorRule::narrow_strict, dst, layout.length, capacity)};
}

}  // namespace zvrt

using namespace zvrt;

// clang-format off
uint32_t ZVRTCnvOraVarnumToWVarcharSz_Unsigned(CNV_PARAMS) { return from_varnum(CNV_CALL); }
uint32_t ZVRTCnvOraVarnumToVarcharSz_Unsigned(CNV_PARAMS)  { return from_varnum_narrow(CNV_CALL); }
uint32_t ZVRTCnvWVarcharSz_UnsignedToOraVarnum(CNV_PARAMS) { return to_varnum<Wide>(CNV_CALL); }
uint32_t ZVRTCnvVarcharSz_UnsignedToOraVarnum(CNV_PARAMS)  { return to_varnum<char>(CNV_CALL); }
// clang-format on
