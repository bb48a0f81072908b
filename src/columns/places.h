// The places of a column: where each value stands, how long it is, whether it is null, and what a run says of it.
#pragma once

#include <array>
#include <cstdint>

#include "ZVRTColumns.h"
#include "columns/block.h"
#include "columns/type.h"
#include "support/inlined.h"
#include "support/units.h"

namespace zvrt::columns {

// An array of small integers of 2, 4 or 8 bytes.
struct Entries {
  std::byte* at = nullptr;  // null: there is none
  std::int64_t stride = 0;
  std::int32_t bytes = 0;

  ZVRT_INLINED std::int64_t load(std::int64_t row) const {
    const std::byte* const entry = at + row * stride;
    if (bytes == 8) return zvrt::load<std::int64_t>(entry);
    return bytes == 4 ? zvrt::load<std::int32_t>(entry) : zvrt::load<std::int16_t>(entry);
  }
  // The greatest that the entry holds where the value is greater.
  void store(std::int64_t row, std::int64_t value) const;
};

// A ZVRTArray after it was checked.
struct Places {
  std::byte* data = nullptr;
  std::int64_t stride = 0;
  const std::int64_t* starts = nullptr;
  Entries lengths;
  Entries indicators;
  Entries status;
  const std::uint8_t* select = nullptr;
  bool is_one_array = false;  // lengths and indicators

  std::byte* slot(std::int64_t row) const { return data + (starts != nullptr ? starts[row] : row * stride); }
};

// Checks a caller's array for `count` values of the type.
Status check_places(const ZVRTArray& array, const Type& type, Role role, std::int64_t count, Places& places);

// The statuses of an array; none where it has none.
Entries status_entries(const ZVRTArray& array);

// What a slot holds.
enum class Content : std::uint8_t { value, null, refused };

// Finds a value and its length. A refused one gets its status.
Content find_value(const Type& type, const Places& places, std::int64_t row, Value& value, Status& status);

// Of a length that nobody gives.
constexpr std::int64_t not_given = INT64_MIN;

// The value in a slot, its length `given` as an entry of lengths gives it.
Content measure(const Type& type, const std::byte* slot, std::int64_t given, Value& value, Status& status);

// What a measured value is where its type has forms of nulls.
Content find_null_form(const Type& type, const Value& value);

// By a value's first byte, whether it may be a null form of the type: most values are none at first sight.
using FirstBytes = std::array<bool, 256>;
void find_null_starts(const Type& type, FirstBytes& bytes);

// A null into a slot of the type that has a form for it.
void write_null_form(const Type& type, std::byte* slot);

}  // namespace zvrt::columns
