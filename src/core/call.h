// The calling convention: the six arguments that all conversions share, as one value.
#pragma once

#include <cstdint>

#include "ZVRTDataCnvLib.h"

// A conversion is defined in one line: CNV_PARAMS is its parameter list, CNV_CALL passes the parameters to a driver.
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

// Stores the measured source length if the caller asks for it: the pointer is not null and the length there is 0.
[[gnu::always_inline]] inline void store_if_zero(std::int32_t* srcLen, std::int64_t bytes) {
  if (srcLen != nullptr && *srcLen == 0) *srcLen = static_cast<std::int32_t>(bytes);
}

// A field descriptor for a code page that was passed as two arguments.
inline FldDef field_of(std::uint32_t code_page, char kind) {
  FldDef field{};
  field.codePage = code_page;
  field.codePageKind = kind;
  return field;
}

// The `...Out` conversions: as the conversion without, with the length in bytes, whatever the status.
template <ZVRTConversion conversion>
Status in_bytes(const Call& call) {
  std::uint32_t characters = 0;
  const Status status = conversion(call.src, call.srcLen, call.dst, call.dstSize, &characters, call.fldDef);
  *call.outLen = characters * 4;
  return status;
}

}  // namespace zvrt
