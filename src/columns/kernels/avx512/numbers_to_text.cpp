// Numbers to text by AVX-512, a row a step and no branch that depends on its digits.
//
// Digits stand in 24 bytes, most significant first, zeros before them, and before those what else a text has. One
// permutation (VPERMB) by a table of layouts, for each sign, scale and count of digits, makes the text of them:
//
//   digits  [. - 0 ... 0 0 1 2 3 4 5]     scale 2, below zero
//   text    [- 1 2 3 . 4 5 0 0 0 ...]
#include "columns/joined.h"
#include "columns/kernels/avx512/number_vectors.h"
#include "columns/kernels/packed_word.h"
#include "support/wraps.h"

namespace zvrt::columns {

namespace {

using namespace avx512;

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

// Texts end to end, each with the vector's last bytes after it.
class JoinSink {
 public:
  ZVRT_INLINED explicit JoinSink(const JoinedTexts& texts) : texts_(texts) {
    alphabet_ = _mm256_setr_epi64x('.' | '-' << 8, zeros, zeros, zeros);
  }

  ZVRT_INLINED bool put(Bytes digits, std::int32_t count, std::int32_t sign, std::int32_t scale) {
    const std::int32_t shown = count > scale ? count : scale + 1;
    const auto* const layout = reinterpret_cast<const __m256i*>(&layouts[layout_index(scale, shown, sign)]);
    const Bytes text = _mm256_permutexvar_epi8(_mm256_load_si256(layout), _mm256_or_si256(digits, alphabet_));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(texts_.at), text);
    texts_.add(sign + shown + (scale > 0 ? 1 : 0));
    return true;
  }

  const JoinedTexts& texts() const { return texts_; }

 private:
  static constexpr std::int64_t zeros = 0x3030303030303030;

  Bytes alphabet_;
  JoinedTexts texts_;
};

constexpr std::array<std::uint8_t, 128> no_codes{};

template <bool is_long, class Sink>
ZVRT_INLINED std::int32_t put_all(Sink& sink, const ShortNumbers& numbers, std::int32_t count) {
  for (std::int32_t i = 0; i < count; ++i) {
    const std::int64_t value = numbers.value[i];
    const Bytes digits = digits_of<is_long>(magnitude_of(value));
    const auto zeros = static_cast<std::int32_t>(_tzcnt_u32(_mm256_test_epi8_mask(digits, digits)));
    const auto sign = static_cast<std::int32_t>(static_cast<std::uint64_t>(value) >> 63);
    if (!sink.put(digits, lanes - zeros, sign, numbers.scale[i])) return i;
  }
  return count;
}

// Numbers of up to 16 digits need fewer steps.
template <class Sink>
ZVRT_INLINED std::int32_t put_numbers(Sink& sink, const ShortNumbers& numbers, std::int32_t count) {
  std::uint64_t longest = 0;
  for (std::int32_t i = 0; i < count; ++i) {
    const std::uint64_t magnitude = magnitude_of(numbers.value[i]);
    longest = magnitude > longest ? magnitude : longest;
  }
  return longest < ten_8 * ten_8 ? put_all<false>(sink, numbers, count) : put_all<true>(sink, numbers, count);
}

template <class Unit, bool into_page>
std::int32_t write_text(const ZVRTPlan& plan, const Rows& rows, const ShortNumbers& numbers) {
  const Type& to = plan.to.type;
  TextSink<Unit, into_page> sink(to, rows, into_page ? to.page.tables->code_of_ascii.data() : no_codes.data());
  return put_numbers(sink, numbers, rows.count);
}

void join_text(const ZVRTPlan& /*plan*/, const ShortNumbers& numbers, std::int32_t count, JoinedTexts& texts) {
  JoinSink sink(texts);
  put_numbers(sink, numbers, count);
  texts = sink.texts();
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

}  // namespace

std::int32_t write_text_avx512(const ZVRTPlan& plan, const Rows& rows, const ShortNumbers& numbers) {
  const Type& to = plan.to.type;
  if (to.unit == 4) return write_text<Wide, false>(plan, rows, numbers);
  return to.page.is_utf8() ? write_text<std::uint8_t, false>(plan, rows, numbers)
                           : write_text<std::uint8_t, true>(plan, rows, numbers);
}

std::int32_t packed_to_text_avx512(const ZVRTPlan& plan, const Rows& rows) {
  const Type& to = plan.to.type;
  if (to.unit == 4) return write_packed<Wide, false>(plan, rows);
  return to.page.is_utf8() ? write_packed<std::uint8_t, false>(plan, rows)
                           : write_packed<std::uint8_t, true>(plan, rows);
}

const NumberKernels number_kernels_avx512{
    .packed_to_text = packed_to_text_avx512,
    .text_to_packed = text_to_packed_avx512,
    .read_text = read_text_avx512,
    .write_text = write_text_avx512,
    .write_packed = write_packed_avx512,
    .join = join_text,
};

}  // namespace zvrt::columns
