// The decimal conversions by AVX-512: a value of ordinary length is taken apart, moved to its place and put together in
// one vector, without a branch on the number of digits. Whatever is longer, or does not fit, goes to the definitions.
//
// No inline function of a header is used that could be kept out of line: its one copy would serve older processors too.
#include <immintrin.h>

#include <cstdint>
#include <cstring>

#include "numeric/decimal_kernels.h"

namespace zvrt {

namespace {

using Vector = __m512i;
using Mask = std::uint64_t;

constexpr std::uint32_t vector_bytes = 64;

std::uint32_t least(std::uint32_t a, std::uint32_t b) { return a < b ? a : b; }

// The lowest `count` bits, all of them from 64 on.
Mask first(std::uint32_t count) { return _bzhi_u64(~Mask{0}, count); }
__mmask32 first32(std::uint32_t count) { return _bzhi_u32(~0U, count); }
__mmask16 first16(std::uint32_t count) { return static_cast<__mmask16>(_bzhi_u32(0xFFFF, count)); }
Mask bit(std::uint32_t index) { return Mask{1} << index; }
std::uint32_t lowest(Mask bits) { return static_cast<std::uint32_t>(_tzcnt_u64(bits)); }  // 64 where there is none

Vector repeat(std::uint32_t byte) { return _mm512_set1_epi8(static_cast<char>(byte)); }

struct Positions {
  alignas(64) std::uint8_t bytes[vector_bytes];
  constexpr Positions() : bytes() {
    for (std::uint32_t i = 0; i < vector_bytes; ++i) bytes[i] = static_cast<std::uint8_t>(i);
  }
};
constexpr Positions numbered;

// Every byte's position and an offset.
Vector positions(std::uint32_t offset) { return _mm512_add_epi8(_mm512_load_si512(numbered.bytes), repeat(offset)); }

// Bytes that are zero from `length` on as wide text and its terminator; `most` bounds the length.
void store_wide(Vector text, std::uint32_t length, std::uint32_t most, void* dst) {
  auto* out = static_cast<char*>(dst);
  const std::uint32_t units = length + 1;
  _mm512_mask_storeu_epi32(out, first16(units), _mm512_cvtepu8_epi32(_mm512_castsi512_si128(text)));
  const auto store_part = [&](std::uint32_t from, __m128i part) {
    // Nothing to store is stored at the start: memory behind the text need not be there, and is slow to find missing.
    const bool some = units > from;
    _mm512_mask_storeu_epi32(some ? out + from * 4 : out, some ? first16(units - from) : __mmask16{0},
                             _mm512_cvtepu8_epi32(part));
  };
  if (most < 16) return;
  store_part(16, _mm512_extracti32x4_epi32(text, 1));
  if (most < 32 || length < 32) return;
  store_part(32, _mm512_extracti32x4_epi32(text, 2));
  store_part(48, _mm512_extracti32x4_epi32(text, 3));
}

Rendered render_packed_512(const std::uint8_t* field, std::int64_t bytes, void* dst, std::int32_t room) {
  // One byte less than the vector holds leaves its last position zero, whence a sign finds a zero to stand in for.
  if (bytes < 1 || bytes >= vector_bytes / 2) return render_packed(field, bytes, dst, room);
  const auto size = static_cast<std::uint32_t>(bytes);
  const std::uint32_t digits = 2 * size - 1;
  const Vector pairs = _mm512_cvtepu8_epi16(_mm256_maskz_loadu_epi8(first32(size), field));
  const Vector halves =
      _mm512_and_si512(_mm512_or_si512(_mm512_srli_epi16(pairs, 4), _mm512_slli_epi16(pairs, 8)), repeat(0x0F));
  // The sign's place ends the digits, the last leading zero at the latest.
  const Mask end = bit(digits);
  const std::uint32_t stop = lowest(_mm512_cmpgt_epu8_mask(halves, repeat(9)) | end);
  const std::uint32_t start = lowest(_mm512_test_epi8_mask(halves, halves) | end);
  const std::uint32_t negative = (field[size - 1] & 0xF) == 0xD ? 1 : 0;
  const std::uint32_t length = stop - start + negative;
  if (length == 0) return {0, ZVRT_RC_EMPTY_RESULT};
  if (static_cast<std::int64_t>(length) >= room) return render_packed(field, bytes, dst, room);
  const Vector moved = _mm512_permutexvar_epi8(positions(start - negative), halves);
  // A sign stands in the place of a zero.
  const Vector zeros =
      _mm512_sub_epi8(repeat('0'), _mm512_zextsi128_si512(_mm_cvtsi32_si128(static_cast<int>(negative) * ('0' - '-'))));
  store_wide(_mm512_maskz_add_epi8(first(length), moved, zeros), length, 2 * size, dst);
  return {length, stop < digits ? ZVRT_RC_ERROR : ZVRT_RC_OK};
}

// What of a text lies in its first page, in a vector's bytes: reading it all cannot fail, whereas the next page need
// not be there. The sanitizers know no pages.
struct Loaded {
  Vector text;
  Mask ends;  // the zero bytes within
};

template <class Unit>
std::uint32_t units_in_page(const void* text) {
  constexpr std::uint32_t page_bytes = 4096;
  const auto into_page = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(text) % page_bytes);
  return least((page_bytes - into_page) / sizeof(Unit), vector_bytes);
}

__attribute__((no_sanitize("address"))) Vector load_units(const void* text, std::uint32_t index, std::uint32_t units) {
  const std::uint32_t there = units > index ? units - index : 0;
  return _mm512_maskz_loadu_epi32(first16(there), static_cast<const char*>(text) + index * sizeof(Wide));
}

// Wide characters as bytes: their low ones, or where `saturated` 0xFF for what is no byte.
template <bool saturated>
__m128i narrowed(Vector units) {
  return saturated ? _mm512_cvtusepi32_epi8(units) : _mm512_cvtepi32_epi8(units);
}

template <bool saturated>
Loaded load_wide(const void* text) {
  const std::uint32_t units = units_in_page<Wide>(text);
  const Vector a = load_units(text, 0, units);
  const Vector b = load_units(text, 16, units);
  Mask ends = _mm512_testn_epi32_mask(a, a) | Mask{_mm512_testn_epi32_mask(b, b)} << 16;
  __m256i low = _mm256_inserti128_si256(_mm256_castsi128_si256(narrowed<saturated>(a)), narrowed<saturated>(b), 1);
  const Mask here = first(units);
  if ((ends & here & first(32)) != 0) return {_mm512_zextsi256_si512(low), ends & here};
  const Vector c = load_units(text, 32, units);
  const Vector d = load_units(text, 48, units);
  ends = Mask{_mm512_testn_epi32_mask(c, c)} << 32 | Mask{_mm512_testn_epi32_mask(d, d)} << 48;
  const __m256i high =
      _mm256_inserti128_si256(_mm256_castsi128_si256(narrowed<saturated>(c)), narrowed<saturated>(d), 1);
  return {_mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1), ends & here};
}

