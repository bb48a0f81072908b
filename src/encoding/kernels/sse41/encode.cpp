// Wide text to UTF-8 by SSE4.1, in steps of sixteen characters: their bytes are expanded in lanes, compressed by byte
// shuffles and stored in overlapping pieces, with hardly a branch on their number.
#include <cstddef>
#include <cstdint>

#include "encoding/kernels/sse41/compression.h"
#include "encoding/kernels/sse41/text.h"

namespace zvrt::sse41 {

namespace {

// ---- The characters of a step ----

// What of a step leads the text, and which of that takes more than one, two or three bytes.
struct Lengths {
  Mask inside;
  Mask from_two;
  Mask from_three;
  Mask from_four;

  std::size_t bytes() const { return count_of(inside | from_two << 16) + count_of(from_three | from_four << 16); }
  std::size_t bytes_of_eight() const {
    return count_of((inside & 0xFF) | (from_two & 0xFF) << 8 | (from_three & 0xFF) << 16 | (from_four & 0xFF) << 24);
  }
};

// Lanes of two bytes, FFFF for characters from 10000 on. Negative values are zero there and end a step as zeros do.
struct Step {
  Block low;
  Block high;
  Block bytes;  // the same in one byte, FF for what is none
  Lengths lengths;
};

ZVRT_INLINED Step classify(const Units& units) {
  const Block low = _mm_packus_epi32(units.quads[0], units.quads[1]);
  const Block high = _mm_packus_epi32(units.quads[2], units.quads[3]);
  const Block max_byte = _mm_set1_epi16(0xFF);
  const Block bytes = _mm_packus_epi16(_mm_min_epu16(low, max_byte), _mm_min_epu16(high, max_byte));
  const auto inside = static_cast<Mask>(first(lowest_bit(equal(bytes, 0) | past_block)));
  return {low, high, bytes, {inside, sign_bits(bytes) & inside, 0, 0}};
}

Mask units_above(const Units& units, int limit) {
  const auto above = [&](std::size_t i) { return _mm_cmpgt_epi32(units.quads[i], _mm_set1_epi32(limit)); };
  return sign_bits(_mm_packs_epi16(_mm_packs_epi32(above(0), above(1)), _mm_packs_epi32(above(2), above(3))));
}

// Which characters take three bytes and more. The step ends before those of more than four.
ZVRT_INLINED void classify_long(Step& step, const Units& units) {
  const Block above = _mm_packus_epi16(_mm_srli_epi16(step.low, 11), _mm_srli_epi16(step.high, 11));
  Lengths& lengths = step.lengths;
  lengths.from_three = ~equal(above, 0) & lengths.inside;
  if (lengths.from_three == 0) return;
  lengths.from_four = units_above(units, 0xFFFF) & lengths.inside;
  if (lengths.from_four == 0) return;
  const auto before = static_cast<Mask>(first(lowest_bit(units_above(units, 0x1FFFFF) | past_block)));
  lengths = {lengths.inside & before, lengths.from_two & before, lengths.from_three & before,
             lengths.from_four & before};
}

// ---- Characters in lanes, the last byte lowest ----

// The last two bytes of eight characters below 10000, marked as those of two and three bytes are.
Block last_two(Block values) {
  const auto from = [values](short limit) {
    return _mm_cmpeq_epi16(_mm_max_epu16(values, _mm_set1_epi16(limit)), values);
  };
  const Block low = _mm_and_si128(values, _mm_set1_epi16(0x3F));
  const Block high = _mm_and_si128(_mm_slli_epi16(values, 2), _mm_set1_epi16(0x3F00));
  const Block middle = _mm_and_si128(from(0x800), _mm_set1_epi16(0x4000));
  const Block marks = _mm_xor_si128(middle, _mm_set1_epi16(static_cast<short>(0xC080)));
  return _mm_blendv_epi8(values, _mm_or_si128(_mm_or_si128(low, high), marks), from(0x80));
}

// The bytes of four characters of any length.
Block expand(Block values) {
  const auto group = [](Block shifted, int mask) { return _mm_and_si128(shifted, _mm_set1_epi32(mask)); };
  const auto above = [values](int limit) { return _mm_cmpgt_epi32(values, _mm_set1_epi32(limit)); };
  const Block low = _mm_or_si128(group(values, 0x3F), group(_mm_slli_epi32(values, 2), 0x3F00));
  const Block high =
      _mm_or_si128(group(_mm_slli_epi32(values, 4), 0x3F0000), group(_mm_slli_epi32(values, 6), 0x7000000));
  const Block two = above(0x7F);
  // The marks of each length, turned into those of the next.
  Block marks = group(two, 0xC080);
  marks = _mm_xor_si128(marks, group(above(0x7FF), 0xC080 ^ 0xE08080));
  marks = _mm_xor_si128(marks, group(above(0xFFFF), static_cast<int>(0xE08080 ^ 0xF0808080)));
  return _mm_blendv_epi8(values, _mm_or_si128(_mm_or_si128(low, high), marks), two);
}

// ---- Lanes compressed ----

Block compress(Block lanes, const std::uint8_t (&order)[16]) {
  return _mm_shuffle_epi8(lanes, _mm_load_si128(reinterpret_cast<const Block*>(order)));
}

// Bytes at the start of a block; zeros follow, except in the last of a text.
struct Compressed {
  Block bytes;
  std::size_t count;
};

// ---- Stores of any count ----

// One to seven bytes.
void store_small(char* dst, std::size_t count, Block block) {
  const auto bytes = static_cast<std::uint64_t>(_mm_cvtsi128_si64(block));
  if (count >= 4) {
    store(dst, 0, static_cast<std::uint32_t>(bytes));
    store(dst + count - 4, 0, static_cast<std::uint32_t>(bytes >> (count - 4) * 8));
  } else if (count >= 2) {
    store(dst, 0, static_cast<std::uint16_t>(bytes));
    store(dst + count - 2, 0, static_cast<std::uint16_t>(bytes >> (count - 2) * 8));
  } else if (count == 1) {
    dst[0] = static_cast<char>(bytes);
  }
}

// From four bytes to `max_count`, kept in memory where they can be taken from any place.
template <std::size_t max_count>
void store_pieces(char* dst, std::size_t count, const char* kept) {
  for (std::size_t piece = 0; piece < max_count; piece += 4) {
    const std::size_t at = min(piece, count - 4);
    store(dst + at, 0, load<std::uint32_t>(kept + at));
  }
}

// Up to sixteen bytes.
void store_sixteen(char* dst, std::size_t count, Block bytes) {
  if (count < 4) return store_small(dst, count, bytes);
  alignas(block_bytes) char kept[block_bytes];
  store_block(kept, bytes);
  store_pieces<block_bytes>(dst, count, kept);
}

// The bytes of two blocks together: by eights, from the first sixteen and the last sixteen of them.
ZVRT_INLINED void store_joined(char* dst, const Compressed& low, const Compressed& high) {
  const std::size_t count = low.count + high.count;
  const Block leading = _mm_or_si128(low.bytes, shift_up(high.bytes, low.count));
  if (count < 8) return store_small(dst, count, leading);
  const Block from_low = shift_down(low.bytes, static_cast<std::ptrdiff_t>(count) - 16);
  alignas(block_bytes) char first[block_bytes];
  alignas(block_bytes) char last[block_bytes];
  store_block(first, leading);
  store_block(last, _mm_or_si128(from_low, shift_up(high.bytes, block_bytes - high.count)));
  const std::size_t second = min(8, count - 8);
  const std::size_t third = count - min(count, block_bytes);
  store(dst, 0, load<std::uint64_t>(first));
  store(dst + second, 0, load<std::uint64_t>(first + second));
  store(dst + third, 0, load<std::uint64_t>(last + (third + block_bytes - count)));
  store(dst + count - 8, 0, load<std::uint64_t>(last + 8));
}

// ---- Steps ----

// Eight characters in lanes of four bytes.
struct Lanes {
  Block low;
  Block high;
};

// Of characters below 10000.
Lanes lanes_of(Block values) {
  const Block last = last_two(values);
  const Block lead = _mm_or_si128(_mm_srli_epi16(values, 12), _mm_set1_epi16(0xE0));
  return {_mm_unpacklo_epi16(last, lead), _mm_unpackhi_epi16(last, lead)};
}

// The lengths less one of the characters are in two masks.
ZVRT_INLINED void store_lanes(char* dst, const Lanes& lanes, Mask length_low_bits, Mask from_three, std::size_t bytes) {
  const Mask first = (length_low_bits & 0xF) | (from_three & 0xF) << 4;
  const Mask second = (length_low_bits >> 4 & 0xF) | (from_three & 0xF0);
  const std::size_t leading = min(quad_compression.bytes[first], bytes);
  store_joined(dst, {compress(lanes.low, quad_compression.order[first]), leading},
               {compress(lanes.high, quad_compression.order[second]), bytes - leading});
}

// A step with characters that are not ASCII.
ZVRT_INLINED void narrow(const Step& step, const Units& units, std::size_t bytes, char* dst) {
  const Lengths& lengths = step.lengths;
  const std::size_t leading = lengths.bytes_of_eight();
  const std::size_t rest = bytes - leading;
  if (lengths.from_three == 0) {
    store_joined(dst, {compress(last_two(step.low), pair_compression.order[lengths.from_two & 0xFF]), leading},
                 {compress(last_two(step.high), pair_compression.order[lengths.from_two >> 8]), rest});
    return;
  }
  const Mask length_low_bits = lengths.from_two ^ lengths.from_three ^ lengths.from_four;
  const auto lanes = [&](Block values, std::size_t quad) {
    return lengths.from_four == 0 ? lanes_of(values) : Lanes{expand(units.quads[quad]), expand(units.quads[quad + 1])};
  };
  store_lanes(dst, lanes(step.low, 0), length_low_bits, lengths.from_three, leading);
  if (rest > 0) store_lanes(dst + leading, lanes(step.high, 2), length_low_bits >> 8, lengths.from_three >> 8, rest);
}

// Terminated text that is ASCII and ends within 32 characters, as most values do; returns its length, or 0.
std::size_t narrow_short_ascii(const char* src, char* dst, std::size_t capacity) {
  constexpr std::size_t max_count = 2 * step_units;
  if (!may_read_ahead(src, max_count * 4)) return 0;
  const Block low = classify(load_step(src)).bytes;
  const Block high = classify(load_step(src + step_units * 4)).bytes;
  const Mask end = equal(low, 0) | equal(high, 0) << step_units;
  const Mask others = sign_bits(low) | sign_bits(high) << step_units;
  if (end == 0) return 0;
  const std::size_t count = lowest_bit(end);
  if ((others & first(count)) != 0 || count < 4 || count > capacity) return 0;
  alignas(block_bytes) char kept[max_count];
  store_block(kept, low);
  store_block(kept + block_bytes, high);
  store_pieces<max_count>(dst, count, kept);
  return count;
}

// ---- Texts ----

template <bool writes, class Source>
ZVRT_INLINED Progress encode_prefix(const void* src, Source source, char* dst, std::size_t capacity) {
  const auto* text = static_cast<const char*>(src);
  std::size_t read = 0;
  std::size_t written = 0;
  while (source.has_units(read)) {
    const Units units = source.units(text, read);
    Step step = classify(units);
    const Lengths& lengths = step.lengths;
    const bool is_full = lengths.inside == all_of_block;
    if (writes && is_full && lengths.from_two == 0 && capacity - written >= block_bytes) {
      store_block(dst + written, step.bytes);
      read += step_units;
      written += block_bytes;
      continue;
    }
    if (lengths.from_two != 0) classify_long(step, units);
    const std::size_t bytes = lengths.bytes();
    if (writes && bytes > capacity - written) [[unlikely]]
      break;
    if (writes) {
      if (lengths.from_two != 0) {
        narrow(step, units, bytes, dst + written);
      } else {
        store_sixteen(dst + written, bytes, step.bytes);
      }
    }
    written += bytes;
    // Of a whole step the next is looked at before the characters are counted.
    if (lengths.inside != all_of_block) {
      read += count_of(lengths.inside);
      break;
    }
    read += step_units;
  }
  return {read, written};
}

}  // namespace

// Kept apart, so that ASCII does not wait for what this saves and restores.
[[gnu::noinline]] Progress encode_any(const void* src, char* dst, std::size_t capacity) {
  return encode_prefix<true>(src, Terminated{}, dst, capacity);
}

Progress encode(const void* src, std::size_t count, char* dst, std::size_t capacity) {
  return encode_prefix<true>(src, Counted{count}, dst, capacity);
}
Progress encode_terminated(const void* src, char* dst, std::size_t capacity) {
  const std::size_t ascii = narrow_short_ascii(static_cast<const char*>(src), dst, capacity);
  return ascii != 0 ? Progress{ascii, ascii} : encode_any(src, dst, capacity);
}
Progress count_encoded(const void* src, std::size_t count) {
  return encode_prefix<false>(src, Counted{count}, nullptr, 0);
}

}  // namespace zvrt::sse41
