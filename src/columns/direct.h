// Direct kernels: the hot pairs, whole stretches of rows at once, without blocks.
//
// A kernel takes rows that stand at strides, a stretch without a null and without a row that a selection leaves out, and
// converts the leading ones that are the usual case: a packed field of digits, a text of ASCII that fits. It returns how
// many; the row after them goes through a block, which decides everything out of the usual, and the kernel goes on after
// that block. For the rows that it takes, it leaves exactly what reader, step and writer leave.
//
// Versions for levels of processors stand in kernels/LEVEL/; baseline runs everywhere.
#pragma once

#include <cstdint>

#include "columns/places.h"
#include "columns/plan.h"

namespace zvrt::columns {

// Rows of a run, as a kernel sees them.
struct Rows {
  const std::byte* source;
  std::int64_t source_stride;
  const Entries* source_lengths;  // of texts; `at` is null where they fill their slots
  std::byte* target;
  std::int64_t target_stride;
  std::int32_t count;
  std::int64_t* lengths;  // receives the bytes of each text
};

// Readers and writers of short_numbers.h: of at most `short_rows` rows they convert leading ones and return how many.
using ReadShort = std::int32_t(const ZVRTPlan& plan, const Rows& rows, ShortNumbers& numbers);
using WriteShort = std::int32_t(const ZVRTPlan& plan, const Rows& rows, const ShortNumbers& numbers);

constexpr std::int32_t direct_rows = 256;  // at most, a call

// Texts of more bytes are left to blocks.
constexpr std::int32_t direct_text_bytes = 64;

struct DirectKernels {
  Direct* packed_to_int64;
  Direct* packed_to_decimal;
  Direct* page_to_narrow;  // a page's bytes to ASCII
  Direct* page_to_wide;    // ... to wide characters
  Direct* utf8_to_page;    // ASCII to a page's bytes
  Direct* utf8_to_wide;    // ... to wide characters
  Direct* wide_to_page;    // ASCII, from texts without flags; null: the level has none
};

// Well-formed text of all of Unicode, without flags.
struct TranscodingKernels {
  Direct* utf8_to_wide;
  Direct* wide_to_utf8;
};
extern const TranscodingKernels transcoding_kernels_avx512;

extern const DirectKernels direct_kernels_baseline;
extern const DirectKernels direct_kernels_avx512;

// Those of this machine.
const DirectKernels& direct_kernels();

// Kernels in plain code over the shared transcoding kernels; null where the pair has none.
Direct* find_direct_transcoding(const ZVRTPlan& plan);
Direct* find_direct_number(ZVRTPlan& plan);
Direct* find_direct_float(const ZVRTPlan& plan);
Direct* find_direct_date(const ZVRTPlan& plan);
// Of a plan that checks: a kernel that takes the rows which hold a value, and writes nothing.
Direct* find_direct_check(const Type& type);

// Text that has a kernel's form: of these flags at most, besides those that say what a null is.
bool is_plain_text(const Type& type, std::uint32_t flags);

// A field of up to 15 digits, its sign in the last half-byte.
bool is_short_packed(const Type& type);

// The rows after the first ones.
inline Rows rows_after(const Rows& rows, std::int32_t done, Entries& lengths) {
  lengths = *rows.source_lengths;
  if (lengths.at != nullptr) lengths.at += done * lengths.stride;
  return {rows.source + done * rows.source_stride,
          rows.source_stride,
          &lengths,
          rows.target + done * rows.target_stride,
          rows.target_stride,
          rows.count - done,
          rows.lengths + done};
}

// The kernel of a pair, or null.
Direct* find_direct(ZVRTPlan& plan);

// Whether a run's places are such that its plan's kernel may take them.
bool suits_direct(const ZVRTPlan& plan, const Places& from, const Places& to);

// What a text's slot takes: the room for its bytes, and what ends or fills it.
struct TextSlot {
  std::int32_t offset;    // of the text in the slot
  std::int32_t capacity;  // bytes
  bool is_terminated;
  bool is_padded;
  bool is_prefixed;
};
TextSlot text_slot(const Type& type);

}  // namespace zvrt::columns
