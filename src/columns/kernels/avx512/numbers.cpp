// Numbers to and from text by AVX-512, a row a step and no branch that depends on its digits.
//
// To text: digits stand in 24 bytes, most significant first, zeros before them, and before those what else a text has.
// One permutation (VPERMB) by a table of layouts, for each sign, scale and count of digits, makes the text of them:
//
//   digits  [. - 0 ... 0 0 1 2 3 4 5]     scale 2, below zero
//   text    [- 1 2 3 . 4 5 0 0 0 ...]
//
// The digits of eight decimal places are fractions: n * 2^52 / 10^(k + 1) has digit k in front of its point once its
// upper bits are dropped and it is multiplied by ten (VPMADD52LUQ, VPMADD52HUQ).
//
// From text it is the other way round: digits as a mask, one permutation to the right end of 32 bytes without the point,
// then pairs, quads and octets joined.
#include <immintrin.h>

#include <array>

#include "columns/kernels/packed_word.h"
#include "columns/short_numbers.h"
#include "support/wraps.h"

namespace zvrt::columns {

namespace {

using Bytes = __m256i;
using Mask = std::uint32_t;

constexpr std::int32_t lanes = 32;

ZVRT_INLINED Mask first(std::int32_t count) { return _bzhi_u32(~Mask{0}, static_cast<unsigned>(count)); }
ZVRT_INLINED Bytes repeat(std::int32_t byte) { return _mm256_set1_epi8(static_cast<char>(byte)); }

// A page's code of a byte below 80: two vectors of 64.
struct AsciiTable {
  __m512i low;
  __m512i high;

  ZVRT_INLINED explicit AsciiTable(const std::uint8_t* codes)
      : low(_mm512_loadu_si512(codes)), high(_mm512_loadu_si512(codes + 64)) {}
  ZVRT_INLINED Bytes codes_of(Bytes ascii) const {
    return _mm512_castsi512_si256(_mm512_permutex2var_epi8(low, _mm512_castsi256_si512(ascii), high));
  }
};
// ... and what a page's bytes are: four vectors of 64.
struct PageTable {
  AsciiTable low;
  AsciiTable high;

