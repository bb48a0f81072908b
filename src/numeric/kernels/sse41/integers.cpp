// Integers by SSE4.1: sixteen digits at once. What has more of them, or too little to fill a block, is left to the
// definition.
#include <smmintrin.h>

#include <cstddef>
#include <cstdint>

#include "numeric/integer/integers.h"
#include "numeric/kernels/sse41/digits.h"
#include "simd/sse2.h"
#include "support/read_ahead.h"
#include "support/wraps.h"

namespace zvrt {

namespace {

constexpr std::uint64_t ten_million = 10'000'000;
constexpr std::uint64_t hundred_million = 100'000'000;

__m128i load_vector(const void* at) { return _mm_loadu_si128(static_cast<const __m128i*>(at)); }

std::int32_t min(std::int32_t a, std::int32_t b) { return a < b ? a : b; }

// Windows on sixteen bytes for a shuffle, from sixteen of them earlier to 32 later; outside there is zero.
struct Windows {
  std::uint8_t before[16];
  std::uint8_t bytes[48];
};

constexpr Windows windows = [] {
  Windows all{};
  for (std::uint8_t& byte : all.before) byte = 0x80;
  for (unsigned at = 0; at < 48; ++at) all.bytes[at] = static_cast<std::uint8_t>(at < 16 ? at : 0x80);
  return all;
}();

// ---- writing -------------------------------------------------------------------------------------------------------

// The characters of a number below 10^8, zeros following them.
__m128i eight_digits(std::uint64_t number) {
  const std::uint64_t upper = number / 10'000;
  const std::uint64_t quads = upper | (number - upper * 10'000) << 32;
  const __m128i zeros = _mm_set_epi64x(0, 0x3030303030303030);
  return _mm_or_si128(sse2::split_quads(_mm_cvtsi64_si128(static_cast<long long>(quads))), zeros);
}

// The characters of a number below 10^16.
__m128i sixteen_digits(std::uint64_t number) {
  const std::uint64_t upper = number / hundred_million;
  return sse2::digit_characters(sse2::sixteen_digits(upper, number - upper * hundred_million));
}

// Writes a number of up to so many digits, with a zero following it `max_lanes` lanes, in pieces of two or four. The last ones may
// overlap: none reaches beyond the lanes to store, and how many there are does not depend on the number of digits.
template <std::int32_t digits, std::int32_t max_lanes, std::int32_t piece>
[[gnu::always_inline]] inline std::int32_t write_digits(std::uint64_t magnitude, bool negative, void* dst,
                                                        std::int32_t capacity) {
  const __m128i characters = digits == 8 ? eight_digits(magnitude) : sixteen_digits(magnitude);
  const std::int32_t count = count_digits(magnitude);  // beside the digits, not waiting for them
  const std::int32_t sign = negative ? 1 : 0;
  const std::int32_t lanes = min(count + 1, capacity - sign);
  if (lanes < piece) [[unlikely]]
    return write_decimal(magnitude, negative, dst, capacity);
  store(dst, 0, Wide{'-'});  // stays if there is a sign
  auto* const out = static_cast<std::byte*>(dst) + sign * 4;
  const std::uint8_t* const window = windows.bytes + digits - count;
  for (std::int32_t at = 0; at < max_lanes; at += piece) {
    const std::int32_t from = min(at, lanes - piece);
    const __m128i bytes = _mm_cvtepu8_epi32(_mm_shuffle_epi8(characters, load_vector(window + from)));
    if constexpr (piece == 4) {
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + from * 4), bytes);
    } else {
      _mm_storel_epi64(reinterpret_cast<__m128i*>(out + from * 4), bytes);
    }
  }
  return count + sign;
}

// Writes the digits from `digits` - `count` on as bytes, and a zero, in pieces of two or eight that may overlap; there are
// at least as many bytes to write as a piece has.
template <std::int32_t digits, std::int32_t most, std::int32_t piece>
[[gnu::always_inline]] inline void store_bytes(__m128i characters, std::int32_t count, char* out) {
  const std::uint8_t* const window = windows.bytes + digits - count;
  const std::int32_t last = count + 1 - piece;
  for (std::int32_t at = 0; at < most; at += piece) {
    const std::int32_t from = min(at, last);
    const __m128i bytes = _mm_shuffle_epi8(characters, load_vector(window + from));
    if constexpr (piece == 8) {
      _mm_storel_epi64(reinterpret_cast<__m128i*>(out + from), bytes);
    } else {
      store(out + from, 0, static_cast<std::uint16_t>(_mm_cvtsi128_si32(bytes)));
    }
  }
}

// ---- reading -------------------------------------------------------------------------------------------------------

// Eight characters less zero, saturated, so that what is not a digit stays none.
__m128i eight_characters(const std::byte* text) {
  const __m128i zero = _mm_set1_epi32('0');
  return _mm_packs_epi32(_mm_sub_epi32(load_vector(text), zero), _mm_sub_epi32(load_vector(text + 16), zero));
}

// How many of sixteen bytes are digits before the first that is none.
std::int32_t count_leading_digits(__m128i bytes) {
  const __m128i others = _mm_cmpeq_epi8(_mm_max_epu8(bytes, _mm_set1_epi8(10)), bytes);
  return __builtin_ctz(static_cast<unsigned>(_mm_movemask_epi8(others)) | 1U << 16);
}

// The number that the first so many digits make.
std::uint64_t join_leading_digits(__m128i digits, std::int32_t count) {
  return sse41::join_digits(_mm_shuffle_epi8(digits, load_vector(windows.before + count)));
}

Digits digits_up_to(const std::byte* text, std::uint64_t value, std::int32_t count) {
  const bool complete = load<Wide>(text, static_cast<std::size_t>(count)) == 0;
  return {value, count, complete ? Reading::complete : Reading::invalid_character};
}

constexpr Digits not_attempted{0, 0, Reading::not_attempted};

// A number with up to seven digits more, modulo 2^64.
ZVRT_WRAPS std::uint64_t with_tail(std::uint64_t head, std::uint64_t tail, std::int32_t count) {
  static constexpr std::uint64_t powers[] = {1, 10, 100, 1'000, 10'000, 100'000, 1'000'000, 10'000'000};
  return head * powers[count] + tail;
}

// The 17th digit and up to six more.
Digits read_on(const std::byte* text, std::uint64_t head) {
  if (!may_read_ahead(text + 64, 32)) [[unlikely]]
    return not_attempted;
  const __m128i tail = eight_characters(text + 64);
  const __m128i digits = _mm_packs_epi16(tail, tail);
  const std::int32_t count = count_leading_digits(digits);
  if (count >= 8) [[unlikely]]
    return not_attempted;
  return digits_up_to(text, with_tail(head, join_leading_digits(digits, count), count), 16 + count);
}

struct Sse41Kernel {
  // Keys have a few digits and numbers of any size many: a branch that is foreseen sets them apart.
  static std::int32_t write(std::uint32_t magnitude, bool negative, void* dst, std::int32_t capacity) {
    if (magnitude < ten_million) return write_digits<8, 8, 2>(magnitude, negative, dst, capacity);
    return write_digits<16, 11, 4>(magnitude, negative, dst, capacity);
  }

  static std::int32_t write(std::uint64_t magnitude, bool negative, void* dst, std::int32_t capacity) {
    if (magnitude < ten_million) return write_digits<8, 8, 2>(magnitude, negative, dst, capacity);
    if (magnitude >= hundred_million * hundred_million) return write_decimal(magnitude, negative, dst, capacity);
    return write_digits<16, 17, 4>(magnitude, negative, dst, capacity);
  }

  static std::int32_t write_bytes(std::uint64_t magnitude, bool negative, char* dst, std::int32_t capacity) {
    const std::int32_t sign = negative ? 1 : 0;
    const std::int32_t count = count_digits(magnitude);
    if (count == 0 || count + sign >= capacity) [[unlikely]]
      return write_decimal_bytes(magnitude, negative, dst, capacity);
    dst[0] = '-';  // stays if there is a sign
    char* const out = dst + sign;
    if (magnitude < hundred_million) {
      store_bytes<8, 10, 2>(eight_digits(magnitude), count, out);
    } else if (magnitude < hundred_million * hundred_million) {
      store_bytes<16, 24, 8>(sixteen_digits(magnitude), count, out);
    } else {
      const std::uint64_t top = magnitude / (hundred_million * hundred_million);
      store_bytes<8, 6, 2>(eight_digits(top), count - 16, out);
      const __m128i low = sixteen_digits(magnitude - top * hundred_million * hundred_million);
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + count - 16), low);
      out[count] = 0;
    }
    return count + sign;
  }

