// What the text kernels by AVX2 share: where a text ends, and the loop over its steps.
//
// A step takes many characters at once and only the usual ones. What is unusual (a character of four bytes, a malformed
// sequence) and what is too short for a step is left to a kernel for a lesser processor.
#pragma once

#include <cstddef>
#include <cstdint>

#include "encoding/text_kernels.h"
#include "simd/avx2.h"
#include "support/inlined.h"
#include "support/read_ahead.h"
#include "support/units.h"

namespace zvrt::avx2 {

Progress decode(const char* src, std::size_t count, void* dst, std::size_t capacity);
Progress decode_terminated(const char* src, void* dst, std::size_t capacity);
Progress utf8_to_utf16(const char* src, std::size_t count, void* dst, std::size_t capacity);

Progress encode(const void* src, std::size_t count, char* dst, std::size_t capacity);
Progress encode_terminated(const void* src, char* dst, std::size_t capacity);
Progress utf16_to_utf8(const void* src, std::size_t count, char* dst, std::size_t capacity);

Progress utf16_to_utf32(const void* src, std::size_t count, void* dst, std::size_t capacity);
Progress utf32_to_utf16(const void* src, std::size_t count, void* dst, std::size_t capacity);

Progress copy_narrow(const void* src, void* dst, std::size_t capacity);
void copy_counted(const void* src, void* dst, std::size_t count);

// ---- Where a text ends ----

// Whether so many units follow before a terminator; none after it is read.
template <class Unit>
ZVRT_INLINED bool goes_on(const char* at, std::size_t units) {
  std::size_t found = 0;
  while (found < units && load<Unit>(at, found) != 0) ++found;
  return found == units;
}

// Whether there is no zero among units that may be loaded; their bytes fill vectors.
template <class Unit>
ZVRT_INLINED bool has_no_zero(const char* at, std::size_t units) {
  Vector zeros = _mm256_setzero_si256();
  for (std::size_t byte = 0; byte < units * sizeof(Unit); byte += vector_bytes) {
    const Vector vector = load_vector(at + byte);
    zeros = _mm256_or_si256(zeros, is_zero_in<Unit>(vector));
  }
  return is_zero(zeros);
}

// Text of a known count.
template <class Unit>
struct Counted {
  std::size_t count;

  // Whether so many units may be loaded together.
  ZVRT_INLINED bool has(const char* /*src*/, std::size_t read, std::size_t units) const {
    return count - read >= units;
  }
  // Whether so many units follow.
  ZVRT_INLINED bool continues(const char* src, std::size_t read, std::size_t units) const {
    return has(src, read, units);
  }
};

// Text up to a terminator, which no step converts.
template <class Unit>
struct Terminated {
  ZVRT_INLINED static bool has(const char* src, std::size_t read, std::size_t units) {
    const char* at = src + read * sizeof(Unit);
    return may_read_ahead(at, units * sizeof(Unit)) || goes_on<Unit>(at, units);
  }
  ZVRT_INLINED static bool continues(const char* src, std::size_t read, std::size_t units) {
    return has(src, read, units) && has_no_zero<Unit>(src + read * sizeof(Unit), units);
  }
};

// Text up to a terminator or a count, whichever comes first.
template <class Unit>
struct Within {
  std::size_t count;

  ZVRT_INLINED bool has(const char* src, std::size_t read, std::size_t units) const {
    return count - read >= units && Terminated<Unit>::has(src, read, units);
  }
  ZVRT_INLINED bool continues(const char* src, std::size_t read, std::size_t units) const {
    return count - read >= units && Terminated<Unit>::continues(src, read, units);
  }
};

// ---- The loop ----

// A conversion and how far it has got.
struct Run {
  const char* src;
  char* dst;
  std::size_t capacity;  // units
  Progress done;

  template <std::size_t unit = 1>
  ZVRT_INLINED const char* source() const {
    return src + done.read * unit;
  }
  template <std::size_t unit = 1>
  ZVRT_INLINED char* destination() const {
    return dst + done.written * unit;
  }
  ZVRT_INLINED std::size_t left() const { return capacity - done.written; }
  ZVRT_INLINED void advance(const Progress& progress) {
    done.read += progress.read;
    done.written += progress.written;
  }
};

// A direction of conversion:
//
//   struct Direction {
//     static constexpr std::size_t from = 1;   // bytes of a source unit
//     static constexpr std::size_t to = 4;     // bytes of a destination unit
//     static constexpr std::size_t ahead = 32; // units that a step looks at
//     template <class Source> static void take_steps(Run& run, Source source);  // while they go
//     // The kernel for a lesser processor, over a count; and how much it is given where steps stop.
//     static Progress other(const char* src, std::size_t count, char* dst, std::size_t capacity);
//     static std::size_t stretch(const char* at);
//   };
//
// Converts until less than a step is left. Returns false where the fast path ends: what is left is not converted.
template <class Direction, class Source>
ZVRT_INLINED bool convert_steps(Run& run, Source source) {
  constexpr std::size_t max_incomplete = 3;  // units of a character that a stretch cuts off
  for (;;) {
    Direction::take_steps(run, source);
    if (!source.continues(run.src, run.done.read, Direction::ahead)) return true;
    const char* const at = run.source<Direction::from>();
    const std::size_t stretch = Direction::stretch(at);
    if (!source.continues(run.src, run.done.read, stretch)) return true;
    const Progress other = Direction::other(at, stretch, run.destination<Direction::to>(), run.left());
    run.advance(other);
    if (other.read + max_incomplete < stretch) return false;
  }
}

}  // namespace zvrt::avx2
