#include "numeric/floating/float_text.h"

#include <cstddef>

namespace zvrt {

namespace {

using ExponentTails = std::array<std::uint32_t, max_decimal_exponent - min_decimal_exponent + 1>;

consteval ExponentTails make_exponent_tails() {
  ExponentTails tails{};
  for (std::int32_t exponent = min_decimal_exponent; exponent <= max_decimal_exponent; ++exponent) {
    const auto magnitude = static_cast<std::uint32_t>(exponent < 0 ? -exponent : exponent);
    const std::uint32_t sign = exponent < 0 ? U'-' : U'+';
    const std::uint32_t first = magnitude < 100 ? sign : '0' + magnitude / 100;
    tails[static_cast<std::size_t>(exponent - min_decimal_exponent)] =
        first | ('0' + magnitude / 10 % 10) << 8 | ('0' + magnitude % 10) << 16;
  }
  return tails;
}

}  // namespace

constexpr ExponentTails exponent_tails = make_exponent_tails();

void ExactScientificText::write(std::byte* at) const {
  const auto put = [&at](char character) {
    store<Wide>(at, 0, static_cast<Wide>(character));
    at += sizeof(Wide);
  };
  if (negative_) put('-');
  put(value_.digits()[0]);
  put('.');
  for (std::int32_t i = 1; i <= places_; ++i) put(i < value_.digit_count() ? value_.digits()[i] : '0');
  write_exponent(at, value_.exponent());
}

}  // namespace zvrt
