#include "records/files/interruption.h"

#include <array>
#include <atomic>
#include <csignal>
#include <string>

#include "records/files/failure.h"

namespace zvrt::records {
namespace {

std::atomic<int> received{0};
std::atomic<bool> abandoned{false};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler writes it");

struct Watched {
  int signal;
  const char* name;
};
constexpr std::array watched{Watched{SIGINT, "SIGINT"}, Watched{SIGTERM, "SIGTERM"}, Watched{SIGHUP, "SIGHUP"},
                             Watched{SIGQUIT, "SIGQUIT"}};

void only_wake(int /*signal*/) {}
void remember(int signal) { received.store(signal, std::memory_order_relaxed); }

// `kept` is the disposition of a signal that the caller chose to ignore, as nohup does.
bool is_ignored(int signal) {
  struct sigaction kept {};
  return sigaction(signal, nullptr, &kept) == 0 && kept.sa_handler == SIG_IGN;
}

void handle(int signal, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;  // without SA_RESTART: a read that waits returns EINTR
  sigemptyset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
}

}  // namespace

void watch_signals() {
  for (const Watched& each : watched)
    if (!is_ignored(each.signal)) handle(each.signal, remember);
  handle(SIGUSR1, only_wake);
  handle(SIGPIPE, SIG_IGN);
  handle(SIGXFSZ, SIG_IGN);
}

void check_interruption() {
  if (abandoned.load(std::memory_order_relaxed)) throw Failure("ended by another thread");
  const int signal = received.load(std::memory_order_relaxed);
  if (signal == 0) return;
  for (const Watched& each : watched)
    if (each.signal == signal) throw Failure(std::string("ended by ") + each.name);
}

bool was_interrupted() { return received.load(std::memory_order_relaxed) != 0; }

void abandon(bool value) { abandoned.store(value, std::memory_order_relaxed); }

void wake(pthread_t thread) { pthread_kill(thread, SIGUSR1); }

}  // namespace zvrt::records
