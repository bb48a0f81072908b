// UTF-8 to wide text and to UTF-16 by AVX2, for characters of one to three bytes.
//
// A step takes 32 bytes wherever characters begin and end in it, so that the next step need not wait for what this one
// finds. At each byte the character that would end there is put together from it and the two bytes before:
//
//   third byte  second    this one        upper byte   lower byte
//   [1110aaaa] [10bbbbcc] [10dddddd]  ->  [aaaabbbb]   [ccdddddd]
//              [110bbbcc] [10dddddd]  ->  [00000bbb]   [ccdddddd]
//                         [0ddddddd]  ->  [00000000]   [0ddddddd]
//
// Where a character really ends is known by the lead bytes, as masks: a lead byte, and the second of three bytes, do not
// end one. Of each eight bytes those codes are kept by one shuffle, and eight units are stored over what follows; the
// last eight bytes of a step store exactly what they have.
#include <cstddef>
#include <cstdint>

#include "encoding/kernels/avx2/text.h"
#include "encoding/kernels/baseline/text.h"
#include "encoding/kernels/sse41/text.h"
#include "encoding/utf8.h"
#include "support/read_ahead.h"
#include "support/units.h"
#include "support/wraps.h"

namespace zvrt::avx2 {

namespace {

// ---- Codes kept ----

// For eight codes of two bytes, by a mask of those that are kept.
struct KeptCodes {
  alignas(16) std::uint8_t order[256][16];
  constexpr KeptCodes() : order() {
    for (unsigned kept = 0; kept < 256; ++kept) {
      unsigned count = 0;
      for (unsigned i = 0; i < 8; ++i) {
        if ((kept >> i & 1) == 0) continue;
        order[kept][count++] = static_cast<std::uint8_t>(i * 2);
        order[kept][count++] = static_cast<std::uint8_t>(i * 2 + 1);
      }
      while (count < 16) order[kept][count++] = 0x80;
    }
  }
};
constexpr KeptCodes kept_codes;

struct ToWide {
  using Unit = Wide;
  static constexpr unsigned min_other_lead = 0xE0;
  static constexpr auto other = sse41::decode;

  static void store_eight(char* dst, Block codes) { store_vector(dst, _mm256_cvtepu16_epi32(codes)); }
  static void store_four(char* dst, Block codes) { store_block(dst, _mm_cvtepu16_epi32(codes)); }
  static void store_two(char* dst, Block codes) { store_half(dst, _mm_cvtepu16_epi32(codes)); }
  static void widen_ascii(const char* src, char* dst) {
    for (std::size_t i = 0; i < vector_bytes; i += 8) {
      store_vector(dst + i * 4, _mm256_cvtepu8_epi32(load_half(src + i)));
    }
  }
};

struct ToUtf16 {
  using Unit = std::uint16_t;
  static constexpr unsigned min_other_lead = 0xF0;
  static constexpr auto other = baseline::utf8_to_utf16;

  static void store_eight(char* dst, Block codes) { store_block(dst, codes); }
  static void store_four(char* dst, Block codes) { store_half(dst, codes); }
  static void store_two(char* dst, Block codes) { store(dst, 0, static_cast<std::uint32_t>(_mm_cvtsi128_si32(codes))); }
  static void widen_ascii(const char* src, char* dst) {
    store_vector(dst, _mm256_cvtepu8_epi16(load_block(src)));
    store_vector(dst + 32, _mm256_cvtepu8_epi16(load_block(src + 16)));
  }
};

// Eight codes, as many units as are kept and undefined ones after them.
template <class Target>
void store_kept(char* dst, Block codes, Mask kept) {
  Target::store_eight(dst, _mm_shuffle_epi8(codes, load_block(kept_codes.order[kept & 0xFF])));
}

// The two to eight that are kept and no more: in two pieces, which overlap.
template <class Target>
void store_kept_exactly(char* dst, Block codes, Mask kept) {
  const std::uint8_t* order = kept_codes.order[kept & 0xFF];
  const std::size_t count = count_of(kept & 0xFF);
  const auto piece = [=](std::size_t from) { return _mm_shuffle_epi8(codes, load_half(order + from * 2)); };
  if (count >= 4) {
    Target::store_four(dst, piece(0));
    Target::store_four(dst + (count - 4) * sizeof(typename Target::Unit), piece(count - 4));
  } else {
    Target::store_two(dst, piece(0));
    Target::store_two(dst + (count - 2) * sizeof(typename Target::Unit), piece(count - 2));
  }
}

// ---- A step ----

// What a step leaves for the next one.
struct Before {
  Vector bytes = _mm256_setzero_si256();
  Mask leads = 0;
  Mask threes = 0;  // leads of three bytes

