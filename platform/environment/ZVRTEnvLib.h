/** @file ZVRTEnvLib.h
 *  The runtime environment: one anchor block for the process and one block for each thread.
 *
 *  Every operation returns 0 on success or one of the ZVRT_ENV_RC_ statuses, none of which is a status of the conversion
 *  library. The two getters take no lock; ZVRTGetThreadBlock allocates on a thread's first call only. */
#ifndef ZVRT_ENV_LIB_H
#define ZVRT_ENV_LIB_H

#include <stdint.h>

#include "ZVRTPlatformStatus.h"

#ifdef __cplusplus
extern "C" {
#endif

/** A place in a thread's block where another library of the runtime keeps what belongs to the thread. `release`, when
 *  set, is called with `value`: by the thread itself when it ends, when it terminates the anchor block, or when it
 *  first asks for its block under a later anchor block. */
typedef struct ZVRTThreadSlot {
  void* value;
  void (*release)(void* value);
} ZVRTThreadSlot;

/** What `mark` of every thread block holds. */
#define ZVRT_THREAD_BLOCK_MARK UINT64_C(0x5A565254544C4221)

/** A thread's block. Only its own thread may use it. */
typedef struct ZVRTThreadBlock {
  uint64_t mark;            /**< ZVRT_THREAD_BLOCK_MARK: the block comes from this library */
  uint64_t generation;      /**< the anchor block under which the block was last handed out */
  ZVRTThreadSlot converter; /**< the converter service's */
} ZVRTThreadBlock;

/** Creates the process anchor block. One that exists already is kept, and so are the blocks of the threads. */
__attribute__((visibility("default"))) uint32_t ZVRTCreateEnvAncBlk(void);

/** Terminates the anchor block and releases the calling thread's block. Other threads release theirs when they end;
 *  until the anchor block is created again nobody is handed a block. Must not run while another thread uses its
 *  block. */
__attribute__((visibility("default"))) uint32_t ZVRTTermEnvAncBlk(void);

/** Hands out the process anchor block. On failure the pointer is left alone. */
__attribute__((visibility("default"))) uint32_t ZVRTGetAncBlk(void** receiver);

/** Hands out the calling thread's ZVRTThreadBlock. On failure the pointer is left alone. */
__attribute__((visibility("default"))) uint32_t ZVRTGetThreadBlock(void** receiver);

#ifdef __cplusplus
}
#endif

#endif
