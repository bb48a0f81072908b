// A page of two sets, one byte and two bytes per character, with shifts between them: the mixed EBCDIC pages.
//
// A text begins with single bytes. After the shift 0E a character is a pair, after 0F a byte again: [s s 0E l t l t 0F s].
// Reading keeps that state, and takes shifts that change nothing. Writing inserts a shift where the length of the codes
// changes, and a closing 0F where the text ends in pairs. So does the beginning that fits into a small destination: a pair
// is stored only if its closing shift fits as well, hence what is written is always a complete text.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "forms.h"
#include "page_data.h"

namespace zvrt {

namespace {

constexpr unsigned char shift_out = 0x0E;  // two bytes per character from here
constexpr unsigned char shift_in = 0x0F;   // one byte per character from here

Outcome decode(const Page& page, Bytes source, WideDestination destination) {
  bool shifted = false;
  std::size_t made = 0;
  for (std::size_t at = 0; at < source.size();) {
    if (source[at] == shift_out || source[at] == shift_in) {
      shifted = source[at++] == shift_out;
      continue;
    }
    const unsigned char* const text = source.data() + at;
    const Decoded next = shifted ? read_pair(page, page.pairs, text, source.size() - at) : read_single(page, text);
    if (next.length == 0) return rejected(std::min(made, destination.count));
    if (next.character >= Decoded::two)
      put_two(next.character, destination, made++);
    else if (made < destination.count)
      destination.put(made, next.character);
    ++made;
    at += next.length;
  }
  return converted(made, destination.count);
}

Encoded write(const Page& page, CodeTrie<std::uint16_t> code_of, WideText rest) {
  if (page.composition_count != 0 && rest.count > 1)
    if (const Code code = composition(page, rest[0], rest[1]); code != 0) return {code, 2, 2};
  const Code code = code_of[rest[0]];
  return {code, code != CodeTrie<std::uint16_t>::none ? length_of(code) : 0};
}

Outcome encode(const Page& page, WideText source, ByteDestination destination) {
  const CodeTrie<std::uint16_t> code_of = short_codes(page);
  std::size_t needed = 0;  // without the closing shift
  bool shifted = false;
  std::size_t written = 0;  // likewise, of what stands in the destination
  bool left_shifted = false;
  const auto close = [&] {
    if (left_shifted) destination[written++] = shift_in;
    left_shifted = false;
    return written;
  };
  for (std::size_t i = 0; i < source.count;) {
    Encoded next = write(page, code_of, source.from(i));
    if (next.length == 0) return rejected(close());
    const bool pair = next.length == 2;
    if (pair != shifted) next = {next.bytes << 8 | (pair ? shift_out : shift_in), next.length + 1, next.taken};
    shifted = pair;
    // Nothing fits after a character that did not: what is needed, its closing shift included, only grows.
    if (needed + next.length + (shifted ? 1 : 0) <= destination.size()) {
      put_bytes(destination.data() + needed, next);
      written = needed + next.length;
      left_shifted = shifted;
    }
    needed += next.length;
    i += next.taken;
  }
  close();
  return converted(needed + (shifted ? 1 : 0), destination.size());
}

}  // namespace

constinit const Conversions stateful_conversions = {decode, encode};

}  // namespace zvrt
