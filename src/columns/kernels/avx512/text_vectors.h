// Texts of up to 64 bytes in one vector each: how they are loaded, and what they are by a page's table.
#pragma once

#include <immintrin.h>

#include <cstdint>
#include <type_traits>

#include "columns/direct.h"
#include "support/inlined.h"

namespace zvrt::columns::avx512_text {

using Vector = __m512i;
using Mask = std::uint64_t;

ZVRT_INLINED Mask first(std::int32_t count) { return _bzhi_u64(~Mask{0}, static_cast<unsigned>(count)); }
ZVRT_INLINED Vector repeat64(std::uint64_t bits) { return _mm512_set1_epi64(static_cast<long long>(bits)); }
ZVRT_INLINED Vector repeat8(std::uint8_t byte) { return _mm512_set1_epi8(static_cast<char>(byte)); }

// A table of bytes in vectors of 64 (VPERMI2B): two for bytes below 80, two for the others.
struct Table {
  Vector parts[4];

  ZVRT_INLINED static Table load(const std::uint8_t* bytes, std::int32_t count) {
    Table table{};
    for (std::int32_t i = 0; i < 4; ++i) {
      table.parts[i] = i * 64 < count ? _mm512_loadu_si512(bytes + i * 64) : _mm512_setzero_si512();
    }
    return table;
  }
  ZVRT_INLINED Vector low(Vector bytes) const { return _mm512_permutex2var_epi8(parts[0], bytes, parts[1]); }
  ZVRT_INLINED Vector all(Vector bytes) const {
    const Vector high = _mm512_permutex2var_epi8(parts[2], bytes, parts[3]);
    return _mm512_mask_mov_epi8(low(bytes), _mm512_movepi8_mask(bytes), high);
  }
};

// Loads and stores of no more bytes than slots have: a wider one that crosses a cache line costs as much as two.
template <std::int32_t width>
ZVRT_INLINED Vector load_bytes(const std::byte* at, Mask bytes) {
  if constexpr (width == 16) return _mm512_zextsi128_si512(_mm_maskz_loadu_epi8(static_cast<__mmask16>(bytes), at));
  if constexpr (width == 32) return _mm512_zextsi256_si512(_mm256_maskz_loadu_epi8(static_cast<__mmask32>(bytes), at));
  return _mm512_maskz_loadu_epi8(bytes, at);
}
template <std::int32_t width>
ZVRT_INLINED void store_bytes(std::byte* at, Mask bytes, Vector vector) {
  if constexpr (width == 16) {
    _mm_mask_storeu_epi8(at, static_cast<__mmask16>(bytes), _mm512_castsi512_si128(vector));
  } else if constexpr (width == 32) {
    _mm256_mask_storeu_epi8(at, static_cast<__mmask32>(bytes), _mm512_castsi512_si256(vector));
  } else {
    _mm512_mask_storeu_epi8(at, bytes, vector);
  }
}

enum class Length : std::uint8_t { of_slot, given, terminated };

// The bytes of a source, which `bytes` holds, zeros after them; -1 where a block has to look at it.
template <std::int32_t width, Length length_is>
ZVRT_INLINED std::int32_t load_source(const Rows& rows, std::int32_t slot, std::int32_t i, Vector& bytes) {
  const std::byte* const at = rows.source + i * rows.source_stride;
  if constexpr (length_is == Length::of_slot) {
    bytes = load_bytes<width>(at, first(slot));
    return slot;
  } else if constexpr (length_is == Length::given) {
    const std::int64_t length = rows.source_lengths->load(i);
    if (length < 0 || length > slot) return -1;
    bytes = load_bytes<width>(at, first(static_cast<std::int32_t>(length)));
    return static_cast<std::int32_t>(length);
  } else {
    const Vector loaded = load_bytes<width>(at, first(slot));
    const Mask ends = _mm512_testn_epi8_mask(loaded, loaded) & first(slot);
    const auto length = static_cast<std::int32_t>(_tzcnt_u64(ends));
    bytes = _mm512_maskz_mov_epi8(first(length), loaded);
    return ends == 0 ? -1 : length;
  }
}

// The sources of a run of texts, each in one vector.
template <bool from_page, std::int32_t width, Length length_is>
struct Texts {
  Table table{};
  std::int32_t slot;
  bool blanks_lows;
  Mask never_trimmed;  // where nothing is trimmed all characters count

  ZVRT_INLINED explicit Texts(const Type& from)
      : slot(from.length < direct_text_bytes ? from.length : direct_text_bytes),
        blanks_lows(from.has(ZVRT_TYPE_LOW_AS_BLANK)),
        never_trimmed(from.has(ZVRT_TYPE_TRIM) ? 0 : ~Mask{0}) {
    if constexpr (from_page) table = Table::load(from.page.tables->ascii_of.data(), 256);
  }

  // The characters of a text that is ASCII, and where zeros stand; -1 where a block has to look at it.
  ZVRT_INLINED std::int32_t read(const Rows& rows, std::int32_t i, Vector& ascii, Mask& zeros) const {
    Vector bytes;
    const std::int32_t length = load_source<width, length_is>(rows, slot, i, bytes);
    if (length < 0) [[unlikely]]
      return -1;
    const Mask inside = first(length);
    ascii = from_page ? table.all(bytes) : bytes;
    zeros = _mm512_testn_epi8_mask(ascii, ascii) & inside;
    if (blanks_lows) {
      ascii = _mm512_mask_mov_epi8(ascii, zeros, repeat8(' '));
      zeros = 0;
    }
    const Mask others = (_mm512_cmpneq_epi8_mask(ascii, repeat8(' ')) | never_trimmed) & inside;
    const std::int32_t count = 64 - static_cast<std::int32_t>(_lzcnt_u64(others));
    return (_mm512_movepi8_mask(ascii) & inside) == 0 ? count : -1;
  }
};

// Calls `run` with how lengths are found. A slot of more bytes than a vector has is a value of more.
template <class Run>
ZVRT_INLINED std::int32_t choose_length(const Type& from, const Rows& rows, Run run) {
  using std::integral_constant;
  if (from.extent == Extent::terminated) return run(integral_constant<Length, Length::terminated>{});
  if (rows.source_lengths->at != nullptr) return run(integral_constant<Length, Length::given>{});
  return from.length > direct_text_bytes ? 0 : run(integral_constant<Length, Length::of_slot>{});
}

// Calls `run` with the bytes of vectors that hold so many.
template <class Run>
ZVRT_INLINED std::int32_t choose_width(std::int32_t bytes, Run run) {
  using std::integral_constant;
  if (bytes <= 16) return run(integral_constant<std::int32_t, 16>{});
  if (bytes <= 32) return run(integral_constant<std::int32_t, 32>{});
  return run(integral_constant<std::int32_t, 64>{});
}

}  // namespace zvrt::columns::avx512_text