  ZVRT_INLINED explicit PageTable(const std::uint8_t* characters) : low(characters), high(characters + 128) {}
  ZVRT_INLINED Bytes characters_of(Bytes codes) const {
    return _mm256_mask_mov_epi8(low.codes_of(codes), _mm256_movepi8_mask(codes), high.codes_of(codes));
  }
};

// --- digits ---

constexpr std::uint64_t two_52 = UINT64_C(1) << 52;
constexpr std::uint64_t ten_8 = 100'000'000;

// 2^52 / 10^(k + 1), cut, for the places 7 to 0, and what the cutting takes off a number below 10^8 at most. With that
// added a product is never too small, and less than one last place too large.
constexpr auto place_factors = [] {
  std::array<std::uint64_t, 8> all{};
  std::uint64_t power = ten_8;
  for (std::uint64_t& factor : all) {
    factor = two_52 / power;
    power /= 10;
  }
  return all;
}();
constexpr auto place_losses = [] {
  std::array<std::uint64_t, 8> all{};
  std::uint64_t power = ten_8;
  for (std::uint64_t& loss : all) {
    loss = two_52 % power * (ten_8 / power) + 1;
    power /= 10;
  }
  return all;
}();

// Eight digits, a 64-bit lane each, most significant first.
ZVRT_INLINED __m512i eight_digits(std::uint64_t number) {
  const __m512i broadcast = _mm512_set1_epi64(static_cast<long long>(number));
  const __m512i fractions = _mm512_madd52lo_epu64(_mm512_loadu_si512(place_losses.data()), broadcast,
                                                  _mm512_loadu_si512(place_factors.data()));
  return _mm512_madd52hi_epu64(_mm512_setzero_si512(), fractions, _mm512_set1_epi64(10));
}

// Bytes 0, 8, 16, ... of two vectors.
alignas(64) constexpr auto lowest_bytes = [] {
  std::array<std::uint8_t, 64> all{};
  for (std::size_t i = 0; i < 16; ++i) all[i] = static_cast<std::uint8_t>(8 * i);
  return all;
}();

// The digits of a magnitude; `is_long`: it may have more than sixteen.
template <bool is_long>
ZVRT_INLINED Bytes digits_of(std::uint64_t magnitude) {
  constexpr std::uint64_t ten_16 = ten_8 * ten_8;
  const std::uint64_t upper = is_long ? magnitude / ten_16 : 0;
  const std::uint64_t rest = is_long ? magnitude % ten_16 : magnitude;
  const __m512i places = _mm512_load_si512(lowest_bytes.data());
  const __m128i lower =
      _mm512_castsi512_si128(_mm512_permutex2var_epi8(eight_digits(rest / ten_8), places, eight_digits(rest % ten_8)));
  __m128i before = _mm_setzero_si128();
  if constexpr (is_long) before = _mm_bslli_si128(_mm512_cvtepi64_epi8(eight_digits(upper)), 8);
  return _mm256_inserti128_si256(_mm256_castsi128_si256(before), lower, 1);
}

// --- to text ---

// What stands in the bytes before the digits.
enum Place : std::uint8_t { at_point = 0, at_minus = 1, at_end = 2 };
constexpr std::int32_t most_shown = 20;  // digits of a text

// Where each unit of a text comes from. What follows the text is what ends or fills its slot.
using Layout = std::array<std::uint8_t, lanes>;
constexpr std::size_t layout_index(std::int32_t scale, std::int32_t shown, std::int32_t sign) {
  const std::int32_t index = (scale * (most_shown + 1) + shown) * 2 + sign;
  return static_cast<std::size_t>(index);
}
constexpr Layout lay_out(std::int32_t scale, std::int32_t shown, std::int32_t sign) {
  Layout layout{};
  layout.fill(at_end);
  std::size_t k = 0;
  if (sign != 0) layout[k++] = at_minus;
  for (std::int32_t digit = shown; digit > 0; --digit) {
    layout[k++] = static_cast<std::uint8_t>(lanes - digit);
    if (digit == scale + 1 && scale > 0) layout[k++] = at_point;
  }
  return layout;
}
alignas(64) constexpr auto layouts = [] {
  std::array<Layout, layout_index(most_short_scale, most_shown, 1) + 1> all{};
  for (std::int32_t scale = 0; scale <= most_short_scale; ++scale) {
    for (std::int32_t shown = 0; shown <= most_shown; ++shown) {
      all[layout_index(scale, shown, 0)] = lay_out(scale, shown, 0);
      all[layout_index(scale, shown, 1)] = lay_out(scale, shown, 1);
    }
  }
  return all;
}();

// Where texts go, and what a page makes of them.
template <class Unit, bool into_page>
class TextSink {
 public:
  ZVRT_INLINED TextSink(const Type& to, const Rows& rows, const std::uint8_t* codes)
      : place_(text_slot(to)), codes_(codes), at_(rows.target), stride_(rows.target_stride), lengths_(rows.lengths) {
    room_ = place_.capacity / unit;
    at_end_ = place_.is_terminated ? 1 : 0;
    least_stored_ = place_.is_padded ? room_ : 0;
    blank_ = place_.is_padded ? static_cast<Unit>(unit == 1 ? static_cast<Unit>(to.page.blank[0]) : ' ') : Unit{0};
    // A blank of a page is the code of one.
    alphabet_ = _mm256_setr_epi8('.', '-', static_cast<char>(place_.is_padded ? ' ' : 0), 0, 0, 0, 0, 0, '0', '0', '0',
                                 '0', '0', '0', '0', '0', '0', '0', '0', '0', '0', '0', '0', '0', '0', '0', '0', '0',
                                 '0', '0', '0', '0');
  }

