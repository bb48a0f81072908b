// Packed decimal fields to wide text and back, between buffers alone: nothing here knows of out-lengths.
//
// A field of N bytes holds 2N - 1 decimal digits, a half-byte each, and the sign in the last half-byte.
#pragma once

#include <cstdint>

#include "core/call.h"
#include "support/units.h"

namespace zvrt {

// Longest text of a field of so many bytes: the sign, the digits and the terminator.
constexpr std::uint64_t packed_text_units(std::int64_t bytes) { return 2 * static_cast<std::uint64_t>(bytes) + 1; }

struct Rendered {
  std::int64_t length;  // characters of the whole text
  Status status;
};

// The text of a field of `bytes` bytes: no leading zeros, a zero is empty, a negative zero a lone sign.
using RenderPacked = Rendered(const std::uint8_t* field, std::int64_t bytes, void* dst, std::int32_t capacity);

struct Packed {
  std::int64_t digits;  // characters of the text, its sign not counted
  std::uint32_t size;   // bytes of the field; of one that would do, where the digits need more: nothing was written
};

// Terminated wide text into a field of `size` bytes.
using PackText = Packed(const void* text, std::uint8_t* field, std::int32_t size);

// The definitions, and what other versions fall back on outside their ordinary cases.
RenderPacked render_packed;
PackText pack_text;

}  // namespace zvrt
