// One value through a plan: the types as short expressions, bytes as hexadecimal digits.
#pragma once

#include <algorithm>
#include <bit>
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

// Groups of hexadecimal digits. A group after '=' is a number in native order: "=0003" is 03 00 on a little-endian machine.
inline std::string bytes(std::string_view hexadecimal) {
  std::string text;
  std::size_t group = 0;
  bool is_number = false;
  const auto end_group = [&] {
    if (is_number && std::endian::native == std::endian::little)
      std::reverse(text.begin() + static_cast<std::ptrdiff_t>(group), text.end());
    group = text.size();
    is_number = false;
  };
  int high = -1;
  for (const char c : hexadecimal) {
    if (c == ' ') {
      end_group();
    } else if (c == '=') {
      is_number = true;
    } else {
      const int digit = c <= '9' ? c - '0' : c - 'A' + 10;
      if (high >= 0) text.push_back(static_cast<char>(high * 16 + digit));
      high = high >= 0 ? -1 : digit;
    }
  }
  end_group();
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
