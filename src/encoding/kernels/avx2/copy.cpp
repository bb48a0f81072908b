// Copies by AVX2, the end found on the way. Terminated narrow text: a vector at a time, the last one ending where the text
// does, and four at a time of long text. Short wide text of a count likewise. Terminated wide text is the C library's, beside which
// vectors gained a tenth.
#include <cstddef>
#include <cstdint>

#include "encoding/kernels/avx2/text.h"
#include "encoding/kernels/baseline/text.h"
#include "support/read_ahead.h"
#include "support/units.h"

namespace zvrt::avx2 {

namespace {

// Two pieces, which overlap.
template <class Piece>
ZVRT_INLINED void copy_pieces(const char* src, char* dst, std::size_t bytes) {
  const std::size_t last = bytes - sizeof(Piece);
  const auto first_piece = load<Piece>(src);
  const auto last_piece = load<Piece>(src + last);
  store(dst, 0, first_piece);
  store(dst + last, 0, last_piece);
}

// Less than a vector.
ZVRT_INLINED void copy_few(const char* src, char* dst, std::size_t bytes) {
  if (bytes >= 16) return copy_pieces<Block>(src, dst, bytes);
  if (bytes >= 8) return copy_pieces<std::uint64_t>(src, dst, bytes);
  if (bytes >= 4) return copy_pieces<std::uint32_t>(src, dst, bytes);
  if (bytes >= 2) return copy_pieces<std::uint16_t>(src, dst, bytes);
  if (bytes == 1) dst[0] = src[0];
}

// Copies a vector, or what is left. Returns false when the copy ends.
ZVRT_INLINED bool copy_step(const char* src, char* dst, std::size_t capacity, std::size_t& done) {
  const char* const from = src + done;
  char* const into = dst + done;
  const auto most = min(vector_bytes, capacity - done);
  if (!may_read_ahead(from, vector_bytes)) [[unlikely]] {
    const std::size_t count = text_kernels_baseline.copy(from, into, most).read;
    done += count;
    return count == vector_bytes;
  }
  const Vector bytes = load_vector(from);
  const std::size_t before_zero = _tzcnt_u32(sign_bits(is_zero_in<char>(bytes)));  // 32 if there is none
  const std::size_t count = min(before_zero, most);
  if (count == vector_bytes) {
    store_vector(into, bytes);
  } else if (done == 0) {
    copy_few(from, into, count);
  } else {
    store_vector(into + count - vector_bytes, load_vector(from + count - vector_bytes));
  }
  done += count;
  return count == vector_bytes;
}

// Less than four vectors, after one or more: in four that overlap as far as they have to, without a branch on how many.
ZVRT_INLINED void copy_last(const char* src, char* dst, std::size_t bytes) {
  const auto last = static_cast<std::ptrdiff_t>(bytes) - std::ptrdiff_t{vector_bytes};
  for (std::ptrdiff_t vector = 0; vector < 4; ++vector) {
    const std::ptrdiff_t at = min(vector * std::ptrdiff_t{vector_bytes}, last);
    store_vector(dst + at, load_vector(src + at));
  }
}

// What follows the first vectors, four at a time; by single ones over the border of a page and up to the capacity.
[[gnu::noinline]] Progress copy_further(const char* src, char* dst, std::size_t capacity, std::size_t done) {
  constexpr std::size_t block_bytes = 4 * vector_bytes;
  while (done < capacity) {
    const char* const from = src + done;
    char* const into = dst + done;
    if (capacity - done < block_bytes || !may_read_ahead(from, block_bytes)) [[unlikely]] {
      if (!copy_step(src, dst, capacity, done)) break;
      continue;
    }
    const Vector a = load_vector(from);
    const Vector b = load_vector(from + 32);
    const Vector c = load_vector(from + 64);
    const Vector d = load_vector(from + 96);
    const Vector least = _mm256_min_epu8(_mm256_min_epu8(a, b), _mm256_min_epu8(c, d));
    if (sign_bits(is_zero_in<char>(least)) != 0) {
      const auto zeros = [](Vector bytes) { return std::uint64_t{sign_bits(is_zero_in<char>(bytes))}; };
      const std::uint64_t low = zeros(a) | zeros(b) << 32;
      const std::size_t count = low != 0 ? _tzcnt_u64(low) : 64 + _tzcnt_u64(zeros(c) | zeros(d) << 32);
      copy_last(from, into, count);
      done += count;
      break;
    }
    store_vector(into, a);
    store_vector(into + 32, b);
    store_vector(into + 64, c);
    store_vector(into + 96, d);
    done += block_bytes;
  }
  return {done, done};
}

}  // namespace

Progress copy_narrow(const void* src, void* dst, std::size_t capacity) {
  if constexpr (!reads_ahead) return text_kernels_baseline.copy(src, dst, capacity);
  const auto* const from = static_cast<const char*>(src);
  auto* const into = static_cast<char*>(dst);
  std::size_t done = 0;
  for (unsigned steps = 0; steps < 3; ++steps) {
    if (done == capacity || !copy_step(from, into, capacity, done)) return {done, done};
  }
  return copy_further(from, into, capacity, done);
}

// By vectors without a zero, the last of which overlaps the one before; a zero and what follows, and text of more than 32
// characters, are left to the baseline.
void copy_counted(const void* src, void* dst, std::size_t count) {
  constexpr std::size_t step = vector_bytes / sizeof(Wide);
  const auto* const from = static_cast<const char*>(src);
  auto* const into = static_cast<char*>(dst);
  std::size_t done = 0;
  while (count >= step && count <= 4 * step && done < count) {
    const std::size_t at = min(done, count - step);
    if (!may_read_ahead(from + at * sizeof(Wide), vector_bytes)) break;
    const Vector units = load_vector(from + at * sizeof(Wide));
    if (!is_zero(is_zero_in<Wide>(units))) break;
    store_vector(into + at * sizeof(Wide), units);
    done = at + step;
  }
  if (done < count) baseline::copy_counted(from + done * sizeof(Wide), into + done * sizeof(Wide), count - done);
}

}  // namespace zvrt::avx2
