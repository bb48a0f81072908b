// The date and time records, and the range check that every conversion applies to them.
#pragma once

#include <cstdint>

#include "ZVRTDataCnvLib.h"
#include "frame/call.h"

namespace zvrt {

// The status of the first field out of range among those that the kind covers.
Status validate(const ZVRTTS& ts, DtKind kind);

// What a record type is to the conversions: its kind, the slot it fills as a destination, and its way to and from the
// timestamp that all work is done on.
template <class Record>
struct RecordTraits;

template <>
struct RecordTraits<ZVRTDate> {
  static constexpr DtKind kind = ZVRT_DT_DATE;
  static constexpr std::int32_t slot = 16;
  static ZVRTTS widen(const ZVRTDate& date) {
    ZVRTTS ts{};
    ts.year = date.year;
    ts.month = date.month;
    ts.day = date.day;
    return ts;
  }
  static ZVRTDate cut(const ZVRTTS& ts) { return {ts.year, ts.month, ts.day}; }
};

template <>
struct RecordTraits<ZVRTTime> {
  static constexpr DtKind kind = ZVRT_DT_TIME;
  static constexpr std::int32_t slot = 16;
  static ZVRTTS widen(const ZVRTTime& time) {
    ZVRTTS ts{};
    ts.hour = time.hour;
    ts.minute = time.minute;
    ts.second = time.second;
    return ts;
  }
  static ZVRTTime cut(const ZVRTTS& ts) { return {ts.hour, ts.minute, ts.second}; }
};

template <>
struct RecordTraits<ZVRTTS> {
  static constexpr DtKind kind = ZVRT_DT_TIMESTAMP;
  static constexpr std::int32_t slot = 24;
  static const ZVRTTS& widen(const ZVRTTS& ts) { return ts; }
  static const ZVRTTS& cut(const ZVRTTS& ts) { return ts; }
};

}  // namespace zvrt