  // False where the text does not fit. `sign`: 1 below zero.
  ZVRT_INLINED bool put(Bytes digits, std::int32_t count, std::int32_t sign, std::int32_t scale) {
    const std::int32_t shown = count > scale ? count : scale + 1;
    const std::int32_t length = sign + shown + (scale > 0 ? 1 : 0);
    if (length > room_) [[unlikely]]
      return false;
    const auto* const layout = reinterpret_cast<const __m256i*>(&layouts[layout_index(scale, shown, sign)]);
    const Bytes text = _mm256_permutexvar_epi8(_mm256_load_si256(layout), _mm256_or_si256(digits, alphabet_));
    store_text(text, length);
    *lengths_++ = length * unit;
    at_ += stride_;
    return true;
  }

 private:
  static constexpr auto unit = static_cast<std::int32_t>(sizeof(Unit));

  ZVRT_INLINED void store_text(Bytes text, std::int32_t length) const {
    std::byte* const at = at_ + place_.offset;
    if constexpr (into_page) text = codes_.codes_of(text);
    const std::int32_t stored = length + at_end_ > least_stored_ ? length + at_end_ : least_stored_;
    const Mask mask = first(stored);  // all of them from 32 on
    if constexpr (unit == 1) {
      _mm256_mask_storeu_epi8(at, mask, text);
    } else {
      _mm512_mask_storeu_epi32(at, static_cast<__mmask16>(mask), _mm512_cvtepu8_epi32(_mm256_castsi256_si128(text)));
      if (room_ >= 16) {
        _mm512_mask_storeu_epi32(at + 64, static_cast<__mmask16>(mask >> 16),
                                 _mm512_cvtepu8_epi32(_mm256_extracti128_si256(text, 1)));
      }
    }
    if (place_.is_prefixed) store(at_, 0, static_cast<std::uint16_t>(length * unit));
    for (std::int32_t k = lanes; k < stored; ++k) store<Unit>(at, static_cast<std::size_t>(k), blank_);
  }

