// Wide terminated text to a record by a tokenised format model.
#pragma once

#include <cstdint>

#include "ZVRTDataCnvLib.h"
#include "core/call.h"

namespace zvrt {

// `text` is of any alignment. Nothing is read behind its terminator; `chars` only says when to stop looking for further
// elements. The record is untouched when the arguments are refused, and otherwise holds what was read, zero elsewhere.
Status parse(const void* text, std::int32_t chars, const FmtCode* model, std::int32_t model_length, ZVRTTS& ts);

}  // namespace zvrt
