// The 21 conversions of integers to text, one line each over one driver.
#include <cstddef>
#include <cstdint>

#include "ZVRTDataCnvLib.h"
#include "core/call.h"
#include "encoding/code_page.h"
#include "numeric/integer/integer_format.h"
#include "numeric/integer/integers.h"
#include "strings/through_wide.h"

using namespace zvrt;

namespace zvrt {

namespace {

// Room for the text of every integer and its terminator.
constexpr std::size_t ample = max_decimal_length + 1;

// The one `...Out` conversion that reports no length for an empty or a truncated text.
template <ZVRTConversion conversion>
Status in_bytes_if_ok(const Call& call) {
  std::uint32_t bytes = 0;
  Call reporting = call;
  reporting.outLen = &bytes;
  const Status status = in_bytes<conversion>(reporting);
  if (status == ZVRT_RC_OK) *call.outLen = bytes;
  return status;
}

// Wide text to narrow text in the field's code page, terminated if the capacity allows.
Status narrow(const Call& call, const Wide* text, std::uint32_t& bytes) {
  const Status status = wide_to_destination<VarcharSz>(call, text, &bytes);
  if (status != ZVRT_RC_OK) return status;
  return bytes > 0 ? ZVRT_RC_OK : ZVRT_RC_EMPTY_RESULT;
}

template <class Int>
Status render_narrow(const Call& call) {
  if (is_utf8(call.fldDef)) [[likely]]
    return render_bytes<Int>(call);
  Wide text[ample];
  std::uint32_t characters = 0;
  render<Int>({call.src, call.srcLen, text, sizeof text, &characters, nullptr});  // never truncates
  std::uint32_t bytes = 0;
  const Status status = narrow(call, text, bytes);
  *call.outLen = bytes;
  return status;
}

}  // namespace

}  // namespace zvrt

// clang-format off
uint32_t ZVRTCnvULONGLONGToWVarcharSz(CNV_PARAMS)    { return render<std::uint64_t>(CNV_CALL); }
uint32_t ZVRTCnvULONGLONGToWVarcharSzOut(CNV_PARAMS) { return in_bytes<ZVRTCnvULONGLONGToWVarcharSz>(CNV_CALL); }
uint32_t ZVRTCnvULONGLONGToVarcharSz(CNV_PARAMS)     { return render_narrow<std::uint64_t>(CNV_CALL); }
uint32_t ZVRTCnvLongLongToWVarcharSz(CNV_PARAMS)     { return render<std::int64_t>(CNV_CALL); }
uint32_t ZVRTCnvLongLongToWVarcharSzOut(CNV_PARAMS)  { return in_bytes<ZVRTCnvLongLongToWVarcharSz>(CNV_CALL); }
uint32_t ZVRTCnvUIntToWVarcharSz(CNV_PARAMS)         { return render<std::uint32_t>(CNV_CALL); }
uint32_t ZVRTCnvUIntToWVarcharSzOut(CNV_PARAMS)      { return in_bytes<ZVRTCnvUIntToWVarcharSz>(CNV_CALL); }
uint32_t ZVRTCnvUIntToVarcharSz(CNV_PARAMS)          { return render_narrow<std::uint32_t>(CNV_CALL); }
uint32_t ZVRTCnvIntToWVarcharSz1(CNV_PARAMS)         { return render<std::int32_t>(CNV_CALL); }
uint32_t ZVRTCnvIntToWVarcharSz1Out(CNV_PARAMS)      { return in_bytes_if_ok<ZVRTCnvIntToWVarcharSz1>(CNV_CALL); }
uint32_t ZVRTCnvSmallIntToWVarcharSz(CNV_PARAMS)     { return render<std::int16_t>(CNV_CALL); }
uint32_t ZVRTCnvSmallIntToWVarcharSzOut(CNV_PARAMS)  { return in_bytes<ZVRTCnvSmallIntToWVarcharSz>(CNV_CALL); }
uint32_t ZVRTCnvSmallUIntToWVarcharSz(CNV_PARAMS)    { return render<std::uint16_t>(CNV_CALL); }
uint32_t ZVRTCnvSmallUIntToWVarcharSzOut(CNV_PARAMS) { return in_bytes<ZVRTCnvSmallUIntToWVarcharSz>(CNV_CALL); }
uint32_t ZVRTCnvTinyIntToWVarcharSz(CNV_PARAMS)      { return render<std::int8_t>(CNV_CALL); }
uint32_t ZVRTCnvTinyIntToWVarcharSzOut(CNV_PARAMS)   { return in_bytes<ZVRTCnvTinyIntToWVarcharSz>(CNV_CALL); }
uint32_t ZVRTCnvTinyUIntToWVarcharSz(CNV_PARAMS)     { return render<std::uint8_t>(CNV_CALL); }
uint32_t ZVRTCnvTinyUIntToWVarcharSzOut(CNV_PARAMS)  { return in_bytes<ZVRTCnvTinyUIntToWVarcharSz>(CNV_CALL); }
// clang-format on

uint32_t ZVRTCnvIntToWVarcharSz(int32_t value, wchar_t* dst, uint32_t* outLen) {
  constexpr std::int32_t promised_bytes = 48;  // more than the longest text and its terminator
  return render<std::int32_t>({&value, nullptr, dst, promised_bytes, outLen, nullptr});
}

uint32_t ZVRTCnvIntToVarcharSz(int32_t value, char* dst, int32_t* dstLen, uint32_t codePage, char codePageKind) {
  const FldDef field = field_of(codePage, codePageKind);
  std::uint32_t bytes = 0;
  const Status status = render_narrow<std::int32_t>({&value, nullptr, dst, *dstLen, &bytes, &field});
  if (status == ZVRT_RC_OK || status == ZVRT_RC_EMPTY_RESULT) *dstLen = static_cast<std::int32_t>(bytes);
  return status;
}

uint32_t ZVRTCnvIntToUni(wchar_t* dst, int32_t dstSize, const char* format, int32_t value, uint32_t* outLen) {
  constexpr std::uint32_t process_encoding = 0xFFFFFFFF;
  const FormattedInteger formatted = format_integer(format, value);
  if (!formatted.valid) return ZVRT_RC_ERROR;
  const FldDef field = field_of(process_encoding, 0);
  std::int32_t bytes = formatted.length;
  return ZVRTCnvCharToWVarcharSz(formatted.text, &bytes, dst, dstSize, outLen, &field);
}
