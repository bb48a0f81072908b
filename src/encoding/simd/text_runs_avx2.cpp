// The text kernels by AVX2: sixteen bytes or eight characters a step, gathered and squeezed by tables.
#include <immintrin.h>

#include <cstdint>
#include <cstring>

#include "encoding/text_runs.h"
#include "frame/units.h"

namespace zvrt {

namespace {

using Block = __m128i;
using Vector = __m256i;
using Mask = std::uint32_t;

std::size_t least(std::size_t a, std::size_t b) { return a < b ? a : b; }
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

// ---- UTF-8 to wide text ----

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

// Which bytes of a block end a character, up to the first that is not ordinary.
struct Characters {
  Block bytes;
  Mask ends;
  std::size_t stop;  // bytes they take
  bool ascii;
};

// Bytes from a value of 80 or more, among those whose upper bit is set.
Mask at_least(Block bytes, unsigned char limit) { return sign_bits(_mm_cmpgt_epi8(bytes, repeat(limit - 1))); }
Mask equal(Block bytes, unsigned char value) { return sign_bits(_mm_cmpeq_epi8(bytes, repeat(value))); }

Characters locate(Block bytes) {
  const std::size_t text = lowest_bit(equal(bytes, 0) | 1U << block_bytes);
  const Mask inside = first(text);
  const Mask high = sign_bits(bytes) & inside;
  if (high == 0) return {bytes, inside, text, true};
  const Mask two = at_least(bytes, 0xC0) & high;  // leads of two bytes or more
  const Mask three = at_least(bytes, 0xE0) & high;
  const Mask four = at_least(bytes, 0xF0) & high;
  const Mask beyond = at_least(bytes, 0xF8) & high;
  const Mask continuations = high & ~two;
  const Mask expected = two << 1 | three << 2 | four << 3;
  // A lead byte without payload before a continuation byte without may be zero. (D0 80 is not, but rare.)
  const Mask empty = equal(_mm_and_si128(bytes, repeat(0x0F)), 0) & two;
  const Mask zeros = empty << 1 & equal(bytes, 0x80);
  // A fault lies behind the first byte of its character, also where that ends the block or the text, or is a stray
  // byte: the block stops at the last character that starts before.
  const Mask faults = (expected ^ continuations) | beyond << 1 | zeros;
  const Mask leads = inside & ~continuations;
  const Mask before = leads & (faults - 1) & ~faults;  // of no fault, all
  const std::size_t stop = faults == 0 ? text : highest_bit(before | 1);
  return {bytes, (leads | 1U << stop) >> 1 & first(stop), stop, false};
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

// Up to eight wide characters and no byte more: halves that overlap where they have to.
void store_characters(char* dst, std::size_t count, Vector characters) {
  const Vector lanes = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
  const Vector ahead = _mm256_set1_epi32(static_cast<int>(count));
  if (count >= 4) {
    const Vector from = _mm256_add_epi32(lanes, _mm256_sub_epi32(ahead, _mm256_set1_epi32(4)));
    store_block(dst, _mm256_castsi256_si128(characters));
    store_block(dst + (count - 4) * 4, _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(characters, from)));
  } else {
    const Block chosen = _mm256_castsi256_si128(_mm256_cmpgt_epi32(ahead, lanes));
    _mm_maskstore_epi32(reinterpret_cast<int*>(dst), chosen, _mm256_castsi256_si128(characters));
  }
}

// The characters that end at up to eight positions, the last byte lowest in their lanes; `before` is the position
// before the first of them.
Vector gather(Block bytes, Block positions, int before) {
  const Block others = _mm_or_si128(_mm_slli_si128(positions, 1), _mm_cvtsi32_si128(before & 0xFF));
  const Block lengths = _mm_sub_epi8(positions, others);
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
  const Vector pairs = _mm256_maddubs_epi16(payload, _mm256_set1_epi16(0x4001));      // upper * 64 + lower
  const Vector characters = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x10000001));  // upper * 4096 + lower
  const Vector replaced = _mm256_cmpeq_epi32(characters, _mm256_set1_epi32(0xFFFD));
  return _mm256_blendv_epi8(characters, _mm256_set1_epi32('?'), replaced);
}

