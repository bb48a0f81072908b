// Every single there is, formatted and read back, against the C library. Takes a while: run by hand.
// Usage: all_singles [parts part], to spread the work over processes.
#include <cstdlib>

#include "numeric/float_cases.h"

using namespace zvrt_test;

int main(int argc, char** argv) {
  const auto parts = argc > 2 ? std::strtoull(argv[1], nullptr, 10) : 1;
  const auto part = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 0;
  unsigned long failures = 0;
  for (uint64_t bits = part; bits <= 0xFFFFFFFF; bits += parts) {
    const auto value = std::bit_cast<float>(static_cast<uint32_t>(bits));
    if (!std::isfinite(value)) continue;
    const std::string text = rendered(value);
    if (text == printed(value) && read<float>(widen(text)) == expected_reading<float>(text)) continue;
    std::printf("%08llx %s\n", static_cast<unsigned long long>(bits), text.c_str());
    ++failures;
  }
  std::printf("%lu failures\n", failures);
  return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
