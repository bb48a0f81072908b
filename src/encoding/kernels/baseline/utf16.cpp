// Between UTF-16 and the other two for every processor: runs of ASCII, or of units that are no surrogates, eight or
// sixteen a step by SSE2, and what stands between them one character at a time.
#include <emmintrin.h>

#include <cstdint>

#include "encoding/kernels/baseline/text.h"
#include "encoding/utf16.h"
#include "encoding/utf8.h"
#include "support/read_ahead.h"
#include "support/units.h"

namespace zvrt::baseline {

namespace {

using Block = __m128i;

Block load_block(const char* at) { return _mm_loadu_si128(reinterpret_cast<const Block*>(at)); }
void store_block(char* at, Block block) { _mm_storeu_si128(reinterpret_cast<Block*>(at), block); }
bool all(Block lanes) { return _mm_movemask_epi8(lanes) == 0xFFFF; }
bool none(Block lanes) { return _mm_movemask_epi8(lanes) == 0; }

// A source, a destination, and how far a run has got in both.
struct Texts {
  const char* src;
  std::size_t count;
  char* dst;
  std::size_t capacity;
  std::size_t read = 0;
  std::size_t written = 0;

  // Whether so many units may be looked at together and their results fit.
  template <std::size_t source_unit>
  bool has_block(std::size_t units) const {
    return count - read >= units && capacity - written >= units &&
           may_read_ahead(src + read * source_unit, units * source_unit);
  }
  void advance(std::size_t units) {
    read += units;
    written += units;
  }
  Progress progress() const { return {read, written}; }
};

// Sixteen bytes 01 to 7F to sixteen units: signed, they are exactly the ones above zero.
bool widen_ascii(Texts& texts) {
  if (!texts.has_block<1>(16)) return false;
  const Block bytes = load_block(texts.src + texts.read);
  const Block zero = _mm_setzero_si128();
  if (!all(_mm_cmpgt_epi8(bytes, zero))) return false;
  char* out = texts.dst + texts.written * 2;
  store_block(out, _mm_unpacklo_epi8(bytes, zero));
  store_block(out + 16, _mm_unpackhi_epi8(bytes, zero));
  texts.advance(16);
  return true;
}

// Sixteen units 0001 to 007F to sixteen bytes.
bool narrow_ascii(Texts& texts) {
  if (!texts.has_block<2>(16)) return false;
  const Block low = load_block(texts.src + texts.read * 2);
  const Block high = load_block(texts.src + texts.read * 2 + 16);
  const Block zero = _mm_setzero_si128();
  const Block upper = _mm_and_si128(_mm_or_si128(low, high), _mm_set1_epi16(static_cast<short>(0xFF80)));
  const Block zeros = _mm_or_si128(_mm_cmpeq_epi16(low, zero), _mm_cmpeq_epi16(high, zero));
  if (!all(_mm_cmpeq_epi16(upper, zero)) || !none(zeros)) return false;
  store_block(texts.dst + texts.written, _mm_packus_epi16(low, high));
  texts.advance(16);
  return true;
}

// Units that are neither zero nor surrogates, eight at a time, to wide characters.
bool widen_units(Texts& texts) {
  if (!texts.has_block<2>(8)) return false;
  const Block units = load_block(texts.src + texts.read * 2);
  const Block zero = _mm_setzero_si128();
  const Block kind = _mm_and_si128(units, _mm_set1_epi16(static_cast<short>(0xF800)));
  const Block stops =
      _mm_or_si128(_mm_cmpeq_epi16(units, zero), _mm_cmpeq_epi16(kind, _mm_set1_epi16(static_cast<short>(0xD800))));
  if (!none(stops)) return false;
  char* out = texts.dst + texts.written * 4;
  store_block(out, _mm_unpacklo_epi16(units, zero));
  store_block(out + 16, _mm_unpackhi_epi16(units, zero));
  texts.advance(8);
  return true;
}

// Eight wide characters 1 to FFFF, no surrogates among them, to units. SSE2 packs signed numbers only, so they are shifted
// by 8000 on the way.
bool narrow_units(Texts& texts) {
  if (!texts.has_block<4>(8)) return false;
  const Block low = load_block(texts.src + texts.read * 4);
  const Block high = load_block(texts.src + texts.read * 4 + 16);
  const Block zero = _mm_setzero_si128();
  const Block upper = _mm_and_si128(_mm_or_si128(low, high), _mm_set1_epi32(static_cast<int>(0xFFFF0000)));
  if (!all(_mm_cmpeq_epi32(upper, zero))) return false;
  const Block shift = _mm_set1_epi32(0x8000);
  const Block packed = _mm_packs_epi32(_mm_sub_epi32(low, shift), _mm_sub_epi32(high, shift));
  const Block units = _mm_xor_si128(packed, _mm_set1_epi16(static_cast<short>(0x8000)));
  const Block kind = _mm_and_si128(units, _mm_set1_epi16(static_cast<short>(0xF800)));
  const Block stops =
      _mm_or_si128(_mm_cmpeq_epi16(units, zero), _mm_cmpeq_epi16(kind, _mm_set1_epi16(static_cast<short>(0xD800))));
  if (!none(stops)) return false;
  store_block(texts.dst + texts.written * 2, units);
  texts.advance(8);
  return true;
}

// One character of UTF-8 as it is read here: well-formed and not zero; length 0 for anything else.
Utf8Sequence next_of_utf8(const Texts& texts) {
  Utf8Sequence sequence = decode_utf8(texts.src + texts.read, static_cast<std::int64_t>(texts.count - texts.read));
  if (sequence.kind != Utf8::character || sequence.code_point > last_code_point) sequence.length = 0;
  return sequence;
}

bool put_utf16(Texts& texts, std::uint32_t code_point, std::size_t read) {
  const auto units = static_cast<std::size_t>(utf16_length(code_point));
  if (code_point == 0 || texts.capacity - texts.written < units) return false;
  encode_utf16(code_point, texts.dst + texts.written * 2);
  texts.read += read;
  texts.written += units;
  return true;
}

bool one_from_utf8(Texts& texts) {
  const Utf8Sequence sequence = next_of_utf8(texts);
  return sequence.length != 0 && put_utf16(texts, sequence.code_point, static_cast<std::size_t>(sequence.length));
}

bool one_from_utf32(Texts& texts) {
  const Wide character = load<Wide>(texts.src, texts.read);
  return !is_surrogate(character) && character <= last_code_point && put_utf16(texts, character, 1);
}

Utf16Sequence next_of_utf16(const Texts& texts) {
  return decode_utf16(texts.src + texts.read * 2, static_cast<std::int64_t>(texts.count - texts.read));
}

bool one_to_utf8(Texts& texts) {
  const Utf16Sequence sequence = next_of_utf16(texts);
  if (!sequence.valid || sequence.code_point == 0) return false;
  const std::int32_t length = utf8_length(sequence.code_point);
  if (texts.capacity - texts.written < static_cast<std::size_t>(length)) return false;
  encode_utf8(sequence.code_point, length, texts.dst + texts.written);
  texts.read += static_cast<std::size_t>(sequence.length);
  texts.written += static_cast<std::size_t>(length);
  return true;
}

bool one_to_utf32(Texts& texts) {
  const Utf16Sequence sequence = next_of_utf16(texts);
  if (!sequence.valid || sequence.code_point == 0) return false;
  store<Wide>(texts.dst, texts.written, sequence.code_point);
  texts.read += static_cast<std::size_t>(sequence.length);
  ++texts.written;
  return true;
}

// Blocks while they go, then some characters one by one, before blocks are tried again.
template <bool (*block)(Texts&), bool (*one)(Texts&)>
Progress convert(Texts texts) {
  constexpr unsigned stretch = 16;
  while (texts.read < texts.count && texts.written < texts.capacity) {
    while (block(texts)) {
    }
    for (unsigned tried = 0; tried < stretch && texts.read < texts.count; ++tried) {
      if (texts.written == texts.capacity || !one(texts)) return texts.progress();
    }
  }
  return texts.progress();
}

Texts texts_of(const void* src, std::size_t count, void* dst, std::size_t capacity) {
  return {static_cast<const char*>(src), count, static_cast<char*>(dst), capacity};
}

}  // namespace

Progress utf8_to_utf16(const char* src, std::size_t count, void* dst, std::size_t capacity) {
  return convert<widen_ascii, one_from_utf8>(texts_of(src, count, dst, capacity));
}
Progress utf16_to_utf8(const void* src, std::size_t count, char* dst, std::size_t capacity) {
  return convert<narrow_ascii, one_to_utf8>(texts_of(src, count, dst, capacity));
}
Progress utf16_to_utf32(const void* src, std::size_t count, void* dst, std::size_t capacity) {
  return convert<widen_units, one_to_utf32>(texts_of(src, count, dst, capacity));
}
Progress utf32_to_utf16(const void* src, std::size_t count, void* dst, std::size_t capacity) {
  return convert<narrow_units, one_from_utf32>(texts_of(src, count, dst, capacity));
}

}  // namespace zvrt::baseline
