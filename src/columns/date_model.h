// A format model of dates, compiled: what stands where in a text or a number of digits.
#pragma once

#include <cstdint>

#include "columns/type.h"

namespace zvrt::columns {

struct DateModel {
  Parts parts = Parts::none;
};

}  // namespace zvrt::columns