void store_vector(char* at, Vector vector) { _mm256_storeu_si256(reinterpret_cast<Vector*>(at), vector); }

// Sixteen bytes, where all of them are 01..7F.
bool widen_sixteen(Block bytes, char* dst) {
  if ((sign_bits(bytes) | equal(bytes, 0)) != 0) return false;
  store_vector(dst, _mm256_cvtepu8_epi32(bytes));
  store_vector(dst + 32, _mm256_cvtepu8_epi32(_mm_unpackhi_epi64(bytes, bytes)));
  return true;
}

void widen_ascii(Block bytes, std::size_t count, char* dst) {
  const std::size_t low = least(count, 8);
  store_characters(dst, low, _mm256_cvtepu8_epi32(bytes));
  if (count > 8) store_characters(dst + 32, count - 8, _mm256_cvtepu8_epi32(_mm_unpackhi_epi64(bytes, bytes)));
}

void widen(const Characters& characters, char* dst) {
  const Mask low = characters.ends & 0xFF;
  const Mask high = characters.ends >> 8;
  const std::size_t count = count_of(low);
  store_characters(
      dst, count, gather(characters.bytes, _mm_loadl_epi64(reinterpret_cast<const Block*>(bit_positions.of[low])), -1));
  if (high == 0) return;
  const Block positions = _mm_loadl_epi64(reinterpret_cast<const Block*>(bit_positions.of[high]));
  const int before = low == 0 ? -1 : static_cast<int>(highest_bit(low));
  store_characters(dst + count * 4, count_of(high),
                   gather(characters.bytes, _mm_add_epi8(positions, repeat(8)), before));
}

template <bool writes>
Run decode_run(const char* src, std::size_t count, void* dst, std::size_t room) {
  std::size_t read = 0;
  std::size_t written = 0;
  while (read < count) {
    if (writes && count - read >= block_bytes && room - written >= block_bytes &&
        widen_sixteen(load_block(src + read), static_cast<char*>(dst) + written * 4)) {
      read += block_bytes;
      written += block_bytes;
      continue;
    }
    Characters characters = locate(load_bytes(src + read, count - read));
    std::size_t found = count_of(characters.ends);
    if (writes && found > room - written) [[unlikely]] {
      clip(characters, room - written);
      found = room - written;
    }
    if (writes) {
      char* out = static_cast<char*>(dst) + written * 4;
      characters.ascii ? widen_ascii(characters.bytes, found, out) : widen(characters, out);
    }
    read += characters.stop;
    written += found;
    if (characters.stop == 0) break;
  }
  return {read, written};
}

Run decode(const char* src, std::size_t count, void* dst, std::size_t room) {
  return decode_run<true>(src, count, dst, room);
}
Run decode_terminated(const char* src, void* dst, std::size_t room) {
  return decode_run<true>(src, std::strlen(src), dst, room);
}
Run count_decoded(const char* src, std::size_t count) { return decode_run<false>(src, count, nullptr, 0); }

// ---- Wide text to UTF-8 ----

constexpr std::size_t step_units = 8;

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

Units load_units(const char* src, std::size_t count) {
  const Vector lanes = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
  const Vector there = _mm256_cmpgt_epi32(_mm256_set1_epi32(static_cast<int>(least(count, step_units))), lanes);
  const Vector values = _mm256_maskload_epi32(reinterpret_cast<const int*>(src), there);
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

// Up to sixteen bytes and no byte more: pieces that overlap where they have to.
void store_bytes(char* dst, std::size_t count, Block bytes) {
  const auto low = static_cast<std::uint64_t>(_mm_cvtsi128_si64(bytes));
  if (count >= 8) {
    const Block from = _mm_add_epi8(_mm_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15),
                                    repeat(static_cast<unsigned char>(count - 8)));
    store(dst, low);
    store(dst + count - 8, static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_shuffle_epi8(bytes, from))));
  } else if (count >= 4) {
    store(dst, static_cast<std::uint32_t>(low));
    store(dst + count - 4, static_cast<std::uint32_t>(low >> (count - 4) * 8));
  } else {
    for (std::size_t i = 0; i < count; ++i) dst[i] = static_cast<char>(low >> i * 8);
  }
}

