#include "fakes/failing_platform.h"

#include "ZVRTEnvLib.h"
#include "ZVRTICULib.h"
#include "ZVRTOSLibUnix.h"

namespace zvrt_test {

FakePlatform& fake_platform() {
  static FakePlatform platform;
  return platform;
}

namespace {
char anchor_block;
char thread_block;
}  // namespace

}  // namespace zvrt_test

using zvrt_test::fake_platform;

uint32_t MutexCreate(void*) { return fake_platform().called("MutexCreate"); }
uint32_t MutexDestroy(void*) { return fake_platform().called("MutexDestroy"); }
uint32_t MutexLock(void*, int32_t flags) { return fake_platform().called(flags == 0 ? "MutexLock" : "MutexLock?"); }
uint32_t MutexUnLock(void*) { return fake_platform().called("MutexUnLock"); }

uint32_t LockedIncrement(int32_t* counter, void*) {
  const uint32_t status = fake_platform().called("LockedIncrement");
  fake_platform().counter = counter;
  if (status == 0) ++*counter;
  return status;
}

uint32_t ZVRTCreateEnvAncBlk(void) { return fake_platform().called("ZVRTCreateEnvAncBlk"); }
uint32_t ZVRTTermEnvAncBlk(void) { return fake_platform().called("ZVRTTermEnvAncBlk"); }

uint32_t ZVRTGetAncBlk(void** block) {
  *block = &zvrt_test::anchor_block;
  return fake_platform().called("ZVRTGetAncBlk");
}

uint32_t ZVRTGetThreadBlock(void** block) {
  *block = &zvrt_test::thread_block;
  return fake_platform().called("ZVRTGetThreadBlock");
}

namespace {
const char* with_blocks(const char* operation, const void* anchor, const void* thread) {
  return anchor == &zvrt_test::anchor_block && thread == &zvrt_test::thread_block ? operation : "wrong blocks";
}
}  // namespace

uint32_t ZVRT_ICU_Init(void* anchor, void* thread) {
  return fake_platform().called(with_blocks("ZVRT_ICU_Init", anchor, thread));
}
uint32_t ZVRT_ICU_Term(void* anchor, void* thread) {
  return fake_platform().called(with_blocks("ZVRT_ICU_Term", anchor, thread));
}

// One converter, for code page 37 of kind 'k' only; it converts byte by byte and reports what it was given.
void* ZVRT_GetICUConverterInfo(void* anchor, void* thread, uint32_t codePage, int32_t kind) {
  const bool known = fake_platform().called(with_blocks("ZVRT_GetICUConverterInfo", anchor, thread)) == 0 &&
                     codePage == 37 && kind == 'k';
  return known ? &zvrt_test::thread_block : nullptr;
}

uint32_t ZVRT_IcuMultibyteToWide(void*, const void*, int32_t srcBytes, void*, int32_t dstChars, uint32_t* outChars) {
  *outChars = fake_platform().reported.value_or(static_cast<uint32_t>(srcBytes * 1000 + dstChars));
  return fake_platform().called("ZVRT_IcuMultibyteToWide");
}

uint32_t ZVRT_IcuWideToMultibyte(void*, const void*, int32_t srcChars, void*, int32_t dstBytes, uint32_t* outBytes) {
  *outBytes = fake_platform().reported.value_or(static_cast<uint32_t>(srcChars * 1000 + dstBytes));
  return fake_platform().called("ZVRT_IcuWideToMultibyte");
}
