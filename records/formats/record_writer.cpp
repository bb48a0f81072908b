#include "records/formats/record_writer.h"

#include <fmt/format.h>

#include "ZVRTColumns.h"
#include "records/files/failure.h"
#include "records/formats/framer.h"

namespace zvrt::records {
namespace {
constexpr std::size_t buffer_bytes = 1 << 18;
constexpr std::size_t word_bytes = 4;
}  // namespace

RecordWriter::RecordWriter(OutputFile& file, FormatOptions options)
    : file_(file), options_(std::move(options)), newline_(options_.newline.back()) {
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
    case RecordFormat::fixed:
      buffer_.append(head).append(record);
      if (!options_.length_of && record.size() < options_.record_length)
        buffer_.append(options_.record_length - record.size(), options_.blank);
      break;
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
      if (line_is_open_) buffer_.append(options_.newline);
      buffer_.append(head).append(record).append(around != nullptr ? around->after : options_.newline);
      if (around != nullptr && !around->after.empty()) newline_ = around->after.back();
      line_is_open_ = around != nullptr && around->after.empty();
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

bool RecordWriter::holds_newline(std::string_view record, const Surroundings* around) const {
  if (options_.format != RecordFormat::lines) return false;
  const std::string_view after = around != nullptr ? std::string_view(around->after) : options_.newline;
  const char newline = after.empty() ? newline_ : after.back();
  // The first line of a file tells the reader which of several bytes ends a line.
  if (first_ && record.find_first_of(options_.newlines) != std::string_view::npos) return true;
  return record.find(newline) != std::string_view::npos || (after == "\n" && record.ends_with('\r'));
}

bool RecordWriter::has_length(std::string_view record, const Surroundings* around) const {
  if (options_.format == RecordFormat::lines) return true;
  if (options_.format != RecordFormat::fixed) return has_word(record.size(), options_.words);
  if (!options_.length_of)
    return around != nullptr ? record.size() == options_.record_length : record.size() <= options_.record_length;
  const auto own = options_.length_of(record.data(), record.size());
  return own && own->why.empty() && own->bytes == record.size();
}

Status RecordWriter::refusal(std::string_view record, const Surroundings* around) const {
  if (holds_newline(record, around)) return rx_newline;
  return has_length(record, around) ? Status{ZVRT_RC_OK} : Status{rx_length};
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
