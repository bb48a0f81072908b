// A timestamp in one fixed layout, day first: 05/03/2024 07:08:09:001234.
#include <array>
#include <cstddef>
#include <cstdint>

#include "ZVRTDataCnvLib.h"
#include "datetime/padded_number.h"
#include "frame/call.h"

namespace zvrt {

namespace {

struct Part {
  std::int32_t value;
  std::uint32_t least;
  char separator;  // follows the part; the terminator behind the last one
};

template <class Unit>
Status write_fixed(const ZVRTTS& ts, void* dst, std::int32_t room, std::uint32_t* length) {
  const std::array<Part, 7> parts = {{{ts.day, 2, '/'},
                                      {ts.month, 2, '/'},
                                      {ts.year, 4, ' '},
                                      {ts.hour, 2, ':'},
                                      {ts.minute, 2, ':'},
                                      {ts.second, 2, ':'},
                                      {static_cast<std::int32_t>(ts.fraction), 6, '\0'}}};
  auto* const begin = static_cast<std::byte*>(dst);
  std::byte* at = begin;
  for (const Part& part : parts) {
    const std::int32_t count = put_number<Unit>(at, room, part.value, part.least);
    if (count == 0) return ZVRT_RC_ERROR;
    at += static_cast<std::size_t>(count) * sizeof(Unit);
    store(at, 0, static_cast<Unit>(part.separator));
    at += sizeof(Unit);
    room -= count + 1;
  }
  if (length != nullptr) *length = static_cast<std::uint32_t>(static_cast<std::size_t>(at - begin) / sizeof(Unit) - 1);
  return ZVRT_RC_OK;
}

}  // namespace

}  // namespace zvrt

uint32_t ZVRTGetStringFromTS(const ZVRTTS* ts, wchar_t* dst, int32_t dstChars, uint32_t* outLen) {
  return zvrt::write_fixed<zvrt::Wide>(*ts, dst, dstChars, outLen);
}

uint32_t ZVRTGetStringAFromTS(const ZVRTTS* ts, char* dst, int32_t dstSize, uint32_t* outLen) {
  return zvrt::write_fixed<char>(*ts, dst, dstSize, outLen);
}
