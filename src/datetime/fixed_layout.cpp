// A timestamp in one fixed layout, day first: 05/03/2024 07:08:09:001234.
#include <cstddef>
#include <cstdint>

#include "ZVRTDataCnvLib.h"
#include "core/call.h"
#include "datetime/padded_number.h"
#include "datetime/records.h"

namespace zvrt {

namespace {

// Writes number after number, each with the separator that follows it.
template <class Unit>
class FixedLayout {
 public:
  // The capacity is at least 1.
  FixedLayout(std::byte* dst, std::int32_t capacity)
      : begin_(dst), at_(dst), last_(dst + static_cast<std::size_t>(capacity - 1) * sizeof(Unit)) {}

  template <std::int32_t min_digits>
  bool part(std::int32_t value, char separator) {
    const std::int32_t count = put_number<Unit, min_digits>(at_, last_, value);
    if (count == 0) return false;
    store(at_, static_cast<std::size_t>(count), static_cast<Unit>(separator));
    at_ += static_cast<std::size_t>(count + 1) * sizeof(Unit);
    return true;
  }

  // The last separator is the terminator.
  std::uint32_t length() const {
    return static_cast<std::uint32_t>(static_cast<std::size_t>(at_ - begin_) / sizeof(Unit) - 1);
  }

 private:
  std::byte* begin_;
  std::byte* at_;
  std::byte* last_;
};

template <class Unit>
Status write_fixed(TimestampView ts, void* dst, std::int32_t capacity, std::uint32_t* length) {
  if (capacity < 1) return ZVRT_RC_ERROR;
  FixedLayout<Unit> text(static_cast<std::byte*>(dst), capacity);
  const bool fits = text.template part<2>(ts.day(), '/') && text.template part<2>(ts.month(), '/') &&
                    text.template part<4>(ts.year(), ' ') && text.template part<2>(ts.hour(), ':') &&
                    text.template part<2>(ts.minute(), ':') && text.template part<2>(ts.second(), ':') &&
                    text.template part<6>(static_cast<std::int32_t>(ts.fraction()), '\0');
  if (!fits) return ZVRT_RC_ERROR;
  if (length != nullptr) *length = text.length();
  return ZVRT_RC_OK;
}

}  // namespace

}  // namespace zvrt

uint32_t ZVRTGetStringFromTS(const ZVRTTS* ts, wchar_t* dst, int32_t dstChars, uint32_t* outLen) {
  return zvrt::write_fixed<zvrt::Wide>(zvrt::TimestampView(ts), dst, dstChars, outLen);
}

uint32_t ZVRTGetStringAFromTS(const ZVRTTS* ts, char* dst, int32_t dstSize, uint32_t* outLen) {
  return zvrt::write_fixed<char>(zvrt::TimestampView(ts), dst, dstSize, outLen);
}
