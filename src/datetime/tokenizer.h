// A format model's text to its tokenised form.
#pragma once

#include <cstdint>

#include "ZVRTDataCnvLib.h"
#include "core/call.h"

namespace zvrt {

// Writes at most one entry a character and the end entry; `kind` grows by what the elements describe.
Status tokenise(const wchar_t* model_text, FmtCode* codes, DtKind& kind);

}  // namespace zvrt
