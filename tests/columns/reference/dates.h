// Dates as text and as digits by a format model: what each element is, read and written one at a time.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "value.h"

namespace zvrt_reference {

// Strictly: every element in full, every literal in its place, nothing left over. `stopped` receives the first character
// that cannot stand where it does, or of an element that is out of range the first one.
std::uint32_t read_date(const ZVRTType& type, const std::wstring& model, const std::u32string& text, Value& value,
                        std::size_t* stopped = nullptr);
// By the model's finest unit and the rule. The text is written even where a fraction of the second has more digits.
std::uint32_t write_date(const ZVRTType& type, const std::wstring& model, Rule rule, Value value, std::u32string& text);

// The model of a text without one, opposite a date, a time or a timestamp.
std::wstring iso_model(const ZVRTType& other);

// Digits of a model's numbers.
std::size_t digits_of(const std::wstring& model);

// Rounds the time of day to a unit; a target without a time of day has none to round.
std::uint32_t round_moment(Value& value, std::int64_t unit, Rule rule, bool has_date, bool has_time);

}  // namespace zvrt_reference
