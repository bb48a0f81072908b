#include "numeric/decimal_text.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "frame/units.h"

namespace zvrt {

namespace {

struct Pair {
  Wide tens;
  Wide units;
};

constexpr std::array<Pair, 100> digit_pairs = [] {
  std::array<Pair, 100> pairs{};
  for (Wide value = 0; value < 100; ++value) pairs[value] = {'0' + value / 10, '0' + value % 10};
  return pairs;
}();

}  // namespace

std::int32_t write_decimal(std::uint64_t magnitude, bool negative, void* dst, std::int32_t room) {
  Wide text[longest_decimal + 1];
  Wide* const end = text + longest_decimal;
  Wide* front = end;
  *end = 0;
  for (; magnitude >= 10; magnitude /= 100) {
    front -= 2;
    store(front, 0, digit_pairs[magnitude % 100]);
  }
  if (magnitude > 0) *--front = '0' + static_cast<Wide>(magnitude);
  if (negative) *--front = '-';
  const auto length = static_cast<std::int32_t>(end - front);
  copy_units<Wide>(dst, front, std::min(length + 1, room));
  return length;
}

Digits read_digits(const void* text) {
  std::uint64_t value = 0;
  for (std::size_t at = 0;; ++at) {
    const Wide character = load<Wide>(text, at);
    const Wide digit = character - '0';
    if (digit > 9) return {value, static_cast<std::int64_t>(at), character == 0 ? Reading::whole : Reading::stray};
    value = value * 10 + digit;
  }
}

}  // namespace zvrt