__attribute__((no_sanitize("address"))) Loaded load_narrow(const void* text) {
  const Mask here = first(units_in_page<char>(text));
  const Vector bytes = _mm512_maskz_loadu_epi8(here, text);
  return {bytes, _mm512_mask_testn_epi8_mask(here, bytes, bytes)};
}

Packed pack_text_512(const void* text, std::uint8_t* field, std::int32_t size) {
  if (size < 1 || size > static_cast<std::int32_t>(vector_bytes / 2)) return pack_text(text, field, size);
  const Loaded loaded = load_wide<false>(text);
  const std::uint32_t length = lowest(loaded.ends);
  Wide leader;
  std::memcpy(&leader, text, sizeof leader);
  const std::uint32_t negative = leader == '-' ? 1 : 0;
  const std::uint32_t count = length - negative;
  const auto sign_at = 2 * static_cast<std::uint32_t>(size) - 1;
  if (loaded.ends == 0 || count > sign_at) return pack_text(text, field, size);
  const Mask digits = first(count) << (sign_at - count);
  const Vector moved = _mm512_maskz_permutexvar_epi8(digits, positions(length - sign_at), loaded.text);
  const Vector halves =
      _mm512_mask_mov_epi8(_mm512_and_si512(moved, repeat(0x0F)), bit(sign_at), repeat(0xC + negative));
  const Vector pairs = _mm512_maddubs_epi16(halves, _mm512_set1_epi16(0x0110));  // upper * 16 + lower
  _mm256_mask_storeu_epi8(field, first32(static_cast<std::uint32_t>(size)), _mm512_cvtepi16_epi8(pairs));
  return {count, static_cast<std::uint32_t>(size)};
}

