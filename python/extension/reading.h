// A record file as Python reads it: what to read, and passes over it.
//
// A Reading says all that a pass needs and never changes; each pass has a reader and a journal of its own. A pass works
// without the interpreter lock, in whatever thread its batches are asked for.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "job.h"
#include "options.h"
#include "records/arrow/typed_records.h"
#include "records/formats/cuts.h"
#include "records/formats/record_reader.h"
#include "routing.h"

namespace zvrt::python {

// A copybook that another one asked for by COPY, or that there is none.
struct Copied {
  std::string name;
  std::string library;
  std::string asking;
  std::optional<records::CopiedText> found;
};

// A copybook's text, those that it copies, and how they are laid out. A Layout is made of it for each use, as it cannot be
// copied; files are looked for once, so that it stays the same wherever it is made again.
struct LayoutText {
  std::string text;
  std::string name;  // in messages
  records::LayoutOptions options;
  std::vector<Copied> copies;

  // Makes the layout for the first time, and finds what it copies in folders.
  void find_copies(const std::vector<std::string>& folders);
  records::Layout make() const;
};

// What a pass met, told while it goes on.
struct Journal {
  static constexpr std::size_t most_kept = 100'000;
  std::mutex mutex;
  std::vector<records::RefusedCell> refusals;  // the first of them
  std::uint64_t refused = 0;                   // all of them
  std::uint64_t read = 0;                      // records
  std::uint64_t carried = 0;                   // rows
};

// Bytes that Python lends, given back with the last holder.
struct LentBytes {
  LentBytes() = default;
  LentBytes(const LentBytes&) = delete;
  LentBytes& operator=(const LentBytes&) = delete;
  ~LentBytes();
  std::string_view view() const { return {static_cast<const char*>(buffer.buf), static_cast<std::size_t>(buffer.len)}; }
  Py_buffer buffer{};
};

class Reading {
 public:
  // Of `files`, or of `bytes` where that is not null.
  Reading(const LayoutText& layout, Options options, std::vector<std::string> files, std::shared_ptr<LentBytes> bytes);

  const Options& options() const { return options_; }
  const records::Job& job() const { return job_; }
  std::size_t segment() const { return segment_; }
  const records::TypedRecords& typed() const { return typed_; }
  // The reader, and the number of records before the first one that it delivers.
  std::unique_ptr<records::RecordReader> open(std::uint64_t& before) const;
  // The file in at most so many parts of about one size.
  std::vector<records::Cut> cuts(std::size_t parts) const;

 private:
  Options options_;
  std::vector<std::string> files_;
  std::shared_ptr<LentBytes> bytes_;
  records::Job job_;
  records::FormatOptions format_;
  std::size_t segment_;
  records::TypedRecords typed_;
};

class Pass {
 public:
  Pass(std::shared_ptr<const Reading> reading, std::shared_ptr<Journal> journal);
  // The next batch with rows, or null after the last one. Any thread, without the interpreter lock.
  records::SharedBatch next();

 private:
  records::SharedBatch take(const records::RecordBlock& block);
  bool wants(std::uint64_t record) const { return record >= reading_->options().first && record <= last_; }
  std::vector<records::RefusedCell> strays(const records::RecordBlock& block,
                                           const std::vector<std::size_t>& unknown) const;
  void tell(std::vector<records::RefusedCell>& refusals, std::uint64_t read, std::uint64_t carried);

  std::mutex mutex_;
  std::shared_ptr<const Reading> reading_;
  std::shared_ptr<Journal> journal_;
  records::Router router_;
  std::uint64_t before_ = 0;
  std::uint64_t last_;  // number of the last record that is wanted
  std::unique_ptr<records::RecordReader> reader_;
  records::RecordBlock block_;
  bool ended_ = false;
};

}  // namespace zvrt::python
