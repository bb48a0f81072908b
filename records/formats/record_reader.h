// Reads record files, one after the other, a block of records at a time.
//
// A block owns its bytes, so that another thread can work on it while the next one is read. The bytes of a record that
// is not whole yet are carried into the next block:
//
//   file    [header][rec][rec][rec][re|c][rec][rec]...[rec][trailer]
//   block 1         [rec][rec][rec]  re                               starts, lengths
//   block 2                       [rec][rec][rec]
//
// One byte more than the trailer stays back until the file's end is known, since only then the last record and the
// trailer can be told apart.
#ifndef ZVRT_RECORDS_FORMATS_RECORD_READER_H
#define ZVRT_RECORDS_FORMATS_RECORD_READER_H

#include <memory>
#include <string>
#include <vector>

#include "records/files/input_file.h"
#include "records/formats/framer.h"

namespace zvrt::records {

// Bytes that belong to no record, or whose length words lead nowhere.
struct Damage {
  std::string file;
  std::uint64_t offset = 0;  // in the file
  std::uint64_t bytes = 0;
  std::uint64_t record = 0;  // number of the record that would have begun there
  std::string first;         // the first of the bytes
  std::string why;
};

// What stands around a record and is no length word: headers before it, a newline or a trailer after it.
struct Surroundings {
  std::string before;
  std::string after;
  std::uint64_t block = 0;  // VB: number of its block, from 1
};

struct RecordBlock {
  std::vector<char> bytes;
  std::vector<std::int64_t> starts;   // of the records, in bytes
  std::vector<std::int32_t> lengths;  // without what stands before and after them
  std::int64_t stride = 0;            // from record to record where all have one length and distance; else 0
  std::uint64_t first = 0;            // number of the first record, from 1
  std::uint64_t offset = 0;           // of bytes[0] in its file
  std::vector<Damage> damages;
  std::vector<Surroundings> surroundings;  // of each record where they are kept

  std::size_t count() const { return starts.size(); }
  void clear();
};

// Between two records, or two blocks of VB.
struct ReadingPlace {
  std::uint64_t records = 0;  // before it
  std::uint64_t byte = 0;     // of all files, one after the other
  std::uint64_t block = 0;    // VB: blocks before it
};

class RecordReader {
 public:
  RecordReader(std::vector<std::string> files, FormatOptions options);
  // One input in place of files.
  RecordReader(std::unique_ptr<Input> input, FormatOptions options);
  // Before the first next(): reads on from a place that place() told. Throws a Failure where a file has no size.
  void start_at(const ReadingPlace& place);
  // The same, after so many records, where that can be calculated: fixed records in regular files. Else false.
  bool start_after(std::uint64_t records);
  // Records of fixed length in regular files; nothing where they have to be read to be counted.
  std::optional<std::uint64_t> fixed_records() const;
  // Where the next block begins.
  ReadingPlace place() const;
  // False after the last record.
  bool next(RecordBlock& block);
  // Bytes that there are to read where that is known, and how many of them were read.
  std::optional<std::uint64_t> total_bytes() const {
    return total_ ? std::optional(*total_ - start_byte_) : std::nullopt;
  }
  std::uint64_t bytes_read() const { return done_before_ + (file_ ? file_->offset() : 0) - start_byte_; }

 private:
  std::optional<std::uint64_t> fixed_records_of(const std::string& file) const;
  void learn_newline();
  bool open_next();
  void load(RecordBlock& block, std::size_t capacity);
  bool frame(RecordBlock& block);
  bool skip_header(const RecordBlock& block);
  void add_record(RecordBlock& block, const Frame& frame);
  void add_damage(RecordBlock& block, const Frame& frame);
  void end_file(RecordBlock& block);
  static void finish(RecordBlock& block);

  std::vector<std::string> files_;
  FormatOptions options_;
  std::unique_ptr<Framer> framer_;
  std::size_t next_file_ = 0;
  std::unique_ptr<Input> file_;
  std::vector<char> carry_;
  std::uint64_t carry_offset_ = 0;  // of carry_ in the file
  std::size_t place_ = 0;           // in the block that is framed
  bool header_skipped_ = false;
  bool ended_ = false;  // the file has no more bytes
  std::string before_;  // of the next record
  std::uint64_t block_number_ = 0;
  std::uint64_t records_ = 0;
  std::optional<std::uint64_t> total_;
  std::uint64_t done_before_ = 0;
  std::uint64_t start_byte_ = 0;
};

}  // namespace zvrt::records

#endif
