// Wide terminated text to a record by a tokenised format model.
#pragma once

#include <cstdint>

#include "ZVRTDataCnvLib.h"
#include "core/call.h"

namespace zvrt {

// `text` is of any alignment. Nothing is read after its terminator; `chars` only limits where an element may begin. The
// record is left alone when the arguments are rejected; otherwise it holds what was read, zero elsewhere.
Status parse(const void* text, std::int32_t chars, const FmtCode* model, std::int32_t model_length, ZVRTTS& ts);

}  // namespace zvrt
