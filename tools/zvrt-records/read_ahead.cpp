#include "read_ahead.h"

#include <chrono>

#include "records/files/interruption.h"

namespace zvrt::records {
namespace {

constexpr std::chrono::milliseconds between_looks(50);

}  // namespace

ReadAhead::ReadAhead(std::unique_ptr<TableReader> table) : table_(std::move(table)), thread_([this] { read(); }) {}

// A thread that waits for more of a pipe is woken until it sees that it has to end.
ReadAhead::~ReadAhead() {
  std::unique_lock lock(mutex_);
  stops_ = true;
  changed_.notify_all();
  while (!changed_.wait_for(lock, between_looks, [this] { return ended_; })) {
    abandon(true);
    wake(thread_.native_handle());
  }
  lock.unlock();
  thread_.join();
  abandon(false);
}

void ReadAhead::read() {
  CellBlock block;
  for (bool more = true; more;) {
    std::exception_ptr failure;
    try {
      more = table_->next(block);
    } catch (...) {
      failure = std::current_exception();
      more = false;
    }
    const Progress progress = more && wanted_ ? table_->progress() : Progress();
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !ready_ || stops_; });
    if (stops_) break;
    std::swap(block, block_);
    if (more) progress_ = progress;
    more_ = more;
    failure_ = failure;
    ready_ = true;
    changed_.notify_all();
  }
  const std::lock_guard lock(mutex_);
  ended_ = true;
  changed_.notify_all();
}

bool ReadAhead::next(CellBlock& block) {
  std::unique_lock lock(mutex_);
  while (!changed_.wait_for(lock, between_looks, [this] { return ready_; }))
    if (was_interrupted()) wake(thread_.native_handle());
  if (failure_) std::rethrow_exception(failure_);
  if (!more_) return false;
  std::swap(block, block_);
  ready_ = false;
  changed_.notify_all();
  return true;
}

TableReader::Progress ReadAhead::progress() {
  wanted_ = true;
  const std::lock_guard lock(mutex_);
  return progress_;
}

}  // namespace zvrt::records
