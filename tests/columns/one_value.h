// One value through a plan: the types as short expressions, bytes as hexadecimal digits.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ZVRTColumns.h"

namespace columns_test {

struct DestroyPlan {
  void operator()(ZVRTPlan* plan) const { ZVRTPlanDestroy(plan); }
};
using Plan = std::unique_ptr<ZVRTPlan, DestroyPlan>;

inline ZVRTType type(std::uint32_t kind, std::int32_t length, std::uint32_t flags = 0, std::int16_t precision = 0,
                     std::int16_t scale = 0) {
  ZVRTType type{};
  type.size = sizeof type;
  type.kind = kind;
  type.length = length;
  type.flags = flags;
  type.precision = precision;
  type.scale = scale;
  return type;
}

inline ZVRTType with_page(ZVRTType type, std::uint32_t page) {
  type.codePage = page;
  return type;
}

inline ZVRTType with_model(ZVRTType type, const wchar_t* model, std::int16_t first_year = 0) {
  type.model = model;
  type.firstYear = first_year;
  return type;
}

inline std::uint32_t make(const ZVRTType& from, const ZVRTType& to, std::uint32_t options, Plan& plan) {
  ZVRTPlan* made = nullptr;
  const std::uint32_t status = ZVRTPlanCreate(&from, &to, options, &made, nullptr);
  plan.reset(made);
  return status;
}

constexpr char untouched = '\x2E';

struct Converted {
  std::uint32_t status;
  std::int64_t length;
  std::string slot;
};

// The value's bytes are its length; the slot is filled with `untouched` before.
inline Converted convert(const ZVRTPlan* plan, std::string_view value, std::size_t slot_bytes) {
  std::vector<char> source(value.begin(), value.end());
  std::string slot(slot_bytes, untouched);
  auto length = static_cast<std::int64_t>(value.size());
  std::int64_t result = -99;
  std::uint32_t status = 99;
  ZVRTArray from{};
  from.size = sizeof from;
  char nothing = 0;
  from.data = source.empty() ? &nothing : source.data();
  from.lengths = &length;
  from.lengthBytes = sizeof length;
  ZVRTArray to{};
  to.size = sizeof to;
  to.data = slot.data();
  to.lengths = &result;
  to.lengthBytes = sizeof result;
  to.status = &status;
  const std::uint32_t run = ZVRTPlanRun(plan, &from, &to, 1, nullptr);
  return {run != 0 ? run : status, result, slot};
}

inline std::string bytes(std::string_view hexadecimal) {
  std::string text;
  int high = -1;
  for (const char c : hexadecimal) {
    if (c == ' ') continue;
    const int digit = c <= '9' ? c - '0' : c - 'A' + 10;
    if (high < 0) {
      high = digit;
    } else {
      text.push_back(static_cast<char>(high * 16 + digit));
      high = -1;
    }
  }
  return text;
}

inline std::string hexadecimal(std::string_view bytes) {
  constexpr char digits[] = "0123456789ABCDEF";
  std::string text;
  for (const char c : bytes) {
    text.push_back(digits[static_cast<unsigned char>(c) / 16]);
    text.push_back(digits[static_cast<unsigned char>(c) % 16]);
  }
  return text;
}

}  // namespace columns_test
