// The six buffer kinds: how a source of the kind is measured, where a destination's text goes, and how either one's
// length is reported. Everything that reads or writes a kind goes through these.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "core/call.h"
#include "core/termination.h"
#include "support/units.h"

namespace zvrt {

// A place in a source and a count of units there, owning nothing.
template <class Unit>
struct Text {
  const std::byte* at;
  std::int32_t count;
};

// Where a destination's text goes and how many units fit there.
template <class Unit>
struct Destination {
  std::byte* at;
  std::int32_t capacity;
};

// Bytes of so many units and a header. Longer than 32 bits can tell is told as the most they can.
template <class Kind>
constexpr std::uint32_t bytes_of(std::int64_t units) {
  const std::int64_t bytes = units * static_cast<std::int64_t>(sizeof(typename Kind::Unit)) + Kind::header;
  return bytes > INT64_C(0xFFFFFFFF) ? UINT32_C(0xFFFFFFFF) : static_cast<std::uint32_t>(bytes);
}

// Fixed length: the caller tells it.
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

// A 16-bit count of bytes, then the text.
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
  // The destination has room for its header: drivers refuse a smaller one first.
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
  // The only kind that counts in characters, and only on its wide side.
  static std::uint32_t reported(std::int64_t units) { return static_cast<std::uint32_t>(units); }
};

using Char = FixedKind<char>;
using WChar = FixedKind<Wide>;
using Varchar = PrefixedKind<char>;
using WVarchar = PrefixedKind<Wide>;
using VarcharSz = TerminatedKind<char>;
using WVarcharSz = TerminatedKind<Wide>;

// The `...Out` form of a wide terminated destination: the same buffer, its length told in bytes.
struct WVarcharSzOut : WVarcharSz {
  static std::uint32_t reported(std::int64_t units) { return bytes_of<WVarcharSz>(units); }
};

}  // namespace zvrt
