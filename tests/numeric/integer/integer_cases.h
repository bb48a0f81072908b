// What integer conversions are held against: values worth trying, and the documented rules in their simplest form.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "ZVRTDataCnvLib.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {

// All values of 8 and 16 bits. Of more bits: those around every power of two and ten, both ends, and random ones of
// every number of digits.
template <class Int>
std::vector<Int> values_of() {
  using Unsigned = std::make_unsigned_t<Int>;
  std::vector<Int> values;
  if constexpr (sizeof(Int) <= 2) {
    for (std::uint32_t bits = 0; bits <= std::numeric_limits<Unsigned>::max(); ++bits) {
      values.push_back(static_cast<Int>(bits));
    }
  } else {
    const auto add_both = [&values](Unsigned bits) {
      values.push_back(static_cast<Int>(bits));
      values.push_back(static_cast<Int>(0 - bits));
    };
    std::mt19937_64 random(20240305);
    for (Unsigned power = 1, last = 0; power > last; last = power, power *= 10) {
      for (Unsigned near = power - 2; near != power + 2; ++near) add_both(near);
      for (int i = 0; i < 20; ++i) add_both(static_cast<Unsigned>(power + random() % power * 9));
      if (power > std::numeric_limits<Unsigned>::max() / 10) break;
    }
    for (Unsigned power = 1; power != 0; power *= 2) {
      for (Unsigned near = power - 1; near != power + 2; ++near) add_both(near);
    }
  }
  return values;
}

// The text of an integer, as narrow characters: zero has none.
template <class Int>
std::string decimal(Int value) {
  return value == 0 ? std::string() : std::to_string(value);
}

inline std::u32string widened(const std::string& text) { return {text.begin(), text.end()}; }

// A destination as it should look afterwards.
struct Rendered {
  std::string image;
  std::uint32_t status;
};

inline Rendered rendered_wide(const std::string& text, std::int32_t size) {
  const std::size_t capacity = size < 0 ? 0 : static_cast<std::size_t>(size) / 4;
  std::string image(static_cast<std::size_t>(std::max(size, 0)), static_cast<char>(GuardedBuffer::mark));
  std::u32string kept = widened(text.substr(0, capacity));
  if (capacity > text.size()) kept.push_back(0);
  if (capacity == text.size() && capacity > 0) kept.back() = 0;
  image.replace(0, kept.size() * 4, wide_bytes(kept, false));
  const bool fits = capacity > text.size();
  return {image, !fits ? ZVRT_RC_TRUNCATED : text.empty() ? ZVRT_RC_EMPTY_RESULT : ZVRT_RC_OK};
}

inline Rendered rendered_narrow(const std::string& text, std::int32_t size) {
  const std::size_t capacity = size < 0 ? 0 : static_cast<std::size_t>(size);
  std::string image(capacity, static_cast<char>(GuardedBuffer::mark));
  std::string kept = text.substr(0, capacity);
  if (capacity > text.size()) kept.push_back(0);
  image.replace(0, kept.size(), kept);
  return {image, capacity < text.size() ? ZVRT_RC_TRUNCATED : text.empty() ? ZVRT_RC_EMPTY_RESULT : ZVRT_RC_OK};
}

// An integer at an odd address.
template <class Int>
class OffsetSource {
 public:
  explicit OffsetSource(Int value) { std::memcpy(bytes_ + 1, &value, sizeof value); }
  const void* get() const { return bytes_ + 1; }

 private:
  alignas(8) char bytes_[sizeof(Int) + 1] = {};
};

// Into a destination of this size that still carries the mark; `given` is the source length given.
template <class Int>
void check_rendered(ZVRTConversion* render, Int value, GuardedBuffer& dst, std::int32_t size, std::int32_t given) {
  const std::string text = decimal(value);
  const Rendered expected = rendered_wide(text, size);
  std::int32_t src_len = given;
  std::uint32_t out_len = 99;
  const OffsetSource<Int> src(value);
  ASSERT_EQ(render(src.get(), &src_len, dst.as<>(), size, &out_len, nullptr), expected.status)
      << text << " into " << size << " bytes";
  ASSERT_EQ(dst.bytes(), expected.image) << text << " into " << size << " bytes";
  ASSERT_EQ(out_len, text.size()) << text << " into " << size << " bytes";
  ASSERT_EQ(src_len, given == 0 ? std::int32_t{sizeof(Int)} : given);
}

// Into every size from 0 on, each ending at the guard page, so that the destination stands at every alignment.
template <class Int>
void check_rendering(ZVRTConversion* render, const std::vector<Int>& values, std::int32_t largest_size) {
  for (std::int32_t size = 0; size <= largest_size; ++size) {
    GuardedBuffer dst(static_cast<std::size_t>(size));
    for (const Int value : values) {
      std::memset(dst.as<>(), GuardedBuffer::mark, dst.size());
      ASSERT_NO_FATAL_FAILURE(check_rendered(render, value, dst, size, value % 3 == 0 ? 0 : 17));
    }
    ASSERT_TRUE(dst.untouched_from(dst.size())) << "before the buffer";
  }
}

// The number that a text of digits means, modulo 2^64, from its last digit to its first.
inline std::uint64_t number_of(const std::string& digits) {
  std::uint64_t number = 0;
  std::uint64_t weight = 1;
  for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit, weight *= 10) {
    number += static_cast<std::uint64_t>(*digit - '0') * weight;
  }
  return number;
}

// Wide text, terminated, that ends `bytes_behind` bytes before the guard page, with digits after it.
class GuardedText {
 public:
  GuardedText(const std::u32string& text, std::size_t bytes_behind)
      : buffer_(
            (wide_bytes(text) + wide_bytes(U"99999999999999999999999999999999", false).substr(0, bytes_behind)).data(),
            (text.size() + 1) * 4 + bytes_behind) {}
  const void* get() { return buffer_.as<>(); }

 private:
  GuardedBuffer buffer_;
};

template <class Int>
void check_parsed(ZVRTConversion* parse, const void* src, const std::string& text) {
  const bool negative = std::is_signed_v<Int> && text[0] == '-';
  const std::uint64_t number = number_of(text.substr(negative ? 1 : 0));
  const auto expected = static_cast<Int>(negative ? 0 - number : number);
  Int around[3] = {1, 2, 3};  // the value goes between two that stay
  std::int32_t src_len = 0;
  std::uint32_t out_len = 99;
  ASSERT_EQ(parse(src, &src_len, &around[1], sizeof(Int), &out_len, nullptr), ZVRT_RC_OK) << text;
  ASSERT_EQ(around[1], expected) << text;
  ASSERT_TRUE(around[0] == 1 && around[2] == 3) << text;
  ASSERT_EQ(out_len, sizeof(Int)) << text;
  ASSERT_EQ(src_len, static_cast<std::int32_t>(text.size()) * 4) << text;
}

inline void check_refused(ZVRTConversion* parse, std::int32_t size, const void* src, std::uint32_t status) {
  GuardedBuffer dst(static_cast<std::size_t>(size));
  std::int32_t src_len = 0;
  std::uint32_t out_len = 99;
  ASSERT_EQ(parse(src, &src_len, dst.as<>(), size, &out_len, nullptr), status);
  ASSERT_TRUE(dst.untouched_from(0));
  ASSERT_EQ(out_len, 99U);
  ASSERT_EQ(src_len, 0);
}

}  // namespace zvrt_test
