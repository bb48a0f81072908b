// The two steps that conversions share whose own work is on wide text: their source to wide text first, wide text to their
// destination last.
#pragma once

#include <cstdint>

#include "core/call.h"
#include "core/kinds.h"
#include "strings/convert.h"

namespace zvrt {

// The call's source to terminated wide text of at most `size` bytes; `length` receives its characters.
template <class From>
Status source_to_wide(const Call& call, std::int32_t* srcLen, Wide* text, std::int32_t size, std::uint32_t* length) {
  return convert<From, WVarcharSz>({call.src, srcLen, text, size, length, call.fldDef});
}

// Terminated wide text to the call's destination; `length` receives what the destination's kind reports.
template <class Into, Options options = accepts_empty>
Status wide_to_destination(const Call& call, const void* text, std::uint32_t* length) {
  return convert<WVarcharSz, Into, options>({text, nullptr, call.dst, call.dstSize, length, call.fldDef});
}

// The same, but outLen is set only if the complete text was written.
template <class Into>
Status complete_wide_to_destination(const Call& call, const void* text) {
  std::uint32_t length = 0;
  const Status status = wide_to_destination<Into>(call, text, &length);
  if (status == ZVRT_RC_OK) *call.outLen = length;
  return status;
}

}  // namespace zvrt
