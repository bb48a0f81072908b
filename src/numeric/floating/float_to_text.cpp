// Doubles and singles to scientific text with a fixed count of digits, and a double with any count.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "ZVRTDataCnvLib.h"
#include "core/call.h"
#include "core/termination.h"
#include "numeric/floating/float_digits.h"
#include "numeric/floating/float_text.h"
#include "support/units.h"

using namespace zvrt;

namespace {

template <class Float>
constexpr std::int32_t shown_digits = sizeof(Float) == sizeof(double) ? 17 : 8;

// Text that does not fit with its terminator.
template <class Float>
[[gnu::noinline, gnu::cold]] Status write_truncated(DoubleBits value, void* dst, std::int32_t capacity) {
  const ScientificText<shown_digits<Float>> text(value);
  Wide complete[text.max_length + 1];
  text.write(reinterpret_cast<std::byte*>(complete));
  copy_units<Wide>(dst, complete, std::min(text.length(), capacity));
  return terminate<Wide>(TerminatorRule::wide, dst, text.length(), capacity);
}

template <class Float>
Status render(const Call& call) {
  if (call.src == nullptr || call.dst == nullptr) return ZVRT_RC_ERROR;
  const DoubleBits value(static_cast<double>(load<Float>(call.src)));
  if (!value.is_finite()) return ZVRT_RC_ERROR;
  const ScientificText<shown_digits<Float>> text(value);
  const std::int32_t capacity = units_in<Wide>(call.dstSize);
  *call.outLen = static_cast<std::uint32_t>(text.length());
  store_if_zero(call.srcLen, sizeof(Float));
  if (text.length() >= capacity) return write_truncated<Float>(value, call.dst, capacity);
  text.write(static_cast<std::byte*>(call.dst));
  return ZVRT_RC_OK;
}

template <class Text>
Status write_complete(const Text& text, wchar_t* out, std::int32_t capacity) {
  if (out == nullptr || text.length() >= capacity) return ZVRT_RC_ERROR;
  text.write(reinterpret_cast<std::byte*>(out));
  return ZVRT_RC_OK;
}

}  // namespace

uint32_t FloatToString(wchar_t* out, int32_t outSize, int16_t precision, double value) {
  if (precision < 0) return precision == -1 ? ZVRT_RC_TRUNCATED : ZVRT_RC_ERROR;
  const DoubleBits bits(value);
  if (!bits.is_finite()) return ZVRT_RC_ERROR;
  switch (precision) {
    case shown_digits<double> - 1: return write_complete(ScientificText<shown_digits<double>>(bits), out, outSize);
    case shown_digits<float> - 1: return write_complete(ScientificText<shown_digits<float>>(bits), out, outSize);
    default: return write_complete(ExactScientificText(bits, precision), out, outSize);
  }
}

// clang-format off
uint32_t ZVRTCnvDblToWVarcharSz(CNV_PARAMS)    { return render<double>(CNV_CALL); }
uint32_t ZVRTCnvDblToWVarcharSzOut(CNV_PARAMS) { return in_bytes<ZVRTCnvDblToWVarcharSz>(CNV_CALL); }
uint32_t ZVRTCnvFltToWVarcharSz(CNV_PARAMS)    { return render<float>(CNV_CALL); }
uint32_t ZVRTCnvFltToWVarcharSzOut(CNV_PARAMS) { return in_bytes<ZVRTCnvFltToWVarcharSz>(CNV_CALL); }
// clang-format on
