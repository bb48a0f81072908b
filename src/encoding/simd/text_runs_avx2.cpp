// The text kernels by AVX2: sixteen bytes or eight characters a step, gathered and squeezed by tables.
#include <immintrin.h>

#include <cstdint>
#include <cstring>

#include "encoding/text_runs.h"
#include "frame/read_ahead.h"
#include "frame/units.h"
#include "frame/wraps.h"

namespace zvrt {

namespace {

using Block = __m128i;
using Vector = __m256i;
using Mask = std::uint32_t;

Mask first(std::size_t count) { return _bzhi_u32(~Mask{0}, static_cast<Mask>(count)); }
std::size_t lowest_bit(Mask bits) { return _tzcnt_u32(bits); }
std::size_t highest_bit(Mask bits) { return 31 - _lzcnt_u32(bits); }
std::size_t count_of(Mask bits) { return static_cast<std::size_t>(_mm_popcnt_u32(bits)); }

template <class Integer>
Integer load(const char* at) {
  Integer value;
  __builtin_memcpy(&value, at, sizeof value);
  return value;
}
template <class Integer>
void store(char* at, Integer value) {
  __builtin_memcpy(at, &value, sizeof value);
}

Block load_block(const void* at) { return _mm_loadu_si128(static_cast<const Block*>(at)); }
void store_block(char* at, Block block) { _mm_storeu_si128(reinterpret_cast<Block*>(at), block); }
Vector load_vector(const void* at) { return _mm256_loadu_si256(static_cast<const Vector*>(at)); }
Mask sign_bits(Block bytes) { return static_cast<Mask>(_mm_movemask_epi8(bytes)); }
Block repeat(unsigned char byte) { return _mm_set1_epi8(static_cast<char>(byte)); }

std::uint64_t byte_at(const char* src, std::size_t index) { return static_cast<unsigned char>(src[index]); }

constexpr std::size_t block_bytes = 16;

// Up to sixteen bytes, zeros behind them, without reading a byte more: from pieces that overlap where they have to.
Block load_bytes(const char* src, std::size_t count) {
  if (count >= block_bytes) return load_block(src);
  if (count > 8) {
    const auto above = load<std::uint64_t>(src + count - 8) >> (block_bytes - count) * 8;
    return _mm_set_epi64x(static_cast<long long>(above), load<long long>(src));
  }
  std::uint64_t bytes = 0;
  if (count >= 4) {
    const std::uint64_t above = load<std::uint32_t>(src + count - 4);
    bytes = load<std::uint32_t>(src) | above << (count - 4) * 8;
  } else if (count > 0) {
    bytes = byte_at(src, 0) | byte_at(src, count / 2) << count / 2 * 8 | byte_at(src, count - 1) << (count - 1) * 8;
  }
  return _mm_cvtsi64_si128(static_cast<long long>(bytes));
}

constexpr std::size_t step_units = 8;

// Up to eight units, zeros behind them, without reading one more.
Vector load_units(const char* src, std::size_t count) {
  if (count >= step_units) return load_vector(src);
  const Vector lanes = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
  const Vector there = _mm256_cmpgt_epi32(_mm256_set1_epi32(static_cast<int>(count)), lanes);
  return _mm256_maskload_epi32(reinterpret_cast<const int*>(src), there);
}

// Shuffles that move the bytes of a block down by a count of -16 to 16, zeros in their place.
struct Slides {
  std::uint8_t bytes[48];
  constexpr Slides() : bytes() {
    for (unsigned i = 0; i < 48; ++i) bytes[i] = i / 16 == 1 ? static_cast<std::uint8_t>(i - 16) : 0x80;
  }
};
constexpr Slides slides;

Block move_down(Block bytes, std::size_t count) {
  return _mm_shuffle_epi8(bytes, load_block(slides.bytes + block_bytes + count));
}
Block move_up(Block bytes, std::size_t count) {
  return _mm_shuffle_epi8(bytes, load_block(slides.bytes + block_bytes - count));
}

// ---- Where a source ends ----

// Text of a known count, read without a unit more.
struct Counted {
  std::size_t count;

