// Between libFuzzer and a target.
#include <gtest/gtest.h>

#include "ZVRTDataCnvLib.h"
#include "input.h"

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  GTEST_FLAG_SET(throw_on_failure, true);  // an expectation that is not met ends the process
  return ZVRTInitDataConversion() == ZVRT_RC_OK ? 0 : 1;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  zvrt_fuzz::check(zvrt_fuzz::Input(data, size));
  return 0;
}
