// Plans that do as the functions for single values do: slot, length and status are theirs, quirks included.
#pragma once

#include <cstdint>
#include <memory>

#include "ZVRTColumns.h"
#include "columns/block.h"

namespace zvrt::columns {

struct Reason;

struct SingleCall {
  ZVRTConversion* function = nullptr;
  std::int32_t length_unit = 0;  // of the source length that it asks for, in bytes; 0: it asks for none
  FldDef field{};
  DtFormatDesc format{};
  std::unique_ptr<FmtCode[]> codes;  // NOLINT(modernize-avoid-c-arrays)
};

// Makes a plan's path that of the pair's function; false where the pair has none or the types ask for more than that.
bool open_single_call(const ZVRTType& from, const ZVRTType& to, ZVRTPlan& plan, Reason& reason);

}  // namespace zvrt::columns
