#include "support/cpu.h"

#include <gtest/gtest.h>

namespace zvrt {
namespace {

// Each level is served by the highest version that it can run, whichever versions there are.
TEST(ChooseVersion, EverySetOfVersionsAtEveryLevel) {
  constexpr int numbers[] = {0, 1, 2};
  for (unsigned present = 0; present < 4; ++present) {
    const auto version = [&](unsigned level) { return (present >> (level - 1) & 1) != 0 ? &numbers[level] : nullptr; };
    const Versions<const int> versions{&numbers[0], version(1), version(2)};
    for (unsigned level = 0; level < 3; ++level) {
      unsigned expected = level;
      while (expected > 0 && version(expected) == nullptr) --expected;
      EXPECT_EQ(*choose_version(versions, static_cast<CpuLevel>(level)), static_cast<int>(expected)) << present;
    }
  }
}

}  // namespace
}  // namespace zvrt