  bool goes_on(std::size_t read) const { return read < count; }
  bool has_sixteen_units(const char* /*src*/, std::size_t read) const { return count - read >= 16; }
  Block bytes(const char* src, std::size_t read) const { return load_bytes(src + read, count - read); }
  Vector units(const char* src, std::size_t read) const { return load_units(src + read * 4, count - read); }
};

// Text up to a terminator, which ends what is ordinary. Behind a whole character the text goes on, by its terminator at
// the least.
struct Terminated {
  static bool goes_on(std::size_t /*read*/) { return true; }
  static bool has_sixteen_units(const char* src, std::size_t read) { return may_read_ahead(src + read * 4, 64); }
  static Block bytes(const char* src, std::size_t read) {
    const char* at = src + read;
    if (may_read_ahead(at, block_bytes)) [[likely]]
      return load_block(at);
    return load_bytes(at, strnlen(at, block_bytes));
  }
  static Vector units(const char* src, std::size_t read) {
    const char* at = src + read * 4;
    if (may_read_ahead(at, sizeof(Vector))) [[likely]]
      return load_vector(at);
    std::size_t count = 0;
    while (count < step_units && zvrt::load<Wide>(at, count) != 0) ++count;
    return load_units(at, count);
  }
};

// ---- UTF-8 to wide text ----

// Which bytes of a block end a character, up to the first that is not ordinary.
struct Characters {
  Block bytes;
  Mask ends;
  std::size_t stop;  // bytes they take
  bool ascii;
  bool last;  // no text is left behind them
};

// Bytes that are no continuation bytes and from a value of 80 or more: signed, ASCII is among them.
Mask at_least(Block bytes, unsigned char limit) { return sign_bits(_mm_cmpgt_epi8(bytes, repeat(limit - 1))); }
Mask equal(Block bytes, unsigned char value) { return sign_bits(_mm_cmpeq_epi8(bytes, repeat(value))); }

ZVRT_WRAPS [[gnu::always_inline]] inline Characters locate(Block bytes) {
  const Mask end = equal(bytes, 0) | 1U << block_bytes;
  const std::size_t text = lowest_bit(end);
  const Mask inside = first(text);
  const Mask high = sign_bits(bytes) & inside;
  if (high == 0) return {bytes, inside, text, true, text < block_bytes};
  const Mask leads = at_least(bytes, 0xC0) & inside;
  const Mask continuations = inside & ~leads;
  const Mask two = leads & high;  // leads of two bytes or more
  const Mask three = at_least(bytes, 0xE0) & high;
  const Mask four = at_least(bytes, 0xF0) & high;
  const Mask beyond = at_least(bytes, 0xF8) & high;
  const Mask expected = two << 1 | three << 2 | four << 3;
  // A lead byte without payload before a continuation byte without may be zero. (D0 80 is not, but rare.)
  const Mask empty = equal(_mm_and_si128(bytes, repeat(0x0F)), 0) & two;
  const Mask zeros = empty << 1 & equal(bytes, 0x80);
  // A fault lies behind the first byte of its character, also where that ends the block or the text, or is a stray
  // byte: the block stops at the last character that starts before.
  const Mask faults = (expected ^ continuations) | beyond << 1 | zeros;
  const Mask starts = (leads | 1U << text) & (faults - 1) & ~faults;  // of no fault, all
  // Before each start but the first a character ends.
  return {bytes, starts >> 1, highest_bit(starts | 1), false, faults == 0 && text < block_bytes};
}

// Keeps as many characters as there is room for.
void clip(Characters& characters, std::size_t room) {
  characters.ends = _pdep_u32(first(room), characters.ends);
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

// The positions of the bits that are set, in ascending order.
Block positions_of(Mask bits) {
  const Block low = _mm_loadl_epi64(reinterpret_cast<const Block*>(bit_positions.of[bits & 0xFF]));
  const Block high = _mm_loadl_epi64(reinterpret_cast<const Block*>(bit_positions.of[bits >> 8]));
  return _mm_or_si128(low, move_up(_mm_add_epi8(high, repeat(8)), count_of(bits & 0xFF)));
}

void store_vector(char* at, Vector vector) { _mm256_storeu_si256(reinterpret_cast<Vector*>(at), vector); }

// Up to seven wide characters and no byte more: pieces that overlap where they have to.
void store_few(char* dst, std::size_t count, Vector characters) {
  const Block low = _mm256_castsi256_si128(characters);
  if (count >= 4) {
    const Vector from =
        _mm256_add_epi32(_mm256_setr_epi32(-4, -3, -2, -1, 0, 0, 0, 0), _mm256_set1_epi32(static_cast<int>(count)));
    store_block(dst, low);
    store_block(dst + (count - 4) * 4, _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(characters, from)));
  } else if (count >= 2) {
    _mm_storel_epi64(reinterpret_cast<Block*>(dst), low);
    _mm_storel_epi64(reinterpret_cast<Block*>(dst + (count - 2) * 4), move_down(low, (count - 2) * 4));
  } else if (count == 1) {
    store(dst, _mm_cvtsi128_si32(low));
  }
}

// Each lane holds the payload of a character's bytes, the last byte lowest; returns the characters.
Vector join_payload(Vector payload) {
  const Vector pairs = _mm256_maddubs_epi16(payload, _mm256_set1_epi16(0x4001));      // upper * 64 + lower
  const Vector characters = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x10000001));  // upper * 4096 + lower
  const Vector replaced = _mm256_cmpeq_epi32(characters, _mm256_set1_epi32(0xFFFD));
  return _mm256_blendv_epi8(characters, _mm256_set1_epi32('?'), replaced);
}

