// The text kernels for any processor: eight characters a step in plain registers, and those other than ASCII one by one.
//
// A register of bytes is looked at as a whole. Bytes 01 to 7F are those without bit 80 that have it once 7F is added:
//
//   others = ~(bytes + 7F..7F) | bytes, of each byte bit 80;  the first set bit tells where ASCII ends
//
// What is left of ASCII before that place is taken with characters that were taken before it, as a whole step again.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "encoding/kernels/baseline/loops.h"
#include "encoding/kernels/baseline/text.h"
#include "encoding/kernels/baseline/utf16_loops.h"
#include "simd/portable.h"

namespace zvrt {

namespace {

using portable::each_byte;

constexpr std::uint64_t each_unit = 0x0001000100010001;
constexpr std::uint64_t each_wide = 0x0000000100000001;

template <class To, class From>
[[gnu::always_inline]] inline void copy_eight(const char* src, char* dst) {
  for (std::size_t i = 0; i < 8; ++i) store(dst, i, static_cast<To>(load<From>(src, i)));
}

// Zero when all lanes of the register are 1 to `mask`'s lower end; `mask` has the bits that such lanes do not have. A zero
// lane borrows from its neighbour, and that is at the latest where it shows.
ZVRT_WRAPS std::uint64_t beyond(std::uint64_t lanes, std::uint64_t one_each, std::uint64_t mask) {
  return (lanes | (lanes - one_each)) & mask;
}

// How many of eight bytes are 01 to 7F before the first that is not.
std::size_t ascii_lead(std::uint64_t bytes) {
  const std::uint64_t others = (~((bytes & each_byte * 0x7F) + each_byte * 0x7F) | bytes) & (each_byte * 0x80);
  return others == 0 ? 8 : static_cast<std::size_t>(std::countr_zero(others)) / 8;
}

struct Utf8 {
  static constexpr std::size_t unit = 1;
  static bool is_ascii(const char* src) { return beyond(load<std::uint64_t>(src), each_byte, each_byte * 0x80) == 0; }
  static std::size_t lead(const char* src) { return ascii_lead(portable::load_bytes(src)); }
  [[gnu::always_inline]] static void convert(const char* src, char* dst) { copy_eight<Wide, std::uint8_t>(src, dst); }
};

[[gnu::noinline]] std::size_t ascii_lead_of_any(const char* src) {
  return ascii_lead(portable::pack_eight_marked(src));
}

struct WideText {
  static constexpr std::size_t unit = 4;
  static bool is_ascii(const char* src) {
    std::uint64_t bytes;
    return portable::pack_eight(src, bytes) && beyond(bytes, each_byte, each_byte * 0x80) == 0;
  }
  static std::size_t lead(const char* src) {
    std::uint64_t bytes;
    return portable::pack_eight(src, bytes) ? ascii_lead(bytes) : ascii_lead_of_any(src);
  }
  [[gnu::always_inline]] static void convert(const char* src, char* dst) {
    std::uint64_t bytes;
    portable::pack_eight(src, bytes);
    portable::store_bytes(dst, bytes);
  }
};

// How many units may be read: all of a count, of a terminated text those to the end of the page if they fill a step.
template <std::size_t unit>
std::size_t readable(Counted source, const char* /*at*/, std::size_t read) {
  return source.count - read;
}
template <std::size_t unit>
std::size_t readable(Terminated /*source*/, const char* at, std::size_t /*read*/) {
  if (!may_read_ahead(at, 8 * unit)) return 0;
  return (page_bytes - reinterpret_cast<std::uintptr_t>(at) % page_bytes) / unit;
}

// ASCII from one form to the other, from the front while it goes: whole steps, and where there was one, what remains before
// another character or the end.
template <class From, class To, class Source>
[[gnu::always_inline]] inline std::size_t convert_ascii(const char* src, Source source, std::size_t read, char* dst,
                                                        std::size_t capacity) {
  const auto take = [&](std::size_t at) { From::convert(src + at * From::unit, dst + at * To::unit); };
  const std::size_t count = std::min(readable<From::unit>(source, src, read), capacity);
  std::size_t done = 0;
  for (; count - done >= 8; done += 8) {
    if (!From::is_ascii(src + done * From::unit)) {
      const std::size_t lead = done == 0 ? 0 : From::lead(src + done * From::unit);
      if (lead != 0) take(done + lead - 8);
      return done + lead;
    }
    take(done);
  }
  // A counted text may end within a step.
  if (std::is_same_v<Source, Counted> && done != 0 && done != count && From::is_ascii(src + (count - 8) * From::unit)) {
    take(count - 8);
    return count;
  }
  return done;
}

struct Ascii {
  template <class Source>
  [[gnu::always_inline]] static std::size_t widen(const char* src, Source source, std::size_t read, char* dst,
                                                  std::size_t capacity) {
    return convert_ascii<Utf8, WideText>(src, source, read, dst, capacity);
  }
  template <class Source>
  [[gnu::always_inline]] static std::size_t narrow(const char* src, Source source, std::size_t read, char* dst,
                                                   std::size_t capacity) {
    return convert_ascii<WideText, Utf8>(src, source, read, dst, capacity);
  }
};

Progress operator+(Progress a, Progress b) { return {a.read + b.read, a.written + b.written}; }

Progress decode(const char* src, std::size_t count, void* dst, std::size_t capacity) {
  return decode_prefix<Ascii, true>(src, Counted{count}, dst, capacity);
}
Progress count_decoded(const char* src, std::size_t count) {
  return decode_prefix<Ascii, false>(src, Counted{count}, nullptr, 0);
}
Progress encode(const void* src, std::size_t count, char* dst, std::size_t capacity) {
  return encode_prefix<Ascii>(src, Counted{count}, dst, capacity);
}

// What follows ASCII in terminated text. It is measured first where no block may be read ahead.
[[gnu::noinline]] Progress decode_rest(const char* src, void* dst, std::size_t capacity) {
  if (!may_read_ahead(src, 8)) return decode(src, std::strlen(src), dst, capacity);
  return decode_prefix<Ascii, true>(src, Terminated{}, dst, capacity);
}
[[gnu::noinline]] Progress encode_rest(const void* src, char* dst, std::size_t capacity) {
  if (!may_read_ahead(src, 32)) return encode(src, static_cast<std::size_t>(length_of(src)), dst, capacity);
  return encode_prefix<Ascii>(src, Terminated{}, dst, capacity);
}

// Most terminated text is ASCII to its end, which takes few registers.
Progress decode_terminated(const char* src, void* dst, std::size_t capacity) {
  auto* const out = static_cast<char*>(dst);
  const std::size_t ascii = Ascii::widen(src, Terminated{}, 0, out, capacity);
  if (src[ascii] == 0) return {ascii, ascii};
  return Progress{ascii, ascii} + decode_rest(src + ascii, out + ascii * sizeof(Wide), capacity - ascii);
}
Progress encode_terminated(const void* src, char* dst, std::size_t capacity) {
  const auto* const text = static_cast<const char*>(src);
  const std::size_t ascii = Ascii::narrow(text, Terminated{}, 0, dst, capacity);
  if (load<Wide>(text, ascii) == 0) return {ascii, ascii};
  return Progress{ascii, ascii} + encode_rest(text + ascii * sizeof(Wide), dst + ascii, capacity - ascii);
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
