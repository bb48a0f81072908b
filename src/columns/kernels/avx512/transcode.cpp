// UTF-8 and wide text into each other by AVX-512, strictly: a text of at most 62 bytes in one vector, wide text in
// vectors of sixteen characters.
//
// UTF-8 is checked by masks of a bit a byte. Lead bytes ask for continuation bytes after them,
//
//   from C2   . . 1 . . 1 . . . .
//   from E0   . . . . . 1 . . . .     -> asked for: from C2 << 1 | from E0 << 2 | from F0 << 3
//   80 to BF  . . . 1 . . 1 1 . .        and these have to be all there are
//
// and of E0, ED, F0 and F4 the second byte is limited. What passes is decoded as by the kernels for single values.
#include <immintrin.h>

#include "columns/direct.h"
#include "encoding/kernels/avx512/utf8.h"

namespace zvrt::columns {

namespace {

using namespace zvrt::avx512;  // NOLINT(google-build-using-namespace): the helpers of the transcoding kernels

constexpr std::int32_t most_bytes = 62;  // a character of zero after the text belongs to its vector

ZVRT_INLINED Mask first_of(std::int32_t count) { return _bzhi_u64(~Mask{0}, static_cast<unsigned>(count)); }
ZVRT_INLINED std::int32_t bits_of(Mask mask) { return static_cast<std::int32_t>(_mm_popcnt_u64(mask)); }

ZVRT_INLINED Mask from_byte(Vector bytes, std::uint8_t least) { return _mm512_cmpge_epu8_mask(bytes, repeat8(least)); }
ZVRT_INLINED Mask equal_byte(Vector bytes, std::uint8_t byte) { return _mm512_cmpeq_epi8_mask(bytes, repeat8(byte)); }

// Zeros after the text. `leads` receives the bytes that are no continuation.
ZVRT_INLINED bool is_well_formed(Vector bytes, Mask& leads, bool& has_long_forms) {
  const Mask from_80 = _mm512_movepi8_mask(bytes);
  const Mask from_c0 = from_byte(bytes, 0xC0);
  const Mask from_c2 = from_byte(bytes, 0xC2);
  const Mask from_e0 = from_byte(bytes, 0xE0);
  leads = ~from_80 | from_c0;
  has_long_forms = from_e0 != 0;
  if (!has_long_forms) return (~leads ^ from_c2 << 1) == 0 && from_c0 == from_c2;
  const Mask from_f0 = from_byte(bytes, 0xF0);
  const Mask asked = from_c2 << 1 | from_e0 << 2 | from_f0 << 3;
  const Mask from_90 = from_byte(bytes, 0x90);
  const Mask from_a0 = from_byte(bytes, 0xA0);
  const Mask limited = (equal_byte(bytes, 0xE0) << 1 & ~from_a0) | (equal_byte(bytes, 0xED) << 1 & from_a0) |
                       (equal_byte(bytes, 0xF0) << 1 & ~from_90) | (equal_byte(bytes, 0xF4) << 1 & from_90);
  return ((~leads ^ asked) | (from_c0 ^ from_c2) | from_byte(bytes, 0xF5) | limited) == 0;
}

// Lanes of sixteen characters from the `k`th on. Lengths up to 32 differ too often to be worth a branch each.
ZVRT_INLINED void store_characters(std::byte* at, Mask lanes, std::int32_t k, Vector characters) {
  _mm512_mask_storeu_epi32(at + k * 4, static_cast<__mmask16>(lanes >> k), characters);
}

ZVRT_INLINED void store_ascii(std::byte* at, Mask lanes, Vector bytes) {
  store_characters(at, lanes, 0, _mm512_cvtepu8_epi32(_mm512_castsi512_si128(bytes)));
  store_characters(at, lanes, 16, _mm512_cvtepu8_epi32(_mm512_extracti32x4_epi32(bytes, 1)));
  if (lanes >> 32 == 0) return;
  store_characters(at, lanes, 32, _mm512_cvtepu8_epi32(_mm512_extracti32x4_epi32(bytes, 2)));
  store_characters(at, lanes, 48, _mm512_cvtepu8_epi32(_mm512_extracti32x4_epi32(bytes, 3)));
}

ZVRT_INLINED void store_short_forms(std::byte* at, Mask lanes, std::int32_t k, const Characters& characters) {
  const Vector which = _mm512_add_epi8(load_ramp<2>(), repeat8(static_cast<std::uint8_t>(k)));
  const Vector units = units_of(payload_of_short_forms(characters, which));
  store_characters(at, lanes, k, _mm512_cvtepu16_epi32(_mm512_castsi512_si256(units)));
  store_characters(at, lanes, k + 16, _mm512_cvtepu16_epi32(_mm512_extracti64x4_epi64(units, 1)));
}

ZVRT_INLINED void store_any_forms(std::byte* at, Mask lanes, std::int32_t k, const Characters& characters) {
  const Vector which = _mm512_add_epi8(load_ramp<4>(), repeat8(static_cast<std::uint8_t>(k)));
  const Vector pairs = _mm512_maddubs_epi16(payload_of_any(characters, which).bits, repeat16(0x4001));
  store_characters(at, lanes, k, _mm512_madd_epi16(pairs, repeat32(0x10000001)));
}

// Well-formed text; `lanes` for its characters and the zero that may end them.
ZVRT_INLINED void store_decoded(std::byte* at, Mask lanes, Vector bytes, Mask leads, bool has_long_forms) {
  const Characters characters = locate(bytes, leads);
  if (!has_long_forms) {
    store_short_forms(at, lanes, 0, characters);
    if (lanes >> 32 != 0) store_short_forms(at, lanes, 32, characters);
    return;
  }
  store_any_forms(at, lanes, 0, characters);
  for (std::int32_t k = 16; k < 64 && lanes >> k != 0; k += 16) store_any_forms(at, lanes, k, characters);
}

enum class Length : std::uint8_t { of_slot, given, terminated };

template <Length length_is>
std::int32_t decode_rows(const Type& from, const TextSlot place, const Rows rows) {
  const std::int32_t slot = from.length < most_bytes ? from.length : most_bytes;
  const std::int32_t at_end = place.is_terminated ? 1 : 0;
  const std::int32_t room = place.capacity / 4;
  for (std::int32_t i = 0; i < rows.count; ++i) {
    const std::byte* const at = rows.source + i * rows.source_stride;
    std::int64_t length = from.length;
    if constexpr (length_is == Length::given) length = rows.source_lengths->load(i);
    if constexpr (length_is == Length::terminated) length = slot;
    if (length < 0 || length > slot) return i;
    auto count = static_cast<std::int32_t>(length);
    Vector bytes = _mm512_maskz_loadu_epi8(first_of(count), at);
    const Mask zeros = _mm512_testn_epi8_mask(bytes, bytes) & first_of(count);
    if constexpr (length_is == Length::terminated) {
      if (zeros == 0) return i;
      count = static_cast<std::int32_t>(_tzcnt_u64(zeros));
      bytes = _mm512_maskz_mov_epi8(first_of(count), bytes);
    } else if (zeros != 0 && place.is_terminated) {
      return i;
    }
    Mask leads = ~Mask{0};
    bool has_long_forms = false;
    const bool is_ascii = _mm512_movepi8_mask(bytes) == 0;
    if (!is_ascii && !is_well_formed(bytes, leads, has_long_forms)) return i;
    const std::int32_t characters = bits_of(leads & first_of(count));
    if (characters > room) return i;
    std::byte* const into = rows.target + i * rows.target_stride;
    std::byte* const text = into + place.offset;
    if (is_ascii) {
      store_ascii(text, first_of(characters + at_end), bytes);
    } else {
      store_decoded(text, first_of(characters + at_end), bytes, leads, has_long_forms);
    }
    if (place.is_prefixed) store(into, 0, static_cast<std::uint16_t>(characters * 4));
    rows.lengths[i] = characters * 4;
  }
  return rows.count;
}

std::int32_t decode_utf8(const ZVRTPlan& plan, const Rows& rows) {
  const Type& from = plan.from.type;
  const TextSlot place = text_slot(plan.to.type);
  if (from.extent == Extent::terminated) return decode_rows<Length::terminated>(from, place, rows);
  if (rows.source_lengths->at != nullptr) return decode_rows<Length::given>(from, place, rows);
  return decode_rows<Length::of_slot>(from, place, rows);
}

// --- wide text to UTF-8 ---

// A wide text in vectors of sixteen characters, zeros after it.
template <std::int32_t vectors>
struct WideText {
  Vector parts[static_cast<std::size_t>(vectors)];
  std::int32_t count;  // -1: a block has to look at it
  std::int32_t bytes;  // in UTF-8
  bool is_short;       // no character takes more than two
};

ZVRT_INLINED Mask above(Vector characters, std::uint32_t limit) {
  return _mm512_cmpgt_epu32_mask(characters, repeat32(limit));
}

// Bytes that sixteen characters take in UTF-8 beyond one each; `all_valid` is cleared where one is none.
ZVRT_INLINED std::int32_t extra_bytes(Vector characters, bool& all_valid) {
  const Mask surrogates = _mm512_cmpeq_epi32_mask(_mm512_and_si512(characters, repeat32(0xFFFFF800)), repeat32(0xD800));
  all_valid &= (surrogates | above(characters, 0x10FFFF)) == 0;
  return bits_of(above(characters, last_of_one)) + bits_of(above(characters, last_of_two)) +
         bits_of(above(characters, last_of_three));
}

// Of at most `units`; a terminated text ends before. A zero in any other is left to blocks.
template <std::int32_t vectors, bool is_terminated>
ZVRT_INLINED void load_text(const std::byte* at, std::int32_t units, WideText<vectors>& text) {
  Mask zeros = 0;
  for (std::int32_t k = 0; k < vectors; ++k) {
    const Mask inside = first_of(units) >> 16 * k & 0xFFFF;
    text.parts[k] = _mm512_maskz_loadu_epi32(static_cast<__mmask16>(inside), at + k * 64);
    zeros |= Mask{_mm512_testn_epi32_mask(text.parts[k], text.parts[k])} << 16 * k;
  }
  zeros &= first_of(units);
  text.count = is_terminated ? static_cast<std::int32_t>(_tzcnt_u64(zeros)) : units;
  if ((zeros != 0) != is_terminated) text.count = -1;
  Vector all = _mm512_setzero_si512();
  for (std::int32_t k = 0; k < vectors; ++k) {
    const Mask inside = first_of(text.count) >> 16 * k & 0xFFFF;
    if (is_terminated) text.parts[k] = _mm512_maskz_mov_epi32(static_cast<__mmask16>(inside), text.parts[k]);
    all = _mm512_or_si512(all, text.parts[k]);
  }
  text.bytes = text.count;
  text.is_short = above(all, last_of_two) == 0;
  if (text.is_short) {
    for (std::int32_t k = 0; k < vectors; ++k) text.bytes += bits_of(above(text.parts[k], last_of_one));
    return;
  }
  bool all_valid = true;
  for (std::int32_t k = 0; k < vectors; ++k) text.bytes += extra_bytes(text.parts[k], all_valid);
  if (!all_valid) text.count = -1;
}

// The bytes of forms that are none of zero; returns where the next ones go.
ZVRT_INLINED std::byte* store_used(std::byte* at, Vector forms) {
  const Mask used = _mm512_test_epi8_mask(forms, forms);
  const std::int32_t bytes = bits_of(used);
  _mm512_mask_storeu_epi8(at, first_of(bytes), _mm512_maskz_compress_epi8(used, forms));
  return at + bytes;
}

template <std::int32_t vectors>
ZVRT_INLINED void store_encoded(std::byte* at, const WideText<vectors>& text) {
  if (text.bytes == text.count) {
    for (std::int32_t k = 0; k < vectors; ++k) {
      const Mask inside = first_of(text.count) >> 16 * k & 0xFFFF;
      if (k > 2 && inside == 0) return;
      _mm_mask_storeu_epi8(at + k * 16, static_cast<__mmask16>(inside), _mm512_cvtepi32_epi8(text.parts[k]));
    }
    return;
  }
  if (text.is_short) {
    for (std::int32_t k = 0; k < vectors; k += 2) {
      const Vector after = k + 1 < vectors ? text.parts[k + 1 < vectors ? k + 1 : 0] : _mm512_setzero_si512();
      at = store_used(at, expand_short_forms(in_words(text.parts[k], after)));
    }
    return;
  }
  for (std::int32_t k = 0; k < vectors; ++k) {
    if (k > 2 && text.count <= 16 * k) return;
    at = store_used(at, expand(text.parts[k]));
  }
}

// False where the text is longer, or a block has to look at it.
template <std::int32_t vectors, bool is_terminated>
ZVRT_INLINED bool encode_row(const std::byte* at, std::int32_t units, const TextSlot& place, std::byte* slot,
                             std::int64_t& length) {
  constexpr std::int32_t most = vectors * 16;
  if (!is_terminated && units > most) return false;
  WideText<vectors> text;
  load_text<vectors, is_terminated>(at, units < most ? units : most, text);
  if (text.count < 0 || text.bytes > place.capacity) return false;
  store_encoded(slot + place.offset, text);
  if (place.is_terminated) slot[place.offset + text.bytes] = std::byte{0};
  if (place.is_prefixed) store(slot, 0, static_cast<std::uint16_t>(text.bytes));
  length = text.bytes;
  return true;
}

// Most terminated texts end long before their slot, and the rest of it is not worth the way from memory.
template <std::int32_t vectors, std::int32_t first_vectors, bool is_terminated>
std::int32_t encode_rows(const Type& from, const TextSlot place, const Rows rows) {
  const bool gives_lengths = rows.source_lengths->at != nullptr && !is_terminated;
  for (std::int32_t i = 0; i < rows.count; ++i) {
    const std::byte* const at = rows.source + i * rows.source_stride;
    std::byte* const slot = rows.target + i * rows.target_stride;
    const std::int64_t given = gives_lengths ? rows.source_lengths->load(i) : from.length;
    if (given < 0 || given > from.length || given % 4 != 0) return i;
    const auto units = static_cast<std::int32_t>(given / 4);
    if (encode_row<first_vectors, is_terminated>(at, units, place, slot, rows.lengths[i])) [[likely]]
      continue;
    if (vectors == first_vectors || !encode_row<vectors, is_terminated>(at, units, place, slot, rows.lengths[i])) {
      return i;
    }
  }
  return rows.count;
}

template <bool is_terminated>
std::int32_t encode_by_room(const Type& from, const TextSlot& place, const Rows& rows) {
  if (from.length <= 64) return encode_rows<1, 1, is_terminated>(from, place, rows);
  if (from.length <= 128) return encode_rows<2, 2, is_terminated>(from, place, rows);
  return encode_rows<4, 3, is_terminated>(from, place, rows);
}

std::int32_t encode_utf8(const ZVRTPlan& plan, const Rows& rows) {
  const TextSlot place = text_slot(plan.to.type);
  return plan.from.type.extent == Extent::terminated ? encode_by_room<true>(plan.from.type, place, rows)
                                                     : encode_by_room<false>(plan.from.type, place, rows);
}

}  // namespace

const TranscodingKernels transcoding_kernels_avx512{
    .utf8_to_wide = decode_utf8,
    .wide_to_utf8 = encode_utf8,
};

}  // namespace zvrt::columns
