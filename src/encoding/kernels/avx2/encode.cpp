// Wide text and UTF-16 to UTF-8 by AVX2, in steps of sixteen characters.
//
// The characters stand in lanes of 16 bits; two masks tell which take two bytes or more and three or more. Their bytes are
// put together in lanes, the last one lowest, and one shuffle for each four or eight characters brings them together:
//
//   U+0080..U+07FF   [00000bbb|bbaaaaaa]  ->  [110bbbbb|10aaaaaa]
//   U+0800..U+FFFF   [ccccbbbb|bbaaaaaa]  ->  [00000000|1110cccc|10bbbbbb|10aaaaaa], by [1110cccc] and the lane above
//
// Sixteen bytes are stored of every four or eight characters, over what follows. A step is stored once the next one is known
// to be converted too, which writes at least those sixteen bytes.
#include <cstddef>
#include <cstdint>

#include "encoding/kernels/avx2/text.h"
#include "encoding/kernels/baseline/text.h"
#include "encoding/kernels/sse41/compression.h"
#include "encoding/kernels/sse41/text.h"
#include "support/read_ahead.h"
#include "support/units.h"

namespace zvrt::avx2 {

namespace {

constexpr std::size_t step_units = 16;
constexpr std::size_t max_step_bytes = 4 * step_units;
constexpr std::size_t ascii_step = 2 * step_units;
constexpr std::size_t min_counted = 3 * step_units;  // shorter text is faster without steps

// ---- Characters of a step ----

// Lanes of 16 bits, FFFF for a character above; all of them may be converted if `is_usual`.
struct FromWide {
  static constexpr std::size_t unit = 4;
  static constexpr auto other = sse41::encode;

  Vector low;
  Vector high;
  Vector values;
  bool is_usual;

  // 1 to 1FFFFF, which have one to four bytes.
  static bool are_usual(Vector units) {
    const Vector above = _mm256_cmpgt_epi32(units, repeat32(0x1FFFFF));
    return sign_bits(_mm256_andnot_si256(above, _mm256_cmpgt_epi32(units, _mm256_setzero_si256()))) == all_of_vector;
  }
  static FromWide load(const char* src) {
    const Vector low = load_vector(src);
    const Vector high = load_vector(src + 32);
    const Vector values = pack_units(low, high);
    // 0 and FFFF together are the two greatest values less 1.
    const bool may_be_unusual = !is_zero(from16(_mm256_sub_epi16(values, repeat16(1)), 0xFFFE));
    return {low, high, values, !may_be_unusual || (are_usual(low) && are_usual(high))};
  }
  // A bit for each character of four bytes.
  Mask from_four() const {
    if (is_zero(_mm256_cmpeq_epi16(values, repeat16(0xFFFF)))) return 0;
    const auto above = [](Vector units) {
      const Vector lanes = _mm256_cmpgt_epi32(units, repeat32(0xFFFF));
      return static_cast<Mask>(_mm256_movemask_ps(_mm256_castsi256_ps(lanes)));
    };
    return above(low) | above(high) << 8;
  }
};

struct FromUtf16 {
  static constexpr std::size_t unit = 2;
  static constexpr auto other = baseline::utf16_to_utf8;

  Vector low;
  Vector high;
  Vector values;
  bool is_usual;

