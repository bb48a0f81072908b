#include "numeric/integer/decimal_text.h"

#include <cstddef>

#include "numeric/integer/digit_pairs.h"
#include "support/units.h"
#include "support/wraps.h"

namespace zvrt {

const std::uint64_t decimal_powers[max_decimal_length] = {
    1,
    10,
    100,
    1'000,
    10'000,
    100'000,
    1'000'000,
    10'000'000,
    100'000'000,
    1'000'000'000,
    10'000'000'000,
    100'000'000'000,
    1'000'000'000'000,
    10'000'000'000'000,
    100'000'000'000'000,
    1'000'000'000'000'000,
    10'000'000'000'000'000,
    100'000'000'000'000'000,
    1'000'000'000'000'000'000,
    10'000'000'000'000'000'000U,
};

std::int32_t write_decimal(std::uint64_t magnitude, bool negative, void* dst, std::int32_t capacity) {
  Wide complete[max_decimal_length];  // a text that will be truncated is written here first
  const std::int32_t length = count_digits(magnitude) + (negative ? 1 : 0);
  const bool fits = length < capacity;
  auto* const text = static_cast<std::byte*>(fits ? dst : complete);
  auto* at = text + static_cast<std::ptrdiff_t>(length) * 4;
  if (fits) store(at, 0, Wide{0});
  for (; magnitude >= 10; magnitude /= 100) store(at -= 2 * sizeof(Wide), 0, digit_pairs<Wide>[magnitude % 100]);
  if (magnitude > 0) store(at - sizeof(Wide), 0, '0' + static_cast<Wide>(magnitude));
  if (negative) store(text, 0, Wide{'-'});
  if (!fits) copy_units<Wide>(dst, complete, capacity);
  return length;
}

std::int32_t write_decimal_bytes(std::uint64_t magnitude, bool negative, char* dst, std::int32_t capacity) {
  Wide text[max_decimal_length + 1];
  const std::int32_t length = write_decimal(magnitude, negative, text, max_decimal_length + 1);
  for (std::int32_t at = 0; at <= length && at < capacity; ++at) dst[at] = static_cast<char>(text[at]);
  return length;
}

namespace {

template <class Unit>
ZVRT_WRAPS Digits read_units(const void* text, std::size_t limit) {
  std::uint64_t value = 0;
  for (std::size_t at = 0;; ++at) {
    const auto character = at == limit ? Unit{0} : load<Unit>(text, at);
    const std::uint32_t digit = std::uint32_t{character} - '0';
    if (digit > 9)
      return {value, static_cast<std::int64_t>(at), character == 0 ? Reading::complete : Reading::invalid_character};
    value = value * 10 + digit;
  }
}

}  // namespace

Digits read_digits(const void* text, std::size_t limit) { return read_units<Wide>(text, limit); }
Digits read_digit_bytes(const char* text, std::size_t limit) { return read_units<std::uint8_t>(text, limit); }

}  // namespace zvrt