// The characters whose last bytes stand at eight positions; `before` are the last bytes of those before them.
[[gnu::always_inline]] inline Vector gather(Block bytes, Block positions, Block before) {
  const Block lengths = _mm_sub_epi8(positions, before);
  const Vector spread = _mm256_setr_epi8(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3,  //
                                         4, 4, 4, 4, 5, 5, 5, 5, 6, 6, 6, 6, 7, 7, 7, 7);
  const Vector at = _mm256_sub_epi8(_mm256_shuffle_epi8(_mm256_broadcastsi128_si256(positions), spread),
                                    _mm256_set1_epi32(0x03020100));
  const Vector raw = _mm256_shuffle_epi8(_mm256_broadcastsi128_si256(bytes), at);
  // The payload of each byte by the length of its character, four places each; nothing of what is not its own.
  const Block payloads = _mm_setr_epi8(0x7F, 0, 0, 0, 0x3F, 0x1F, 0, 0, 0x3F, 0x3F, 0x0F, 0, 0x3F, 0x3F, 0x3F, 0x07);
  const Vector length = _mm256_shuffle_epi8(_mm256_broadcastsi128_si256(lengths), spread);
  const Vector place = _mm256_add_epi8(_mm256_slli_epi32(length, 2), _mm256_set1_epi32(static_cast<int>(0xFFFEFDFC)));
  const Vector payload = _mm256_and_si256(raw, _mm256_shuffle_epi8(_mm256_broadcastsi128_si256(payloads), place));
  return join_payload(payload);
}

// Sixteen bytes, where all of them are 01..7F: signed, they are the ones above zero.
bool widen_sixteen(Block bytes, char* dst) {
  if (sign_bits(_mm_cmpgt_epi8(bytes, _mm_setzero_si128())) != first(block_bytes)) return false;
  store_vector(dst, _mm256_cvtepu8_epi32(bytes));
  store_vector(dst + 32, _mm256_cvtepu8_epi32(_mm_unpackhi_epi64(bytes, bytes)));
  return true;
}

// Four characters of one length, by their bytes: the bits that mark each, and the order that puts the last byte lowest.
struct FourOf {
  Block marked;
  Block marks;
  Block order;
};

// Where they lead the block.
[[gnu::always_inline]] inline bool widen_four(Block bytes, const FourOf& form, char* dst) {
  const Block payload = _mm_xor_si128(bytes, form.marks);
  if (_mm_testz_si128(payload, form.marked) == 0) return false;
  const Block lanes = _mm_shuffle_epi8(payload, form.order);
  if (sign_bits(_mm_cmpeq_epi32(lanes, _mm_setzero_si128())) != 0) return false;
  store_block(dst, _mm256_castsi256_si128(join_payload(_mm256_castsi128_si256(lanes))));
  return true;
}

