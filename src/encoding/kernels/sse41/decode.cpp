// UTF-8 to wide text by SSE4.1: the characters of sixteen bytes are found by their ends, gathered by byte shuffles and
// stored by pieces that overlap as far as they have to, so that their number costs hardly a branch.
#include <cstddef>
#include <cstdint>

#include "encoding/kernels/sse41/text.h"

namespace zvrt::sse41 {

namespace {

// Which bytes of a block end a character, up to the first that is not well-formed.
struct Characters {
  Mask ends;
  std::size_t stop;  // bytes they take
  bool are_short;    // none takes more than two bytes
};

// Which bytes have this value or more: the subtraction brings it to 80.
Mask at_least(Block bytes, unsigned value) { return sign_bits(_mm_subs_epu8(bytes, repeat(value - 0x80))); }

ZVRT_INLINED Characters locate(Block bytes) {
  const std::size_t text = lowest_bit(equal(bytes, 0) | past_block);
  const auto span = static_cast<Mask>(first(text + 1));  // its terminator included
  const Mask two = at_least(bytes, 0xC0);                // leads of two bytes or more
  const Mask three = at_least(bytes, 0xE0);
  const Mask four = at_least(bytes, 0xF0);
  const Mask continuations = sign_bits(bytes) ^ two;
  const Mask expected = two << 1 | three << 2 | four << 3;
  // Lead bytes F8..FF; and C0, D0, E0 or F0 followed by 80, since such a sequence may encode U+0000. (D0 80 does not,
  // but is rare.)
  const Block beyond = _mm_subs_epu8(bytes, repeat(0xF8 - 0x80));
  const Block empty = _mm_cmpeq_epi8(_mm_and_si128(bytes, repeat(0xCF)), repeat(0xC0));
  const Block next_empty = _mm_cmpeq_epi8(_mm_srli_si128(bytes, 1), repeat(0x80));
  const Mask malformed = sign_bits(_mm_or_si128(beyond, _mm_and_si128(empty, next_empty)));
  // Bit i of `faults` is set one byte after the lead of a malformed sequence; everything before that lead is converted.
  const Mask faults = ((expected ^ continuations) | malformed << 1) & span;
  const Mask starts = ~continuations & span & below(faults);
  // Before each start but the first a character ends.
  return {starts >> 1, highest_bit(starts | 1), (three & span) == 0};
}

// Keeps as many characters as fit.
void clip(Characters& characters, std::size_t capacity) {
  while (count_of(characters.ends) > capacity) characters.ends ^= Mask{1} << highest_bit(characters.ends);
  characters.stop = characters.ends == 0 ? 0 : highest_bit(characters.ends) + 1;
}

// The positions of the bits that are set in a byte.
struct BitPositions {
  std::uint8_t of[256][8];
  constexpr BitPositions() : of() {
    for (unsigned bits = 0; bits < 256; ++bits) {
      unsigned count = 0;
      for (std::uint8_t bit = 0; bit < 8; ++bit) {
        if ((bits >> bit & 1) != 0) of[bits][count++] = bit;
      }
    }
  }
};
constexpr BitPositions bit_positions;

// The positions of the bits that are set in sixteen, in ascending order.
Block positions_of(Mask bits) {
  const Block low = _mm_loadl_epi64(reinterpret_cast<const Block*>(bit_positions.of[bits & 0xFF]));
  const Block high = _mm_loadl_epi64(reinterpret_cast<const Block*>(bit_positions.of[bits >> 8]));
  return _mm_or_si128(low, shift_up(_mm_add_epi8(high, repeat(8)), count_of(bits & 0xFF)));
}

// The payload of a character's bytes in its lane, the last byte lowest, as that character.
Block join_payload(Block lanes) {
  const Block pairs = _mm_maddubs_epi16(lanes, _mm_set1_epi16(0x4001));        // upper * 64 + lower
  const Block characters = _mm_madd_epi16(pairs, _mm_set1_epi32(0x10000001));  // upper * 4096 + lower
  const Block replaced = _mm_cmpeq_epi32(characters, _mm_set1_epi32(0xFFFD));
  return _mm_xor_si128(characters, _mm_and_si128(replaced, _mm_set1_epi32(0xFFFD ^ '?')));
}

// Up to four characters, of a block that repeats the last of them.
void store_few(char* dst, std::size_t count, Block characters) {
  store(dst, 0, static_cast<Wide>(_mm_cvtsi128_si32(characters)));
  store(dst, min(1, count - 1), static_cast<Wide>(_mm_extract_epi32(characters, 1)));
  store(dst, min(2, count - 1), static_cast<Wide>(_mm_extract_epi32(characters, 2)));
  store(dst, count - 1, static_cast<Wide>(_mm_extract_epi32(characters, 3)));
}

// ---- Characters of one and two bytes ----

// Those whose last bytes stand at the positions that eight indices choose, in lanes of two bytes.
Block gather_short(Block bytes, Block positions, Block indices) {
  const Block last_and_before = _mm_sub_epi8(_mm_shuffle_epi8(positions, indices), _mm_set1_epi16(0x0100));
  const Block raw = _mm_shuffle_epi8(bytes, last_and_before);
  const Block joined = _mm_maddubs_epi16(_mm_and_si128(raw, _mm_set1_epi16(0x1F3F)), _mm_set1_epi16(0x4001));
  const Block two = _mm_srai_epi16(_mm_slli_epi16(raw, 8), 15);
  return _mm_blendv_epi8(_mm_and_si128(raw, _mm_set1_epi16(0x7F)), joined, two);
}

// The indices of eight characters from `first` on, in pieces of `piece` that start at `last` at the latest.
template <unsigned piece, unsigned first = 0>
Block short_indices(Block last) {
  static constexpr Bytes starts([](unsigned i) { return first + i / 2 / piece * piece; });
  static constexpr Bytes offsets([](unsigned i) { return i / 2 % piece; });
  return _mm_add_epi8(_mm_min_epu8(starts.block(), last), offsets.block());
}

ZVRT_INLINED void widen_short(Block bytes, Block lasts, std::size_t count, char* dst) {
  const Block zero = _mm_setzero_si128();
  if (count == 1) {
    const Block character = _mm_unpacklo_epi16(gather_short(bytes, lasts, zero), zero);
    return store(dst, 0, static_cast<Wide>(_mm_cvtsi128_si32(character)));
  }
  if (count < 6) {  // by twos
    const std::size_t last = count - 2;
    const Block lanes = gather_short(bytes, lasts, short_indices<2>(repeat_of(last)));
    const Block four = _mm_unpacklo_epi16(lanes, zero);
    const auto store_two = [dst](std::size_t at, Block two) {
      _mm_storel_epi64(reinterpret_cast<Block*>(dst + at * 4), two);
    };
    store_two(0, four);
    store_two(min(2, last), _mm_unpackhi_epi64(four, four));
    store_two(last, _mm_unpackhi_epi16(lanes, zero));
    return;
  }
  const std::size_t last = count - 4;
  const auto store_eight = [&](std::size_t at, Block indices) {
    const Block lanes = gather_short(bytes, lasts, indices);
    store_block(dst + min(at, last) * 4, _mm_unpacklo_epi16(lanes, zero));
    store_block(dst + min(at + 4, last) * 4, _mm_unpackhi_epi16(lanes, zero));
  };
  store_eight(0, short_indices<4>(repeat_of(last)));
  store_eight(8, short_indices<4, 8>(repeat_of(last)));
}

// ---- Characters of any length ----

// What of each byte is payload, by its upper half.
Block payload_of(Block bytes) {
  const Block payloads = _mm_setr_epi8(0x7F, 0x7F, 0x7F, 0x7F, 0x7F, 0x7F, 0x7F, 0x7F,  //
                                       0x3F, 0x3F, 0x3F, 0x3F, 0x1F, 0x1F, 0x0F, 0x07);
  return _mm_and_si128(bytes, _mm_shuffle_epi8(payloads, _mm_and_si128(_mm_srli_epi16(bytes, 4), repeat(0x0F))));
}

ZVRT_INLINED void widen_any(Block bytes, Block lasts, std::size_t count, char* dst) {
  const Block payload = payload_of(bytes);
  const Block firsts = _mm_slli_si128(_mm_add_epi8(lasts, repeat(1)), 1);
  const auto gather = [=](Block indices) {
    const Block first = _mm_shuffle_epi8(firsts, indices);
    const Block positions = _mm_sub_epi8(_mm_shuffle_epi8(lasts, indices), _mm_set1_epi32(0x03020100));
    return join_payload(_mm_shuffle_epi8(payload, _mm_or_si128(positions, _mm_cmpgt_epi8(first, positions))));
  };
  const Block offsets = _mm_setr_epi8(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3);
  if (count < 4) return store_few(dst, count, gather(_mm_min_epu8(offsets, repeat_of(count - 1))));
  const std::size_t last = count - 4;
  const auto store_four = [&](unsigned at) {
    const Block start = _mm_min_epu8(repeat(at), repeat_of(last));
    store_block(dst + min(at, last) * 4, gather(_mm_add_epi8(start, offsets)));
  };
  store_four(0);
  store_four(4);
  if (count <= 8) return;
  store_four(8);
  store_four(12);
}

// ---- Characters of three or of four bytes and no other ----

template <unsigned length>
struct EqualCharacters {
  static constexpr std::size_t max_count = block_bytes / length;
  static constexpr unsigned used = max_count * length;
  // The payload bytes of a lane: where the characters start, and the last byte lowest.
  static constexpr Bytes starts{[](unsigned i) { return i / 4 * length; }};
  static constexpr Bytes offsets{[](unsigned i) { return i % 4 < length ? length - 1 - i % 4 : 0x80; }};

