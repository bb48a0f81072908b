// Runs a conversion into guarded memory and keeps everything it reported, for comparison with what a reference expects.
#pragma once

#include <gtest/gtest.h>

#include <iomanip>
#include <map>
#include <memory>
#include <ostream>
#include <string>

#include "ZVRTDataCnvLib.h"
#include "support/byte_order.h"
#include "support/guarded_buffer.h"

namespace zvrt_test {

constexpr std::uint32_t not_reported = 0xDEADBEEF;  // an out-length that was not stored

struct Outcome {
  std::uint32_t status = ZVRT_RC_OK;
  std::uint32_t outLen = not_reported;
  std::int32_t srcLen = 0;
  std::string written{};  // the destination up to the last byte that differs from the mark

  bool operator==(const Outcome&) const = default;
};

inline std::string hex(const std::string& bytes) {
  static constexpr char digits[] = "0123456789ABCDEF";
  std::string text;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    text += {digits[value / 16], digits[value % 16], ' '};
  }
  return text;
}

inline std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  return out << "status " << outcome.status << ", outLen " << outcome.outLen << ", srcLen " << outcome.srcLen
             << ", written " << hex(outcome.written);
}

// A destination of each size is mapped once.
inline GuardedBuffer& destination(std::size_t size) {
  static std::map<std::size_t, std::unique_ptr<GuardedBuffer>> buffers;
  auto& buffer = buffers[size];
  if (buffer == nullptr) buffer = std::make_unique<GuardedBuffer>(size);
  return *buffer;
}

// The destination has `dstSize` bytes, none if that is negative.
inline Outcome run(ZVRTConversion conversion, const void* src, std::int32_t srcLen, std::int32_t dstSize,
                   const FldDef* fldDef = nullptr) {
  const std::size_t size = dstSize > 0 ? static_cast<std::size_t>(dstSize) : 0;
  GuardedBuffer& dst = destination(size);
  dst.reset();
  Outcome outcome;
  outcome.srcLen = srcLen;
  outcome.status = conversion(src, &outcome.srcLen, dst.as<>(), dstSize, &outcome.outLen, fldDef);
  const std::string bytes = dst.bytes();
  const std::size_t last = bytes.find_last_not_of(static_cast<char>(GuardedBuffer::mark));
  outcome.written = bytes.substr(0, last == std::string::npos ? 0 : last + 1);
  EXPECT_TRUE(dst.untouched_from(outcome.written.size()));
  return outcome;
}

// What is in a wide destination of `capacity` characters when the text is rendered into it.
inline std::string wide_bounded(const std::string& text, std::size_t capacity) {
  std::string bytes;
  for (std::size_t i = 0; i < std::min(text.size() + 1, capacity); ++i) {
    const char unit = i < text.size() ? text[i] : '\0';
    bytes += integer_bytes(static_cast<unsigned char>(unit), 4);
  }
  return bytes;
}

inline std::u32string widened(const std::string& text) { return {text.begin(), text.end()}; }

}  // namespace zvrt_test
