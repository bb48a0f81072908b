// Text through the converter service, for narrow text in a code page other than UTF-8.
#pragma once

#include <cstdint>

#include "ZVRTEnvLib.h"
#include "ZVRTICULib.h"
#include "core/call.h"

namespace zvrt {

// The service's converter for a field; asked for on every call, since it belongs to the calling thread's block.
inline Status find_converter(const FldDef& field, void*& converter) {
  void* anchor = nullptr;
  void* thread = nullptr;
  if (const Status status = ZVRTGetAncBlk(&anchor); status != ZVRT_RC_OK) return status;
  if (const Status status = ZVRTGetThreadBlock(&thread); status != ZVRT_RC_OK) return status;
  converter = ZVRT_GetICUConverterInfo(anchor, thread, field.codePage, field.codePageKind);
  return converter == nullptr ? ZVRT_RC_NO_CONVERTER : ZVRT_RC_OK;
}

// Lengths and capacities are in units of their side: bytes or wide characters.
inline Status service_decode(const FldDef& field, const void* src, std::int32_t length, void* dst,
                             std::int32_t capacity, std::uint32_t* needed) {
  void* converter = nullptr;
  if (const Status status = find_converter(field, converter); status != ZVRT_RC_OK) return status;
  return ZVRT_IcuMultibyteToWide(converter, src, length, dst, capacity, needed);
}

inline Status service_encode(const FldDef& field, const void* src, std::int32_t length, void* dst,
                             std::int32_t capacity, std::uint32_t* needed) {
  void* converter = nullptr;
  if (const Status status = find_converter(field, converter); status != ZVRT_RC_OK) return status;
  return ZVRT_IcuWideToMultibyte(converter, src, length, dst, capacity, needed);
}

}  // namespace zvrt
