// The comparison with the slow reference for as long as wanted: columns_long_run [values [seed]]. Tells what differs and
// how to see it again, and ends with 1.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "columns/differential.h"

int main(int count, char** arguments) {
  using namespace zvrt_test;
  const std::uint64_t values = count > 1 ? std::strtoull(arguments[1], nullptr, 10) : 100'000'000;
  const std::uint64_t first_seed = count > 2 ? std::strtoull(arguments[2], nullptr, 10) : 1;
  if (ZVRTInitDataConversion() != ZVRT_RC_OK) return 2;
  std::uint64_t compared = 0, seed = first_seed, differences = 0;
  for (; compared < values && differences < 20; ++seed) {
    Random random(seed);
    const ZVRTType from = any_type(random), to = any_type(random);
    const std::uint32_t options = any_options(random);
    const std::vector<Given> all = any_values(from, random);
    int made = 0;
    std::string difference = find_difference(from, to, options, all, random, &made);
    if (difference.empty()) difference = find_array_difference(from, options, all, random, &made);
    if (made > 0) compared += all.size();
    if (difference.empty()) continue;
    ++differences;
    std::printf("seed %llu: %s\n", static_cast<unsigned long long>(seed), difference.c_str());
    std::fflush(stdout);
  }
  std::printf("plans, part %llu: %llu cases, %llu failures, seeds to %llu\n",
              static_cast<unsigned long long>(first_seed), static_cast<unsigned long long>(compared),
              static_cast<unsigned long long>(differences), static_cast<unsigned long long>(seed - 1));
  ZVRTTermDataConversion();
  return differences == 0 ? 0 : 1;
}
