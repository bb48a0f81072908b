// The public header as C++: it compiles alone, and a function of it can be named.
#include "ZVRTDataCnvLib.h"

extern "C" ZVRTConversion* const some_conversion;
ZVRTConversion* const some_conversion = ZVRTCnvCharToVarcharSz;
