// The structures of Arrow's C data interface, under the guards that every producer and consumer of it uses: whichever
// header comes first declares them. Their layout is fixed for good, which is what lets libraries share them without
// sharing a header.
//
// Whoever is handed a structure releases it by its own callback and then finds `release` null; a structure whose
// `release` is null is released, or was moved away by a plain copy of its bytes.
#pragma once

#include <cstdint>

#ifndef ARROW_C_DATA_INTERFACE
#define ARROW_C_DATA_INTERFACE

#define ARROW_FLAG_DICTIONARY_ORDERED 1
#define ARROW_FLAG_NULLABLE 2
#define ARROW_FLAG_MAP_KEYS_SORTED 4

struct ArrowSchema {
  const char* format;  // the type, in a word of a small language: "l" is int64, "d:9,2" a decimal
  const char* name;
  const char* metadata;
  std::int64_t flags;
  std::int64_t n_children;
  struct ArrowSchema** children;
  struct ArrowSchema* dictionary;  // the type of the values; `format` is then that of the indices
  void (*release)(struct ArrowSchema*);
  void* private_data;
};

struct ArrowArray {
  std::int64_t length;
  std::int64_t null_count;  // -1: not counted
  std::int64_t offset;      // of the first row, in rows, in every buffer
  std::int64_t n_buffers;
  std::int64_t n_children;
  const void** buffers;  // the validity bitmap first, or null for it
  struct ArrowArray** children;
  struct ArrowArray* dictionary;
  void (*release)(struct ArrowArray*);
  void* private_data;
};

#endif
