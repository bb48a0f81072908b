// The decimal conversions by SSE4.1, for values and texts of up to 32 characters, held in two vectors. Anything longer,
// or that does not fit, goes to the definitions.
//
// Packed decimal to text. Bytes [ab cd eS] are split into half-bytes [a b c d e S], the first byte lowest. Two masks
// give the first half-byte that is not zero (start) and the first above 9, at the latest the sign (stop). A byte shift
// by `start` brings the digits to the front, adding '0' makes them characters, and they are stored as overlapping
// pieces.
//
// Text to packed decimal. The characters are shifted so that the terminator comes to the place of the sign; the low
// half-bytes [a b c d e 0] are joined by PMADDUBSW with the weights 16 and 1 to [ab cd e0], and the sign is added to
// the last byte.
//
// VARNUM to text. Each mantissa byte less 1 is a pair 0..99; its tens are pair * 6554 >> 16, its ones pair - 10 * tens.
// A window skips a leading zero; the bytes after the point are taken from one place earlier, which opens the gap for
// it.
//
// Text to VARNUM. The opposite: the digits after the point move over it, and are aligned so that the point falls
// between two pairs; PMADDUBSW with the weights 10 and 1 makes pairs, plus 1 the mantissa.
//
// Of headers only functions are used that are always inlined: an out-of-line copy would be linked into code for every
// processor.
#include <cstdint>
#include <cstring>

#include "numeric/decimal/decimal_kernels.h"
#include "numeric/kernels/decimal_vectors.h"
#include "simd/sse41.h"
#include "support/read_ahead.h"
#include "support/wraps.h"

