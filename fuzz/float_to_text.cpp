// Floating point to text against printf, with any count of digits, and back.
#include <gtest/gtest.h>

#include "input.h"
#include "numeric/floating/float_cases.h"

namespace {

using namespace zvrt_test;

template <class Float>
void check_value(Float value, std::int32_t size) {
  if (!std::isfinite(value)) {
    ASSERT_EQ(rendered(value), std::to_string(ZVRT_RC_ERROR));
    return;
  }
  const std::string text = printed(value);
  ASSERT_EQ(rendered(value), text);
  // Nine digits tell a single, seventeen a double; a single's text has eight.
  if constexpr (is_double<Float>) ASSERT_EQ(read<Float>(widen(text)), reading_of(ZVRT_RC_OK, value == 0 ? 0 : value));

  GuardedBuffer dst(static_cast<std::size_t>(size));
  std::uint32_t length = 0;
  const bool fits = static_cast<std::size_t>(size) / 4 > text.size();
  ASSERT_EQ(to_text<Float>(&value, nullptr, dst.as<>(), size, &length), fits ? ZVRT_RC_OK : ZVRT_RC_TRUNCATED);
  ASSERT_EQ(length, text.size());
  std::u32string kept = widen(text).substr(0, static_cast<std::size_t>(size) / 4);
  if (fits) kept += U'\0';
  if (kept.size() == text.size()) kept.back() = 0;
  ASSERT_EQ(dst.bytes().substr(0, kept.size() * 4), wide_bytes(kept, false));
  ASSERT_TRUE(dst.untouched_from(kept.size() * 4));
}

void check_precision(double value, std::int16_t precision, std::int32_t capacity) {
  GuardedBuffer dst(static_cast<std::size_t>(capacity) * 4);
  const std::uint32_t status = FloatToString(dst.as<wchar_t>(), capacity, precision, value);
  if (precision < 0 || !std::isfinite(value)) {
    ASSERT_EQ(status, precision == -1 ? ZVRT_RC_TRUNCATED : ZVRT_RC_ERROR);
    ASSERT_TRUE(dst.untouched_from(0));
    return;
  }
  const std::string text = printed(value, precision);
  const bool fits = static_cast<std::size_t>(capacity) > text.size();
  ASSERT_EQ(status, fits ? ZVRT_RC_OK : ZVRT_RC_ERROR);
  if (fits) ASSERT_EQ(dst.bytes().substr(0, (text.size() + 1) * 4), wide_bytes(widen(text)));
  ASSERT_TRUE(dst.untouched_from(fits ? (text.size() + 1) * 4 : 0));
}

}  // namespace

void zvrt_fuzz::check(Input input) {
  const std::int32_t size = input.between(0, 120);
  const auto precision = static_cast<std::int16_t>(input.between(-3, 252));
  const std::int32_t capacity = input.between(0, 400);
  const auto bits = input.take<std::uint64_t>();
  const bool whole = input.flag();
  const double value = whole ? static_cast<double>(bits >> input.below(64)) : std::bit_cast<double>(bits);
  check_value(value, size);
  check_value(std::bit_cast<float>(static_cast<std::uint32_t>(bits)), size);
  check_precision(value, precision, capacity);
}