  static FromUtf16 load(const char* src) {
    const Vector values = load_vector(src);
    const Vector surrogates = _mm256_cmpeq_epi16(_mm256_and_si256(values, repeat16(0xF800)), repeat16(0xD800));
    const Vector zeros = _mm256_cmpeq_epi16(values, _mm256_setzero_si256());
    return {values, values, values, is_zero(_mm256_or_si256(surrogates, zeros))};
  }
  static Mask from_four() { return 0; }
};

// ---- Their bytes ----

// The last two bytes of characters below 10000, marked as those of two and three bytes are.
Vector last_two(Vector values, Vector two, Vector three) {
  const Vector low = _mm256_and_si256(values, repeat16(0x3F));
  const Vector high = _mm256_and_si256(_mm256_slli_epi16(values, 2), repeat16(0x3F00));
  const Vector marks = _mm256_xor_si256(_mm256_and_si256(three, repeat16(0x4000)), repeat16(0xC080));
  return _mm256_blendv_epi8(values, _mm256_or_si256(_mm256_or_si256(low, high), marks), two);
}

// The bytes of eight characters of any length.
Vector expand(Vector values) {
  const auto group = [](Vector shifted, std::uint32_t mask) { return _mm256_and_si256(shifted, repeat32(mask)); };
  const auto above = [values](std::uint32_t limit) { return _mm256_cmpgt_epi32(values, repeat32(limit)); };
  const Vector low = _mm256_or_si256(group(values, 0x3F), group(_mm256_slli_epi32(values, 2), 0x3F00));
  const Vector high =
      _mm256_or_si256(group(_mm256_slli_epi32(values, 4), 0x3F0000), group(_mm256_slli_epi32(values, 6), 0x7000000));
  const Vector two = above(0x7F);
  // The marks of each length, turned into those of the next.
  Vector marks = group(two, 0xC080);
  marks = _mm256_xor_si256(marks, group(above(0x7FF), 0xC080 ^ 0xE08080));
  marks = _mm256_xor_si256(marks, group(above(0xFFFF), 0xE08080 ^ 0xF0808080));
  return _mm256_blendv_epi8(values, _mm256_or_si256(_mm256_or_si256(low, high), marks), two);
}

void store_compressed(char* dst, Block lanes, const std::uint8_t (&order)[16]) {
  store_block(dst, _mm_shuffle_epi8(lanes, load_block(order)));
}

// Which of sixteen characters take two bytes or more and three or more, of each eight in eight bits:
// [two 0..7 | three 0..7 | two 8..15 | three 8..15].
Mask length_bits(Vector two, Vector three) { return sign_bits(_mm256_packs_epi16(two, three)); }

// The four bits from `place` on and those eight above them, as one byte.
Mask quad_index(Mask bits, unsigned place) {
  const Mask nibbles = bits >> place & 0x0F0F;
  return (nibbles | nibbles >> 4) & 0xFF;
}

// Sixteen characters in lanes of four bytes, by fours.
struct Quads {
  Block lanes[4];
};

ZVRT_INLINED std::size_t store_quads(char* dst, const Quads& quads, Mask bits, Mask from_four) {
  // Lengths less one in two bits, the lower ones in place of `two`.
  const Mask fours = (from_four & 0xFF) | (from_four & 0xFF00) << 8;
  const Mask lengths = bits ^ (bits >> 8 & 0x00FF00FF) ^ fours;
  const auto before = [=](Mask two_and_three, unsigned quad) {
    return quad * 4 + count_of(bits & two_and_three) + count_of(from_four & ((1U << quad * 4) - 1));
  };
  const auto store_quad = [&](std::size_t at, unsigned quad, unsigned place) {
    store_compressed(dst + at, quads.lanes[quad], sse41::quad_compression.order[quad_index(lengths, place)]);
  };
  store_quad(0, 0, 0);
  store_quad(before(0x00000F0F, 1), 1, 4);
  store_quad(before(0x0000FFFF, 2), 2, 16);
  store_quad(before(0x0F0FFFFF, 3), 3, 20);
  return before(0xFFFFFFFF, 4);
}

// Stores up to sixteen bytes more than a step has, and returns what it has.
template <class Source>
ZVRT_INLINED std::size_t store_step(char* dst, const Source& step) {
  const Vector two = from16(step.values, 0x80);
  if (is_zero(two)) {
    store_block(dst, _mm_packus_epi16(lower(step.values), upper(step.values)));
    return step_units;
  }
  const Vector three = from16(step.values, 0x800);
  const Mask bits = length_bits(two, three);
  const Vector last = last_two(step.values, two, three);
  if ((bits & 0xFF00FF00) == 0) {
    const auto& orders = sse41::pair_compression.order;
    store_compressed(dst, lower(last), orders[bits & 0xFF]);
    store_compressed(dst + 8 + count_of(bits & 0xFF), upper(last), orders[bits >> 16]);
    return step_units + count_of(bits);
  }
  const Mask from_four = step.from_four();
  if (from_four != 0) {
    const Vector low = expand(step.low);
    const Vector high = expand(step.high);
    return store_quads(dst, {{lower(low), upper(low), lower(high), upper(high)}}, bits, from_four);
  }
  const Vector lead = _mm256_or_si256(_mm256_srli_epi16(step.values, 12), repeat16(0xE0));
  const Vector even = _mm256_unpacklo_epi16(last, lead);  // characters 0..3 and 8..11
  const Vector odd = _mm256_unpackhi_epi16(last, lead);
  return store_quads(dst, {{lower(even), lower(odd), upper(even), upper(odd)}}, bits, 0);
}

// ---- ASCII ----

// 32 characters as bytes: FF for those above, 0 for negative ones.
template <std::size_t unit>
ZVRT_INLINED Vector ascii_bytes(const char* src) {
  if constexpr (unit == 2) {
    const auto sixteen = [](const char* at) { return _mm256_min_epu16(load_vector(at), repeat16(0xFF)); };
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(sixteen(src), sixteen(src + 32)), 0b11'01'10'00);
  }
  const auto sixteen = [](const char* at) {
    return _mm256_min_epu16(_mm256_packus_epi32(load_vector(at), load_vector(at + 32)), repeat16(0xFF));
  };
  const Vector low = sixteen(src);
  const Vector high = sixteen(src + 64);
  // Packed in halves: [0..3 8..11 16..19 24..27 | 4..7 12..15 20..23 28..31].
  return _mm256_permutevar8x32_epi32(_mm256_packus_epi16(low, high), _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

template <std::size_t unit, class Source>
ZVRT_INLINED void take_ascii(Run& run, Source source) {
  auto [read, written] = run.done;
  while (run.capacity - written >= ascii_step && source.has(run.src, read, ascii_step)) {
    const Vector bytes = ascii_bytes<unit>(run.src + read * unit);
    if (sign_bits(_mm256_cmpgt_epi8(bytes, _mm256_setzero_si256())) != all_of_vector) break;
    store_vector(run.dst + written, bytes);
    read += ascii_step;
    written += ascii_step;
  }
  run.done = {read, written};
}

// ---- Steps ----

template <class Source>
struct Encoding {
  static constexpr std::size_t from = Source::unit;
  static constexpr std::size_t to = 1;
  static constexpr std::size_t step = step_units;
  static constexpr std::size_t ahead = 2 * step;

  static Progress other(const char* src, std::size_t count, char* dst, std::size_t capacity) {
    return Source::other(src, count, dst, capacity);
  }

  static std::size_t stretch(const char* /*at*/) { return step; }

  template <class End>
  ZVRT_INLINED static void take_steps(Run& run, End end) {
    take_ascii<from>(run, end);
    if (!end.continues(run.src, run.done.read, ahead)) return;
    auto [read, written] = run.done;
    Source characters = Source::load(run.src + read * from);
    while (characters.is_usual && run.capacity - written >= 2 * max_step_bytes && end.has(run.src, read + step, step)) {
      const Source next = Source::load(run.src + (read + step) * from);
      if (!next.is_usual) break;
      written += store_step(run.dst + written, characters);
      read += step;
      characters = next;
    }
    run.done = {read, written};
  }
};

// ---- Short text ----

// Four bytes to 32: in pieces that overlap as far as they have to, without a branch on their number.
ZVRT_INLINED void store_pieces(char* dst, std::size_t count, Vector bytes) {
  alignas(vector_bytes) char kept[ascii_step];
  store_vector(kept, bytes);
  for (std::size_t piece = 0; piece < ascii_step; piece += 4) {
    const std::size_t at = min(piece, count - 4);
    store(dst + at, 0, load<std::uint32_t>(kept + at));
  }
}

// Terminated text after its ASCII. Kept apart, so that ASCII does not wait for what this saves and restores. Of fewer than
// 96 characters finding where they end costs more than steps save.
[[gnu::noinline]] Progress encode_after_ascii(const void* src, std::size_t ascii, char* dst, std::size_t capacity) {
  using Source = Terminated<Wide>;
  Run run{static_cast<const char*>(src), dst, capacity, {ascii, ascii}};
  const auto continues = [=](std::size_t at) { return Source::continues(run.src, ascii + at, ascii_step); };
  const bool is_long = continues(0) && continues(ascii_step) && continues(2 * ascii_step);
  if (!is_long || convert_steps<Encoding<FromWide>>(run, Source{})) {
    run.advance(sse41::encode_terminated(run.source<4>(), run.destination(), run.left()));
  }
  return run.done;
}

[[gnu::noinline]] Progress encode_counted(const void* src, std::size_t count, char* dst, std::size_t capacity) {
  Run run{static_cast<const char*>(src), dst, capacity, {}};
  if (!convert_steps<Encoding<FromWide>>(run, Counted<Wide>{count})) return run.done;
  run.advance(sse41::encode(run.source<4>(), count - run.done.read, run.destination(), run.left()));
  return run.done;
}

[[gnu::noinline]] Progress encode_utf16(const void* src, std::size_t count, char* dst, std::size_t capacity) {
  Run run{static_cast<const char*>(src), dst, capacity, {}};
  if (!convert_steps<Encoding<FromUtf16>>(run, Within<std::uint16_t>{count})) return run.done;
  run.advance(baseline::utf16_to_utf8(run.source<2>(), count - run.done.read, run.destination(), run.left()));
  return run.done;
}

}  // namespace

// ---- Texts ----

Progress encode(const void* src, std::size_t count, char* dst, std::size_t capacity) {
  const auto convert = count < min_counted ? sse41::encode : encode_counted;
  return convert(src, count, dst, capacity);
}

// Most values are ASCII or end within 32 characters.
Progress encode_terminated(const void* src, char* dst, std::size_t capacity) {
  const auto* const text = static_cast<const char*>(src);
  std::size_t done = 0;
  for (; may_read_ahead(text + done * 4, ascii_step * 4); done += ascii_step) {
    const Vector bytes = ascii_bytes<4>(text + done * 4);
    const Mask ends = sign_bits(is_zero_in<char>(bytes));
    const Mask high = sign_bits(bytes);
    if ((ends | high) == 0) {
      if (capacity - done < ascii_step) break;
      store_vector(dst + done, bytes);
      continue;
    }
    if (ends == 0) break;
    const std::size_t count = _tzcnt_u32(ends);
    const Mask inside = _bzhi_u32(high, static_cast<Mask>(count));
    if (inside != 0 || count < 4 || count > capacity - done) {
      if (done == 0) return sse41::encode_any(src, dst, capacity);
      break;
    }
    store_pieces(dst + done, count, bytes);
    return {done + count, done + count};
  }
  return encode_after_ascii(src, done, dst, capacity);
}

Progress utf16_to_utf8(const void* src, std::size_t count, char* dst, std::size_t capacity) {
  const auto convert = count < min_counted ? baseline::utf16_to_utf8 : encode_utf16;
  return convert(src, count, dst, capacity);
}

}  // namespace zvrt::avx2
