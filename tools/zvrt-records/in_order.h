// Parts of an input that several threads convert, and whose results are taken in the input's order.
//
// Every thread does the same: it reads the next part, converts it, waits for its turn and delivers it.
//
//   thread 1  read 1 | convert 1 ........ | deliver 1 | read 3 | convert 3 ...
//   thread 2           read 2 | convert 2 ........ wait | deliver 2 | read 4 ...
//
// One thread at a time reads and one at a time delivers, so that neither needs a lock of its own, and there are never more
// parts in memory than threads. Whatever a step throws counts as that part's result: what came before it is delivered,
// nothing after it is.
#ifndef ZVRT_TOOLS_ZVRT_RECORDS_IN_ORDER_H
#define ZVRT_TOOLS_ZVRT_RECORDS_IN_ORDER_H

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <mutex>
#include <utility>

namespace zvrt::records {

// Runs `work` in `count` threads, of one in the caller's. Signals that ask the run to end reach threads that wait in a
// call; so does `ending`, once it says true. `work` must not throw.
void run_threads(unsigned count, const std::function<void()>& work, const std::function<bool()>& ending);

template <class Part>
class InOrder {
 public:
  struct Steps {
    std::function<bool(Part&)> read;  // false: nothing is left
    std::function<void(Part&)> convert;
    std::function<void(Part&)> deliver;
  };
  explicit InOrder(Steps steps) : steps_(std::move(steps)) {}

  // Throws what the first failing step threw.
  void run(unsigned threads) {
    run_threads(
        threads, [this] { work(); }, [this] { return failed(); });
    if (failure_) std::rethrow_exception(failure_);
  }

 private:
  void work() {
    Part part;
    std::uint64_t turn = 0;
    std::exception_ptr failure;
    while (read(part, turn, failure)) {
      if (!failure) failure = attempt(steps_.convert, part);
      if (!wait_for(turn)) return;
      if (!failure) failure = attempt(steps_.deliver, part);
      if (!end_turn(failure)) return;
    }
  }

  static std::exception_ptr attempt(const std::function<void(Part&)>& step, Part& part) {
    try {
      step(part);
      return nullptr;
    } catch (...) {
      return std::current_exception();
    }
  }

  bool read(Part& part, std::uint64_t& turn, std::exception_ptr& failure) {
    const std::lock_guard lock(reading_);
    if (ended_ || failed()) return false;
    try {
      ended_ = !steps_.read(part);
    } catch (...) {
      failure = std::current_exception();
      ended_ = true;
    }
    if (ended_ && !failure) return false;
    turn = next_read_++;
    return true;
  }

  bool failed() {
    const std::lock_guard lock(turns_);
    return failure_ != nullptr;
  }

  bool wait_for(std::uint64_t turn) {
    std::unique_lock lock(turns_);
    turn_changed_.wait(lock, [&] { return failure_ != nullptr || next_delivered_ == turn; });
    return failure_ == nullptr;
  }

  bool end_turn(const std::exception_ptr& failure) {
    const std::lock_guard lock(turns_);
    failure_ = failure;
    ++next_delivered_;
    turn_changed_.notify_all();
    return failure == nullptr;
  }

  Steps steps_;
  std::mutex reading_;
  std::uint64_t next_read_ = 0;
  bool ended_ = false;
  std::mutex turns_;
  std::condition_variable turn_changed_;
  std::uint64_t next_delivered_ = 0;
  std::exception_ptr failure_;
};

}  // namespace zvrt::records

#endif
