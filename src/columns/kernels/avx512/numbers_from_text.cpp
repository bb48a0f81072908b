// Text to numbers by AVX-512, a row a step: digits as a mask, one permutation to the right end of 32 bytes without the
// point, then pairs, quads and octets joined.
#include "columns/kernels/avx512/number_vectors.h"
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

// One text of `count` units; false where a block has to look at it.
ZVRT_WRAPS ZVRT_INLINED bool parse(Bytes text, std::int32_t count, std::int64_t& value, std::int32_t& scale) {
  const Bytes digits = _mm256_sub_epi8(text, repeat('0'));
  const __mmask32 is_digit = _mm256_cmple_epu8_mask(digits, repeat(9));
  const Mask found = is_digit & first(count);
  const Mask others = ~found & first(count);
  const std::int32_t digit_count = _mm_popcnt_u32(found);
  // Without a branch, as nobody foresees a sign.
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
  if (digit_count < 1 || digit_count > short_digits_read) return false;
  const Bytes ordered =
      _mm256_permutex2var_epi8(_mm256_maskz_mov_epi8(is_digit, digits), places, _mm256_setzero_si256());
  const std::uint64_t magnitude = join_digits(ordered);
  const std::uint64_t minus = 0 - std::uint64_t{is_minus};
  value = static_cast<std::int64_t>((magnitude ^ minus) - minus);
  scale = magnitude == 0 ? 0 : fraction;
  return true;
}

enum class Length : std::uint8_t { of_slot, given, prefixed, terminated };

template <class Unit, bool from_page, Length length_is>
ZVRT_INLINED std::int32_t read_rows(const Type& from, const Rows& rows, ShortNumbers& numbers) {
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
    if (!parse(text, count, numbers.value[i], numbers.scale[i])) [[unlikely]]
      return i;
  }
  return rows.count;
}

template <class Unit, bool from_page>
std::int32_t read_text(const ZVRTPlan& plan, const Rows& rows, ShortNumbers& numbers) {
  const Type& from = plan.from.type;
  if (from.extent == Extent::terminated) return read_rows<Unit, from_page, Length::terminated>(from, rows, numbers);
  if (from.extent == Extent::prefixed) return read_rows<Unit, from_page, Length::prefixed>(from, rows, numbers);
  if (rows.source_lengths->at != nullptr) return read_rows<Unit, from_page, Length::given>(from, rows, numbers);
  return read_rows<Unit, from_page, Length::of_slot>(from, rows, numbers);
}

}  // namespace

std::int32_t read_text_avx512(const ZVRTPlan& plan, const Rows& rows, ShortNumbers& numbers) {
  const Type& from = plan.from.type;
  if (from.unit == 4) return read_text<Wide, false>(plan, rows, numbers);
  return from.page.is_utf8() ? read_text<std::uint8_t, false>(plan, rows, numbers)
                             : read_text<std::uint8_t, true>(plan, rows, numbers);
}
}  // namespace zvrt::columns