namespace zvrt {

namespace {

using namespace sse41;

constexpr std::uint32_t header_bytes = varnum_header;
constexpr std::uint32_t lanes = block_bytes;

// Bytes 0 to 31.
struct TwoBlocks {
  Block low;
  Block high;
};

Block all(const Bytes64& vector) { return load_block(vector.at); }
using sse41::sign_bits;
Mask sign_bits(const TwoBlocks& bytes) { return sse41::sign_bits(bytes.low) | sse41::sign_bits(bytes.high) << lanes; }

// Sixteen bytes from an index on, -32 to 32; zeros where there are none.
Block window(const TwoBlocks& bytes, std::int32_t index) {
  return _mm_or_si128(shift_down(bytes.low, index), shift_down(bytes.high, index - 16));
}

template <class Value>
Value get(const void* at, std::uint32_t offset = 0) {
  Value value;
  std::memcpy(&value, static_cast<const char*>(at) + offset, sizeof value);
  return value;
}
template <class Value>
void put(void* at, std::uint32_t offset, Value value) {
  std::memcpy(static_cast<char*>(at) + offset, &value, sizeof value);
}

// Stores 1 to 16 characters as wide text: in fours, the last of which covers what others have stored.
void store_wide(void* dst, std::uint32_t count, Block characters) {
  if (count >= 4) {
    const std::uint32_t last = count - 4;
    const auto four = [&](std::uint32_t from) {
      const std::uint32_t index = min(from, last);
      const Block shifted = shift_down(characters, static_cast<std::int32_t>(index));
      _mm_storeu_si128(reinterpret_cast<Block*>(static_cast<char*>(dst) + index * 4), _mm_cvtepu8_epi32(shifted));
    };
    for (std::uint32_t from = 0; from < lanes; from += 4) four(from);
  } else {
    const auto front = static_cast<std::uint32_t>(_mm_cvtsi128_si32(characters));
    const auto one = [&](std::uint32_t index) { put<Wide>(dst, index * 4, front >> index * 8 & 0xFF); };
    one(0);
    one(count / 2);
    one(count - 1);
  }
}

// Stores 1 to 10 characters in pairs, without a branch on their number. A single one is stored with one character after
// it.
void store_few(void* dst, std::uint32_t count, Block characters) {
  const std::uint32_t last = count - (count > 1 ? 2 : 1);
  for (std::uint32_t from = 0; from < 10; from += 2) {
    const std::uint32_t index = min(from, last);
    const Block shifted = shift_down(characters, static_cast<std::int32_t>(index));
    put(dst, index * 4, _mm_cvtsi128_si64(_mm_cvtepu8_epi32(shifted)));
  }
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

// Stores 1 to 32 characters as units, of which the first sixteen stand in `low`; `high` gives the others.
template <class Unit, class High>
void store_text(void* dst, std::uint32_t count, Block low, High high) {
  char* const more = static_cast<char*>(dst) + lanes * sizeof(Unit);
  if constexpr (sizeof(Unit) == 1) {
    store_bytes(dst, min(count, lanes), low);
    if (count > lanes) store_bytes(more, count - lanes, high());
  } else {
    store_wide(dst, min(count, lanes), low);
    if (count > lanes) store_wide(more, count - lanes, high());
  }
}

template <class Unit>
ZVRT_WRAPS Rendered render_packed_sse41(const std::uint8_t* field, std::int64_t bytes, void* dst,
                                        std::int32_t capacity) {
  if (bytes < 1 || bytes > static_cast<std::int64_t>(lanes)) return left_packed<Unit>(field, bytes, dst, capacity);
  const auto size = static_cast<std::uint32_t>(bytes);
  const Block pairs = load_bytes(field, size);
  const Block upper = _mm_and_si128(_mm_srli_epi16(pairs, 4), all(decimal_vectors.low_halves));
  const Block lower = _mm_and_si128(pairs, all(decimal_vectors.low_halves));
  const TwoBlocks halves = {_mm_unpacklo_epi8(upper, lower), _mm_unpackhi_epi8(upper, lower)};
  // The sign's place ends the digits, the last leading zero at the latest.
  const std::uint32_t digits = 2 * size - 1;
  const std::uint32_t end = 1U << digits;
  const Block nines = all(decimal_vectors.nines);
  const Block nothing = _mm_setzero_si128();
  const std::uint32_t stop =
      lowest_bit(sign_bits(TwoBlocks{_mm_cmpgt_epi8(halves.low, nines), _mm_cmpgt_epi8(halves.high, nines)}) | end);
  const std::uint32_t start =
      lowest_bit(sign_bits(TwoBlocks{_mm_cmpgt_epi8(halves.low, nothing), _mm_cmpgt_epi8(halves.high, nothing)}) | end);
  // As arithmetic: compilers make a branch of a comparison, and signs cannot be foretold.
  const std::uint32_t negative = (((field[size - 1] & 0xFU) ^ 0xDU) - 1) >> 31;
  const std::uint32_t count = stop - start;
  const std::uint32_t length = count + negative;
  if (length == 0) return {0, ZVRT_RC_EMPTY_RESULT};
  if (count == 0 || static_cast<std::int64_t>(length) >= capacity)
    return left_packed<Unit>(field, bytes, dst, capacity);

  if (sizeof(Unit) == 1 && stop < digits) return not_rendered;
  // Where there is no sign a digit takes its place.
  put(dst, 0, Unit{'-'});
  char* out = static_cast<char*>(dst) + negative * sizeof(Unit);
  const Block zeros = all(decimal_vectors.zeros);
  const auto from = static_cast<std::int32_t>(start);
  const Block text = _mm_add_epi8(window(halves, from), zeros);
  if (sizeof(Unit) == 4 && size <= 5) {
    store_few(out, count, text);
  } else {
    store_text<Unit>(out, count, text,
                     [&] { return _mm_add_epi8(window(halves, from + static_cast<std::int32_t>(lanes)), zeros); });
  }
  put(dst, length * static_cast<std::uint32_t>(sizeof(Unit)), Unit{0});
  return {length, stop < digits ? ZVRT_RC_ERROR : ZVRT_RC_OK};
}

// A block within the page of the text's start, which sanitizers would report beyond the text's end.
__attribute__((no_sanitize("address", "thread"))) Block load_unchecked(const void* text, std::uint32_t offset) {
  return _mm_loadu_si128(reinterpret_cast<const Block*>(static_cast<const char*>(text) + offset));
}

// Sixteen characters as bytes, FF for those above.
template <class Unit>
Block load_characters(const void* text) {
  if constexpr (sizeof(Unit) == 1) {
    return load_unchecked(text, 0);
  } else {
    const Block max_byte = all(decimal_vectors.wide_bytes);
    const auto four = [=](std::uint32_t offset) { return _mm_min_epu32(load_unchecked(text, offset), max_byte); };
    return _mm_packus_epi16(_mm_packus_epi32(four(0), four(16)), _mm_packus_epi32(four(32), four(48)));
  }
}

// Loads a text into bytes, if it ends within 32 of them in this page, and returns its zero bytes.
template <class Unit>
std::uint32_t load_text(const void* text, TwoBlocks& bytes) {
  if (!is_within_page(text, 2 * lanes * sizeof(Unit))) return 0;
  const Block nothing = _mm_setzero_si128();
  bytes.low = load_characters<Unit>(text);
  bytes.high = nothing;
  const std::uint32_t ends = sign_bits(_mm_cmpeq_epi8(bytes.low, nothing));
  if (ends != 0) return ends;
  bytes.high = load_characters<Unit>(static_cast<const char*>(text) + lanes * sizeof(Unit));
  return sign_bits(_mm_cmpeq_epi8(bytes.high, nothing)) << lanes;
}

template <class Unit>
ZVRT_WRAPS Packed pack_text_sse41(const void* text, std::uint8_t* field, std::int32_t size) {
  if (size < 1 || size > static_cast<std::int32_t>(lanes)) return left_text<Unit>(text, field, size);
  TwoBlocks bytes;
  const std::uint32_t ends = load_text<Unit>(text, bytes);
  // Only bytes below 0x80 are sure to be complete characters.
  const std::uint32_t inside = ~ends & (ends - 1);
  if (ends == 0 || (sign_bits(bytes) & inside) != 0) return left_text<Unit>(text, field, size);
  const std::uint32_t length = lowest_bit(ends);
  const std::uint32_t negative = get<Unit>(text) == '-' ? 1 : 0;
  const std::uint32_t count = length - negative;
  const std::int32_t sign_at = 2 * size - 1;
  if (static_cast<std::int32_t>(count) > sign_at || (sizeof(Unit) == 1 && length == 0))
    return left_text<Unit>(text, field, size);
  bytes.low = _mm_sub_epi8(bytes.low, _mm_cvtsi32_si128(static_cast<int>(negative * '-')));
  // The terminator comes to the sign's place.
  const std::int32_t from = static_cast<std::int32_t>(length) - sign_at;
  const Block low_halves = all(decimal_vectors.low_halves);
  const Block weights = all(decimal_vectors.by_16_and_1);
  const Block low = _mm_maddubs_epi16(_mm_and_si128(window(bytes, from), low_halves), weights);
  const Block high =
      _mm_maddubs_epi16(_mm_and_si128(window(bytes, from + static_cast<std::int32_t>(lanes)), low_halves), weights);
  const Block sign = shift_down(_mm_cvtsi32_si128(static_cast<int>(0xC + negative)), 1 - size);
  store_bytes(field, static_cast<std::uint32_t>(size), _mm_add_epi8(_mm_packus_epi16(low, high), sign));
  return {count, static_cast<std::uint32_t>(size)};
}

// The bytes up to `index` of one window, and those after it of the window one byte before.
Block split_window(const TwoBlocks& bytes, std::int32_t from, std::uint32_t index) {
  const Block after_point = _mm_cmpgt_epi8(all(decimal_vectors.positions), repeat_of(index));
  return _mm_blendv_epi8(window(bytes, from), window(bytes, from - 1), after_point);
}

template <class Unit>
ZVRT_WRAPS Rendered render_varnum_sse41(const std::uint8_t* value, void* dst, std::int32_t capacity) {
  const std::uint32_t count = value[0] - 1U;
  if (count < 1 || count > lanes || value[1] < positive_exponent - 1) return left_varnum<Unit>(value, dst, capacity);
  const Block mantissa = load_bytes(value + header_bytes, count);
  const Block ones = all(decimal_vectors.ones);
  const Block digits = _mm_sub_epi8(mantissa, ones);
  const Block valid = _mm_cmpeq_epi8(digits, _mm_min_epu8(digits, all(decimal_vectors.ninety_nines)));
  if ((~sign_bits(valid) & ((1U << count) - 1)) != 0) return {0, ZVRT_RC_ERROR};
  const VarnumText layout = lay_out(value);
  const auto length = static_cast<std::uint32_t>(layout.length);
  if (layout.length >= capacity || length > 2 * lanes) return left_varnum<Unit>(value, dst, capacity);

  // Tens below, ones above: digit << 8 less ten times the tens there, and the tens once. After the mantissa are zeros.
  const Block zeros = all(decimal_vectors.zeros);
  const auto characters = [&](Block words) {
    const Block tens = _mm_mulhi_epu16(words, all(decimal_vectors.tenths));
    const Block pairs =
        _mm_add_epi16(_mm_slli_epi16(words, 8), _mm_mullo_epi16(tens, all(decimal_vectors.ones_less_tens)));
    return _mm_add_epi8(pairs, zeros);
  };
  const Block kept = _mm_subs_epu8(mantissa, ones);
  const TwoBlocks text = {characters(_mm_cvtepu8_epi16(kept)), characters(_mm_cvtepu8_epi16(_mm_srli_si128(kept, 8)))};
  // Without a fraction the point stands where the text ends.
  const auto point = static_cast<std::uint32_t>(layout.point);
  store_text<Unit>(dst, length, split_window(text, layout.skipped, point), [&] {
    return split_window(text, layout.skipped + static_cast<std::int32_t>(lanes), point - lanes);
  });
  put(dst, point * static_cast<std::uint32_t>(sizeof(Unit)), Unit{'.'});
  put(dst, length * static_cast<std::uint32_t>(sizeof(Unit)), Unit{0});
  return {length, ZVRT_RC_OK};
}

template <class Unit>
ZVRT_WRAPS EncodedVarnum encode_varnum_sse41(const void* text, std::uint8_t* dst, std::int32_t capacity) {
  TwoBlocks bytes;
  const std::uint32_t ends = load_text<Unit>(text, bytes);
  if (ends == 0) return encode_varnum<Unit>(text, dst, capacity);
  const std::uint32_t length = lowest_bit(ends);
  const std::uint32_t inside = ~ends & (ends - 1);
  const Block zeros = all(decimal_vectors.zeros);
  const Block nines = all(decimal_vectors.nines);
  const Block dots = all(decimal_vectors.points);
  TwoBlocks values = {_mm_sub_epi8(bytes.low, zeros), _mm_sub_epi8(bytes.high, zeros)};
  const std::uint32_t digits = sign_bits(TwoBlocks{_mm_cmpeq_epi8(values.low, _mm_min_epu8(values.low, nines)),
                                                   _mm_cmpeq_epi8(values.high, _mm_min_epu8(values.high, nines))});
  const std::uint32_t points =
      sign_bits(TwoBlocks{_mm_cmpeq_epi8(bytes.low, dots), _mm_cmpeq_epi8(bytes.high, dots)}) & inside;
  const std::uint32_t nonzero =
      ~sign_bits(TwoBlocks{_mm_cmpeq_epi8(bytes.low, zeros), _mm_cmpeq_epi8(bytes.high, zeros)}) & inside & ~points;
  if (((digits & inside) | points) != inside || (points & (points - 1)) != 0) return {length, 0};
  if (nonzero == 0) return encode_varnum<Unit>(text, dst, capacity);

  // Positions among the digits: the point's is the number of digits before it.
  const std::uint32_t point = lowest_bit(points | (inside + 1));
  const auto digit_at = [point](std::uint32_t index) { return index - (index > point ? 1 : 0); };
  const std::uint32_t leading = digit_at(lowest_bit(nonzero));
  const std::uint32_t last = digit_at(highest_bit(nonzero));
  // The pair of the first digit that is not zero follows the header, and the point falls between two pairs: that digit
  // is the lower one of its pair if the number of digits from it to the point is odd.
  const std::uint32_t lower = (leading + point) % 2;
  const std::uint32_t shift = 2 * header_bytes + lower - leading;
  if (last + shift >= 2 * lanes) return encode_varnum<Unit>(text, dst, capacity);
  const std::uint32_t size = (last + shift) / 2 + 1;
  if (static_cast<std::int32_t>(size) > capacity) return {length, static_cast<std::int32_t>(size)};

  const Block end = repeat_of(length);
  values.low = _mm_and_si128(values.low, _mm_cmpgt_epi8(end, all(decimal_vectors.positions)));
  values.high = _mm_and_si128(
      values.high, _mm_cmpgt_epi8(_mm_sub_epi8(end, all(decimal_vectors.sixteens)), all(decimal_vectors.positions)));
  // Digits after the point move up over it.
  const auto compressed = [&](std::uint32_t part) {
    const std::int32_t from = static_cast<std::int32_t>(part) - static_cast<std::int32_t>(shift);
    const Block straight = _mm_add_epi8(all(decimal_vectors.positions), repeat_of(static_cast<std::uint32_t>(from)));
    const Block before = _mm_cmpgt_epi8(repeat_of(point), straight);
    return _mm_blendv_epi8(window(values, from + 1), window(values, from), before);
  };
  const Block weights = all(decimal_vectors.by_10_and_1);
  const Block pairs =
      _mm_packus_epi16(_mm_maddubs_epi16(compressed(0), weights), _mm_maddubs_epi16(compressed(lanes), weights));
  const std::int32_t exponent = positive_exponent - 1 + static_cast<std::int32_t>(point + lower - leading) / 2;
  store_bytes(dst, size, _mm_add_epi8(pairs, all(decimal_vectors.ones)));
  put(dst, 0, static_cast<std::uint16_t>((size - 1) | static_cast<std::uint32_t>(exponent) << 8));
  return {length, static_cast<std::int32_t>(size)};
}

}  // namespace

const DecimalKernels decimal_kernels_sse41 = {
    render_packed_sse41<Wide>, pack_text_sse41<Wide>,     render_varnum_sse41<Wide>, encode_varnum_sse41<char>,
    encode_varnum_sse41<Wide>, render_packed_sse41<char>, pack_text_sse41<char>,     render_varnum_sse41<char>};

}  // namespace zvrt
