// Kernels for well-formed text. The scalar definition decides every result: a kernel converts some leading part of a
// text, possibly nothing, and the scalar loop continues where it stopped.
//
// The fast path takes UTF-8 sequences of one to four bytes that are well-formed and do not encode U+0000, in any
// length; of wide text the characters 1 to 1FFFFF, which have one to four bytes. Wide text may have any alignment.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "support/units.h"

namespace zvrt {

struct Progress {
  std::size_t read = 0;     // source units taken, always complete characters
  std::size_t written = 0;  // destination units produced, never more than the capacity
};

// Every version of a kernel writes exactly the units it reports. The counted ones read within the count; the terminated
// ones read no page that the text does not reach, and end at the latest on the terminator.
struct TextKernels {
  // UTF-8 to wide text.
  Progress (*decode)(const char* src, std::size_t count, void* dst, std::size_t capacity);
  Progress (*decode_terminated)(const char* src, void* dst, std::size_t capacity);
  // Wide text to UTF-8.
  Progress (*encode)(const void* src, std::size_t count, char* dst, std::size_t capacity);
  Progress (*encode_terminated)(const void* src, char* dst, std::size_t capacity);
  // The same where the count may reach beyond the memory of a terminated text: as far as both allow.
  Progress (*decode_within)(const char* src, std::size_t count, void* dst, std::size_t capacity);
  Progress (*encode_within)(const void* src, std::size_t count, char* dst, std::size_t capacity);
  // Between UTF-16 and the others, bounded likewise; characters up to U+10FFFF.
  Progress (*utf8_to_utf16)(const char* src, std::size_t count, void* dst, std::size_t capacity);
  Progress (*utf16_to_utf8)(const void* src, std::size_t count, char* dst, std::size_t capacity);
  Progress (*utf16_to_utf32)(const void* src, std::size_t count, void* dst, std::size_t capacity);
  Progress (*utf32_to_utf16)(const void* src, std::size_t count, void* dst, std::size_t capacity);
  // What the two would write into an unlimited destination.
  Progress (*count_decoded)(const char* src, std::size_t count);
  Progress (*count_encoded)(const void* src, std::size_t count);
  // Terminated text as it is, up to its terminator or to the capacity, whichever comes first.
  Progress (*copy)(const void* src, void* dst, std::size_t capacity);
  Progress (*copy_wide)(const void* src, void* dst, std::size_t capacity);
  // Wide text of a count, into as many units: a zero ends it, and what is left of the count is filled with zeros.
  void (*copy_counted)(const void* src, void* dst, std::size_t count);
  // Drops the blanks and tabs of a wide text in place, up to its terminator or its count. The character after those kept
  // may be changed: the caller's terminator goes there.
  Progress (*drop_blanks)(void* text, std::size_t count);
  // How many blanks a wide text begins and ends with.
  std::size_t (*leading_blanks)(const void* text, std::size_t count);
  std::size_t (*trailing_blanks)(const void* text, std::size_t count);
};

// `decode_within` and `encode_within` of a version that looks for the terminator first.
template <Progress (*decode)(const char*, std::size_t, void*, std::size_t)>
Progress decode_measured(const char* src, std::size_t count, void* dst, std::size_t capacity) {
  return decode(src, strnlen(src, count), dst, capacity);
}
template <Progress (*encode)(const void*, std::size_t, char*, std::size_t)>
Progress encode_measured(const void* src, std::size_t count, char* dst, std::size_t capacity) {
  return encode(src, static_cast<std::size_t>(length_within(src, static_cast<std::int32_t>(count))), dst, capacity);
}

extern const TextKernels text_kernels_portable;
extern const TextKernels text_kernels_baseline;
extern const TextKernels text_kernels_sse41;
extern const TextKernels text_kernels_avx2;
extern const TextKernels text_kernels_avx512;

// The version for this machine, chosen when the library is loaded.
extern const TextKernels text_kernels;

}  // namespace zvrt
