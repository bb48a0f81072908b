// Dates with their format model given as text beside them.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>

#include "ZVRTDataCnvLib.h"
#include "datetime/tokenizer.h"
#include "support/scratch.h"
#include "support/units.h"

namespace zvrt {

namespace {

// Entries of a tokenised model are counted in 16 bits, the end entry included.
constexpr std::size_t max_model_length = 32766;
constexpr std::size_t usual_model = 127, usual_text = 511;

// Tokenises the model and reads a date by `read`, which gets a field descriptor with the model. The record may be at any
// alignment.
template <class Read>
Status read_by_own_model(DateWithModel* record, Read read) {
  const auto date = load<DateWithModel>(record);
  const std::size_t length = wcsnlen(date.modelText, max_model_length + 1);
  if (length > max_model_length) return ZVRT_RC_INVALID_FORMAT;
  Scratch<FmtCode, usual_model + 1> codes(length + 1);
  if (codes.get() == nullptr) return ZVRT_RC_ERROR;
  DtKind kind = ZVRT_DT_DATE;
  if (const Status status = tokenise(date.modelText, codes.get(), kind); status != ZVRT_RC_OK) return status;

  DtFormatDesc format{};
  format.model = codes.get();
  format.modelLen = static_cast<std::int32_t>(length);
  FldDef field{};
  field.dtFormat = &format;
  ZVRTTS ts;
  if (const Status status = read(ts, field); status != ZVRT_RC_OK) return status;
  // The first fields of both. Made as a value first, they would be stored singly and loaded by pairs, which waits.
  static_assert(offsetof(DateWithModel, date) == 0 && offsetof(ZVRTTS, year) == offsetof(ZVRTDate, year) &&
                offsetof(ZVRTTS, month) == offsetof(ZVRTDate, month) &&
                offsetof(ZVRTTS, day) == offsetof(ZVRTDate, day));
  std::memcpy(record, &ts, sizeof(ZVRTDate));
  return ZVRT_RC_OK;
}

}  // namespace

}  // namespace zvrt

uint32_t ZVRTDateCharToDate(const char* src, DateWithModel* date) {
  return zvrt::read_by_own_model(date, [src](ZVRTTS& ts, const FldDef& field) {
    uint32_t size = 0;
    return ZVRTCnvDateTimeSzToZVRTTS(src, nullptr, &ts, sizeof ts, &size, &field);
  });
}

uint32_t ZVRTUTF16DateCharToDate(const uint16_t* src, int32_t srcUnits, DateWithModel* date) {
  return zvrt::read_by_own_model(date, [src, srcUnits](ZVRTTS& ts, const FldDef& field) -> zvrt::Status {
    // A character is one unit or two, so there is always capacity for the terminator.
    const auto units = static_cast<std::uint32_t>(std::max(srcUnits, 0));
    zvrt::Scratch<wchar_t, zvrt::usual_text + 1> wide(std::uint64_t{units} + 1);
    if (wide.get() == nullptr) return ZVRT_RC_NO_MEMORY;
    uint32_t count = 0;
    const zvrt::Status status = Convert16To32(src, srcUnits, wide.get(), static_cast<int32_t>(units), &count);
    if (status != ZVRT_RC_OK) return status;
    wide.get()[count] = 0;
    uint32_t size = 0;
    return ZVRTCnvDateTimeWSzToZVRTTS(wide.get(), nullptr, &ts, sizeof ts, &size, &field);
  });
}