  Block payload;
  Mask others;  // bytes that do not fit

  // Leads without payload before a continuation byte without do not, as they may make a zero.
  explicit EqualCharacters(Block bytes) {
    static constexpr Bytes marks([](unsigned i) {
      return i >= used ? 0 : i % length != 0 ? 0x80 : length == 3 ? 0xE0 : 0xF0;
    });
    static constexpr Bytes marked([](unsigned i) {
      return i >= used ? 0 : i % length != 0 ? 0xC0 : length == 3 ? 0xF0 : 0xF8;
    });
    constexpr Mask leads = length == 3 ? 0x1249 : 0x1111;
    const Block zero = _mm_setzero_si128();
    payload = _mm_xor_si128(bytes, marks.block());
    const Mask fitting = sign_bits(_mm_cmpeq_epi8(_mm_and_si128(payload, marked.block()), zero));
    const Mask empty = sign_bits(_mm_cmpeq_epi8(payload, zero));
    others = (fitting ^ all_of_block) | (empty & empty >> 1 & leads);
  }

  std::size_t leading() const {
    const std::size_t bytes = lowest_bit(others | Mask{1} << used);
    return length == 3 ? bytes * 11 >> 5 : bytes / 4;  // a third of up to 15
  }

  Block characters(Block at) const {
    return join_payload(_mm_shuffle_epi8(payload, _mm_add_epi8(at, offsets.block())));
  }
  void widen(std::size_t count, char* dst) const {
    if (length == 4 || count < 4) {
      return store_few(dst, count, characters(_mm_min_epu8(starts.block(), repeat_of((count - 1) * length))));
    }
    const std::size_t last = count - 4;
    store_block(dst, characters(starts.block()));
    store_block(dst + last * 4, characters(_mm_add_epi8(starts.block(), repeat_of(last * length))));
  }
  void widen_all(char* dst) const {
    store_block(dst, characters(starts.block()));
    if (length == 3) store_block(dst + 4, characters(_mm_add_epi8(starts.block(), repeat(length))));
  }
};

// Once a run of them is under way, full blocks are expected: a branch predicts them, and where the next block begins
// need not wait for the count of this one.
template <unsigned length>
ZVRT_INLINED Progress widen_equal(Block bytes, bool under_way, char* dst, std::size_t capacity) {
  using Equal = EqualCharacters<length>;
  const Equal equal(bytes);
  if (under_way && equal.others == 0 && capacity >= Equal::max_count) {
    equal.widen_all(dst);
    return {Equal::used, Equal::max_count};
  }
  const std::size_t count = equal.leading();
  if (count == 0 || count > capacity) return {0, 0};
  equal.widen(count, dst);
  return {count * length, count};
}

// ---- ASCII ----

void widen_sixteen(Block bytes, char* dst) {
  store_block(dst, _mm_cvtepu8_epi32(bytes));
  store_block(dst + 16, _mm_cvtepu8_epi32(_mm_srli_si128(bytes, 4)));
  store_block(dst + 32, _mm_cvtepu8_epi32(_mm_srli_si128(bytes, 8)));
  store_block(dst + 48, _mm_cvtepu8_epi32(_mm_srli_si128(bytes, 12)));
}

// From four bytes to `max_count`.
template <std::size_t max_count>
void widen_pieces(const char* src, std::size_t count, char* dst) {
  for (std::size_t piece = 0; piece < max_count; piece += 4) {
    const std::size_t at = min(piece, count - 4);
    store_block(dst + at * 4, _mm_cvtepu8_epi32(_mm_cvtsi32_si128(load<std::int32_t>(src + at))));
  }
}

// The blocks of ASCII that lead a text, and what is left of it where that is ASCII as well; returns the bytes taken.
template <class Source>
ZVRT_INLINED std::size_t widen_ascii(const char* src, Source source, std::size_t read, char* dst,
                                     std::size_t capacity) {
  std::size_t done = 0;
  for (; capacity - done >= block_bytes && source.has_block(src, read + done); done += block_bytes) {
    const char* at = src + read + done;
    const Block bytes = load_block(at);
    // Signed, the bytes 01 to 7F are exactly the ones above zero.
    const Mask others = sign_bits(_mm_cmpgt_epi8(bytes, _mm_setzero_si128())) ^ all_of_block;
    if (others == 0) {
      widen_sixteen(bytes, dst + done * 4);
      continue;
    }
    const std::size_t count = lowest_bit(others);
    if (count < 4 || at[count] != 0) break;
    widen_pieces<block_bytes>(at, count, dst + done * 4);
    return done + count;
  }
  return done;
}

// Terminated text that starts with ASCII, as most values do: all of it where it ends within 32 bytes, else whole blocks.
std::size_t widen_leading_ascii(const char* src, char* dst, std::size_t capacity) {
  constexpr std::size_t max_count = 2 * block_bytes;
  if (static_cast<signed char>(src[0]) <= 0 || !may_read_ahead(src, max_count)) return 0;
  const Block low = load_block(src);
  const Block high = load_block(src + block_bytes);
  const Mask end = equal(low, 0) | equal(high, 0) << block_bytes;
  const Mask others = sign_bits(low) | sign_bits(high) << block_bytes;
  const std::size_t count = lowest_bit(end | std::uint64_t{1} << max_count);
  if ((others & first(count)) != 0) return 0;
  if (count != max_count) [[likely]] {
    if (count < 4 || count > capacity) return 0;
    widen_pieces<max_count>(src, count, dst);
    return count;
  }
  if (capacity < max_count) return 0;
  widen_sixteen(low, dst);
  widen_sixteen(high, dst + block_bytes * 4);
  return max_count + widen_ascii(src, Terminated{}, max_count, dst + max_count * 4, capacity - max_count);
}

// ---- Texts ----

template <bool writes, class Source>
ZVRT_INLINED Progress decode_prefix(const char* src, Source source, void* dst, std::size_t capacity,
                                    std::size_t ascii = 0) {
  std::size_t read = ascii;
  std::size_t written = ascii;
  bool under_way = false;
  while (source.goes_on(src, read)) {
    const Block bytes = source.bytes(src, read);
    char* out = writes ? static_cast<char*>(dst) + written * 4 : nullptr;
    const auto lead = static_cast<unsigned char>(src[read]);
    if (writes && lead >= 0xE0) {
      const Progress progress = lead < 0xF0 ? widen_equal<3>(bytes, under_way, out, capacity - written)
                                            : widen_equal<4>(bytes, under_way, out, capacity - written);
      read += progress.read;
      written += progress.written;
      under_way = true;
      if (progress.read > 0) continue;
    }
    Characters characters = locate(bytes);
    std::size_t found = count_of(characters.ends);
    if (writes && found > capacity - written) [[unlikely]] {
      clip(characters, capacity - written);
      found = capacity - written;
    }
    if (found == 0) break;
    if (writes) {
      const Block lasts = positions_of(characters.ends);
      if (characters.are_short) {
        widen_short(bytes, lasts, found, out);
      } else {
        widen_any(bytes, lasts, found, out);
      }
    }
    read += characters.stop;
    written += found;
    if (writes && found == block_bytes) {  // ASCII, and so perhaps is what follows
      const std::size_t more = widen_ascii(src, source, read, out + block_bytes * 4, capacity - written);
      read += more;
      written += more;
    }
  }
  return {read, written};
}

}  // namespace

// Kept apart, so that ASCII does not wait for what this saves and restores.
[[gnu::noinline]] Progress decode_after_ascii(const char* src, std::size_t ascii, void* dst, std::size_t capacity) {
  return decode_prefix<true>(src, Terminated{}, dst, capacity, ascii);
}

Progress decode(const char* src, std::size_t count, void* dst, std::size_t capacity) {
  return decode_prefix<true>(src, Counted{count}, dst, capacity);
}
Progress decode_terminated(const char* src, void* dst, std::size_t capacity) {
  const std::size_t ascii = widen_leading_ascii(src, static_cast<char*>(dst), capacity);
  if (ascii != 0 && src[ascii] == 0) return {ascii, ascii};
  return decode_after_ascii(src, ascii, dst, capacity);
}
Progress count_decoded(const char* src, std::size_t count) {
  return decode_prefix<false>(src, Counted{count}, nullptr, 0);
}

}  // namespace zvrt::sse41
