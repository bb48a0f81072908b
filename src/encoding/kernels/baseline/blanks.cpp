// Blanks of wide text one character at a time, without a branch on what a character is where that can be.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "encoding/kernels/baseline/text.h"
#include "support/units.h"

namespace zvrt::baseline {

namespace {

constexpr Wide blank = 0x20;
constexpr Wide tab = 0x09;

}  // namespace

// A blank is stored too, and the next character over it: the last one gives way to the caller's terminator.
Progress drop_blanks(void* text, std::size_t count) {
  Progress done;
  for (; done.read < count; ++done.read) {
    const auto character = load<Wide>(text, done.read);
    if (character == 0) break;
    store(text, done.written, character);
    done.written += character != blank && character != tab ? 1 : 0;
  }
  return done;
}

void copy_counted(const void* src, void* dst, std::size_t count) {
  const std::int32_t kept = length_within(src, static_cast<std::int32_t>(count));
  copy_units<Wide>(dst, src, kept);
  const auto bytes = static_cast<std::size_t>(kept) * sizeof(Wide);
  std::fill_n(static_cast<std::byte*>(dst) + bytes, count * sizeof(Wide) - bytes, std::byte{0});
}

std::size_t leading_blanks(const void* text, std::size_t count) {
  std::size_t blanks = 0;
  while (blanks < count && load<Wide>(text, blanks) == blank) ++blanks;
  return blanks;
}

std::size_t trailing_blanks(const void* text, std::size_t count) {
  std::size_t left = count;
  while (left > 0 && load<Wide>(text, left - 1) == blank) --left;
  return count - left;
}

}  // namespace zvrt::baseline
