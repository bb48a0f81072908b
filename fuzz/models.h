// Format models and records out of a fuzzer's bytes.
#pragma once

#include "datetime/models.h"
#include "input.h"

namespace zvrt_fuzz {

// Elements and literals, mostly good ones.
inline std::wstring model_text(Input& input, std::uint32_t most_parts) {
  std::wstring text;
  for (std::uint32_t parts = input.below(most_parts + 1); parts > 0; --parts) {
    const auto choice = input.take<std::uint8_t>();
    if (choice < 128) {
      text += L'%';
      text += zvrt_test::element_letters[choice % std::size(zvrt_test::element_letters)];
    } else {
      text += L"-/: .1aAé|"[choice % 10];
    }
  }
  return text;
}

// Entries that no text produces, as a descriptor from outside may hold them.
inline void disturb(Input& input, std::vector<FmtCode>& codes) {
  constexpr std::uint32_t hostile[] = {FMT_SKIP, 22, 0xFFFFFFFF, FMT_LITERAL, FMT_PM, FMT_HH24};
  constexpr std::uint32_t widths[] = {0, 1, 3, 5, 9, 40};
  for (FmtCode& entry : codes) {
    const auto change = input.take<std::uint8_t>();
    if (entry.code == FMT_END) break;
    if (change % 8 == 1) entry.code = input.of(hostile);
    if (change % 8 == 2) entry.literal = input.take<std::uint32_t>();
    if (change % 8 == 3) entry.len = input.of(widths);
  }
}

inline ZVRTTS any_timestamp(Input& input) {
  return {input.take<std::int16_t>(),  input.take<std::uint16_t>(),
          input.take<std::uint16_t>(), input.take<std::uint16_t>(),
          input.take<std::uint16_t>(), input.take<std::uint16_t>(),
          input.take<std::uint32_t>(), {}};
}

inline ZVRTTS valid_timestamp(Input& input) {
  const int year = input.between(1, 9999), month = input.between(1, 12), day = input.between(1, 28);
  const int hour = input.between(0, 23), minute = input.between(0, 59), second = input.between(0, 59);
  return zvrt_test::timestamp(year, month, day, hour, minute, second, input.take<std::uint32_t>() % 1000000);
}

}  // namespace zvrt_fuzz
