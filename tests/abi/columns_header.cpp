// The header of plans as C++: it compiles alone, and a function of it can be named.
#include "ZVRTColumns.h"

extern "C" const char* (*const some_function)(uint32_t);
const char* (*const some_function)(uint32_t) = ZVRTStatusName;
