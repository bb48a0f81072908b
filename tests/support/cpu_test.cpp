#include "support/cpu.h"

#include <gtest/gtest.h>

namespace zvrt {
namespace {

// Each level is served by the highest version that it can run, whichever versions there are.
TEST(ChooseVersion, EverySetOfVersionsAtEveryLevel) {
  constexpr int numbers[] = {0, 1, 2, 3, 4};
  for (unsigned present = 0; present < 32; ++present) {
    if ((present & 3) == 0) continue;  // one of the two lowest there always is
    const auto version = [&](unsigned level) { return (present >> level & 1) != 0 ? &numbers[level] : nullptr; };
    const Versions<const int> versions{version(0), version(1), version(2), version(3), version(4)};
    for (unsigned level = 0; level < 5; ++level) {
      unsigned expected = level;
      while (expected > 0 && version(expected) == nullptr) --expected;
      if (version(expected) == nullptr) expected = 1;  // a baseline without SSE2 serves the portable level
      EXPECT_EQ(*choose_version(versions, static_cast<CpuLevel>(level)), static_cast<int>(expected)) << present;
    }
  }
}

}  // namespace
}  // namespace zvrt
