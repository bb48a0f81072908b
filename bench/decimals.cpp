#include "harness.h"
namespace zvrt_bench {
void register_decimals() {}
}  // namespace zvrt_bench