bool widen_threes(Block bytes, char* dst) {
  const FourOf threes{_mm_setr_epi8(-16, -64, -64, -16, -64, -64, -16, -64, -64, -16, -64, -64, 0, 0, 0, 0),
                      _mm_setr_epi8(-32, -128, -128, -32, -128, -128, -32, -128, -128, -32, -128, -128, 0, 0, 0, 0),
                      _mm_setr_epi8(2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1)};
  return widen_four(bytes, threes, dst);
}

bool widen_fours(Block bytes, char* dst) {
  const FourOf fours{_mm_set1_epi32(static_cast<int>(0xC0C0C0F8)), _mm_set1_epi32(static_cast<int>(0x808080F0)),
                     _mm_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12)};
  return widen_four(bytes, fours, dst);
}

// ASCII from four bytes to `most`: by pieces of four that overlap as far as they have to, without a branch on how many.
template <std::size_t most>
void widen_ascii(const char* src, std::size_t count, char* dst) {
  const std::size_t last = count - 4;
  for (std::size_t piece = 0; piece < most; piece += 4) {
    const std::size_t at = piece < last ? piece : last;
    store_block(dst + at * 4, _mm_cvtepu8_epi32(_mm_cvtsi32_si128(load<std::int32_t>(src + at))));
  }
}

// Terminated text that is ASCII and ends within 32 bytes, as most values do; returns its length, or 0.
std::size_t widen_short_ascii(const char* src, char* dst, std::size_t room) {
  if (!may_read_ahead(src, sizeof(Vector))) return 0;
  const Vector bytes = load_vector(src);
  const auto end = static_cast<Mask>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(bytes, _mm256_setzero_si256())));
  const auto high = static_cast<Mask>(_mm256_movemask_epi8(bytes));
  const std::size_t count = lowest_bit(end);  // 32 where it does not end
  if (end == 0 || count < 4 || count > room || (high & first(count)) != 0) return 0;
  widen_ascii<sizeof(Vector)>(src, count, dst);
  return count;
}

[[gnu::always_inline]] inline void widen(const Characters& from, std::size_t count, char* dst) {
  const Block positions = positions_of(from.ends);
  const Block before = _mm_or_si128(move_up(positions, 1), _mm_cvtsi32_si128(0xFF));
  const Vector low = gather(from.bytes, positions, before);
  if (count < 8) return store_few(dst, count, low);
  store_vector(dst, low);

  store_vector(dst + (count - 8) * 4,
               gather(from.bytes, move_down(positions, count - 8), move_down(before, count - 8)));
}

template <bool writes, class Source>
[[gnu::always_inline]] inline Run decode_run(const char* src, Source source, void* dst, std::size_t room) {
  std::size_t read = 0;
  std::size_t written = 0;
  while (source.goes_on(read)) {
    const Block bytes = source.bytes(src, read);
    if (writes && room - written >= block_bytes && widen_sixteen(bytes, static_cast<char*>(dst) + written * 4)) {
      read += block_bytes;
      written += block_bytes;
      continue;
    }
    if (writes && room - written >= 4) {
      char* out = static_cast<char*>(dst) + written * 4;
      const std::size_t taken = widen_threes(bytes, out) ? 12 : widen_fours(bytes, out) ? 16 : 0;
      if (taken != 0) {
        read += taken;
        written += 4;
        continue;
      }
    }
    Characters characters = locate(bytes);
    std::size_t found = count_of(characters.ends);
    if (writes && found > room - written) [[unlikely]] {
      clip(characters, room - written);
      found = room - written;
    }
    if (writes) {
      char* out = static_cast<char*>(dst) + written * 4;
      if (!characters.ascii) {
        widen(characters, found, out);
      } else if (found < 4) {
        store_few(out, found, _mm256_cvtepu8_epi32(bytes));
      } else {
        widen_ascii<block_bytes>(src + read, found, out);
      }
    }
    read += characters.stop;
    written += found;
    if (characters.last || characters.stop == 0) break;
  }
  return {read, written};
}