Rendered render_varnum_512(const std::uint8_t* value, void* dst, std::int32_t room) {
  const std::uint32_t count = value[0] - 1U;
  if (count < 1 || count > Base100::most_digits || value[1] < 0x80) return render_varnum(value, dst, room);
  const __mmask32 mantissa = first32(count);
  const __m256i digits = _mm256_sub_epi8(_mm256_maskz_loadu_epi8(mantissa, value + varnum_header), _mm256_set1_epi8(1));
  if (_mm256_mask_cmpgt_epu8_mask(mantissa, digits, _mm256_set1_epi8(99)) != 0) return {0, ZVRT_RC_ERROR};
  const VarnumText layout = lay_out(value);
  if (layout.length >= room || layout.length >= static_cast<std::int32_t>(vector_bytes)) {
    return render_varnum(value, dst, room);
  }
  // Tens below, ones above: digit << 8 less ten times the tens there, and the tens once.
  const Vector words = _mm512_cvtepu8_epi16(digits);
  const Vector tens = _mm512_mulhi_epu16(words, _mm512_set1_epi16(6554));
  const Vector pairs =
      _mm512_add_epi16(_mm512_slli_epi16(words, 8), _mm512_mullo_epi16(tens, _mm512_set1_epi16(1 - 10 * 256)));
  const auto point = static_cast<std::uint32_t>(layout.point);
  const auto length = static_cast<std::uint32_t>(layout.length);
  const Vector straight = positions(static_cast<std::uint32_t>(layout.skipped));
  const Vector from = _mm512_mask_sub_epi8(straight, ~first(point), straight, repeat(1));
  const Mask there = _mm512_cmplt_epu8_mask(from, repeat(2 * count));
  const Vector characters = _mm512_add_epi8(_mm512_maskz_permutexvar_epi8(there, from, pairs), repeat('0'));
  // Without a fraction the point stands where the text ends.
  const Vector text = _mm512_mask_mov_epi8(characters, bit(point), repeat('.'));
  store_wide(_mm512_maskz_mov_epi8(first(length), text), length, vector_bytes, dst);
  return {length, ZVRT_RC_OK};
}

template <class Unit>
Encoded encode_varnum_512(const void* text, std::uint8_t* dst, std::int32_t room) {
  const Loaded loaded = sizeof(Unit) == 1 ? load_narrow(text) : load_wide<true>(text);
  if (loaded.ends == 0) return encode_varnum<Unit>(text, dst, room);
  const std::uint32_t length = lowest(loaded.ends);
  const Mask inside = first(length);
  const Vector values = _mm512_sub_epi8(loaded.text, repeat('0'));
  const Mask digits = _mm512_cmplt_epu8_mask(values, repeat(10));
  const Mask points = _mm512_cmpeq_epi8_mask(loaded.text, repeat('.')) & inside;
  if (((inside & ~digits & ~points) | _blsr_u64(points)) != 0) return {static_cast<std::int32_t>(length), 0};

  // The point falls between two pairs when an odd number of digits before it gets a zero in front.
  const std::uint32_t point = lowest(points | bit(length));
  const std::uint32_t odd = point % 2;
  const Mask used = first(length - (points != 0 ? 1 : 0)) << odd;
  const Vector straight = positions(0 - odd);
  const Vector from = _mm512_mask_sub_epi8(straight, ~first(point + odd), straight, repeat(0xFF));
  const Vector squeezed = _mm512_maskz_permutexvar_epi8(used, from, values);
  const __m256i pairs = _mm512_cvtepi16_epi8(_mm512_maddubs_epi16(squeezed, _mm512_set1_epi16(0x010A)));

  const std::uint32_t filled = _mm256_test_epi8_mask(pairs, pairs);
  const std::uint32_t leading = _tzcnt_u32(filled);
  const std::uint32_t last = 31 - _lzcnt_u32(filled);
  std::uint32_t size = varnum_header + least(last - leading + 1, Base100::most_digits);
  std::uint32_t exponent = positive_exponent + (point + odd) / 2 - leading - 1;
  if (filled == 0) {
    size = varnum_header;
    exponent = zero_exponent;
  }
  const __m256i moved = _mm256_permutexvar_epi8(_mm512_castsi512_si256(positions(leading - varnum_header)), pairs);
  const __m256i mantissa = _mm256_add_epi8(moved, _mm256_set1_epi8(1));
  const __m256i header = _mm256_set1_epi16(static_cast<short>((size - 1) | exponent << 8));
  const __m256i value = _mm256_mask_mov_epi8(mantissa, 0x3, header);
  if (static_cast<std::int32_t>(size) <= room) _mm256_mask_storeu_epi8(dst, first32(size), value);
  return {static_cast<std::int32_t>(length), static_cast<std::int32_t>(size)};
}

}  // namespace

const DecimalKernels decimal_kernels_avx512 = {render_packed_512, pack_text_512, render_varnum_512,
                                               encode_varnum_512<char>, encode_varnum_512<Wide>};

}  // namespace zvrt
