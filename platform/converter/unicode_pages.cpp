// The encodings of Unicode as they are defined: shortest forms only, no lone surrogates, nothing above U+10FFFF.
//
// Each is a function that reads one character and one that writes one, in the loops that all pages share; UTF-8 and CESU-8
// begin with blocks of ASCII. UTF-16 and UTF-32 have their units in either byte order; without a given order a text is
// written with a mark, and read by the mark that it begins with.
#include <bit>
#include <cstddef>
#include <cstdint>

#include "forms.h"
#include "page_data.h"

namespace zvrt {

namespace {

// ---- UTF-8 and CESU-8 ----------------------------------------------------------------------------------------------

// One sequence: [0aaaaaaa], [110aaaaa|10bbbbbb], [1110aaaa|10bbbbbb|10cccccc], [11110aaa|10bbbbbb|10cccccc|10dddddd].
// The number of leading ones of the first byte is the length; the least character of a length excludes overlong forms.
Decoded read_sequence(const unsigned char* text, std::size_t available) {
  if (text[0] < 0x80) return {text[0], 1};
  constexpr char32_t least_of_length[] = {0, 0, 0x80, 0x800, 0x10000};
  const auto length = static_cast<std::size_t>(std::countl_one(text[0]));
  if (length < 2 || length > 4 || length > available) return offending;
  char32_t character = text[0] & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((text[i] & 0xC0) != 0x80) return offending;
    character = character << 6 | (text[i] & 0x3FU);
  }
  return character < least_of_length[length] ? offending : Decoded{character, length};
}

constexpr std::uint64_t three_bytes(char32_t c) {
  return (0xE0 | c >> 12) | (0x80 | (c >> 6 & 0x3F)) << 8 | (0x80 | (c & 0x3F)) << 16;
}

Encoded write_below_10000(char32_t c) {
  if (c < 0x80) return {c, 1};
  if (c < 0x800) return {(0xC0 | c >> 6) | (0x80 | (c & 0x3F)) << 8, 2};
  return {three_bytes(c), 3};
}

Decoded read_utf8(const unsigned char* text, std::size_t available) {
  const Decoded next = read_sequence(text, available);
  return is_scalar_value(next.character) ? next : offending;
}

Encoded write_utf8(WideText rest) {
  const char32_t c = rest[0];
  if (!is_scalar_value(c)) return {0, 0};
  if (c < 0x10000) return write_below_10000(c);
  return {
      (0xF0 | c >> 18) | (0x80 | (c >> 12 & 0x3F)) << 8 | (0x80 | (c >> 6 & 0x3F)) << 16 | (0x80 | (c & 0x3F)) << 24,
      4};
}

constexpr bool is_lead(char32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
constexpr bool is_trail(char32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }
constexpr char32_t joined(char32_t lead, char32_t trail) { return 0x10000 + ((lead & 0x3FF) << 10 | (trail & 0x3FF)); }
constexpr char32_t lead_of(char32_t character) { return 0xD7C0 + (character >> 10); }
constexpr char32_t trail_of(char32_t character) { return 0xDC00 | (character & 0x3FF); }

// CESU-8 writes the two surrogates of a character above U+FFFF as three bytes each.
Decoded read_cesu8(const unsigned char* text, std::size_t available) {
  const Decoded first = read_sequence(text, available);
  if (first.length == 4 || is_trail(first.character)) return offending;
  if (!is_lead(first.character)) return first;
  if (available < 6) return offending;
  const Decoded second = read_sequence(text + 3, available - 3);
  return is_trail(second.character) ? Decoded{joined(first.character, second.character), 6} : offending;
}

Encoded write_cesu8(WideText rest) {
  const char32_t c = rest[0];
  if (!is_scalar_value(c)) return {0, 0};
  if (c < 0x10000) return write_below_10000(c);
  return {three_bytes(lead_of(c)) | three_bytes(trail_of(c)) << 24, 6};
}

template <auto read>
Outcome decode_bytes(const Page&, Bytes source, WideDestination destination) {
  return decode_each(source, destination, widen_ascii_blocks(Ascii::all, source, destination), read);
}

template <auto write>
Outcome encode_bytes(const Page&, WideText source, ByteDestination destination) {
  const std::size_t ascii = narrow_ascii_blocks(Ascii::all, source, destination);
  return encode_each(source, destination, ascii, ascii, write);
}

// ---- UTF-16 and UTF-32, in either byte order -----------------------------------------------------------------------

template <std::size_t width>
std::uint32_t load_unit(const unsigned char* from, bool little_endian) {
  std::uint32_t unit = 0;
  for (std::size_t i = 0; i < width; ++i)
    unit |= static_cast<std::uint32_t>(from[i]) << (8 * (little_endian ? i : width - 1 - i));
  return unit;
}

// The unit as it stands in memory, its first byte lowest.
template <std::size_t width>
std::uint64_t stored_unit(std::uint32_t unit, bool little_endian) {
  if (little_endian) return unit;
  return width == 2 ? (unit >> 8 | (unit & 0xFF) << 8) : __builtin_bswap32(unit);
}

template <std::size_t width>
Decoded read_units(const unsigned char* text, std::size_t available, bool little_endian) {
  if (available < width) return offending;
  const char32_t first = load_unit<width>(text, little_endian);
  if (is_scalar_value(first)) return {first, width};
  if (width == 4 || !is_lead(first) || available < 4) return offending;
  const char32_t second = load_unit<width>(text + 2, little_endian);
  return is_trail(second) ? Decoded{joined(first, second), 4} : offending;
}

template <std::size_t width>
Encoded write_units(char32_t c, bool little_endian) {
  if (!is_scalar_value(c)) return {0, 0};
  if (width == 4 || c < 0x10000) return {stored_unit<width>(c, little_endian), width};
  return {stored_unit<width>(lead_of(c), little_endian) | stored_unit<width>(trail_of(c), little_endian) << 16, 4};
}

constexpr std::uint32_t byte_order_mark = 0xFEFF;

// A text that begins with the mark of either byte order is in that one, and the mark is no character of it.
template <std::size_t width>
Outcome decode_units(const Page& page, Bytes source, WideDestination destination) {
  bool little_endian = page.little_endian != 0;
  if (page.marked != 0) {
    little_endian = source.size() >= width && load_unit<width>(source.data(), true) == byte_order_mark;
    const bool is_marked = source.size() >= width && load_unit<width>(source.data(), little_endian) == byte_order_mark;
    if (is_marked) source = source.subspan(width);
  }
  return decode_each(source, destination, 0, [=](const unsigned char* text, std::size_t available) {
    return read_units<width>(text, available, little_endian);
  });
}

// The mark stands before the first character and only with it.
template <std::size_t width>
Outcome encode_units(const Page& page, WideText source, ByteDestination destination) {
  const bool little_endian = page.little_endian != 0;
  const auto write = [=](WideText rest) { return write_units<width>(rest[0], little_endian); };
  if (page.marked == 0 || source.count == 0) return encode_each(source, destination, 0, 0, write);
  const Encoded first = write(source);
  if (first.length == 0) return rejected(0);
  const bool fits = width + first.length <= destination.size();
  if (fits) put_bytes(destination.data(), {stored_unit<width>(byte_order_mark, little_endian), width});
  Outcome outcome = encode_each(source, fits ? destination.subspan(width) : ByteDestination{}, 0, 0, write);
  if (outcome.status != ZVRT_ICU_RC_INVALID_CHAR || fits) outcome.count += width;
  return outcome;
}

}  // namespace

constinit const Conversions utf8_conversions = {decode_bytes<read_utf8>, encode_bytes<write_utf8>};
constinit const Conversions cesu8_conversions = {decode_bytes<read_cesu8>, encode_bytes<write_cesu8>};
constinit const Conversions utf16_conversions = {decode_units<2>, encode_units<2>};
constinit const Conversions utf32_conversions = {decode_units<4>, encode_units<4>};

}  // namespace zvrt