Run decode(const char* src, std::size_t count, void* dst, std::size_t room) {
  return decode_run<true>(src, Counted{count}, dst, room);
}
Run decode_terminated(const char* src, void* dst, std::size_t room) {
  const std::size_t ascii = widen_short_ascii(src, static_cast<char*>(dst), room);
  return ascii != 0 ? Run{ascii, ascii} : decode_run<true>(src, Terminated{}, dst, room);
}
Run count_decoded(const char* src, std::size_t count) { return decode_run<false>(src, Counted{count}, nullptr, 0); }

// ---- Wide text to UTF-8 ----

// Eight characters: how many lead that are ordinary, and which of those take more than one, two or three bytes.
struct Units {
  Vector values;
  std::size_t count;
  Mask from_two;
  Mask from_three;
  Mask from_four;

  std::size_t bytes() const { return count + count_of(from_two) + count_of(from_three) + count_of(from_four); }
};

Mask lane_bits(Vector lanes) { return static_cast<Mask>(_mm256_movemask_ps(_mm256_castsi256_ps(lanes))); }
Vector above(Vector values, int limit) { return _mm256_cmpgt_epi32(values, _mm256_set1_epi32(limit)); }

Units classify(Vector values) {
  // Negative values are not above zero, and those of more than four bytes are above the limit.
  const Mask ordinary = lane_bits(_mm256_andnot_si256(above(values, 0x1FFFFF), above(values, 0)));
  const std::size_t leading = lowest_bit(~ordinary);
  const Mask inside = first(leading);
  return {values, leading, lane_bits(above(values, 0x7F)) & inside, lane_bits(above(values, 0x7FF)) & inside,
          lane_bits(above(values, 0xFFFF)) & inside};
}

// Each character's bytes in its lane, the last lowest.
Vector spread(Vector values) {
  const auto group = [](Vector shifted, int mask) { return _mm256_and_si256(shifted, _mm256_set1_epi32(mask)); };
  const Vector low = _mm256_or_si256(group(values, 0x3F), group(_mm256_slli_epi32(values, 2), 0x3F00));
  const Vector high =
      _mm256_or_si256(group(_mm256_slli_epi32(values, 4), 0x3F0000), group(_mm256_slli_epi32(values, 6), 0x7000000));
  const Vector two = above(values, 0x7F);
  // The marks of each length, turned into those of the next.
  Vector marks = group(two, 0xC080);
  marks = _mm256_xor_si256(marks, group(above(values, 0x7FF), 0xC080 ^ 0xE08080));
  marks = _mm256_xor_si256(marks, group(above(values, 0xFFFF), static_cast<int>(0xE08080 ^ 0xF0808080)));
  return _mm256_blendv_epi8(values, _mm256_or_si256(_mm256_or_si256(low, high), marks), two);
}

// For the lengths of four characters, two bits each (the lower bits first): the order that squeezes their bytes
// together.
struct Squeezes {
  alignas(16) std::uint8_t order[256][16];
  constexpr Squeezes() : order() {
    for (unsigned lengths = 0; lengths < 256; ++lengths) {
      unsigned count = 0;
      for (unsigned i = 0; i < 4; ++i) {
        const unsigned length = 1 + (lengths >> i & 1) + (lengths >> (i + 4) & 1) * 2;
        for (unsigned k = length; k-- > 0;) order[lengths][count++] = static_cast<std::uint8_t>(i * 4 + k);
      }
      while (count < 16) order[lengths][count++] = 0x80;
    }
  }
};
constexpr Squeezes squeezes;

// From four bytes to `most`, kept in memory where they can be taken from any place: pieces of four that overlap as far
// as they have to, without a branch on how many.
template <std::size_t most>
void store_pieces(char* dst, std::size_t count, const char* bytes) {
  const std::size_t last = count - 4;
  for (std::size_t piece = 0; piece < most; piece += 4) {
    const std::size_t at = piece < last ? piece : last;
    store(dst + at, load<std::uint32_t>(bytes + at));
  }
}

