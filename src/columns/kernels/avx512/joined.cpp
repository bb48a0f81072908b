// Texts end to end by AVX-512: each is stored with what follows it in its vector, over which the next one goes.
//
//   |ab......|  |c.......|  |defg....|   ->   |abcdefg....|
//
// Short texts share a vector, four of up to 16 bytes or two of up to 32; longer ones take several.
#include "columns/joined.h"

#include <immintrin.h>

#include "columns/kernels/avx512/text_vectors.h"

namespace zvrt::columns {

namespace {

using namespace avx512_text;

template <bool from_page, std::int32_t width, Length length_is>
ZVRT_INLINED std::int32_t join_each(const Texts<from_page, width, length_is>& source, const Rows& rows,
                                    std::int32_t begin, JoinedTexts& texts) {
  for (std::int32_t i = begin; i < rows.count; ++i) {
    Vector ascii;
    Mask zeros;
    const std::int32_t count = source.read(rows, i, ascii, zeros);
    if (count < 0) [[unlikely]]
      return i;
    store_bytes<width>(texts.at, ~Mask{0}, ascii);
    texts.add(count);
  }
  return rows.count;
}

// --- several texts a vector ---

template <std::int32_t width>
ZVRT_INLINED Vector load_group(const std::byte* at, std::int64_t stride, Mask bytes) {
  if constexpr (width == 32) {
    const auto load = [=](std::int64_t i) {
      return _mm256_maskz_loadu_epi8(static_cast<__mmask32>(bytes), at + i * stride);
    };
    return _mm512_inserti64x4(_mm512_castsi256_si512(load(0)), load(1), 1);
  } else {
    const auto load = [=](std::int64_t i) {
      return _mm_maskz_loadu_epi8(static_cast<__mmask16>(bytes), at + i * stride);
    };
    const __m256i low = _mm256_inserti128_si256(_mm256_castsi128_si256(load(0)), load(1), 1);
    const __m256i high = _mm256_inserti128_si256(_mm256_castsi128_si256(load(2)), load(3), 1);
    return _mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1);
  }
}

// `kept` has the bits of the characters that count, four texts of 16: the places of their last ones are lengths, whose
// sums are ends.
ZVRT_INLINED void add_group(Vector ascii, Mask kept, JoinedTexts& texts, std::integral_constant<std::int32_t, 16>) {
  const __m128i bits = _mm_cvtepu16_epi32(_mm_cvtsi64_si128(static_cast<long long>(kept)));
  const __m128i counts = _mm_sub_epi32(_mm_set1_epi32(32), _mm_lzcnt_epi32(bits));
  const __m128i pairs = _mm_add_epi32(counts, _mm_bslli_si128(counts, 4));
  const __m128i sums = _mm_add_epi32(pairs, _mm_bslli_si128(pairs, 8));
  const auto low = static_cast<std::uint64_t>(_mm_cvtsi128_si64(sums));
  const auto high = static_cast<std::uint64_t>(_mm_extract_epi64(sums, 1));
  const auto put = [&texts](std::uint64_t place, __m128i text) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(texts.at + place), text);
  };
  put(0, _mm512_castsi512_si128(ascii));
  put(low & UINT32_MAX, _mm512_extracti32x4_epi32(ascii, 1));
  put(low >> 32, _mm512_extracti32x4_epi32(ascii, 2));
  put(high & UINT32_MAX, _mm512_extracti32x4_epi32(ascii, 3));
  const __m128i offset = _mm_set1_epi32(static_cast<int>(texts.offset));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(texts.ends), _mm_add_epi32(sums, offset));
  const auto empty = static_cast<std::uint32_t>(_mm_testn_epi32_mask(counts, counts));
  texts.skip(4, static_cast<std::int32_t>(high >> 32), static_cast<std::int32_t>(_mm_popcnt_u32(empty)));
}

// ... two of 32.
ZVRT_INLINED void add_group(Vector ascii, Mask kept, JoinedTexts& texts, std::integral_constant<std::int32_t, 32>) {
  const auto add = [&texts](__m256i text, Mask bits) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(texts.at), text);
    texts.add(32 - static_cast<std::int32_t>(_lzcnt_u32(static_cast<std::uint32_t>(bits))));
  };
  add(_mm512_castsi512_si256(ascii), kept);
  add(_mm512_extracti64x4_epi64(ascii, 1), kept >> 32);
}

