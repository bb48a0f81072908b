// Initialisation and termination of the converter service, counted for the process.
#include <cstdint>

#include "ZVRTDataCnvLib.h"
#include "ZVRTEnvLib.h"
#include "ZVRTICULib.h"
#include "ZVRTOSLibUnix.h"
#include "core/call.h"

namespace zvrt {
namespace {

// Successful initialisations not yet terminated. Changed only under the mutex, but read without it before the mutex
// exists, so every access is atomic.
std::int32_t giDataCnvRefCnt = 0;
ZVRTMutexStorage hDataCnvMutex;

struct Blocks {
  void* anchor = nullptr;
  void* thread = nullptr;
};

Status fetch(Blocks& blocks) {
  const Status status = ZVRTGetAncBlk(&blocks.anchor);
  return status != ZVRT_RC_OK ? status : ZVRTGetThreadBlock(&blocks.thread);
}

// The part of the first initialisation that needs the anchor block; `begun` is set once a failure has to end the
// service.
Status start_service(Blocks& blocks, bool& begun) {
  if (const Status status = fetch(blocks); status != ZVRT_RC_OK) return status;
  begun = true;
  if (const Status status = ZVRT_ICU_Init(blocks.anchor, blocks.thread); status != ZVRT_RC_OK) return status;
  return LockedIncrement(&giDataCnvRefCnt, &hDataCnvMutex);
}

Status initialise_first() {
  if (const Status status = MutexCreate(&hDataCnvMutex); status != ZVRT_RC_OK) return status;
  if (const Status status = ZVRTCreateEnvAncBlk(); status != ZVRT_RC_OK) {
    MutexDestroy(&hDataCnvMutex);
    return status;
  }
  Blocks blocks;
  bool begun = false;
  const Status status = start_service(blocks, begun);
  if (status != ZVRT_RC_OK) {
    // A service whose start failed is ended as well: it may be partly started.
    if (begun) ZVRT_ICU_Term(blocks.anchor, blocks.thread);
    ZVRTTermEnvAncBlk();
    MutexDestroy(&hDataCnvMutex);
  }
  return status;
}

Status tear_down() {
  Blocks blocks;
  if (const Status status = fetch(blocks); status != ZVRT_RC_OK) return status;
  if (const Status status = ZVRT_ICU_Term(blocks.anchor, blocks.thread); status != ZVRT_RC_OK) return status;
  ZVRTTermEnvAncBlk();
  return MutexDestroy(&hDataCnvMutex);
}

}  // namespace
}  // namespace zvrt

uint32_t ZVRTInitDataConversion() {
  if (__atomic_load_n(&zvrt::giDataCnvRefCnt, __ATOMIC_ACQUIRE) > 0) {
    return LockedIncrement(&zvrt::giDataCnvRefCnt, &zvrt::hDataCnvMutex);
  }
  return zvrt::initialise_first();
}

uint32_t ZVRTTermDataConversion() {
  if (const zvrt::Status status = MutexLock(&zvrt::hDataCnvMutex, 0); status != ZVRT_RC_OK) return status;
  const std::int32_t users = __atomic_sub_fetch(&zvrt::giDataCnvRefCnt, 1, __ATOMIC_ACQ_REL);
  const zvrt::Status unlocked = MutexUnLock(&zvrt::hDataCnvMutex);
  if (users != 0) return ZVRT_RC_OK;
  if (unlocked == ZVRT_RC_OK) return zvrt::tear_down();
  // The mutex may still be held, so nothing is torn down under it; one more attempt to unlock it.
  MutexUnLock(&zvrt::hDataCnvMutex);
  return unlocked;
}
