// Where a refused value is at fault, found the slow way: by asking of every prefix whether it may still become a value.
#pragma once

#include <cstdint>

#include "reference.h"

namespace zvrt_reference {

struct Fault {
  std::uint32_t status = 0;
  std::int64_t offset = -1;
  std::uint32_t unit = 0;
  std::uint32_t needed = 0;
};

// What explaining the value has to say; a null is one into a slot without an indicator.
Fault find_fault(const ZVRTType& from, const ZVRTType& to, std::uint32_t options, const Given& given);

// What checking the value has to say: its status as a source, whether it is null, whether it is empty.
Result check(const ZVRTType& type, const Given& given);

}  // namespace zvrt_reference