  // In bits 0 and 1, which of the next bytes are to be continuation bytes, and which do not end their character.
  Mask expected() const { return leads >> 31 | threes >> 30; }
  Mask inner() const { return threes >> 31; }
  // The bytes of a character that the last step has not written.
  std::size_t pending() const {
    if (leads >> 31 != 0) return 1;
    return expected() != 0 ? 2 : 0;
  }
};

// The bytes of a step, and each with those one and two places before it.
struct Window {
  Vector bytes;
  Vector one_before;
  Vector two_before;

  Window(Vector bytes_, Vector before) : bytes(bytes_) {
    const Vector across = _mm256_permute2x128_si256(before, bytes, 0x21);  // [before, upper half | bytes, lower half]
    one_before = _mm256_alignr_epi8(bytes, across, 15);
    two_before = _mm256_alignr_epi8(bytes, across, 14);
  }

  // Zeros, lead bytes of four bytes and more, and C0 80 and E0 80, since such a sequence may encode U+0000.
  bool is_usual() const {
    const Vector zero = _mm256_cmpeq_epi8(bytes, _mm256_setzero_si256());
    const Vector empty = _mm256_cmpeq_epi8(_mm256_and_si256(one_before, repeat8(0xDF)), repeat8(0xC0));
    const Vector empty_form = _mm256_and_si256(empty, _mm256_cmpeq_epi8(bytes, repeat8(0x80)));
    return is_zero(_mm256_or_si256(_mm256_or_si256(zero, from8(bytes, 0xF0)), empty_form));
  }
};

// The codes at each byte: bytes 0..7 and 16..23 in `low`, 8..15 and 24..31 in `high`.
struct Codes {
  Vector low;
  Vector high;
};

Vector replace(Vector codes) {
  const Vector replaced = _mm256_cmpeq_epi16(codes, repeat16(replacement_character));
  return _mm256_xor_si256(codes, _mm256_and_si256(replaced, repeat16(replacement_character ^ '?')));
}

ZVRT_INLINED Codes codes_of(const Window& window, bool has_threes) {
  const Vector continued = _mm256_cmpgt_epi8(_mm256_setzero_si256(), window.bytes);
  const Vector second = _mm256_and_si256(window.one_before, _mm256_and_si256(continued, repeat8(0x3F)));
  const Vector bits_cc = _mm256_and_si256(_mm256_slli_epi16(second, 6), repeat8(0xC0));
  const Vector lower_byte = _mm256_or_si256(_mm256_and_si256(window.bytes, repeat8(0x7F)), bits_cc);
  const Vector bits_bbbb = _mm256_and_si256(_mm256_srli_epi16(second, 2), repeat8(0x0F));
  if (!has_threes) {
    return {_mm256_unpacklo_epi8(lower_byte, bits_bbbb), _mm256_unpackhi_epi8(lower_byte, bits_bbbb)};
  }
  const Vector bits_aaaa = _mm256_and_si256(_mm256_slli_epi16(window.two_before, 4), repeat8(0xF0));
  const Vector upper_byte = _mm256_or_si256(bits_bbbb, _mm256_and_si256(bits_aaaa, from8(window.two_before, 0xE0)));
  return {replace(_mm256_unpacklo_epi8(lower_byte, upper_byte)), replace(_mm256_unpackhi_epi8(lower_byte, upper_byte))};
}

// The codes at the bits of `ends`. Eight units are stored of the first 16 bytes, which hold their place: any 24 bytes have
// at least eight characters, and 16 do where none takes three bytes.
template <class Target>
ZVRT_INLINED void store_codes(const Codes& codes, Mask ends, bool has_threes, char* dst) {
  const auto at = [=](Mask before) { return dst + count_of(ends & before) * sizeof(typename Target::Unit); };
  store_kept<Target>(dst, lower(codes.low), ends);
  store_kept<Target>(at(0xFF), lower(codes.high), ends >> 8);
  if (has_threes) {
    store_kept_exactly<Target>(at(0xFFFF), upper(codes.low), ends >> 16);
  } else {
    store_kept<Target>(at(0xFFFF), upper(codes.low), ends >> 16);
  }
  store_kept_exactly<Target>(at(0xFFFFFF), upper(codes.high), ends >> 24);
}

// Converts 32 bytes; returns the units written, or 0 and leaves all as it is where something unusual is among them.
template <class Target>
ZVRT_WRAPS ZVRT_INLINED std::size_t decode_step(Vector bytes, Before& before, char* dst) {
  const Window window(bytes, before.bytes);
  const Mask leads = sign_bits(from8(bytes, 0xC0));
  const Mask threes = sign_bits(from8(bytes, 0xE0));
  const Mask continuations = sign_bits(bytes) ^ leads;
  const Mask expected = leads << 1 | threes << 2 | before.expected();
  if (expected != continuations || !window.is_usual()) return 0;
  const Mask ends = ~(leads | threes << 1 | before.inner());
  const bool has_threes = (threes | before.threes >> 30) != 0;
  store_codes<Target>(codes_of(window, has_threes), ends, has_threes, dst);
  before = {bytes, leads, threes};
  return count_of(ends);
}

// ASCII by 64 bytes; returns how much there is of it.
template <class Target, class Source>
ZVRT_INLINED std::size_t widen_ascii(const char* src, Source source, std::size_t read, char* dst,
                                     std::size_t capacity) {
  constexpr std::size_t block = 2 * vector_bytes;
  std::size_t done = 0;
  for (; capacity - done >= block && source.has(src, read + done, block); done += block) {
    const char* const at = src + read + done;
    // Signed, the bytes 01 to 7F are exactly the ones above zero.
    const Vector least = _mm256_min_epi8(load_vector(at), load_vector(at + vector_bytes));
    if (sign_bits(_mm256_cmpgt_epi8(least, _mm256_setzero_si256())) != all_of_vector) break;
    char* const out = dst + done * sizeof(typename Target::Unit);
    Target::widen_ascii(at, out);
    Target::widen_ascii(at + vector_bytes, out + vector_bytes * sizeof(typename Target::Unit));
  }
  return done;
}

template <class Target>
struct Decoding {
  static constexpr std::size_t from = 1;
  static constexpr std::size_t to = sizeof(typename Target::Unit);
  static constexpr std::size_t step = vector_bytes;
  static constexpr std::size_t ahead = step;

