// A format model's text to its tokenised form.
#pragma once

#include "ZVRTDataCnvLib.h"
#include "core/call.h"

namespace zvrt {

// Writes at most one entry per character, and the end entry. The kinds that the elements imply are added to `kind`.
Status tokenise(const wchar_t* model_text, FmtCode* codes, DtKind& kind);

}  // namespace zvrt
