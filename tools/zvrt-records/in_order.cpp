#include "in_order.h"

#include <chrono>
#include <system_error>
#include <thread>
#include <vector>

#include "records/files/interruption.h"

namespace zvrt::records {
namespace {

constexpr std::chrono::milliseconds between_looks(50);

}  // namespace

void run_threads(unsigned count, const std::function<void()>& work, const std::function<bool()>& ending) {
  if (count <= 1) return work();
  std::mutex mutex;
  std::condition_variable changed;
  std::size_t ended = 0;
  std::vector<std::thread> threads;
  try {
    while (threads.size() < count)
      threads.emplace_back([&] {
        work();
        const std::lock_guard lock(mutex);
        ++ended;
        changed.notify_one();
      });
  } catch (const std::system_error&) {  // the system gives no more threads: those that there are do all
    if (threads.empty()) return work();
  }
  std::unique_lock lock(mutex);
  while (!changed.wait_for(lock, between_looks, [&] { return ended == threads.size(); })) {
    if (!was_interrupted() && !ending()) continue;
    abandon(!was_interrupted());
    for (std::thread& thread : threads) wake(thread.native_handle());
  }
  lock.unlock();
  for (std::thread& thread : threads) thread.join();
  abandon(false);
}

}  // namespace zvrt::records
