// Text one character at a time, and the loops around it, for the kernels without tables or wide vectors. What they differ
// in is how many characters of ASCII they take a step:
//
//   struct Ascii {
//     static std::size_t widen(const char* src, Source source, std::size_t read, char* dst, std::size_t capacity);
//     static std::size_t narrow(const char* src, Source source, std::size_t read, char* dst, std::size_t capacity);
//   };
//
// Both convert leading characters 01 to 7F, whole steps only, possibly none, and return their number.
#pragma once

#include <cstdint>
#include <type_traits>

#include "encoding/text_kernels.h"
#include "encoding/utf8.h"
#include "support/read_ahead.h"
#include "support/units.h"
#include "support/wraps.h"

namespace zvrt {

// Each kernel's own: functions of this file that are not inlined must not be shared among levels.
namespace {  // NOLINT(cert-dcl59-cpp,google-build-namespaces)

// ---- Where a source ends ----

// Text of a known count.
struct Counted {
  std::size_t count;

  bool has(std::size_t read, std::size_t units) const { return count - read >= units; }
  template <std::size_t units, std::size_t bytes>
  bool has_block(const char* /*at*/, std::size_t read) const {
    return has(read, units);
  }
};

// Text up to a terminator, which ends the fast path and continues no character, so that nothing before it needs a
// count.
struct Terminated {
  static bool has(std::size_t /*read*/, std::size_t /*units*/) { return true; }
  template <std::size_t units, std::size_t bytes>
  static bool has_block(const char* at, std::size_t /*read*/) {
    return may_read_ahead(at, bytes);
  }
};

// ---- UTF-8 to wide text ----

inline unsigned byte_at(const char* src, std::size_t index) { return static_cast<unsigned char>(src[index]); }
// Whether a byte is a continuation byte, and its payload: exclusive-or with 80 leaves less than 40.
inline unsigned payload_at(const char* src, std::size_t index) { return byte_at(src, index) ^ 0x80U; }

inline unsigned replaced(unsigned value) { return value == replacement_character ? '?' : value; }

// One character; returns its length, or 0 if it is not well-formed. Each length has its own branch, which the processor
// predicts, so that the next character need not wait for it. A byte is read once those before it continue the
// character.
template <class Source, class Sink>
[[gnu::always_inline]] inline std::size_t decode_one(const char* src, Source source, std::size_t read, Sink sink) {
  const char* at = src + read;
  const unsigned lead = byte_at(at, 0);
  if (lead < 0x80) return sink(lead) ? 1 : 0;
  if (lead < 0xC0 || !source.has(read, 2)) return 0;
  const unsigned first = payload_at(at, 1);
  if (first >= 0x40) return 0;
  if (lead < 0xE0) return sink((lead & 0x1F) << 6 | first) ? 2 : 0;
  if (!source.has(read, 3)) return 0;
  const unsigned second = payload_at(at, 2);
  if (second >= 0x40) return 0;
  const unsigned three = first << 6 | second;
  if (lead < 0xF0) return sink(replaced((lead & 0x0F) << 12 | three)) ? 3 : 0;
  if (lead >= 0xF8 || !source.has(read, 4)) return 0;
  const unsigned third = payload_at(at, 3);
  if (third >= 0x40) return 0;
  return sink(replaced((lead & 0x07) << 18 | three << 6 | third)) ? 4 : 0;
}

template <class Ascii, bool writes, class Source>
[[gnu::always_inline]] inline Progress decode_prefix(const char* src, Source source, void* dst, std::size_t capacity) {
  constexpr std::size_t stretch = 32;  // from one look for blocks of ASCII to the next
  auto* out = static_cast<char*>(dst);
  std::size_t read = 0;
  std::size_t written = 0;
  const auto put = [&](unsigned value) {
    if (value == 0 || (writes && written == capacity)) return false;
    if (writes) store<Wide>(out, written, value);
    ++written;
    return true;
  };
  while (source.has(read, 1)) {
    if (writes) {
      const std::size_t ascii = Ascii::widen(src + read, source, read, out + written * 4, capacity - written);
      read += ascii;
      written += ascii;
    }
    for (const std::size_t stop = read + stretch; read < stop && source.has(read, 1);) {
      const std::size_t length = decode_one(src, source, read, put);
      if (length == 0) return {read, written};
      read += length;
    }
  }
  return {read, written};
}

// ---- Wide text to UTF-8 ----

inline constexpr Wide last_ordinary = 0x1FFFFF;

inline char continuation(Wide value, unsigned shift) { return static_cast<char>(0x80U | (value >> shift & 0x3FU)); }

// Writes a character of one to four bytes if it fits; returns its length, or 0.
inline std::size_t encode_one(Wide value, char* dst, std::size_t capacity) {
  if (value < 0x80) {
    if (value == 0 || capacity < 1) return 0;
    dst[0] = static_cast<char>(value);
    return 1;
  }
  if (value < 0x800) {
    if (capacity < 2) return 0;
    dst[0] = static_cast<char>(0xC0U | value >> 6);
    dst[1] = continuation(value, 0);
    return 2;
  }
  if (value < 0x10000) {
    if (capacity < 3) return 0;
    dst[0] = static_cast<char>(0xE0U | value >> 12);
    dst[1] = continuation(value, 6);
    dst[2] = continuation(value, 0);
    return 3;
  }
  if (value > last_ordinary || capacity < 4) return 0;
  dst[0] = static_cast<char>(0xF0U | value >> 18);
  dst[1] = continuation(value, 12);
  dst[2] = continuation(value, 6);
  dst[3] = continuation(value, 0);
  return 4;
}

template <class Ascii, class Source>
[[gnu::always_inline]] inline Progress encode_prefix(const void* src, Source source, char* dst, std::size_t capacity) {
  constexpr std::size_t stretch = 16;
  const auto* text = static_cast<const char*>(src);
  std::size_t read = 0;
  std::size_t written = 0;
  while (source.has(read, 1)) {
    const std::size_t ascii = Ascii::narrow(text + read * 4, source, read, dst + written, capacity - written);
    read += ascii;
    written += ascii;
    for (const std::size_t stop = read + stretch; read < stop && source.has(read, 1); ++read) {
      const std::size_t length = encode_one(load<Wide>(text, read), dst + written, capacity - written);
      if (length == 0) return {read, written};
      written += length;
    }
  }
  return {read, written};
}

ZVRT_WRAPS inline Progress count_encoded(const void* src, std::size_t count) {
  std::size_t read = 0;
  std::size_t written = 0;
  for (; read < count; ++read) {
    const Wide value = load<Wide>(src, read);
    if (value - 1 >= last_ordinary) break;
    written += static_cast<std::size_t>(utf8_length(value));
  }
  return {read, written};
}

template <class Unit>
Progress copy(const void* src, void* dst, std::size_t capacity) {
  using Text = std::conditional_t<sizeof(Unit) == 1, const char*, const void*>;
  const std::int32_t count = length_within(static_cast<Text>(src), static_cast<std::int32_t>(capacity));
  copy_units<Unit>(dst, src, count);
  return {static_cast<std::size_t>(count), static_cast<std::size_t>(count)};
}

}  // namespace

}  // namespace zvrt