  static Progress other(const char* src, std::size_t count, char* dst, std::size_t capacity) {
    return Target::other(src, count, dst, capacity);
  }

  // Runs of characters of three or of four bytes are the other kernel's, which takes them faster.
  static bool is_long(const char* at) { return load<std::uint8_t>(at) >= Target::min_other_lead; }
  static std::size_t stretch(const char* at) { return is_long(at) ? 4 * step : step; }

  template <class Source>
  ZVRT_INLINED static void take_steps(Run& run, Source source) {
    auto [read, written] = run.done;
    Before before;
    while (run.capacity - written >= step && source.has(run.src, read, step)) {
      const Vector bytes = load_vector(run.src + read);
      char* out = run.dst + written * to;
      // Signed, the bytes 01 to 7F are exactly the ones above zero.
      const Mask ascii = sign_bits(_mm256_cmpgt_epi8(bytes, _mm256_setzero_si256()));
      if (ascii == all_of_vector && before.expected() == 0) {
        Target::widen_ascii(run.src + read, out);
        const std::size_t more =
            widen_ascii<Target>(run.src, source, read + step, out + step * to, run.capacity - written - step);
        written += step + more;
        read += more;
      } else {
        if (is_long(run.src + read)) break;
        const std::size_t units = decode_step<Target>(bytes, before, out);
        if (units == 0) break;
        written += units;
      }
      read += step;
    }
    run.done = {read - before.pending(), written};
  }
};

// ---- Short text ----

// ASCII from four bytes to 32: in pieces that overlap as far as they have to, without a branch on their number.
void widen_pieces(const char* src, std::size_t count, char* dst) {
  for (std::size_t piece = 0; piece < vector_bytes; piece += 4) {
    const std::size_t at = min(piece, count - 4);
    store_block(dst + at * 4, _mm_cvtepu8_epi32(_mm_cvtsi32_si128(load<std::int32_t>(src + at))));
  }
}

// Whether bytes at two places, which overlap and make up a text, are 01 to 7F.
bool are_ascii(Block first, Block last) {
  return _mm_movemask_epi8(_mm_cmpgt_epi8(_mm_min_epi8(first, last), _mm_setzero_si128())) == 0xFFFF;
}

// Text of a known count, mostly ASCII of up to 32 bytes.
Progress decode_short(const char* src, std::size_t count, char* dst, std::size_t capacity) {
  const auto repeat_four = [](const char* at) { return _mm_set1_epi32(load<std::int32_t>(at)); };
  const auto repeat_eight = [](const char* at) { return _mm_set1_epi64x(load<std::int64_t>(at)); };
  if (count >= 4 && count <= vector_bytes && count <= capacity && load<std::uint8_t>(src) < 0x80) {
    const bool ascii = count >= 16  ? are_ascii(load_block(src), load_block(src + count - 16))
                       : count >= 8 ? are_ascii(repeat_eight(src), repeat_eight(src + count - 8))
                                    : are_ascii(repeat_four(src), repeat_four(src + count - 4));
    if (ascii) {
      widen_pieces(src, count, dst);
      return {count, count};
    }
  }
  return sse41::decode(src, count, dst, capacity);
}

// Kept apart, so that short text does not wait for what this saves and restores, as are those below.
[[gnu::noinline]] Progress decode_counted(const char* src, std::size_t count, void* dst, std::size_t capacity) {
  Run run{src, static_cast<char*>(dst), capacity, {}};
  if (!convert_steps<Decoding<ToWide>>(run, Counted<char>{count})) return run.done;
  run.advance(decode_short(run.source(), count - run.done.read, run.destination<4>(), run.left()));
  return run.done;
}

[[gnu::noinline]] Progress decode_to_utf16(const char* src, std::size_t count, void* dst, std::size_t capacity) {
  Run run{src, static_cast<char*>(dst), capacity, {}};
  if (!convert_steps<Decoding<ToUtf16>>(run, Within<char>{count})) return run.done;
  run.advance(baseline::utf8_to_utf16(run.source(), count - run.done.read, run.destination<2>(), run.left()));
  return run.done;
}

// Terminated text after its ASCII.
[[gnu::noinline]] Progress decode_after_ascii(const char* src, std::size_t ascii, void* dst, std::size_t capacity) {
  Run run{src, static_cast<char*>(dst), capacity, {ascii, ascii}};
  if (Decoding<ToWide>::is_long(run.source()) || convert_steps<Decoding<ToWide>>(run, Terminated<char>{})) {
    run.advance(sse41::decode_after_ascii(run.source(), 0, run.destination<4>(), run.left()));
  }
  return run.done;
}

}  // namespace

// ---- Texts ----

Progress decode(const char* src, std::size_t count, void* dst, std::size_t capacity) {
  if (count <= vector_bytes) return decode_short(src, count, static_cast<char*>(dst), capacity);
  if (Decoding<ToWide>::is_long(src)) return sse41::decode(src, count, dst, capacity);
  return decode_counted(src, count, dst, capacity);
}

// Most values are ASCII or end within 32 bytes.
Progress decode_terminated(const char* src, void* dst, std::size_t capacity) {
  if (Decoding<ToWide>::is_long(src)) return sse41::decode_after_ascii(src, 0, dst, capacity);
  std::size_t done = 0;
  for (; may_read_ahead(src + done, vector_bytes); done += vector_bytes) {
    char* const out = static_cast<char*>(dst) + done * 4;
    const Vector bytes = load_vector(src + done);
    const Mask ends = sign_bits(is_zero_in<char>(bytes));
    const Mask high = sign_bits(bytes);
    if ((ends | high) == 0) {
      if (capacity - done < vector_bytes) break;
      ToWide::widen_ascii(src + done, out);
      continue;
    }
    if (ends == 0) break;
    const std::size_t count = _tzcnt_u32(ends);
    const Mask inside = _bzhi_u32(high, static_cast<Mask>(count));
    if (inside != 0 || count < 4 || count > capacity - done) return sse41::decode_after_ascii(src, done, dst, capacity);
    widen_pieces(src + done, count, out);
    return {done + count, done + count};
  }
  return decode_after_ascii(src, done, dst, capacity);
}

Progress utf8_to_utf16(const char* src, std::size_t count, void* dst, std::size_t capacity) {
  const auto convert = count < vector_bytes ? baseline::utf8_to_utf16 : decode_to_utf16;
  return convert(src, count, dst, capacity);
}

}  // namespace zvrt::avx2
