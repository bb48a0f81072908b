// The 21 conversions among the six kinds, one line each: source kind, destination kind, options.
#include "ZVRTDataCnvLib.h"
#include "strings/convert.h"

using namespace zvrt;

// clang-format off
uint32_t ZVRTCnvCharToVarcharSz(CNV_PARAMS)           { return convert<Char,       VarcharSz,  strict_written>(CNV_CALL); }
uint32_t ZVRTCnvCharToWVarcharSz(CNV_PARAMS)          { return convert<Char,       WVarcharSz>(CNV_CALL); }
uint32_t ZVRTCnvWCharToVarcharSz(CNV_PARAMS)          { return convert<WChar,      VarcharSz,  reports_empty>(CNV_CALL); }
uint32_t ZVRTCnvWCharToWVarcharSz(CNV_PARAMS)         { return convert<WChar,      WVarcharSz, stops_at_zero>(CNV_CALL); }
uint32_t ZVRTCnvVarcharToVarcharSz(CNV_PARAMS)        { return convert<Varchar,    VarcharSz>(CNV_CALL); }
uint32_t ZVRTCnvVarcharToWVarcharSz(CNV_PARAMS)       { return convert<Varchar,    WVarcharSz>(CNV_CALL); }
uint32_t ZVRTCnvWVarcharToVarcharSz(CNV_PARAMS)       { return convert<WVarchar,   VarcharSz>(CNV_CALL); }
uint32_t ZVRTCnvWVarcharToWVarcharSz(CNV_PARAMS)      { return convert<WVarchar,   WVarcharSz>(CNV_CALL); }
uint32_t ZVRTCnvVarcharSzToVarcharSz(CNV_PARAMS)      { return copy_until_full<VarcharSz>(CNV_CALL); }
uint32_t ZVRTCnvVarcharSzToWVarcharSz(CNV_PARAMS)     { return convert<VarcharSz,  WVarcharSz>(CNV_CALL); }
uint32_t ZVRTCnvWVarcharSzToWVarcharSz(CNV_PARAMS)    { return convert<WVarcharSz, WVarcharSz>(CNV_CALL); }
uint32_t ZVRTCnvWVarcharSzToWVarcharSzOut(CNV_PARAMS) { return convert<WVarcharSz, WVarcharSzOut>(CNV_CALL); }
uint32_t ZVRTCnvVarcharSzToChar(CNV_PARAMS)           { return copy_until_full<Char>(CNV_CALL); }
uint32_t ZVRTCnvWVarcharSzToChar(CNV_PARAMS)          { return convert<WVarcharSz, Char,       accepts_empty>(CNV_CALL); }
uint32_t ZVRTCnvVarcharSzToWChar(CNV_PARAMS)          { return convert<VarcharSz,  WChar>(CNV_CALL); }
uint32_t ZVRTCnvWVarcharSzToWChar(CNV_PARAMS)         { return convert<WVarcharSz, WChar>(CNV_CALL); }
uint32_t ZVRTCnvVarcharSzToVarchar(CNV_PARAMS)        { return convert<VarcharSz,  Varchar,    accepts_empty>(CNV_CALL); }
uint32_t ZVRTCnvWVarcharSzToVarchar(CNV_PARAMS)       { return convert<WVarcharSz, Varchar,    accepts_empty>(CNV_CALL); }
uint32_t ZVRTCnvVarcharSzToWVarchar(CNV_PARAMS)       { return convert<VarcharSz,  WVarchar,   accepts_empty>(CNV_CALL); }
uint32_t ZVRTCnvWVarcharSzToWVarchar(CNV_PARAMS)      { return convert<WVarcharSz, WVarchar>(CNV_CALL); }
uint32_t ZVRTCnvWVarcharSzToVarcharSz(CNV_PARAMS)     { return convert<WVarcharSz, VarcharSz,  accepts_empty>(CNV_CALL); }
// clang-format on
