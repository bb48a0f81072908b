// A cell is copied and looked through at once, sixteen bytes at a time; of one that turns out to need quotes the copy is
// written again. Blocks at a cell's end overlap, so that nothing outside the cell is read:
//
//   cell of 21 bytes  [................]          first block
//                          [................]     the last 16 bytes
//
// The greatest length of a block's rows is known from its cells' lengths, so that they are written without looking at the
// room.
#include "records/tables/csv_format.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "records/files/failure.h"

namespace zvrt::records {
namespace {

__extension__ using Bytes = unsigned char __attribute__((vector_size(16)));

Bytes all(char c) { return Bytes{} + static_cast<unsigned char>(c); }

// A byte is FF where quotes are needed.
Bytes special(const Bytes& bytes, char delimiter) {
  return reinterpret_cast<Bytes>(bytes == all(delimiter)) | reinterpret_cast<Bytes>(bytes == all('"')) |
         reinterpret_cast<Bytes>(bytes == all('\n')) | reinterpret_cast<Bytes>(bytes == all('\r'));
}

bool any(const Bytes& bytes) {
  std::array<std::uint64_t, 2> halves{};
  std::memcpy(halves.data(), &bytes, sizeof bytes);
  return (halves[0] | halves[1]) != 0;
}

Bytes copy_block(char* to, const char* from) {
  Bytes bytes;
  std::memcpy(&bytes, from, sizeof bytes);
  std::memcpy(to, &bytes, sizeof bytes);
  return bytes;
}

// Two words that may overlap, of a cell of one word to two.
template <class Word>
Bytes copy_words(char* to, const char* from, std::size_t size) {
  std::array<Word, sizeof(Bytes) / sizeof(Word)> words{};
  std::memcpy(words.data(), from, sizeof(Word));
  std::memcpy(words.data() + 1, from + size - sizeof(Word), sizeof(Word));
  std::memcpy(to, words.data(), sizeof(Word));
  std::memcpy(to + size - sizeof(Word), words.data() + 1, sizeof(Word));
  Bytes bytes;
  std::memcpy(&bytes, words.data(), sizeof bytes);
  return bytes;
}

// True if the cell holds what needs quotes.
bool copy(char* to, std::string_view cell, char delimiter) {
  const std::size_t size = cell.size();
  const char* const from = cell.data();
  if (size >= sizeof(Bytes)) {
    Bytes found = special(copy_block(to + size - sizeof(Bytes), from + size - sizeof(Bytes)), delimiter);
    for (std::size_t i = 0; i + sizeof(Bytes) < size; i += sizeof(Bytes))
      found |= special(copy_block(to + i, from + i), delimiter);
    return any(found);
  }
  if (size >= 8) return any(special(copy_words<std::uint64_t>(to, from, size), delimiter));
  if (size >= 4) return any(special(copy_words<std::uint32_t>(to, from, size), delimiter));
  if (size >= 2) return any(special(copy_words<std::uint16_t>(to, from, size), delimiter));
  *to = *from;
  return *from == delimiter || *from == '"' || *from == '\n' || *from == '\r';
}

bool is_blank(char c) { return c == ' ' || c == '\t'; }

}  // namespace

CsvFormat::CsvFormat(const std::vector<TableColumn>& columns, const TableOptions& options)
    : delimiter_(options.delimiter), null_(options.null_text.value_or("")), empty_is_null_(!options.null_text) {
  for (const TableColumn& column : columns) names_.push_back(column.name);
}

char* CsvFormat::put(char* at, std::string_view cell) const {
  const bool quotes =
      cell.empty() ? empty_is_null_ : copy(at, cell, delimiter_) || is_blank(cell.front()) || is_blank(cell.back());
  if (!quotes) return at + cell.size();
  *at++ = '"';
  for (const char c : cell) {
    *at++ = c;
    if (c == '"') *at++ = c;
  }
  *at++ = '"';
  return at;
}

void CsvFormat::header(TextBuffer& text) const {
  for (std::size_t i = 0; i < names_.size(); ++i) {
    if (i != 0) text += delimiter_;
    text.end_at(put(text.room(2 * names_[i].size() + 2), names_[i]));
  }
  text += newline_;
}

char* CsvFormat::put_row(char* at, const RowBlock& block, std::size_t row) const {
  for (const CellColumn& column : block.columns) {
    if (column.is_null(row)) {
      std::memcpy(at, null_.data(), null_.size());
      at += null_.size();
    } else {
      at = put(at, column.at(row));
    }
    *at++ = delimiter_;
  }
  std::memcpy(--at, newline_.data(), newline_.size());
  return at + newline_.size();
}

void CsvFormat::rows(const RowBlock& block, TextBuffer& text) const {
  std::size_t room = block.rows.size() * (block.columns.size() * (3 + null_.size()) + newline_.size());
  for (const CellColumn& column : block.columns)
    for (const std::uint32_t row : block.rows) room += 2 * static_cast<std::size_t>(std::max(column.lengths[row], 0));
  char* at = text.room(room);
  for (const std::uint32_t row : block.rows) {
    if (block.columns.size() == 1 && empty_is_null_ && block.columns[0].is_null(row))
      throw Failure("a CSV file of one column cannot hold a null; --null-text gives nulls a text");
    at = put_row(at, block, row);
  }
  text.end_at(at);
}

}  // namespace zvrt::records
