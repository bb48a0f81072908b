// Readers and writers of text, and the steps between text and the other canonical forms.
#pragma once

#include "columns/arena.h"
#include "columns/block.h"
#include "columns/type.h"

namespace zvrt::columns {

Read read_utf8_text, read_table_text, read_utf16_text, read_wide_text, read_service_text;
Write write_utf8_text, write_table_text, write_utf16_text, write_wide_text, write_service_text;

// The reader and the writer of a type of text.
Read* text_reader(const Type& type);
Write* text_writer(const Type& type);

// What a source's flags ask of a text that was read: low-values as blanks, trimming. False: the block ends before it.
bool tidy_text(const Type& type, Block& block, std::int32_t i);

// A slot's part for the text itself: after a prefix, before a terminator.
struct Room {
  std::byte* at;
  std::int64_t bytes;
};
Room room_of(const Type& type, std::byte* slot);

// What a slot holds besides the text.
constexpr std::int64_t overhead(const Type& type) {
  return type.extent == Extent::prefixed ? 2 : type.extent == Extent::terminated ? type.unit : 0;
}

// Bytes that stand in the slot's room already become its value: prefix, terminator, padding, length.
void close_slot(const Type& type, Block& block, std::int32_t i, std::int64_t bytes);

// The value's encoded text into its slot; 1609 where it does not fit, cut as the type says. The bytes are left as they
// are unless they stand in the arena.
void place_text(const Type& type, Block& block, std::int32_t i, const std::byte* bytes, std::int64_t count);

// Whether a text may go into the slot's kind at all: no zero character where one ends it.
bool refuse_zero(const Type& type, Block& block, std::int32_t i);

}  // namespace zvrt::columns