  TextSlot place_;
  AsciiTable codes_;
  Bytes alphabet_;
  std::byte* at_;
  std::int64_t stride_;
  std::int64_t* lengths_;
  Unit blank_;
  std::int32_t room_;          // units
  std::int32_t at_end_;        // of them for what ends a text
  std::int32_t least_stored_;  // all of them where blanks fill the slot
};

constexpr std::array<std::uint8_t, 128> no_codes{};

template <bool is_long, class Sink>
ZVRT_INLINED std::int32_t put_all(Sink sink, const ShortNumbers& numbers, std::int32_t count) {
  for (std::int32_t i = 0; i < count; ++i) {
    const std::int64_t value = numbers.value[i];
    const Bytes digits = digits_of<is_long>(magnitude_of(value));
    const auto zeros = static_cast<std::int32_t>(_tzcnt_u32(_mm256_test_epi8_mask(digits, digits)));
    const auto sign = static_cast<std::int32_t>(static_cast<std::uint64_t>(value) >> 63);
    if (!sink.put(digits, lanes - zeros, sign, numbers.scale[i])) return i;
  }
  return count;
}

template <class Unit, bool into_page>
std::int32_t write_text(const ZVRTPlan& plan, const Rows& rows, const ShortNumbers& numbers) {
  const Type& to = plan.to.type;
  std::uint64_t longest = 0;
  for (std::int32_t i = 0; i < rows.count; ++i) {
    const std::uint64_t magnitude = magnitude_of(numbers.value[i]);
    longest = magnitude > longest ? magnitude : longest;
  }
  const TextSink<Unit, into_page> sink(to, rows, into_page ? to.page.tables->code_of_ascii.data() : no_codes.data());
  return longest < ten_8 * ten_8 ? put_all<false>(sink, numbers, rows.count) : put_all<true>(sink, numbers, rows.count);
}

std::int32_t write_any_text(const ZVRTPlan& plan, const Rows& rows, const ShortNumbers& numbers) {
  const Type& to = plan.to.type;
  if (to.unit == 4) return write_text<Wide, false>(plan, rows, numbers);
  return to.page.is_utf8() ? write_text<std::uint8_t, false>(plan, rows, numbers)
                           : write_text<std::uint8_t, true>(plan, rows, numbers);
}

// --- packed fields to text: their half-bytes are the digits ---

// [dd|dd|...|ds] to [0|0|...|d|d|d]: one VPMULTISHIFTQB takes eight bits from every fourth bit on.
ZVRT_INLINED Bytes packed_digits(std::uint64_t digits) {
  const __m128i places = _mm_set_epi64x(0x0004080C1014181C, 0x2024282C3034383C);
  const __m128i bytes = _mm_multishift_epi64_epi8(places, _mm_set1_epi64x(static_cast<long long>(digits)));
  const __m128i lower = _mm_and_si128(bytes, _mm_set1_epi8(0x0F));
  return _mm256_inserti128_si256(_mm256_setzero_si256(), lower, 1);
}

template <std::int32_t bytes, class Sink>
ZVRT_INLINED std::int32_t put_packed(Sink sink, const Type& from, const Rows rows) {
  constexpr std::uint64_t minus_signs = 1 << 0xB | 1 << 0xD;
  const std::uint64_t refuses_minus = from.has(ZVRT_TYPE_UNSIGNED) ? 1 : 0;
  const std::int32_t scale = from.scale;
  for (std::int32_t i = 0; i < rows.count; ++i) {
    const std::uint64_t word = load_field<bytes>(rows.source + i * rows.source_stride);
    const std::uint64_t sign = word & 0xF;
    const std::uint64_t digits = word >> 4;
    const std::uint64_t beyond = digits >> 3 & (digits >> 2 | digits >> 1) & UINT64_C(0x1111111111111111);
    const std::uint64_t has_minus = minus_signs >> sign & 1;
    const std::uint64_t bad = beyond | static_cast<std::uint64_t>(sign < 0xA) | (has_minus & refuses_minus);
    if (bad != 0) [[unlikely]]
      return i;
    const auto minus = static_cast<std::int32_t>(has_minus & static_cast<std::uint64_t>(digits != 0));
    const auto count = 16 - static_cast<std::int32_t>(_lzcnt_u64(digits) / 4);
    if (!sink.put(packed_digits(digits), count, minus, scale)) return i;
  }
  return rows.count;
}

template <class Unit, bool into_page>
std::int32_t write_packed(const ZVRTPlan& plan, const Rows& rows) {
  const Type& from = plan.from.type;
  const Type& to = plan.to.type;
  const TextSink<Unit, into_page> sink(to, rows, into_page ? to.page.tables->code_of_ascii.data() : no_codes.data());
  switch (from.length) {
    case 1: return put_packed<1>(sink, from, rows);
    case 2: return put_packed<2>(sink, from, rows);
    case 3: return put_packed<3>(sink, from, rows);
    case 4: return put_packed<4>(sink, from, rows);
    case 5: return put_packed<5>(sink, from, rows);
    case 6: return put_packed<6>(sink, from, rows);
    case 7: return put_packed<7>(sink, from, rows);
    default: return put_packed<8>(sink, from, rows);
  }
}

std::int32_t write_any_packed(const ZVRTPlan& plan, const Rows& rows) {
  const Type& to = plan.to.type;
  if (to.unit == 4) return write_packed<Wide, false>(plan, rows);
  return to.page.is_utf8() ? write_packed<std::uint8_t, false>(plan, rows)
                           : write_packed<std::uint8_t, true>(plan, rows);
}

// --- from text ---

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

std::int32_t read_any_text(const ZVRTPlan& plan, const Rows& rows, ShortNumbers& numbers) {
  const Type& from = plan.from.type;
  if (from.unit == 4) return read_text<Wide, false>(plan, rows, numbers);
  return from.page.is_utf8() ? read_text<std::uint8_t, false>(plan, rows, numbers)
                             : read_text<std::uint8_t, true>(plan, rows, numbers);
}

}  // namespace

const NumberKernels number_kernels_avx512{
    .packed_to_text = write_any_packed,
    .read_text = read_any_text,
    .write_text = write_any_text,
};

}  // namespace zvrt::columns
