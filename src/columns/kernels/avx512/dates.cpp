// Timestamp records to and from text of digits of fixed widths by AVX-512, a row a step.
//
// Pairs of digits are the common form. A record's members are in words what its text is in pairs, and the fraction's
// digits are eight bytes after them:
//
//   pairs   |YY|YY|MM|DD|HH|MI|SS|--|FF|FF|FF|FF|     a byte a digit, the fraction at the right end of its eight
//
// One permutation (VPERMB) moves these to and from the places that the model gives them, and a month's letters to the
// bytes after the fraction.
#include <immintrin.h>

#include <array>

#include "columns/date_layout.h"
#include "columns/kernels/avx512/number_vectors.h"
#include "columns/moments.h"
#include "support/wraps.h"

namespace zvrt::columns {

namespace {

using Bytes = __m256i;
using Mask = std::uint32_t;

constexpr std::int32_t lanes = 32;
constexpr std::int32_t fraction_place = 16;  // of its eight digits
constexpr std::int32_t fraction_width = 8;
constexpr std::int32_t letters_place = 24;  // of a month's, where a text has them

ZVRT_INLINED Mask first(std::int32_t count) { return _bzhi_u32(~Mask{0}, static_cast<unsigned>(count)); }
ZVRT_INLINED __m128i words(std::array<std::int16_t, 8> each) {
  return _mm_setr_epi16(each[0], each[1], each[2], each[3], each[4], each[5], each[6], each[7]);
}

// The permutations of a model.
struct Moves {
  alignas(32) std::array<std::uint8_t, lanes> from_text{};  // of each digit among the pairs
  alignas(32) std::array<std::uint8_t, lanes> to_text{};    // of each character
  Mask digits_of_pairs = 0;
  Mask digits_of_text = 0;

  explicit Moves(const Layout& layout) {
    constexpr std::array<std::int32_t, part_count> widths{4, 2, 2, 2, 2, 2, 0};
    std::int32_t place = 0;
    for (std::size_t part = 0; part + 1 < widths.size(); ++part) {
      const bool is_there = layout.at[part] >= 0 && (part != 1 || !layout.has_month_letters);
      for (std::int32_t k = 0; k < widths[part]; ++k, ++place) {
        if (is_there) join(place, layout.at[part] + k);
      }
    }
    for (std::int32_t k = 0; k < 3 && layout.has_month_letters; ++k) join(letters_place + k, layout.at[1] + k);
    const std::int32_t first_digit = fraction_place + fraction_width - layout.fraction_digits;
    for (std::int32_t k = 0; k < layout.fraction_digits; ++k) {
      join(first_digit + k, layout.at[6] + k);
    }
  }

 private:
  void join(std::int32_t place, std::int32_t at) {
    from_text[static_cast<std::size_t>(place)] = static_cast<std::uint8_t>(at);
    to_text[static_cast<std::size_t>(at)] = static_cast<std::uint8_t>(place);
    digits_of_pairs |= Mask{1} << place;
    digits_of_text |= Mask{1} << at;
  }
};

ZVRT_INLINED Bytes load_all(const std::array<std::uint8_t, lanes>& bytes) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes.data()));
}
ZVRT_INLINED Bytes load_first(const std::array<std::uint8_t, longest_date>& bytes) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes.data()));
}

