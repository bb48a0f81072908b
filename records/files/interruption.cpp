#include "records/files/interruption.h"

#include <array>
#include <atomic>
#include <csignal>
#include <string>

#include "records/files/failure.h"

namespace zvrt::records {
namespace {

std::atomic<int> received{0};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler writes it");

struct Watched {
  int signal;
  const char* name;
};
constexpr std::array watched{Watched{SIGINT, "SIGINT"}, Watched{SIGTERM, "SIGTERM"}, Watched{SIGHUP, "SIGHUP"},
                             Watched{SIGQUIT, "SIGQUIT"}};

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
  handle(SIGPIPE, SIG_IGN);
  handle(SIGXFSZ, SIG_IGN);
}

void check_interruption() {
  const int signal = received.load(std::memory_order_relaxed);
  if (signal == 0) return;
  for (const Watched& each : watched)
    if (each.signal == signal) throw Failure(std::string("ended by ") + each.name);
}

}  // namespace zvrt::records
