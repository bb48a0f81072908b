// The six arguments that all conversions share, as one value, and the two ways of reporting lengths through them.
#pragma once

#include <cstdint>
#include <limits>

#include "ZVRTDataCnvLib.h"

// A family's members are one line each: the argument list by one name, its hand-over to a driver by another.
#define CNV_PARAMS const void *src, int32_t *srcLen, void *dst, int32_t dstSize, uint32_t *outLen, const FldDef *fldDef
#define CNV_CALL (zvrt::Call{src, srcLen, dst, dstSize, outLen, fldDef})

namespace zvrt {

using Status = std::uint32_t;

struct Call {
  const void* src;
  std::int32_t* srcLen;
  void* dst;
  std::int32_t dstSize;
  std::uint32_t* outLen;
  const FldDef* fldDef;
};

// Stores the measured source length where the caller asks for it, by a length that is there and 0.
[[gnu::always_inline]] inline void store_if_zero(std::int32_t* srcLen, std::int64_t bytes) {
  if (srcLen != nullptr && *srcLen == 0) *srcLen = static_cast<std::int32_t>(bytes);
}

// A descriptor made for a code page that arrived as two plain arguments.
inline FldDef field_of(std::uint32_t code_page, char kind) {
  FldDef field{};
  field.codePage = code_page;
  field.codePageKind = kind;
  return field;
}

// The `...Out` siblings: the same conversion, its count of characters stored in bytes whatever the status.
template <ZVRTConversion conversion>
Status in_bytes(const Call& call) {
  std::uint32_t characters = 0;
  const Status status = conversion(call.src, call.srcLen, call.dst, call.dstSize, &characters, call.fldDef);
  *call.outLen = characters * 4;
  return status;
}

}  // namespace zvrt
