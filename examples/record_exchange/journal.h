// What a run did: every cell counted by its status, every refusal written down, its pace shown.
#ifndef RECORD_EXCHANGE_JOURNAL_H
#define RECORD_EXCHANGE_JOURNAL_H

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "layout.h"

namespace record_exchange {

struct Counts {
  std::uint64_t rows_read = 0;
  std::uint64_t rows_carried = 0;   // written, or compared
  std::uint64_t rows_left_out = 0;  // for a cell that was refused
  std::uint64_t rows_missing = 0;   // verify: rows that only one side has
  std::uint64_t refusals = 0;
  double seconds = 0;
  // For each field the statuses met, with their counts.
  std::vector<std::vector<std::pair<Status, std::uint64_t>>> by_field;
};

// A bar on standard error, where that is a terminal.
class Progress {
 public:
  explicit Progress(std::string label);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  bool visible() const { return visible_; }
  void expect(std::optional<std::uint64_t> rows) { expected_ = rows; }
  void show(std::uint64_t rows);

 private:
  std::string label_;
  bool visible_;
  std::optional<std::uint64_t> expected_;
};

class Journal {
 public:
  // Refusals go into `rejects`, which is made with the first of them.
  Journal(const Layout& layout, std::string label, std::string rejects);

  Progress& progress() { return progress_; }
  Counts& counts() { return counts_; }

  void row_read();
  void cell(std::size_t field, Status status);
  // Of `record` (from 1); `bytes` is the value refused: a table's text, or a record's field.
  void refusal(std::uint64_t record, std::size_t field, std::string_view bytes, Status status);
  // A refusal that is not one field's.
  void refusal(std::uint64_t record, std::string_view field, std::size_t offset, std::string_view bytes, Status status);
  Counts finish();

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  const Layout& layout_;
  std::string rejects_name_;
  std::unique_ptr<std::FILE, Close> rejects_;
  Counts counts_;
  Progress progress_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace record_exchange

#endif