// Leading groups that are ASCII.
template <bool from_page, std::int32_t width>
ZVRT_INLINED std::int32_t join_groups(const Texts<from_page, width, Length::of_slot>& source, const Rows& rows,
                                      JoinedTexts& texts) {
  constexpr std::int32_t group = 64 / width;
  const Mask bytes = first(source.slot);
  const Mask inside = width == 32 ? bytes | bytes << 32 : bytes | bytes << 16 | bytes << 32 | bytes << 48;
  std::int32_t i = 0;
  for (; i + group <= rows.count; i += group) {
    const Vector loaded = load_group<width>(rows.source + i * rows.source_stride, rows.source_stride, bytes);
    Vector ascii = from_page ? source.table.all(loaded) : loaded;
    if ((_mm512_movepi8_mask(ascii) & inside) != 0) [[unlikely]]
      return i;
    if (source.blanks_lows) {
      ascii = _mm512_mask_mov_epi8(ascii, _mm512_testn_epi8_mask(ascii, ascii), repeat8(' '));
    }
    const Mask kept = (_mm512_cmpneq_epi8_mask(ascii, repeat8(' ')) | source.never_trimmed) & inside;
    add_group(ascii, kept, texts, std::integral_constant<std::int32_t, width>{});
  }
  return i;
}

// --- several vectors a text ---

// Its characters; -1 for one that is not ASCII.
template <bool from_page>
ZVRT_INLINED std::int32_t put_long(const Texts<from_page, 64, Length::of_slot>& source, const std::byte* at,
                                   std::int32_t length, std::byte* to) {
  std::int32_t count = 0;
  Mask others = 0;
  for (std::int32_t k = 0; k < length; k += 64) {
    const Mask inside = first(length - k < 64 ? length - k : 64);
    const Vector loaded = _mm512_maskz_loadu_epi8(inside, at + k);
    Vector ascii = from_page ? source.table.all(loaded) : loaded;
    others |= _mm512_movepi8_mask(ascii) & inside;
    if (source.blanks_lows) {
      ascii = _mm512_mask_mov_epi8(ascii, _mm512_testn_epi8_mask(ascii, ascii), repeat8(' '));
    }
    const Mask kept = (_mm512_cmpneq_epi8_mask(ascii, repeat8(' ')) | source.never_trimmed) & inside;
    if (kept != 0) count = k + 64 - static_cast<std::int32_t>(_lzcnt_u64(kept));
    _mm512_storeu_si512(to + k, ascii);
  }
  return others == 0 ? count : -1;
}

template <bool from_page>
std::int32_t join_long(const ZVRTPlan& plan, const Rows& rows, JoinedTexts& texts) {
  const Type& from = plan.from.type;
  const Texts<from_page, 64, Length::of_slot> source(from);
  for (std::int32_t i = 0; i < rows.count; ++i) {
    const std::int64_t length = rows.source_lengths->at != nullptr ? rows.source_lengths->load(i) : from.length;
    if (length < 0 || length > from.length) return i;
    const std::int32_t count =
        put_long(source, rows.source + i * rows.source_stride, static_cast<std::int32_t>(length), texts.at);
    if (count < 0) [[unlikely]]
      return i;
    texts.add(count);
  }
  return rows.count;
}

template <bool from_page>
std::int32_t join(const ZVRTPlan& plan, const Rows& all_rows, JoinedTexts& all_texts) {
  const Rows rows = all_rows;
  const Type& from = plan.from.type;
  if (from.length > direct_text_bytes && from.extent != Extent::terminated) {
    return join_long<from_page>(plan, rows, all_texts);
  }
  return choose_length(from, rows, [&](auto length_is) {
    return choose_width(from.length, [&](auto width) {
      const Texts<from_page, width, length_is> source(from);
      JoinedTexts texts = all_texts;
      std::int32_t done = 0;
      if constexpr (length_is == Length::of_slot && width < 64) done = join_groups(source, rows, texts);
      done = join_each(source, rows, done, texts);
      all_texts = texts;
      return done;
    });
  });
}

}  // namespace

const JoinKernels join_kernels_avx512{.page = join<true>, .utf8 = join<false>};

}  // namespace zvrt::columns
