// The direct kernels by AVX-512: eight packed fields a step, a text of up to 64 bytes in one vector.
#include "columns/direct.h"

#include <immintrin.h>

#include <array>

#include "columns/kernels/avx512/text_vectors.h"
#include "columns/kernels/packed_word.h"
#include "support/wraps.h"

namespace zvrt::columns {

namespace {

using namespace avx512_text;

// --- packed decimals ---

// In a lane that holds a field from its byte 0 on: where each of the number's bytes is, the least significant first; 0x80
// makes a zero.
//
//   5 bytes   [01234---]  ->  [43210---]
template <std::int32_t bytes>
constexpr std::array<std::uint8_t, 64> make_reversal() {
  std::array<std::uint8_t, 64> order{};
  for (std::int32_t i = 0; i < 64; ++i) {
    const std::int32_t at = bytes - 1 - i % 8;
    order[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(at < 0 ? 0x80 : i % 16 - i % 8 + at);
  }
  return order;
}

template <std::int32_t bytes>
alignas(64) constexpr auto reversal = make_reversal<bytes>();

// A masked load touches the field's bytes only.
template <std::int32_t bytes>
ZVRT_INLINED __m128i load_one(const std::byte* at) {
  if constexpr (bytes == 8) return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(at));
  return _mm_maskz_loadu_epi8((1U << bytes) - 1, at);
}

// Eight fields as numbers of half-bytes.
template <std::int32_t bytes>
ZVRT_INLINED Vector load_eight(const std::byte* at, std::int64_t stride) {
  const auto field = [=](std::int64_t i) { return load_one<bytes>(at + i * stride); };
  const auto two = [=](std::int64_t i) { return _mm_unpacklo_epi64(field(i), field(i + 1)); };
  const __m256i low = _mm256_inserti128_si256(_mm256_castsi128_si256(two(0)), two(2), 1);
  const __m256i high = _mm256_inserti128_si256(_mm256_castsi128_si256(two(4)), two(6), 1);
  const Vector as_they_stand = _mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1);
  return _mm512_shuffle_epi8(as_they_stand, _mm512_load_si512(reversal<bytes>.data()));
}

// Lanes of 64 bits [0ddddddddddddddd], a digit a half-byte, to numbers:
//   bytes   10 * upper + lower = byte - 6 * upper
//   words   100 * upper + lower     (VPMADDUBSW)
//   dwords  10000 * upper + lower   (VPMADDWD)
//   lanes   10^8 * upper + lower    (VPMADD52LUQ: 15 digits have 50 bits)
ZVRT_INLINED Vector join_digits(Vector digits) {
  const Vector sixes =
      _mm512_broadcast_i32x4(_mm_setr_epi8(0, 6, 12, 18, 24, 30, 36, 42, 48, 54, 60, 66, 72, 78, 84, 90));
  const Vector upper = _mm512_and_si512(_mm512_srli_epi64(digits, 4), repeat8(0x0F));
  const Vector pairs = _mm512_sub_epi8(digits, _mm512_shuffle_epi8(sixes, upper));
  const Vector quads = _mm512_maddubs_epi16(pairs, _mm512_set1_epi16(100 << 8 | 1));
  const Vector octets = _mm512_madd_epi16(quads, _mm512_set1_epi32(10000 << 16 | 1));
  const Vector low = _mm512_and_si512(octets, repeat64(0xFFFFFFFF));
  return _mm512_madd52lo_epu64(low, _mm512_srli_epi64(octets, 32), repeat64(100000000));
}

// The values of eight fields; false where one is not valid. A half-byte is above 9 where its 8 is set, and its 4 or its 2:
// so it must be of the sign and of no other.
ZVRT_INLINED bool read_eight(Vector fields, bool is_unsigned, Vector& values) {
  const Vector bit_1_or_2 = _mm512_or_si512(fields, _mm512_add_epi64(fields, fields));
  const Vector above_9 = _mm512_and_si512(fields, _mm512_add_epi64(bit_1_or_2, bit_1_or_2));
  const Vector found = _mm512_and_si512(above_9, repeat64(0x8888888888888888));
  if (_mm512_cmpneq_epi64_mask(found, repeat64(0x8)) != 0) return false;
  // B and D
  const Vector minus = _mm512_srlv_epi64(repeat64(0x2800), _mm512_and_si512(fields, repeat64(0xF)));
  const __mmask8 negative = _mm512_test_epi64_mask(minus, repeat64(1));
  if (is_unsigned && negative != 0) return false;
  const Vector joined = join_digits(_mm512_srli_epi64(fields, 4));
  values = _mm512_mask_sub_epi64(joined, negative, _mm512_setzero_si512(), joined);
  return true;
}

template <bool is_decimal>
ZVRT_INLINED void store_eight(Vector values, std::byte* at, std::int64_t stride) {
  if (!is_decimal && stride == 8) return _mm512_storeu_si512(at, values);
  alignas(64) std::int64_t each[8];
  _mm512_store_si512(each, values);
  for (std::int32_t i = 0; i < 8; ++i) {
    if constexpr (is_decimal) {
      store(at + i * stride, 0, static_cast<Uint128>(static_cast<Int128>(each[i])));
    } else {
      store(at + i * stride, 0, each[i]);
    }
  }
}

// The last rows, fewer than eight, are the baseline's.
template <std::int32_t bytes, bool is_decimal>
ZVRT_INLINED std::int32_t convert_packed(const ZVRTPlan& plan, Rows rows) {
  const bool is_unsigned = plan.from.type.has(ZVRT_TYPE_UNSIGNED);
  std::int32_t done = 0;
  for (; rows.count - done >= 8; done += 8) {
    Vector values;
    if (!read_eight(load_eight<bytes>(rows.source + done * rows.source_stride, rows.source_stride), is_unsigned,
                    values))
      break;
    store_eight<is_decimal>(values, rows.target + done * rows.target_stride, rows.target_stride);
  }
  rows.source += done * rows.source_stride;
  rows.target += done * rows.target_stride;
  rows.count = rows.count - done < 8 ? rows.count - done : 8;
  return done +
         (is_decimal ? direct_kernels_baseline.packed_to_decimal : direct_kernels_baseline.packed_to_int64)(plan, rows);
}

template <bool is_decimal>
std::int32_t convert_any_packed(const ZVRTPlan& plan, const Rows& rows) {
  switch (plan.from.type.length) {
    case 1: return convert_packed<1, is_decimal>(plan, rows);
    case 2: return convert_packed<2, is_decimal>(plan, rows);
    case 3: return convert_packed<3, is_decimal>(plan, rows);
    case 4: return convert_packed<4, is_decimal>(plan, rows);
    case 5: return convert_packed<5, is_decimal>(plan, rows);
    case 6: return convert_packed<6, is_decimal>(plan, rows);
    case 7: return convert_packed<7, is_decimal>(plan, rows);
    default: return convert_packed<8, is_decimal>(plan, rows);
  }
}

// --- texts ---

// The text's units into its slot, with what ends it.
template <std::int32_t width>
ZVRT_INLINED void store_text(const TextSlot& place, Vector blanks, Vector units, std::int32_t count, std::byte* slot,
                             std::uint8_t /*unit*/) {
  const std::int32_t stored = place.is_padded ? place.capacity : count + (place.is_terminated ? 1 : 0);
  store_bytes<width>(slot + place.offset, first(stored), _mm512_mask_mov_epi8(blanks, first(count), units));
  if (place.is_prefixed) store(slot, 0, static_cast<std::uint16_t>(count));
}
template <std::int32_t width>
ZVRT_INLINED void store_text(const TextSlot& place, Vector /*blanks*/, Vector units, std::int32_t count,
                             std::byte* slot, Wide /*unit*/) {
  const Mask stored = first(count + (place.is_terminated ? 1 : 0));
  const Vector text = _mm512_maskz_mov_epi8(first(count), units);
  const auto part = [&](auto quarter, int index) {
    const auto lanes = static_cast<__mmask16>(stored >> index * 16);
    _mm512_mask_storeu_epi32(slot + place.offset + index * 64, lanes, _mm512_cvtepu8_epi32(quarter));
  };
  // Lengths up to 32 differ too often to be worth a branch each.
  part(_mm512_castsi512_si128(text), 0);
  part(_mm512_extracti32x4_epi32(text, 1), 1);
  if (width > 16 && stored >> 32 != 0) {
    part(_mm512_extracti32x4_epi32(text, 2), 2);
    part(_mm512_extracti32x4_epi32(text, 3), 3);
  }
  if (place.is_prefixed) store(slot, 0, static_cast<std::uint16_t>(count * 4));
}

template <class Unit, bool from_page, bool into_page, std::int32_t width, Length length_is>
std::int32_t convert_rows(const ZVRTPlan& plan, const Rows& rows, const TextSlot place) {
  constexpr auto unit = static_cast<std::int32_t>(sizeof(Unit));
  const Type& to = plan.to.type;
  const Texts<from_page, width, length_is> texts(plan.from.type);
  Table codes{};
  if constexpr (into_page) codes = Table::load(to.page.tables->code_of_ascii.data(), 128);
  const Vector blanks = repeat8(place.is_padded ? static_cast<std::uint8_t>(to.page.blank[0]) : 0);
  const Mask zeros_end = place.is_terminated ? ~Mask{0} : 0;
  const std::int32_t most = place.capacity / unit < 63 ? place.capacity / unit : place.is_padded ? 64 : 63;
  for (std::int32_t i = 0; i < rows.count; ++i) {
    Vector ascii;
    Mask zeros;
    const std::int32_t count = texts.read(rows, i, ascii, zeros);
    if (count < 0 || count > most || (zeros & zeros_end & first(count)) != 0) [[unlikely]]
      return i;
    const Vector units = into_page ? codes.low(ascii) : ascii;
    store_text<width>(place, blanks, units, count, rows.target + i * rows.target_stride, Unit{});
    rows.lengths[i] = count * unit;
  }
  return rows.count;
}

template <class Unit, bool from_page, bool into_page>
std::int32_t convert_text(const ZVRTPlan& plan, const Rows& rows) {
  const TextSlot place = text_slot(plan.to.type);
  // Padding that reaches beyond a vector is for blocks.
  if (place.is_padded && place.capacity > 64) return 0;
  const std::int32_t target = place.capacity / static_cast<std::int32_t>(sizeof(Unit)) + (place.is_terminated ? 1 : 0);
  const std::int32_t widest = target > plan.from.type.length ? target : plan.from.type.length;
  return choose_length(plan.from.type, rows, [&](auto length_is) {
    return choose_width(widest, [&](auto width) {
      return convert_rows<Unit, from_page, into_page, width, length_is>(plan, rows, place);
    });
  });
}

// --- wide ASCII to a page: sixteen characters a step, [a000|b000|...] to [ab...] (VPMOVDB) and by its table ---

ZVRT_INLINED Vector load_wide(const std::byte* at, std::int32_t first_unit, __mmask16 lanes) {
  return _mm512_maskz_loadu_epi32(lanes, at + first_unit * 4);
}
ZVRT_INLINED __mmask16 lanes_of(std::int32_t units) { return static_cast<__mmask16>(first(units < 16 ? units : 16)); }

// The characters of a text of at most `units`, all of them ASCII; -1 where a block has to look at it.
ZVRT_INLINED std::int32_t measure_ascii(const std::byte* at, std::int32_t units, bool is_terminated, bool takes_zeros) {
  for (std::int32_t k = 0; k < units; k += 16) {
    const __mmask16 inside = lanes_of(units - k);
    const Vector part = load_wide(at, k, inside);
    const auto zeros = static_cast<__mmask16>(_mm512_testn_epi32_mask(part, part) & inside);
    const __mmask16 others = _mm512_cmpgt_epu32_mask(part, _mm512_set1_epi32(0x7F));
    if (is_terminated && zeros != 0) {
      const auto end = static_cast<std::int32_t>(_tzcnt_u32(zeros));
      return (others & first(end)) == 0 ? k + end : -1;
    }
    if (others != 0 || (zeros != 0 && !takes_zeros)) return -1;
  }
  return is_terminated ? -1 : units;
}

std::int32_t convert_wide_text(const ZVRTPlan& plan, const Rows& rows) {
  const Type& from = plan.from.type;
  const TextSlot place = text_slot(plan.to.type);
  const bool is_terminated = from.extent == Extent::terminated;
  const bool gives_lengths = rows.source_lengths->at != nullptr && !is_terminated;
  const Table table = Table::load(plan.to.type.page.tables->code_of_ascii.data(), 128);
  for (std::int32_t i = 0; i < rows.count; ++i) {
    const std::byte* const at = rows.source + i * rows.source_stride;
    const std::int64_t bytes = gives_lengths ? rows.source_lengths->load(i) : from.length;
    if (bytes < 0 || bytes > from.length || (!is_terminated && bytes % 4 != 0)) return i;
    const auto units = static_cast<std::int32_t>(bytes / 4);
    const std::int32_t count = measure_ascii(at, units, is_terminated, !place.is_terminated);
    if (count < 0 || count > place.capacity) return i;
    std::byte* const slot = rows.target + i * rows.target_stride;
    std::byte* const text = slot + place.offset;
    for (std::int32_t k = 0; k < count; k += 16) {
      const __mmask16 lanes = lanes_of(count - k);
      const Vector ascii = _mm512_zextsi128_si512(_mm512_cvtepi32_epi8(load_wide(at, k, lanes)));
      _mm_mask_storeu_epi8(text + k, lanes, _mm512_castsi512_si128(table.low(ascii)));
    }
    if (place.is_terminated) text[count] = std::byte{0};
    if (place.is_prefixed) store(slot, 0, static_cast<std::uint16_t>(count));
    rows.lengths[i] = count;
  }
  return rows.count;
}

}  // namespace

const DirectKernels direct_kernels_avx512{
    .packed_to_int64 = convert_any_packed<false>,
    .packed_to_decimal = convert_any_packed<true>,
    .page_to_narrow = convert_text<std::uint8_t, true, false>,
    .page_to_wide = convert_text<Wide, true, false>,
    .utf8_to_page = convert_text<std::uint8_t, false, true>,
    .utf8_to_wide = convert_text<Wide, false, false>,
    .wide_to_page = convert_wide_text,
};

}  // namespace zvrt::columns