// Up to sixteen bytes and no byte more.
void store_bytes(char* dst, std::size_t count, Block bytes) {
  if (count >= 4) [[likely]] {
    alignas(16) char kept[block_bytes];
    store_block(kept, bytes);
    return store_pieces<block_bytes>(dst, count, kept);
  }
  const auto low = static_cast<std::uint32_t>(_mm_cvtsi128_si32(bytes));
  if (count >= 2) {
    store(dst, static_cast<std::uint16_t>(low));
    store(dst + count - 2, static_cast<std::uint16_t>(low >> (count - 2) * 8));
  } else if (count == 1) {
    dst[0] = static_cast<char>(low);
  }
}

// The bytes of four characters, zeros behind them.
struct Squeezed {
  Block bytes;
  std::size_t count;
};

[[gnu::always_inline]] inline Squeezed squeeze(const Units& units, Block bytes, unsigned lanes) {
  const Mask inside = first(units.count) >> lanes & 0xF;
  const Mask two = units.from_two >> lanes & 0xF;
  const Mask three = units.from_three >> lanes & 0xF;
  const Mask four = units.from_four >> lanes & 0xF;
  const Block order = _mm_load_si128(reinterpret_cast<const Block*>(squeezes.order[(two ^ three ^ four) | three << 4]));
  return {_mm_shuffle_epi8(bytes, order), count_of(inside | two << 4 | three << 8 | four << 12)};
}

Block narrow_ascii(Vector low, Vector high) {
  const Vector units = _mm256_permute4x64_epi64(_mm256_packus_epi32(low, high), 0xD8);
  return _mm_packus_epi16(_mm256_castsi256_si128(units), _mm256_extracti128_si256(units, 1));
}

// For which of eight characters take two bytes: the order that squeezes their bytes together, the last of each lowest.
struct ShortSqueezes {
  alignas(16) std::uint8_t order[256][16];
  constexpr ShortSqueezes() : order() {
    for (unsigned two = 0; two < 256; ++two) {
      unsigned count = 0;
      for (unsigned i = 0; i < 8; ++i) {
        if ((two >> i & 1) != 0) order[two][count++] = static_cast<std::uint8_t>(i * 2 + 1);
        order[two][count++] = static_cast<std::uint8_t>(i * 2);
      }
      while (count < 16) order[two][count++] = 0x80;
    }
  }
};
constexpr ShortSqueezes short_squeezes;

// Characters of one and two bytes.
[[gnu::always_inline]] inline Block narrow_short(const Units& units) {
  const Block values =
      _mm_packus_epi32(_mm256_castsi256_si128(units.values), _mm256_extracti128_si256(units.values, 1));
  const Block low = _mm_and_si128(values, _mm_set1_epi16(0x3F));
  const Block high = _mm_and_si128(_mm_slli_epi16(values, 2), _mm_set1_epi16(0x1F00));
  const Block pair = _mm_or_si128(_mm_or_si128(low, high), _mm_set1_epi16(static_cast<short>(0xC080)));
  const Block two = _mm_cmpgt_epi16(values, _mm_set1_epi16(0x7F));
  const Block order = _mm_load_si128(reinterpret_cast<const Block*>(short_squeezes.order[units.from_two]));
  return _mm_shuffle_epi8(_mm_blendv_epi8(values, pair, two), order);
}

// Sixteen characters as bytes, where all of them are 01..7F, or all before the first zero; returns how many, or 0.
std::size_t narrow_sixteen(Vector low, Vector high, std::size_t room, char* dst) {
  const auto ascii_lanes = [](Vector values) {
    return lane_bits(_mm256_cmpeq_epi32(_mm256_and_si256(values, _mm256_set1_epi32(~0x7F)), _mm256_setzero_si256()));
  };
  const Mask ascii = ascii_lanes(low) | ascii_lanes(high) << step_units;
  const Block bytes = narrow_ascii(low, high);
  const Mask end = equal(bytes, 0) | 1U << block_bytes;
  const std::size_t count = lowest_bit(end);
  if ((~ascii & (end ^ (end - 1)) & first(block_bytes)) != 0 || count > room) return 0;
  if (count == block_bytes) {
    store_block(dst, bytes);
  } else {
    store_bytes(dst, count, bytes);
  }
  return count;
}

