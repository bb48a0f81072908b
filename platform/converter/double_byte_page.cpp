// Pages in which the first byte of a character determines its length: of one and two bytes, of longer codes after a prefix,
// and GB18030. They share the loops; a page with longer codes has them in units of 32 bits.
//
// Reading. A character is looked up by its first byte [s] in a table of 256 units; if that is undefined, by its first two
// bytes [l|t] in a trie; if that is undefined too, by what the page has besides: a prefix and a pair [p|l|t], [p|q|l|t],
// or GB18030's four bytes, whose values count through the characters in order.
//
// Writing. A trie gives the code of a character, its bytes from the lowest on: [s|0] or [l|t]. The loop is
// software-pipelined by one character: the next code is loaded before the current one is stored. Its inner loop handles as
// many characters as fit at the longest code each, so that only a character without a code ends it; it is entered again
// with the capacity that is left.
//
// Both begin with blocks of ASCII. What the loops leave, at the end of the destination or before an invalid character, is
// converted one character at a time, which also counts what a complete destination would need.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "forms.h"
#include "gb18030_codes.h"
#include "page_data.h"

namespace zvrt {

namespace {

// Writes the code and steps past it. Whether it is one byte or two is no branch, which text of both would make hard to
// guess: two are stored, and the second after a single one is overwritten by the next character.
template <class Unit>
unsigned char* put_code(unsigned char* to, Code code) {
  to[0] = static_cast<unsigned char>(code);
  to[1] = static_cast<unsigned char>(code >> 8);
  if constexpr (sizeof(Unit) == 4)
    if (code > 0xFFFF) [[unlikely]] {
      to[2] = static_cast<unsigned char>(code >> 16);
      to[3] = static_cast<unsigned char>(code >> 24);
      return to + length_of(code);
    }
  return to + 1 + (code > 0xFF ? 1 : 0);
}

// Characters written, and the bytes that they are.
struct Progress {
  std::size_t characters;
  std::size_t bytes;
};

// Writes leading characters as far as both sides reach, and stops before one that the page does not have.
template <class Unit>
Progress write_run(const Page& page, CodeTrie<Unit> code_of, WideText source, ByteDestination destination) {
  constexpr std::size_t longest = sizeof(Unit);
  std::size_t done = narrow_ascii_blocks(page.ascii, source, destination);
  unsigned char* to = destination.data() + done;
  const unsigned char* const end = destination.data() + destination.size();
  if (done == source.count) return {done, done};
  Code code = code_of[source[done]];
  while (code != CodeTrie<Unit>::none) {
    const std::size_t fitting = static_cast<std::size_t>(end - to) / longest;
    const std::size_t stop = done + std::min(source.count - done, fitting);
    if (done + 1 >= stop) break;
    for (; done + 1 < stop; ++done) {
      const Code next = code_of[source[done + 1]];
      if (next == CodeTrie<Unit>::none) return {done, static_cast<std::size_t>(to - destination.data())};
      to = put_code<Unit>(to, code);
      code = next;
    }
  }
  if (done + 1 == source.count && code != CodeTrie<Unit>::none &&
      length_of(code) <= static_cast<std::size_t>(end - to)) {
    put_bytes(to, {code, length_of(code)});
    to += length_of(code);
    ++done;
  }
  return {done, static_cast<std::size_t>(to - destination.data())};
}

// `write` is as for encode_each; a page that writes two characters as one goes through it from the start.
template <class Unit, class Write>
Outcome encode_with(const Page& page, CodeTrie<Unit> code_of, WideText source, ByteDestination destination,
                    Write write) {
  const Progress run = page.composition_count == 0 ? write_run(page, code_of, source, destination) : Progress{0, 0};
  if (run.characters == source.count) return converted(run.bytes, destination.size());
  return encode_each(source, destination, run.characters, run.bytes, write);
}

template <class Unit>
Encoded written_by(const Page& page, CodeTrie<Unit> code_of, WideText rest) {
  if (page.composition_count != 0 && rest.count > 1)
    if (const Code code = composition(page, rest[0], rest[1]); code != 0) return {code, length_of(code), 2};
  const Code code = code_of[rest[0]];
  return {code, code != CodeTrie<Unit>::none ? length_of(code) : 0};
}

Decoded read_short(const Page& page, const unsigned char* text, std::size_t available) {
  const Decoded single = read_single(page, text);
  return single.length != 0 ? single : read_pair(page, page.pairs, text, available);
}

// ---- One and two bytes ---------------------------------------------------------------------------------------------

Outcome decode_double(const Page& page, Bytes source, WideDestination destination) {
  return decode_each(
      source, destination, widen_ascii_blocks(page.ascii, source, destination),
      [&](const unsigned char* text, std::size_t available) { return read_short(page, text, available); });
}

Outcome encode_double(const Page& page, WideText source, ByteDestination destination) {
  const CodeTrie<std::uint16_t> code_of = short_codes(page);
  return encode_with(page, code_of, source, destination,
                     [&](WideText rest) { return written_by(page, code_of, rest); });
}

// ---- Pairs after a prefix ------------------------------------------------------------------------------------------

Decoded read_prefixed(const Page& page, const unsigned char* text, std::size_t available) {
  const std::uint32_t* prefix = zvrt_words + page.prefixes;
  for (std::uint32_t i = 0; i < page.prefix_count; ++i, prefix += 3) {
    const std::size_t length = prefix[1];
    if (available < length + 2 || text[0] != (prefix[0] & 0xFF) || (length == 2 && text[1] != prefix[0] >> 8)) continue;
    const Decoded pair = read_pair(page, prefix[2], text + length, available - length);
    return pair.length != 0 ? Decoded{pair.character, pair.length + length} : offending;
  }
  return offending;
}

Outcome decode_multi(const Page& page, Bytes source, WideDestination destination) {
  return decode_each(source, destination, widen_ascii_blocks(page.ascii, source, destination),
                     [&](const unsigned char* text, std::size_t available) {
                       const Decoded shorter = read_short(page, text, available);
                       return shorter.length != 0 ? shorter : read_prefixed(page, text, available);
                     });
}

Outcome encode_multi(const Page& page, WideText source, ByteDestination destination) {
  const CodeTrie<std::uint32_t> code_of = long_codes(page);
  return encode_with(page, code_of, source, destination,
                     [&](WideText rest) { return written_by(page, code_of, rest); });
}

// ---- GB18030 -------------------------------------------------------------------------------------------------------

ZVRT_WRAPS Decoded read_quadruple(const Page& page, const unsigned char* text, std::size_t available) {
  if (available < 4) return offending;
  const std::uint32_t index = gb18030::index_of(std::uint32_t{text[0]} | std::uint32_t{text[1]} << 8 |
                                                std::uint32_t{text[2]} << 16 | std::uint32_t{text[3]} << 24);
  if (index < gb18030::tabled) return decoded_unit(page, zvrt_shorts[page.quadruples + index], 4);
  const std::uint32_t supplementary = index - gb18030::first_supplementary;
  return {0x10000 + supplementary, supplementary < 0x100000 ? 4U : 0U};
}

ZVRT_WRAPS Encoded write_gb18030(CodeTrie<std::uint32_t> code_of, char32_t character) {
  const Code code = code_of[character];
  if (code != CodeTrie<std::uint32_t>::none) return {code, length_of(code)};
  const std::uint32_t supplementary = character - 0x10000;
  if (supplementary >= 0x100000) return {0, 0};
  return {gb18030::code_of(gb18030::first_supplementary + supplementary), 4};
}

Outcome decode_gb18030(const Page& page, Bytes source, WideDestination destination) {
  return decode_each(source, destination, widen_ascii_blocks(page.ascii, source, destination),
                     [&](const unsigned char* text, std::size_t available) {
                       const Decoded shorter = read_short(page, text, available);
                       return shorter.length != 0 ? shorter : read_quadruple(page, text, available);
                     });
}

Outcome encode_gb18030(const Page& page, WideText source, ByteDestination destination) {
  const CodeTrie<std::uint32_t> code_of = long_codes(page);
  return encode_with(page, code_of, source, destination,
                     [&](WideText rest) { return write_gb18030(code_of, rest[0]); });
}

}  // namespace

constinit const Conversions double_byte_conversions = {decode_double, encode_double};
constinit const Conversions multi_byte_conversions = {decode_multi, encode_multi};
constinit const Conversions gb18030_conversions = {decode_gb18030, encode_gb18030};

}  // namespace zvrt
