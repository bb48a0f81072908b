/* The headers are C as well. */
#include <stddef.h>

#include "ZVRTEnvLib.h"
#include "ZVRTICULib.h"
#include "ZVRTOSLibUnix.h"

_Static_assert(sizeof(ZVRTMutexStorage) == 64 && _Alignof(ZVRTMutexStorage) == 16, "storage of a mutex");
_Static_assert(offsetof(ZVRTThreadBlock, converter) == 16, "the converter service's place in a thread's block");
