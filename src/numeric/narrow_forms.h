// The last step of conversions to narrow text that render wide text first.
#pragma once

#include "strings/convert.h"

namespace zvrt {

// Encodes terminated wide text into the call's narrow destination. outLen is set only if the complete text was written.
inline Status encode_narrow(const Call& call, const void* wide_text) {
  std::uint32_t bytes = 0;
  Call encoding = call;
  encoding.src = wide_text;
  encoding.srcLen = nullptr;
  encoding.outLen = &bytes;
  const Status status = convert<WVarcharSz, VarcharSz, accepts_empty>(encoding);
  if (status == ZVRT_RC_OK) *call.outLen = bytes;
  return status;
}

}  // namespace zvrt
