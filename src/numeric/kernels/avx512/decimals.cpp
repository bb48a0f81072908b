// The decimal conversions by AVX-512, for values and texts of up to 64 characters in one vector, without a branch on
// the number of digits. Anything longer, or that does not fit, goes to the definitions.
//
// The steps are those of the kernels by SSE4.1: half-bytes or pairs are split into digits, aligned, and joined again by
// multiplications with weights. Byte permutations (VPERMB) align in one step across the whole vector, and masked loads
// and stores take the place of overlapping pieces.
//
// Of headers only functions are used that are always inlined: an out-of-line copy would be linked into code for every
// processor.
#include <cstdint>
#include <cstring>

#include "numeric/decimal/decimal_kernels.h"
#include "numeric/kernels/decimal_vectors.h"
#include "simd/avx512.h"
#include "support/read_ahead.h"
#include "support/wraps.h"

namespace zvrt {

namespace {

using namespace avx512;

constexpr std::uint32_t vector_bytes = 64;
constexpr std::uint32_t header_bytes = varnum_header;

Mask bit(std::uint32_t index) { return Mask{1} << index; }
std::uint32_t lowest(Mask bits) { return static_cast<std::uint32_t>(lowest_bit(bits)); }
std::uint32_t highest(Mask bits) { return static_cast<std::uint32_t>(highest_bit(bits)); }

Vector all(const Bytes64& vector) { return _mm512_load_si512(vector.at); }
__m256i half(const Bytes64& vector) { return _mm256_load_si256(reinterpret_cast<const __m256i*>(vector.at)); }
Vector repeat(std::uint32_t byte) { return repeat8(static_cast<std::uint8_t>(byte)); }
// Every byte's position and an offset.
Vector positions(std::uint32_t offset) { return _mm512_add_epi8(all(decimal_vectors.positions), repeat(offset)); }
Mask bits_of(__m256i signs) { return static_cast<std::uint32_t>(_mm256_movemask_epi8(signs)); }

// Stores 16 of a text's characters, as far as they and its terminator lie in this part of it.
ZVRT_WRAPS void store_part(char* dst, std::uint32_t part, std::uint32_t length, Vector characters) {
  const std::uint32_t from = part * 16;
  // A part after the terminator stores nothing, with an empty mask at the start of the text: its own address may be
  // unmapped, which makes even an empty masked store slow.
  const std::uint32_t some = 0U - (length >= from ? 1U : 0U);
  _mm512_mask_storeu_epi32(dst + (from * 4 & some), first16((length + 1 - from) & some), characters);
}

// A packed field's half-bytes from the vector's start on, followed by zeros: [ab cd eS] -> [a b c d e S 0 0 ...].
struct Halves {
  Vector digits;
  Mask above_nine;
  Mask nonzero;
};

Halves split(const std::uint8_t* field, std::uint32_t size) {
  constexpr int both_masked = 0xA8;  // (a | b) & c
  if (size <= 16) {
    const __m256i pairs = _mm256_cvtepu8_epi16(_mm_maskz_loadu_epi8(first16(size), field));
    const __m256i halves = _mm256_ternarylogic_epi32(_mm256_srli_epi16(pairs, 4), _mm256_slli_epi16(pairs, 8),
                                                     half(decimal_vectors.low_halves), both_masked);
    return {_mm512_zextsi256_si512(halves), bits_of(_mm256_cmpgt_epi8(halves, half(decimal_vectors.nines))),
            bits_of(_mm256_cmpgt_epi8(halves, _mm256_setzero_si256()))};
  }
  const Vector pairs = _mm512_cvtepu8_epi16(_mm256_maskz_loadu_epi8(first32(size), field));
  const Vector halves = _mm512_ternarylogic_epi32(_mm512_srli_epi16(pairs, 4), _mm512_slli_epi16(pairs, 8),
                                                  all(decimal_vectors.low_halves), both_masked);
  return {halves, _mm512_cmpgt_epu8_mask(halves, all(decimal_vectors.nines)), _mm512_test_epi8_mask(halves, halves)};
}

// Values that the kernels leave alone: wide text goes to the definitions, bytes to the caller.
template <class Unit>
Rendered left_packed(const std::uint8_t* field, std::int64_t bytes, void* dst, std::int32_t capacity) {
  return sizeof(Unit) == 1 ? not_rendered : render_packed(field, bytes, dst, capacity);
}
template <class Unit>
Rendered left_varnum(const std::uint8_t* value, void* dst, std::int32_t capacity) {
  return sizeof(Unit) == 1 ? not_rendered : render_varnum(value, dst, capacity);
}
template <class Unit>
Packed left_text(const void* text, std::uint8_t* field, std::int32_t size) {
  return sizeof(Unit) == 1 ? not_packed : pack_text(text, field, size);
}

// A text of fewer than 64 bytes and its terminator; the bytes after the text are zero.
void store_bytes(void* dst, std::uint32_t length, Vector text) {
  _mm512_mask_storeu_epi8(dst, first(length + 1), text);
}

template <class Unit>
ZVRT_WRAPS Rendered render_packed_avx512(const std::uint8_t* field, std::int64_t bytes, void* dst,
                                         std::int32_t capacity) {
  // With one byte less than the vector holds, its last position is zero, where a sign finds the zero that it replaces.
  if (bytes < 1 || bytes >= vector_bytes / 2) return left_packed<Unit>(field, bytes, dst, capacity);
  const auto size = static_cast<std::uint32_t>(bytes);
  const std::uint32_t digits = 2 * size - 1;
  const Halves halves = split(field, size);
  // The sign's place ends the digits, the last leading zero at the latest.
  const Mask end = bit(digits);
  const std::uint32_t stop = lowest(halves.above_nine | end);
  const std::uint32_t start = lowest(halves.nonzero | end);
  const std::uint32_t negative = (field[size - 1] & 0xF) == 0xD ? 1 : 0;
  const std::uint32_t length = stop - start + negative;
  if (length == 0) return {0, ZVRT_RC_EMPTY_RESULT};
  if (static_cast<std::int64_t>(length) >= capacity) return left_packed<Unit>(field, bytes, dst, capacity);

  if constexpr (sizeof(Unit) == 1) {
    if (stop < digits) return not_rendered;
    const Vector moved = _mm512_permutexvar_epi8(positions(start - negative), halves.digits);
    const Vector text = _mm512_maskz_add_epi8(first(length), moved, all(decimal_vectors.zeros));
    store_bytes(dst, length, _mm512_mask_mov_epi8(text, negative, repeat('-')));
    return {length, ZVRT_RC_OK};
  }
  auto* out = static_cast<char*>(dst);
  // Every lane takes a digit and three times the zero at the end.
  const Vector offset = _mm512_set1_epi32(static_cast<int>((start - negative) & 0xFF));
  const auto part = [&](std::uint32_t index, Vector zeros) {
    const Vector lanes = all(decimal_vectors.digit_lanes[index]);
    const Vector shifted = _mm512_permutexvar_epi8(_mm512_add_epi8(lanes, offset), halves.digits);
    const __mmask16 there = first16(length - min(length, index * 16));
    store_part(out, index, length, _mm512_maskz_add_epi32(there, shifted, zeros));
  };
  const Vector zeros = all(decimal_vectors.wide_zeros[0]);
  part(0, all(decimal_vectors.wide_zeros[negative]));
  if (size > 8 || length >= 16) part(1, zeros);
  if (length >= 32) {
    part(2, zeros);
    part(3, zeros);
  }
  return {length, stop < digits ? ZVRT_RC_ERROR : ZVRT_RC_OK};
}

// A text's length is not known before it is read, and the next page need not be there: no load goes on into it. (The
// sanitizers know no pages.)
template <class Unit>
std::uint32_t units_in_page(const void* text) {
  const std::uintptr_t into_page = reinterpret_cast<std::uintptr_t>(text) % page_bytes;
  return static_cast<std::uint32_t>((page_bytes - into_page) / sizeof(Unit));
}

Mask zero_bytes(__m256i bytes) { return bits_of(_mm256_cmpeq_epi8(bytes, _mm256_setzero_si256())); }

__attribute__((no_sanitize("address", "thread"))) Vector load_sixteen(const void* text, std::uint32_t index,
                                                                      std::uint32_t readable) {
  const auto* at = static_cast<const char*>(text) + index * sizeof(Wide);
  if (readable >= index + 16) return _mm512_loadu_si512(at);
  return _mm512_maskz_loadu_epi32(first16(readable - min(readable, index)), at);
}

// Wide characters as bytes, 0xFF for those above.
__m256i load_narrowed(const void* text, std::uint32_t index, std::uint32_t readable) {
  return _mm256_set_m128i(_mm512_cvtusepi32_epi8(load_sixteen(text, index + 16, readable)),
                          _mm512_cvtusepi32_epi8(load_sixteen(text, index, readable)));
}

__attribute__((no_sanitize("address", "thread"))) __m256i load_half(const void* text, std::uint32_t readable) {
  if (readable >= 32) return _mm256_loadu_si256(static_cast<const __m256i*>(text));
  return _mm256_maskz_loadu_epi8(first32(readable), text);
}

__attribute__((no_sanitize("address", "thread"))) Vector load_whole(const void* text, std::uint32_t readable) {
  return _mm512_maskz_loadu_epi8(first(min(readable, vector_bytes)), text);
}

// Loads a text into bytes and returns which of them are zero: of the lower half, or if there is none, of all. After
// the lowest there may be anything.
template <class Unit>
Mask load_text(const void* text, Vector& bytes) {
  const std::uint32_t readable = units_in_page<Unit>(text);
  const __m256i low = sizeof(Unit) == 1 ? load_half(text, readable) : load_narrowed(text, 0, readable);
  bytes = _mm512_zextsi256_si512(low);
  Mask zeros = zero_bytes(low);
  if (zeros == 0) {
    bytes = sizeof(Unit) == 1 ? load_whole(text, readable)
                              : _mm512_inserti64x4(bytes, load_narrowed(text, 32, readable), 1);
    zeros = _mm512_testn_epi8_mask(bytes, bytes);
  }
  return readable < vector_bytes ? zeros & first(readable) : zeros;
}

template <class Unit>
ZVRT_WRAPS Packed pack_text_avx512(const void* text, std::uint8_t* field, std::int32_t size) {
  if (size < 1 || size > static_cast<std::int32_t>(vector_bytes / 2)) return left_text<Unit>(text, field, size);
  Vector bytes;
  const Mask ends = load_text<Unit>(text, bytes);
  const std::uint32_t length = lowest(ends);
  Unit leader;
  std::memcpy(&leader, text, sizeof leader);
  const std::uint32_t negative = leader == '-' ? 1 : 0;
  const std::uint32_t count = length - negative;
  const auto sign_at = 2 * static_cast<std::uint32_t>(size) - 1;
  if (ends == 0 || count > sign_at || (sizeof(Unit) == 1 && length == 0)) return left_text<Unit>(text, field, size);
  // Only bytes below 0x80 are sure to be complete characters.
  const Mask high = ends <= first(32) ? bits_of(_mm512_castsi512_si256(bytes)) : _mm512_movepi8_mask(bytes);
  if ((high & ~ends & (ends - 1)) != 0) return left_text<Unit>(text, field, size);
  const Mask digits = first(count) << (sign_at - count);
  const Vector shifted = _mm512_maskz_permutexvar_epi8(digits, positions(length - sign_at), bytes);
  const Vector halves = _mm512_and_si512(shifted, all(decimal_vectors.low_halves));
  const Vector pairs = _mm512_maddubs_epi16(halves, all(decimal_vectors.by_16_and_1));  // upper * 16 + lower
  const __m256i packed = _mm512_cvtepi16_epi8(pairs);
  const __mmask32 all_bytes = first32(static_cast<std::uint32_t>(size));
  const __m256i value =
      _mm256_mask_add_epi8(packed, all_bytes ^ all_bytes >> 1, packed, half(decimal_vectors.signs[negative]));
  _mm256_mask_storeu_epi8(field, all_bytes, value);
  return {count, static_cast<std::uint32_t>(size)};
}

template <class Unit>
ZVRT_WRAPS Rendered render_varnum_avx512(const std::uint8_t* value, void* dst, std::int32_t capacity) {
  const std::uint32_t count = value[0] - 1U;
  if (count < 1 || count > Base100::max_digits || value[1] < 0x80) return left_varnum<Unit>(value, dst, capacity);
  const __mmask32 mantissa = first32(count);
  const __m256i loaded = _mm256_maskz_loadu_epi8(mantissa, value + varnum_header);
  const __m256i digits = _mm256_sub_epi8(loaded, half(decimal_vectors.ones));
  if (_mm256_mask_cmpgt_epu8_mask(mantissa, digits, half(decimal_vectors.ninety_nines)) != 0) return {0, ZVRT_RC_ERROR};
  const VarnumText layout = lay_out(value);
  if (layout.length >= capacity || layout.length >= static_cast<std::int32_t>(vector_bytes)) {
    return left_varnum<Unit>(value, dst, capacity);
  }
  // Tens below, ones above: digit << 8 less ten times the tens there, and the tens once.
  const Vector words = _mm512_cvtepu8_epi16(digits);
  const Vector tens = _mm512_mulhi_epu16(words, all(decimal_vectors.tenths));
  const Vector pairs =
      _mm512_add_epi16(_mm512_slli_epi16(words, 8), _mm512_mullo_epi16(tens, all(decimal_vectors.ones_less_tens)));
  const auto point = static_cast<std::uint32_t>(layout.point);
  const auto length = static_cast<std::uint32_t>(layout.length);
  const Vector straight = positions(static_cast<std::uint32_t>(layout.skipped));
  const Vector from = _mm512_mask_sub_epi8(straight, ~first(point), straight, all(decimal_vectors.ones));
  const Mask there = _mm512_cmplt_epu8_mask(from, repeat(2 * count));
  const Vector shifted = _mm512_maskz_permutexvar_epi8(there, from, pairs);
  const Vector characters = _mm512_add_epi8(shifted, all(decimal_vectors.zeros));
  // Without a fraction the point stands where the text ends.
  const Vector text =
      _mm512_maskz_mov_epi8(first(length), _mm512_mask_mov_epi8(characters, bit(point), all(decimal_vectors.points)));

  if constexpr (sizeof(Unit) == 1) {
    store_bytes(dst, length, text);
    return {length, ZVRT_RC_OK};
  }
  auto* out = static_cast<char*>(dst);
  store_part(out, 0, length, _mm512_cvtepu8_epi32(_mm512_castsi512_si128(text)));
  store_part(out, 1, length, _mm512_cvtepu8_epi32(_mm512_extracti32x4_epi32(text, 1)));
  if (length >= 32) {
    store_part(out, 2, length, _mm512_cvtepu8_epi32(_mm512_extracti32x4_epi32(text, 2)));
    store_part(out, 3, length, _mm512_cvtepu8_epi32(_mm512_extracti32x4_epi32(text, 3)));
  }
  return {length, ZVRT_RC_OK};
}

// A text's characters before its end: the values of its digits; which are digits, points, and not the digit 0.
struct Classes {
  Vector values;
  Mask digits;
  Mask points;
  Mask nonzero;
};

Classes classify(Vector bytes, Mask inside) {
  if (inside <= first(32)) {
    const __m256i text = _mm512_castsi512_si256(bytes);
    const __m256i zeros = half(decimal_vectors.zeros);
    const __m256i low = _mm256_sub_epi8(text, zeros);
    return {_mm512_castsi256_si512(low),
            bits_of(_mm256_cmpeq_epi8(low, _mm256_min_epu8(low, half(decimal_vectors.nines)))) & inside,
            bits_of(_mm256_cmpeq_epi8(text, half(decimal_vectors.points))) & inside,
            ~bits_of(_mm256_cmpeq_epi8(text, zeros)) & inside};
  }
  const Vector values = _mm512_sub_epi8(bytes, all(decimal_vectors.zeros));
  return {values, _mm512_cmple_epu8_mask(values, all(decimal_vectors.nines)) & inside,
          _mm512_cmpeq_epi8_mask(bytes, all(decimal_vectors.points)) & inside,
          _mm512_test_epi8_mask(values, values) & inside};
}

EncodedVarnum zero_varnum(std::uint32_t length, std::uint8_t* dst, std::int32_t capacity) {
  if (capacity >= varnum_header) {
    dst[0] = 1;
    dst[1] = zero_exponent;
  }
  return {length, varnum_header};
}

template <class Unit>
ZVRT_WRAPS EncodedVarnum encode_varnum_avx512(const void* text, std::uint8_t* dst, std::int32_t capacity) {
  // Room for the header's two pairs and a zero that completes the first one.
  constexpr std::uint32_t max_length = vector_bytes - 2 * header_bytes - 1;
  Vector bytes;
  const Mask ends = load_text<Unit>(text, bytes);
  const std::uint32_t length = lowest(ends);
  if (length > max_length) return encode_varnum<Unit>(text, dst, capacity);
  const Mask inside = ~ends & (ends - 1);
  const auto [values, digits, points, not_zero] = classify(bytes, inside);
  if ((digits | points) != inside || (points & (points - 1)) != 0) return {length, 0};
  const Mask nonzero = not_zero & ~points;
  if (nonzero == 0) return zero_varnum(length, dst, capacity);

  // Positions among the digits: the point's is the number of digits before it.
  const std::uint32_t point = lowest(points | (inside + 1));
  const auto digit_at = [point](std::uint32_t index) { return index - (index > point ? 1 : 0); };
  const std::uint32_t leading = digit_at(lowest(nonzero));
  const std::uint32_t last = digit_at(highest(nonzero));
  // The pair of the first digit that is not zero follows the header, and the point falls between two pairs: that digit
  // is the lower one of its pair if the number of digits from it to the point is odd.
  const std::uint32_t lower = (leading + point) % 2;
  const std::uint32_t shift = 2 * header_bytes + lower - leading;
  const Vector straight = positions(0 - shift);
  const __mmask64 after_point = _mm512_cmpge_epi8_mask(straight, repeat(point));
  const Vector from = _mm512_mask_sub_epi8(straight, after_point, straight, all(decimal_vectors.minus_ones));
  const Mask used = first(last + shift + 1) ^ Mask { lower } << (2 * header_bytes);
  const Vector compressed = _mm512_maskz_permutexvar_epi8(used, from, values);
  const __m256i pairs = _mm512_cvtepi16_epi8(_mm512_maddubs_epi16(compressed, all(decimal_vectors.by_10_and_1)));

  const std::uint32_t size = min((last + shift) / 2 + 1, max_varnum_size);
  if (static_cast<std::int32_t>(size) <= capacity) {
    const std::int32_t exponent = positive_exponent - 1 + static_cast<std::int32_t>(point + lower - leading) / 2;
    const auto header = static_cast<std::uint16_t>((size - 1) | static_cast<std::uint32_t>(exponent) << 8);
    _mm256_mask_storeu_epi8(dst, first32(size), _mm256_add_epi8(pairs, half(decimal_vectors.ones)));
    std::memcpy(dst, &header, sizeof header);
  }
  return {length, static_cast<std::int32_t>(size)};
}

}  // namespace

const DecimalKernels decimal_kernels_avx512 = {
    render_packed_avx512<Wide>, pack_text_avx512<Wide>,     render_varnum_avx512<Wide>, encode_varnum_avx512<char>,
    encode_varnum_avx512<Wide>, render_packed_avx512<char>, pack_text_avx512<char>,     render_varnum_avx512<char>};

}  // namespace zvrt
