// The 14 conversions of text to integers: those of wide text one line each over one driver; four readers of fields.
#include "numeric/integer/text_to_integer.h"

#include <cstddef>

#include "ZVRTDataCnvLib.h"
#include "core/call.h"
#include "encoding/code_page.h"
#include "numeric/integer/integers.h"
#include "strings/through_wide.h"
#include "support/wraps.h"

using namespace zvrt;

namespace zvrt {

namespace {

// A destination size that is compared as unsigned: a negative one is large.
Call with_unsigned_size(Call call) {
  if (call.dstSize < 0) call.dstSize = INT32_MAX;
  return call;
}

// The one conversion that reports invalid text as the general error.
Status with_general_error(Status status) { return status == ZVRT_RC_INVALID_INTEGER ? ZVRT_RC_ERROR : status; }

// Narrow text through a temporary of `characters` characters; longer text is rejected as truncated.
template <std::size_t characters, ZVRTConversion conversion>
Status parse_narrow(const Call& call) {
  Wide text[characters] = {};
  std::uint32_t length = 0;
  std::uint32_t size = 0;
  Status status = source_to_wide<VarcharSz>(call, call.srcLen, text, sizeof text, &length);
  if (status == ZVRT_RC_OK) status = conversion(text, nullptr, call.dst, call.dstSize, &size, nullptr);
  *call.outLen = size;
  return status;
}

// Digits of ASCII in a destination that holds the integer, as nearly all are, need no wide text.
template <class Int>
bool parse_plain(const Call& call, bool fits) {
  return fits && is_utf8(call.fldDef) && parse_bytes<Int>(call);
}

}  // namespace

Status parse_any_run(const wchar_t* text, std::int32_t* end_pos, std::int32_t* value, std::int32_t start,
                     std::int32_t max_chars) {
  const NumberRun run = read_run(text, start, max_chars);
  *value = run.value;
  if (!run.valid) return ZVRT_RC_ERROR;
  if (end_pos != nullptr) *end_pos = run.end;
  return ZVRT_RC_OK;
}

}  // namespace zvrt

// clang-format off
uint32_t ZVRTCnvWVarcharSzToULONGLONG(CNV_PARAMS) { return parse<std::uint64_t>(with_unsigned_size(CNV_CALL)); }
uint32_t ZVRTCnvWVarcharSzToLongLong(CNV_PARAMS)  { return parse<std::int64_t>(CNV_CALL); }
uint32_t ZVRTCnvWVarcharSzToUInt(CNV_PARAMS)      { return parse<std::uint32_t>(CNV_CALL); }
uint32_t ZVRTCnvWVarcharSzToInt1(CNV_PARAMS)      { return parse<std::int32_t>(CNV_CALL); }
uint32_t ZVRTCnvWVarcharSzToSmallUInt(CNV_PARAMS) { return parse<std::uint16_t>(CNV_CALL); }
uint32_t ZVRTCnvWVarcharSzToSmallInt(CNV_PARAMS)  { return with_general_error(parse<std::int16_t>(CNV_CALL)); }
uint32_t ZVRTCnvWVarcharSzToTinyUInt(CNV_PARAMS)  { return parse<std::uint8_t>(CNV_CALL); }
uint32_t ZVRTCnvWVarcharSzToTinyInt(CNV_PARAMS)   { return parse<std::int8_t>(CNV_CALL); }
// clang-format on

uint32_t ZVRTCnvVarcharSzToULONGLONG(CNV_PARAMS) {
  const bool fits = static_cast<uint32_t>(dstSize) >= sizeof(std::uint64_t);
  if (parse_plain<std::uint64_t>(CNV_CALL, fits)) return ZVRT_RC_OK;
  return parse_narrow<22, ZVRTCnvWVarcharSzToULONGLONG>(CNV_CALL);
}

uint32_t ZVRTCnvVarcharSzToUInt(CNV_PARAMS) {
  constexpr std::int32_t size = sizeof(std::uint32_t);
  if (dstSize < size) {  // checked before the text is read
    *outLen = size;
    return ZVRT_RC_TRUNCATED;
  }
  if (parse_plain<std::uint32_t>(CNV_CALL, true)) return ZVRT_RC_OK;
  return parse_narrow<12, ZVRTCnvWVarcharSzToUInt>(CNV_CALL);
}

uint32_t ZVRTCnvVarcharSzToInt(const char* record, int32_t* dst, int32_t offset, int32_t count, uint32_t codePage,
                               char codePageKind) {
  constexpr std::int32_t max_length = 11;
  if (count < 0 || count > max_length) return ZVRT_RC_INVALID_PARAM;
  if (is_utf8(codePageKind, codePage) && integers.parse_field(record + offset, static_cast<std::size_t>(count), dst))
      [[likely]]
    return ZVRT_RC_OK;
  char field_text[max_length + 1] = {};
  copy_units<char>(field_text, record + offset, count);
  const FldDef field = field_of(codePage, codePageKind);
  std::uint32_t size = 0;
  return parse_narrow<max_length + 1, ZVRTCnvWVarcharSzToInt1>({field_text, nullptr, dst, sizeof *dst, &size, &field});
}

uint32_t ZVRTCnvWVarcharSzToInt(const wchar_t* text, int32_t* value, int32_t start, int32_t maxChars) {
  return integers.parse_run(text, nullptr, value, start, maxChars);
}

uint32_t ZVRTCnvWVarcharSzToInt2(const wchar_t* text, int32_t* endPos, int32_t* value, int32_t start,
                                 int32_t maxChars) {
  return integers.parse_run(text, endPos, value, start, maxChars);
}

ZVRT_WRAPS uint32_t ZVRTCnvCharToInt(const char* field, int32_t fieldLen, uint32_t* value) {
  const LeadingDigits digits =
      fieldLen > 0 ? integers.take_digits(field, static_cast<std::size_t>(fieldLen)) : LeadingDigits{0, 0};
  std::uint32_t number = digits.value;
  for (auto at = static_cast<std::int32_t>(digits.count); at < fieldLen && field[at] != 0; ++at) {
    if (field[at] == ' ') continue;
    if (field[at] < '0' || field[at] > '9') return ZVRT_RC_ERROR;
    number = number * 10 + static_cast<std::uint32_t>(field[at] - '0');
  }
  *value = number;
  return ZVRT_RC_OK;
}