// Members in words: [year, month, day, hour, minute, second, fraction], the fraction in two. Whether they are a date;
// the 29th of February is left to blocks unless the year has it.
ZVRT_INLINED bool is_date(__m128i members) {
  alignas(16) static constexpr std::array<std::uint8_t, 16> days{0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const __m128i above = _mm_sub_epi16(members, words({1, 1, 1, 0, 0, 0, 0, 0}));
  const __mmask8 bad = _mm_cmpgt_epu16_mask(above, words({9998, 11, 30, 23, 59, 59, -1, -1}));
  const auto month = static_cast<std::uint32_t>(_mm_extract_epi16(members, 1));
  const auto day = static_cast<std::uint32_t>(_mm_extract_epi16(members, 2));
  if (bad != 0) return false;
  if (day <= days[month & 15]) [[likely]]
    return true;
  return month == 2 && day == 29 && is_leap_year(_mm_extract_epi16(members, 0));
}

// --- to text ---

// 2^52 / 10^(k + 1) for the places 7 to 0, cut, and what that loses of a number below 10^8 at most: see number_vectors.h.
constexpr std::uint64_t two_52 = UINT64_C(1) << 52;
constexpr std::uint64_t ten_8 = 100'000'000;
struct PlaceFactors {
  std::array<std::uint64_t, 8> factors{};
  std::array<std::uint64_t, 8> losses{};
};
constexpr auto places = [] {
  PlaceFactors all;
  std::uint64_t power = ten_8;
  for (std::size_t k = 0; k < 8; ++k, power /= 10) {
    all.factors[k] = two_52 / power;
    all.losses[k] = two_52 % power * (ten_8 / power) + 1;
  }
  return all;
}();

ZVRT_INLINED __m128i eight_digits(std::uint32_t number) {
  const __m512i fractions = _mm512_madd52lo_epu64(_mm512_loadu_si512(places.losses.data()), _mm512_set1_epi64(number),
                                                  _mm512_loadu_si512(places.factors.data()));
  return _mm512_cvtepi64_epi8(_mm512_madd52hi_epu64(_mm512_setzero_si512(), fractions, _mm512_set1_epi64(10)));
}

// [YYYY, MM, ...] to a byte a digit: tens are 6554 / 2^16 of a pair.
ZVRT_INLINED Bytes pairs_of(__m128i members, std::uint32_t fraction) {
  const auto year = static_cast<std::uint32_t>(_mm_extract_epi16(members, 0));
  const std::uint32_t century = year / 100;
  const __m128i after = _mm_insert_epi16(_mm_bslli_si128(members, 2), static_cast<int>(century), 0);
  const __m128i pairs = _mm_insert_epi16(after, static_cast<int>(year - century * 100), 1);
  const __m128i tens = _mm_mulhi_epu16(pairs, _mm_set1_epi16(6554));
  const __m128i ones = _mm_sub_epi16(pairs, _mm_mullo_epi16(tens, _mm_set1_epi16(10)));
  return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_or_si128(tens, _mm_slli_epi16(ones, 8))),
                                 eight_digits(fraction), 1);
}

template <class Unit>
std::int32_t write_rows(const ZVRTPlan& plan, const Rows rows) {
  constexpr auto unit = static_cast<std::int32_t>(sizeof(Unit));
  const TextSlot place = text_slot(plan.to.type);
  Layout layout;
  lay_out(*plan.to.type.model, layout);
  const std::int32_t bytes = layout.count * unit;
  if (bytes > place.capacity) return 0;
  const Moves moves(layout);
  const Bytes to_text = load_all(moves.to_text);
  const Bytes literals = _mm256_maskz_mov_epi8(first(layout.count), load_first(layout.least));
  const Mask stored = first(layout.count + (place.is_terminated ? 1 : 0));
  const std::int32_t digits = plan.from.type.date_digits;
  const std::uint32_t most = power_of(digits);
  const std::uint32_t scale = power_of(layout.fraction_digits - digits);
  for (std::int32_t i = 0; i < rows.count; ++i) {
    const __m128i members = _mm_loadu_si128(reinterpret_cast<const __m128i*>(rows.source + i * rows.source_stride));
    const auto fraction = static_cast<std::uint32_t>(_mm_extract_epi32(members, 3));
    if (fraction >= most || !is_date(members)) return i;
    const Bytes moved =
        _mm256_maskz_permutexvar_epi8(moves.digits_of_text, to_text, pairs_of(members, fraction * scale));
    const Bytes text = _mm256_add_epi8(moved, literals);
    std::byte* const slot = rows.target + i * rows.target_stride;
    std::byte* const at = slot + place.offset;
    if constexpr (unit == 1) {
      _mm256_mask_storeu_epi8(at, stored, text);
    } else {
      _mm512_mask_storeu_epi32(at, static_cast<__mmask16>(stored), _mm512_cvtepu8_epi32(_mm256_castsi256_si128(text)));
      _mm512_mask_storeu_epi32(at + 64, static_cast<__mmask16>(stored >> 16),
                               _mm512_cvtepu8_epi32(_mm256_extracti128_si256(text, 1)));
    }
    if (place.is_prefixed) store(slot, 0, static_cast<std::uint16_t>(bytes));
    rows.lengths[i] = bytes;
  }
  return rows.count;
}

// --- from text ---

template <class Unit>
ZVRT_INLINED Bytes load_units(const std::byte* at, Mask inside) {
  if constexpr (sizeof(Unit) == 1) return _mm256_maskz_loadu_epi8(inside, at);
  const __m512i low = _mm512_maskz_loadu_epi32(static_cast<__mmask16>(inside), at);
  const __m512i high = _mm512_maskz_loadu_epi32(static_cast<__mmask16>(inside >> 16), at + 64);
  return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm512_cvtusepi32_epi8(low)), _mm512_cvtusepi32_epi8(high), 1);
}

