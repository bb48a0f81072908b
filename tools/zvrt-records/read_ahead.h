// A table that is read in a thread of its own, a block ahead of whoever takes its blocks.
#ifndef ZVRT_TOOLS_ZVRT_RECORDS_READ_AHEAD_H
#define ZVRT_TOOLS_ZVRT_RECORDS_READ_AHEAD_H

#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>

#include "records/tables/table.h"

namespace zvrt::records {

class ReadAhead final : public TableReader {
 public:
  explicit ReadAhead(std::unique_ptr<TableReader> table);
  ReadAhead(const ReadAhead&) = delete;
  ReadAhead& operator=(const ReadAhead&) = delete;
  ~ReadAhead() override;

  bool next(CellBlock& block) override;
  bool has(std::size_t column) const override { return table_->has(column); }
  Progress progress() override;

 private:
  void read();

  std::unique_ptr<TableReader> table_;
  std::mutex mutex_;
  std::condition_variable changed_;
  CellBlock block_;  // the next one, if `ready_`
  Progress progress_;
  std::atomic<bool> wanted_ = false;  // somebody asks for the progress, which may cost the table something
  bool ready_ = false;
  bool more_ = true;  // false with `ready_`: there is none
  bool stops_ = false;
  bool ended_ = false;
  std::exception_ptr failure_;
  std::thread thread_;
};

}  // namespace zvrt::records

#endif
