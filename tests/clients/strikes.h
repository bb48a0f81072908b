// The wildlife strikes of examples/data as records of 14 fields, 214 bytes, in code page 37.
#pragma once

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "columns/record_plans.h"

namespace zvrt_test {

constexpr std::int32_t strike_bytes = 214;

inline std::vector<TestField> strike_fields() {
  std::vector<TestField> fields;
  std::int32_t offset = 0;
  const auto add = [&](const char* name, const ZVRTType& type) {
    fields.push_back({name, on_page(type, 37), offset});
    offset += type.length;
  };
  const auto text = [&](const char* name, std::int32_t length) {
    add(name, type_of(ZVRT_KIND_CHAR, length, ZVRT_TYPE_TRIM));
  };
  text("Airport Name", 40);
  text("Aircraft Make Model", 20);
  text("Effect Amount of damage", 12);
  add("Flight Date", with_model(type_of(ZVRT_KIND_CHAR, 11), L"%DD-%MMM-%YYYY"));
  text("Aircraft Airline Operator", 30);
  text("Origin State", 16);
  text("Phase of flight", 12);
  text("Wildlife Size", 6);
  text("Wildlife Species", 24);
  text("Time of day", 5);
  add("Cost Other", type_of(ZVRT_KIND_PACKED, 5));
  add("Cost Repair", type_of(ZVRT_KIND_PACKED, 5));
  add("Cost Total $", type_of(ZVRT_KIND_CHAR, 22, ZVRT_TYPE_TRIM));
  add("Speed IAS in knots", type_of(ZVRT_KIND_PACKED, 3, ZVRT_TYPE_NULL_BLANKS));
  return fields;
}

}  // namespace zvrt_test
