// The six buffer kinds. For each: how a source is measured, where the text of a destination goes, and how a length is
// reported. All code that reads or writes a kind goes through these classes.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "core/call.h"
#include "core/termination.h"
#include "support/units.h"

namespace zvrt {

// A view of source text: address and length in units.
template <class Unit>
struct Text {
  const std::byte* at;
  std::int32_t count;
};

// Where the text of a destination goes, and its capacity in units.
template <class Unit>
struct Destination {
  std::byte* at;
  std::int32_t capacity;
};

// Size in bytes of `units` units plus the length prefix, saturated at 0xFFFFFFFF.
template <class Kind>
constexpr std::uint32_t bytes_of(std::int64_t units) {
  const std::int64_t bytes = units * static_cast<std::int64_t>(sizeof(typename Kind::Unit)) + Kind::header;
  return bytes > INT64_C(0xFFFFFFFF) ? UINT32_C(0xFFFFFFFF) : static_cast<std::uint32_t>(bytes);
}

// Fixed length: given by the caller.
template <class CodeUnit>
struct FixedKind {
  using Unit = CodeUnit;
  static constexpr std::int32_t header = 0;
  static constexpr TerminatorRule terminator_rule = TerminatorRule::fixed;
  static constexpr bool carries_length = false;
  static constexpr bool is_terminated = false;

  static Text<Unit> measure(const Call& call) {
    const std::int32_t bytes = call.srcLen == nullptr ? 0 : *call.srcLen;
    return {static_cast<const std::byte*>(call.src), units_in<Unit>(bytes)};
  }
  static Destination<Unit> destination(const Call& call) {
    return {static_cast<std::byte*>(call.dst), units_in<Unit>(call.dstSize)};
  }
  static std::uint32_t reported(std::int64_t units) { return bytes_of<FixedKind>(units); }
};

// A 16-bit length in bytes, then the text.
template <class CodeUnit>
struct PrefixedKind {
  using Unit = CodeUnit;
  static constexpr std::int32_t header = 2;
  static constexpr TerminatorRule terminator_rule = TerminatorRule::fixed;
  static constexpr bool carries_length = true;
  static constexpr bool is_terminated = false;
  static constexpr std::int32_t max_units = units_in<Unit>(32767);  // readers take the prefix as signed

  static Text<Unit> measure(const Call& call) {
    const auto* bytes = static_cast<const std::byte*>(call.src);
    return {bytes + header, units_in<Unit>(load<std::int16_t>(bytes))};
  }
  // The destination holds at least the header: drivers reject a smaller one before.
  static Destination<Unit> destination(const Call& call) {
    return {static_cast<std::byte*>(call.dst) + header, std::min(units_in<Unit>(call.dstSize - header), max_units)};
  }
  static std::uint32_t reported(std::int64_t units) { return bytes_of<PrefixedKind>(units); }
};

// Text up to a zero unit.
template <class CodeUnit>
struct TerminatedKind {
  using Unit = CodeUnit;
  static constexpr std::int32_t header = 0;
  static constexpr TerminatorRule terminator_rule = sizeof(Unit) == 1 ? TerminatorRule::narrow : TerminatorRule::wide;
  static constexpr bool carries_length = true;
  static constexpr bool is_terminated = true;

  static Text<Unit> measure(const Call& call) {
    using Start = std::conditional_t<sizeof(Unit) == 1, const char*, const void*>;
    return {static_cast<const std::byte*>(call.src), length_of(static_cast<Start>(call.src))};
  }
  static Destination<Unit> destination(const Call& call) {
    return {static_cast<std::byte*>(call.dst), units_in<Unit>(call.dstSize)};
  }
  // Wide terminated text is the only kind whose length is reported in characters.
  static std::uint32_t reported(std::int64_t units) { return static_cast<std::uint32_t>(units); }
};

using Char = FixedKind<char>;
using WChar = FixedKind<Wide>;
using Varchar = PrefixedKind<char>;
using WVarchar = PrefixedKind<Wide>;
using VarcharSz = TerminatedKind<char>;
using WVarcharSz = TerminatedKind<Wide>;

// The wide terminated destination of the `...Out` conversions: its length is reported in bytes.
struct WVarcharSzOut : WVarcharSz {
  static std::uint32_t reported(std::int64_t units) { return bytes_of<WVarcharSz>(units); }
};

}  // namespace zvrt
