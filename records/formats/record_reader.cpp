#include "records/formats/record_reader.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>

#include "records/files/failure.h"

namespace zvrt::records {
namespace {

constexpr std::size_t most_bytes = 1 << 26;  // that a single record may make a block grow to
constexpr std::size_t shown_bytes = 256;     // of a damage

std::optional<std::uint64_t> size_of(const std::string& file) {
  struct stat found {};
  if (file == "-" ? fstat(0, &found) != 0 : stat(file.c_str(), &found) != 0) return std::nullopt;
  if (!S_ISREG(found.st_mode)) return std::nullopt;
  return static_cast<std::uint64_t>(found.st_size);
}

}  // namespace

void RecordBlock::clear() {
  starts.clear();
  lengths.clear();
  damages.clear();
  surroundings.clear();
  stride = 0;
}

RecordReader::RecordReader(std::vector<std::string> files, FormatOptions options)
    : files_(std::move(files)), options_(std::move(options)), framer_(make_framer(options_)), total_(0) {
  for (const std::string& file : files_) {
    const auto size = size_of(file);
    total_ = size && total_ ? std::optional(*total_ + *size) : std::nullopt;
  }
}

RecordReader::RecordReader(std::unique_ptr<Input> input, FormatOptions options)
    : options_(std::move(options)), framer_(make_framer(options_)), file_(std::move(input)) {
  framer_->begin_file();
  carry_offset_ = file_->offset();
}

void RecordReader::start_at(const ReadingPlace& place) {
  records_ = place.records;
  block_number_ = place.block;
  start_byte_ = place.byte;
  while (next_file_ < files_.size()) {
    const auto size = size_of(files_[next_file_]);
    if (!size) throw Failure(files_[next_file_] + ": only a regular file can be read from its middle");
    if (done_before_ + *size > place.byte || next_file_ + 1 == files_.size()) break;
    done_before_ += *size;
    ++next_file_;
  }
  const std::uint64_t offset = place.byte - done_before_;
  if (offset == 0) return;
  if (offset > *size_of(files_[next_file_]))
    throw Failure(fmt::format("{}: ends before byte {}", files_.back(), place.byte));
  open_next();
  learn_newline();
  file_ = std::make_unique<InputFile>(files_[next_file_ - 1], Extent{offset});
  carry_offset_ = offset;
  header_skipped_ = true;
}

// The first end of a line tells what ends all lines of the file.
void RecordReader::learn_newline() {
  if (options_.format != RecordFormat::lines || options_.newlines.size() == 1) return;
  std::vector<char> bytes(options_.skip_header + options_.block_bytes);
  const std::size_t count = file_->read(bytes.data(), bytes.size());
  if (count > options_.skip_header)
    framer_->next(bytes.data() + options_.skip_header, count - options_.skip_header, false);
}

// Fixed records of a regular file.
std::optional<std::uint64_t> RecordReader::fixed_records_of(const std::string& file) const {
  const auto size = file == "-" ? std::nullopt : size_of(file);
  if (!size || options_.format != RecordFormat::fixed || options_.length_of) return std::nullopt;
  const std::uint64_t around = options_.skip_header + options_.skip_trailer;
  return *size < around ? 0 : (*size - around) / (options_.record_header + options_.record_length);
}

std::optional<std::uint64_t> RecordReader::fixed_records() const {
  std::uint64_t records = 0;
  for (const std::string& file : files_) {
    const auto there = fixed_records_of(file);
    if (!there) return std::nullopt;
    records += *there;
  }
  return records;
}

bool RecordReader::start_after(std::uint64_t records) {
  if (!fixed_records()) return false;
  ReadingPlace place{records, 0, 0};
  for (const std::string& file : files_) {
    const std::uint64_t there = *fixed_records_of(file);
    if (records <= there) {
      if (records != 0)
        place.byte += options_.skip_header + records * (options_.record_header + options_.record_length);
      break;
    }
    records -= there;
    place.byte += *size_of(file);
  }
  start_at(place);
  return true;
}

ReadingPlace RecordReader::place() const {
  return {records_, done_before_ + (file_ ? carry_offset_ : 0), block_number_};
}

bool RecordReader::open_next() {
  if (next_file_ == files_.size()) return false;
  file_ = std::make_unique<InputFile>(files_[next_file_++]);
  framer_->begin_file();
  carry_.clear();
  carry_offset_ = 0;
  header_skipped_ = false;
  ended_ = false;
  return true;
}

bool RecordReader::next(RecordBlock& block) {
  block.clear();
  block.first = records_ + 1;
  std::size_t capacity = options_.block_bytes;
  while (file_ || open_next()) {
    load(block, capacity);
    const bool at_end = frame(block);
    carry_.assign(block.bytes.begin() + static_cast<std::ptrdiff_t>(place_), block.bytes.end());
    carry_offset_ = block.offset + place_;
    if (at_end) end_file(block);
    if (block.count() != 0 || !block.damages.empty()) {
      finish(block);
      return true;
    }
    if (!at_end && place_ == 0) capacity *= 2;
    if (capacity > most_bytes)
      throw Failure(
          fmt::format("{}: the record at byte {} is longer than {} bytes", file_->name(), block.offset, most_bytes));
  }
  return false;
}

void RecordReader::load(RecordBlock& block, std::size_t capacity) {
  const std::size_t kept = carry_.size();
  block.offset = carry_offset_;
  block.bytes.resize(std::max(capacity, kept * 2));
  std::copy(carry_.begin(), carry_.end(), block.bytes.begin());
  if (!ended_) {
    const std::size_t wanted = block.bytes.size() - kept;
    const std::size_t count = file_->read(block.bytes.data() + kept, wanted);
    ended_ = count < wanted;
    block.bytes.resize(kept + count);
  } else {
    block.bytes.resize(kept);
  }
}

bool RecordReader::skip_header(const RecordBlock& block) {
  if (header_skipped_) return true;
  if (block.bytes.size() < options_.skip_header) return false;
  place_ = options_.skip_header;
  header_skipped_ = true;
  if (options_.keep_surroundings) before_.append(block.bytes.data(), place_);
  return true;
}

// Takes all records that are there whole. True when the file has none left.
bool RecordReader::frame(RecordBlock& block) {
  place_ = 0;
  const std::size_t size = block.bytes.size();
  const std::size_t reserved = options_.skip_trailer + (ended_ ? 0 : 1);
  if (!skip_header(block) || size - place_ < reserved) {
    if (!ended_) return false;
    place_ = 0;
    if (size != 0)
      add_damage(block, {Frame::Kind::damage, size, 0, 0, "the file is shorter than its header and trailer"});
    return true;
  }
  const std::size_t limit = size - reserved;
  for (;;) {
    const Frame frame = framer_->next(block.bytes.data() + place_, limit - place_, ended_);
    switch (frame.kind) {
      case Frame::Kind::more: return false;
      case Frame::Kind::end: return true;
      case Frame::Kind::skip: ++block_number_; break;
      case Frame::Kind::record: add_record(block, frame); break;
      case Frame::Kind::damage: add_damage(block, frame); break;
    }
    place_ += frame.total();
  }
}

void RecordReader::add_record(RecordBlock& block, const Frame& frame) {
  block.starts.push_back(static_cast<std::int64_t>(place_ + frame.before));
  block.lengths.push_back(static_cast<std::int32_t>(frame.length));
  ++records_;
  if (!options_.keep_surroundings) return;
  const char* const start = block.bytes.data() + place_;
  Surroundings around{std::move(before_), std::string(start + frame.before + frame.length, frame.after), block_number_};
  before_.clear();
  around.before.append(start, std::min(options_.record_header, frame.before));  // a line may be shorter
  block.surroundings.push_back(std::move(around));
}

void RecordReader::add_damage(RecordBlock& block, const Frame& frame) {
  const std::uint64_t offset = block.offset + place_;
  if (!block.damages.empty()) {
    Damage& before = block.damages.back();
    if (before.offset + before.bytes == offset) {
      before.bytes += frame.before;
      return;
    }
  }
  const std::size_t shown = std::min(frame.before, shown_bytes);
  block.damages.push_back(
      {file_->name(), offset, frame.before, records_ + 1, std::string(block.bytes.data() + place_, shown), frame.why});
}

// What is left is the trailer; it belongs to the last record.
void RecordReader::end_file(RecordBlock& block) {
  if (!block.surroundings.empty() && carry_.size() == options_.skip_trailer)
    block.surroundings.back().after.append(carry_.data(), carry_.size());
  done_before_ += file_->offset();
  file_.reset();
}

// The stride of records that stand at equal distances.
void RecordReader::finish(RecordBlock& block) {
  const std::size_t count = block.count();
  if (count == 0) return;
  const std::int64_t stride = count > 1 ? block.starts[1] - block.starts[0] : block.lengths[0];
  for (std::size_t i = 1; i < count; ++i)
    if (block.starts[i] - block.starts[i - 1] != stride || block.lengths[i] != block.lengths[0]) return;
  block.stride = stride;
}

}  // namespace zvrt::records