// The record of pairs of digits.
ZVRT_INLINED __m128i members_of(Bytes digits, bool has_fraction, std::uint32_t scale) {
  const Bytes pairs = _mm256_maddubs_epi16(digits, _mm256_set1_epi16(1 << 8 | 10));
  const __m128i front = _mm256_castsi256_si128(pairs);
  const auto year = static_cast<std::uint32_t>(_mm_cvtsi128_si32(front));
  const std::uint32_t full_year = (year & 0xFFFF) * 100 + (year >> 16);
  const __m128i shifted = _mm_insert_epi16(_mm_bsrli_si128(front, 2), static_cast<int>(full_year), 0);
  if (!has_fraction) return shifted;  // zeros from the text on
  const __m128i quads = _mm_madd_epi16(_mm256_extracti128_si256(pairs, 1), _mm_set1_epi32(1 << 16 | 100));
  const auto both = static_cast<std::uint64_t>(_mm_cvtsi128_si64(quads));
  const std::uint32_t fraction = static_cast<std::uint32_t>(both) * 10000 + static_cast<std::uint32_t>(both >> 32);
  return _mm_insert_epi32(shifted, static_cast<int>(fraction * scale), 3);
}

ZVRT_INLINED std::uint32_t letters_of(Bytes pairs) {
  return static_cast<std::uint32_t>(_mm_extract_epi32(_mm256_extracti128_si256(pairs, 1), 2));
}

constexpr std::array<std::uint8_t, 256> no_characters{};

template <class Unit, bool has_table>
std::int32_t read_rows(const ZVRTPlan& plan, const Rows rows) {
  constexpr auto unit = static_cast<std::int64_t>(sizeof(Unit));
  const Type& from = plan.from.type;
  Layout layout;
  lay_out(*from.model, layout);
  const std::int64_t bytes = layout.count * unit;
  const bool is_terminated = from.extent == Extent::terminated;
  const bool gives_lengths = rows.source_lengths->at != nullptr && !is_terminated;
  if (bytes + (is_terminated ? unit : 0) > from.length) return 0;
  const Moves moves(layout);
  const Bytes from_text = load_all(moves.from_text);
  const Bytes least = load_first(layout.least);
  const Bytes span = load_first(layout.span);
  const Mask inside = first(layout.count);
  const Mask loaded = first(layout.count + (is_terminated ? 1 : 0));
  const std::uint32_t scale = power_of(plan.to.type.date_digits - layout.fraction_digits);
  const avx512::PageTable page(has_table ? from.page.tables->ascii_of.data() : no_characters.data());
  const bool has_letters = layout.has_month_letters;
  const bool has_fraction = layout.fraction_digits > 0;
  for (std::int32_t i = 0; i < rows.count; ++i) {
    if (!is_terminated && (gives_lengths ? rows.source_lengths->load(i) : from.length) != bytes) return i;
    const Bytes text = load_units<Unit>(rows.source + i * rows.source_stride, loaded);
    const Bytes digits = _mm256_sub_epi8(has_table ? page.characters_of(text) : text, least);
    const Mask good = _mm256_cmple_epu8_mask(digits, span) & inside;
    // The character after the text is what ends it.
    const Mask after = _mm256_test_epi8_mask(text, text) & loaded & ~inside;
    if (good != inside || after != 0) return i;
    const Bytes pairs = _mm256_maskz_permutexvar_epi8(moves.digits_of_pairs, from_text, digits);
    __m128i members = members_of(pairs, has_fraction, scale);
    if (has_letters) members = _mm_insert_epi16(members, static_cast<int>(find_month(letters_of(pairs))), 1);
    if (!is_date(members)) return i;
    std::byte* const slot = rows.target + i * rows.target_stride;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(slot), members);
    for (std::int32_t k = 16; k < plan.to.type.length; ++k) slot[k] = std::byte{0};
  }
  return rows.count;
}

std::int32_t write_text(const ZVRTPlan& plan, const Rows& rows) {
  return plan.to.type.unit == 4 ? write_rows<Wide>(plan, rows) : write_rows<std::uint8_t>(plan, rows);
}
std::int32_t read_text(const ZVRTPlan& plan, const Rows& rows) {
  const Type& from = plan.from.type;
  if (from.unit == 4) return read_rows<Wide, false>(plan, rows);
  return from.has_table() ? read_rows<std::uint8_t, true>(plan, rows) : read_rows<std::uint8_t, false>(plan, rows);
}

}  // namespace

const DateKernels date_kernels_avx512{
    .record_to_text = write_text,
    .text_to_record = read_text,
    .text_to_count = count_text_avx512,
};

}  // namespace zvrt::columns
