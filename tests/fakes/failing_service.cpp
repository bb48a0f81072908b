#include "fakes/failing_service.h"

#include <dlfcn.h>

#include "ZVRTICULib.h"

namespace zvrt_test {

FailingService& failing_service() {
  static FailingService service;
  return service;
}

namespace {

// The function of the same name in the libraries.
template <class Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

}  // namespace zvrt_test

using zvrt_test::failing_service;

void* ZVRT_GetICUConverterInfo(void* anchor, void* thread, uint32_t codePage, int32_t kind) {
  static auto* const original = zvrt_test::next<decltype(ZVRT_GetICUConverterInfo)>("ZVRT_GetICUConverterInfo");
  return failing_service().fails_now() ? nullptr : original(anchor, thread, codePage, kind);
}

uint32_t ZVRT_IcuMultibyteToWide(void* converter, const void* src, int32_t srcBytes, void* dst, int32_t dstChars,
                                 uint32_t* outChars) {
  static auto* const original = zvrt_test::next<decltype(ZVRT_IcuMultibyteToWide)>("ZVRT_IcuMultibyteToWide");
  if (failing_service().fails_now()) return ZVRT_ICU_RC_ICU_FAILED;
  return original(converter, src, srcBytes, dst, dstChars, outChars);
}

uint32_t ZVRT_IcuWideToMultibyte(void* converter, const void* src, int32_t srcChars, void* dst, int32_t dstBytes,
                                 uint32_t* outBytes) {
  static auto* const original = zvrt_test::next<decltype(ZVRT_IcuWideToMultibyte)>("ZVRT_IcuWideToMultibyte");
  if (failing_service().fails_now()) return ZVRT_ICU_RC_ICU_FAILED;
  return original(converter, src, srcChars, dst, dstBytes, outBytes);
}