// The characters of four lanes; returns their bytes.
std::size_t squeeze(const Units& units, Block bytes, unsigned lanes, char* dst) {
  const Mask inside = first(units.count) >> lanes & 0xF;
  const Mask two = units.from_two >> lanes & 0xF;
  const Mask three = units.from_three >> lanes & 0xF;
  const Mask four = units.from_four >> lanes & 0xF;
  const std::size_t count = count_of(inside) + count_of(two) + count_of(three) + count_of(four);
  const Block order = _mm_load_si128(reinterpret_cast<const Block*>(squeezes.order[(two ^ three ^ four) | three << 4]));
  store_bytes(dst, count, _mm_shuffle_epi8(bytes, order));
  return count;
}

Block narrow_ascii(Vector low, Vector high) {
  const Vector units = _mm256_permute4x64_epi64(_mm256_packus_epi32(low, high), 0xD8);
  return _mm_packus_epi16(_mm256_castsi256_si128(units), _mm256_extracti128_si256(units, 1));
}

void narrow(const Units& units, char* dst) {
  if (units.from_two == 0) return store_bytes(dst, units.count, narrow_ascii(units.values, units.values));
  const Vector bytes = spread(units.values);
  const std::size_t low = squeeze(units, _mm256_castsi256_si128(bytes), 0, dst);
  if (units.count > 4) squeeze(units, _mm256_extracti128_si256(bytes, 1), 4, dst + low);
}

// Sixteen characters as bytes, where all of them are 01..7F.
bool narrow_sixteen(const char* src, char* dst) {
  const Vector low = load_vector(src);
  const Vector high = load_vector(src + 32);
  if (_mm256_testz_si256(_mm256_or_si256(low, high), _mm256_set1_epi32(~0x7F)) == 0) return false;
  const Block bytes = narrow_ascii(low, high);
  if (equal(bytes, 0) != 0) return false;
  store_block(dst, bytes);
  return true;
}

template <bool writes>
Run encode_run(const void* src, std::size_t count, char* dst, std::size_t room) {
  const auto* text = static_cast<const char*>(src);
  std::size_t read = 0;
  std::size_t written = 0;
  while (read < count) {
    if (writes && count - read >= 16 && room - written >= 16 && narrow_sixteen(text + read * 4, dst + written)) {
      read += 16;
      written += 16;
      continue;
    }
    const Units units = load_units(text + read * 4, count - read);
    const std::size_t bytes = units.bytes();
    if (writes && bytes > room - written) break;
    if (writes) narrow(units, dst + written);
    read += units.count;
    written += bytes;
    if (units.count < step_units) break;
  }
  return {read, written};
}

Run encode(const void* src, std::size_t count, char* dst, std::size_t room) {
  return encode_run<true>(src, count, dst, room);
}
Run encode_terminated(const void* src, char* dst, std::size_t room) {
  return encode_run<true>(src, static_cast<std::size_t>(length_of(src)), dst, room);
}
Run count_encoded(const void* src, std::size_t count) { return encode_run<false>(src, count, nullptr, 0); }

Run copy(const void* src, void* dst, std::size_t room) { return text_kernels_baseline.copy(src, dst, room); }
Run copy_wide(const void* src, void* dst, std::size_t room) { return text_kernels_baseline.copy_wide(src, dst, room); }

}  // namespace

const TextKernels text_kernels_avx2{
    decode, decode_terminated, encode, encode_terminated, count_decoded, count_encoded, copy, copy_wide,
};

}  // namespace zvrt
