// Every target kind: a value to the bytes of its slot.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "reference.h"
#include "value.h"

namespace zvrt_reference {

// Into result.slot, which holds what was there before.
void write(const ZVRTType& type, std::uint32_t options, const Value& value, Result& result);

Rule rule_of(std::uint32_t options);

// The bytes of a kind's slot.
std::size_t slot_bytes(const ZVRTType& type);

bool is_text(std::uint32_t kind);
bool is_number(std::uint32_t kind);
bool is_moment(std::uint32_t kind);

}  // namespace zvrt_reference
