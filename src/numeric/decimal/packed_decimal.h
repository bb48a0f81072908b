// Packed decimal fields to wide text and back, between buffers only, without the calling convention.
//
// A field of N bytes holds 2N - 1 decimal digits, a half-byte each, and the sign in the last half-byte.
#pragma once

#include <cstdint>

#include "core/call.h"
#include "support/units.h"

namespace zvrt {

// Longest text of a field of `bytes` bytes, in characters: sign, digits and terminator.
constexpr std::uint64_t packed_text_units(std::int64_t bytes) { return 2 * static_cast<std::uint64_t>(bytes) + 1; }

struct Rendered {
  std::int64_t length;  // characters of the complete text
  Status status;
};

// The text of a field of `bytes` bytes: no leading zeros, zero gives the empty text, negative zero a single minus sign.
using RenderPacked = Rendered(const std::uint8_t* field, std::int64_t bytes, void* dst, std::int32_t capacity);

struct Packed {
  std::int64_t digits;  // characters of the text, its sign not counted
  std::uint32_t size;   // bytes of the field; if the digits need more, the size needed, and nothing was written
};

// Terminated wide text into a field of `size` bytes.
using PackText = Packed(const void* text, std::uint8_t* field, std::int32_t size);

// The definitions; the kernels call them for what is outside their fast path.
Rendered render_packed(const std::uint8_t* field, std::int64_t bytes, void* dst, std::int32_t capacity);
Packed pack_text(const void* text, std::uint8_t* field, std::int32_t size);

}  // namespace zvrt
