/** @file ZVRTPlatformStatus.h
 *  The statuses of the platform libraries, which the conversion library passes on as they are.
 *
 *  They are those of the libraries that are delivered with this one; the runtime's own, in their place, may give others.
 *  All are 20000 or above, so that none is mistaken for a status of ZVRTDataCnvLib.h. */
#ifndef ZVRT_PLATFORM_STATUS_H
#define ZVRT_PLATFORM_STATUS_H

/** libZVRTOSLibUnix: an operation on a mutex failed. The status is this number plus the system's error number: 20016,
 *  for example, is EBUSY. Initialisation and termination give it. */
#define ZVRT_OS_RC_ERRNO 20000u

/** libZVRTEnvLib: there is no anchor block: `ZVRTInitDataConversion` was not called, or `ZVRTTermDataConversion` has
 *  taken it back. Every conversion by a code page gives it then; initialise first. */
#define ZVRT_ENV_RC_NO_ANCHOR 21001u
/** libZVRTEnvLib: the block of the process or of the calling thread could not be allocated. */
#define ZVRT_ENV_RC_NO_MEMORY 21002u
/** libZVRTEnvLib: the pointer that receives a block is null. The conversion library never passes such a one. */
#define ZVRT_ENV_RC_INVALID_PARAM 21003u

/** libZVRTICULib: an argument is null that must not be, or the thread's block is not one of libZVRTEnvLib. Given when a
 *  part of the runtime replaces one of the two libraries without the other. */
#define ZVRT_ICU_RC_INVALID_PARAM 22001u
/** libZVRTICULib: the converters could not be started, or lack memory. The delivered service keeps its tables in its
 *  own read-only data and never gives it. */
#define ZVRT_ICU_RC_ICU_FAILED 22002u

#endif
