// Text to floating point against strtod in the C locale, after the screening.
#include <gtest/gtest.h>

#include "input.h"
#include "numeric/floating/float_cases.h"

namespace {

using namespace zvrt_test;

template <class Float>
void check_reading(const void* src, const std::string& text) {
  Float value = 0;
  std::uint32_t length = 99;
  const std::uint32_t status = from_text<Float>(src, &value, sizeof value, &length);
  ASSERT_EQ(reading_of(status, value), expected_reading<Float>(text)) << text;
  ASSERT_EQ(length, status == ZVRT_RC_OK ? sizeof value : 99) << text;
}

}  // namespace

void zvrt_fuzz::check(Input input) {
  static Source source;
  // Digits are more than a half; the rest is what numbers are made of, and one invalid character.
  const bool plain = input.flag();
  const std::string text = input.text_over(plain ? "01234567899000.e-" : "0123456789.eE+-x1234567895000000");
  const void* const src = source.put(wide_bytes(widen(text)));
  check_reading<double>(src, text);
  check_reading<float>(src, text);
}
