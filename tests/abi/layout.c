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

_Static_assert(sizeof(FmtCode) == 16, "FmtCode has changed its size");
PIN(FmtCode, literal, 0);
PIN(FmtCode, code, 4);
PIN(FmtCode, len, 8);
PIN(FmtCode, pos, 12);

_Static_assert(sizeof(ZVRTTS) == 24, "ZVRTTS has changed its size");
PIN(ZVRTTS, year, 0);
PIN(ZVRTTS, month, 2);
PIN(ZVRTTS, day, 4);
PIN(ZVRTTS, hour, 6);
PIN(ZVRTTS, minute, 8);
PIN(ZVRTTS, second, 10);
PIN(ZVRTTS, fraction, 12);
PIN(ZVRTTS, reserved, 16);

_Static_assert(sizeof(ZVRTDate) == 6, "ZVRTDate has changed its size");
PIN(ZVRTDate, month, 2);
PIN(ZVRTDate, day, 4);

_Static_assert(sizeof(ZVRTTime) == 6, "ZVRTTime has changed its size");
PIN(ZVRTTime, minute, 2);
PIN(ZVRTTime, second, 4);

_Static_assert(sizeof(DateWithModel) == 16, "DateWithModel has changed its size");
PIN(DateWithModel, modelText, 8);
