// The text kernels for any processor: eight bytes a step in plain registers, and the other characters one by one. Nothing
// is read beyond a text: a terminated one is measured first.
//
// A register of bytes, or of units, is tested as a whole. Bytes 01 to 7F are those that have no bit 80, neither as they are
// nor less one; a zero borrows from its neighbour, and that is at the latest where it shows.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "encoding/kernels/baseline/loops.h"
#include "encoding/kernels/baseline/text.h"
#include "encoding/kernels/baseline/utf16_loops.h"

namespace zvrt {

namespace {

constexpr std::uint64_t each_byte = 0x0101010101010101;
constexpr std::uint64_t each_unit = 0x0001000100010001;
constexpr std::uint64_t each_wide = 0x0000000100000001;

// Zero when all lanes of the register are 1 to `mask`'s lower end; `mask` has the bits that such lanes do not have.
ZVRT_WRAPS std::uint64_t beyond(std::uint64_t lanes, std::uint64_t one_each, std::uint64_t mask) {
  return (lanes | (lanes - one_each)) & mask;
}

template <class To, class From>
void copy_eight(const char* src, char* dst) {
  for (std::size_t i = 0; i < 8; ++i) store(dst, i, static_cast<To>(load<From>(src, i)));
}

// Steps of eight from the front while they go. The last one ends with the text, and so begins within the one before it.
template <class Step>
[[gnu::always_inline]] inline std::size_t by_eights(std::size_t count, Step step) {
  std::size_t done = 0;
  for (; count - done >= 8; done += 8) {
    if (!step(done)) return done;
  }
  return done != 0 && done != count && step(count - 8) ? count : done;
}

struct Ascii {
  [[gnu::always_inline]] static std::size_t widen(const char* src, Counted source, std::size_t read, char* dst,
                                                  std::size_t capacity) {
    return by_eights(std::min(source.count - read, capacity), [&](std::size_t at) {
      if (beyond(load<std::uint64_t>(src + at), each_byte, each_byte * 0x80) != 0) return false;
      copy_eight<Wide, std::uint8_t>(src + at, dst + at * 4);
      return true;
    });
  }

  [[gnu::always_inline]] static std::size_t narrow(const char* src, Counted source, std::size_t read, char* dst,
                                                   std::size_t capacity) {
    return by_eights(std::min(source.count - read, capacity), [&](std::size_t at) {
      std::uint64_t others = 0;
      for (std::size_t pair = 0; pair < 4; ++pair)
        others |= beyond(load<std::uint64_t>(src + at * 4, pair), each_wide, each_wide * 0xFFFFFF80);
      if (others != 0) return false;
      copy_eight<std::uint8_t, Wide>(src + at * 4, dst + at);
      return true;
    });
  }
};

Progress decode(const char* src, std::size_t count, void* dst, std::size_t capacity) {
  return decode_prefix<Ascii, true>(src, Counted{count}, dst, capacity);
}
Progress decode_terminated(const char* src, void* dst, std::size_t capacity) {
  return decode(src, std::strlen(src), dst, capacity);
}
Progress count_decoded(const char* src, std::size_t count) {
  return decode_prefix<Ascii, false>(src, Counted{count}, nullptr, 0);
}

Progress encode(const void* src, std::size_t count, char* dst, std::size_t capacity) {
  return encode_prefix<Ascii>(src, Counted{count}, dst, capacity);
}
Progress encode_terminated(const void* src, char* dst, std::size_t capacity) {
  return encode(src, static_cast<std::size_t>(length_of(src)), dst, capacity);
}

// ---- UTF-16 ----

template <class To, class From>
void take_eight(Texts& texts) {
  copy_eight<To, From>(texts.src + texts.read * sizeof(From), texts.dst + texts.written * sizeof(To));
  texts.advance(8);
}

// Whether eight units of a type are 1 to `last`, one less than a power of two.
template <class Unit, std::uint64_t one_each>
bool are_eight_within(const Texts& texts, std::uint64_t last) {
  if (texts.count - texts.read < 8 || texts.capacity - texts.written < 8) return false;
  const std::uint64_t mask = one_each * (static_cast<Unit>(-1) - last);
  std::uint64_t others = 0;
  for (std::size_t i = 0; i < sizeof(Unit); ++i)
    others |= beyond(load<std::uint64_t>(texts.src + texts.read * sizeof(Unit), i), one_each, mask);
  return others == 0;
}

bool widen_ascii(Texts& texts) {
  if (!are_eight_within<std::uint8_t, each_byte>(texts, 0x7F)) return false;
  take_eight<std::uint16_t, std::uint8_t>(texts);
  return true;
}
bool narrow_ascii(Texts& texts) {
  if (!are_eight_within<std::uint16_t, each_unit>(texts, 0x7F)) return false;
  take_eight<std::uint8_t, std::uint16_t>(texts);
  return true;
}
// Below 8000 there are no surrogates.
bool widen_units(Texts& texts) {
  if (!are_eight_within<std::uint16_t, each_unit>(texts, 0x7FFF)) return false;
  take_eight<Wide, std::uint16_t>(texts);
  return true;
}
bool narrow_units(Texts& texts) {
  if (!are_eight_within<Wide, each_wide>(texts, 0x7FFF)) return false;
  take_eight<std::uint16_t, Wide>(texts);
  return true;
}

// A text that may end before its count is measured first.
template <class Unit>
std::size_t measured(const void* src, std::size_t count) {
  if constexpr (sizeof(Unit) == 1)
    return strnlen(static_cast<const char*>(src), count);
  else if constexpr (sizeof(Unit) == 4)
    return static_cast<std::size_t>(length_within(src, static_cast<std::int32_t>(count)));
  std::size_t length = 0;
  while (length < count && load<Unit>(src, length) != 0) ++length;
  return length;
}

Progress utf8_to_utf16(const char* src, std::size_t count, void* dst, std::size_t capacity) {
  return convert<widen_ascii, one_from_utf8>(texts_of(src, measured<char>(src, count), dst, capacity));
}
Progress utf16_to_utf8(const void* src, std::size_t count, char* dst, std::size_t capacity) {
  return convert<narrow_ascii, one_to_utf8>(texts_of(src, measured<std::uint16_t>(src, count), dst, capacity));
}
Progress utf16_to_utf32(const void* src, std::size_t count, void* dst, std::size_t capacity) {
  return convert<widen_units, one_to_utf32>(texts_of(src, measured<std::uint16_t>(src, count), dst, capacity));
}
Progress utf32_to_utf16(const void* src, std::size_t count, void* dst, std::size_t capacity) {
  return convert<narrow_units, one_from_utf32>(texts_of(src, measured<Wide>(src, count), dst, capacity));
}

}  // namespace

const TextKernels text_kernels_portable{
    .decode = decode,
    .decode_terminated = decode_terminated,
    .encode = encode,
    .encode_terminated = encode_terminated,
    .decode_within = decode_measured<decode>,
    .encode_within = encode_measured<encode>,
    .utf8_to_utf16 = utf8_to_utf16,
    .utf16_to_utf8 = utf16_to_utf8,
    .utf16_to_utf32 = utf16_to_utf32,
    .utf32_to_utf16 = utf32_to_utf16,
    .count_decoded = count_decoded,
    .count_encoded = count_encoded,
    .copy = copy<char>,
    .copy_wide = copy<Wide>,
    .copy_counted = baseline::copy_counted,
    .drop_blanks = baseline::drop_blanks,
    .leading_blanks = baseline::leading_blanks,
    .trailing_blanks = baseline::trailing_blanks,
};

}  // namespace zvrt
