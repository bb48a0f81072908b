// A record to wide text by a tokenised format model.
#pragma once

#include <cstdint>

#include "ZVRTDataCnvLib.h"
#include "core/kinds.h"
#include "datetime/records.h"

namespace zvrt {

// `length` is set on success only, to the characters before the terminator.
Status format(Destination<Wide> destination, const FmtCode* model, TimestampView ts, DtKind kind,
              std::uint32_t& length);

}  // namespace zvrt
