// Text to numbers by AVX-512, a row a step: digits as a mask, one permutation to the right end of 32 bytes without the
// point, then pairs, quads and octets joined; or, into a packed field, no number at all: its half-bytes are the digits.
#include "columns/kernels/avx512/number_vectors.h"
#include "columns/kernels/avx512/packed_field.h"
#include "support/wraps.h"

namespace zvrt::columns {

namespace {

using namespace avx512;

using Layout = std::array<std::uint8_t, lanes>;

// Units as bytes; a wide one above FF becomes FF, which is no part of a number.
template <class Unit>
ZVRT_INLINED Bytes load_units(const std::byte* at, Mask inside, bool is_short) {
  if constexpr (sizeof(Unit) == 1) return _mm256_maskz_loadu_epi8(inside, at);
  const __m512i low = _mm512_maskz_loadu_epi32(static_cast<__mmask16>(inside), at);
  const __m128i narrow = _mm512_cvtusepi32_epi8(low);
  if (is_short) return _mm256_zextsi128_si256(narrow);
  const __m512i high = _mm512_maskz_loadu_epi32(static_cast<__mmask16>(inside >> 16), at + 64);
  return _mm256_inserti128_si256(_mm256_castsi128_si256(narrow), _mm512_cvtusepi32_epi8(high), 1);
}

// Digits at the right end of 32 bytes, at most 18, to their number.
ZVRT_INLINED std::uint64_t join_digits(Bytes digits) {
  const Bytes pairs = _mm256_maddubs_epi16(digits, _mm256_set1_epi16(1 << 8 | 10));
  const Bytes quads = _mm256_madd_epi16(pairs, _mm256_set1_epi32(1 << 16 | 100));
  const __m128i octets = _mm_madd_epi16(_mm256_cvtepi32_epi16(quads), _mm_set1_epi32(1 << 16 | 10000));
  const auto last = static_cast<std::uint64_t>(_mm_extract_epi64(octets, 1));
  const auto before = static_cast<std::uint64_t>(static_cast<std::uint32_t>(_mm_extract_epi32(octets, 1)));
  return (before * ten_8 + (last & UINT32_MAX)) * ten_8 + (last >> 32);
}

// Indices that move a text of `count` units to the right end of 32 bytes. Those before it have bit 5 set, which takes a
// byte of the other vector of a permutation of two.
alignas(64) constexpr auto to_the_right = [] {
  std::array<Layout, lanes + 1> all{};
  for (std::int32_t count = 0; count <= lanes; ++count) {
    for (std::int32_t k = 0; k < lanes; ++k) {
      const std::int32_t from = count - lanes + k;
      all[static_cast<std::size_t>(count)][static_cast<std::size_t>(k)] =
          static_cast<std::uint8_t>(from < 0 ? lanes : from);
    }
  }
  return all;
}();
ZVRT_INLINED Bytes right_end(std::int32_t count) {
  return _mm256_load_si256(reinterpret_cast<const __m256i*>(&to_the_right[static_cast<std::size_t>(count)]));
}

// The digits of a text, at the right end of 32 bytes.
struct Found {
  Bytes digits;
  std::int32_t count;     // of the digits
  std::int32_t fraction;  // of them after the point
  Mask is_minus;
};

// One text of `count` units; false where a block has to look at it.
ZVRT_INLINED bool find_digits(Bytes text, std::int32_t count, Found& all) {
  const Bytes digits = _mm256_sub_epi8(text, repeat('0'));
  const __mmask32 is_digit = _mm256_cmple_epu8_mask(digits, repeat(9));
  const Mask found = is_digit & first(count);
  const Mask others = ~found & first(count);
  const std::int32_t digit_count = _mm_popcnt_u32(found);
  // Without a branch, as a sign is not predictable.
  const auto front = static_cast<std::uint32_t>(static_cast<std::uint8_t>(_mm256_cvtsi256_si32(text)));
  const Mask is_minus = static_cast<Mask>(front == '-') & others;
  const Mask has_sign = (is_minus | static_cast<Mask>(front == '+')) & others;
  Bytes places = right_end(count);
  std::int32_t fraction = 0;
  if (others != has_sign) {
    // One unit that is neither a digit nor the sign: the point.
    const Mask points = _mm256_cmpeq_epi8_mask(text, repeat('.')) & others;
    if ((points & (points - 1)) != 0 || (points | has_sign) != others) return false;
    fraction = count - 1 - static_cast<std::int32_t>(_tzcnt_u32(points));
    places = _mm256_mask_mov_epi8(right_end(count - 1), ~first(lanes - fraction), places);
  }
  if (digit_count < 1) return false;
  all = {_mm256_permutex2var_epi8(_mm256_maskz_mov_epi8(is_digit, digits), places, _mm256_setzero_si256()), digit_count,
         fraction, is_minus};
  return true;
}

// Where the numbers of rows go: `put` returns false for one that a block has to look at.
struct IntoShortNumbers {
  ShortNumbers& numbers;