// Terminated text that is ASCII and ends within 32 characters, as most values do; returns its length, or 0.
std::size_t narrow_short_ascii(const char* src, char* dst, std::size_t room) {
  constexpr std::size_t most = sizeof(Vector);
  if (!may_read_ahead(src, most * 4)) return 0;
  const auto eight = [src](std::size_t index) {  // FF for what is no byte
    return _mm256_min_epu32(load_vector(src + index * sizeof(Vector)), _mm256_set1_epi32(0xFF));
  };
  const Vector mixed =
      _mm256_packus_epi16(_mm256_packus_epi32(eight(0), eight(1)), _mm256_packus_epi32(eight(2), eight(3)));
  const Vector bytes = _mm256_permutevar8x32_epi32(mixed, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
  const auto end = static_cast<Mask>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(bytes, _mm256_setzero_si256())));
  const auto high = static_cast<Mask>(_mm256_movemask_epi8(bytes));
  const std::size_t count = lowest_bit(end);  // 32 where it does not end
  if (end == 0 || count < 4 || count > room || (high & first(count)) != 0) return 0;
  alignas(32) char kept[most];
  store_vector(kept, bytes);
  store_pieces<most>(dst, count, kept);
  return count;
}

[[gnu::always_inline]] inline void narrow(const Units& units, std::size_t count, char* dst) {
  if (units.from_three == 0) return store_bytes(dst, count, narrow_short(units));
  const Vector spaced = spread(units.values);
  const Squeezed low = squeeze(units, _mm256_castsi256_si128(spaced), 0);
  const Squeezed high = squeeze(units, _mm256_extracti128_si256(spaced, 1), 4);
  const Block leading = _mm_or_si128(low.bytes, move_up(high.bytes, low.count));
  if (count <= block_bytes) return store_bytes(dst, count, leading);
  // The first sixteen bytes and the last sixteen are all of them.
  store_block(dst, leading);
  store_block(dst + count - block_bytes,
              _mm_or_si128(move_down(low.bytes, count - block_bytes), move_up(high.bytes, block_bytes - high.count)));
}

template <bool writes, class Source>
[[gnu::always_inline]] inline Run encode_run(const void* src, Source source, char* dst, std::size_t room) {
  const auto* text = static_cast<const char*>(src);
  std::size_t read = 0;
  std::size_t written = 0;
  unsigned ascii_steps = 2;  // since the last other character; from two on sixteen are worth a try
  while (source.goes_on(read)) {
    if (writes && ascii_steps >= 2 && source.has_sixteen_units(text, read)) {
      const char* at = text + read * 4;
      const std::size_t ascii =
          narrow_sixteen(load_vector(at), load_vector(at + sizeof(Vector)), room - written, dst + written);
      read += ascii;
      written += ascii;
      if (ascii == block_bytes) continue;
      if (ascii > 0 || zvrt::load<Wide>(at, 0) == 0) break;  // all of the text, or its end
    }
    const Units units = classify(source.units(text, read));
    const std::size_t bytes = units.bytes();
    if (writes && bytes > room - written) [[unlikely]]
      break;
    if (writes) narrow(units, bytes, dst + written);
    read += units.count;
    written += bytes;
    if (units.count < step_units) break;
    ascii_steps = units.from_two == 0 ? ascii_steps + 1 : 0;
  }
  return {read, written};
}

Run encode(const void* src, std::size_t count, char* dst, std::size_t room) {
  return encode_run<true>(src, Counted{count}, dst, room);
}
Run encode_terminated(const void* src, char* dst, std::size_t room) {
  const std::size_t ascii = narrow_short_ascii(static_cast<const char*>(src), dst, room);
  return ascii != 0 ? Run{ascii, ascii} : encode_run<true>(src, Terminated{}, dst, room);
}
Run count_encoded(const void* src, std::size_t count) { return encode_run<false>(src, Counted{count}, nullptr, 0); }

Run copy(const void* src, void* dst, std::size_t room) { return text_kernels_baseline.copy(src, dst, room); }
Run copy_wide(const void* src, void* dst, std::size_t room) { return text_kernels_baseline.copy_wide(src, dst, room); }

}  // namespace

const TextKernels text_kernels_avx2{
    decode, decode_terminated, encode, encode_terminated, count_decoded, count_encoded, copy, copy_wide,
};

}  // namespace zvrt
