#include "records/formats/record_writer.h"

#include <fmt/format.h>

#include "records/files/failure.h"
#include "records/formats/framer.h"

namespace zvrt::records {
namespace {
constexpr std::size_t buffer_bytes = 1 << 18;
constexpr std::size_t word_bytes = 4;
}  // namespace

RecordWriter::RecordWriter(OutputFile& file, FormatOptions options) : file_(file), options_(std::move(options)) {
  buffer_.reserve(buffer_bytes + buffer_bytes / 4);
}

void RecordWriter::write(std::string_view record, const Surroundings* around) {
  // What is not known of the bytes before a record are zeros.
  const std::size_t wanted = (first_ ? options_.skip_header : 0) + options_.record_header;
  std::string head = around != nullptr ? around->before : std::string();
  const bool is_line = around != nullptr && options_.format == RecordFormat::lines;  // it may have been shorter
  if (head.size() < wanted && !is_line) head.insert(0, wanted - head.size(), '\0');
  first_ = false;
  trailer_written_ = around != nullptr && around->after.size() >= options_.skip_trailer;
  switch (options_.format) {
    case RecordFormat::fixed: buffer_.append(head).append(record); break;
    case RecordFormat::variable:
      buffer_.append(head).append(word_of_length(record.size(), options_.words)).append(record);
      break;
    case RecordFormat::variable_blocked: {
      // What stands before the first record of a file stands before its block.
      const std::size_t outside = head.size() - std::min(head.size(), options_.record_header);
      const std::size_t needed = head.size() - outside + word_bytes + record.size();
      begin_block(needed, around);
      if (outside != 0) end_block();
      buffer_.append(head, 0, outside);
      block_.append(head, outside).append(word_of_length(record.size(), options_.words)).append(record);
      break;
    }
    case RecordFormat::lines:
      buffer_.append(head);
      write_line(record, around);
      break;
  }
  if (around != nullptr && options_.format != RecordFormat::lines && !around->after.empty()) {
    end_block();
    buffer_.append(around->after);
  }
  if (buffer_.size() >= buffer_bytes) flush();
}

void RecordWriter::begin_block(std::size_t needed, const Surroundings* around) {
  const bool told = around != nullptr && around->block != 0;
  const bool other = told && around->block != block_number_;
  const bool full = !told && block_.size() + needed + word_bytes > options_.block_length;
  if (other || full) end_block();
  if (told) block_number_ = around->block;
}

void RecordWriter::end_block() {
  if (block_.empty()) return;
  LengthWords words = options_.words;
  words.adjust = 0;
  const std::size_t length = block_.size();
  if (length + word_bytes <= 0x7FFF) {
    buffer_.append(word_of_length(length, words));
  } else {  // the form for long blocks: 31 bits, the highest bit set
    if (!words.big_endian) throw Failure(fmt::format("a block of {} bytes needs a big-endian length word", length));
    const std::size_t told = length + (words.include_themselves ? word_bytes : 0);
    for (const unsigned shift : {24U, 16U, 8U, 0U})
      buffer_.push_back(static_cast<char>((told >> shift & 0xFF) | (shift == 24 ? 0x80U : 0U)));
  }
  buffer_.append(block_);
  block_.clear();
}

// Trailing blanks are not written, unless the record comes with the newline that it had.
void RecordWriter::write_line(std::string_view record, const Surroundings* around) {
  if (around != nullptr) {
    buffer_.append(record).append(around->after);
    return;
  }
  const std::size_t last = record.find_last_not_of(options_.blank);
  buffer_.append(record.substr(0, last == std::string_view::npos ? 0 : last + 1)).append(options_.newline);
}

void RecordWriter::flush() {
  file_.write(buffer_);
  buffer_.clear();
}

void RecordWriter::finish() {
  end_block();
  if (!trailer_written_) buffer_.append(options_.skip_trailer, '\0');
  if (first_) buffer_.append(options_.skip_header, '\0');
  flush();
}

}  // namespace zvrt::records
