/** @file ZVRTOSLibUnix.h
 *  Operating-system services of the runtime: a mutex in storage of the caller's, and a counter raised under it.
 *
 *  Every operation returns 0 on success. A failure is ZVRT_OS_RC_ERRNO plus the system's error number, so that no
 *  status of this library can be mistaken for one of the conversion library's. */
#ifndef ZVRT_OS_LIB_UNIX_H
#define ZVRT_OS_LIB_UNIX_H

#include <stdint.h>

#include "ZVRTPlatformStatus.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Storage for one mutex. Zero-filled storage is an unlocked mutex: it can be locked without MutexCreate. */
typedef struct ZVRTMutexStorage {
#ifdef __cplusplus
  alignas(16)
#else
  _Alignas(16)
#endif
      unsigned char bytes[64];
} ZVRTMutexStorage;

/** Makes the mutex usable. Storage that holds an unlocked mutex already may be created anew. */
__attribute__((visibility("default"))) uint32_t MutexCreate(void* mutex);

/** Releases an unlocked mutex and leaves its storage zero-filled; fails with EBUSY while the mutex is held. */
__attribute__((visibility("default"))) uint32_t MutexDestroy(void* mutex);

/** Blocks until the mutex is held. The second argument is reserved and must be 0. A thread that holds the mutex already
 *  gets EDEADLK when MutexCreate made the mutex; a mutex that is only zero-filled storage does not notice. */
__attribute__((visibility("default"))) uint32_t MutexLock(void* mutex, int32_t timeout_or_flags);

/** Releases the lock. A created mutex refuses with EPERM a thread that does not hold it. */
__attribute__((visibility("default"))) uint32_t MutexUnLock(void* mutex);

/** Adds one to the counter while holding the mutex, in one atomic store: others may read the counter atomically without
 *  the mutex. A counter at its largest value stays there and gives EOVERFLOW. */
__attribute__((visibility("default"))) uint32_t LockedIncrement(int32_t* counter, void* mutex);

#ifdef __cplusplus
}
#endif

#endif
