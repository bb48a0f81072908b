#include "datetime/records.h"

uint32_t ZVRTValidateDateTime(const ZVRTTS* ts, DtKind kind) { return zvrt::validate(zvrt::TimestampView(ts), kind); }