  template <class Accumulator>
  static Digits read_bytes(const char* text) {
    if (!may_read_ahead(text, 32)) [[unlikely]]
      return not_attempted;
    const __m128i zero = _mm_set1_epi8('0');
    const auto ended = [text](std::uint64_t value, std::int32_t count) -> Digits {
      return {value, count, text[count] == 0 ? Reading::complete : Reading::invalid_character};
    };
    const __m128i digits = _mm_sub_epi8(load_vector(text), zero);
    const std::int32_t count = count_leading_digits(digits);
    if (count < 16) return ended(join_leading_digits(digits, count), count);
    const __m128i more = _mm_sub_epi8(load_vector(text + 16), zero);
    const std::int32_t following = count_leading_digits(more);
    if (following >= 8) return not_attempted;
    return ended(with_tail(join_leading_digits(digits, count), join_leading_digits(more, following), following),
                 count + following);
  }

  template <class Accumulator>
  static Digits read(const void* src) {
    const auto* const text = static_cast<const std::byte*>(src);
    if (!may_read_ahead(text, 64)) [[unlikely]]
      return not_attempted;
    const __m128i digits = _mm_packs_epi16(eight_characters(text), eight_characters(text + 32));
    const std::int32_t count = count_leading_digits(digits);
    if (count < 16) return digits_up_to(text, join_leading_digits(digits, count), count);
    if constexpr (sizeof(Accumulator) == 8) {
      return read_on(text, join_leading_digits(digits, count));
    } else {
      return not_attempted;
    }
  }
};

}  // namespace

const IntegerConversions integers_sse41 = conversions_by<Sse41Kernel>;

}  // namespace zvrt
