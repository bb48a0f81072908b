/* The header of plans as C: sizes and offsets of what crosses the boundary. */
#include "ZVRTColumns.h"

#define PIN(record, member, offset) \
  _Static_assert(offsetof(record, member) == (offset), #record "." #member " has moved")

_Static_assert(sizeof(ZVRTType) == 40, "ZVRTType has changed its size");
PIN(ZVRTType, kind, 4);
PIN(ZVRTType, length, 8);
PIN(ZVRTType, flags, 12);
PIN(ZVRTType, codePage, 16);
PIN(ZVRTType, codePageKind, 20);
PIN(ZVRTType, reserved, 21);
PIN(ZVRTType, precision, 24);
PIN(ZVRTType, scale, 26);
PIN(ZVRTType, firstYear, 28);
PIN(ZVRTType, reservedYear, 30);
PIN(ZVRTType, model, 32);

_Static_assert(sizeof(ZVRTNumeric) == 19, "ZVRTNumeric has changed its size");
PIN(ZVRTNumeric, scale, 1);
PIN(ZVRTNumeric, sign, 2);
PIN(ZVRTNumeric, value, 3);

_Static_assert(sizeof(ZVRTCliTimestamp) == 16, "ZVRTCliTimestamp has changed its size");
PIN(ZVRTCliTimestamp, fraction, 12);

_Static_assert(sizeof(ZVRTArray) == 88, "ZVRTArray has changed its size");
PIN(ZVRTArray, lengthBytes, 4);
PIN(ZVRTArray, indicatorBytes, 5);
PIN(ZVRTArray, data, 8);
PIN(ZVRTArray, stride, 16);
PIN(ZVRTArray, starts, 24);
PIN(ZVRTArray, lengths, 32);
PIN(ZVRTArray, lengthStride, 40);
PIN(ZVRTArray, indicators, 48);
PIN(ZVRTArray, indicatorStride, 56);
PIN(ZVRTArray, status, 64);
PIN(ZVRTArray, statusStride, 72);
PIN(ZVRTArray, select, 80);

_Static_assert(sizeof(ZVRTOutcome) == 48, "ZVRTOutcome has changed its size");
PIN(ZVRTOutcome, firstStatus, 4);
PIN(ZVRTOutcome, done, 8);
PIN(ZVRTOutcome, refused, 16);
PIN(ZVRTOutcome, firstRefused, 24);
PIN(ZVRTOutcome, nulls, 32);
PIN(ZVRTOutcome, empty, 40);

_Static_assert(sizeof(ZVRTProblem) == 136, "ZVRTProblem has changed its size");
PIN(ZVRTProblem, status, 4);
PIN(ZVRTProblem, field, 8);
PIN(ZVRTProblem, offset, 12);
PIN(ZVRTProblem, unit, 16);
PIN(ZVRTProblem, needed, 20);
PIN(ZVRTProblem, text, 24);

_Static_assert(sizeof(ZVRTField) == 32, "ZVRTField has changed its size");
PIN(ZVRTField, offset, 4);
PIN(ZVRTField, indicatorOffset, 8);
PIN(ZVRTField, columnKind, 12);
PIN(ZVRTField, name, 16);
PIN(ZVRTField, type, 24);
