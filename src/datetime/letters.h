// Letters compared eight at a time and regardless of case: ASCII only, independent of the process locale.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "simd/vectors.h"
#include "support/read_ahead.h"
#include "support/units.h"

namespace zvrt {

// Equal to a lower-case letter exactly where the character is that letter in either case.
constexpr std::uint32_t folded(std::uint32_t character) { return character | 0x20; }

// Up to eight letters as bytes in lower case, the first one lowest, zeros above them.
using Letters = std::uint64_t;

constexpr std::size_t letters_at_once = 8;

// Only characters from 40 on have a case; digits do not change.
constexpr Letters folded_bytes(Letters characters) {
  return characters | (characters & UINT64_C(0x4040404040404040)) >> 1;
}

constexpr Letters letters_of(std::string_view text) {
  Letters letters = 0;
  for (std::size_t i = 0; i < text.size() && i < letters_at_once; ++i) {
    letters |= Letters{static_cast<unsigned char>(text[i])} << (8 * i);
  }
  return folded_bytes(letters);
}

constexpr Letters first_letters(std::size_t count) {
  return count < letters_at_once ? (Letters{1} << (8 * count)) - 1 : ~Letters{0};
}

// The eight characters from here on. Characters that are not ASCII, and the terminator, equal no letter; what follows
// them is not significant, since no comparison gets that far.
inline Letters letters_at(const void* text) {
  Letters letters = 0;
  if (may_read_ahead(text, letters_at_once * sizeof(Wide))) [[likely]] {
    letters = vectors::narrow_eight(text);
  } else {
    for (std::size_t i = 0; i < letters_at_once; ++i) {
      const Wide character = load<Wide>(text, i);
      if (character == 0 || character >= 0x80) break;
      letters |= Letters{character} << (8 * i);
    }
  }
  return folded_bytes(letters);
}

}  // namespace zvrt
