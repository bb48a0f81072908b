/* The public header as C: sizes and offsets of what crosses the boundary. */
#include "ZVRTDataCnvLib.h"

#define PIN(record, member, offset) \
  _Static_assert(offsetof(record, member) == (offset), #record "." #member " has moved")

_Static_assert(sizeof(wchar_t) == 4, "a wide character is one UTF-32 unit");

_Static_assert(sizeof(FldDef) == 72, "FldDef has changed its size");
PIN(FldDef, codePage, 32);
PIN(FldDef, codePageKind, 36);
PIN(FldDef, dtFormat, 40);
PIN(FldDef, reservedEnd, 48);

_Static_assert(sizeof(DtFormatDesc) == 32, "DtFormatDesc has changed its size");
PIN(DtFormatDesc, model, 16);
PIN(DtFormatDesc, modelLen, 24);
