// Instructions a call, counted by callgrind; scripts/instructions.sh runs this and reads the counts.
#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "ZVRTDataCnvLib.h"
#include "support/ordinary_calls.h"

namespace {

constexpr int repetitions = 1000;

// Collects over `repetitions` calls and leaves the count under the call's name.
template <class Call>
void count(const std::string& name, const Call& call) {
  call();  // symbols are bound and caches filled
  CALLGRIND_ZERO_STATS;
  CALLGRIND_TOGGLE_COLLECT;
  for (int i = 0; i < repetitions; ++i) call();
  CALLGRIND_TOGGLE_COLLECT;
  CALLGRIND_DUMP_STATS_AT(name.c_str());
}

}  // namespace

int main() {
  if (ZVRTInitDataConversion() != ZVRT_RC_OK) return EXIT_FAILURE;
  const std::function<std::uint32_t()> nothing = [] { return ZVRT_RC_OK; };
  count("nothing", nothing);  // what the counting loop itself costs
  for (const zvrt_test::OrdinaryCall& ordinary : zvrt_test::ordinary_calls()) {
    if (ordinary.call() != ZVRT_RC_OK) {
      std::fprintf(stderr, "%s, %s: not converted\n", ordinary.function.c_str(), ordinary.value.c_str());
      return EXIT_FAILURE;
    }
    count(ordinary.function + " | " + ordinary.value, ordinary.call);
  }
  ZVRTTermDataConversion();
  return EXIT_SUCCESS;
}
