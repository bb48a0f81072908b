// The converter service, failing where it is told to: its own functions run but for one call.
#pragma once

#include <cstddef>

namespace zvrt_test {

// Calls since the last order, and which of them fails (from 1; 0: none), alone or with all that follow. A converter is then
// not found, a conversion is ZVRT_ICU_RC_ICU_FAILED.
struct FailingService {
  std::size_t calls = 0;
  std::size_t failing = 0;
  bool goes_on = false;

  void fail(std::size_t nth, bool and_all_after = false) { *this = {0, nth, and_all_after}; }
  bool fails_now() { return ++calls == failing || (goes_on && calls > failing); }
};

FailingService& failing_service();

}  // namespace zvrt_test