  ZVRT_WRAPS ZVRT_INLINED bool put(const Rows& /*rows*/, std::int32_t i, const Found& found) const {
    if (found.count > short_digits_read) return false;
    const std::uint64_t magnitude = join_digits(found.digits);
    const std::uint64_t minus = 0 - std::uint64_t{found.is_minus};
    numbers.value[i] = static_cast<std::int64_t>((magnitude ^ minus) - minus);
    numbers.scale[i] = magnitude == 0 ? 0 : found.fraction;
    return true;
  }
};

// Digits of text straight into half-bytes; those that the target has beyond the text's fraction are zeros.
struct IntoPacked {
  PackedField field;
  std::int32_t scale;
  std::int32_t precision;

  ZVRT_INLINED explicit IntoPacked(const Type& to) : field(to), scale(to.scale) {
    const std::int32_t held = _mm_popcnt_u32(field.digit_places);
    precision = to.precision < held ? to.precision : held;
  }

  ZVRT_INLINED bool put(const Rows& rows, std::int32_t i, const Found& found) const {
    const std::int32_t zeros = scale - found.fraction;
    if (zeros < 0 || zeros > most_short_scale) return false;
    const Mask used = _mm256_test_epi8_mask(found.digits, found.digits);
    const std::int32_t unused = lanes - precision + zeros;  // bytes before the first digit that the field has
    const Mask minus = found.is_minus & static_cast<Mask>(used != 0);
    const bool is_refused = found.is_minus != 0 && !field.is_signed;
    if ((unused > 0 && (used & first(unused)) != 0) || is_refused) return false;
    field.store(found.digits, zeros, minus, rows.target + i * rows.target_stride);
    return true;
  }
};

enum class Length : std::uint8_t { of_slot, given, prefixed, terminated };

template <class Unit, bool from_page, Length length_is, class Sink>
ZVRT_INLINED std::int32_t read_rows(const Type& from, const Rows& rows, const Sink& sink) {
  constexpr auto unit = static_cast<std::int32_t>(sizeof(Unit));
  constexpr std::int32_t prefix = length_is == Length::prefixed ? 2 : 0;
  const std::int32_t units = (from.length - prefix) / unit;
  const std::int32_t slot = units < lanes ? units : lanes;
  const bool trims = from.has(ZVRT_TYPE_TRIM);
  const PageTable table(from_page ? from.page.tables->ascii_of.data() : std::array<std::uint8_t, 256>{}.data());
  for (std::int32_t i = 0; i < rows.count; ++i) {
    const std::byte* const at = rows.source + i * rows.source_stride;
    std::int64_t bytes = from.length;
    if constexpr (length_is == Length::given) bytes = rows.source_lengths->load(i);
    if constexpr (length_is == Length::prefixed) bytes = load<std::int16_t>(at);
    if constexpr (length_is == Length::terminated) bytes = slot * unit;
    if (bytes < 0 || bytes > slot * unit || bytes % unit != 0) return i;
    auto count = static_cast<std::int32_t>(bytes) / unit;
    Bytes text = load_units<Unit>(at + prefix, first(count), slot <= 16);
    if constexpr (length_is == Length::terminated) {
      const Mask ends = _mm256_testn_epi8_mask(text, text) & first(slot);
      if (ends == 0) return i;
      count = static_cast<std::int32_t>(_tzcnt_u32(ends));
    }
    if constexpr (from_page) text = table.characters_of(text);
    if (trims) {
      count = lanes - static_cast<std::int32_t>(_lzcnt_u32(_mm256_cmpneq_epi8_mask(text, repeat(' ')) & first(count)));
    }
    Found found;
    if (!find_digits(text, count, found) || !sink.put(rows, i, found)) [[unlikely]]
      return i;
  }
  return rows.count;
}

template <class Unit, bool from_page, class Sink>
std::int32_t read_text(const Type& from, const Rows& rows, const Sink& sink) {
  if (from.extent == Extent::terminated) return read_rows<Unit, from_page, Length::terminated>(from, rows, sink);
  if (from.extent == Extent::prefixed) return read_rows<Unit, from_page, Length::prefixed>(from, rows, sink);
  if (rows.source_lengths->at != nullptr) return read_rows<Unit, from_page, Length::given>(from, rows, sink);
  return read_rows<Unit, from_page, Length::of_slot>(from, rows, sink);
}

template <class Sink>
std::int32_t read_any_text(const Type& from, const Rows& rows, const Sink& sink) {
  if (from.unit == 4) return read_text<Wide, false>(from, rows, sink);
  return from.page.is_utf8() ? read_text<std::uint8_t, false>(from, rows, sink)
                             : read_text<std::uint8_t, true>(from, rows, sink);
}

}  // namespace

std::int32_t read_text_avx512(const ZVRTPlan& plan, const Rows& rows, ShortNumbers& numbers) {
  return read_any_text(plan.from.type, rows, IntoShortNumbers{numbers});
}

std::int32_t text_to_packed_avx512(const ZVRTPlan& plan, const Rows& rows) {
  return read_any_text(plan.from.type, rows, IntoPacked(plan.to.type));
}

}  // namespace zvrt::columns
